#pragma once

#include "B2Kit/B2Capability.h"

#include <array>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The permissions to grant a new key, in the order of the picker.
enum class KeyPreset { readOnly, readWrite, fullControl, custom };

inline constexpr std::array allKeyPresets{
    KeyPreset::readOnly, KeyPreset::readWrite, KeyPreset::fullControl, KeyPreset::custom};

/// The preset in two or three words.
std::string_view presetTitle(KeyPreset preset);

/// Describes the preset in a sentence or two.
std::string_view presetText(KeyPreset preset);

/// The capabilities of a preset; none for `custom`, which the user fills.
std::set<B2Capability> presetCapabilities(KeyPreset preset);

/// Are these all the capabilities a key can have? Ignores the six that the service never lists, not even in a master
/// key's sign-in.
bool isEveryCapability(const std::set<B2Capability>& capabilities);

/// Sums up a key's permissions for lists and the log: "Full control", or "read, write, delete".
std::string presetSummary(const std::set<B2Capability>& capabilities);

/// Describes the risk if a key with these capabilities leaks.
std::string riskNote(const std::set<B2Capability>& capabilities);

/// Capabilities under readable names.
namespace KeyPermissions {

struct Item {
    B2Capability capability;
    std::string_view title;
};

struct Group {
    std::string_view name;
    std::vector<Item> items;
};

/// The capabilities that can be chosen one by one, by subject.
std::span<const Group> groups();

/// The readable name of a capability; its own name for one in no group.
std::string title(const B2Capability& capability);

} // namespace KeyPermissions

#pragma once

#include "B2Kit/B2Capability.h"

#include <array>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// What a new key is to be granted, in the order of the picker.
enum class KeyPreset { readOnly, readWrite, fullControl, custom };

inline constexpr std::array allKeyPresets{
    KeyPreset::readOnly, KeyPreset::readWrite, KeyPreset::fullControl, KeyPreset::custom};

/// The preset in two or three words.
std::string_view presetTitle(KeyPreset preset);

/// What the preset allows, as a sentence or two.
std::string_view presetText(KeyPreset preset);

/// The capabilities of a preset; none for `custom`, which the user fills.
std::set<B2Capability> presetCapabilities(KeyPreset preset);

/// Are these all that a key can have? The six that are in no list of the service, not even in that of a master key's
/// sign-in, do not count.
bool isEveryCapability(const std::set<B2Capability>& capabilities);

/// What a key may do in a few words, for lists and the log: "Full control", or "read, write, delete".
std::string presetSummary(const std::set<B2Capability>& capabilities);

/// What is at risk when a key with these capabilities leaks.
std::string riskNote(const std::set<B2Capability>& capabilities);

/// The capabilities as people read them.
namespace KeyPermissions {

struct Item {
    B2Capability capability;
    std::string_view title;
};

struct Group {
    std::string_view name;
    std::vector<Item> items;
};

/// Those that can be chosen one by one, by subject.
std::span<const Group> groups();

/// The words for a capability; its own name for one in no group.
std::string title(const B2Capability& capability);

} // namespace KeyPermissions

#pragma once

#include "B2Kit/B2Key.h"
#include "B2Kit/B2Requests.h"
#include "accounts/keys/KeyPermissions.h"
#include "foundation/runs/Question.h"

#include <array>
#include <optional>
#include <set>
#include <string>
#include <string_view>

/// How long a new key lives, in the order of the picker.
enum class KeyLifetime { never, day, week, month, quarter };

inline constexpr std::array allKeyLifetimes{
    KeyLifetime::never, KeyLifetime::day, KeyLifetime::week, KeyLifetime::month, KeyLifetime::quarter};

std::string_view lifetimeLabel(KeyLifetime lifetime);
/// @returns nothing for a key that never expires.
std::optional<int> lifetimeSeconds(KeyLifetime lifetime);

/// The form for a new key, as filled in.
struct NewKeyForm {
    std::string name;
    KeyPreset preset = KeyPreset::readOnly;
    std::set<B2Capability> custom;   ///< Chosen under `KeyPreset::custom`.
    std::set<std::string> bucketIDs; ///< Empty for every bucket.
    std::string prefix;
    KeyLifetime lifetime = KeyLifetime::never;

    bool operator==(const NewKeyForm&) const = default;
};

/// The texts of the new-key sheet, decided from the form alone.
struct NewKeyRules {
    /// @param form  as filled in.
    /// @param held  the capabilities of the key in use; a key with full control gets exactly these.
    NewKeyRules(const NewKeyForm& form, const std::set<B2Capability>& held);

    std::set<B2Capability> capabilities; ///< To request; without those that a key limited to buckets cannot have.
    std::string presetText;
    std::string riskNote;
    std::string reachNote;              ///< How far the key reaches, when that needs saying.
    std::string leftOut;                ///< Which permissions are left out and what is granted, when any are.
    std::string prefixNote;             ///< What the prefix reaches, when that may surprise.
    std::optional<std::string> refusal; ///< Why the key cannot be created yet.
    bool asksFirst = false;             ///< For a key over several buckets, which most software refuses.
};

/// The request for a form that its rules do not refuse. Blanks around the name are left out.
B2CreateKeyRequest makeCreateKeyRequest(const NewKeyForm& form, const NewKeyRules& rules);

/// How far a key reaches, for the log: "every bucket", or "2 buckets, bucket-restricted".
std::string reachForLog(const B2CreateKeyRequest& request);

/// The question before a key over several buckets is created.
Question multiBucketQuestion();

#include "accounts/keys/NewKeyRules.h"

#include "B2Kit/wire/B2Text.h"
#include "foundation/Texts.h"

#include <algorithm>

namespace {

constexpr std::size_t longestName = 100;

bool isNameCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z')
        || (character >= '0' && character <= '9') || character == '-';
}

std::optional<std::string> refusalOf(const std::string& name, bool hasGrants, bool hasRequest)
{
    if (name.empty())
        return "A key needs a name.";
    if (!std::ranges::all_of(name, isNameCharacter))
        return "A key's name can hold letters from A to Z, digits and hyphens, and nothing else.";
    if (name.size() > longestName)
        return "A key's name can have at most 100 characters.";
    if (!hasGrants)
        return "Choose at least one permission.";
    if (!hasRequest)
        return "Nothing is left that a key limited to particular buckets can have. Choose another permission.";
    return std::nullopt;
}

std::string prefixNoteOf(const std::string& prefix)
{
    if (prefix.starts_with('/'))
        return "Names in a bucket have no “/” at their start as a rule. Leave it out to reach a folder.";
    if (prefix.empty() || prefix.ends_with('/'))
        return {};
    const auto shown = singleLine(prefix);
    return "Reaches every name that begins so, “" + shown + "-old” too. For the folder alone, end it with “/”.";
}

} // namespace

std::string_view lifetimeLabel(KeyLifetime lifetime)
{
    switch (lifetime) {
    case KeyLifetime::never:
        return "Never expires";
    case KeyLifetime::day:
        return "1 day";
    case KeyLifetime::week:
        return "7 days";
    case KeyLifetime::month:
        return "30 days";
    case KeyLifetime::quarter:
        return "90 days";
    }
    return {};
}

std::optional<int> lifetimeSeconds(KeyLifetime lifetime)
{
    switch (lifetime) {
    case KeyLifetime::never:
        break;
    case KeyLifetime::day:
        return 86'400;
    case KeyLifetime::week:
        return 604'800;
    case KeyLifetime::month:
        return 2'592'000;
    case KeyLifetime::quarter:
        return 7'776'000;
    }
    return std::nullopt;
}

NewKeyRules::NewKeyRules(const NewKeyForm& form, const std::set<B2Capability>& held)
    : capabilities(form.preset == KeyPreset::custom ? form.custom : presetCapabilities(form.preset))
    , presetText(::presetText(form.preset))
{
    // The service refuses a key with more capabilities than the one that creates it.
    if (form.preset == KeyPreset::fullControl)
        std::erase_if(capabilities, [&](const B2Capability& each) { return !held.contains(each); });
    const bool hasGrants = !capabilities.empty();
    if (!form.bucketIDs.empty()) {
        const auto& accountOnly = B2Capabilities::accountOnly();
        const auto dropped =
            std::erase_if(capabilities, [&](const B2Capability& each) { return accountOnly.contains(each); });
        if (dropped > 0)
            leftOut = "A key limited to particular buckets cannot manage keys or delete a bucket, so those are left "
                      "out. It will get "
                + presetSummary(capabilities) + ".";
    }
    riskNote = ::riskNote(capabilities);
    if (form.bucketIDs.empty())
        reachNote = "Reaches every bucket, including ones made later. Choose a bucket to limit it.";
    else if (form.bucketIDs.size() > 1)
        reachNote = "Only software on Backblaze's version 4 API can use a key that names several buckets. Most B2 "
                    "tools cannot.";
    prefixNote = prefixNoteOf(form.prefix);
    refusal = refusalOf(trimmed(form.name), hasGrants, !capabilities.empty());
    asksFirst = form.bucketIDs.size() > 1;
}

B2CreateKeyRequest makeCreateKeyRequest(const NewKeyForm& form, const NewKeyRules& rules)
{
    B2CreateKeyRequest request;
    request.capabilities.assign(rules.capabilities.begin(), rules.capabilities.end());
    request.keyName = trimmed(form.name);
    request.validDurationInSeconds = lifetimeSeconds(form.lifetime);
    request.bucketIDs.assign(form.bucketIDs.begin(), form.bucketIDs.end());
    if (!form.prefix.empty())
        request.namePrefix = form.prefix;
    return request;
}

std::string reachForLog(const B2CreateKeyRequest& request)
{
    std::string reach = request.bucketIDs.empty()
        ? "every bucket"
        : countText(static_cast<std::int64_t>(request.bucketIDs.size()), "bucket", "buckets");
    if (request.namePrefix)
        reach += " under “" + singleLine(*request.namePrefix) + "”";
    return request.bucketIDs.empty() ? reach : reach + ", bucket-restricted";
}

Question multiBucketQuestion()
{
    return {.title = "This key will only work with software on Backblaze's version 4 API",
        .text = "Most B2 tools will refuse this key with an error that does not say why. A key over one bucket works "
                "everywhere. A key's reach cannot be changed later.",
        .verb = "Create Anyway",
        .isDestructive = false};
}

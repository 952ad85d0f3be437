#include "accounts/keys/KeyDetails.h"

#include "accounts/KeyNames.h"
#include "accounts/keys/KeyPermissions.h"
#include "accounts/keys/KeyRows.h"
#include "foundation/Texts.h"
#include "keychain/Keychain.h"

namespace {

constexpr std::string_view notShown = "Not shown to this key. Reading it from Backblaze needs permission to list keys.";
constexpr std::string_view masterNote =
    "This is the account's Master Application Key. Backblaze does not name it, so the name here is your own.";

std::vector<KeyDetails::Granted> grantedTo(std::set<B2Capability> capabilities)
{
    std::vector<KeyDetails::Granted> granted;
    for (const auto& group : KeyPermissions::groups()) {
        KeyDetails::Granted titles{.group = std::string(group.name)};
        for (const auto& item : group.items) {
            if (capabilities.erase(item.capability) > 0)
                titles.titles.emplace_back(item.title);
        }
        if (!titles.titles.empty())
            granted.push_back(std::move(titles));
    }
    if (!capabilities.empty()) {
        KeyDetails::Granted others{.group = "Other"};
        for (const auto& capability : capabilities)
            others.titles.push_back(capability.rawValue);
        granted.push_back(std::move(others));
    }
    return granted;
}

} // namespace

KeyDetails::KeyDetails(const KeyDetailsInputs& inputs)
{
    const auto& key = inputs.key;
    const bool isNamed = inputs.isStored && !inputs.storedLabel.empty() && inputs.storedLabel != unnamedKeyLabel;
    const bool knowsName = !inputs.isMaster && !inputs.describedBySignIn;
    const std::string keyName = singleLine(key.keyName);
    const std::string label = singleLine(inputs.storedLabel);

    title = knowsName ? keyName : (isNamed ? label : shortKeyID(key.applicationKeyID));
    if (inputs.isMaster)
        backblazeName = masterNote;
    else
        backblazeName = knowsName ? keyName : std::string(notShown);

    kestrovanName = isNamed ? label : "Not named in Kestrovan";
    nameNote = inputs.isMaster ? "" : "Kestrovan keeps its own name for a key, because Backblaze cannot rename one.";
    differsInName = inputs.isStored && knowsName && inputs.storedLabel != key.keyName;

    if (key.bucketIDs.empty()) {
        reach = "Every bucket in the account, including any created later";
    } else {
        for (const auto& name : bucketNames(key, inputs.buckets))
            reach += (reach.empty() ? "" : "\n") + name;
    }
    if (key.bucketIDs.size() > 1)
        reachNote = "Only software on B2's version 4 API can use this key, and most existing B2 tools are older than "
                    "that. They refuse it outright. A key over one bucket has no such limit.";
    if (key.namePrefix && !key.namePrefix->empty())
        prefix = "Only names starting with “" + singleLine(*key.namePrefix) + "”";

    if (inputs.isMaster)
        expires = "Never";
    else if (inputs.describedBySignIn && !key.expirationTimestamp)
        expires = notShown;
    else
        expires = expiryText(key, inputs.now);

    granted = grantedTo(key.capabilities);
    if (granted.empty())
        grantedNote = "Nothing. This key cannot do anything.";
    storage = inputs.isStored ? "Held in " + std::string(inputs.keyPlace) + ", so this key can be used to sign in"
                              : "Not held by Kestrovan. Add it with its applicationKey to use it";
    if (inputs.isCurrent)
        storage = std::string(relationHelp(KeyRelation::current)) + ".\n" + storage;
}

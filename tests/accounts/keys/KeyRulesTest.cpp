#include "accounts/keys/CreatedKeyRules.h"
#include "accounts/keys/KeyDetails.h"
#include "accounts/keys/KeyPermissions.h"
#include "accounts/keys/KeyRows.h"
#include "accounts/keys/NewKeyRules.h"

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

std::set<B2Capability> everything()
{
    return {B2Capabilities::all().begin(), B2Capabilities::all().end()};
}

std::string refusalOf(const NewKeyForm& form)
{
    return NewKeyRules(form, everything()).refusal.value_or("");
}

std::vector<std::string> namesOf(const std::vector<KeyRow>& rows)
{
    std::vector<std::string> names;
    for (const auto& row : rows)
        names.push_back(row.key.keyName);
    return names;
}

} // namespace

TEST(KeyPermissionsTest, TheGroupsHoldKnownCapabilitiesEachOnce)
{
    std::set<B2Capability> seen;
    for (const auto& group : KeyPermissions::groups()) {
        for (const auto& item : group.items) {
            EXPECT_TRUE(everything().contains(item.capability)) << item.capability.rawValue;
            EXPECT_TRUE(seen.insert(item.capability).second) << item.capability.rawValue;
        }
    }
    EXPECT_EQ(seen.size(), 30U);
    EXPECT_EQ(KeyPermissions::title(B2Capabilities::shareFiles), "Create share links");
    EXPECT_EQ(KeyPermissions::title(B2Capability("readBucketPolicy")), "readBucketPolicy");
}

TEST(KeyPermissionsTest, ASummaryNamesWhatAKeyIsFor)
{
    EXPECT_EQ(presetSummary(presetCapabilities(KeyPreset::fullControl)), "Full control");
    auto masters = presetCapabilities(KeyPreset::fullControl);
    // The service never lists these, so no key has them.
    for (const char* const name : {"readBucketInfo", "writeBucketInfo", "readBucketType", "writeBucketType",
             "readBucketPolicy", "writeBucketPolicy"})
        masters.erase(B2Capability(name));
    EXPECT_EQ(presetSummary(masters), "Full control");
    masters.erase(B2Capability("bypassGovernance"));
    EXPECT_NE(presetSummary(masters), "Full control");
    EXPECT_EQ(presetSummary(presetCapabilities(KeyPreset::readOnly)), "read, share");
    EXPECT_EQ(presetSummary(presetCapabilities(KeyPreset::readWrite)), "read, write, delete, share");
    EXPECT_EQ(presetSummary({B2Capabilities::writeKeys, B2Capabilities::deleteBuckets}), "manage keys, manage buckets");
    EXPECT_EQ(presetSummary({}), "nothing");
    EXPECT_THAT(presetSummary({B2Capabilities::listBuckets}), Not(IsEmpty()));
}

TEST(KeyPermissionsTest, TheRiskNamesWhatCanBeDeleted)
{
    EXPECT_EQ(riskNote(presetCapabilities(KeyPreset::readOnly)), "This key cannot delete anything.");
    EXPECT_EQ(riskNote(presetCapabilities(KeyPreset::fullControl)),
        "This key can delete files, buckets and other keys. If it leaks, that is what is at risk.");
    EXPECT_EQ(riskNote({B2Capabilities::deleteFiles, B2Capabilities::deleteKeys}),
        "This key can delete files and other keys. If it leaks, that is what is at risk.");
}

TEST(NewKeyRulesTest, AKeyLimitedToBucketsNeverAsksForAccountCapabilities)
{
    NewKeyForm form{.name = "n", .custom = everything(), .bucketIDs = {"b1"}};
    for (const auto preset : allKeyPresets) {
        form.preset = preset;
        const NewKeyRules rules(form, everything());
        for (const auto* forbidden : {"listKeys", "writeKeys", "deleteKeys", "deleteBuckets"})
            EXPECT_FALSE(rules.capabilities.contains(B2Capability(forbidden))) << presetTitle(preset) << forbidden;
        const bool leavesOut = preset == KeyPreset::fullControl || preset == KeyPreset::custom;
        EXPECT_EQ(!rules.leftOut.empty(), leavesOut) << presetTitle(preset);
    }
    EXPECT_EQ(NewKeyRules(form, everything()).leftOut,
        "A key limited to particular buckets cannot manage keys or delete a bucket, so those are left out. It will get "
        "read, write, delete, share, manage buckets.");
}

TEST(NewKeyRulesTest, FullControlIsWhatTheKeyInUseHas)
{
    const NewKeyForm form{.name = "n", .preset = KeyPreset::fullControl};
    const std::set<B2Capability> held{B2Capabilities::readFiles, B2Capabilities::writeKeys};

    EXPECT_EQ(NewKeyRules(form, held).capabilities, held);
    EXPECT_EQ(NewKeyRules(form, everything()).capabilities, everything());
}

TEST(NewKeyRulesTest, APrefixThatIsNoFolderIsExplained)
{
    NewKeyForm form{.name = "n"};
    for (const auto* plain : {"", "backups/"}) {
        form.prefix = plain;
        EXPECT_THAT(NewKeyRules(form, everything()).prefixNote, IsEmpty());
    }
    form.prefix = "/backups/";
    EXPECT_THAT(NewKeyRules(form, everything()).prefixNote, HasSubstr("Leave it out"));
    form.prefix = "back\nup";
    EXPECT_THAT(NewKeyRules(form, everything()).prefixNote, HasSubstr("“back␊up-old” too"));
}

TEST(NewKeyRulesTest, ReachIsSaidUnlessItIsOneBucket)
{
    NewKeyForm form{.name = "n"};
    EXPECT_THAT(NewKeyRules(form, everything()).reachNote, HasSubstr("Reaches every bucket"));
    form.bucketIDs = {"b1"};
    EXPECT_THAT(NewKeyRules(form, everything()).reachNote, IsEmpty());
    EXPECT_FALSE(NewKeyRules(form, everything()).asksFirst);
    form.bucketIDs = {"b1", "b2"};
    EXPECT_THAT(NewKeyRules(form, everything()).reachNote, HasSubstr("version 4 API"));
    EXPECT_TRUE(NewKeyRules(form, everything()).asksFirst);
}

TEST(NewKeyRulesTest, TheButtonWaitsForANameTheServiceTakesAndAPermission)
{
    EXPECT_EQ(refusalOf({.name = " \t"}), "A key needs a name.");
    EXPECT_EQ(refusalOf({.name = " backup-reader "}), "");
    EXPECT_THAT(refusalOf({.name = "büro"}), HasSubstr("letters"));
    EXPECT_EQ(refusalOf({.name = std::string(100, 'a')}), "");
    EXPECT_THAT(refusalOf({.name = std::string(101, 'a')}), HasSubstr("100"));
    EXPECT_EQ(refusalOf({.name = "n", .preset = KeyPreset::custom}), "Choose at least one permission.");
    EXPECT_THAT(
        refusalOf(
            {.name = "n", .preset = KeyPreset::custom, .custom = {B2Capabilities::listKeys}, .bucketIDs = {"b1"}}),
        HasSubstr("Nothing is left"));
}

TEST(NewKeyRulesTest, ARequestHoldsWhatWasFilledIn)
{
    const NewKeyForm form{
        .name = " n ", .bucketIDs = {"b2", "b1"}, .prefix = "backups/", .lifetime = KeyLifetime::week};
    const auto request = makeCreateKeyRequest(form, NewKeyRules(form, everything()));

    EXPECT_EQ(request.keyName, "n");
    EXPECT_EQ(request.validDurationInSeconds, 604'800);
    EXPECT_THAT(request.bucketIDs, ElementsAre("b1", "b2"));
    EXPECT_EQ(request.namePrefix, "backups/");
    EXPECT_EQ(reachForLog(request), "2 buckets under “backups/”, bucket-restricted");

    const auto plain = makeCreateKeyRequest({.name = "n"}, NewKeyRules({.name = "n"}, everything()));
    EXPECT_EQ(plain.validDurationInSeconds, std::nullopt);
    EXPECT_EQ(plain.namePrefix, std::nullopt);
    EXPECT_EQ(reachForLog(plain), "every bucket");
}

TEST(CreatedKeyRulesTest, TheSheetClosesOnlyWhenTheSecretIsSafe)
{
    EXPECT_FALSE(CreatedKeyRules().mayClose());
    EXPECT_TRUE(CreatedKeyRules{.hasCopied = true}.mayClose());
    EXPECT_TRUE(CreatedKeyRules{.hasAcknowledged = true}.mayClose());
    EXPECT_FALSE((CreatedKeyRules{.hasCopied = true, .hasAcknowledged = true, .isAdding = true}.mayClose()));
    EXPECT_EQ(CreatedKeyRules::clipboardText({"K004s", {.applicationKeyID = "id", .keyName = "n"}}),
        "keyName: n\nkeyID: id\napplicationKey: K004s");
}

TEST(KeyRowsTest, ARowSaysHowTheProgramKnowsTheKey)
{
    const std::vector<B2ApplicationKey> keys{{.applicationKeyID = "1", .keyName = "a", .bucketIDs = {"b2", "b1"}},
        {.applicationKeyID = "2", .keyName = "b", .bucketIDs = {"gone"}, .namePrefix = "x/"},
        {.applicationKeyID = "3", .keyName = "c"}, {.applicationKeyID = "4", .keyName = "d"}};
    KeyRowsContext context{.stored = {{"1", "Mine", "acc"}, {"2", "b", "acc"}, {"3", "Unnamed key", "acc"}},
        .currentKeyID = "1",
        .buckets = {{.bucketID = "b1", .bucketName = "photos"}, {.bucketID = "b2", .bucketName = "films"}}};

    const auto rows = makeKeyRows(keys, context, {});

    EXPECT_EQ(rows[0].relationText, "Signed in");
    EXPECT_EQ(rows[0].nameMark, "in Kestrovan as “Mine”");
    EXPECT_FALSE(rows[0].isSelectable());
    EXPECT_EQ(rows[0].reach, "2 buckets");
    EXPECT_EQ(rows[0].reachHelp, "films\nphotos");
    EXPECT_EQ(rows[1].relationText, "Stored");
    EXPECT_FALSE(rows[1].canTakeName());
    EXPECT_EQ(rows[1].reach, "gone · x/");
    EXPECT_EQ(rows[2].nameMark, "not named in Kestrovan");
    EXPECT_TRUE(rows[2].canTakeName());
    EXPECT_TRUE(rows[3].canAdd());
    EXPECT_EQ(rows[3].reach, "Every bucket");
}

TEST(KeyRowsTest, RowsAreInTheRequestedOrder)
{
    const std::vector<B2ApplicationKey> keys{{.applicationKeyID = "1", .keyName = "key 10", .expirationTimestamp = 5},
        {.applicationKeyID = "2", .keyName = "key 9"}, {.applicationKeyID = "3", .keyName = "Alpha"}};
    const std::vector<SortOrder> byExpiry{{"expires", false}};

    EXPECT_THAT(namesOf(makeKeyRows(keys, {}, {})), ElementsAre("Alpha", "key 9", "key 10"));
    EXPECT_THAT(namesOf(makeKeyRows(keys, {}, byExpiry)), ElementsAre("Alpha", "key 9", "key 10"));
    const std::vector<SortOrder> soonest{{"expires", true}};
    EXPECT_THAT(namesOf(makeKeyRows(keys, {}, soonest)), ElementsAre("key 10", "Alpha", "key 9"));
}

TEST(KeyRowsTest, TheQuestionNamesTheKeyOrCountsThem)
{
    const B2ApplicationKey key{.keyName = "backup"};
    EXPECT_EQ(deleteKeysQuestion({key}).title, "Delete “backup”?");
    EXPECT_THAT(deleteKeysQuestion({key}).text, HasSubstr("and it cannot be restored."));
    EXPECT_EQ(deleteKeysQuestion({key, key}).verb, "Delete 2 Keys");
    EXPECT_THAT(deleteKeysQuestion({key, key}).text, HasSubstr("with these 2 keys (scripts"));
    EXPECT_THAT(deleteKeysQuestion({key, key}).text, HasSubstr("and they cannot be restored."));
}

TEST(KeyDetailsTest, UnknownFactsAreNamedAndNotGuessed)
{
    KeyDetailsInputs inputs{.key = {.applicationKeyID = "0044a1b2c3d4e5f0000000001", .keyName = "backup"}};
    inputs.isStored = true;
    inputs.storedLabel = "Laptop";
    const KeyDetails listed(inputs);
    EXPECT_EQ(listed.backblazeName, "backup");
    EXPECT_TRUE(listed.differsInName);
    EXPECT_EQ(listed.grantedNote, "Nothing. This key cannot do anything.");
    EXPECT_EQ(listed.reach, "Every bucket in the account, including any created later");
    EXPECT_EQ(listed.expires, "Never");

    inputs.describedBySignIn = true;
    const KeyDetails unlisted(inputs);
    EXPECT_EQ(unlisted.title, "Laptop");
    EXPECT_THAT(unlisted.backblazeName, HasSubstr("needs permission to list keys"));
    EXPECT_THAT(unlisted.expires, HasSubstr("needs permission to list keys"));
    EXPECT_FALSE(unlisted.differsInName);

    inputs.describedBySignIn = false;
    inputs.isMaster = true;
    EXPECT_THAT(KeyDetails(inputs).backblazeName, HasSubstr("Master Application Key"));
}

TEST(KeyDetailsTest, PermissionsAreGroupedAndNoneIsLost)
{
    KeyDetailsInputs inputs;
    inputs.key.capabilities = {B2Capabilities::listKeys, B2Capabilities::readFiles, B2Capability("somethingNew")};
    inputs.key.bucketIDs = {"b2", "b1"};

    const KeyDetails details(inputs);

    EXPECT_THAT(details.granted,
        ElementsAre(KeyDetails::Granted{"Files", {"Download files"}}, KeyDetails::Granted{"Keys", {"List keys"}},
            KeyDetails::Granted{"Other", {"somethingNew"}}));
    EXPECT_EQ(details.reach, "b1\nb2");
    EXPECT_THAT(details.reachNote, HasSubstr("version 4 API"));
}

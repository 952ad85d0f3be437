#include "B2Kit/calls/B2AccountKeys.h"
#include "tests/shell/RootFixture.h"

#include "browser/BrowserTexts.h"
#include "browser/actions/BrowserActions.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Connects with keys that the first account's master key makes.
class RestrictedKeysTest : public RootFixture {
protected:
    RestrictedKeysTest()
    {
        settings.set(SettingsKeys::lastKeyID, first);
        root.start();
        EXPECT_TRUE(isBrowsing(first));
        for (const auto& bucket : *root.buckets.buckets)
            bucketIDs[bucket.bucketName] = bucket.bucketID;
    }

    /// Makes a key, stores it and connects with it.
    ///
    /// @returns its id.
    std::string connectWith(B2CreateKeyRequest request)
    {
        auto make = [](std::shared_ptr<B2Session> session, B2CreateKeyRequest wanted) -> Task<B2CreatedApplicationKey> {
            co_return co_await session->client->createKey(std::move(wanted));
        };
        request.keyName = "restricted";
        const auto made = qtRun(make(*root.keyStore.session, std::move(request)));
        const auto& keyID = made.key.applicationKeyID;
        keychain.add({keyID, "restricted", first}, made.applicationKey);
        qtRun(root.keyStore.reload());
        root.switchTo(keyID);
        EXPECT_TRUE(hasListed(keyID));
        return keyID;
    }

    std::vector<std::string> bucketNames() const
    {
        std::vector<std::string> names;
        for (const auto& bucket : *root.buckets.buckets)
            names.push_back(bucket.bucketName);
        return names;
    }

    void show(const std::string& bucketName)
    {
        root.selection.select(SidebarItem::bucket(bucketIDs.at(bucketName)));
        EXPECT_TRUE(spinUntil([&] { return *root.browser.bucket && !*root.browser.isLoading; }));
    }

    const B2Authorization& authorization() const { return (*root.keyStore.session)->authorization; }

    std::map<std::string, std::string> bucketIDs;
};

const std::vector<B2Capability> reading{
    B2Capabilities::listBuckets, B2Capabilities::listFiles, B2Capabilities::readFiles};

} // namespace

TEST_F(RestrictedKeysTest, AKeyOverOneOrSeveralBucketsShowsThoseAlone)
{
    connectWith({.capabilities = reading, .bucketIDs = {bucketIDs.at("photos")}});
    EXPECT_THAT(bucketNames(), ElementsAre("photos"));
    show("photos");
    EXPECT_FALSE(root.browser.rows.entries->empty());
    EXPECT_THAT(uploadRefusal(authorization()).value_or(""), HasSubstr("it lacks writeFiles"));

    root.switchTo(first);
    ASSERT_TRUE(isBrowsing(first));
    connectWith({.capabilities = reading, .bucketIDs = {bucketIDs.at("photos"), bucketIDs.at("documents")}});
    EXPECT_THAT(bucketNames(), ElementsAre("documents", "photos"));
}

TEST_F(RestrictedKeysTest, AKeyWithAPrefixOpensThereAndLeadsNoFurtherUp)
{
    // The prefix need not end with a folder.
    connectWith(
        {.capabilities = reading, .bucketIDs = {bucketIDs.at("documents")}, .namePrefix = std::string("Letters/2")});
    show("documents");

    EXPECT_EQ(*root.browser.prefix, "Letters/2");
    EXPECT_FALSE(*root.browser.error) << **root.browser.error;
    EXPECT_FALSE(root.browser.canGoUp());
    root.browser.navigate("");
    EXPECT_THAT(root.browser.error->value_or(""), HasSubstr("This key reaches only names that begin with"));
    EXPECT_EQ(*root.browser.prefix, "Letters/2");
}

TEST_F(RestrictedKeysTest, WithoutListBucketsTheBucketsTheKeyNamesAreShown)
{
    connectWith({.capabilities = {B2Capabilities::listFiles, B2Capabilities::readFiles},
        .bucketIDs = {bucketIDs.at("photos")}});
    EXPECT_THAT(bucketNames(), ElementsAre("photos"));
    EXPECT_FALSE(*root.buckets.error);
    show("photos");
    EXPECT_FALSE(root.browser.rows.entries->empty());

    root.switchTo(first);
    ASSERT_TRUE(isBrowsing(first));
    connectWith({.capabilities = {B2Capabilities::listFiles, B2Capabilities::readFiles}});
    const auto state = root.detailState();
    EXPECT_EQ(state.notice.title, "Buckets Cannot Be Listed");
    EXPECT_THAT(state.notice.text, HasSubstr("it lacks listBuckets"));
    EXPECT_EQ(state.action, DetailState::Action::none) << "another try would end the same";
}

TEST_F(RestrictedKeysTest, WithoutListFilesUploadsGoOnAndListingsAreNotTried)
{
    connectWith({.capabilities = {B2Capabilities::listBuckets, B2Capabilities::writeFiles}});
    show("photos");

    EXPECT_TRUE(root.browser.rows.entries->empty());
    EXPECT_FALSE(*root.browser.error);
    EXPECT_THAT(listRefusal(authorization()).value_or(""), HasSubstr("it lacks listFiles"));
    EXPECT_FALSE(uploadRefusal(authorization()));
}

TEST_F(RestrictedKeysTest, AKeyAboutToEndSaysSoAndThenWhatHappened)
{
    const auto keyID = connectWith({.capabilities = reading, .validDurationInSeconds = 2});
    ASSERT_TRUE(root.notices.newest());
    root.notices.post({.id = "other", .text = "Something else."});
    EXPECT_EQ(root.notices.newest()->text, "Something else.");
    root.notices.close("other");
    ASSERT_TRUE(root.notices.newest());
    EXPECT_THAT(root.notices.newest()->text, HasSubstr("The key “restricted” stops working on "));
    root.notices.close(root.notices.newest()->id);
    EXPECT_FALSE(root.notices.newest());
    show("photos");
    ASSERT_EQ((*root.browser.session)->key->keyID, keyID);

    ASSERT_TRUE(spinUntil([&] { return root.notices.newest() != nullptr; }));
    EXPECT_THAT(root.notices.newest()->text, HasSubstr("The key “restricted” expired on "));
    EXPECT_THAT(root.keySwitcher.content().card->expires.value_or(""), HasSubstr("Expired"));
    root.browser.refresh();
    ASSERT_TRUE(spinUntil([&] { return root.browser.error->has_value(); }));
    EXPECT_THAT(**root.browser.error, HasSubstr("This key stopped working on "));
    EXPECT_THAT(uploadRefusal(authorization()).value_or(""), HasSubstr("This key stopped working on "));

    root.switchTo(first);
    ASSERT_TRUE(isBrowsing(first));
    EXPECT_FALSE(root.notices.newest()) << "the notice was about the other key";
}

TEST_F(RestrictedKeysTest, AKeyDeletedElsewhereIsSaidToBeGone)
{
    auto revoke = [](std::shared_ptr<B2Session> session, std::string keyID) -> Task<> {
        co_await deleteAccountKey(session->client, std::move(keyID));
    };
    const auto master = *root.keyStore.session;
    const auto keyID = connectWith({.capabilities = reading});
    show("photos");
    qtRun(revoke(master, keyID));

    root.browser.refresh();
    ASSERT_TRUE(spinUntil([&] { return root.browser.error->has_value(); }));
    EXPECT_THAT(**root.browser.error, HasSubstr("Backblaze rejected this key. It has been deleted"));
}

TEST_F(RestrictedKeysTest, ABucketThatIsGoneLeavesTheOthersOfTheKey)
{
    auto make = [](std::shared_ptr<B2Session> session) -> Task<B2Bucket> {
        co_return co_await session->client->createBucket(
            {.bucketName = "soon-gone-for-good", .bucketType = B2BucketType("allPrivate")});
    };
    auto destroy = [](std::shared_ptr<B2Session> session, std::string bucketID) -> Task<> {
        co_await session->client->deleteBucket(std::move(bucketID));
    };
    const auto master = *root.keyStore.session;
    const auto gone = qtRun(make(master)).bucketID;
    const auto keyID = connectWith({.capabilities = reading, .bucketIDs = {bucketIDs.at("photos"), gone}});
    EXPECT_THAT(bucketNames(), ElementsAre("photos", "soon-gone-for-good"));

    qtRun(destroy(master, gone));
    qtRun(root.buckets.reload());
    EXPECT_THAT(bucketNames(), ElementsAre("photos"));
    EXPECT_FALSE(*root.buckets.error);
}

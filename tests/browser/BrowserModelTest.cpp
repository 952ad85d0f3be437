#include "tests/browser/BrowserModelFixture.h"

#include <gmock/gmock.h>

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

TEST_F(BrowserModelTest, ShowsFoldersFirstAndNumbersByValue)
{
    openBucket();

    EXPECT_THAT(shownNames(), ElementsAre("photos", "a.txt", "z9.txt", "z10.txt"));
    EXPECT_EQ(service->calls()[0].maxFileCount, 1000);
    EXPECT_EQ(service->calls()[0].delimiter, "/");
}

TEST_F(BrowserModelTest, ListsAFolderOnceHoweverOftenItIsVisited)
{
    openBucket();
    go("photos/");
    EXPECT_FALSE(model.cachedAt->has_value());
    model.goUp();
    EXPECT_EQ(*model.arrivalID, "folder:photos/");
    go("photos/");
    model.goBack();
    model.goForward();

    EXPECT_THAT(service->calls(), SizeIs(2));
    EXPECT_TRUE(model.cachedAt->has_value());
    EXPECT_THAT(shownNames(), ElementsAre("2024", "cat.jpg", "dog.jpg"));

    model.refresh();
    settle();
    EXPECT_THAT(service->calls(), SizeIs(3));
    EXPECT_FALSE(model.cachedAt->has_value());
}

TEST_F(BrowserModelTest, GoesBackAndForwardThroughFoldersAndBuckets)
{
    service->add("bucket-2", "other.txt");
    openBucket();
    go("photos/");
    model.open(session, B2Bucket{.bucketID = "bucket-2", .bucketName = "second"});
    settle();

    model.goBack();
    EXPECT_EQ((*model.bucket)->bucketID, "bucket-1");
    EXPECT_EQ(*model.prefix, "photos/");
    model.goBack();
    EXPECT_EQ(*model.prefix, "");
    EXPECT_FALSE(model.canGoBack());
    model.goForward();
    EXPECT_TRUE(model.canGoForward());
    go("photos/2024/");
    EXPECT_FALSE(model.canGoForward());
}

TEST_F(BrowserModelTest, CachesALongFolderOnlyOnceItIsReadToTheEnd)
{
    for (int i = 0; i < 2500; ++i)
        service->add("bucket-1", "long/" + std::to_string(i));
    openBucket();

    go("long/");
    EXPECT_EQ(model.rows.entries->size(), 1000);
    EXPECT_TRUE(*model.hasMore);
    model.loadMore();
    settle();
    EXPECT_EQ(cached("long/"), nullptr);
    model.loadMore();
    settle();

    EXPECT_FALSE(*model.hasMore);
    ASSERT_NE(cached("long/"), nullptr);
    EXPECT_EQ(cached("long/")->files.size(), 2500);
    EXPECT_EQ(shownNames()[10], "10");
    EXPECT_THAT(service->calls(), SizeIs(4));
    model.loadMore();
    EXPECT_FALSE(*model.isLoading);
}

TEST_F(BrowserModelTest, KeepsTheModesApart)
{
    service->add("bucket-1", "a.txt");
    service->add("bucket-1", "gone.txt");
    service->add("bucket-1", "gone.txt", "hide");
    openBucket();

    model.setMode(BrowserMode::allVersions);
    settle();

    EXPECT_THAT(shownNames(), ElementsAre("photos", "a.txt", "a.txt", "gone.txt", "gone.txt", "z9.txt", "z10.txt"));
    EXPECT_EQ((*model.rows.shown)[3].kind, RowKind::hidden);
    EXPECT_NE(cached("", "All Versions"), nullptr);
    EXPECT_NE(cached("", "Current"), nullptr);
    model.setMode(BrowserMode::current);
    EXPECT_THAT(service->calls(), SizeIs(2));
    EXPECT_EQ(service->calls()[1].operation, "b2_list_file_versions");
}

TEST_F(BrowserModelTest, ForgetsTheWholeBucketAfterAWriteAndListsAgain)
{
    openBucket();
    go("photos/");
    service->add("bucket-1", "photos/new.jpg");

    model.afterWrite("bucket-1");
    EXPECT_EQ(cached(""), nullptr);
    settle();

    EXPECT_THAT(shownNames(), testing::Contains("new.jpg"));
}

TEST_F(BrowserModelTest, KeepsThePagesThatWereLoadedWhenItListsAgain)
{
    for (int i = 0; i < 2500; ++i)
        service->add("bucket-1", "long/" + std::to_string(10000 + i));
    openBucket();
    go("long/");
    model.loadMore();
    settle();
    service->add("bucket-1", "long/10500a");

    model.afterWrite("bucket-1");
    settle();
    EXPECT_EQ(model.rows.shown->size(), 2000);
    EXPECT_EQ((*model.rows.shown)[501].name, "10500a");
    EXPECT_TRUE(*model.hasMore);

    model.loadMore();
    settle();
    EXPECT_EQ(model.rows.shown->size(), 2501);
    EXPECT_EQ((*model.rows.shown)[2500].name, "12499");
}

TEST_F(BrowserModelTest, ListsOnceMoreWhenAWriteCameDuringAListing)
{
    openBucket();
    const auto gate = service->holdNext();
    model.navigate("photos/");
    ASSERT_TRUE(spinUntil([this] { return service->calls().size() == 2; }));
    service->add("bucket-1", "photos/new.jpg");
    model.afterWrite("bucket-1");
    model.afterWrite("bucket-1");
    gate.set();

    ASSERT_TRUE(spinUntil([this] { return service->calls().size() == 3; }));
    settle();

    EXPECT_THAT(service->calls(), SizeIs(3));
    EXPECT_THAT(shownNames(), testing::Contains("new.jpg"));
    EXPECT_EQ(cached("photos/")->files.size(), 4);
}

TEST_F(BrowserModelTest, DropsAnAnswerThatArrivesAfterTheUserHasLeft)
{
    openBucket();
    const auto gate = service->holdNext();
    model.navigate("photos/");
    ASSERT_TRUE(spinUntil([this] { return service->calls().size() == 2; }));

    go("photos/2024/");
    gate.set();
    spinUntil([] { return false; }, 50ms);

    EXPECT_THAT(shownNames(), ElementsAre("x.jpg"));
    EXPECT_EQ(cached("photos/"), nullptr);
    EXPECT_FALSE(model.error->has_value());
}

TEST_F(BrowserModelTest, MayBeDestroyedWhileAListingRuns)
{
    auto shortLived = std::make_unique<BrowserModel>(settings);
    const auto gate = service->holdNext();
    shortLived->open(session, bucket);
    ASSERT_TRUE(spinUntil([this] { return service->calls().size() == 1; }));

    shortLived.reset();
    gate.set();

    // The late answer has no receiver; another model can still list.
    openBucket();
    EXPECT_THAT(shownNames(), SizeIs(4));
}

TEST_F(BrowserModelTest, ReportsABucketThatNoLongerExists)
{
    std::vector<std::string> gone;
    model.onBucketGone = [&gone](std::string id) {
        return [](std::vector<std::string>* ids, std::string added) -> Task<> {
            ids->push_back(added);
            co_return;
        }(&gone, std::move(id));
    };
    openBucket();
    service->dropBucket("bucket-1");

    go("photos/");

    EXPECT_EQ(*model.error, "This bucket no longer exists");
    EXPECT_TRUE(spinUntil([&] { return gone == std::vector<std::string>{"bucket-1"}; }));
}

TEST_F(BrowserModelTest, KeepsTheRowsWhenAReloadFails)
{
    openBucket();
    service->refuseOnce(401, "unauthorized", "This key lacks the capability listFiles");

    model.refresh();
    settle();
    EXPECT_THAT(*model.error, testing::Optional(HasSubstr("listFiles")));
    EXPECT_THAT(shownNames(), SizeIs(4));

    model.retry();
    settle();
    EXPECT_FALSE(model.error->has_value());
}

TEST_F(BrowserModelTest, RetriesTheNextPageWhenItFailed)
{
    for (int i = 0; i < 1500; ++i)
        service->add("bucket-1", "long/" + std::to_string(i));
    openBucket();
    go("long/");
    service->refuseOnce(400, "bad_request", "Not now");
    model.loadMore();
    settle();
    ASSERT_TRUE(model.error->has_value());
    EXPECT_EQ(model.rows.entries->size(), 1000);

    model.retry();
    settle();

    EXPECT_EQ(model.rows.entries->size(), 1500);
}

TEST_F(BrowserModelTest, EndsAListingThatRepeatsAPage)
{
    for (int i = 0; i < 1500; ++i)
        service->add("bucket-1", "long/" + std::to_string(i));
    service->forgetStarts();
    openBucket();
    go("long/");

    model.loadMore();
    settle();

    EXPECT_TRUE(model.error->has_value());
    EXPECT_EQ(model.rows.entries->size(), 1000);
}

TEST_F(BrowserModelTest, StaysBelowThePrefixOfARestrictedKey)
{
    session = makeSession(service, "photos/");
    openBucket();
    EXPECT_EQ(*model.prefix, "photos/");
    EXPECT_FALSE(model.canGoUp());

    go("photos/2024/");
    EXPECT_TRUE(model.canGoUp());
    model.navigate("");

    EXPECT_EQ(*model.prefix, "photos/2024/");
    EXPECT_THAT(*model.error, testing::Optional(HasSubstr("names that begin with \"photos/\"")));
    model.goUp();
    model.goUp();
    EXPECT_EQ(*model.prefix, "photos/");
}

TEST_F(BrowserModelTest, MakesNoCallWithAKeyThatMayNotList)
{
    auto answer = session->authorization;
    answer.storage.allowed.capabilities = {B2Capabilities::writeFiles};
    session = std::make_shared<B2Session>(StoredKey{}, session->client, answer);

    model.open(session, bucket);

    EXPECT_FALSE(*model.isLoading);
    EXPECT_THAT(service->calls(), IsEmpty());
}

TEST_F(BrowserModelTest, ClearsCacheAndHistoryForAnotherSession)
{
    openBucket();
    go("photos/");

    model.open(makeSession(service), bucket);
    settle();

    EXPECT_FALSE(model.canGoBack());
    EXPECT_THAT(service->calls(), SizeIs(3));
    EXPECT_EQ(cached("photos/"), nullptr);
}

TEST_F(BrowserModelTest, KeepsTheSortOrderOfEachBucket)
{
    service->add("bucket-2", "other.txt");
    openBucket();
    model.setSortOrder({{"size", false}});
    EXPECT_THAT(shownNames(), ElementsAre("photos", "z10.txt", "z9.txt", "a.txt"));
    EXPECT_EQ(settings.text(SettingsKeys::browserSort("account-1", "bucket-1")), "size:desc");

    model.open(session, B2Bucket{.bucketID = "bucket-2"});
    EXPECT_EQ(*model.rows.sortOrder, defaultBrowserOrder());
    model.goBack();
    EXPECT_EQ(*model.rows.sortOrder, (std::vector<SortOrder>{{"size", false}}));
}

TEST_F(BrowserModelTest, FiltersLoadedNamesWithoutRegardToCase)
{
    openBucket();
    model.setFilter("Z1");
    EXPECT_THAT(shownNames(), ElementsAre("z10.txt"));

    go("photos/");
    EXPECT_EQ(*model.rows.filter, "");
    EXPECT_THAT(shownNames(), SizeIs(3));
}

TEST_F(BrowserModelTest, NeverBlocksTheMainThreadWhileManyRowsLoadAndSort)
{
    constexpr int count = 100000;
    for (int i = 0; i < count; ++i)
        service->add("bucket-1", "many/" + std::to_string(i * 7919 % count) + " holiday.jpg");
    model.open(session, bucket);
    settle();
    qint64 longest = 0;
    QElapsedTimer sinceBeat;
    QTimer heart;
    QObject::connect(&heart, &QTimer::timeout, [&] { longest = std::max(longest, sinceBeat.restart()); });
    sinceBeat.start();
    heart.start(0);

    model.navigate("many/");
    do {
        settle();
        model.loadMore();
    } while (*model.hasMore);
    model.setSortOrder({{"name", false}});
    ASSERT_TRUE(spinUntil([this] { return (*model.rows.shown)[0].name == "99999 holiday.jpg"; }, 60s));

    EXPECT_EQ(model.rows.shown->size(), count);
    EXPECT_LT(longest, 200);
    RecordProperty("longestStallMilliseconds", std::to_string(longest));
}

} // namespace

#include "tests/shell/RootFixture.h"

#include <algorithm>
#include <fstream>

namespace {

/// Two accounts at a slow service, and an eye on every change of the panes.
class AccountSwitchTest : public RootFixture {
protected:
    AccountSwitchTest()
    {
        settings.set(SettingsKeys::lastKeyID, first);
        QObject::connect(&root.buckets, &Observable::changed, &watching, [this] {
            const auto session = *root.buckets.session;
            for (const auto& bucket : *root.buckets.buckets)
                hasMixed = hasMixed || !session || bucket.accountID != session->authorization.accountID;
        });
        QObject::connect(&root.keyStore, &Observable::changed, &watching, [this] {
            const auto session = *root.keyStore.session;
            hasMixed = hasMixed || *root.buckets.session != session || *root.keys.session != session;
            lookAtRows();
        });
        QObject::connect(&root.browser, &Observable::changed, &watching, [this] { lookAtRows(); });
        QObject::connect(&root, &Observable::changed, &watching, [this] { lookAtRows(); });
    }

    void lookAtRows()
    {
        // What the sidebar names as the key in use decides whose rows may be seen.
        const auto session = *root.keyStore.session;
        const auto& shown = *root.browser.rows.shown;
        for (std::size_t row = 0; row < shown.size(); ++row) {
            ++rowsSeen;
            const auto owner = owners.find(shown[row].id);
            hasMixed =
                hasMixed || !session || (owner != owners.end() && owner->second != session->authorization.accountID);
        }
        if (const auto& bucket = *root.browser.bucket)
            hasMixed = hasMixed || !session || bucket->accountID != session->authorization.accountID;
    }

    /// Learns whose the rows of each bucket's root are.
    void learnRows(std::shared_ptr<B2Session> session)
    {
        auto list = [](std::shared_ptr<B2Session> from) -> Task<std::vector<B2FileVersion>> {
            std::vector<B2FileVersion> all;
            for (const auto& bucket : co_await from->client->listBuckets()) {
                auto page = co_await from->client->listFileNames({.bucketID = bucket.bucketID, .delimiter = "/"});
                std::ranges::move(page.files, std::back_inserter(all));
            }
            co_return all;
        };
        for (auto& file : qtRun(list(session))) {
            const auto row = makeRow(std::move(file));
            const bool isNew = owners.emplace(row.id, session->authorization.accountID).second;
            if (!isNew && owners.at(row.id) != session->authorization.accountID)
                owners.erase(row.id); // In both accounts: tells nothing.
        }
    }

    void plant(std::string json)
    {
        B2CurlTransport transport{{}};
        B2HTTPRequest request{.url = service.url() + "/_local/faults", .body = std::move(json)};
        ASSERT_EQ(qtRun(transport.data(std::move(request))).response.status, 200);
    }

    void showBucket(const std::string& name)
    {
        const auto bucket = std::ranges::find(*root.buckets.buckets, name, &B2Bucket::bucketName);
        ASSERT_NE(bucket, root.buckets.buckets->end());
        root.selection.select(SidebarItem::bucket(bucket->bucketID));
    }

    std::map<std::string, std::string> owners; ///< Account ids by row id.
    bool hasMixed = false;
    std::int64_t rowsSeen = 0;
    const QObject watching; ///< Ends the watching before what it notes goes.
};

} // namespace

TEST_F(AccountSwitchTest, NoRowOfOneAccountShowsUnderTheOtherAndTransfersGoOn)
{
    root.start();
    ASSERT_TRUE(isBrowsing(first));
    learnRows(*root.keyStore.session);
    learnRows(qtRun(root.keyStore.secondSession(second, {})));
    showBucket("documents");
    ASSERT_TRUE(isBrowsing(first));
    const auto documents = **root.browser.bucket;
    const std::filesystem::path file = directory.path().toStdString() + "/slow.bin";
    std::ofstream(file) << std::string(300'000, 'x');
    plant(R"([{"operation":"b2_upload_file","kind":"trickle","bytesPerSecond":150000,"in":"request"},
              {"operation":"b2_list_file_names","kind":"stall","milliseconds":250},
              {"operation":"b2_list_buckets","kind":"stall","milliseconds":150}])");
    queue.upload({file}, documents, "", *root.keyStore.session);
    ASSERT_TRUE(spinUntil([&] { return !queue.transfers->empty(); }));
    const auto upload = queue.transfers->front();

    // Each switch comes while the listings of the one before are still on their way.
    for (int round = 0; round < 3; ++round) {
        root.browser.refresh();
        root.switchTo(second);
        ASSERT_TRUE(hasListed(second));
        showBucket("neighbours-bucket");
        spinUntil([] { return false; }, std::chrono::milliseconds(100));
        root.switchTo(first);
        ASSERT_TRUE(hasListed(first));
        showBucket("documents");
        spinUntil([] { return false; }, std::chrono::milliseconds(100));
    }
    // Of several at once the last to connect wins, whichever that is.
    root.switchTo(second);
    root.switchTo(first);
    root.switchTo(second);
    spinUntil([] { return false; }, std::chrono::milliseconds(2000));
    root.switchTo(second);
    ASSERT_TRUE(hasListed(second));
    showBucket("neighbours-bucket");
    ASSERT_TRUE(isBrowsing(second));

    ASSERT_TRUE(spinUntil([&] { return !upload->state->isLive(); }));
    EXPECT_EQ(*upload->state, Transfer::State::finished()) << "under the session it began with";
    EXPECT_EQ((*root.browser.bucket)->bucketName, "neighbours-bucket");
    EXPECT_FALSE(hasMixed);
    EXPECT_GT(rowsSeen, 0);
}

TEST_F(AccountSwitchTest, RemovingTheKeyInUseLeavesNothingOfItOnScreen)
{
    root.start();
    ASSERT_TRUE(isBrowsing(first));

    qtRun(root.keyStore.remove(*(*root.keyStore.session)->key));
    ASSERT_TRUE(spinUntil([&] { return !*root.buckets.session; }));
    EXPECT_TRUE(root.browser.rows.shown->rows->empty());
    EXPECT_TRUE(root.buckets.buckets->empty());
    // The account's keys may still be on their way.
    EXPECT_TRUE(spinUntil([&] { return root.detailState().notice.title == "Not Connected"; }));

    qtRun(root.keyStore.remove(root.keyStore.keys->front()));
    EXPECT_EQ(root.detailState().kind, DetailState::Kind::welcome);
}

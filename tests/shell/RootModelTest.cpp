#include "tests/shell/RootFixture.h"

#include <thread>

using RootModelTest = RootFixture;

TEST_F(RootModelTest, StartsWithTheKeyAndTheBucketUsedLast)
{
    settings.set(SettingsKeys::lastKeyID, second);

    root.start();
    ASSERT_TRUE(isBrowsing(second));
    EXPECT_EQ(*context.currentKeyID, second);
    EXPECT_EQ(context.keyMenu->size(), 2U);

    const auto last = root.buckets.buckets->back();
    root.selection.select(SidebarItem::bucket(last.bucketID));
    EXPECT_EQ(settings.text(SettingsKeys::lastBucket(second)), last.bucketID);
    EXPECT_EQ((*root.browser.bucket)->bucketID, last.bucketID);
}

TEST_F(RootModelTest, AKeyThatIsGoneFromTheStoreFallsBackToTheFirst)
{
    settings.set(SettingsKeys::lastKeyID, "no-such-key");

    root.start();

    EXPECT_TRUE(isBrowsing(std::min(first, second)));
}

TEST_F(RootModelTest, ASwitchShowsOnlyTheOtherAccountsBuckets)
{
    settings.set(SettingsKeys::lastKeyID, first);
    root.start();
    ASSERT_TRUE(isBrowsing(first));
    const auto before = *root.buckets.buckets;

    root.switchTo(second);
    ASSERT_TRUE(hasListed(second));
    EXPECT_EQ(root.detailState().notice.title, "Select a Bucket")
        << "the bucket selected before is not of this account";
    EXPECT_FALSE(*root.browser.bucket);
    root.selection.select(SidebarItem::bucket(root.buckets.buckets->front().bucketID));
    ASSERT_TRUE(isBrowsing(second));

    for (const auto& bucket : *root.buckets.buckets) {
        EXPECT_EQ(bucket.accountID, second);
        EXPECT_EQ(std::ranges::find(before, bucket.bucketID, &B2Bucket::bucketID), before.end());
    }
    EXPECT_EQ((*root.browser.bucket)->accountID, second);
    EXPECT_EQ(settings.text(SettingsKeys::lastKeyID), second);
}

TEST_F(RootModelTest, NeverMixesOneKeyWithTheBucketsOfAnother)
{
    settings.set(SettingsKeys::lastKeyID, first);
    std::vector<std::string> titles;
    const QObject watching;
    QObject::connect(
        &root, &Observable::changed, &watching, [&] { titles.push_back(root.detailState().notice.title); });
    root.start();
    ASSERT_TRUE(isBrowsing(first));
    EXPECT_THAT(titles, testing::Each(""));

    const auto before = root.buckets.buckets->back();

    // The new key has connected, but its buckets are not listed yet.
    root.switchTo(second);
    ASSERT_TRUE(spinUntil([&] { return (*root.keyStore.session)->key->keyID == second; }));
    root.selection.select(SidebarItem::bucket(before.bucketID));
    // The old one with its own bucket is no mixture; that lasts until the window has heard of the new key.
    EXPECT_TRUE(!*root.browser.session || (*root.browser.session)->key->keyID == first);

    ASSERT_TRUE(hasListed(second));
    EXPECT_FALSE(*root.browser.bucket);
    EXPECT_NE(settings.text(SettingsKeys::lastBucket(second)), before.bucketID);
}

TEST_F(RootModelTest, ListsTheFolderAFewTimesWhenManyUploadsEnd)
{
    settings.set(SettingsKeys::lastKeyID, first);
    root.start();
    ASSERT_TRUE(isBrowsing(first));
    int listings = 0;
    bool wasLoading = false;
    const QObject watching;
    QObject::connect(&root.browser, &Observable::changed, &watching, [&] {
        listings += *root.browser.isLoading && !wasLoading ? 1 : 0;
        wasLoading = *root.browser.isLoading;
    });
    auto cancelledAtOnce = [](TransferRun) -> Task<> { co_await checkCancelled(); };
    for (int i = 0; i < 500; ++i) {
        auto upload = std::make_shared<Transfer>(Transfer::Kind::upload, "many/" + std::to_string(i), 1);
        upload->bucket = **root.browser.bucket;
        queue.enqueue(std::move(upload), cancelledAtOnce);
    }
    for (const auto& transfer : queue.activeTransfers())
        queue.cancel(transfer);

    spinUntil([] { return false; }, std::chrono::milliseconds(1500));
    EXPECT_EQ(listings, 2);
}

TEST_F(RootModelTest, SaysThatTheSettingsAreNotSaved)
{
    Q_EMIT settings.writeFailed(QStringLiteral("Couldn't save the settings."));
    ASSERT_TRUE(root.notices.find("settings.write"));
    EXPECT_EQ(root.notices.newest()->text, "Couldn't save the settings.");
    root.notices.close("settings.write");
    EXPECT_FALSE(root.notices.newest());
}

TEST_F(RootModelTest, AFailedSwitchGoesOnWithTheOldKeyAndSaysSo)
{
    keychain.add({"0044a1b2c3d4e5f0000000099", "Wrong", std::nullopt}, "K004wrong");
    settings.set(SettingsKeys::lastKeyID, first);
    root.start();
    ASSERT_TRUE(isBrowsing(first));

    root.switchTo("0044a1b2c3d4e5f0000000099");
    ASSERT_TRUE(spinUntil([&] { return root.storedKeys.switchFailure().has_value(); }));

    EXPECT_EQ(root.detailState().kind, DetailState::Kind::pane);
    EXPECT_EQ(settings.text(SettingsKeys::lastKeyID), first);
    EXPECT_THAT(*root.storedKeys.switchFailure(), testing::HasSubstr("Couldn't switch to “Wrong”."));
    EXPECT_THAT(*root.storedKeys.switchFailure(), testing::HasSubstr("Still connected with “Master of " + first));
}

TEST_F(RootModelTest, ABucketDeletedElsewhereLeavesTheListAndTheSelection)
{
    settings.set(SettingsKeys::lastKeyID, first);
    root.start();
    ASSERT_TRUE(isBrowsing(first));
    auto make = [](std::shared_ptr<B2Session> session) -> Task<B2Bucket> {
        co_return co_await session->client->createBucket(
            {.bucketName = "soon-deleted-elsewhere", .bucketType = B2BucketType("allPrivate")});
    };
    auto destroy = [](std::shared_ptr<B2Session> session, std::string bucketID) -> Task<> {
        co_await session->client->deleteBucket(std::move(bucketID));
    };
    const auto bucket = qtRun(make(*root.keyStore.session));
    qtRun(root.buckets.reload());
    root.selection.select(SidebarItem::bucket(bucket.bucketID));
    ASSERT_TRUE(spinUntil([&] { return !*root.browser.isLoading; }));

    qtRun(destroy(*root.keyStore.session, bucket.bucketID));
    root.browser.refresh();
    ASSERT_TRUE(spinUntil([&] { return root.buckets.bucket(bucket.bucketID) == nullptr; }));

    EXPECT_FALSE(*root.selection.item);
    EXPECT_EQ(root.detailState().notice.title, "Select a Bucket");
}

TEST_F(RootModelTest, MentionsTheUploadsThatTheLastRunLeftOnce)
{
    settings.set(SettingsKeys::lastKeyID, first);
    root.start();
    ASSERT_TRUE(isBrowsing(first));
    EXPECT_FALSE(root.notices.newest());
    const auto buckets = *root.buckets.buckets;
    ASSERT_GE(buckets.size(), 2U);
    const auto begin = [&](const std::string& fileID, const std::string& name, const std::string& bucketID) {
        ResumableUpload upload{.fileID = fileID, .bucketID = bucketID, .remoteName = name};
        upload.source.path = "/films/" + name;
        store->record(upload);
    };
    const auto isOpen = [&](const std::string& fileID) { return store->upload(fileID).has_value(); };
    const auto startAgain = [&] {
        InterruptedUploads next;
        next.begin(*store, settings);
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return next;
    };
    begin("1", "trips/big.bin", buckets[0].bucketID);
    begin("2", "other account.bin", "bucket of another account");

    const auto reopen = [this]() -> Task<ResumeStore*> { co_return store.get(); };
    RootModel nextRun({settings, log, context, keychain, clients, queue, reopen});
    nextRun.start();
    EXPECT_TRUE(spinUntil([&] { return nextRun.notices.newest() != nullptr; }));
    EXPECT_EQ(nextRun.notices.newest()->text,
        "“big.bin” was not finished when Kestrovan was last open. The parts already sent stay stored and billed. "
        "Resume or remove it in Unfinished Uploads of “"
            + buckets[0].bucketName + "”.");
    EXPECT_EQ(startAgain().takeSentence(buckets, isOpen), std::nullopt) << "it may be gone";
    nextRun.unfinishedUploads.didCancel(buckets[0].bucketID, "1");
    EXPECT_FALSE(nextRun.notices.newest()) << "it is no longer true";
    qtRun(nextRun.shutDown());

    begin("3", "a.bin", buckets[0].bucketID);
    begin("4", "b.bin", buckets[1].bucketID);
    begin("5", "cancelled.bin", buckets[1].bucketID);
    auto next = startAgain();
    store->remove("5");
    EXPECT_THAT(next.takeSentence(buckets, isOpen).value_or(""), testing::StartsWith("2 uploads were not finished"));
    qtRun(store->flush());
}

TEST_F(RootModelTest, OffersToResumeOnlyWhatItKnowsAndForgetsWhatIsCancelled)
{
    settings.set(SettingsKeys::lastKeyID, first);
    root.start();
    ASSERT_TRUE(isBrowsing(first));
    ASSERT_TRUE(store) << "opened before anything can be uploaded";
    const auto films = std::ranges::find(*root.buckets.buckets, "media-archive", &B2Bucket::bucketName);
    root.selection.select(SidebarItem::bucket(films->bucketID));
    auto& unfinished = root.unfinishedUploads;
    unfinished.open(*root.browser.session, **root.browser.bucket);
    const auto resume = [&](const std::string& fileID) {
        return qtRun(root.unfinishedResumes.resume(fileID, *unfinished.bucket, *unfinished.session));
    };
    unfinished.load();
    ASSERT_TRUE(spinUntil([&] { return *unfinished.hasLoaded; }));
    ASSERT_EQ(unfinished.items->size(), 1U);
    const auto item = unfinished.items->front();
    const auto fileID = *item.file.fileID;
    EXPECT_FALSE(root.unfinishedResumes.canResume(fileID));

    ResumableUpload known;
    known.fileID = fileID;
    known.bucketID = films->bucketID;
    known.remoteName = item.file.fileName;
    known.source.path = directory.path().toStdString() + "/gone.mov";
    store->record(known);
    EXPECT_TRUE(root.unfinishedResumes.canResume(fileID));
    const auto refusal = resume(fileID);
    ASSERT_TRUE(refusal) << "its source is gone";
    EXPECT_TRUE(queue.transfers->empty());
    EXPECT_TRUE(store->upload(fileID));

    unfinished.cancel(item);
    ASSERT_TRUE(spinUntil([&] { return unfinished.items->empty(); }));
    EXPECT_FALSE(store->upload(fileID));
    EXPECT_THAT(resume(fileID).value_or(""), testing::Not(testing::HasSubstr("parts"))) << "they are gone";
}

#include "B2Kit/uploads/B2LargeUpload.h"
#include "tests/B2Kit/LocalServiceFixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Changes to the source at every stage of its upload in three parts.
///
/// A change that leaves size, date and inode as they were cannot be seen; the service then refuses the part, whose
/// digest was computed before.
class LargeFileSourceTest : public LocalLargeFileFixture {
protected:
    enum class Stage { hashing, started, midPart, betweenParts, beforeFinish };
    static constexpr std::initializer_list<Stage> stages{
        Stage::hashing, Stage::started, Stage::midPart, Stage::betweenParts, Stage::beforeFinish};

    /// Starts an upload and makes the change at that stage of part 1.
    ///
    /// @returns the failure's text, or "nothing" when it succeeds.
    std::string uploadWith(Stage stage, const std::function<void()>& change)
    {
        std::ofstream(path, std::ios::binary) << text;
        auto once = [isDone = std::make_shared<std::atomic<bool>>(false), change] {
            if (!isDone->exchange(true))
                change();
        };
        auto request = largeUpload();
        request.concurrency = 1;
        startedID.clear();
        control("faults/clear", "{}");
        switch (stage) {
        case Stage::hashing:
            request.onHashing = [once](std::int64_t) { once(); };
            break;
        case Stage::started:
            request.onStarted = [this, once](const std::string& id, const std::string&) {
                startedID = id;
                once();
            };
            break;
        case Stage::midPart:
            control("faults",
                R"({"kind": "stall", "operation": "b2_upload_part", "in": "request", "at": 100000, "count": 1,)"
                R"( "milliseconds": 400})");
            request.onProgress = [once](std::int64_t, std::int64_t) { once(); };
            break;
        case Stage::betweenParts:
        case Stage::beforeFinish:
            request.onPartsDone = [stage, once](int done, int) {
                if (done == (stage == Stage::betweenParts ? 1 : 3))
                    once();
            };
            break;
        }
        return failureOf(request);
    }

    std::string failureOf(const B2UploadLargeFileRequest& request)
    {
        try {
            run(uploadLargeFile(client, request));
            return "nothing";
        } catch (const std::exception& failure) {
            return failure.what();
        }
    }

    /// Resumes with the file as it is now, as one that may have changed.
    std::string resumed()
    {
        auto request = largeUpload();
        request.resumeFileID = startedID;
        request.verifiesEveryPart = true;
        request.startedSHA1 = digest;
        return failureOf(request);
    }

    std::size_t finishedCount() { return run(client->listFileNames({.bucketID = bucket.bucketID})).files.size(); }

    static std::string changed(int part)
    {
        return "The file has changed since this upload was started: part " + std::to_string(part)
            + " no longer matches what is stored on B2. Resuming would combine two different versions, so it has to "
              "start again.";
    }
    static std::string changedWhileRead()
    {
        return "“source” changed while it was being read, so it was not uploaded.";
    }

    const std::filesystem::path path = folder / "source";
    const std::string text = textOf(path);
};

TEST_F(LargeFileSourceTest, AFileThatGrowsOrIsRewrittenIsNeverFinished)
{
    const auto grow = [this] { std::ofstream(path, std::ios::app) << "more"; };
    const auto rewrite = [this] {
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(6'000'000);
        file << "other";
    };
    for (const auto& change : {std::function<void()>(grow), std::function<void()>(rewrite)}) {
        for (const auto stage : stages) {
            const int part = stage == Stage::started ? 1 : stage == Stage::beforeFinish ? 3 : 2;
            EXPECT_EQ(uploadWith(stage, change), stage == Stage::hashing ? changedWhileRead() : changed(part));
            if (stage != Stage::hashing)
                EXPECT_THAT(resumed(), HasSubstr("The file has changed since this upload was started"));
        }
    }
    EXPECT_EQ(finishedCount(), 0U);
}

TEST_F(LargeFileSourceTest, ATruncatedFileIsReportedWithTheOffset)
{
    for (const auto stage : stages) {
        EXPECT_EQ(uploadWith(stage, [this] { std::filesystem::resize_file(path, 7'000'000); }),
            stage == Stage::hashing ? changedWhileRead() : "Invalid response: Short read at offset 5000000 of source");
        if (stage != Stage::hashing)
            EXPECT_THAT(resumed(), HasSubstr("The file has changed since this upload was started"));
    }
    EXPECT_EQ(finishedCount(), 0U);
}

TEST_F(LargeFileSourceTest, AFileThatBecomesUnreadableIsReportedUnlessAllWasSent)
{
    for (const auto stage : stages) {
        const auto failure = uploadWith(stage, [this] { std::filesystem::remove(path); });
        if (stage == Stage::beforeFinish)
            EXPECT_EQ(failure, "nothing");
        else
            EXPECT_EQ(failure, "Couldn't read \"source\": it no longer exists.");
        if (stage == Stage::hashing || stage == Stage::beforeFinish)
            continue;

        // Once it is back, the upload resumes.
        std::ofstream(path, std::ios::binary) << text;
        EXPECT_EQ(resumed(), "nothing");
        EXPECT_EQ(digestOf(run(client->fileInfo(startedID))), digest);
    }
    EXPECT_EQ(uploadWith(Stage::betweenParts,
                  [this] {
                      std::filesystem::remove(path);
                      std::filesystem::create_directory(path);
                  }),
        "Invalid response: Could not determine the size of source");
    EXPECT_THAT(run(unfinished()), ElementsAre(startedID));
}

TEST_F(LargeFileSourceTest, AChangeThatKeepsTheDateIsRefusedByTheService)
{
    const auto failure = uploadWith(Stage::started, [this] {
        const auto date = std::filesystem::last_write_time(path);
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(6'000'000);
        file << "other";
        file.close();
        std::filesystem::last_write_time(path, date);
    });

    EXPECT_EQ(failure, changed(2));
    EXPECT_EQ(finishedCount(), 0U);
}

} // namespace

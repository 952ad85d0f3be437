#include "tests/B2Kit/ClientFixture.h"

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const std::string cancelled = R"({"fileId": "4_large", "accountId": "a", "bucketId": "b", "fileName": "movie.mp4"})";

class LargeFileCallsTest : public ClientFixture {
protected:
    static std::string unfinishedPage(const std::string& id, const std::string& next)
    {
        return R"({"files": [{"fileId": ")" + id + R"(", "fileName": "movie.mp4", "action": "start"}], "nextFileId": )"
            + next + "}";
    }

    Task<std::vector<std::string>> unfinishedIDs()
    {
        std::vector<std::string> ids;
        auto files = client->allUnfinishedLargeFiles({.bucketID = "b", .namePrefix = "mov", .maxFileCount = 1000});
        while (const auto file = co_await files.next())
            ids.push_back(file->fileID.value_or(""));
        co_return ids;
    }

    static constexpr auto list = "b2_list_unfinished_large_files";
    static constexpr auto cancel = "b2_cancel_large_file";
};

TEST_F(LargeFileCallsTest, PartsAreListedAThousandAtATime)
{
    const std::string page = R"({"parts": [], "nextPartNumber": 7})";
    transport->answer("b2_list_parts", page).answer("b2_list_parts", page);

    EXPECT_EQ(run(client->listParts("4_large")).nextPartNumber, 7);
    run(client->listParts("4_large", 7));

    EXPECT_THAT(bodiesOf("b2_list_parts"),
        ElementsAre(R"({"fileId":"4_large","maxPartCount":1000})",
            R"({"fileId":"4_large","startPartNumber":7,"maxPartCount":1000})"));
}

TEST_F(LargeFileCallsTest, UnfinishedFilesAreFollowedPageByPage)
{
    transport->answer(list, unfinishedPage("1", "\"2\"")).answer(list, unfinishedPage("2", "null"));

    EXPECT_THAT(run(unfinishedIDs()), ElementsAre("1", "2"));

    EXPECT_THAT(bodiesOf(list),
        ElementsAre(R"({"bucketId":"b","namePrefix":"mov","maxFileCount":100})",
            R"({"bucketId":"b","namePrefix":"mov","startFileId":"2","maxFileCount":100})"));
}

TEST_F(LargeFileCallsTest, AListingThatGoesInCirclesEnds)
{
    transport->always(
        list, [](const B2HTTPRequest&) { return StubTransport::Reply{200, unfinishedPage("1", "\"1\"")}; });

    EXPECT_THAT(failureOf(unfinishedIDs()), HasSubstr("the pages go round in a circle, at 1"));
    EXPECT_LE(transport->count(list), 3U);
}

TEST_F(LargeFileCallsTest, AStoppedWalkEndsQuietly)
{
    transport->gather(list, 2);
    StartedTask<std::vector<std::string>> task(unfinishedIDs());
    while (transport->count(list) == 0)
        std::this_thread::yield();

    task.cancel();

    EXPECT_THAT(task.result(), ElementsAre());
}

TEST_F(LargeFileCallsTest, ACancelWhoseAnswerWasLostIsLookedUp)
{
    transport->answer(cancel, cancelled);
    EXPECT_EQ(run(client->cancelLargeFile("4_large")).fileName, "movie.mp4");

    transport->loseConnection(cancel).refuse(cancel, 400, "bad_request");
    transport->refuse("b2_get_file_info", 404, "not_found");
    EXPECT_EQ(run(client->cancelLargeFile("4_large")).fileID, "4_large");

    // Another program has finished it.
    transport->loseConnection(cancel).refuse(cancel, 400, "bad_request");
    transport->answer("b2_get_file_info", R"({"fileId": "4_large", "fileName": "movie.mp4", "action": "upload"})");
    EXPECT_EQ(failureOf(client->cancelLargeFile("4_large")), "B2 400 bad_request: why");
}

TEST_F(LargeFileCallsTest, AnUnsafeAddressForPartsIsNotUsed)
{
    transport->answer("b2_get_upload_part_url",
        R"({"fileId": "4_large", "uploadUrl": "http://pod.example.com/x", "authorizationToken": "t"})");

    EXPECT_THAT(failureOf(client->uploadPartURL("4_large")), HasSubstr("Could not form a valid URL"));
}

} // namespace

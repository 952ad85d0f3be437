#include "tests/B2Kit/ClientFixture.h"

using testing::ElementsAre;

namespace {

constexpr auto names = "b2_list_file_names";
constexpr auto versions = "b2_list_file_versions";

std::string quotedOrNull(const std::string& text)
{
    return text.empty() ? "null" : "\"" + text + "\"";
}

/// A page of files whose ids are derived from their names.
std::string page(
    const std::vector<std::string>& files, const std::string& nextName = "", const std::string& nextID = "")
{
    std::string list;
    for (const auto& name : files)
        list += (list.empty() ? "" : ",") + (R"({"fileId": ")" + name + R"(", "fileName": ")" + name)
            + R"(", "action": "upload"})";
    return R"({"files": [)" + list + R"(], "nextFileName": )" + quotedOrNull(nextName) + R"(, "nextFileId": )"
        + quotedOrNull(nextID) + "}";
}

class FileStreamsTest : public ClientFixture {
protected:
    /// The names of at most this many files of a stream.
    static Task<std::vector<std::string>> collect(Stream<B2FileVersion> stream, std::size_t most = 1000)
    {
        std::vector<std::string> found;
        while (found.size() < most) {
            const auto file = co_await stream.next();
            if (!file)
                break;
            found.push_back(file->fileName);
        }
        co_return found;
    }
};

TEST_F(FileStreamsTest, FollowsTheCursorToTheEnd)
{
    transport->answer(names, page({"a", "b"}, "b "))
        .answer(names, page({}, "c")) // A page may be empty though more follows.
        .answer(names, page({"c"}));

    EXPECT_THAT(run(collect(client->allFileNames({.bucketID = "b", .maxFileCount = 2, .prefix = ""}))),
        ElementsAre("a", "b", "c"));

    EXPECT_THAT(bodiesOf(names),
        ElementsAre(R"({"bucketId":"b","maxFileCount":2,"prefix":""})",
            R"({"bucketId":"b","startFileName":"b ","maxFileCount":2,"prefix":""})",
            R"({"bucketId":"b","startFileName":"c","maxFileCount":2,"prefix":""})"));
}

TEST_F(FileStreamsTest, FollowsTheVersionsOfOneName)
{
    transport->answer(versions, page({"a"}, "a", "2"))
        .answer(versions, page({"a"}, "a", "1"))
        .answer(versions, page({"b"}));

    EXPECT_THAT(run(collect(client->allFileVersions({.bucketID = "b"}))), ElementsAre("a", "a", "b"));
    EXPECT_EQ(
        bodiesOf(versions).at(2), R"({"bucketId":"b","startFileName":"a","startFileId":"1","maxFileCount":1000})");
}

TEST_F(FileStreamsTest, SendsNoMoreRequestsAfterItsConsumerLeaves)
{
    transport->answer(names, page({"a", "b"}, "c"));

    EXPECT_THAT(run(collect(client->allFileNames({.bucketID = "b"}), 2)), ElementsAre("a", "b"));
    EXPECT_EQ(transport->count(names), 1U);
}

TEST_F(FileStreamsTest, AWalkThatDoesNotAdvanceEnds)
{
    const auto expected = [](const std::string& operation, const std::string& name) {
        return "Invalid response: " + operation + ": the next page would begin at or before this one, at " + name;
    };
    transport->answer(names, page({"a"}, "m")).answer(names, page({"a"}, "m"));
    EXPECT_EQ(failureOf(collect(client->allFileNames({.bucketID = "b"}))), expected(names, "m"));

    transport->answer(names, page({"a"}, "c"));
    EXPECT_EQ(failureOf(collect(client->allFileNames({.bucketID = "b", .startFileName = "m"}))), expected(names, "c"));

    // The same id again, no id, and a ring of three ids within one name.
    transport->answer(versions, page({"a"}, "m", "1")).answer(versions, page({"a"}, "m", "1"));
    EXPECT_EQ(failureOf(collect(client->allFileVersions({.bucketID = "b"}))), expected(versions, "m"));
    transport->answer(versions, page({"a"}, "m", "1")).answer(versions, page({"a"}, "m"));
    EXPECT_EQ(failureOf(collect(client->allFileVersions({.bucketID = "b"}))), expected(versions, "m"));
    int turn = 0;
    transport->always(versions, [&turn](const B2HTTPRequest&) {
        return StubTransport::Reply{200, page({"a"}, "m", std::to_string(turn++ % 3))};
    });
    EXPECT_EQ(failureOf(collect(client->allFileVersions({.bucketID = "b"}))), expected(versions, "m"));
    EXPECT_LT(turn, 20);
}

TEST_F(FileStreamsTest, AFailureEndsTheStreamAndAStopDoesNotLookLikeOne)
{
    transport->answer(names, page({"a"}, "b")).refuse(names, 400, "bad_bucket_id");
    EXPECT_EQ(failureOf(collect(client->allFileNames({.bucketID = "b"}))), "B2 400 bad_bucket_id: why");

    transport->gather(names, 4); // The third request waits.
    StartedTask<std::vector<std::string>> task(collect(client->allFileNames({.bucketID = "b"})));
    while (transport->count(names) < 3)
        std::this_thread::yield();
    task.cancel();
    EXPECT_THAT(task.result(), ElementsAre());
}

} // namespace

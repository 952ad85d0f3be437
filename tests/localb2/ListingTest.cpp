#include "tests/localb2/Client.h"

#include <gmock/gmock.h>

namespace localb2::test {

using testing::ElementsAre;
using testing::IsEmpty;

class ListingTest : public testing::Test, protected ServiceFixture {
protected:
    void hide(const std::string& name) { client.ask("b2_hide_file", {{"bucketId", bucketID}, {"fileName", name}}); }

    std::vector<std::string> fileNames(boost::json::object fields = {})
    {
        fields["bucketId"] = bucketID;
        return client.names("b2_list_file_names", fields);
    }

    std::vector<std::string> versions(boost::json::object fields = {})
    {
        fields["bucketId"] = bucketID;
        return client.names("b2_list_file_versions", fields);
    }

    /// Follows the next pointers to the end.
    std::vector<std::string> walk(const std::string& operation, boost::json::object fields)
    {
        std::vector<std::string> all;
        fields["bucketId"] = bucketID;
        for (int page = 0; page < 100; ++page) {
            const auto names = client.names(operation, fields);
            all.insert(all.end(), names.begin(), names.end());
            const auto answer = client.ask(operation, fields);
            if (answer.at("nextFileName").is_null())
                return all;
            fields["startFileName"] = answer.at("nextFileName");
            if (answer.contains("nextFileId"))
                fields["startFileId"] = answer.at("nextFileId");
        }
        return all;
    }
};

TEST_F(ListingTest, OrdersNamesByTheirBytesAndVersionsFromTheNewest)
{
    // U+FF5E sorts before U+1F600 by bytes, and after it by UTF-16 units.
    for (const auto* const name : {"b", "a", "Z", "a/b", "a b", "\uff5e", "\U0001f600", "ä"})
        client.put(bucketID, name);
    const auto older = client.put(bucketID, "v", "one");
    const auto newer = client.put(bucketID, "v", "two");

    const auto files = client.ask("b2_list_file_versions", {{"bucketId", bucketID}, {"prefix", "v"}}).at("files");

    EXPECT_THAT(fileNames(), ElementsAre("Z", "a", "a b", "a/b", "b", "v", "ä", "\uff5e", "\U0001f600"));
    EXPECT_EQ(textAt(files.at(0).as_object(), "fileId"), newer);
    EXPECT_EQ(textAt(files.at(1).as_object(), "fileId"), older);
}

TEST_F(ListingTest, LeavesHiddenNamesAndUnfinishedFilesOutOfNamesOnly)
{
    client.put(bucketID, "gone", "1");
    hide("gone");
    client.put(bucketID, "kept", "1");
    client.startLargeFile(bucketID, "kept");
    client.startLargeFile(bucketID, "only-started");

    EXPECT_THAT(fileNames(), ElementsAre("kept"));
    EXPECT_THAT(versions(), ElementsAre("gone/hide", "gone", "kept/start", "kept", "only-started/start"));
}

TEST_F(ListingTest, FoldsNamesBehindTheDelimiterAfterThePrefix)
{
    for (const auto* const name : {"a", "a/", "a/1", "a/2/x", "a/2/y", "a0", "b/c"})
        client.put(bucketID, name);
    client.put(bucketID, "h/1");
    hide("h/1");

    EXPECT_THAT(fileNames({{"delimiter", "/"}}), ElementsAre("a", "a/", "a0", "b/"));
    EXPECT_THAT(fileNames({{"delimiter", "/"}, {"prefix", "a/"}}), ElementsAre("a/", "a/1", "a/2/"));
    EXPECT_THAT(versions({{"delimiter", "/"}}), ElementsAre("a", "a/", "a0", "b/", "h/"));
    EXPECT_THAT(fileNames({{"delimiter", "/"}, {"startFileName", "a/1x"}}), ElementsAre("a/", "a0", "b/"));
    EXPECT_THAT(fileNames({{"delimiter", "/"}, {"startFileName", "a/9"}}), ElementsAre("a0", "b/"));
    EXPECT_THAT(
        fileNames({{"delimiter", "0"}, {"prefix", "a"}}), ElementsAre("a", "a/", "a/1", "a/2/x", "a/2/y", "a0"));
}

TEST_F(ListingTest, PagesOfAnySizeListTheSameWithoutGapOrRepetition)
{
    for (int i = 0; i < 12; ++i)
        client.put(bucketID, "one/name", std::to_string(i));
    for (const auto* const name : {"a", "one/other", "two/x", "z"})
        client.put(bucketID, name);
    hide("two/x");

    const auto allVersions = versions({{"maxFileCount", 1000}});
    ASSERT_EQ(allVersions.size(), 17U);
    for (const int size : {1, 2, 3, 5, 17}) {
        EXPECT_EQ(walk("b2_list_file_versions", {{"maxFileCount", size}}), allVersions);
        EXPECT_THAT(
            walk("b2_list_file_names", {{"maxFileCount", size}}), ElementsAre("a", "one/name", "one/other", "z"));
        EXPECT_THAT(walk("b2_list_file_versions", {{"maxFileCount", size}, {"delimiter", "/"}}),
            ElementsAre("a", "one/", "two/", "z"));
    }
}

TEST_F(ListingTest, StartsAtTheNextVersionWhenTheStartIsGone)
{
    client.put(bucketID, "n", "1");
    const auto middle = client.put(bucketID, "n", "2");
    client.put(bucketID, "n", "3");
    client.ask("b2_delete_file_version", {{"fileName", "n"}, {"fileId", middle}});

    const auto rows =
        client.ask("b2_list_file_versions", {{"bucketId", bucketID}, {"startFileName", "n"}, {"startFileId", middle}});

    ASSERT_EQ(rows.at("files").as_array().size(), 1U);
    EXPECT_EQ(textAt(rows.at("files").at(0).as_object(), "contentSha1"), sha1Of("1"));
    EXPECT_EQ(
        client.call("b2_list_file_versions", {{"bucketId", bucketID}, {"startFileId", middle}}).code(), "bad_request");
}

TEST_F(ListingTest, RefusesCountsAndBucketsItDoesNotServe)
{
    client.put(bucketID, "a");

    EXPECT_THAT(fileNames({{"maxFileCount", 0}}), ElementsAre("a"));
    EXPECT_EQ(
        client.call("b2_list_file_names", {{"bucketId", bucketID}, {"maxFileCount", 10001}}).code(), "out_of_range");
    EXPECT_EQ(client.call("b2_list_file_names", {{"bucketId", bucketID}, {"maxFileCount", -1}}).code(), "bad_request");
    EXPECT_EQ(client.call("b2_list_file_names", {{"bucketId", "ffffffffffffffffffffffff"}}).code(), "bad_bucket_id");
    EXPECT_EQ(client.call("b2_list_file_names", {}).code(), "bad_request");
    EXPECT_THAT(fileNames({{"prefix", "b"}}), IsEmpty());
}

TEST_F(ListingTest, ReadsFieldsFromTheQueryOfAGet)
{
    client.put(bucketID, "a b", "1");
    client.put(bucketID, "c", "1");

    const auto reply = client.download("/b2api/v2/b2_list_file_names?maxFileCount=1&prefix=a%20&bucketId=" + bucketID);

    EXPECT_EQ(reply.json().at("files").as_array().size(), 1U);
}

} // namespace localb2::test

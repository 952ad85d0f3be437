#include "tests/localb2/Client.h"

#include <gmock/gmock.h>

namespace localb2::test {

class LargeFileTest : public testing::Test, protected ServiceFixture {
protected:
    Reply finish(const std::vector<std::string>& parts)
    {
        boost::json::array hashes;
        for (const auto& part : parts)
            hashes.emplace_back(sha1Of(part));
        return client.call("b2_finish_large_file", {{"fileId", fileID}, {"partSha1Array", hashes}});
    }

    std::size_t bodyCount() const
    {
        const std::filesystem::directory_iterator bodies(directory.path() / "data" / "bodies");
        return static_cast<std::size_t>(std::distance(begin(bodies), end(bodies)));
    }

    std::string fileID = client.startLargeFile(bucketID, "large.bin");
    Client::Target target = client.partTarget(fileID);
    std::string first = std::string(5'000'000, 'a');
    std::string second = std::string(70'000, 'b');
};

TEST_F(LargeFileTest, JoinsPartsInOrderWhateverTheOrderTheyCame)
{
    EXPECT_EQ(client.uploadPart(target, 2, second).status, 200);
    EXPECT_EQ(client.uploadPart(target, 1, std::string(5'000'000, 'x')).status, 200);
    EXPECT_EQ(client.uploadPart(target, 1, first).status, 200);

    const auto finished = finish({first, second});

    ASSERT_EQ(finished.status, 200) << finished.body;
    EXPECT_EQ(textAt(finished.json(), "fileId"), fileID);
    EXPECT_EQ(textAt(finished.json(), "contentSha1"), "none");
    EXPECT_EQ(finished.json().at("contentLength"), 5'070'000);
    const auto whole = client.download("/file/test-bucket/large.bin");
    EXPECT_EQ(whole.body, first + second);
    EXPECT_EQ(whole.header("x-bz-content-sha1"), "none");
    const auto across = client.download("/file/test-bucket/large.bin", {{"Range", "bytes=4999998-5000001"}});
    EXPECT_EQ(across.body, "aabb");
    EXPECT_EQ(finish({first, second}).code(), "bad_request");
    EXPECT_EQ(client.call("b2_list_parts", {{"fileId", fileID}}).code(), "bad_request");
}

TEST_F(LargeFileTest, ChecksPartsWhenTheFileIsFinished)
{
    client.uploadPart(target, 1, first);
    EXPECT_EQ(finish({first}).code(), "bad_request");
    client.uploadPart(target, 3, second);
    EXPECT_EQ(finish({first, second}).code(), "bad_request");
    client.uploadPart(target, 2, second);
    EXPECT_EQ(finish({first, second}).code(), "bad_request");
    EXPECT_EQ(finish({first, first, second}).code(), "part_sha1_mismatch");
    EXPECT_EQ(finish({first, second, second}).code(), "bad_request") << "the second part is below the minimum";
    client.uploadPart(target, 2, first);

    EXPECT_EQ(finish({first, first, second}).status, 200);
}

TEST_F(LargeFileTest, ListsPartsPageByPage)
{
    for (const int number : {1, 2, 5})
        client.uploadPart(target, number, "part " + std::to_string(number));
    EXPECT_EQ(client.uploadPart(target, 0, "x").code(), "bad_request");
    EXPECT_EQ(client.uploadPart(target, 10'001, "x").code(), "bad_request");

    const auto page = client.ask("b2_list_parts", {{"fileId", fileID}, {"maxPartCount", 2}});
    const auto rest = client.ask("b2_list_parts", {{"fileId", fileID}, {"startPartNumber", page.at("nextPartNumber")}});

    EXPECT_EQ(page.at("parts").as_array().size(), 2U);
    EXPECT_EQ(page.at("nextPartNumber"), 5);
    EXPECT_EQ(textAt(rest.at("parts").at(0).as_object(), "contentSha1"), sha1Of("part 5"));
    EXPECT_TRUE(rest.at("nextPartNumber").is_null());
}

TEST_F(LargeFileTest, ListsAndCancelsUnfinishedFiles)
{
    const auto other = client.startLargeFile(bucketID, "another.bin");
    client.uploadPart(target, 1, first);
    ASSERT_EQ(bodyCount(), 1U);

    const auto page = client.ask("b2_list_unfinished_large_files", {{"bucketId", bucketID}, {"maxFileCount", 1}});
    EXPECT_EQ(textAt(page.at("files").at(0).as_object(), "fileId"), other);
    EXPECT_EQ(textAt(page, "nextFileId"), fileID);
    const auto rest = client.ask("b2_list_unfinished_large_files", {{"bucketId", bucketID}, {"startFileId", fileID}});
    EXPECT_EQ(rest.at("files").as_array().size(), 1U);
    EXPECT_EQ(client.call("b2_delete_bucket", {{"accountId", client.accountID()}, {"bucketId", bucketID}}).code(),
        "cannot_delete_non_empty_bucket");

    client.ask("b2_cancel_large_file", {{"fileId", fileID}});

    EXPECT_EQ(bodyCount(), 0U);
    EXPECT_EQ(client.call("b2_cancel_large_file", {{"fileId", fileID}}).code(), "bad_request");
    EXPECT_EQ(client.uploadPart(target, 2, second).code(), "bad_request");
    EXPECT_EQ(client.download("/b2api/v4/b2_get_file_info?fileId=" + fileID).code(), "not_found");
}

TEST_F(LargeFileTest, CopiesShareTheirSourceUntilTheLastIsDeleted)
{
    client.uploadPart(target, 1, first);
    client.uploadPart(target, 2, second);
    finish({first, second});
    const auto copy = client.ask("b2_copy_file", {{"sourceFileId", fileID}, {"fileName", "copy.bin"}});
    const auto part = client.ask(
        "b2_copy_file", {{"sourceFileId", fileID}, {"fileName", "part.bin"}, {"range", "bytes=4999999-5000000"}});
    EXPECT_EQ(textAt(copy, "action"), "copy");
    EXPECT_EQ(textAt(part, "contentSha1"), sha1Of("ab"));

    client.ask("b2_delete_file_version", {{"fileName", "large.bin"}, {"fileId", fileID}});
    EXPECT_EQ(client.download("/file/test-bucket/copy.bin").body, first + second);
    EXPECT_EQ(client.download("/file/test-bucket/part.bin").body, "ab");

    client.ask("b2_delete_file_version", {{"fileName", "copy.bin"}, {"fileId", copy.at("fileId")}});
    EXPECT_EQ(bodyCount(), 0U);
    EXPECT_EQ(client.call("b2_copy_file", {{"sourceFileId", fileID}, {"fileName", "late"}}).code(), "file_not_present");
}

TEST_F(LargeFileTest, MakesPartsFromFilesThatAreThere)
{
    const auto source = client.put(bucketID, "source", first + second);
    const auto part = client.ask("b2_copy_part",
        {{"sourceFileId", source}, {"largeFileId", fileID}, {"partNumber", 1}, {"range", "bytes=0-4999999"}});
    client.uploadPart(target, 2, second);

    EXPECT_EQ(textAt(part, "contentSha1"), sha1Of(first));
    EXPECT_EQ(finish({first, second}).status, 200);
    EXPECT_EQ(client.download("/file/test-bucket/large.bin").body, first + second);
}

} // namespace localb2::test

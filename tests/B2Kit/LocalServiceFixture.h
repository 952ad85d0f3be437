#pragma once

#include "B2Kit/B2Client.h"
#include "B2Kit/calls/B2AccountKeys.h"
#include "B2Kit/files/B2SHA1.h"
#include "B2Kit/transport/B2CurlTransport.h"
#include "B2Kit/uploads/B2LargeUpload.h"
#include "localb2/Service.h"
#include "tests/B2Kit/TestFiles.h"
#include "tests/support/RunTask.h"

#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

/// Waits a hundredth of the time.
class HastySleeper final : public B2Sleeper {
public:
    Task<> sleep(double seconds) override { co_await system_.sleep(seconds / 100); }

private:
    SystemSleeper system_;
};

/// A client and its own local service, over real connections.
class LocalServiceFixture : public testing::Test {
protected:
    ~LocalServiceFixture() override { std::filesystem::remove_all(folder); }

    std::shared_ptr<B2Client> clientWith(const std::string& keyID, const std::string& secret)
    {
        return B2Client::make({.credentials = {keyID, secret},
            .transport = transport,
            .sleeper = std::make_shared<HastySleeper>(),
            .accountEndpoint = service.url()});
    }

    /// Sends a request to the service's own controls.
    void control(const std::string& path, const std::string& json)
    {
        const auto reply = run(transport->data({.url = service.url() + "/_local/" + path,
            .headers = {{"Content-Type", "application/json"}},
            .body = json}));
        ASSERT_EQ(reply.response.status, 200) << reply.body;
    }

    B2Bucket makeBucket(const std::string& name)
    {
        return run(client->createBucket({.bucketName = name, .bucketType = B2BucketType("allPrivate")}));
    }

    B2FileVersion upload(const B2Bucket& bucket, const std::string& name, const std::string& text)
    {
        return run(client->uploadFile({.bucketID = bucket.bucketID,
            .fileName = name,
            .body = std::make_shared<const std::string>(text),
            .fileInfo = {{"note", "50% of ä/b"}}}));
    }

    Task<std::vector<std::string>> namesIn(std::string bucketID)
    {
        std::vector<std::string> names;
        auto files = client->allFileVersions({.bucketID = std::move(bucketID), .maxFileCount = 3});
        while (const auto file = co_await files.next())
            names.push_back(file->fileName);
        co_return names;
    }

    Task<std::vector<std::string>> keyIDs()
    {
        std::vector<std::string> ids;
        auto keys = allKeys(client, 1);
        while (const auto key = co_await keys.next())
            ids.push_back(key->applicationKeyID);
        co_return ids;
    }

    const std::filesystem::path folder = makeTemporaryFolder();
    localb2::Service service{{.directory = folder / "service"}};
    std::shared_ptr<B2CurlTransport> transport = std::make_shared<B2CurlTransport>(B2CurlTransportOptions{});
    std::shared_ptr<B2Client> client = clientWith(service.masterKey().keyID, service.masterKey().applicationKey);
};

/// Uploads of 12 MB in three parts.
class LocalLargeFileFixture : public LocalServiceFixture {
protected:
    LocalLargeFileFixture()
    {
        const auto text = variedText(12'000'000);
        std::ofstream(folder / "source", std::ios::binary) << text;
        digest = sha1Of(text);
    }

    B2UploadLargeFileRequest largeUpload()
    {
        B2UploadLargeFileRequest request{
            .bucketID = bucket.bucketID, .fileName = "films/ä.mp4", .source = folder / "source"};
        request.partSize = 5'000'000;
        request.onStarted = [this](const std::string& id, const std::string&) { startedID = id; };
        request.onResumeState = [this](int done, int) { partsBefore = done; };
        return request;
    }

    std::string digestOf(const B2FileVersion& version)
    {
        std::filesystem::remove(folder / "copy");
        run(client->downloadByIDToFile({.fileID = version.fileID.value()}, {.path = folder / "copy"}));
        return sha1Of(textOf(folder / "copy"));
    }

    static std::string textOf(const std::filesystem::path& path)
    {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    Task<std::vector<std::string>> unfinished()
    {
        std::vector<std::string> ids;
        auto files = client->allUnfinishedLargeFiles({.bucketID = bucket.bucketID});
        while (const auto file = co_await files.next())
            ids.push_back(file->fileID.value_or(""));
        co_return ids;
    }

    const B2Bucket bucket = makeBucket("large-files");
    std::string digest;
    std::string startedID;
    int partsBefore = -1;
};

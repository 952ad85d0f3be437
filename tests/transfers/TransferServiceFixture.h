#pragma once

#include "tests/transfers/TransfersFixture.h"

#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/ClientFactory.h"
#include "localb2/Service.h"
#include "tests/support/QtRun.h"

#include <gtest/gtest.h>

/// A queue with a session at a service in this process.
class TransferServiceFixture : public TransfersFixture {
protected:
    void SetUp() override
    {
        TransfersFixture::SetUp();
        const ClientFactory factory(transport, std::make_shared<B2NullLogSink>(), service.url());
        const auto master = service.masterKey();
        const auto client = factory.makeClient({master.keyID, master.applicationKey});
        auto authorization = qtRun(client->authorized());
        B2CreateBucketRequest request{.bucketName = "transfers-test", .bucketType = B2BucketType("allPrivate")};
        bucket = qtRun(client->createBucket(std::move(request)));
        session = std::make_shared<B2Session>(StoredKey{.keyID = master.keyID}, client, std::move(authorization));
    }

    /// Scripts one fault at the service.
    void plant(std::string json)
    {
        B2HTTPRequest request{.url = service.url() + "/_local/faults", .body = std::move(json)};
        ASSERT_EQ(qtRun(transport->data(std::move(request))).response.status, 200);
    }

    std::shared_ptr<Transfer> upload(const std::filesystem::path& file, std::string prefix = {})
    {
        const auto count = queue.transfers->size();
        queue.upload({file}, bucket, std::move(prefix), session);
        EXPECT_TRUE(spinUntil([&] { return queue.transfers->size() > count; }));
        return queue.transfers->back();
    }
    std::shared_ptr<Transfer> download(B2FileVersion file)
    {
        queue.download(std::move(file), bucket, session);
        return queue.transfers->back();
    }
    Transfer::State endOf(const std::shared_ptr<Transfer>& transfer)
    {
        EXPECT_TRUE(spinUntil([&] { return !transfer->state->isLive(); }));
        return *transfer->state;
    }
    std::vector<B2FileVersion> stored()
    {
        B2ListFileVersionsRequest request{.bucketID = bucket.bucketID};
        return qtRun(session->client->listFileVersions(std::move(request))).files;
    }
    /// Stores the content under the name and returns the service's record.
    B2FileVersion store(std::string name, std::string_view content)
    {
        B2UploadFileRequest request{.bucketID = bucket.bucketID,
            .fileName = std::move(name),
            .body = std::make_shared<const std::string>(content)};
        return qtRun(session->client->uploadFile(std::move(request)));
    }

    localb2::Service service{{.directory = directory / "service"}};
    std::shared_ptr<B2Transport> transport = std::make_shared<B2CurlTransport>(B2CurlTransportOptions{});
    B2Bucket bucket;
    std::shared_ptr<B2Session> session;
};

#pragma once

#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/ClientFactory.h"
#include "foundation/QtText.h"
#include "foundation/log/ActivityLog.h"
#include "foundation/settings/Settings.h"
#include "localb2/Service.h"
#include "storage/unfinished/UnfinishedUploadsModel.h"
#include "tests/accounts/HeldTransport.h"
#include "tests/support/QtRun.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

#include <string>
#include <vector>

/// The demonstration's account at a service in this process, and a model that looks at the bucket with films.
class StorageFixture : public testing::Test {
protected:
    void SetUp() override
    {
        const ClientFactory factory(transport, std::make_shared<B2NullLogSink>(), service.url());
        const auto master = service.masterKey();
        const auto client = factory.makeClient({master.keyID, master.applicationKey});
        auto authorization = qtRun(client->authorized());
        session = std::make_shared<B2Session>(StoredKey{.keyID = master.keyID}, client, std::move(authorization));
        for (auto& listed : qtRun(client->listBuckets())) {
            if (listed.bucketName == "media-archive")
                films = listed;
        }
        ASSERT_FALSE(films.bucketID.empty());
        model.open(session, films);
    }

    /// Starts a large file of which no part is stored.
    std::string startFile(std::string name)
    {
        B2StartLargeFileRequest request{.bucketID = films.bucketID, .fileName = std::move(name)};
        return *qtRun(session->client->startLargeFile(std::move(request))).fileID;
    }

    /// The same key with fewer rights.
    std::shared_ptr<B2Session> restrictedSession(
        std::optional<B2Capability> without, std::optional<std::string> prefix = {}) const
    {
        auto authorization = session->authorization;
        if (without)
            authorization.storage.allowed.capabilities.erase(*without);
        authorization.storage.allowed.namePrefix = std::move(prefix);
        return std::make_shared<B2Session>(*session->key, session->client, std::move(authorization));
    }

    void load()
    {
        model.load();
        ASSERT_TRUE(spinUntil([&] { return !*model.isLoading; }));
    }

    /// Scripts one fault at the service.
    void plant(std::string json)
    {
        B2HTTPRequest request{.url = service.url() + "/_local/faults", .body = std::move(json)};
        ASSERT_EQ(qtRun(transport->data(std::move(request))).response.status, 200);
    }

    QTemporaryDir temporary;
    localb2::Service service{{.directory = fromQString(temporary.path()) + "/service", .seed = "demo"}};
    std::shared_ptr<HeldTransport> transport =
        std::make_shared<HeldTransport>(std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}));
    Settings settings{std::filesystem::path()};
    ActivityLog log{settings, fromQString(temporary.path()) + "/log"};
    UnfinishedUploadsModel model{log};
    std::shared_ptr<B2Session> session;
    B2Bucket films;
};

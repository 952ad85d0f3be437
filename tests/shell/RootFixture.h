#pragma once

#include "B2Kit/transport/B2CurlTransport.h"
#include "foundation/settings/SettingsKeys.h"
#include "keychain/MemoryKeychain.h"
#include "localb2/Service.h"
#include "shell/RootModel.h"
#include "tests/support/QtRun.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

/// The root with the demonstration's two accounts on a service of its own, and the master key of each stored.
class RootFixture : public testing::Test {
protected:
    explicit RootFixture(std::chrono::milliseconds latency = std::chrono::milliseconds(20))
        : service({.directory = directory.path().toStdString() + "/service", .seed = "demo", .latency = latency})
    {
        const auto accounts = service.masterKeys();
        for (const auto& key : accounts)
            keychain.add({key.keyID, "Master of " + key.keyID, key.keyID}, key.applicationKey);
        first = accounts.at(0).keyID;
        second = accounts.at(1).keyID;
    }
    ~RootFixture() override { qtRun(root.shutDown()); }

    bool isBrowsing(const std::string& keyID)
    {
        return spinUntil([&] {
            const auto session = *root.browser.session;
            return session && session->key->keyID == keyID && !*root.browser.isLoading && *root.browser.bucket;
        });
    }

    bool hasListed(const std::string& keyID)
    {
        return spinUntil([&] {
            const auto session = *root.buckets.session;
            return session && session->key->keyID == keyID && *root.buckets.isAnswered && !*root.buckets.isLoading;
        });
    }

    Task<ResumeStore*> openStore()
    {
        store = co_await ResumeStore::open(directory.path().toStdString() + "/uploads.sqlite");
        co_return store.get();
    }

    QTemporaryDir directory;
    localb2::Service service;
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString() + "/Logs"};
    AppContext context{settings};
    MemoryKeychain keychain;
    ClientFactory clients{
        std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}), std::make_shared<B2NullLogSink>(), service.url()};
    DownloadDestination destination{settings};
    TransferQueue queue{settings, log, destination};
    std::unique_ptr<ResumeStore> store;
    RootModel root{RootParts{settings, log, context, keychain, clients, queue, [this] { return openStore(); }}};
    std::string first;
    std::string second;
};

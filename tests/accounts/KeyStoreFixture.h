#pragma once

#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/KeyStore.h"
#include "foundation/settings/Settings.h"
#include "keychain/MemoryKeychain.h"
#include "localb2/Service.h"
#include "tests/support/QtRun.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

/// A store that fails on request.
class FailingKeychain final : public Keychain {
public:
    explicit FailingKeychain(Keychain& inner)
        : inner_(inner)
    {
    }

    bool isBroken = false;
    std::string hiddenSecret; ///< Id of a key whose secret is missing.

    Task<std::vector<KeychainEntry>> entries() override
    {
        check();
        return inner_.entries();
    }
    Task<std::optional<Secret>> secret(std::string keyID) override
    {
        check();
        if (keyID == hiddenSecret)
            return missing();
        return inner_.secret(std::move(keyID));
    }
    Task<> save(std::string keyID, Secret secret, std::optional<std::string> label,
        std::optional<std::string> accountID) override
    {
        check();
        return inner_.save(std::move(keyID), std::move(secret), std::move(label), std::move(accountID));
    }
    Task<> remove(std::string keyID) override
    {
        check();
        return inner_.remove(std::move(keyID));
    }
    Task<> setLabel(std::string keyID, std::string label) override
    {
        check();
        return inner_.setLabel(keyID, label);
    }
    Task<> setAccountID(std::string keyID, std::string accountID) override
    {
        return inner_.setAccountID(keyID, accountID);
    }
    Task<std::optional<std::string>> accountName(std::string accountID) override
    {
        return inner_.accountName(accountID);
    }
    Task<> setAccountName(std::string accountID, std::string name) override
    {
        check();
        return inner_.setAccountName(accountID, name);
    }

private:
    static Task<std::optional<Secret>> missing() { co_return std::nullopt; }
    void check() const
    {
        if (isBroken)
            throw Failure(Status::locked, "The keyring is locked");
    }

    Keychain& inner_;
};

/// A key store over a local service with two accounts.
class KeyStoreFixture : public testing::Test {
protected:
    KeyStoreFixture()
    {
        master = service.masterKey();
        memory.add({master.keyID, "Master", std::nullopt}, master.applicationKey);
    }

    StoredKey stored(const std::string& keyID)
    {
        for (const auto& key : *store.keys) {
            if (key.keyID == keyID)
                return key;
        }
        return {keyID, "missing", std::nullopt};
    }

    /// Creates a key at the service; nothing is stored.
    B2CreatedApplicationKey createKey(const std::string& name, std::vector<B2Capability> capabilities)
    {
        auto make = [](KeyStore* keyStore, B2CreateKeyRequest request) -> Task<B2CreatedApplicationKey> {
            co_return co_await (*keyStore->session)->client->createKey(std::move(request));
        };
        B2CreateKeyRequest request{.capabilities = std::move(capabilities), .keyName = name};
        return qtRun(make(&store, std::move(request)));
    }

    void connectMaster()
    {
        qtRun(store.reload());
        qtRun(store.connect(stored(master.keyID)));
    }

    /// Sends a command to the local service.
    void control(const std::string& path, const std::string& json)
    {
        auto reply = [](std::string url, std::string body) -> Task<int> {
            B2CurlTransport transport{B2CurlTransportOptions{}};
            B2HTTPRequest request{
                .url = std::move(url), .headers = {{"Content-Type", "application/json"}}, .body = std::move(body)};
            co_return (co_await transport.data(std::move(request))).response.status;
        };
        ASSERT_EQ(qtRun(reply(service.url() + "/_local/" + path, json)), 200);
    }

    std::vector<std::string> logMessages() const
    {
        std::vector<std::string> messages;
        for (const auto& entry : log.entries())
            messages.push_back(entry.message);
        return messages;
    }

    QTemporaryDir directory;
    localb2::Service service{{.directory = directory.path().toStdString() + "/service", .seed = "demo"}};
    localb2::MasterKey master;
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString() + "/Logs"};
    MemoryKeychain memory;
    FailingKeychain keychain{memory};
    ClientFactory clients{
        std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}), std::make_shared<B2NullLogSink>(), service.url()};
    KeyStore store{keychain, clients, settings, log};
};

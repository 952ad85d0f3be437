#include "B2Kit/transport/B2CurlTransport.h"
#include "foundation/TaskScope.h"
#include "foundation/settings/SettingsKeys.h"
#include "keychain/MemoryKeychain.h"
#include "localb2/Service.h"
#include "shell/RootModel.h"
#include "tests/accounts/HeldTransport.h"
#include "tests/support/RunItems.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace {

/// The main window's root on two accounts.
class KeysPaneRootTest : public testing::Test {
protected:
    KeysPaneRootTest()
    {
        for (const auto& key : service.masterKeys())
            keychain.add({key.keyID, "Master of " + key.keyID, key.keyID}, key.applicationKey);
        first = service.masterKeys().at(0).keyID;
        second = service.masterKeys().at(1).keyID;
        settings.set(SettingsKeys::lastKeyID, first);
        root.start();
    }
    ~KeysPaneRootTest() override { qtRun(root.shutDown()); }

    bool isConnected(const std::string& keyID)
    {
        return spinUntil([&] {
            const auto session = *root.keys.session;
            return session && session->key->keyID == keyID && *root.buckets.session == session
                && !*root.buckets.isLoading;
        });
    }

    QTemporaryDir directory;
    localb2::Service service{{.directory = directory.path().toStdString() + "/service", .seed = "demo"}};
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString() + "/Logs"};
    AppContext context{settings};
    MemoryKeychain keychain;
    std::shared_ptr<HeldTransport> transport =
        std::make_shared<HeldTransport>(std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}));
    ClientFactory clients{transport, std::make_shared<B2NullLogSink>(), service.url()};
    DownloadDestination destination{settings};
    TransferQueue queue{settings, log, destination};
    RootModel root{RootParts{settings, log, context, keychain, clients, queue}};
    std::string first;
    std::string second;
};

} // namespace

TEST_F(KeysPaneRootTest, ThePaneComesByRequestAndKeepsToTheSessionOfTheWindow)
{
    ASSERT_TRUE(isConnected(first));

    context.request(AccountSurface::keys);
    ASSERT_TRUE(spinUntil([&] { return root.detailState().item == SidebarItem{AccountSurface::keys}; }));
    qtRun(root.keys.load());
    ASSERT_FALSE(root.keys.keys->empty());

    root.switchTo(second);
    ASSERT_TRUE(isConnected(second));
    EXPECT_EQ(root.detailState().item, SidebarItem{AccountSurface::keys}) << "the selection stays";
    EXPECT_TRUE(root.keys.keys->empty());
    EXPECT_FALSE(*root.browser.bucket) << "nothing of the other account stays behind the pane";

    root.selection.select(SidebarItem::bucket(root.buckets.buckets->front().bucketID));
    EXPECT_EQ(root.detailState().kind, DetailState::Kind::pane);
    EXPECT_EQ((*root.browser.session)->key->keyID, second);
}

TEST_F(KeysPaneRootTest, ADeletedKeyIsRevokedInTheListOfStoredOnes)
{
    ASSERT_TRUE(isConnected(first));
    qtRun(root.keys.load());
    ASSERT_FALSE(root.keys.keys->empty());
    const auto doomed = root.keys.keys->front();
    keychain.add({doomed.applicationKeyID, "Former", doomed.accountID}, "K004whatever");
    qtRun(root.keyStore.reload());
    EXPECT_FALSE(root.keyStore.revokedKeyIDs().contains(doomed.applicationKeyID));

    runItems(*root.keys.makeDeletion({doomed}));

    EXPECT_TRUE(spinUntil([&] { return root.keyStore.revokedKeyIDs().contains(doomed.applicationKeyID); }));
}

TEST_F(KeysPaneRootTest, WhatThePaneListsIsNotRevokedInTheListOfStoredOnes)
{
    ASSERT_TRUE(isConnected(first));
    ASSERT_TRUE(spinUntil([&] { return root.keyStore.liveNamesAccountID->has_value(); }));
    auto make = [](std::shared_ptr<B2Session> session) -> Task<B2CreatedApplicationKey> {
        B2CreateKeyRequest request{.capabilities = {B2Capabilities::listBuckets}, .keyName = "made-elsewhere"};
        co_return co_await session->client->createKey(std::move(request));
    };
    const auto made = qtRun(make(*root.keyStore.session));
    keychain.add({made.key.applicationKeyID, "Elsewhere", first}, made.applicationKey);
    qtRun(root.keyStore.reload());
    ASSERT_TRUE(root.keyStore.revokedKeyIDs().contains(made.key.applicationKeyID)) << "that listing is older";

    qtRun(root.keys.load());

    EXPECT_FALSE(root.keyStore.revokedKeyIDs().contains(made.key.applicationKeyID));
}

TEST_F(KeysPaneRootTest, ARefusalForAnEarlierSessionIsShownAboveThePanesAndNotInThem)
{
    ASSERT_TRUE(isConnected(first));
    B2HTTPRequest fault{.url = service.url() + "/_local/faults",
        .body = R"({"kind": "status", "operation": "b2_create_key", "status": 403, "code": "cap_exceeded"})"};
    ASSERT_EQ(qtRun(transport->data(std::move(fault))).response.status, 200);
    auto create = [](KeysModel* keys) -> Task<> {
        B2CreateKeyRequest request{.capabilities = {B2Capabilities::listFiles}, .keyName = "late"};
        co_await keys->create(std::move(request), *keys->session);
    };
    const auto answer = transport->hold("b2_create_key");
    TaskScope tasks;
    tasks.start(create(&root.keys));
    ASSERT_TRUE(spinUntil([&] { return answer.hasArrived->load(); }));

    root.switchTo(second);
    ASSERT_TRUE(isConnected(second));
    answer.release.set();
    qtRun(tasks.drain());

    ASSERT_TRUE(root.notices.newest());
    EXPECT_TRUE(root.notices.newest()->text.starts_with("Could not create key “late”."));
    EXPECT_FALSE(*root.keys.error);
    root.notices.close(root.notices.newest()->id);
    EXPECT_FALSE(root.notices.newest());
}

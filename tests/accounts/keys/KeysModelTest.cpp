#include "accounts/keys/KeysModel.h"

#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/ClientFactory.h"
#include "accounts/keys/KeysPane.h"
#include "accounts/keys/NewKeyRules.h"
#include "foundation/TaskScope.h"
#include "foundation/settings/Settings.h"
#include "localb2/Service.h"
#include "tests/accounts/HeldTransport.h"
#include "tests/support/RunItems.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// The keys of an account at a real service, seen by its master key.
class KeysModelTest : public testing::Test {
protected:
    explicit KeysModelTest(const std::string& seed = {})
        : service({.directory = directory.path().toStdString() + "/service", .seed = seed})
    {
    }

    std::shared_ptr<B2Session> sessionWith(const std::string& keyID, const std::string& secret, std::string label)
    {
        const auto client = clients.makeClient({keyID, secret});
        const auto authorization = qtRun(client->authorized());
        return std::make_shared<B2Session>(
            StoredKey{keyID, std::move(label), authorization.accountID}, client, authorization);
    }
    std::shared_ptr<B2Session> sessionOf(const localb2::MasterKey& key)
    {
        return sessionWith(key.keyID, key.applicationKey, "Master");
    }
    std::shared_ptr<B2Session> sessionOf(const B2CreatedApplicationKey& made)
    {
        return sessionWith(made.key.applicationKeyID, made.applicationKey, made.key.keyName);
    }

    B2CreatedApplicationKey make(const std::string& name, std::vector<B2Capability> capabilities)
    {
        EXPECT_TRUE(qtRun(model.create({.capabilities = std::move(capabilities), .keyName = name}, *model.session)));
        const auto made = model.created->value();
        model.forgetCreated();
        return made;
    }

    ItemRun::Summary removeAll() { return runItems(*model.makeDeletion(*model.keys)); }

    std::vector<std::string> names() const
    {
        std::vector<std::string> all;
        for (const auto& key : *model.keys)
            all.push_back(key.keyName);
        return all;
    }

    std::string logged() const
    {
        std::string lines;
        for (const auto& entry : log.entries())
            lines += entry.formatted() + "\n";
        return lines;
    }

    void control(const std::string& path, const std::string& json)
    {
        auto reply = [](std::shared_ptr<B2Transport> to, std::string url, std::string body) -> Task<int> {
            B2HTTPRequest request{
                .url = std::move(url), .headers = {{"Content-Type", "application/json"}}, .body = std::move(body)};
            co_return (co_await to->data(std::move(request))).response.status;
        };
        ASSERT_EQ(qtRun(reply(transport, service.url() + "/_local/" + path, json)), 200);
    }

    QTemporaryDir directory;
    localb2::Service service;
    Settings settings{{}};
    ActivityLog log{settings, directory.path().toStdString() + "/Logs"};
    std::shared_ptr<HeldTransport> transport =
        std::make_shared<HeldTransport>(std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}));
    ClientFactory clients{transport, std::make_shared<B2NullLogSink>(), service.url()};
    KeysModel model{log};
};

/// The same with two accounts.
class KeysOfTwoAccountsTest : public KeysModelTest {
protected:
    KeysOfTwoAccountsTest()
        : KeysModelTest("demo")
    {
    }
};

} // namespace

TEST_F(KeysModelTest, AKeyIsCreatedShownOnceListedAndDeleted)
{
    int changes = 0;
    model.didChange = [&] { ++changes; };
    const auto session = sessionOf(service.masterKey());
    model.reset(session);
    EXPECT_EQ(KeysPane(model, session).kind, KeysPane::Kind::loading);
    qtRun(model.load());
    EXPECT_EQ(KeysPane(model, session).title, "No Application Keys");

    const NewKeyForm form{.name = "reader", .lifetime = KeyLifetime::day};
    const NewKeyRules rules(form, session->authorization.storage.allowed.capabilities);
    EXPECT_TRUE(qtRun(model.create(makeCreateKeyRequest(form, rules), *model.session)));

    ASSERT_TRUE(*model.created);
    const auto made = **model.created;
    EXPECT_EQ(made.key.capabilities, presetCapabilities(KeyPreset::readOnly));
    EXPECT_TRUE(made.key.expirationTimestamp);
    EXPECT_THAT(names(), ElementsAre("reader"));
    EXPECT_EQ(KeysPane(model, session).kind, KeysPane::Kind::table);
    EXPECT_THAT(logged(), HasSubstr("Created Application Key reader"));
    EXPECT_THAT(logged(), HasSubstr("read, share - every bucket"));
    model.forgetCreated();
    EXPECT_FALSE(*model.created);

    removeAll();
    EXPECT_THAT(names(), IsEmpty());
    EXPECT_THAT(*model.inFlight, IsEmpty());
    EXPECT_THAT(logged(), HasSubstr("Deleted Application Key reader"));
    EXPECT_THAT(logged(), HasSubstr("reader. Anything still using it will stop working now."));
    EXPECT_THAT(logged(), Not(HasSubstr(made.applicationKey)));
    EXPECT_EQ(changes, 2);
    qtRun(model.load());
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(KeysModelTest, TheSessionsOwnKeyIsNeverDeleted)
{
    model.reset(sessionOf(service.masterKey()));
    const auto manager = make("manager", {B2Capabilities::listKeys, B2Capabilities::deleteKeys});
    make("other", {B2Capabilities::listFiles});
    model.reset(sessionOf(manager));
    qtRun(model.load());

    EXPECT_EQ(removeAll().total, 1);

    EXPECT_THAT(names(), ElementsAre("manager"));
}

TEST_F(KeysModelTest, AStoppedDeletionFindsOutAboutTheKeyUnderWay)
{
    model.reset(sessionOf(service.masterKey()));
    for (const auto* const name : {"one", "two", "three"})
        make(name, {B2Capabilities::listFiles});
    int changes = 0;
    model.didChange = [&] { ++changes; };
    // The service deletes the second key, and its answer does not come. Each key takes two calls.
    control("faults", R"({"kind": "stall", "operation": "b2_delete_key", "after": 3, "milliseconds": 60000})");
    const auto run = model.makeDeletion(*model.keys);
    run->start();
    ASSERT_TRUE(spinUntil([&] { return run->summary->done == 1 && !model.inFlight->empty(); }));

    run->stop();

    ASSERT_TRUE(spinUntil([&] { return run->hasEnded() && !*model.isLoading; }));
    EXPECT_EQ(run->summary->interrupted.size() + static_cast<std::size_t>(run->summary->untried()), 2U);
    EXPECT_THAT(*model.inFlight, IsEmpty());
    EXPECT_EQ(changes, 1);
    const auto shown = names();
    qtRun(model.load());
    EXPECT_EQ(names(), shown) << "the list is what the service has";
}

TEST_F(KeysOfTwoAccountsTest, ADeletionThatASwitchCrossesLeavesTheOtherAccountAlone)
{
    model.reset(sessionOf(service.masterKeys().at(0)));
    qtRun(model.load());
    const auto run = model.makeDeletion(*model.keys);
    ASSERT_GT(run->summary->total, 1);
    model.reset(sessionOf(service.masterKeys().at(1)));
    qtRun(model.load());
    const auto before = names();

    EXPECT_EQ(runItems(*run).done, 0);

    EXPECT_EQ(runResultText(*run->summary, {"key", "keys", "deleted"}).substr(0, 19), "No key was deleted.");
    qtRun(model.load());
    EXPECT_EQ(names(), before);
}

TEST_F(KeysModelTest, ARefusalIsReportedAndKeepsTheRows)
{
    const auto session = sessionOf(service.masterKey());
    model.reset(session);
    make("one", {B2Capabilities::listFiles});
    make("two", {B2Capabilities::listFiles});
    control("faults",
        R"({"kind": "status", "operation": "b2_delete_key", "count": 2, "status": 403, "code": "cap_exceeded"})");

    const auto refused = removeAll();
    EXPECT_THAT(names(), ElementsAre("one", "two"));
    ASSERT_EQ(refused.failures.size(), 2U);
    EXPECT_EQ(refused.failures[0].name, "one");
    EXPECT_THAT(refused.failures[0].sentence, Not(IsEmpty()));
    EXPECT_THAT(logged(), HasSubstr("Could not delete key two"));

    EXPECT_FALSE(
        qtRun(model.create({.capabilities = {B2Capabilities::listFiles}, .keyName = "no blanks"}, *model.session)));
    EXPECT_FALSE(*model.created);
    EXPECT_FALSE(*model.isWorking);
    EXPECT_THAT(model.error->value(), HasSubstr("Could not create key “no blanks”."));
    EXPECT_THAT(logged(), HasSubstr("Could not create key no blanks"));

    control("faults",
        R"({"kind": "status", "operation": "b2_list_keys", "count": 1, "status": 403, "code": "cap_exceeded"})");
    qtRun(model.load());
    EXPECT_THAT(names(), ElementsAre("one", "two"));
    EXPECT_EQ(KeysPane(model, session).kind, KeysPane::Kind::table);
    EXPECT_THAT(KeysPane(model, session).banner.value_or(""), HasSubstr("Couldn't list the account's keys."));
}

TEST_F(KeysModelTest, AThousandKeysAreListedOnce)
{
    const auto session = sessionOf(service.masterKey());
    model.reset(session);
    auto makeMany = [](std::shared_ptr<B2Client> client) -> Task<> {
        for (int i = 0; i < 1'010; ++i) {
            B2CreateKeyRequest request{.capabilities = {B2Capabilities::listFiles}, .keyName = "k" + std::to_string(i)};
            co_await client->createKey(std::move(request));
        }
    };
    qtRun(makeMany(session->client), std::chrono::seconds(60));

    qtRun(model.load());

    EXPECT_EQ(model.keys->size(), 1'010U);
}

TEST_F(KeysOfTwoAccountsTest, NothingOfAnotherAccountIsEverShown)
{
    const auto first = sessionOf(service.masterKeys().at(0));
    const auto second = sessionOf(service.masterKeys().at(1));
    model.reset(first);
    make("of-the-first", {B2Capabilities::listFiles});
    ASSERT_THAT(names(), Contains("of-the-first"));

    // The window has switched, but the model does not know yet.
    EXPECT_EQ(KeysPane(model, second).kind, KeysPane::Kind::loading);

    control("options", R"({"latencyMilliseconds": 50})");
    TaskScope tasks;
    tasks.start(model.load());
    ASSERT_TRUE(spinUntil([&] { return *model.isLoading; }));
    model.reset(second);
    tasks.start(model.load());
    qtRun(tasks.drain());
    EXPECT_THAT(names(), Not(Contains("of-the-first")));
    for (const auto& key : *model.keys)
        EXPECT_EQ(key.accountID, second->authorization.accountID);
    EXPECT_TRUE(*model.hasLoaded);
    EXPECT_FALSE(*model.isLoading);
}

TEST_F(KeysOfTwoAccountsTest, ASwitchDuringACreationDoesNotLoseTheSecret)
{
    model.reset(sessionOf(service.masterKeys().at(0)));
    const auto other = sessionOf(service.masterKeys().at(1));
    control("options", R"({"latencyMilliseconds": 50})");
    auto create = [](KeysModel* keys) -> Task<> {
        B2CreateKeyRequest request{.capabilities = {B2Capabilities::listFiles}, .keyName = "crossing"};
        co_await keys->create(std::move(request), *keys->session);
    };
    TaskScope tasks;
    tasks.start(create(&model));
    ASSERT_TRUE(spinUntil([&] { return *model.isWorking; }));

    model.reset(other);

    qtRun(tasks.drain());
    ASSERT_TRUE(*model.created);
    EXPECT_THAT((*model.created)->applicationKey, Not(IsEmpty()));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(KeysOfTwoAccountsTest, ACreationRefusedAfterASwitchIsReportedOutsideThePane)
{
    const auto first = sessionOf(service.masterKeys().at(0));
    const auto second = sessionOf(service.masterKeys().at(1));
    const B2CreateKeyRequest request{.capabilities = {B2Capabilities::listFiles}, .keyName = "crossing"};
    auto create = [](KeysModel* keys, B2CreateKeyRequest wanted) -> Task<> {
        co_await keys->create(std::move(wanted), *keys->session);
    };
    model.reset(first);
    control("faults", R"({"kind": "status", "operation": "b2_create_key", "status": 403, "code": "cap_exceeded"})");
    control("options", R"({"latencyMilliseconds": 50})");
    std::string reported;
    model.didFailInEarlierSession = [&](std::string sentence) { reported = std::move(sentence); };
    TaskScope tasks;
    tasks.start(create(&model, request));
    ASSERT_TRUE(spinUntil([&] { return *model.isWorking; }));

    model.reset(second);
    qtRun(tasks.drain());
    qtRun(model.load());

    EXPECT_THAT(reported, HasSubstr("Could not create key “crossing”."));
    EXPECT_FALSE(*model.error) << "it is about another account";
    control("faults/clear", "{}");
    EXPECT_FALSE(qtRun(model.create(request, first))) << "never in the account that is in use now";
    EXPECT_THAT(names(), Not(Contains("crossing")));
    EXPECT_EQ(model.error->value_or(""), "Key “crossing” was not created, because another key is in use now.");
}

TEST_F(KeysOfTwoAccountsTest, AnswersThatComeLateAlthoughCancelledChangeNeitherRowsNorError)
{
    const auto first = sessionOf(service.masterKeys().at(0));
    const auto second = sessionOf(service.masterKeys().at(1));
    model.reset(first);
    const auto doomed = make("doomed", {B2Capabilities::listFiles}).key;
    const std::string refusal = R"("count": 1, "status": 403, "code": "cap_exceeded"})";
    for (const bool isRefused : {false, true}) {
        if (isRefused)
            control("faults", R"({"kind": "status", "operation": "b2_list_keys", )" + refusal);
        TaskScope tasks;
        model.reset(first);
        const auto listing = transport->hold("b2_list_keys");
        tasks.start(model.load());
        ASSERT_TRUE(spinUntil([&] { return listing.hasArrived->load(); }));
        model.reset(second);
        tasks.cancelAll();
        listing.release.set();
        qtRun(tasks.drain());
        EXPECT_THAT(names(), IsEmpty());
        EXPECT_FALSE(*model.error);
        EXPECT_FALSE(*model.hasLoaded);
    }

    control("faults", R"({"kind": "status", "operation": "b2_delete_key", )" + refusal);
    model.reset(first);
    const auto deletion = transport->hold("b2_delete_key");
    const auto run = model.makeDeletion({doomed});
    run->start();
    ASSERT_TRUE(spinUntil([&] { return deletion.hasArrived->load(); }));
    model.reset(second);
    EXPECT_THAT(*model.inFlight, IsEmpty());
    deletion.release.set();
    ASSERT_TRUE(spinUntil([&] { return run->hasEnded(); }));
    EXPECT_FALSE(*model.error);
    EXPECT_THAT(names(), IsEmpty());
    ASSERT_EQ(run->summary->failures.size(), 1U) << "the run that asked still reports it";
    EXPECT_EQ(run->summary->failures.front().name, "doomed");
}

TEST_F(KeysModelTest, AKeyWithoutTheCapabilitiesIsToldWhatItLacks)
{
    model.reset(sessionOf(service.masterKey()));
    const auto creator = sessionOf(make("creator", {B2Capabilities::writeKeys}));
    const auto reader = sessionOf(make("reader", {B2Capabilities::readFiles}));

    model.reset(creator);
    qtRun(model.load());
    const KeysPane hidden(model, creator);
    EXPECT_EQ(hidden.title, "Existing Keys Are Hidden");
    EXPECT_THAT(hidden.text, HasSubstr("“creator” can create keys but not list them"));
    EXPECT_FALSE(hidden.newRefusal);
    EXPECT_TRUE(hidden.deleteRefusal);

    model.reset(reader);
    const KeysPane refused(model, reader);
    EXPECT_EQ(refused.title, "This Key Cannot Manage Keys");
    EXPECT_EQ(refused.newRefusal, "This key cannot create keys: it lacks writeKeys");
    EXPECT_EQ(KeysPane(model, nullptr).text, "Connect with a key to manage the account's keys.");
}

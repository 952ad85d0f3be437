#include "buckets/BucketsModel.h"

#include "B2Kit/transport/B2CurlTransport.h"
#include "accounts/ClientFactory.h"
#include "foundation/TaskScope.h"
#include "localb2/Service.h"
#include "tests/accounts/HeldTransport.h"
#include "tests/support/QtRun.h"

#include <QTemporaryDir>

#include <gmock/gmock.h>

namespace {

/// Two accounts with buckets, whose listings the test holds back.
class BucketsModelTest : public testing::Test {
protected:
    std::shared_ptr<B2Session> sessionOf(const localb2::MasterKey& key)
    {
        const auto client = clients.makeClient({key.keyID, key.applicationKey});
        return std::make_shared<B2Session>(StoredKey{.keyID = key.keyID}, client, qtRun(client->authorized()));
    }

    /// Begins a listing whose answer has come but is not yet let through.
    HeldTransport::Held beginListing(TaskScope& tasks)
    {
        auto held = transport->hold("b2_list_buckets");
        tasks.start(model.reload());
        EXPECT_TRUE(spinUntil([&] { return held.hasArrived->load(); }));
        return held;
    }

    void refuseListing()
    {
        B2HTTPRequest request{.url = service.url() + "/_local/faults",
            .body = R"({"kind": "status", "operation": "b2_list_buckets", "count": 1, "status": 403,
                        "code": "cap_exceeded"})"};
        ASSERT_EQ(qtRun(transport->data(std::move(request))).response.status, 200);
    }

    QTemporaryDir directory;
    localb2::Service service{{.directory = directory.path().toStdString() + "/service", .seed = "demo"}};
    std::shared_ptr<HeldTransport> transport =
        std::make_shared<HeldTransport>(std::make_shared<B2CurlTransport>(B2CurlTransportOptions{}));
    ClientFactory clients{transport, std::make_shared<B2NullLogSink>(), service.url()};
    BucketsModel model;
};

TEST_F(BucketsModelTest, AnAnswerOfAnEarlierSessionChangesNothingEvenAfterThatSessionReturns)
{
    const auto first = sessionOf(service.masterKeys().at(0));
    const auto second = sessionOf(service.masterKeys().at(1));
    for (const bool isRefused : {false, true}) {
        if (isRefused)
            refuseListing();
        TaskScope tasks;
        model.reset(first);
        const auto held = beginListing(tasks);
        model.reset(second);
        EXPECT_FALSE(*model.isLoading);
        model.reset(first);

        tasks.cancelAll();
        held.release.set();
        qtRun(tasks.drain());

        EXPECT_TRUE(model.buckets->empty());
        EXPECT_FALSE(*model.error);
        EXPECT_FALSE(*model.isAnswered);
    }
}

TEST_F(BucketsModelTest, OfTwoListingsTheOneBegunLastCounts)
{
    model.reset(sessionOf(service.masterKey()));
    TaskScope tasks;
    refuseListing();
    const auto refused = beginListing(tasks);

    qtRun(model.reload());
    const auto listed = *model.buckets;
    refused.release.set();
    qtRun(tasks.drain());

    EXPECT_FALSE(listed.empty());
    EXPECT_EQ(*model.buckets, listed);
    EXPECT_FALSE(*model.error);
}

} // namespace

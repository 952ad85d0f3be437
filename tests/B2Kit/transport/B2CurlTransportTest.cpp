#include "tests/B2Kit/transport/TransportFixture.h"

#include "B2Kit/transport/IdleWatch.h"

#include <array>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using testing::HasSubstr;
using testing::Not;

namespace {

class B2CurlTransportTest : public TransportFixture {};

std::string large(std::size_t size)
{
    std::string bytes;
    bytes.resize(size, 'x');
    return bytes;
}

std::string bodyOf(const std::string& request)
{
    return request.substr(request.find("\r\n\r\n") + 4);
}

// A sanitizer makes everything several times slower.
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
constexpr auto promptness = 500ms;
#else
constexpr auto promptness = 100ms;
#endif

/// A port where connecting takes for ever: its queue is full, and the kernel drops new connections.
class FullListener {
public:
    FullListener()
    {
        EXPECT_EQ(bind(listener_, reinterpret_cast<sockaddr*>(&address_), size_), 0);
        getsockname(listener_, reinterpret_cast<sockaddr*>(&address_), &size_);
        listen(listener_, 0);
        for (const int socket : queued_)
            static_cast<void>(connect(socket, reinterpret_cast<sockaddr*>(&address_), size_));
    }
    ~FullListener()
    {
        for (const int socket : queued_)
            close(socket);
        close(listener_);
    }

    std::string url() const { return "http://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)) + "/"; }

private:
    static int makeSocket() { return socket(AF_INET, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0); }

    sockaddr_in address_{.sin_family = AF_INET, .sin_port = 0, .sin_addr = {htonl(INADDR_LOOPBACK)}, .sin_zero = {}};
    socklen_t size_ = sizeof address_;
    int listener_ = makeSocket();
    std::array<int, 3> queued_{makeSocket(), makeSocket(), makeSocket()};
};

TEST_F(B2CurlTransportTest, ReturnsAnAnswerOfAnyStatus)
{
    std::string seen;
    ScriptedServer server([&](Connection& connection) {
        seen = connection.readRequest();
        connection.send("HTTP/1.1 100 Continue\r\nX-Interim: 1\r\n\r\n");
        connection.send(httpAnswer(503, "busy", "Retry-After: 7 \r\nX-Twice: a\r\nx-twice: b\r\n"));
    });

    auto request = post(server.url("/file/b/a/../%20?x=1"), R"({"a":1})");
    request.headers = {{"Authorization", "token"}, {"X-Empty", ""}};
    const auto reply = run(transport.data(request));

    EXPECT_EQ(reply.body, "busy");
    EXPECT_EQ(reply.response.status, 503);
    EXPECT_EQ(reply.response.header("retry-after"), "7");
    EXPECT_EQ(reply.response.header("X-TWICE"), "a");
    EXPECT_EQ(reply.response.header("X-Interim"), std::nullopt);
    EXPECT_THAT(seen, testing::StartsWith("POST /file/b/a/../%20?x=1 HTTP/1.1\r\n"));
    EXPECT_THAT(seen, HasSubstr("\r\nAuthorization: token\r\n"));
    EXPECT_THAT(seen, HasSubstr("\r\nX-Empty:\r\n"));
    EXPECT_THAT(seen, HasSubstr("\r\nUser-Agent: Test/1\r\n"));
    EXPECT_THAT(seen, Not(HasSubstr("Expect:")));
    EXPECT_THAT(seen, Not(HasSubstr("Accept-Encoding")));
    EXPECT_EQ(bodyOf(seen), R"({"a":1})");
}

TEST_F(B2CurlTransportTest, ReusesAConnectionAndReportsItsMeasurements)
{
    ScriptedServer server(ScriptedServer::answering(httpAnswer(200, "four")));

    for (int i = 0; i < 20; ++i)
        run(transport.upload(post(server.url("/")), memory("12345"), {}));

    EXPECT_EQ(server.connectionCount(), 1);
    const auto all = metrics->all();
    ASSERT_EQ(all.size(), 20U);
    EXPECT_FALSE(all[0].isReusedConnection);
    EXPECT_TRUE(all[0].connectSeconds.has_value());
    EXPECT_TRUE(all[19].isReusedConnection);
    EXPECT_FALSE(all[19].connectSeconds.has_value());
    EXPECT_EQ(all[19].host, "127.0.0.1");
    EXPECT_EQ(all[19].bytesSent, 5);
    EXPECT_EQ(all[19].bytesReceived, 4);
}

TEST_F(B2CurlTransportTest, OpensAtMostEightConnectionsToAHost)
{
    std::atomic<int> open = 0;
    std::atomic<int> most = 0;
    ScriptedServer server([&](Connection& connection) {
        while (!connection.readRequest().empty()) {
            most = std::max(most.load(), ++open);
            std::this_thread::sleep_for(20ms);
            --open;
            connection.send(httpAnswer(200, ""));
        }
    });

    std::vector<StartedTask<B2DataReply>> requests;
    requests.reserve(40);
    for (int i = 0; i < 40; ++i)
        requests.emplace_back(transport.data(post(server.url("/"))));
    for (auto& request : requests)
        EXPECT_EQ(request.result().response.status, 200);

    EXPECT_EQ(server.connectionCount(), 8);
    EXPECT_EQ(most, 8);
}

TEST_F(B2CurlTransportTest, UploadsARangeOfAFileAndReportsProgress)
{
    std::string bytes = large(16'000'000);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i * 7 / 3);
    const auto path = write("source", bytes);
    std::string seen;
    ScriptedServer server([&](Connection& connection) {
        connection.readSome(1000);
        std::this_thread::sleep_for(300ms);
        seen = connection.readRequest();
        connection.send(httpAnswer(200, "{}"));
    });

    std::vector<std::int64_t> told;
    run(transport.upload(
        post(server.url("/")), B2FileRange{path, 1000, 15'000'000}, [&told](std::int64_t done, std::int64_t total) {
            told.push_back(done);
            EXPECT_EQ(total, 15'000'000);
        }));

    EXPECT_TRUE(bodyOf(seen) == bytes.substr(1000, 15'000'000));
    EXPECT_TRUE(std::ranges::is_sorted(told));
    ASSERT_FALSE(told.empty());
    EXPECT_LT(told.front(), 15'000'000);
    EXPECT_EQ(told.back(), 15'000'000);
}

TEST_F(B2CurlTransportTest, AnUploadWhoseSourceFailsIsNoTransportError)
{
    ScriptedServer server(ScriptedServer::answering(httpAnswer(200, "{}")));
    const auto path = write("short", "12345678");
    const auto upload = [&](B2FileRange range) { run(transport.upload(post(server.url("/")), range, {})); };

    try {
        upload({path, 5, 100});
        FAIL();
    } catch (const B2Error& error) {
        EXPECT_STREQ(error.what(), "Invalid response: Short read at offset 5 of short");
    }
    EXPECT_THROW(upload({folder / "absent", 0, 1}), B2FileError);
    EXPECT_THROW(upload({folder, 0, 1}), B2FileError);
}

TEST_F(B2CurlTransportTest, SaysWhyThereWasNoAnswer)
{
    std::string closedURL;
    {
        ScriptedServer gone(ScriptedServer::answering(""));
        closedURL = gone.url("/");
    }
    const auto refused = failureOf(transport.data(post(closedURL)));
    EXPECT_EQ(refused.code(), Code::cannotConnect);
    EXPECT_STREQ(refused.what(), "The connection to 127.0.0.1 was refused.");

    const auto unknown = failureOf(transport.data(post("https://nowhere.invalid/")));
    EXPECT_EQ(unknown.code(), Code::cannotFindHost);
    EXPECT_STREQ(unknown.what(), "The server nowhere.invalid could not be found.");

    // Cut before the request could go out: it cannot have been carried out.
    ScriptedServer shy([](Connection& connection) {
        connection.readSome(1);
        connection.reset();
    });
    const auto cutInHandshake = failureOf(transport.data(post("https" + shy.url("/").substr(4))));
    EXPECT_EQ(cutInHandshake.code(), Code::cannotConnect);
    EXPECT_STREQ(cutInHandshake.what(), "The connection to 127.0.0.1 was lost.");

    ScriptedServer cutting([](Connection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
        connection.reset();
    });
    const auto lost = failureOf(transport.data(post(cutting.url("/"))));
    EXPECT_EQ(lost.code(), Code::connectionLost);
    EXPECT_STREQ(lost.what(), "The connection to 127.0.0.1 was lost.");

    ScriptedServer ending([](Connection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
    });
    EXPECT_EQ(failureOf(transport.data(post(ending.url("/")))).code(), Code::connectionLost);
    EXPECT_EQ(failureOf(transport.upload(post(cutting.url("/")), memory(std::string(1'000'000, 'x')), {})).code(),
        Code::connectionLost);
}

TEST_F(B2CurlTransportTest, NeverRepeatsARequestByItself)
{
    std::atomic<int> requestCount = 0;
    ScriptedServer server([&](Connection& connection) {
        requestCount += connection.readRequest().empty() ? 0 : 1;
        connection.send(httpAnswer(200, ""));
        // The second request is taken and its answer lost: it may well have been carried out.
        requestCount += connection.readRequest().empty() ? 0 : 1;
    });
    run(transport.data(post(server.url("/"), "one")));

    const auto failure = failureOf(transport.data(post(server.url("/"), "two")));

    EXPECT_EQ(failure.code(), Code::connectionLost);
    EXPECT_EQ(requestCount, 2);
}

TEST_F(B2CurlTransportTest, EndsAStalledRequestAtTheIdleLimitButNotASlowOne)
{
    ScriptedServer stalled([](Connection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
        connection.waitForClose();
    });
    ScriptedServer slow([](Connection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\n");
        for (const char c : std::string_view("alive")) {
            std::this_thread::sleep_for(500ms);
            connection.send({&c, 1});
        }
    });
    ScriptedServer deaf([](Connection& connection) {
        connection.readSome(1000);
        std::this_thread::sleep_for(3s);
    });
    const auto impatient = [](const ScriptedServer& server) {
        auto request = post(server.url("/"));
        request.idleLimit = 1s;
        return request;
    };

    StartedTask slowReply(transport.data(impatient(slow)));
    StartedTask deafReply(transport.upload(impatient(deaf), memory(large(30'000'000)), {}));
    const auto begin = std::chrono::steady_clock::now();
    const auto failure = failureOf(transport.data(impatient(stalled)));
    const auto waited = std::chrono::steady_clock::now() - begin;

    EXPECT_EQ(failure.code(), Code::timedOut);
    EXPECT_STREQ(failure.what(), "The connection to 127.0.0.1 timed out.");
    EXPECT_GE(waited, 1s);
    EXPECT_LT(waited, 2s);
    EXPECT_EQ(slowReply.result().body, "alive");
    EXPECT_EQ(failureOf(deafReply).code(), Code::timedOut);
}

TEST(IdleWatchTest, LetsASlowTransferGoOnAndEndsOneThatOnlyTrickles)
{
    const IdleWatch::TimePoint start;
    const auto stallsAfter = [start](std::int64_t bytesASecond, std::chrono::seconds longest) {
        IdleWatch watch(60s);
        watch.start(start);
        for (auto time = 1s; time <= longest; ++time) {
            if (watch.observe(start + time, time.count() * bytesASecond))
                return time;
        }
        return 0s;
    };

    EXPECT_EQ(stallsAfter(0, 1h), 60s);
    EXPECT_EQ(stallsAfter(1, 1h), 600s);
    EXPECT_EQ(stallsAfter(2, 24h), 0s);
}

TEST_F(B2CurlTransportTest, IsStoppedWithin100MillisecondsInEveryPhase)
{
    const FullListener unreachable;
    ScriptedServer silent([](Connection& connection) { connection.waitForClose(); });
    ScriptedServer halfWay([](Connection& connection) {
        connection.readRequest();
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf");
        connection.waitForClose();
    });
    const auto stop = [](auto task) {
        StartedTask started(std::move(task));
        std::this_thread::sleep_for(50ms);
        const auto begin = std::chrono::steady_clock::now();
        started.cancel();
        EXPECT_THROW(started.result(), Cancelled);
        EXPECT_LT(std::chrono::steady_clock::now() - begin, promptness);
    };

    stop(transport.data(post(unreachable.url())));
    stop(transport.data(post("https" + silent.url("/").substr(4)))); // In the TLS handshake.
    stop(transport.data(post(silent.url("/"))));
    stop(transport.upload(post(silent.url("/")), memory(large(50'000'000)), {}));
    stop(transport.download(get(halfWay.url("/")), folder / "file", {}));
    EXPECT_EQ(fileCount(), 0U);

    // A request that waits for its turn behind eight others.
    std::vector<StartedTask<B2DataReply>> others;
    for (int i = 0; i < 8; ++i)
        others.emplace_back(transport.data(post(halfWay.url("/"))));
    stop(transport.data(post(halfWay.url("/"))));
    for (auto& other : others)
        other.cancel();
    for (auto& other : others)
        EXPECT_THROW(other.result(), Cancelled);
}

TEST_F(B2CurlTransportTest, EndsRunningRequestsWhenItIsDestroyed)
{
    ScriptedServer silent([](Connection& connection) { connection.waitForClose(); });
    auto shortLived = std::make_unique<B2CurlTransport>(B2CurlTransportOptions{});
    std::vector<StartedTask<B2DataReply>> requests;
    for (int i = 0; i < 10; ++i)
        requests.emplace_back(shortLived->data(post(silent.url("/"))));
    std::this_thread::sleep_for(50ms);

    shortLived.reset();

    for (auto& request : requests)
        EXPECT_THROW(request.result(100ms), Cancelled);
}

} // namespace

#include "B2Kit/pipeline/B2ByteCount.h"
#include "B2Kit/pipeline/B2OSLogSink.h"
#include "B2Kit/transport/B2Metrics.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <unistd.h>

using testing::ElementsAre;

namespace {

class RecordingSink final : public B2LogSink {
public:
    void log(B2LogEvent event) override { events.push_back(std::move(event)); }

    std::vector<B2LogEvent> events;
};

TEST(ByteCountTest, FormatsSizesAsAPersonWould)
{
    const std::pair<std::int64_t, const char*> sizes[] = {{0, "0 bytes"}, {1, "1 byte"}, {999, "999 bytes"},
        {1000, "1 KB"}, {12'345, "12 KB"}, {999'499, "999 KB"}, {999'500, "1 MB"}, {1'234'567, "1.2 MB"},
        {5'000'000, "5 MB"}, {999'960'000, "1 GB"}, {1'234'567'890, "1.23 GB"}, {1'500'000'000'000, "1.5 TB"},
        {std::numeric_limits<std::int64_t>::max(), "9.22 EB"}, {-2'000, "-2 KB"}};
    for (const auto& [bytes, text] : sizes)
        EXPECT_EQ(formatByteCount(bytes), text);
}

TEST(MetricsTest, DescribesATransactionInALine)
{
    const auto sink = std::make_shared<RecordingSink>();
    B2LogMetricsSink metrics(sink);
    B2TransactionMetrics full{.host = "f004.backblazeb2.com",
        .networkProtocolName = "http/1.1",
        .isReusedConnection = true,
        .bytesSent = 20,
        .bytesReceived = 3'000'000,
        .responseSeconds = 2.0,
        .connectSeconds = 0.0314};

    metrics.record(full);
    metrics.record({});
    full.bytesReceived = 0;
    full.isReusedConnection = false;
    metrics.record(full);

    EXPECT_THAT(sink->events,
        ElementsAre(B2LogEvent{B2LogLevel::debug, "api", "f004.backblazeb2.com 3 MB at 1.5 MB/s reused connection",
                        "http/1.1, handshake 31 ms, sent 20 bytes, received 3 MB"},
            B2LogEvent{B2LogLevel::debug, "api", "unknown host 0 bytes new connection", std::nullopt},
            B2LogEvent{B2LogLevel::debug, "api", "f004.backblazeb2.com 20 bytes new connection",
                "http/1.1, handshake 31 ms, sent 20 bytes"}));
}

TEST(LogSinkTest, AFanOutReachesEverySinkAndMayBeEmpty)
{
    const auto one = std::make_shared<RecordingSink>();
    const auto two = std::make_shared<RecordingSink>();
    B2FanOutLogSink({one, two}).warning("transfer", "text", "detail");
    B2FanOutLogSink({}).error("app", "nobody hears it");

    const B2LogEvent expected{B2LogLevel::warning, "transfer", "text", "detail"};
    EXPECT_THAT(one->events, ElementsAre(expected));
    EXPECT_THAT(two->events, ElementsAre(expected));
}

TEST(OSLogSinkTest, ForgesNoLineOnTheStandardErrorOutput)
{
    if (access("/run/systemd/journal/socket", W_OK) == 0)
        GTEST_SKIP() << "The journal takes the lines here.";
    testing::internal::CaptureStderr();

    B2OSLogSink sink("com.zantro.B2Kit", "b2");
    sink.notice("auth", "one\n[auth] forged\x1b[31m", "more\r\nlines");
    sink.debug("api", "not for a terminal");

    EXPECT_EQ(testing::internal::GetCapturedStderr(), "[auth] one [auth] forged [31m\nmore  lines\n");
}

} // namespace

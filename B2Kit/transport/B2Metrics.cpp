#include "B2Kit/transport/B2Metrics.h"

#include "B2Kit/pipeline/B2ByteCount.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <cmath>

namespace {

std::string messageOf(const B2TransactionMetrics& metrics)
{
    const auto bytes = metrics.bytesReceived > 0 ? metrics.bytesReceived : metrics.bytesSent;
    std::string message = metrics.host.value_or("unknown host") + " " + formatByteCount(bytes);
    if (const auto rate = metrics.throughputBytesPerSecond())
        message += " at " + formatByteCount(std::llround(std::min(*rate, 9e18))) + "/s";
    return message + (metrics.isReusedConnection ? " reused connection" : " new connection");
}

std::optional<std::string> detailOf(const B2TransactionMetrics& metrics)
{
    std::vector<std::string> parts;
    if (metrics.networkProtocolName)
        parts.push_back(*metrics.networkProtocolName);
    if (metrics.connectSeconds)
        parts.push_back(fmt::format("handshake {} ms", std::llround(*metrics.connectSeconds * 1000)));
    if (metrics.bytesSent >= 1)
        parts.push_back("sent " + formatByteCount(metrics.bytesSent));
    if (metrics.bytesReceived >= 1)
        parts.push_back("received " + formatByteCount(metrics.bytesReceived));
    if (parts.empty())
        return std::nullopt;
    return fmt::format("{}", fmt::join(parts, ", "));
}

} // namespace

std::optional<double> B2TransactionMetrics::throughputBytesPerSecond() const
{
    if (!responseSeconds || *responseSeconds <= 0 || bytesReceived < 1)
        return std::nullopt;
    return static_cast<double>(bytesReceived) / *responseSeconds;
}

B2LogMetricsSink::B2LogMetricsSink(std::shared_ptr<B2LogSink> log)
    : log_(std::move(log))
{
}

void B2LogMetricsSink::record(const B2TransactionMetrics& metrics)
{
    log_->debug("api", messageOf(metrics), detailOf(metrics));
}

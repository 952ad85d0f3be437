#pragma once

#include "B2Kit/B2Log.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

/// Measurements of one HTTP transaction.
struct B2TransactionMetrics {
    std::optional<std::string> host;
    std::optional<std::string> networkProtocolName; ///< Such as "h2".
    bool isReusedConnection = false;
    std::int64_t bytesSent = 0;            ///< Of the request's body.
    std::int64_t bytesReceived = 0;        ///< Of the response's body.
    std::optional<double> responseSeconds; ///< From the response's start to its end.
    std::optional<double> connectSeconds;

    /// Bytes received divided by the time of the response; nothing when either is missing.
    std::optional<double> throughputBytesPerSecond() const;
};

/// Receives the measurements. Called from any thread.
class B2MetricsSink {
public:
    virtual ~B2MetricsSink() = default;

    virtual void record(const B2TransactionMetrics& metrics) = 0;
};

/// Turns each transaction into a debug event of the category "api".
class B2LogMetricsSink final : public B2MetricsSink {
public:
    explicit B2LogMetricsSink(std::shared_ptr<B2LogSink> log);

    void record(const B2TransactionMetrics& metrics) override;

private:
    std::shared_ptr<B2LogSink> log_;
};

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Severity of a log event, rising. The numbers are stored in settings and log files.
enum class B2LogLevel { debug = 0, info = 1, notice = 2, warning = 3, error = 4 };

/// The level's display name: "Debug" to "Error".
std::string_view displayName(B2LogLevel level);

/// One entry of the log. Holds no secret, token or signed address.
struct B2LogEvent {
    B2LogLevel level = B2LogLevel::info;
    std::string category; ///< The area: "api", "auth", "keys", "transfer", "bucket", "app" and the like.
    std::string message;  ///< One line.
    std::optional<std::string> detail;

    bool operator==(const B2LogEvent&) const = default;
};

/// Receives the events of the log. Called from any thread; returns quickly and never throws.
class B2LogSink {
public:
    virtual ~B2LogSink() = default;

    virtual void log(B2LogEvent event) = 0;

    void debug(std::string category, std::string message, std::optional<std::string> detail = {});
    void info(std::string category, std::string message, std::optional<std::string> detail = {});
    void notice(std::string category, std::string message, std::optional<std::string> detail = {});
    void warning(std::string category, std::string message, std::optional<std::string> detail = {});
    void error(std::string category, std::string message, std::optional<std::string> detail = {});
};

/// Discards every event.
class B2NullLogSink final : public B2LogSink {
public:
    void log(B2LogEvent) override {}
};

/// Passes each event to every sink, in the order of the list.
class B2FanOutLogSink final : public B2LogSink {
public:
    explicit B2FanOutLogSink(std::vector<std::shared_ptr<B2LogSink>> sinks);

    void log(B2LogEvent event) override;

private:
    std::vector<std::shared_ptr<B2LogSink>> sinks_;
};

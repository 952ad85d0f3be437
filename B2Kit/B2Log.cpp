#include "B2Kit/B2Log.h"

std::string_view displayName(B2LogLevel level)
{
    switch (level) {
    case B2LogLevel::debug:
        return "Debug";
    case B2LogLevel::info:
        return "Info";
    case B2LogLevel::notice:
        return "Notice";
    case B2LogLevel::warning:
        return "Warning";
    case B2LogLevel::error:
        return "Error";
    }
    return "Error";
}

void B2LogSink::debug(std::string category, std::string message, std::optional<std::string> detail)
{
    log({B2LogLevel::debug, std::move(category), std::move(message), std::move(detail)});
}

void B2LogSink::info(std::string category, std::string message, std::optional<std::string> detail)
{
    log({B2LogLevel::info, std::move(category), std::move(message), std::move(detail)});
}

void B2LogSink::notice(std::string category, std::string message, std::optional<std::string> detail)
{
    log({B2LogLevel::notice, std::move(category), std::move(message), std::move(detail)});
}

void B2LogSink::warning(std::string category, std::string message, std::optional<std::string> detail)
{
    log({B2LogLevel::warning, std::move(category), std::move(message), std::move(detail)});
}

void B2LogSink::error(std::string category, std::string message, std::optional<std::string> detail)
{
    log({B2LogLevel::error, std::move(category), std::move(message), std::move(detail)});
}

B2FanOutLogSink::B2FanOutLogSink(std::vector<std::shared_ptr<B2LogSink>> sinks)
    : sinks_(std::move(sinks))
{
}

void B2FanOutLogSink::log(B2LogEvent event)
{
    for (const auto& sink : sinks_)
        sink->log(event);
}

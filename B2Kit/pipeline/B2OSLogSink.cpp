#define SD_JOURNAL_SUPPRESS_LOCATION

#include "B2Kit/pipeline/B2OSLogSink.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sys/uio.h>
#include <syslog.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

namespace {

int priorityOf(B2LogLevel level)
{
    switch (level) {
    case B2LogLevel::debug:
        return LOG_DEBUG;
    case B2LogLevel::info:
        return LOG_INFO;
    case B2LogLevel::notice:
        return LOG_NOTICE;
    case B2LogLevel::warning:
    case B2LogLevel::error:
        return LOG_ERR;
    }
    return LOG_ERR;
}

std::string oneLine(std::string text)
{
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; };
    std::ranges::replace_if(text, isControl, ' ');
    return text;
}

iovec fieldOf(const std::string& text)
{
    // The journal only reads; iovec has no const form.
    return {const_cast<char*>(text.data()), text.size()};
}

} // namespace

B2OSLogSink::B2OSLogSink(std::string subsystem, std::string category)
    : subsystemField_("SYSLOG_IDENTIFIER=" + std::move(subsystem))
    , categoryField_("B2_CATEGORY=" + std::move(category))
    , hasJournal_(access("/run/systemd/journal/socket", W_OK) == 0)
{
}

void B2OSLogSink::log(B2LogEvent event)
{
    std::string text = "[" + oneLine(std::move(event.category)) + "] " + oneLine(std::move(event.message));
    if (event.detail)
        text += "\n" + oneLine(std::move(*event.detail));
    if (hasJournal_) {
        const std::string message = "MESSAGE=" + text;
        const std::string priority = "PRIORITY=" + std::to_string(priorityOf(event.level));
        const std::array fields{fieldOf(message), fieldOf(priority), fieldOf(subsystemField_), fieldOf(categoryField_)};
        sd_journal_sendv(fields.data(), static_cast<int>(fields.size()));
    } else if (event.level >= B2LogLevel::notice) {
        // One call, so that lines of several threads do not mix.
        text += "\n";
        std::fwrite(text.data(), 1, text.size(), stderr);
    }
}

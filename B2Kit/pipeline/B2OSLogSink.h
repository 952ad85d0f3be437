#pragma once

#include "B2Kit/B2Log.h"

/// Writes "[{category}] {message}", and the detail in a further line, to the system's journal.
///
/// Without a journal the events from `notice` up go to standard error; a terminal has no filter for the others. Line
/// breaks and control characters of a message are written as blanks, so that no line can be forged.
class B2OSLogSink final : public B2LogSink {
public:
    /// @param subsystem  the program's name in the journal, such as "com.zantro.B2Kit".
    B2OSLogSink(std::string subsystem, std::string category);

    void log(B2LogEvent event) override;

private:
    std::string subsystemField_;
    std::string categoryField_;
    bool hasJournal_;
};

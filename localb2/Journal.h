#pragma once

#include "localb2/Records.h"

#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <string>

namespace localb2 {

/// One request, as `/_local/requests` shows it. Holds no token.
struct JournalEntry {
    std::int64_t number = 0;
    Milliseconds time = 0;
    std::int64_t milliseconds = 0; ///< From the last byte of the header to the last byte of the answer.
    std::string operation;
    std::string method;
    std::string path;
    int status = 0; ///< 0 when the connection was broken before an answer.
    std::int64_t bytesIn = 0;
    std::int64_t bytesOut = 0;
    std::string fault;   ///< The kinds of the faults that struck, comma-separated.
    std::string headers; ///< The relevant ones, as a JSON object.
    std::string body;    ///< JSON body of a call, clipped.
};

/// The latest requests, and the counts of all. Used from any thread.
class Journal {
public:
    /// Numbers the entry and returns the number.
    std::int64_t add(JournalEntry entry);
    /// Updates the entry once the answer has been sent.
    void settle(std::int64_t number, std::int64_t bytesOut, std::int64_t milliseconds);
    void clear();

    /// Returns the entries after the number, oldest first.
    std::string requestsJSON(std::int64_t after = 0) const;
    std::string countsJSON() const;

private:
    mutable std::mutex mutex_;
    std::int64_t last_ = 0;
    std::deque<JournalEntry> entries_;
    std::map<std::string, std::map<int, std::int64_t>> counts_;
    std::int64_t bytesIn_ = 0;
    std::int64_t bytesOut_ = 0;
};

} // namespace localb2

#include "localb2/Journal.h"

#include "localb2/Encoding.h"

namespace localb2 {

namespace {

constexpr std::size_t keptEntries = 10000;

} // namespace

std::int64_t Journal::add(JournalEntry entry)
{
    const std::scoped_lock lock(mutex_);
    entry.number = ++last_;
    ++counts_[entry.operation][entry.status];
    bytesIn_ += entry.bytesIn;
    bytesOut_ += entry.bytesOut;
    entries_.push_back(std::move(entry));
    if (entries_.size() > keptEntries)
        entries_.pop_front();
    return last_;
}

void Journal::settle(std::int64_t number, std::int64_t bytesOut, std::int64_t milliseconds)
{
    const std::scoped_lock lock(mutex_);
    // Numbers have no gaps, so the place of an entry follows from the first one.
    if (entries_.empty() || number < entries_.front().number || number > entries_.back().number)
        return;
    auto& entry = entries_[static_cast<std::size_t>(number - entries_.front().number)];
    bytesOut_ += bytesOut - entry.bytesOut;
    entry.bytesOut = bytesOut;
    entry.milliseconds = milliseconds;
}

void Journal::clear()
{
    const std::scoped_lock lock(mutex_);
    entries_.clear();
    counts_.clear();
    bytesIn_ = bytesOut_ = 0;
}

std::string Journal::requestsJSON(std::int64_t after) const
{
    const std::scoped_lock lock(mutex_);
    std::string out;
    {
        JSONObject answer(out);
        auto& list = answer.value("requests");
        list += '[';
        bool isFirst = true;
        for (const auto& entry : entries_) {
            if (entry.number <= after)
                continue;
            list += isFirst ? "" : ",";
            isFirst = false;
            JSONObject record(list);
            record.number("number", entry.number);
            record.number("time", entry.time);
            record.number("milliseconds", entry.milliseconds);
            record.text("operation", entry.operation);
            record.text("method", entry.method);
            record.text("path", entry.path);
            record.number("status", entry.status);
            record.number("bytesIn", entry.bytesIn);
            record.number("bytesOut", entry.bytesOut);
            record.textOrNull("fault", entry.fault);
            record.raw("headers", entry.headers);
            record.textOrNull("body", entry.body);
        }
        list += ']';
    }
    return out;
}

std::string Journal::countsJSON() const
{
    const std::scoped_lock lock(mutex_);
    std::string out;
    {
        JSONObject answer(out);
        std::int64_t total = 0;
        {
            JSONObject operations(answer.value("operations"));
            for (const auto& [operation, statuses] : counts_) {
                JSONObject record(operations.value(operation));
                std::int64_t count = 0;
                for (const auto& [status, times] : statuses) {
                    record.number(std::to_string(status), times);
                    count += times;
                }
                record.number("count", count);
                total += count;
            }
        }
        answer.number("requests", total);
        answer.number("bytesIn", bytesIn_);
        answer.number("bytesOut", bytesOut_);
    }
    return out;
}

} // namespace localb2

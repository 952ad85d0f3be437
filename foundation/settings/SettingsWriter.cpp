#include "foundation/settings/SettingsWriter.h"

#include "async/Executor.h"

#include <algorithm>
#include <utility>

SettingsWriter::SettingsWriter(
    std::filesystem::path file, std::chrono::milliseconds lockLimit, std::function<void()> haveNews)
    : file_(std::move(file))
    , lockLimit_(lockLimit)
    , haveNews_(std::move(haveNews))
{
}

void SettingsWriter::hand(Job job)
{
    {
        const std::lock_guard lock(mutex_);
        waiting_ = std::move(job);
        if (std::exchange(isBusy_, true))
            return;
    }
    WorkerPool::blocking().submit(&SettingsWriter::run, new std::shared_ptr<SettingsWriter>(shared_from_this()));
}

bool SettingsWriter::wait(std::chrono::milliseconds limit)
{
    std::unique_lock lock(mutex_);
    return idle_.wait_for(lock, limit, [this] { return !isBusy_; }) && !hasFailed_;
}

bool SettingsWriter::hasFailed() const
{
    const std::lock_guard lock(mutex_);
    return hasFailed_;
}

SettingsWriter::News SettingsWriter::takeNews()
{
    const std::lock_guard lock(mutex_);
    News taken = std::exchange(news_, {});
    taken.written = written_;
    return taken;
}

void SettingsWriter::detach()
{
    const std::lock_guard lock(mutex_);
    haveNews_ = nullptr;
}

void SettingsWriter::run(void* context)
{
    const std::unique_ptr<std::shared_ptr<SettingsWriter>> self(static_cast<std::shared_ptr<SettingsWriter>*>(context));
    (*self)->writeWaiting();
}

void SettingsWriter::writeWaiting()
{
    std::unique_lock lock(mutex_);
    while (waiting_) {
        const Job job = *std::exchange(waiting_, std::nullopt);
        SettingsChange change{.values = job.values};
        for (const auto& [key, number] : job.changed) {
            if (number > written_)
                change.changedKeys.insert(key);
        }
        lock.unlock();
        const auto merge = mergeSettings(file_, change, lockLimit_);
        lock.lock();
        if (!merge.error)
            written_ = std::max(written_, job.number);
        report(merge);
    }
    isBusy_ = false;
    idle_.notify_all();
}

void SettingsWriter::report(const SettingsMerge& merge)
{
    if (merge.setAside)
        news_.sentences.push_back("The settings file was damaged. It has been set aside as \""
            + merge.setAside->filename().string() + "\", and what Kestrovan has in use was saved in its place.");
    if (merge.error && !hasFailed_)
        news_.sentences.push_back("Couldn't save the settings to \"" + file_.string() + "\": "
            + (merge.error == std::errc::timed_out ? "another program is using the file" : merge.error.message())
            + ". What was changed is lost when Kestrovan quits, unless a later change can be saved.");
    if (!merge.error)
        news_.values = merge.values;
    hasFailed_ = static_cast<bool>(merge.error);
    if (haveNews_)
        haveNews_();
}

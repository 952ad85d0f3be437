#include "transfers/resume/UnfinishedResumes.h"

#include "foundation/Notices.h"
#include "foundation/log/ActivityLog.h"
#include "transfers/TransferQueue.h"
#include "transfers/resume/ResumeStore.h"

#include <QPointer>

#include <functional>
#include <utility>

UnfinishedResumes::UnfinishedResumes(TransferQueue& queue, Settings& settings, ActivityLog& log, Notices& notices)
    : queue_(queue)
    , settings_(settings)
    , log_(log)
    , notices_(notices)
{
}

void UnfinishedResumes::open(ResumeStore* store)
{
    store_ = store;
    if (store_)
        interrupted_.begin(*store_, settings_);
}

bool UnfinishedResumes::canResume(const std::string& fileID) const
{
    return store_ && store_->upload(fileID);
}

Task<std::optional<std::string>> UnfinishedResumes::resume(
    std::string fileID, std::optional<B2Bucket> bucket, std::shared_ptr<B2Session> session)
{
    auto known = store_ ? store_->upload(fileID) : std::nullopt;
    // The record goes when the upload is finished or cancelled, so no claim is made about its parts.
    if (!known || !session || !bucket)
        co_return "This upload can't be resumed: Kestrovan no longer knows which file it comes from. It may have been "
                  "finished or cancelled in the meantime.";
    const QPointer<UnfinishedResumes> self = this;
    auto refusal = co_await queue_.resume(std::move(*known), std::move(*bucket), std::move(session));
    if (self)
        dismissOutdated();
    co_return refusal;
}

void UnfinishedResumes::forget(const std::string& fileID)
{
    if (store_)
        store_->remove(fileID);
    dismissOutdated();
}

void UnfinishedResumes::announceInterrupted(const std::vector<B2Bucket>& buckets)
{
    auto sentence = interrupted_.takeSentence(buckets, std::bind_front(&UnfinishedResumes::isOpen, this));
    if (!sentence)
        return;
    log_.record({B2LogLevel::notice, "transfer", *sentence, {}});
    notices_.post({.id = noticeID, .text = std::move(*sentence)});
}

void UnfinishedResumes::dismissOutdated()
{
    if (interrupted_.isOutdated(std::bind_front(&UnfinishedResumes::isOpen, this)))
        notices_.dismiss(noticeID);
}

bool UnfinishedResumes::isOpen(const std::string& fileID) const
{
    return canResume(fileID) && !queue_.inFlightFileIDs().contains(fileID);
}

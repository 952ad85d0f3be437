#include "accounts/ExpiryWatch.h"

#include "accounts/ExpiryNotice.h"

#include <algorithm>
#include <chrono>

namespace {

/// After sleeping through the expiry, the computer shows the notice at most this long after waking up.
constexpr std::chrono::milliseconds longestWait = std::chrono::minutes(1);

} // namespace

ExpiryWatch::ExpiryWatch(KeyStore& store)
    : store_(store)
{
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    connect(&timer_, &QTimer::timeout, this, &ExpiryWatch::announce);
    connect(&store_, &KeyStore::sessionReplaced, this, &ExpiryWatch::follow);
}

void ExpiryWatch::follow()
{
    session_ = *store_.session;
    announced_.reset();
    notice = std::nullopt;
    announce();
}

void ExpiryWatch::announce()
{
    timer_.stop();
    if (!session_)
        return;
    const auto now = std::chrono::system_clock::now();
    auto text = expiryNotice(session_->key->label, session_->authorization, now);
    if (text && text != announced_) {
        announced_ = text;
        notice = std::move(text);
    }
    const auto& end = session_->authorization.applicationKeyExpirationTimestamp;
    if (!end || endedKeyText(session_->authorization, now))
        return;
    const auto left =
        std::chrono::milliseconds(*end) - std::chrono::ceil<std::chrono::milliseconds>(now.time_since_epoch());
    timer_.start(std::clamp(left + std::chrono::milliseconds(1), std::chrono::milliseconds(1), longestWait));
}

void ExpiryWatch::dismiss()
{
    notice = std::nullopt;
}

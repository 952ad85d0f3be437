#include "accounts/Reconnection.h"

#include <algorithm>

Reconnection::Reconnection(KeyStore& store, std::chrono::milliseconds pause, QObject* parent)
    : QObject(parent)
    , store_(store)
    , shortestPause_(pause)
    , pause_(pause)
{
    timer_.setSingleShot(true);
    connect(&timer_, &QTimer::timeout, this, [this] {
        const auto key = *store_.lastAttempted;
        if (!key || *store_.session || *store_.isConnecting)
            return;
        pause_ = std::min<std::chrono::milliseconds>(pause_ * 2, longestPause);
        tasks_.start(store_.connect(*key));
    });
    connect(&store_, &Observable::changed, this, &Reconnection::follow);
    follow();
}

void Reconnection::follow()
{
    if (*store_.session)
        pause_ = shortestPause_;
    const auto& failure = *store_.connectionFailure;
    const bool isCutOff = !*store_.session && !*store_.isConnecting && *store_.lastAttempted && failure
        && failure->kind == ConnectionFailure::Kind::unreachable;
    if (!isCutOff)
        timer_.stop();
    else if (!timer_.isActive())
        timer_.start(pause_);
}

Task<> Reconnection::shutDown()
{
    disconnect(&store_, nullptr, this, nullptr);
    timer_.stop();
    tasks_.cancelAll();
    co_await tasks_.drain();
}

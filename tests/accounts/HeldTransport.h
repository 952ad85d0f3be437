#pragma once

#include "B2Kit/transport/B2Transport.h"
#include "async/OneShot.h"

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

/// Passes requests to another transport and keeps the answers of chosen ones until the test lets them go, even when
/// the call is cancelled in the meantime: such an answer was already on its way.
///
/// Called from any thread.
class HeldTransport final : public B2Transport {
public:
    /// An answer that waits.
    struct Held {
        OneShot<void> release;
        std::shared_ptr<std::atomic_bool> hasArrived = std::make_shared<std::atomic_bool>(false);
    };

    explicit HeldTransport(std::shared_ptr<B2Transport> inner)
        : inner_(std::move(inner))
    {
    }

    /// Holds the answer of the operation's next request.
    Held hold(const std::string& operation)
    {
        const std::lock_guard lock(mutex_);
        return held_[operation];
    }

    Task<B2DataReply> data(B2HTTPRequest request) override
    {
        const auto held = take(request.url.substr(request.url.rfind('/') + 1));
        auto reply = co_await inner_->data(std::move(request));
        if (held) {
            held->hasArrived->store(true);
            co_await held->release.wait([] {});
        }
        co_return reply;
    }
    Task<B2DownloadReply> download(B2HTTPRequest request, B2Place destination, B2Progress onProgress) override
    {
        return inner_->download(std::move(request), std::move(destination), std::move(onProgress));
    }
    Task<B2DataReply> upload(B2HTTPRequest request, B2UploadBody body, B2Progress onProgress) override
    {
        return inner_->upload(std::move(request), std::move(body), std::move(onProgress));
    }

private:
    std::optional<Held> take(const std::string& operation)
    {
        const std::lock_guard lock(mutex_);
        const auto found = held_.find(operation);
        if (found == held_.end())
            return std::nullopt;
        auto held = std::move(found->second);
        held_.erase(found);
        return held;
    }

    std::shared_ptr<B2Transport> inner_;
    std::mutex mutex_;
    std::map<std::string, Held> held_;
};

#include "B2Kit/transport/CurlEngine.h"

#include "B2Kit/transport/CurlFaults.h"

#include <csignal>
#include <cstdlib>

namespace {

using namespace std::chrono_literals;

/// The interval at which progress is reported and stalled transfers are looked for.
constexpr auto sweepInterval = 100ms;

/// Connections kept open for the next request, across all hosts.
constexpr long keptConnections = 32;

constexpr std::size_t keptHandles = 16;

void initializeOnce()
{
    static const bool isReady = [] {
        // libcurl would write the keys of every TLS session to the file named there.
        unsetenv("SSLKEYLOGFILE");
        return curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    }();
    if (!isReady)
        throw std::bad_alloc();
}

/// A thread started under this gets no signals: a closed connection or a file size limit shows as a failed write.
class AllSignalsBlocked {
public:
    AllSignalsBlocked()
    {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    AllSignalsBlocked(const AllSignalsBlocked&) = delete;
    AllSignalsBlocked& operator=(const AllSignalsBlocked&) = delete;
    ~AllSignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

private:
    sigset_t before_{};
};

} // namespace

CurlEngine::CurlEngine(B2CurlTransportOptions options)
    : options_(std::move(options))
{
    initializeOnce();
    multi_ = curl_multi_init();
    share_ = curl_share_init();
    if (!multi_ || !share_)
        throw std::bad_alloc();
    curl_multi_setopt(multi_, CURLMOPT_MAXCONNECTS, keptConnections);
    // Without this each handle would keep its own TLS sessions. One thread uses them, so no locks are given.
    curl_share_setopt(share_, CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION);
    mailbox_->multi = multi_;
    const AllSignalsBlocked blocked;
    thread_ = std::thread([this] { run(); });
}

CurlEngine::~CurlEngine()
{
    {
        const std::lock_guard lock(mailbox_->mutex);
        mailbox_->isClosed = true;
        curl_multi_wakeup(multi_);
    }
    thread_.join();
    {
        const std::lock_guard lock(mailbox_->mutex);
        mailbox_->multi = nullptr;
    }
    idleHandles_.clear();
    curl_multi_cleanup(multi_);
    curl_share_cleanup(share_);
}

void CurlEngine::Mailbox::post(std::vector<Transfer> Mailbox::* list, Transfer transfer)
{
    const std::lock_guard lock(mutex);
    if (isClosed) {
        // Transfers handed over before this end with the engine.
        if (list == &Mailbox::started)
            transfer->done.fail(std::make_exception_ptr(Cancelled{}));
        return;
    }
    const bool wasEmpty = started.empty() && stopped.empty();
    (this->*list).push_back(std::move(transfer));
    if (wasEmpty)
        curl_multi_wakeup(multi);
}

Task<> CurlEngine::carryOut(std::shared_ptr<CurlTransfer> transfer)
{
    co_await checkCancelled();
    mailbox_->post(&Mailbox::started, transfer);
    const auto askToStop = [mailbox = mailbox_, transfer] { mailbox->post(&Mailbox::stopped, transfer); };
    co_await transfer->done.wait(askToStop);
}

void CurlEngine::run()
{
    while (takeMail()) {
        int runningCount = 0;
        curl_multi_perform(multi_, &runningCount);
        collectFinished();
        sweep();
        if (readOn())
            continue;
        // An idle engine sleeps until there is a request.
        constexpr int hour = 3'600'000;
        const int patience = running_.empty() ? hour : static_cast<int>(sweepInterval / 1ms);
        curl_multi_poll(multi_, nullptr, 0, patience, nullptr);
    }
    endAll();
}

bool CurlEngine::takeMail()
{
    std::vector<Transfer> started;
    std::vector<Transfer> stopped;
    {
        const std::lock_guard lock(mailbox_->mutex);
        started.swap(mailbox_->started);
        stopped.swap(mailbox_->stopped);
        if (mailbox_->isClosed) {
            for (auto& transfer : started)
                transfer->done.fail(std::make_exception_ptr(Cancelled{}));
            return false;
        }
    }
    for (auto& transfer : started) {
        auto& turn = turns_[transfer->target().authority];
        turn.waiting.push_back(std::move(transfer));
        admit(turn);
    }
    for (const auto& transfer : stopped)
        stop(transfer);
    return true;
}

void CurlEngine::admit(HostTurn& turn)
{
    const auto limit = static_cast<std::size_t>(std::max(options_.maxConnectionsPerHost, 1));
    while (turn.runningCount < limit && !turn.waiting.empty()) {
        const Transfer next = std::move(turn.waiting.front());
        turn.waiting.pop_front();
        ++turn.runningCount;
        start(next);
    }
}

void CurlEngine::start(const Transfer& transfer)
{
    transfer->attach(takeHandle());
    running_.emplace(transfer.get(), transfer);
    if (curl_multi_add_handle(multi_, transfer->easy()) != CURLM_OK)
        throw std::bad_alloc();
}

CurlEasy CurlEngine::takeHandle()
{
    if (!idleHandles_.empty()) {
        auto handle = std::move(idleHandles_.back());
        idleHandles_.pop_back();
        return handle;
    }
    CurlEasy handle(curl_easy_init());
    if (!handle)
        throw std::bad_alloc();
    configureHandle(handle.get(), options_.userAgent, options_.certificateAuthorityFile);
    curl_easy_setopt(handle.get(), CURLOPT_SHARE, share_);
    return handle;
}

void CurlEngine::stop(const Transfer& transfer)
{
    if (running_.contains(transfer.get())) {
        end(transfer, std::make_exception_ptr(Cancelled{}));
        return;
    }
    const auto turn = turns_.find(transfer->target().authority);
    if (turn == turns_.end() || std::erase(turn->second.waiting, transfer) == 0)
        return; // It ended by itself just before.
    transfer->done.fail(std::make_exception_ptr(Cancelled{}));
}

void CurlEngine::collectFinished()
{
    int leftCount = 0;
    while (const CURLMsg* message = curl_multi_info_read(multi_, &leftCount)) {
        if (message->msg != CURLMSG_DONE)
            continue;
        CurlTransfer* transfer = nullptr;
        curl_easy_getinfo(message->easy_handle, CURLINFO_PRIVATE, &transfer);
        const auto code = message->data.result;
        end(Transfer(running_.at(transfer)), code);
    }
}

void CurlEngine::sweep()
{
    const auto now = std::chrono::steady_clock::now();
    if (now - sweptAt_ < sweepInterval)
        return;
    sweptAt_ = now;
    std::vector<Transfer> stalled;
    for (const auto& [key, transfer] : running_) {
        if (!transfer->sweep(now))
            stalled.push_back(transfer);
    }
    for (const auto& transfer : stalled)
        end(transfer, CURLE_OPERATION_TIMEDOUT);
}

bool CurlEngine::readOn()
{
    bool mustGoOn = false;
    for (const auto& [key, transfer] : running_)
        mustGoOn |= transfer->readOn();
    return mustGoOn;
}

void CurlEngine::end(const Transfer& transfer, CURLcode code)
{
    end(transfer, transfer->conclude(code));
}

void CurlEngine::end(const Transfer& transfer, std::exception_ptr error)
{
    const auto metrics = options_.metrics ? transfer->metrics() : std::nullopt;
    curl_multi_remove_handle(multi_, transfer->easy());
    auto handle = transfer->detach();
    if (idleHandles_.size() < keptHandles)
        idleHandles_.push_back(std::move(handle));
    if (metrics)
        options_.metrics->record(*metrics);

    const auto turn = turns_.find(transfer->target().authority);
    --turn->second.runningCount;
    admit(turn->second);
    if (turn->second.runningCount == 0)
        turns_.erase(turn);

    running_.erase(transfer.get());
    if (error)
        transfer->done.fail(std::move(error));
    else
        transfer->done.set();
}

void CurlEngine::endAll()
{
    for (auto& [authority, turn] : turns_) {
        for (const auto& transfer : turn.waiting)
            transfer->done.fail(std::make_exception_ptr(Cancelled{}));
        turn.waiting.clear();
    }
    while (!running_.empty())
        end(Transfer(running_.begin()->second), std::make_exception_ptr(Cancelled{}));
}

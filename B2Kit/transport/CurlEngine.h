#pragma once

#include "B2Kit/transport/B2CurlTransport.h"
#include "B2Kit/transport/CurlTransfer.h"

#include <deque>
#include <mutex>
#include <thread>
#include <unordered_map>

/// The thread that runs all transfers, with one multi handle.
///
/// At most as many transfers of one host run at once as the options allow; others wait their turn here, because
/// libcurl would count that time as connecting.
class CurlEngine {
public:
    explicit CurlEngine(B2CurlTransportOptions options);

    /// Ends every transfer with `Cancelled` and joins the thread.
    ~CurlEngine();

    CurlEngine(const CurlEngine&) = delete;
    CurlEngine& operator=(const CurlEngine&) = delete;

    /// Runs the transfer to its end and waits for it; a stop request ends it with `Cancelled`.
    /// @throws the transfer's failure.
    Task<> carryOut(std::shared_ptr<CurlTransfer> transfer);

private:
    using Transfer = std::shared_ptr<CurlTransfer>;

    /// The requests of other threads. Outlives the engine as long as one of them may still use it.
    struct Mailbox {
        std::mutex mutex;
        CURLM* multi = nullptr; ///< Null once the engine is gone.
        std::vector<Transfer> started;
        std::vector<Transfer> stopped;
        bool isClosed = false;

        void post(std::vector<Transfer> Mailbox::* list, Transfer transfer);
    };

    struct HostTurn {
        std::size_t runningCount = 0;
        std::deque<Transfer> waiting;
    };

    void run();
    bool takeMail();
    void admit(HostTurn& turn);
    void start(const Transfer& transfer);
    void stop(const Transfer& transfer);
    void collectFinished();
    void sweep();
    bool readOn();
    void end(const Transfer& transfer, CURLcode code);
    void end(const Transfer& transfer, std::exception_ptr error);
    void endAll();
    CurlEasy takeHandle();

    B2CurlTransportOptions options_;
    std::shared_ptr<Mailbox> mailbox_ = std::make_shared<Mailbox>();
    CURLM* multi_;
    CURLSH* share_;
    std::vector<CurlEasy> idleHandles_;
    std::unordered_map<std::string, HostTurn> turns_; ///< By authority.
    std::unordered_map<CurlTransfer*, Transfer> running_;
    CurlTransfer::TimePoint sweptAt_;
    std::thread thread_;
};

#pragma once

#include "localb2/Core.h"
#include "localb2/Wire.h"

#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace localb2 {

/// Listens on a loopback address and gives each connection a thread.
class Server {
public:
    /// @throws std::runtime_error when the port is taken.
    Server(Core& core, std::uint16_t port, const TLSContext* tls);
    /// Breaks every connection and waits for the threads.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    std::uint16_t port() const { return port_; }

    /// From here on connections are accepted.
    void start();

private:
    struct Link {
        std::unique_ptr<Wire> wire;
        std::thread thread;
        bool isDone = false;
    };

    void acceptAll();
    void serve(Link& link);
    void reap();
    std::size_t linkCount();

    Core& core_;
    const TLSContext* tls_;
    int listener_ = -1;
    std::uint16_t port_ = 0;
    std::thread acceptor_;
    std::mutex mutex_; ///< Guards the list and its flags.
    std::list<Link> links_;
};

} // namespace localb2

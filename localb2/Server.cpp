#include "localb2/Server.h"

#include "localb2/Connection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <stdexcept>

namespace localb2 {

namespace {

constexpr std::size_t highestLinkCount = 256;

// A write to a closed connection must fail there, and not raise a signal in the program around the service.
void blockBrokenPipeSignal()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

} // namespace

Server::Server(Core& core, std::uint16_t port, const TLSContext* tls)
    : core_(core)
    , tls_(tls)
    , listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
{
    const int yes = 1;
    ::setsockopt(listener_, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (::bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || ::listen(listener_, 256) != 0
        || ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size) != 0) {
        const std::string reason = std::strerror(errno);
        ::close(listener_);
        throw std::runtime_error("Couldn't listen on port " + std::to_string(port) + ": " + reason + ".");
    }
    port_ = ntohs(address.sin_port);
}

Server::~Server()
{
    core_.stop.request();
    ::shutdown(listener_, SHUT_RDWR);
    if (acceptor_.joinable())
        acceptor_.join();
    ::close(listener_);
    {
        const std::scoped_lock lock(mutex_);
        for (auto& link : links_)
            link.wire->breakOff();
    }
    for (auto& link : links_)
        link.thread.join();
}

void Server::start()
{
    acceptor_ = std::thread([this] { acceptAll(); });
}

void Server::acceptAll()
{
    blockBrokenPipeSignal();
    while (!core_.stop.isRequested()) {
        pollfd ready{.fd = listener_, .events = POLLIN, .revents = 0};
        ::poll(&ready, 1, 1000);
        reap();
        if (linkCount() >= highestLinkCount) {
            core_.stop.wait(std::chrono::milliseconds(20));
            continue;
        }
        const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
        if (socket < 0)
            continue;
        const std::scoped_lock lock(mutex_);
        auto& link = links_.emplace_back();
        link.wire = std::make_unique<Wire>(socket, tls_);
        link.thread = std::thread([this, &link] { serve(link); });
    }
}

void Server::serve(Link& link)
{
    blockBrokenPipeSignal();
    serveConnection(*link.wire, core_);
    link.wire->finish();
    const std::scoped_lock lock(mutex_);
    link.isDone = true;
    link.wire->close();
}

void Server::reap()
{
    const std::scoped_lock lock(mutex_);
    std::erase_if(links_, [](Link& link) {
        if (link.isDone)
            link.thread.join();
        return link.isDone;
    });
}

std::size_t Server::linkCount()
{
    const std::scoped_lock lock(mutex_);
    return links_.size();
}

} // namespace localb2

#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

struct ssl_ctx_st;
struct ssl_st;

/// A self-signed certificate for 127.0.0.1 and its key, both as PEM.
struct SelfSignedCertificate {
    std::string certificate;
    std::string key;

    static SelfSignedCertificate make();
};

/// A server on a free loopback port that answers with exactly the bytes a test gives it.
class ScriptedServer {
public:
    class Connection {
    public:
        explicit Connection(int socket, ssl_ctx_st* tls);
        ~Connection();

        /// The next request, its body included; empty when the client has closed.
        std::string readRequest();
        /// Reads about this many bytes and no more.
        void readSome(std::size_t count);
        void send(std::string_view bytes);
        /// Ends the connection with a reset.
        void reset();
        /// Waits for the client to close, and drops what it sends until then.
        void waitForClose();

    private:
        friend ScriptedServer;

        bool fill();

        int socket_;
        ssl_st* ssl_ = nullptr;
        std::string received_;
    };

    using Script = std::function<void(Connection&)>;

    /// @param script  handles each connection on its own thread; the connection closes after it.
    explicit ScriptedServer(Script script);
    ScriptedServer(Script script, const SelfSignedCertificate& certificate);
    ~ScriptedServer();

    /// A script that answers each request of a connection with the same bytes.
    static Script answering(std::string response);

    std::string url(std::string_view path) const;
    int connectionCount() const { return connectionCount_; }

private:
    void listen();
    void run();

    Script script_;
    std::shared_ptr<ssl_ctx_st> tls_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<int> connectionCount_ = 0;
    std::atomic<bool> isStopping_ = false;
    std::mutex mutex_;
    std::vector<int> sockets_;
    std::vector<std::thread> workers_;
    std::thread acceptor_;
};

/// A whole answer with its length.
std::string httpAnswer(int status, std::string_view body, std::string_view moreHeaders = "");

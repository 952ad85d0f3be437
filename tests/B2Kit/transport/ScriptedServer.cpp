#include "tests/B2Kit/transport/ScriptedServer.h"

#include <arpa/inet.h>
#include <csignal>
#include <netinet/tcp.h>
#include <openssl/pem.h>
#include <openssl/ssl.h>
#include <openssl/x509v3.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace {

std::string textOf(BIO* bio)
{
    char* bytes = nullptr;
    const auto size = BIO_get_mem_data(bio, &bytes);
    std::string text(bytes, static_cast<std::size_t>(size));
    BIO_free(bio);
    return text;
}

std::size_t contentLength(std::string_view head)
{
    const auto at = head.find("Content-Length: ");
    return at == std::string_view::npos ? 0 : std::stoul(std::string(head.substr(at + 16, 20)));
}

std::shared_ptr<SSL_CTX> contextFor(const SelfSignedCertificate& pair)
{
    std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_server_method()), &SSL_CTX_free);
    auto* bio = BIO_new_mem_buf(pair.certificate.data(), static_cast<int>(pair.certificate.size()));
    auto* certificate = PEM_read_bio_X509(bio, nullptr, nullptr, nullptr);
    BIO_free(bio);
    bio = BIO_new_mem_buf(pair.key.data(), static_cast<int>(pair.key.size()));
    auto* key = PEM_read_bio_PrivateKey(bio, nullptr, nullptr, nullptr);
    BIO_free(bio);
    SSL_CTX_use_certificate(context.get(), certificate);
    SSL_CTX_use_PrivateKey(context.get(), key);
    X509_free(certificate);
    EVP_PKEY_free(key);
    return context;
}

} // namespace

SelfSignedCertificate SelfSignedCertificate::make()
{
    EVP_PKEY* const key = EVP_EC_gen("P-256");
    X509* const certificate = X509_new();
    X509_set_version(certificate, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
    X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
    X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
    X509_set_pubkey(certificate, key);
    auto* const name = X509_get_subject_name(certificate);
    const auto* const text = reinterpret_cast<const unsigned char*>("scripted server");
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, text, -1, -1, 0);
    X509_set_issuer_name(certificate, name);
    auto* const address = X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1");
    X509_add_ext(certificate, address, -1);
    X509_EXTENSION_free(address);
    X509_sign(certificate, key, EVP_sha256());

    SelfSignedCertificate pair;
    auto* bio = BIO_new(BIO_s_mem());
    PEM_write_bio_X509(bio, certificate);
    pair.certificate = textOf(bio);
    bio = BIO_new(BIO_s_mem());
    PEM_write_bio_PrivateKey(bio, key, nullptr, nullptr, 0, nullptr, nullptr);
    pair.key = textOf(bio);
    X509_free(certificate);
    EVP_PKEY_free(key);
    return pair;
}

ScriptedServer::Connection::Connection(int socket, ssl_ctx_st* tls)
    : socket_(socket)
{
    if (!tls)
        return;
    ssl_ = SSL_new(tls);
    SSL_set_fd(ssl_, socket);
    SSL_accept(ssl_);
}

ScriptedServer::Connection::~Connection()
{
    if (ssl_) {
        SSL_shutdown(ssl_);
        SSL_free(ssl_);
    }
}

bool ScriptedServer::Connection::fill()
{
    char buffer[65536];
    const auto count = ssl_ ? SSL_read(ssl_, buffer, sizeof buffer) : recv(socket_, buffer, sizeof buffer, 0);
    if (count <= 0)
        return false;
    received_.append(buffer, static_cast<std::size_t>(count));
    return true;
}

std::string ScriptedServer::Connection::readRequest()
{
    std::size_t headEnd = 0;
    while ((headEnd = received_.find("\r\n\r\n")) == std::string::npos) {
        if (!fill())
            return {};
    }
    const auto size = headEnd + 4 + contentLength(std::string_view(received_).substr(0, headEnd));
    while (received_.size() < size) {
        if (!fill())
            return {};
    }
    auto request = received_.substr(0, size);
    received_.erase(0, size);
    return request;
}

void ScriptedServer::Connection::readSome(std::size_t count)
{
    while (received_.size() < count && fill()) {}
}

void ScriptedServer::Connection::send(std::string_view bytes)
{
    while (!bytes.empty()) {
        const auto count = ssl_ ? SSL_write(ssl_, bytes.data(), static_cast<int>(bytes.size()))
                                : ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (count <= 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(count));
    }
}

void ScriptedServer::Connection::reset()
{
    const linger abrupt{.l_onoff = 1, .l_linger = 0};
    setsockopt(socket_, SOL_SOCKET, SO_LINGER, &abrupt, sizeof abrupt);
}

void ScriptedServer::Connection::waitForClose()
{
    while (fill())
        received_.clear();
}

ScriptedServer::ScriptedServer(Script script)
    : script_(std::move(script))
{
    listen();
}

ScriptedServer::ScriptedServer(Script script, const SelfSignedCertificate& certificate)
    : script_(std::move(script))
    , tls_(contextFor(certificate))
{
    listen();
}

void ScriptedServer::listen()
{
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0)
        throw std::runtime_error("no free port");
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    ::listen(listener_, 64);
    acceptor_ = std::thread([this] { run(); });
}

ScriptedServer::~ScriptedServer()
{
    isStopping_ = true;
    shutdown(listener_, SHUT_RDWR);
    acceptor_.join();
    {
        const std::lock_guard lock(mutex_);
        for (const int socket : sockets_)
            shutdown(socket, SHUT_RDWR);
    }
    for (auto& worker : workers_)
        worker.join();
    close(listener_);
}

void ScriptedServer::run()
{
    while (!isStopping_) {
        const int socket = accept(listener_, nullptr, nullptr);
        if (socket < 0)
            return;
        const int on = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        ++connectionCount_;
        const std::lock_guard lock(mutex_);
        sockets_.push_back(socket);
        workers_.emplace_back([this, socket] {
            // OpenSSL writes without MSG_NOSIGNAL. Only here: the transport under test must look after itself.
            sigset_t brokenPipe;
            sigemptyset(&brokenPipe);
            sigaddset(&brokenPipe, SIGPIPE);
            pthread_sigmask(SIG_BLOCK, &brokenPipe, nullptr);
            {
                Connection connection(socket, tls_.get());
                script_(connection);
            }
            const std::lock_guard closing(mutex_);
            std::erase(sockets_, socket);
            close(socket);
        });
    }
}

ScriptedServer::Script ScriptedServer::answering(std::string response)
{
    return [response = std::move(response)](Connection& connection) {
        while (!connection.readRequest().empty())
            connection.send(response);
    };
}

std::string ScriptedServer::url(std::string_view path) const
{
    return (tls_ ? "https://127.0.0.1:" : "http://127.0.0.1:") + std::to_string(port_) + std::string(path);
}

std::string httpAnswer(int status, std::string_view body, std::string_view moreHeaders)
{
    return "HTTP/1.1 " + std::to_string(status) + " Answer\r\nContent-Length: " + std::to_string(body.size()) + "\r\n"
        + std::string(moreHeaders) + "\r\n" + std::string(body);
}

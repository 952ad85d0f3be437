#include "localb2/Wire.h"

#include "localb2/Http.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <stdexcept>
#include <vector>

namespace localb2 {

namespace {

constexpr int silenceSeconds = 120;
constexpr std::int64_t chunk = 4'194'304;

} // namespace

TLSContext::TLSContext(const TLSFiles& files)
    : context_(SSL_CTX_new(TLS_server_method()))
{
    SSL_CTX_set_min_proto_version(context_, TLS1_2_VERSION);
    if (SSL_CTX_use_certificate_chain_file(context_, files.certificate.c_str()) != 1
        || SSL_CTX_use_PrivateKey_file(context_, files.privateKey.c_str(), SSL_FILETYPE_PEM) != 1
        || SSL_CTX_check_private_key(context_) != 1) {
        SSL_CTX_free(context_);
        throw std::runtime_error("Couldn't use the certificate \"" + files.certificate.string() + "\" with the key \""
            + files.privateKey.string() + "\".");
    }
}

TLSContext::~TLSContext()
{
    SSL_CTX_free(context_);
}

Wire::Wire(int socket, const TLSContext* tls)
    : socket_(socket)
{
    const int yes = 1;
    ::setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &yes, sizeof yes);
    const timeval silence{.tv_sec = silenceSeconds, .tv_usec = 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVTIMEO, &silence, sizeof silence);
    ::setsockopt(socket_, SOL_SOCKET, SO_SNDTIMEO, &silence, sizeof silence);
    if (tls) {
        tls_ = SSL_new(tls->get());
        SSL_set_fd(tls_, socket_);
    }
}

Wire::~Wire()
{
    close();
    SSL_free(tls_);
}

void Wire::open()
{
    if (tls_ && SSL_accept(tls_) != 1)
        throw Disconnected();
}

std::size_t Wire::read(std::span<char> buffer)
{
    if (tls_) {
        std::size_t count = 0;
        if (SSL_read_ex(tls_, buffer.data(), buffer.size(), &count) == 1)
            return count;
        if (SSL_get_error(tls_, 0) == SSL_ERROR_ZERO_RETURN)
            return 0;
        throw Disconnected();
    }
    while (true) {
        const auto count = ::recv(socket_, buffer.data(), buffer.size(), 0);
        if (count >= 0)
            return static_cast<std::size_t>(count);
        if (errno != EINTR)
            throw Disconnected();
    }
}

void Wire::write(std::string_view bytes)
{
    while (!bytes.empty()) {
        std::size_t written = 0;
        if (tls_) {
            if (SSL_write_ex(tls_, bytes.data(), bytes.size(), &written) != 1)
                throw Disconnected();
        } else {
            const auto count = ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                throw Disconnected();
            written = static_cast<std::size_t>(count);
        }
        bytes.remove_prefix(written);
    }
}

void Wire::writeFile(int file, std::int64_t offset, std::int64_t length)
{
    std::vector<char> buffer(tls_ ? 262'144 : 0);
    off_t position = offset;
    while (length > 0) {
        std::int64_t count = 0;
        if (tls_) {
            const auto wanted = std::min(length, static_cast<std::int64_t>(buffer.size()));
            count = ::pread(file, buffer.data(), static_cast<std::size_t>(wanted), position);
            if (count > 0)
                write({buffer.data(), static_cast<std::size_t>(count)});
            position += count;
        } else {
            count = ::sendfile(socket_, file, &position, static_cast<std::size_t>(std::min(length, chunk)));
        }
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            throw Disconnected();
        length -= count;
    }
}

void Wire::resetAtEnd()
{
    const linger now{.l_onoff = 1, .l_linger = 0};
    ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &now, sizeof now);
    isReset_ = true;
}

void Wire::finish()
{
    if (isReset_)
        return;
    if (tls_)
        SSL_shutdown(tls_);
    ::shutdown(socket_, SHUT_WR);
    // Closing with unread input resets the connection, and the peer may lose the answer.
    std::array<char, 65536> buffer;
    for (int i = 0; i < 64; ++i) {
        pollfd input{.fd = socket_, .events = POLLIN, .revents = 0};
        if (::poll(&input, 1, 500) != 1 || ::recv(socket_, buffer.data(), buffer.size(), 0) <= 0)
            return;
    }
}

void Wire::close()
{
    if (socket_ >= 0)
        ::close(socket_);
    socket_ = -1;
}

void Wire::breakOff()
{
    if (socket_ >= 0)
        ::shutdown(socket_, SHUT_RDWR);
}

} // namespace localb2

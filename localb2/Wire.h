#pragma once

#include "localb2/Service.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

struct ssl_ctx_st;
struct ssl_st;

namespace localb2 {

/// The certificate a server shows; TLS 1.2 and up.
class TLSContext {
public:
    /// @throws std::runtime_error when the files are no good.
    explicit TLSContext(const TLSFiles& files);
    ~TLSContext();
    TLSContext(const TLSContext&) = delete;
    TLSContext& operator=(const TLSContext&) = delete;

    ssl_ctx_st* get() const { return context_; }

private:
    ssl_ctx_st* context_;
};

/// One accepted connection, plain or with TLS. Blocks; another thread breaks it with `breakOff`.
///
/// Everything throws Disconnected when the peer is gone or silent for two minutes.
class Wire {
public:
    /// Takes the socket. Without a context the connection is plain.
    Wire(int socket, const TLSContext* tls);
    ~Wire();
    Wire(const Wire&) = delete;
    Wire& operator=(const Wire&) = delete;

    /// Shakes hands, when there is TLS.
    void open();

    /// Fills part of the buffer; 0 when the peer has finished.
    std::size_t read(std::span<char> buffer);
    void write(std::string_view bytes);
    void writeFile(int file, std::int64_t offset, std::int64_t length);

    /// Makes the connection end with a reset when it is closed.
    void resetAtEnd();
    /// Ends the connection so that the peer gets all that was written.
    void finish();
    void close();
    /// Makes whatever another thread waits for on the connection fail. Not to be called along with `close`.
    void breakOff();

private:
    int socket_;
    ssl_st* tls_ = nullptr;
    bool isReset_ = false;
};

} // namespace localb2

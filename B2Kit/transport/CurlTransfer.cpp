#include "B2Kit/transport/CurlTransfer.h"

#include "B2Kit/transport/CurlFaults.h"
#include "B2Kit/transport/CurlReadAhead.h"
#include "B2Kit/wire/B2Text.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>

namespace {

constexpr std::size_t headerByteCap = 1'000'000;
constexpr std::size_t headerLineCap = 5'000;

CurlTransfer& transferOf(void* self)
{
    return *static_cast<CurlTransfer*>(self);
}

std::int64_t number(CURL* easy, CURLINFO info)
{
    curl_off_t value = 0;
    curl_easy_getinfo(easy, info, &value);
    return value;
}

double seconds(CURL* easy, CURLINFO info)
{
    return static_cast<double>(number(easy, info)) / 1e6;
}

/// Bytes that the kernel holds for the peer: written, and not yet acknowledged.
std::int64_t unacknowledgedBytes(CURL* easy)
{
    curl_socket_t socket = CURL_SOCKET_BAD;
    int count = 0;
    if (curl_easy_getinfo(easy, CURLINFO_ACTIVESOCKET, &socket) != CURLE_OK || socket == CURL_SOCKET_BAD
        || ioctl(socket, SIOCOUTQ, &count) != 0)
        return 0;
    return count;
}

} // namespace

void configureHandle(CURL* easy, const std::string& userAgent, const std::string& certificateAuthorityFile)
{
    // TLS 1.2 up, verified; https, and http where the address was checked to be a loopback one.
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "https,http");
    curl_easy_setopt(easy, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    // The shorter of two good keys first: downloads decrypt every byte, and the server follows the client's order.
    curl_easy_setopt(
        easy, CURLOPT_TLS13_CIPHERS, "TLS_AES_128_GCM_SHA256:TLS_AES_256_GCM_SHA384:TLS_CHACHA20_POLY1305_SHA256");
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 1L);
    curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 2L);
    if (!certificateAuthorityFile.empty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, certificateAuthorityFile.c_str());
        curl_easy_setopt(easy, CURLOPT_CAPATH, nullptr);
    }
    // Nothing goes anywhere but to the request's address: no redirect, no proxy, no password from the environment.
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_PROXY, "");
    curl_easy_setopt(easy, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    curl_easy_setopt(easy, CURLOPT_DISALLOW_USERNAME_IN_URL, 1L);
    // A file may be called "a/../b".
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    // The service speaks 1.1; an answer without a status line is none.
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_HTTP09_ALLOWED, 0L);
    curl_easy_setopt(easy, CURLOPT_TCP_NODELAY, 1L);
    curl_easy_setopt(easy, CURLOPT_TCP_KEEPALIVE, 1L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_NOPROGRESS, 1L);
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT, 30L);
    // A stop during a name look-up must not wait for the answer.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    curl_easy_setopt(easy, CURLOPT_BUFFERSIZE, 512L * 1024);
    curl_easy_setopt(easy, CURLOPT_UPLOAD_BUFFERSIZE, 512L * 1024);
    enableReadAhead(easy);
    if (!userAgent.empty())
        curl_easy_setopt(easy, CURLOPT_USERAGENT, userAgent.c_str());
}

CurlTransfer::CurlTransfer(CurlRequest request, std::shared_ptr<BodySink> sink, B2Progress onProgress)
    : request_(std::move(request))
    , sink_(std::move(sink))
    , onProgress_(std::move(onProgress))
    , idle_(request_.idleLimit)
{
}

void CurlTransfer::attach(CurlEasy easy)
{
    easy_ = std::move(easy);
    CURL* const handle = easy_.get();
    curl_easy_setopt(handle, CURLOPT_PRIVATE, this);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, detail_.data());
    curl_easy_setopt(handle, CURLOPT_URL, request_.url.c_str());
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, request_.headers.get());
    curl_easy_setopt(handle, CURLOPT_PREREQFUNCTION, &CurlTransfer::onConnected);
    curl_easy_setopt(handle, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &CurlTransfer::onHeader);
    curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &CurlTransfer::onBody);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
    if (request_.method == B2HTTPMethod::get) {
        curl_easy_setopt(handle, CURLOPT_HTTPGET, 1L);
        return;
    }
    curl_easy_setopt(handle, CURLOPT_POST, 1L);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(bodyLength()));
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, request_.file ? nullptr : request_.body->data());
    curl_easy_setopt(handle, CURLOPT_READFUNCTION, &CurlTransfer::onRead);
    curl_easy_setopt(handle, CURLOPT_READDATA, this);
}

CurlEasy CurlTransfer::detach()
{
    CURL* const handle = easy_.get();
    curl_easy_setopt(handle, CURLOPT_PRIVATE, nullptr);
    curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, nullptr);
    curl_easy_setopt(handle, CURLOPT_HTTPHEADER, nullptr);
    curl_easy_setopt(handle, CURLOPT_POSTFIELDS, nullptr);
    sink_.reset();
    onProgress_ = nullptr;
    request_.file.reset();
    return std::move(easy_);
}

int CurlTransfer::onConnected(void* self, char*, char*, int, int)
{
    auto& transfer = transferOf(self);
    // libcurl would repeat a request after a connection that the peer has just closed. The first one may have been
    // carried out, so the decision is the caller's.
    if (std::exchange(transfer.isConnected_, true)) {
        transfer.wasRepeated_ = true;
        return CURL_PREREQFUNC_ABORT;
    }
    transfer.idle_.start(std::chrono::steady_clock::now());
    return CURL_PREREQFUNC_OK;
}

std::size_t CurlTransfer::onHeader(char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto& transfer = transferOf(self);
    try {
        transfer.takeHeaderLine({bytes, size * count});
        return size * count;
    } catch (...) {
        transfer.error_ = std::current_exception();
        return 0;
    }
}

void CurlTransfer::takeHeaderLine(std::string_view line)
{
    headerBytes_ += line.size();
    if (headerBytes_ > headerByteCap || response.headers.size() >= headerLineCap)
        throw B2Error(B2Error::InvalidResponse{"The headers of the answer are too large"});
    if (hasBodyBegun_)
        return; // A trailer.
    if (line.starts_with("HTTP/")) {
        response = {}; // What stood before was an interim answer.
        return;
    }
    const auto text = trimmed(line);
    if (!text.empty()) {
        const auto colon = text.find(':');
        if (colon != std::string_view::npos)
            response.headers.push_back({trimmed(text.substr(0, colon)), trimmed(text.substr(colon + 1))});
        return;
    }
    long status = 0;
    curl_easy_getinfo(easy(), CURLINFO_RESPONSE_CODE, &status);
    response.status = static_cast<int>(status);
    if (status < 200)
        return;
    hasBodyBegun_ = true;
    const auto length = number(easy(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T);
    sink_->begin(response.status, length >= 0 ? std::optional(length) : std::nullopt);
}

std::size_t CurlTransfer::onBody(char* bytes, std::size_t size, std::size_t count, void* self)
{
    auto& transfer = transferOf(self);
    transfer.bodyBytes_ += static_cast<std::int64_t>(size * count);
    try {
        if (transfer.sink_->take({bytes, size * count}))
            return size * count;
        transfer.hasEnough_ = true;
    } catch (...) {
        transfer.error_ = std::current_exception();
    }
    return CURL_WRITEFUNC_ERROR;
}

std::size_t CurlTransfer::onRead(char* buffer, std::size_t size, std::size_t count, void* self)
{
    auto& transfer = transferOf(self);
    try {
        return transfer.request_.file->read(buffer, size * count);
    } catch (...) {
        transfer.error_ = std::current_exception();
        return CURL_READFUNC_ABORT;
    }
}

std::int64_t CurlTransfer::bodyLength() const
{
    if (request_.method == B2HTTPMethod::get)
        return 0;
    return request_.file ? request_.file->length() : static_cast<std::int64_t>(request_.body->size());
}

bool CurlTransfer::sweep(TimePoint now)
{
    if (!isConnected_)
        return true; // The limit for connecting is libcurl's.
    const auto received = number(easy(), CURLINFO_SIZE_DOWNLOAD_T);
    // Bytes in the kernel's buffer have not been sent: on a slow line that can be most of a minute's worth.
    const auto written = number(easy(), CURLINFO_SIZE_UPLOAD_T);
    const auto unacknowledged = bodyLength() > 0 ? unacknowledgedBytes(easy()) : 0;
    tellProgress(std::max<std::int64_t>(written - unacknowledged, 0), received);
    const auto moved = written - unacknowledged + received + static_cast<std::int64_t>(headerBytes_);
    return !idle_.observe(now, moved);
}

bool CurlTransfer::readOn()
{
    // Bytes that are left after a read without progress are the start of a record; its rest is still to arrive.
    const auto received = static_cast<std::int64_t>(headerBytes_) + bodyBytes_;
    if (received == readOnAt_ || !hasReadAhead(easy()))
        return false;
    readOnAt_ = received;
    forceRead(easy());
    return true;
}

void CurlTransfer::tellProgress(std::int64_t sent, std::int64_t received)
{
    if (!onProgress_)
        return;
    const bool isUpload = bodyLength() > 0;
    if (!isUpload && response.status != 200 && response.status != 206)
        return;
    const auto bytes = isUpload ? sent : received;
    if (bytes <= toldProgress_)
        return;
    toldProgress_ = bytes;
    const auto length = isUpload ? bodyLength() : number(easy(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T);
    onProgress_(bytes, std::max(length, bytes));
}

std::exception_ptr CurlTransfer::conclude(CURLcode code)
{
    if (error_)
        return error_;
    if (code == CURLE_OK || hasEnough_) {
        try {
            sink_->finish();
        } catch (...) {
            return std::current_exception();
        }
        tellProgress(number(easy(), CURLINFO_SIZE_UPLOAD_T), number(easy(), CURLINFO_SIZE_DOWNLOAD_T));
        return nullptr;
    }
    CurlFault fault;
    fault.code = wasRepeated_ ? CURLE_GOT_NOTHING : code;
    fault.hasBegun = isConnected_;
    fault.host = target().host;
    fault.detail = detail_[0] != '\0' ? detail_.data() : curl_easy_strerror(code);
    long systemError = 0;
    curl_easy_getinfo(easy(), CURLINFO_OS_ERRNO, &systemError);
    fault.systemError = static_cast<int>(systemError);
    return errorFor(fault);
}

std::optional<B2TransactionMetrics> CurlTransfer::metrics() const
{
    if (!isConnected_)
        return std::nullopt;
    B2TransactionMetrics metrics;
    metrics.host = target().host;
    metrics.networkProtocolName = "http/1.1";
    long newConnections = 0;
    curl_easy_getinfo(easy(), CURLINFO_NUM_CONNECTS, &newConnections);
    metrics.isReusedConnection = newConnections == 0;
    metrics.bytesSent = number(easy(), CURLINFO_SIZE_UPLOAD_T);
    metrics.bytesReceived = number(easy(), CURLINFO_SIZE_DOWNLOAD_T);
    if (const auto begun = seconds(easy(), CURLINFO_STARTTRANSFER_TIME_T); begun > 0 && hasBodyBegun_)
        metrics.responseSeconds = seconds(easy(), CURLINFO_TOTAL_TIME_T) - begun;
    if (!metrics.isReusedConnection) {
        const auto connected =
            std::max(seconds(easy(), CURLINFO_CONNECT_TIME_T), seconds(easy(), CURLINFO_APPCONNECT_TIME_T));
        metrics.connectSeconds = connected - seconds(easy(), CURLINFO_NAMELOOKUP_TIME_T);
    }
    return metrics;
}

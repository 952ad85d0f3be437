#include "B2Kit/transport/CurlFaults.h"

#include "B2Kit/B2Error.h"

#include <cerrno>
#include <fmt/format.h>

namespace {

using Code = B2TransportError::Code;

std::exception_ptr transportError(Code code, std::string sentence)
{
    return std::make_exception_ptr(B2TransportError(code, std::move(sentence)));
}

std::exception_ptr connectError(const CurlFault& fault)
{
    switch (fault.systemError) {
    case ECONNREFUSED:
        return transportError(Code::cannotConnect, fmt::format("The connection to {} was refused.", fault.host));
    case ENETUNREACH:
    case EHOSTUNREACH:
    case ENETDOWN:
        return transportError(
            Code::cannotConnect, fmt::format("There is no route to {}. Check the network connection.", fault.host));
    case ETIMEDOUT:
        return transportError(Code::cannotConnect, fmt::format("The connection to {} timed out.", fault.host));
    default:
        return transportError(Code::cannotConnect, fmt::format("Couldn't connect to {}.", fault.host));
    }
}

bool wasCutInHandshake(const CurlFault& fault)
{
    return fault.code == CURLE_SSL_CONNECT_ERROR
        && (fault.detail.find("SSL_ERROR_SYSCALL") != std::string::npos
            || fault.detail.find("Connection reset") != std::string::npos
            || fault.detail.find("unexpected eof") != std::string::npos);
}

/// The distribution's libcurl caps header bytes by itself, and calls it a failure to receive.
bool hasHugeHeaders(const CurlFault& fault)
{
    return fault.code == CURLE_RECV_ERROR && fault.detail.starts_with("Too large response headers");
}

std::exception_ptr invalidResponse(std::string text)
{
    return std::make_exception_ptr(B2Error(B2Error::InvalidResponse{std::move(text)}));
}

} // namespace

std::exception_ptr errorFor(const CurlFault& fault)
{
    const auto lost = [&] {
        return transportError(fault.hasBegun ? Code::connectionLost : Code::cannotConnect,
            fmt::format("The connection to {} was lost.", fault.host));
    };
    if (wasCutInHandshake(fault))
        return lost();
    if (hasHugeHeaders(fault))
        return invalidResponse("The headers of the answer are too large");
    switch (fault.code) {
    case CURLE_OPERATION_TIMEDOUT:
        return transportError(fault.hasBegun ? Code::timedOut : Code::cannotConnect,
            fmt::format("The connection to {} timed out.", fault.host));
    case CURLE_COULDNT_RESOLVE_HOST:
        return transportError(Code::cannotFindHost, fmt::format("The server {} could not be found.", fault.host));
    case CURLE_COULDNT_CONNECT:
        return connectError(fault);
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_FAIL_REWIND:
        return lost();
    case CURLE_SSL_CONNECT_ERROR:
        return transportError(Code::insecureConnection,
            fmt::format("No secure connection to {} could be made: {}.", fault.host, fault.detail));
    case CURLE_PEER_FAILED_VERIFICATION:
    case CURLE_SSL_ISSUER_ERROR:
    case CURLE_SSL_INVALIDCERTSTATUS:
        return transportError(
            Code::insecureConnection, fmt::format("The certificate of {} is not valid: {}.", fault.host, fault.detail));
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CERTPROBLEM:
        return transportError(Code::insecureConnection,
            fmt::format("The certificates to check {} with could not be used: {}.", fault.host, fault.detail));
    case CURLE_URL_MALFORMAT:
        return transportError(Code::badURL, "The service's address is not a valid URL.");
    // Since the scheme was checked, "unsupported" means an answer without a status line.
    case CURLE_UNSUPPORTED_PROTOCOL:
    case CURLE_WEIRD_SERVER_REPLY:
    case CURLE_BAD_CONTENT_ENCODING:
    case CURLE_OUT_OF_MEMORY: // libcurl's word for a header line beyond its own limit.
        return invalidResponse(fmt::format("Expected an HTTP response, got \"{}\"", fault.detail));
    default:
        return transportError(Code::other, fmt::format("The request to {} failed: {}.", fault.host, fault.detail));
    }
}

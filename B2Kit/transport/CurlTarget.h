#pragma once

#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/transport/CurlHandles.h"

#include <string>

/// The destination of a request.
struct CurlTarget {
    std::string host;      ///< For texts and metrics.
    std::string authority; ///< Scheme, host and port: requests of the same one share connections.
};

/// Accepts https, and http for loopback addresses. Nothing is looked up or sent.
///
/// @throws B2TransportError (`badURL`) for anything else, for user names and for blanks and control characters.
CurlTarget checkedTarget(const std::string& url);

/// Builds the header lines for libcurl.
///
/// @throws B2TransportError (`badURL`) when a name or value contains a line break.
CurlList headerLines(const std::vector<B2HTTPHeader>& headers);

#pragma once

#include "B2Kit/transport/B2Transport.h"
#include "B2Kit/transport/CurlHandles.h"

#include <string>

/// Where a request goes.
struct CurlTarget {
    std::string host;      ///< For texts and metrics.
    std::string authority; ///< Scheme, host and port: requests of the same one share connections.
};

/// Accepts https, and http for loopback addresses. Nothing is looked up or sent.
///
/// @throws B2TransportError (`badURL`) for anything else, for user names and for blanks and control characters.
CurlTarget checkedTarget(const std::string& url);

/// The header lines as libcurl takes them.
///
/// @throws B2TransportError (`badURL`) when a name or value could start a line of its own.
CurlList headerLines(const std::vector<B2HTTPHeader>& headers);

#pragma once

#include <curl/curl.h>
#include <exception>
#include <string>

/// What libcurl reports about a request that got no answer.
struct CurlFault {
    CURLcode code = CURLE_OK;
    int systemError = 0;   ///< The `errno` of the last connect, or 0.
    bool hasBegun = false; ///< The request had begun to go out, so that it may have been carried out.
    std::string host;
    std::string detail; ///< libcurl's own words.
};

/// The error to throw for it: B2TransportError, or B2Error when the answer was no HTTP.
std::exception_ptr errorFor(const CurlFault& fault);

#pragma once

#include <curl/curl.h>
#include <exception>
#include <string>

/// libcurl's report on a request that got no answer.
struct CurlFault {
    CURLcode code = CURLE_OK;
    int systemError = 0;   ///< The `errno` of the last connect, or 0.
    bool hasBegun = false; ///< The request had begun to go out, so it may have been carried out.
    std::string host;
    std::string detail; ///< libcurl's own words.
};

/// Returns the error to throw: B2TransportError, or B2Error when the answer was not HTTP.
std::exception_ptr errorFor(const CurlFault& fault);

#include "B2Kit/transport/CurlReadAhead.h"

#include <cstddef>
#include <openssl/ssl.h>

namespace {

/// Two records and a little more. OpenSSL moves its read-ahead bytes for each record, so more would not be cheaper.
constexpr std::size_t readAheadBytes = 34 * 1024;

CURLcode prepare(CURL*, void* context, void*)
{
    auto* const settings = static_cast<SSL_CTX*>(context);
    SSL_CTX_set_read_ahead(settings, 1);
    SSL_CTX_set_default_read_buffer_len(settings, readAheadBytes);
    return CURLE_OK;
}

} // namespace

void enableReadAhead(CURL* easy)
{
    // A libcurl with another TLS library refuses this and reads in its own way.
    curl_easy_setopt(easy, CURLOPT_SSL_CTX_FUNCTION, &prepare);
}

bool hasReadAhead(CURL* easy)
{
    curl_tlssessioninfo* session = nullptr;
    if (curl_easy_getinfo(easy, CURLINFO_TLS_SSL_PTR, &session) != CURLE_OK || !session || !session->internals
        || session->backend != CURLSSLBACKEND_OPENSSL)
        return false;
    return SSL_has_pending(static_cast<const SSL*>(session->internals)) == 1;
}

void forceRead(CURL* easy)
{
    // After a pause libcurl assumes that bytes may already have been read off the socket.
    curl_easy_pause(easy, CURLPAUSE_RECV);
    curl_easy_pause(easy, CURLPAUSE_CONT);
}

#pragma once

#include <curl/curl.h>

// Inside B2Kit: reads two TLS records at once. By default OpenSSL asks the kernel twice for each record of 16 KB.

/// Lets the handle's TLS connections read beyond the record that is wanted.
void enableReadAhead(CURL* easy);

/// Are there bytes that were read ahead? libcurl looks only at the socket, where they no longer are.
bool hasReadAhead(CURL* easy);

/// Makes libcurl read from a running transfer at its next turn, even if the socket has nothing.
void forceRead(CURL* easy);

#pragma once

#include <curl/curl.h>

// Inside B2Kit: two TLS records at once. By itself OpenSSL asks the kernel twice for each record of 16 KB.

/// Lets the handle's TLS connections read beyond the record that is wanted.
void enableReadAhead(CURL* easy);

/// Are there bytes that were read ahead? libcurl looks for them at the socket only, where they no longer are.
bool hasReadAhead(CURL* easy);

/// Makes libcurl read from a running transfer at its next turn, whatever the socket says.
void forceRead(CURL* easy);

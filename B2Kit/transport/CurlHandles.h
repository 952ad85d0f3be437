#pragma once

#include <curl/curl.h>
#include <memory>

// libcurl's handles, each with an owner.

struct CurlDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    void operator()(CURLU* handle) const { curl_url_cleanup(handle); }
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

using CurlEasy = std::unique_ptr<CURL, CurlDeleter>;
using CurlURL = std::unique_ptr<CURLU, CurlDeleter>;
using CurlList = std::unique_ptr<curl_slist, CurlDeleter>;

#pragma once

#include <curl/curl.h>

#include <memory>

namespace tarn {

struct CurlEasyDeleter {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
using CurlEasy = std::unique_ptr<CURL, CurlEasyDeleter>;

struct CurlMultiDeleter {
  void operator()(CURLM* handle) const { curl_multi_cleanup(handle); }
};
using CurlMulti = std::unique_ptr<CURLM, CurlMultiDeleter>;

struct CurlListDeleter {
  void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};
using CurlList = std::unique_ptr<curl_slist, CurlListDeleter>;

}  // namespace tarn

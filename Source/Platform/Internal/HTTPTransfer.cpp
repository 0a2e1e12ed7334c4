#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include "Platform/Internal/HTTPErrors.h"
#include "Platform/Internal/HTTPTransfer.h"
#include "Platform/Text.h"

namespace tarn {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

/// libcurl reads zero as "no limit" and accepts nothing beyond an `int`.
long milliseconds(std::chrono::milliseconds limit) {
  return static_cast<long>(std::clamp<std::int64_t>(limit.count(), 1, std::numeric_limits<int>::max()));
}

}  // namespace

HTTPTransfer::HTTPTransfer(const HTTPConfiguration& configuration, std::function<void()> aboutToSend)
    : configuration_(configuration), aboutToSend_(std::move(aboutToSend)), handle_(curl_easy_init()) {
  if (handle_) configure();
}

void HTTPTransfer::configure() {
  CURL* handle = handle_.get();
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 1L);
  curl_easy_setopt(handle, CURLOPT_MAXREDIRS,
                   static_cast<long>(std::max(configuration_.maximumRedirects, 0)));
  curl_easy_setopt(handle, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_2TLS));
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYPEER, 1L);
  curl_easy_setopt(handle, CURLOPT_SSL_VERIFYHOST, 2L);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT_MS, milliseconds(configuration_.connectTimeout));
  curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
  // Otherwise libcurl waits for an abandoned name look-up, and every other transfer with it.
  curl_easy_setopt(handle, CURLOPT_QUICK_EXIT, 1L);
  if (!configuration_.discardBodies) curl_easy_setopt(handle, CURLOPT_ACCEPT_ENCODING, "");
  curl_easy_setopt(handle, CURLOPT_ERRORBUFFER, errorText_.data());
  curl_easy_setopt(handle, CURLOPT_HEADERFUNCTION, &HTTPTransfer::onHeader);
  curl_easy_setopt(handle, CURLOPT_HEADERDATA, this);
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, &HTTPTransfer::onBody);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, this);
  curl_easy_setopt(handle, CURLOPT_PREREQFUNCTION, &HTTPTransfer::onAboutToSend);
  curl_easy_setopt(handle, CURLOPT_PREREQDATA, this);
}

CURLcode HTTPTransfer::prepare(const HTTPRequest& request, std::chrono::nanoseconds timeAllowed) {
  if (!handle_) return CURLE_FAILED_INIT;
  timeAllowed_ = std::chrono::ceil<std::chrono::milliseconds>(timeAllowed);
  curl_easy_setopt(handle_.get(), CURLOPT_TIMEOUT_MS, milliseconds(timeAllowed_));
  errorText_.front() = '\0';
  response_ = {};
  headerSize_ = 0;
  bodySize_ = 0;
  redirectsWhenSent_.reset();
  if (!setHeaders(request)) return CURLE_OUT_OF_MEMORY;
  return curl_easy_setopt(handle_.get(), CURLOPT_URL, request.url.absoluteString().c_str());
}

bool HTTPTransfer::setHeaders(const HTTPRequest& request) {
  CurlList list;
  for (const auto& [name, value] : request.headers) {
    // "Name:" would remove the field; "Name;" sends it empty.
    const std::string line = trimmedOf(value, kBlanks).empty() ? name + ";" : name + ": " + value;
    curl_slist* longer = curl_slist_append(list.get(), line.c_str());
    if (longer == nullptr) return false;
    (void)list.release();
    list.reset(longer);
  }
  curl_easy_setopt(handle_.get(), CURLOPT_HTTPHEADER, list.get());
  headers_ = std::move(list);
  return true;
}

Result<HTTPResponse> HTTPTransfer::finish(const URL& url, CURLcode code) {
  const char* effectiveURL = nullptr;
  if (handle_) curl_easy_getinfo(handle_.get(), CURLINFO_EFFECTIVE_URL, &effectiveURL);
  HTTPResponse response = std::exchange(response_, {});  // a body may be large
  response.effectiveURL = effectiveURL != nullptr ? effectiveURL : "";
  if (code != CURLE_OK) {
    return transportError(url,
                          {.code = code,
                           .text = errorText_.data(),
                           .effectiveURL = std::move(response.effectiveURL),
                           .timeAllowed = timeAllowed_,
                           .sent = wasSent(),
                           .bodyTooLarge = bodySize_ > configuration_.maximumBodySize,
                           .headerTooLarge = headerSize_ > kMaxHeaderSize},
                          configuration_);
  }
  long status = 0;
  curl_easy_getinfo(handle_.get(), CURLINFO_RESPONSE_CODE, &status);
  response.status = static_cast<int>(status);
  return response;
}

bool HTTPTransfer::receiveHeader(std::string_view line) {
  headerSize_ += line.size();
  if (headerSize_ > kMaxHeaderSize) return false;
  if (configuration_.discardBodies) return true;
  if (line.starts_with("HTTP/")) {
    response_.headers.clear();  // those of an interim response or of a redirect
    return true;
  }
  const auto colon = line.find(':');
  if (colon == std::string_view::npos) return true;
  response_.headers.emplace_back(asciiLowerCase(trimmedOf(line.substr(0, colon), kBlanks)),
                                 trimmedOf(line.substr(colon + 1), kBlanks));
  return true;
}

bool HTTPTransfer::receiveBody(std::string_view piece) {
  bodySize_ += piece.size();
  if (bodySize_ > configuration_.maximumBodySize) return false;
  if (!configuration_.discardBodies) response_.body.append(piece);
  return true;
}

long HTTPTransfer::redirects() const {
  long count = 0;
  if (handle_) curl_easy_getinfo(handle_.get(), CURLINFO_REDIRECT_COUNT, &count);
  return count;
}

bool HTTPTransfer::wasSent() const {
  return redirectsWhenSent_ == redirects();
}

bool HTTPTransfer::maySend() {
  if (wasSent() && configuration_.neverResend) return false;
  redirectsWhenSent_ = redirects();
  aboutToSend_();
  return true;
}

std::size_t HTTPTransfer::onHeader(char* data, std::size_t size, std::size_t count, void* self) try {
  const std::string_view line(data, size * count);
  return static_cast<HTTPTransfer*>(self)->receiveHeader(line) ? line.size() : 0;
} catch (const std::bad_alloc&) {
  return 0;
}

std::size_t HTTPTransfer::onBody(char* data, std::size_t size, std::size_t count, void* self) try {
  const std::string_view piece(data, size * count);
  return static_cast<HTTPTransfer*>(self)->receiveBody(piece) ? piece.size() : 0;
} catch (const std::bad_alloc&) {
  return 0;
}

int HTTPTransfer::onAboutToSend(void* self, char*, char*, int, int) {
  return static_cast<HTTPTransfer*>(self)->maySend() ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

}  // namespace tarn

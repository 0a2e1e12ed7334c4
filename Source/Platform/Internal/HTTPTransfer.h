#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <string_view>

#include "Platform/HTTPSession.h"
#include "Platform/Internal/CurlHandles.h"

namespace tarn {

/// One exchange after another over one easy handle, which is set up once and then reused. Belongs to the
/// thread that drives its multi handle.
class HTTPTransfer {
 public:
  /// `aboutToSend` is called from within libcurl when a connection is there and the request goes out next,
  /// also for each redirect. `configuration` must outlive the transfer.
  HTTPTransfer(const HTTPConfiguration& configuration, std::function<void()> aboutToSend);
  HTTPTransfer(const HTTPTransfer&) = delete;
  HTTPTransfer& operator=(const HTTPTransfer&) = delete;
  ~HTTPTransfer() = default;

  [[nodiscard]] CURL* handle() const { return handle_.get(); }

  /// Makes the handle ready to be added to a multi handle; the exchange may take `timeAllowed`. Anything but
  /// CURLE_OK: the handle cannot be used.
  [[nodiscard]] CURLcode prepare(const HTTPRequest& request, std::chrono::nanoseconds timeAllowed);

  /// The outcome of the exchange for `url` that ended with `code`; leaves the transfer ready for the next.
  [[nodiscard]] Result<HTTPResponse> finish(const URL& url, CURLcode code);

 private:
  void configure();
  bool setHeaders(const HTTPRequest& request);
  bool receiveHeader(std::string_view line);
  bool receiveBody(std::string_view piece);
  [[nodiscard]] long redirects() const;
  /// Whether the request went out since the last redirect.
  [[nodiscard]] bool wasSent() const;
  bool maySend();

  static std::size_t onHeader(char* data, std::size_t size, std::size_t count, void* self);
  static std::size_t onBody(char* data, std::size_t size, std::size_t count, void* self);
  static int onAboutToSend(void* self, char* remoteIP, char* localIP, int remotePort, int localPort);

  const HTTPConfiguration& configuration_;
  const std::function<void()> aboutToSend_;
  CurlList headers_;
  std::array<char, CURL_ERROR_SIZE> errorText_{};
  std::chrono::milliseconds timeAllowed_{0};
  HTTPResponse response_;
  std::size_t headerSize_ = 0;
  std::size_t bodySize_ = 0;
  std::optional<long> redirectsWhenSent_;  // redirects behind the request that went out last
  CurlEasy handle_;                        // last: it points at what stands above
};

}  // namespace tarn

#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <optional>
#include <string_view>

#include "Platform/HTTPSession.h"
#include "Platform/Internal/CurlHandles.h"

namespace tarn {

/// Performs requests one after another with one easy handle, which is set up once and then reused. Belongs to
/// the thread that drives its multi handle.
class HTTPTransfer {
 public:
  /// `aboutToSend` is called from within libcurl when a connection is open and the request is about to be
  /// sent, also for each redirect. `configuration` must outlive the transfer.
  HTTPTransfer(const HTTPConfiguration& configuration, std::function<void()> aboutToSend);
  HTTPTransfer(const HTTPTransfer&) = delete;
  HTTPTransfer& operator=(const HTTPTransfer&) = delete;
  ~HTTPTransfer() = default;

  [[nodiscard]] CURL* handle() const { return handle_.get(); }

  /// Prepares the handle for a multi handle; the request may take `timeAllowed`. Unless CURLE_OK is returned
  /// the handle cannot be used.
  [[nodiscard]] CURLcode prepare(const HTTPRequest& request, std::chrono::nanoseconds timeAllowed);

  /// The result of the request for `url` that ended with `code`; the transfer can then be used again.
  [[nodiscard]] Result<HTTPResponse> finish(const URL& url, CURLcode code);

 private:
  void configure();
  bool setHeaders(const HTTPRequest& request);
  bool receiveHeader(std::string_view line);
  bool receiveBody(std::string_view piece);
  [[nodiscard]] long redirects() const;
  /// Whether the request was sent after the last redirect.
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
  std::optional<long> redirectsWhenSent_;  // the redirect count when a request was last sent
  CurlEasy handle_;                        // last: it points to the members above
};

}  // namespace tarn

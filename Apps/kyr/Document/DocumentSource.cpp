#include "Document/DocumentSource.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <optional>

#include "Lumo/ReadTimeline.h"
#include "Platform/HTTPSession.h"
#include "Platform/MainQueue.h"
#include "Platform/Text.h"
#include "Terminal/Report.h"

namespace tarn::cli {
namespace {

/// More than any request may take; a request ends by its own time-outs.
constexpr std::chrono::minutes kMaxLoadTime{10};

bool isRemote(std::string_view source) {
  constexpr std::size_t kMaxSchemeSize = 8;  // "https://"
  const std::string begin = asciiLowerCase(source.substr(0, kMaxSchemeSize));
  return begin.starts_with("http://") || begin == "https://";
}

Error unreadable(const std::string& path, int code) {
  return callError(fmt::format("{}: {}", path, std::strerror(code)));
}

Error tooLarge(const std::string& path) {
  Error cause = Error::make(kHTTPErrorDomain, HTTPErrorCode::responseTooLarge,
                            fmt::format("{}: the document is larger than {} bytes", path, kMaxDocumentSize));
  return withUnderlying(Error::make(TarnLumoErrorDomain, TarnLumoDocumentErrorCodeConnection),
                        std::move(cause));
}

Result<std::string> readFile(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) return unreadable(path, errno);
  std::string bytes;
  std::array<char, 65536> buffer;
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file.get())) {
    bytes.append(buffer.data(), count);
    if (bytes.size() > kMaxDocumentSize) return tooLarge(path);
  }
  if (std::ferror(file.get()) != 0) return unreadable(path, errno);
  return bytes;
}

/// The file's URL, every character that could end or change a path escaped.
Result<URL> fileURL(const std::string& path) {
  std::error_code failure;
  const auto absolute = std::filesystem::absolute(path, failure);
  std::string text = "file://";
  for (const char c : absolute.string()) {
    const bool plain =
        isASCIILetter(c) || isASCIIDigit(c) || std::string_view("/-._~").find(c) != std::string_view::npos;
    text += plain ? std::string(1, c) : fmt::format("%{:02X}", static_cast<unsigned char>(c));
  }
  auto url = URL::fromString(text);
  if (failure || !url) return callError(fmt::format("{}: the path forms no URL", path));
  return *std::move(url);
}

Result<LoadedTimeline> timelineOfFile(const std::string& path) {
  const auto bytes = readFile(path);
  if (!bytes) return bytes.error();
  auto reading = readTimeline(*bytes);
  if (!reading.timeline) return reading.timeline.error();
  return LoadedTimeline{*std::move(reading.timeline), std::move(reading.prefix), std::move(reading.warnings)};
}

/// Shared with the completion, which may be called after the waiting has been given up.
template <typename T>
using Slot = std::shared_ptr<std::optional<Result<T>>>;

template <typename T>
Slot<T> makeSlot() {
  return std::make_shared<std::optional<Result<T>>>();
}

/// Runs the main queue until `slot` is filled.
template <typename T>
Result<T> awaited(const Slot<T>& slot, const std::string& source) {
  if (!MainQueue::shared().runUntil([&slot] { return slot->has_value(); }, kMaxLoadTime)) {
    return Error::make(TarnLumoErrorDomain, TarnLumoDocumentErrorCodeConnection,
                       fmt::format("{}: no answer within {} minutes", source, kMaxLoadTime.count()));
  }
  return **std::move(slot);
}

Result<LoadedTimeline> fetchTimeline(const URL& url, TarnLumoHTTPHeaders headers) {
  const auto result = makeSlot<LoadedTimeline>();
  const auto document = std::make_shared<TarnLumoDocument>(url);
  document->retrieveOnQueue(
      MainQueue::shared(), std::move(headers), [result, weak = std::weak_ptr(document)](auto, auto error) {
        const auto retrieved = weak.lock();
        if (error) {
          result->emplace(*std::move(error));
        } else if (retrieved) {
          result->emplace(LoadedTimeline{retrieved->timeline(), retrieved->vmapExtensionsNamespace(),
                                         retrieved->warnings()});
        }
      });
  return awaited(result, url.absoluteString());
}

Result<std::string> fetchBytes(const URL& url, TarnLumoHTTPHeaders headers) {
  const auto result = makeSlot<std::string>();
  HTTPSession session;
  session.start({url, std::move(headers)}, MainQueue::shared(), [result](Result<HTTPResponse> response) {
    if (response) {
      result->emplace(std::move(response)->body);
      return;
    }
    result->emplace(withUnderlying(Error::make(TarnLumoErrorDomain, TarnLumoDocumentErrorCodeConnection),
                                   response.error()));
  });
  return awaited(result, url.absoluteString());
}

/// The headers that the options add to a request, in their order.
Result<TarnLumoHTTPHeaders> requestHeaders(const SourceOptions& options) {
  TarnLumoHTTPHeaders headers;
  for (const std::string_view text : options.headers) {
    const auto colon = text.find(':');
    const auto name = text.substr(0, colon);
    const auto value =
        colon == std::string_view::npos ? std::string_view() : trimmedOf(text.substr(colon + 1), " \t");
    if (colon == std::string_view::npos || !isHTTPToken(name) || !isHTTPFieldValue(value)) {
      return callError(fmt::format("--header '{}': expected 'Name: value'", text));
    }
    headers.emplace_back(name, value);
  }
  return headers;
}

/// The source's URL; absent when it is a path.
Result<std::optional<URL>> remoteURL(const SourceOptions& options) {
  if (!isRemote(options.source)) return std::optional<URL>();
  auto url = URL::fromString(options.source);
  if (!url || url->host().empty()) return callError(fmt::format("{}: not a URL", options.source));
  return url;
}

}  // namespace

Result<SessionDocument> documentForSession(const SourceOptions& options) {
  auto headers = requestHeaders(options);
  if (!headers) return headers.error();
  const auto remote = remoteURL(options);
  if (!remote) return remote.error();
  if (*remote) return SessionDocument{**remote, *std::move(headers), nullptr};

  auto bytes = readFile(options.source);
  if (!bytes) return bytes.error();
  const auto url = fileURL(options.source);
  if (!url) return url.error();
  return SessionDocument{*url, *std::move(headers),
                         [bytes = *std::move(bytes)](const HTTPRequest&, const FetchCompletion& completion) {
                           completion(bytes);
                           return nullptr;
                         }};
}

Result<LoadedTimeline> loadTimeline(const SourceOptions& options) {
  auto headers = requestHeaders(options);
  if (!headers) return headers.error();
  const auto url = remoteURL(options);
  if (!url) return url.error();
  return *url ? fetchTimeline(**url, *std::move(headers)) : timelineOfFile(options.source);
}

Result<std::string> loadBytes(const SourceOptions& options) {
  auto headers = requestHeaders(options);
  if (!headers) return headers.error();
  const auto url = remoteURL(options);
  if (!url) return url.error();
  return *url ? fetchBytes(**url, *std::move(headers)) : readFile(options.source);
}

}  // namespace tarn::cli

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

#include "Platform/HTTPSession.h"
#include "Platform/Queue.h"
#include "Platform/Text.h"
#include "Terminal/Report.h"

namespace tarn::cli {
namespace {

/// More than any request may take; a request ends by its own time-outs.
constexpr std::chrono::minutes kLoadLimit{10};

bool isRemote(std::string_view source) {
  constexpr std::size_t kLongestScheme = 8;  // "https://"
  const std::string begin = asciiLowerCase(source.substr(0, kLongestScheme));
  return begin.starts_with("http://") || begin == "https://";
}

Error unreadable(const std::string& path, int code) {
  return callError(fmt::format("{}: {}", path, std::strerror(code)));
}

Error tooLarge(const std::string& path) {
  Error cause =
      Error::make(kHTTPErrorDomain, HTTPErrorCode::responseTooLarge,
                  fmt::format("{}: the document is larger than {} bytes", path, kMaximumDocumentSize));
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
    if (bytes.size() > kMaximumDocumentSize) return tooLarge(path);
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

Result<LoadedTimeline> readTimeline(const std::string& path) {
  const auto bytes = readFile(path);
  if (!bytes) return bytes.error();
  const auto url = fileURL(path);
  if (!url) return url.error();
  const auto document = std::make_shared<TarnLumoDocument>(*url);
  auto timeline = TarnLumoDeserializeTimelineFromDataWithError(*document, *bytes);
  if (!timeline) return timeline.error();
  return LoadedTimeline{*std::move(timeline), document->vmapExtensionsNamespace(), document->warnings()};
}

/// A completion may come when nobody waits for it any more: it owns the place of its result.
template <typename T>
using Slot = std::shared_ptr<std::optional<Result<T>>>;

template <typename T>
Slot<T> makeSlot() {
  return std::make_shared<std::optional<Result<T>>>();
}

/// Runs the main queue until `slot` is filled.
template <typename T>
Result<T> awaited(const Slot<T>& slot, const std::string& source) {
  if (!MainQueue::shared().runUntil([&slot] { return slot->has_value(); }, kLoadLimit)) {
    return Error::make(TarnLumoErrorDomain, TarnLumoDocumentErrorCodeConnection,
                       fmt::format("{}: no answer within {} minutes", source, kLoadLimit.count()));
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

}  // namespace

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

Result<std::optional<URL>> remoteURL(const SourceOptions& options) {
  if (!isRemote(options.source)) return std::optional<URL>();
  auto url = URL::fromString(options.source);
  if (!url || url->host().empty()) return callError(fmt::format("{}: not a URL", options.source));
  return url;
}

Result<LoadedTimeline> loadTimeline(const SourceOptions& options) {
  auto headers = requestHeaders(options);
  if (!headers) return headers.error();
  const auto url = remoteURL(options);
  if (!url) return url.error();
  return *url ? fetchTimeline(**url, *std::move(headers)) : readTimeline(options.source);
}

Result<std::string> loadBytes(const SourceOptions& options) {
  auto headers = requestHeaders(options);
  if (!headers) return headers.error();
  const auto url = remoteURL(options);
  if (!url) return url.error();
  return *url ? fetchBytes(**url, *std::move(headers)) : readFile(options.source);
}

}  // namespace tarn::cli

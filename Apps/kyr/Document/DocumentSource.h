#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Lumo/TarnLumoDocument.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Result.h"

namespace tarn::cli {

/// Where a command's document comes from, as the command line gives it.
struct SourceOptions {
  std::string source;                ///< A path, or an http or https URL.
  std::vector<std::string> headers;  ///< "Name: value"; only requests carry them.
};

struct LoadedTimeline {
  std::shared_ptr<const TarnLumoTimeline> timeline;
  std::string vmapExtensionsNamespace;
  std::vector<TarnLumoWarning> warnings;
};

/// Files larger than this are refused, as response bodies are.
inline constexpr std::size_t kMaximumDocumentSize = std::size_t{64} << 20U;

/// Loads the document as a session would, driving the main queue meanwhile. Main thread only. Errors: of the
/// call's domain when the source or a header is wrong or the file cannot be read; otherwise the document's.
[[nodiscard]] Result<LoadedTimeline> loadTimeline(const SourceOptions& options);

/// The headers that the options add to a request, in their order. Errors are of the call's domain, also those
/// of `remoteURL`.
[[nodiscard]] Result<TarnLumoHTTPHeaders> requestHeaders(const SourceOptions& options);
/// The source's URL; absent when it is a path.
[[nodiscard]] Result<std::optional<URL>> remoteURL(const SourceOptions& options);

/// The document's bytes alone; the errors are those of `loadTimeline`.
[[nodiscard]] Result<std::string> loadBytes(const SourceOptions& options);

}  // namespace tarn::cli

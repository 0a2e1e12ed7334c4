#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Lumo/Fetch.h"
#include "Lumo/TarnLumoDocument.h"
#include "Lumo/TarnLumoTimeline.h"
#include "Platform/Result.h"

namespace tarn::cli {

/// The source of a command's document, as the command line gives it.
struct SourceOptions {
  std::string source;                ///< A path, or an http or https URL.
  std::vector<std::string> headers;  ///< "Name: value"; only requests carry them.
};

struct SessionDocument {
  URL url;
  TarnLumoHTTPHeaders headers;  ///< Those of the command line.
  Fetch fetch;                  ///< Delivers the bytes of a file; empty for a URL.
};

struct LoadedTimeline {
  std::shared_ptr<const TarnLumoTimeline> timeline;
  std::string vmapExtensionsNamespace;
  std::vector<TarnLumoWarning> warnings;
};

/// Files larger than this are refused, as response bodies are.
inline constexpr std::size_t kMaxDocumentSize = std::size_t{64} << 20U;

/// Loads the document as a session would, driving the main queue meanwhile. Main thread only. Errors: of the
/// call's domain when the source or a header is wrong or the file cannot be read; otherwise the document's.
[[nodiscard]] Result<LoadedTimeline> loadTimeline(const SourceOptions& options);

/// The document as a session fetches it. A file is read at once. Errors: of the call's domain when the source
/// or a header is wrong or the file cannot be read; the document's when the file is too large.
[[nodiscard]] Result<SessionDocument> documentForSession(const SourceOptions& options);

/// The document's bytes alone; the errors are those of `loadTimeline`.
[[nodiscard]] Result<std::string> loadBytes(const SourceOptions& options);

}  // namespace tarn::cli

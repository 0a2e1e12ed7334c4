#pragma once

#include <memory>

#include "Document/DocumentServer.h"
#include "Document/DocumentSource.h"
#include "Lumo/TarnLumoDocument.h"

namespace tarn::cli {

/// Where a session can fetch a command's document.
struct DocumentAddress {
  URL url;
  TarnLumoHTTPHeaders headers;             ///< Those of the command line.
  std::unique_ptr<DocumentServer> server;  ///< Serves a document that is a file; null for a URL.
};

/// Errors: of the call's domain when the source or a header is wrong or the file cannot be read.
[[nodiscard]] Result<DocumentAddress> addressOf(const SourceOptions& options);

}  // namespace tarn::cli

#include "Document/DocumentAddress.h"

#include <utility>

namespace tarn::cli {

Result<DocumentAddress> addressOf(const SourceOptions& options) {
  auto headers = requestHeaders(options);
  if (!headers) return headers.error();
  auto url = remoteURL(options);
  if (!url) return url.error();
  if (*url) return DocumentAddress{**std::move(url), *std::move(headers), nullptr};

  auto bytes = loadBytes(options);
  if (!bytes) return bytes.error();
  auto server = DocumentServer::serve(*std::move(bytes));
  if (!server) return server.error();
  const URL served = (*server)->url();
  return DocumentAddress{served, *std::move(headers), *std::move(server)};
}

}  // namespace tarn::cli

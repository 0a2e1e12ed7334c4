#pragma once

#include <memory>
#include <string>

#include "Platform/Result.h"
#include "Platform/URL.h"

namespace tarn::cli {

/// Serves one document on the loopback interface, on a thread of its own, for as long as it lives: how a
/// session that fetches its document over HTTP gets one that is a file.
class DocumentServer {
 public:
  [[nodiscard]] static Result<std::unique_ptr<DocumentServer>> serve(std::string bytes);
  DocumentServer(const DocumentServer&) = delete;
  DocumentServer& operator=(const DocumentServer&) = delete;
  ~DocumentServer();

  [[nodiscard]] const URL& url() const;

 private:
  class Listener;
  explicit DocumentServer(std::unique_ptr<Listener> listener);
  std::unique_ptr<Listener> listener_;
};

}  // namespace tarn::cli

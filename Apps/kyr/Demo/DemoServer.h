#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "Demo/BeaconLog.h"
#include "Platform/Result.h"

namespace tarn::cli {

/// The demo service's HTTP server, on a thread of its own.
class DemoServer {
 public:
  /// Serves from its construction on. `segments` is the folder of the demo stream's files.
  [[nodiscard]] static Result<std::unique_ptr<DemoServer>> listen(int port, std::filesystem::path segments);
  DemoServer(const DemoServer&) = delete;
  DemoServer& operator=(const DemoServer&) = delete;
  ~DemoServer();

  /// "http://127.0.0.1:PORT".
  [[nodiscard]] const std::string& baseURL() const;

 private:
  class Routes;
  explicit DemoServer(std::unique_ptr<Routes> routes);
  std::unique_ptr<Routes> routes_;
};

}  // namespace tarn::cli

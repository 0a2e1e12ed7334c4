#pragma once

#include <sys/types.h>

#include <string>

namespace tarn::test {

/// A running `kyr serve` on a free port. The demo stream is made once per build folder.
class KyrService {
 public:
  KyrService();
  KyrService(const KyrService&) = delete;
  KyrService& operator=(const KyrService&) = delete;
  ~KyrService();

  [[nodiscard]] int port() const { return port_; }
  [[nodiscard]] std::string url(const std::string& path) const;
  /// Ends the process with a signal and returns its exit status.
  int end(int signal);

 private:
  pid_t process_ = -1;
  int output_ = -1;
  int port_ = 0;
};

}  // namespace tarn::test

#pragma once

namespace tarn::cli {

/// Reports a request to end by SIGINT or SIGTERM, to check or to wait for. While it exists these signals do
/// not end the process. One at a time.
class Interruption {
 public:
  Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  ~Interruption();

  [[nodiscard]] bool requested() const;
  void wait() const;
  /// Readable after the request; for `poll`.
  [[nodiscard]] int descriptor() const { return readEnd_; }

 private:
  int readEnd_ = -1;
  int writeEnd_ = -1;
};

}  // namespace tarn::cli

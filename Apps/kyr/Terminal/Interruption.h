#pragma once

namespace tarn::cli {

/// The wish to end, from SIGINT or SIGTERM, as something to ask and to wait for. While one exists these
/// signals do not end the process by themselves. One at a time.
class Interruption {
 public:
  Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  ~Interruption();

  [[nodiscard]] bool requested() const;
  void wait() const;
  /// Readable once it was requested; for `poll`.
  [[nodiscard]] int descriptor() const { return readEnd_; }

 private:
  int readEnd_ = -1;
  int writeEnd_ = -1;
};

}  // namespace tarn::cli

#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

namespace tarn {

class HTTPLoop;

/// Initializes libcurl, once in the process. Any thread; before any other use of libcurl.
void prepareCurl();

/// The loops that run in this process. When it exits, those still running are stopped and waited for before
/// the TLS library, which libcurl initialized, is cleaned up.
class RunningLoops {
 public:
  static RunningLoops& shared();

  /// Registers `loop` as running during its own lifetime; false when the process is exiting and nothing may
  /// start.
  class Registration {
   public:
    explicit Registration(HTTPLoop& loop);
    ~Registration();
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;
    explicit operator bool() const { return registered_; }

   private:
    HTTPLoop& loop_;
    const bool registered_;
  };

  void endAll();

 private:
  bool add(HTTPLoop& loop);
  void remove(HTTPLoop& loop);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<HTTPLoop*> loops_;
  bool exiting_ = false;
};

}  // namespace tarn

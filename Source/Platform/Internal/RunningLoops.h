#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

namespace tarn {

class HTTPLoop;

/// Sets libcurl up, once in the process. Any thread; before anything else of libcurl.
void prepareCurl();

/// The loops that run in this process. Those that still do when it exits are stopped and waited for before
/// the TLS library, which libcurl set up, takes itself down beneath them.
class RunningLoops {
 public:
  static RunningLoops& shared();

  /// Counts `loop` as running while it lives; false when the process exits already and nothing may start.
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

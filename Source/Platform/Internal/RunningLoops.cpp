#include "Platform/Internal/RunningLoops.h"

#include <curl/curl.h>

#include <algorithm>

#include "Platform/Internal/HTTPLoop.h"
#include "Platform/PerProcess.h"

namespace tarn {

void prepareCurl() {
  // Exit handlers run in reverse order: those that libcurl registered here run after `AtExit`'s destructor.
  static const CURLcode ready = curl_global_init(CURL_GLOBAL_DEFAULT);
  (void)ready;
  static const struct AtExit {
    ~AtExit() { RunningLoops::shared().endAll(); }
  } atExit{};
}

RunningLoops& RunningLoops::shared() {
  static auto& instances =
      *new PerProcess<RunningLoops>;  // never destroyed: loops end while the process exits
  return instances.get();
}

bool RunningLoops::add(HTTPLoop& loop) {
  const std::lock_guard lock(mutex_);
  if (!exiting_) loops_.push_back(&loop);
  return !exiting_;
}

void RunningLoops::remove(HTTPLoop& loop) {
  const std::lock_guard lock(mutex_);
  std::erase(loops_, &loop);
  changed_.notify_all();
}

void RunningLoops::endAll() {
  std::unique_lock lock(mutex_);
  exiting_ = true;
  for (HTTPLoop* loop : loops_) loop->stop();
  changed_.wait(lock, [this] { return loops_.empty(); });
}

RunningLoops::Registration::Registration(HTTPLoop& loop) : loop_(loop), registered_(shared().add(loop)) {}

RunningLoops::Registration::~Registration() {
  if (registered_) shared().remove(loop_);
}

}  // namespace tarn

#include "Platform/Log.h"

#include <pthread.h>

#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "Platform/PerProcess.h"

namespace tarn {
namespace {

/// Never destroyed: other threads and static objects may log until the very end of the process.
struct Log {
  std::mutex mutex;  // guards `sinks`; never held while a sink runs
  std::vector<std::shared_ptr<LogSink>> sinks;

  struct Calls {
    /// Recursive, because a sink may itself log, or end its own installation.
    std::recursive_mutex mutex;
    bool insideSink = false;
  };
  PerProcess<Calls> calls;

  std::shared_ptr<LogSink> newestSink() {
    const std::lock_guard lock(mutex);
    return sinks.empty() ? nullptr : sinks.back();
  }
};

Log& sharedLog() {
  static Log& log = *new Log;
  return log;
}

/// A fork waits until no thread changes the state that the child copies. Registered before `main`, so that
/// the application's own fork handlers may log.
[[maybe_unused]] const int keptWhole = pthread_atfork(
    [] { sharedLog().mutex.lock(); }, [] { sharedLog().mutex.unlock(); }, [] { sharedLog().mutex.unlock(); });

void writeToStandardError(std::string_view line) {
  std::string whole;
  whole.reserve(line.size() + 1);
  whole.append(line).push_back('\n');
  std::fwrite(whole.data(), 1, whole.size(), stderr);
}

void callSink(Log::Calls& calls, LogSink& sink, std::string_view line) {
  struct Inside {
    explicit Inside(bool& flag) : flag_(flag) { flag_ = true; }
    ~Inside() { flag_ = false; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    bool& flag_;
  };
  const Inside inside(calls.insideSink);
  sink(line);
}

}  // namespace

void writeLogLine(std::string_view line) {
  Log& log = sharedLog();
  Log::Calls& calls = log.calls.get();
  const std::lock_guard lock(calls.mutex);
  const auto sink = log.newestSink();  // outlives a sink that ends its own installation
  if (!sink || calls.insideSink) return writeToStandardError(line);
  callSink(calls, *sink, line);
}

Token installLogSink(LogSink sink) {
  Log& log = sharedLog();
  const auto installed = std::make_shared<LogSink>(std::move(sink));
  const std::scoped_lock lock(log.mutex);
  log.sinks.push_back(installed);
  return Token([installed] {
    Log& owner = sharedLog();
    const std::scoped_lock ending(owner.calls->mutex, owner.mutex);
    std::erase(owner.sinks, installed);
  });
}

}  // namespace tarn

namespace {

std::atomic<int> hostLogLevel{1};

}  // namespace

void MHLog(int level, std::string_view text) {
  if (MHLogIsEnabled(level)) tarn::writeLogLine(text);
}

void MHLogSetLevel(int level) {
  hostLogLevel.store(level, std::memory_order_relaxed);
}

bool MHLogIsEnabled(int level) {
  return level <= hostLogLevel.load(std::memory_order_relaxed);
}

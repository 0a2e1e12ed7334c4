#include "Platform/Log.h"

#include <atomic>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace tarn {
namespace {

/// Never destroyed: other threads and static objects may log until the very end of the process.
struct Log {
  /// Recursive, because a sink may itself log, or end its own installation.
  std::recursive_mutex mutex;
  std::vector<std::shared_ptr<LogSink>> sinks;
  bool insideSink = false;
};

Log& sharedLog() {
  static Log& log = *new Log;
  return log;
}

void writeToStandardError(std::string_view line) {
  std::string whole;
  whole.reserve(line.size() + 1);
  whole.append(line).push_back('\n');
  std::fwrite(whole.data(), 1, whole.size(), stderr);
}

void callSink(Log& log, LogSink& sink, std::string_view line) {
  struct Inside {
    explicit Inside(bool& flag) : flag_(flag) { flag_ = true; }
    ~Inside() { flag_ = false; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
    bool& flag_;
  };
  const Inside inside(log.insideSink);
  sink(line);
}

}  // namespace

void writeLogLine(std::string_view line) {
  Log& log = sharedLog();
  const std::scoped_lock lock(log.mutex);
  if (log.sinks.empty() || log.insideSink) {
    writeToStandardError(line);
    return;
  }
  const auto sink = log.sinks.back();  // outlives a sink that ends its own installation
  callSink(log, *sink, line);
}

Token installLogSink(LogSink sink) {
  Log& log = sharedLog();
  const auto installed = std::make_shared<LogSink>(std::move(sink));
  const std::scoped_lock lock(log.mutex);
  log.sinks.push_back(installed);
  return Token([installed] {
    Log& owner = sharedLog();
    const std::scoped_lock ending(owner.mutex);
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

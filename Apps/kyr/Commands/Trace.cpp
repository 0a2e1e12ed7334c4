#include "Commands/Trace.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>

#include "Lumo/TarnLumoAnalyticsSession.h"
#include "Lumo/TarnLumoProgressTracker.h"
#include "Terminal/Report.h"
#include "Viewing/ReportingBeaconSink.h"
#include "Viewing/Script.h"
#include "Viewing/TracePrinter.h"

namespace tarn::cli {
namespace {

class Trace {
 public:
  Trace(std::shared_ptr<const TarnLumoTimeline> timeline, TracePrinter& printer)
      : printer_(printer), tracker_(std::make_shared<TarnLumoProgressTracker>(std::move(timeline))) {
    // The trace observes before the analytics, so that an event is printed before the beacons that it causes.
    observations_ = {
        tracker_->event().observe([this](const auto& event) { printer_.event(line_, *event); }),
        tracker_->contentTime().observe([this](CMTime time) { printer_.contentTime(line_, time); }),
        tracker_->contentSeekableTimeRanges().observe(
            [this](const auto& ranges) { printer_.ranges(line_, "seekable", ranges); }),
        tracker_->contentLoadedTimeRanges().observe(
            [this](const auto& ranges) { printer_.ranges(line_, "loaded", ranges); })};
    analytics_ = TarnLumoAnalyticsSession::initWithProgessTracker(
        tracker_, std::make_shared<TarnLumoAnalyticsDigester>(std::make_shared<ReportingBeaconSink>(
                      Beacons::reported, [this](const URL& url) { printer_.beacon(line_, url); })));
  }

  /// Returns what was expected when the line is not a command.
  [[nodiscard]] std::optional<std::string> execute(const ScriptLine& line);

 private:
  using Words = std::vector<std::string>;

  /// The commands return whether their words are valid.
  bool time(const Words& words);
  bool suspend(const Words& words);
  bool seekable(const Words& words);
  bool loaded(const Words& words);
  bool absolute(const Words& words);
  bool content(const Words& words);
  bool path(const Words& words);

  struct Command {
    std::string_view name;
    bool (Trace::*run)(const Words&);
    std::string_view usage;
  };
  static const std::array<Command, 7> kCommands;

  TracePrinter& printer_;
  std::shared_ptr<TarnLumoProgressTracker> tracker_;
  std::array<Token, 4> observations_;
  std::unique_ptr<TarnLumoAnalyticsSession> analytics_;
  std::size_t line_ = 0;
};

const std::array<Trace::Command, 7> Trace::kCommands{{
    {"time", &Trace::time, "'time T' with T a number of seconds or 'invalid'"},
    {"suspend", &Trace::suspend, "'suspend yes' or 'suspend no'"},
    {"seekable", &Trace::seekable, "'seekable S+D ...' in seconds, 'seekable empty' or 'seekable none'"},
    {"loaded", &Trace::loaded, "'loaded S+D ...' in seconds, 'loaded empty' or 'loaded none'"},
    {"absolute", &Trace::absolute, "'absolute T' with T a number of seconds or 'invalid'"},
    {"content", &Trace::content, "'content T' with T a number of seconds or 'invalid'"},
    {"path", &Trace::path, "'path T' with T a number of seconds or 'invalid'"},
}};

std::optional<CMTime> onlyTime(const std::vector<std::string>& words) {
  return words.size() == 2 ? timeFromWord(words[1]) : std::nullopt;
}

/// Absent unless the words are ranges, "empty" or "none".
std::optional<TarnLumoProgressTracker::TimeRanges> parseRanges(const std::vector<std::string>& words) {
  if (words.size() < 2) return std::nullopt;
  std::vector<CMTimeRange> ranges;
  if (words.size() == 2 && words[1] == "none") return TarnLumoProgressTracker::TimeRanges();
  if (words.size() == 2 && words[1] == "empty") return ranges;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const auto range = rangeFromWord(words[i]);
    if (!range) return std::nullopt;
    ranges.push_back(*range);
  }
  return ranges;
}

std::optional<std::string> Trace::execute(const ScriptLine& line) {
  line_ = line.number;
  const auto& name = line.words.front();
  const auto* command = std::find_if(kCommands.begin(), kCommands.end(),
                                     [&name](const Command& candidate) { return candidate.name == name; });
  if (command == kCommands.end()) {
    return fmt::format(
        "unknown command '{}'; expected time, suspend, seekable, loaded, absolute, content or path", name);
  }
  if ((this->*command->run)(line.words)) return std::nullopt;
  return fmt::format("expected {}", command->usage);
}

bool Trace::time(const Words& words) {
  const auto time = onlyTime(words);
  if (time) tracker_->setAbsoluteTime(*time);
  return time.has_value();
}

bool Trace::suspend(const Words& words) {
  if (words.size() != 2 || (words[1] != "yes" && words[1] != "no")) return false;
  tracker_->setSuspendProgress(words[1] == "yes");
  return true;
}

bool Trace::seekable(const Words& words) {
  auto ranges = parseRanges(words);
  if (!ranges) return false;
  tracker_->setAbsoluteSeekableTimeRanges(*std::move(ranges));
  return true;
}

bool Trace::loaded(const Words& words) {
  auto ranges = parseRanges(words);
  if (!ranges) return false;
  tracker_->setAbsoluteLoadedTimeRanges(*std::move(ranges));
  return true;
}

bool Trace::absolute(const Words& words) {
  const auto time = onlyTime(words);
  if (time) {
    printer_.contentTimeAtAbsoluteTime(line_, *time, tracker_->timeline()->contentTimeAtAbsoluteTime(*time));
  }
  return time.has_value();
}

bool Trace::content(const Words& words) {
  const auto time = onlyTime(words);
  if (time) {
    printer_.absoluteTimeAtContentTime(line_, *time, tracker_->timeline()->absoluteTimeAtContentTime(*time));
  }
  return time.has_value();
}

bool Trace::path(const Words& words) {
  const auto time = onlyTime(words);
  if (time) printer_.path(line_, tracker_->timeline()->pathAtTime(*time));
  return time.has_value();
}

Result<void> traceAll(Trace& trace, ScriptReader& reader) {
  for (;;) {
    const auto line = reader.next();
    if (!line) return line.error();
    if (!*line) return {};
    if (const auto wrong = trace.execute(**line)) return reader.wrongLine(**line, *wrong);
  }
}

}  // namespace

int runTrace(const TraceOptions& options) {
  auto reader = ScriptReader::open(options.input);
  if (!reader) return reportFailure(reader.error(), options.json);
  const auto loaded = loadTimeline(options.source);
  if (!loaded) return reportFailure(loaded.error(), options.json);
  const auto printer =
      options.json ? makeJsonTracePrinter(*loaded->timeline) : makeTextTracePrinter(*loaded->timeline);
  Trace trace(loaded->timeline, *printer);
  const auto done = traceAll(trace, *reader);
  return done ? kDone : reportFailure(done.error(), options.json);
}

}  // namespace tarn::cli

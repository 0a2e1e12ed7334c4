#include "HostMpv/Internal/MpvCore.h"

#include <fmt/format.h>
#include <mpv/client.h>

#include <array>
#include <clocale>
#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

#include "Host/StreamError.h"
#include "Platform/PerProcess.h"
#include "Platform/WithoutSignals.h"

namespace tarn {
namespace {

/// Of all times of this player.
constexpr CMTimeScale kTimescale = 90'000;

using Option = std::pair<const char*, const char*>;

/// By default libmpv reads no configuration and takes no input; here it runs no scripts either. Only FFmpeg's
/// demuxers: mpv's own make several items of one URL. An item that has ended stays open, so that a seek can
/// lead back into it.
constexpr std::array<Option, 14> kOptions{{{"load-scripts", "no"},
                                           {"load-stats-overlay", "no"},
                                           {"load-osd-console", "no"},
                                           {"load-auto-profiles", "no"},
                                           {"ytdl", "no"},
                                           {"autoload-files", "no"},
                                           {"resume-playback", "no"},
                                           {"pause", "yes"},
                                           {"keep-open", "yes"},
                                           {"keep-open-pause", "no"},
                                           {"demuxer", "lavf"},
                                           {"tls-verify", "yes"},
                                           {"network-timeout", "20"},
                                           {"cache-secs", "30"}}};

/// What a reply or a changed property belongs to.
enum Subject : std::uint64_t { kLoad = 1, kSeek, kEnd, kStarved, kDuration };

Error startError() {
  return Error::make(TarnPlayerErrorDomain, TarnPlayerErrorCode::other, "mpv could not be started");
}

/// mpv refuses to start when the process reads numbers in another locale than C. To change that here would
/// change it for the whole application, and mpv's threads read numbers for as long as they run.
Error noHandleError() {
  Error error = startError();
  const char* const locale = std::setlocale(LC_NUMERIC, nullptr);
  if (!locale || std::string_view(locale) == "C") return error;
  error.failureReason = fmt::format("It needs the numbers of the C locale, and LC_NUMERIC is {}", locale);
  error.recoverySuggestion = "Call setlocale(LC_NUMERIC, \"C\") after any other setlocale.";
  return error;
}

Error mpvError(int code) {
  return Error::make("mpv", code, mpv_error_string(code));
}

TarnPlayerErrorCode classify(int code, bool hasComplaint) {
  if (code == MPV_ERROR_NOTHING_TO_PLAY) return TarnPlayerErrorCode::notPlayable;
  // Also mpv's error for a playlist whose segments cannot be fetched; then there is a complaint.
  if (code == MPV_ERROR_UNKNOWN_FORMAT && !hasComplaint) return TarnPlayerErrorCode::notPlayable;
  return TarnPlayerErrorCode::cannotOpen;
}

}  // namespace

Result<std::unique_ptr<MpvCore>> MpvCore::open(const URL& url, const MpvPlayerOptions& options,
                                               std::function<void()> onWakeup) {
  static const unsigned generation = forkGeneration();
  if (generation != forkGeneration()) return forkedError("mpv");
  const WithoutSignals withoutSignals;
  std::unique_ptr<MpvCore> core(new MpvCore(std::move(onWakeup)));
  if (!core->handle_) return noHandleError();
  if (const auto started = core->start(options); !started) return started.error();
  const std::string& address = url.absoluteString();
  std::array<const char*, 3> command{"loadfile", address.c_str(), nullptr};
  mpv_command_async(core->handle_.get(), kLoad, command.data());
  return core;
}

MpvCore::MpvCore(std::function<void()> onWakeup)
    : generation_(forkGeneration()),
      onWakeup_(std::move(onWakeup)),
      handle_(mpv_create(), mpv_terminate_destroy) {}

MpvCore::~MpvCore() {
  if (generation_ != forkGeneration()) static_cast<void>(handle_.release());
}

Result<void> MpvCore::start(const MpvPlayerOptions& options) {
  mpv_handle* const handle = handle_.get();
  for (const auto& [name, value] : kOptions) mpv_set_option_string(handle, name, value);
  mpv_set_option_string(handle, "vo", options.videoOutput.c_str());
  mpv_set_option_string(handle, "ao", options.audioOutput.c_str());
  mpv_observe_property(handle, kEnd, "eof-reached", MPV_FORMAT_FLAG);
  mpv_observe_property(handle, kStarved, "paused-for-cache", MPV_FORMAT_FLAG);
  mpv_observe_property(handle, kDuration, "duration", MPV_FORMAT_DOUBLE);
  const auto wake = [](void* core) { static_cast<MpvCore*>(core)->onWakeup_(); };
  mpv_set_wakeup_callback(handle, wake, this);
  const int code = mpv_initialize(handle);
  if (code >= 0) {
    mpv_request_log_messages(handle, "warn");
    return {};
  }
  return withUnderlying(startError(), mpvError(code));
}

void MpvCore::setPaused(bool paused) {
  int value = paused ? 1 : 0;
  mpv_set_property_async(handle_.get(), 0, "pause", MPV_FORMAT_FLAG, &value);
}

void MpvCore::seek(CMTime time) {
  progress_ = Progress::seekRequested;
  complaint_.reset();
  const std::string seconds = fmt::format("{:.6f}", CMTimeGetSeconds(time));
  std::array<const char*, 4> command{"seek", seconds.c_str(), "absolute+exact", nullptr};
  mpv_command_async(handle_.get(), kSeek, command.data());
}

std::optional<CMTime> MpvCore::time(const char* property) const {
  double seconds = 0;
  if (mpv_get_property(handle_.get(), property, MPV_FORMAT_DOUBLE, &seconds) < 0) return std::nullopt;
  return CMTimeMake(std::llround(seconds * kTimescale), kTimescale);
}

bool MpvCore::flag(const char* property) const {
  int value = 0;
  return mpv_get_property(handle_.get(), property, MPV_FORMAT_FLAG, &value) >= 0 && value != 0;
}

TarnPlayer::TimeRanges MpvCore::seekableRanges() const {
  const auto end = duration();
  if (!end || !flag("seekable")) return std::nullopt;
  return std::vector{CMTimeRangeMake(kCMTimeZero, *end)};
}

TarnPlayer::TimeRanges MpvCore::loadedRanges() const {
  const auto from = position();
  const auto until = receivedUntil();
  if (!from || !until || *until <= *from) return std::nullopt;
  return std::vector{CMTimeRangeMake(*from, CMTimeSubtract(*until, *from))};
}

std::optional<MpvEvent> MpvCore::nextEvent() {
  while (true) {
    const mpv_event& event = *mpv_wait_event(handle_.get(), 0);
    if (event.event_id == MPV_EVENT_NONE) return std::nullopt;
    if (auto translated = translate(event)) return translated;
  }
}

std::optional<MpvEvent> MpvCore::translate(const mpv_event& event) {
  switch (event.event_id) {
    case MPV_EVENT_COMMAND_REPLY:
      return replied(event);
    case MPV_EVENT_SEEK:
      if (progress_ == Progress::seekAccepted) progress_ = Progress::seekBegun;
      return std::nullopt;
    case MPV_EVENT_PLAYBACK_RESTART:
      return restarted();
    case MPV_EVENT_PROPERTY_CHANGE:
      return changed(event);
    case MPV_EVENT_END_FILE: {
      const auto& end = *static_cast<const mpv_event_end_file*>(event.data);
      if (end.reason != MPV_END_FILE_REASON_ERROR) return std::nullopt;
      return failed(end.error);
    }
    case MPV_EVENT_LOG_MESSAGE:
      keepComplaint(event);
      return std::nullopt;
    default:
      return std::nullopt;
  }
}

std::optional<MpvEvent> MpvCore::replied(const mpv_event& event) {
  const bool isRefused = event.error < 0;
  if (event.reply_userdata == kSeek) progress_ = isRefused ? Progress::idle : Progress::seekAccepted;
  if (!isRefused) return std::nullopt;
  return event.reply_userdata == kSeek ? MpvEvent{MpvEvent::Kind::seekFailed} : failed(event.error);
}

/// mpv also seeks by itself, to show the last picture at the end.
std::optional<MpvEvent> MpvCore::restarted() {
  if (progress_ != Progress::opening && progress_ != Progress::seekBegun) return std::nullopt;
  const bool isLoaded = std::exchange(progress_, Progress::idle) == Progress::opening;
  return MpvEvent{isLoaded ? MpvEvent::Kind::loaded : MpvEvent::Kind::landed};
}

std::optional<MpvEvent> MpvCore::changed(const mpv_event& event) {
  if (event.reply_userdata == kEnd) return std::nullopt;
  if (event.reply_userdata == kDuration) return MpvEvent{MpvEvent::Kind::durationChanged};
  return MpvEvent{MpvEvent::Kind::bufferingChanged};
}

/// mpv delivers log messages after all other events.
MpvEvent MpvCore::failed(int code) {
  while (true) {
    const mpv_event& event = *mpv_wait_event(handle_.get(), 0);
    if (event.event_id == MPV_EVENT_NONE) break;
    if (event.event_id == MPV_EVENT_LOG_MESSAGE) keepComplaint(event);
  }
  Error cause = mpvError(code);
  if (complaint_) cause = withUnderlying(std::move(cause), *complaint_);
  return {MpvEvent::Kind::failed, std::move(cause), classify(code, complaint_.has_value())};
}

void MpvCore::keepComplaint(const mpv_event& event) {
  const auto& message = *static_cast<const mpv_event_log_message*>(event.data);
  if (std::string_view(message.prefix) != "ffmpeg") return;
  const std::string_view text = message.text;
  complaint_ = Error::make("ffmpeg", 0, std::string(text.substr(0, text.find('\n'))));
}

}  // namespace tarn

#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "Platform/Error.h"
#include "Reactive/Tarn_RACDisposable.h"
#include "Reactive/Tarn_RACReplaySubject.h"
#include "Reactive/Tarn_RACSignal.h"

inline constexpr const char* Tarn_RACCommandErrorDomain = "Tarn_RACCommandErrorDomain";
inline constexpr std::int64_t Tarn_RACCommandErrorNotEnabled = 1;

namespace tarn::rac {

[[nodiscard]] Error commandNotEnabledError();

struct CommandState {
  bool allowed = true;
  bool executing = false;
};

/// One execution in progress. It ends when the work ends or is destroyed.
class CommandExecution {
 public:
  explicit CommandExecution(std::shared_ptr<CommandState> state) : state_(std::move(state)) {
    state_->executing = true;
  }
  CommandExecution(const CommandExecution&) = delete;
  CommandExecution& operator=(const CommandExecution&) = delete;
  ~CommandExecution() { end(); }

  void end() {
    if (const auto state = std::exchange(state_, nullptr)) state->executing = false;
  }

 private:
  std::shared_ptr<CommandState> state_;
};

}  // namespace tarn::rac

/// An action that can be enabled and disabled, and that never runs twice at the same time.
///
/// It is enabled until its signal sends false, then as the signal last sent, and never while an execution
/// runs. Everything happens synchronously on the caller's thread; the command, its signal and its executions
/// belong to one thread. An execution in progress continues when the command is destroyed.
template <typename Input, typename Output>
class Tarn_RACCommand {
 public:
  /// Makes the signal that does the work of one execution; the command subscribes to it at once.
  using Work = std::function<Tarn_RACSignal<Output>(const Input&)>;

  explicit Tarn_RACCommand(Work work) : work_(std::make_shared<const Work>(std::move(work))) {}
  Tarn_RACCommand(const Tarn_RACSignal<bool>& enabled, Work work) : Tarn_RACCommand(std::move(work)) {
    subscription_.add(enabled.subscribeNext([state = state_](bool allowed) { state->allowed = allowed; }));
  }

  [[nodiscard]] bool isEnabled() const { return state_->allowed && !state_->executing; }

  /// Runs the work, whether or not the returned signal is subscribed to; that signal replays all values and
  /// the end. While disabled nothing runs, and the returned signal ends with
  /// `Tarn_RACCommandErrorNotEnabled`.
  Tarn_RACSignal<Output> execute(const Input& input) const {
    if (!isEnabled()) return Tarn_RACSignal<Output>::error(tarn::rac::commandNotEnabledError());
    const auto execution = std::make_shared<tarn::rac::CommandExecution>(state_);
    const Tarn_RACReplaySubject<Output> results;
    const auto work = work_;  // the work may destroy this command
    (*work)(input).subscribeNext([results, execution](const Output& value) { results.sendNext(value); },
                                 [results, execution](const tarn::Error& error) {
                                   execution->end();
                                   results.sendError(error);
                                 },
                                 [results, execution] {
                                   execution->end();
                                   results.sendCompleted();
                                 });
    return results.signal();
  }

  /// For commands without an input.
  Tarn_RACSignal<Output> execute() const requires std::is_same_v<Input, Tarn_RACUnit> {
    return execute(Tarn_RACUnit());
  }

 private:
  std::shared_ptr<const Work> work_;
  std::shared_ptr<tarn::rac::CommandState> state_ = std::make_shared<tarn::rac::CommandState>();
  Tarn_RACDeallocDisposable subscription_;
};

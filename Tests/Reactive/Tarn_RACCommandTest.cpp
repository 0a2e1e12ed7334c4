#include "Reactive/Tarn_RACCommand.h"

#include <gtest/gtest.h>

#include <optional>

#include "SignalScript.h"

namespace tarn {
namespace {

using test::Recording;

using Command = Tarn_RACCommand<int, int>;
const std::string kRefused = std::string("!") + Tarn_RACCommandErrorDomain;

/// What a subscription to `signal` receives inside the subscribing call.
std::string lineOf(const Tarn_RACSignal<int>& signal) {
  const Recording recording;
  recording.subscribeTo(signal);
  return recording.line();
}

TEST(Tarn_RACCommandTest, IsEnabledUntilItsSignalSendsFalseAndAfterItSendsTrue) {
  const Tarn_RACSubject<bool> enabled;
  int executed = 0;
  const Command command(enabled, [&](int input) {
    ++executed;
    return Tarn_RACSignal<int>::returnValue(input + 1);
  });
  EXPECT_EQ(lineOf(command.execute(1)), "2 |");
  enabled.sendNext(false);
  std::optional<std::int64_t> refused;
  command.execute(2).subscribeNext(rac::Ignore(), [&](const Error& error) { refused = error.code; });
  EXPECT_EQ(refused, Tarn_RACCommandErrorNotEnabled);
  EXPECT_EQ(executed, 1);
  enabled.sendNext(true);
  enabled.sendCompleted();
  EXPECT_EQ(lineOf(command.execute(3)), "4 |");
}

TEST(Tarn_RACCommandTest, RunsTheWorkOnceAndSynchronouslyForAnyNumberOfSubscribers) {
  std::string log;
  const Tarn_RACCommand<Tarn_RACUnit, int> command([&](const Tarn_RACUnit&) {
    return Tarn_RACSignal<int>::create([&](const Tarn_RACSubscriber<int>& subscriber) {
      log += "run ";
      subscriber.sendNext(1);
      subscriber.sendCompleted();
    });
  });
  const auto results = command.execute();
  log += "returned ";
  EXPECT_EQ(lineOf(results), "1 |");
  EXPECT_EQ(lineOf(results), "1 |");
  EXPECT_EQ(log, "run returned ");
}

TEST(Tarn_RACCommandTest, IsDisabledWhileAnExecutionRunsAndEnabledWhenItEnds) {
  std::optional<Tarn_RACSubject<int>> work;
  const Command command([&](int) { return work.emplace().signal(); });
  const Recording first;
  std::string second = "not run";
  const auto results = command.execute(1);
  first.subscribeTo(results);
  results.subscribeNext(rac::Ignore(), [&](const Error&) { second = lineOf(command.execute(2)); });
  EXPECT_EQ(lineOf(command.execute(2)), kRefused);
  work->sendNext(5);
  const auto failing = *work;
  failing.sendError(test::errorNamed("e"));
  EXPECT_EQ(first.line(), "5 !e");
  EXPECT_EQ(second, "");
  EXPECT_FALSE(command.isEnabled());
  work->sendCompleted();
  EXPECT_TRUE(command.isEnabled());
  command.execute(3);
  EXPECT_FALSE(command.isEnabled());
  work.reset();
  EXPECT_TRUE(command.isEnabled()) << "the work was destroyed; its execution must be over";
}

TEST(Tarn_RACCommandTest, ContinuesAnExecutionAfterTheCommandIsDestroyed) {
  const Tarn_RACSubject<bool> enabled;
  const Tarn_RACSubject<int> work;
  std::optional<Command> command;
  command.emplace(enabled, [&](int) {
    command.reset();
    return work.signal();
  });
  const Recording recording;
  recording.subscribeTo(command->execute(1));
  EXPECT_FALSE(enabled.hasSubscribers());
  work.sendNext(1);
  work.sendCompleted();
  EXPECT_EQ(recording.line(), "1 |");
}

}  // namespace
}  // namespace tarn

#include "Host/Tarn_RACCommand.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>

#include "SignalScript.h"

namespace tarn {
namespace {

using test::errorNamed;
using test::Record;

using Command = Tarn_RACCommand<int, int>;
const std::string kRefused = std::string("!") + Tarn_RACCommandErrorDomain;

/// The line that a subscription to `signal` writes at once.
std::string lineOf(const Tarn_RACSignal<int>& signal) {
  const Record record;
  record.listen(signal);
  return record.line();
}

TEST(CommandTest, FollowsItsEnabledSignalAndIsEnabledBeforeIt) {
  const Tarn_RACSubject<bool> enabled;
  int executed = 0;
  const Command command(enabled, [&](int input) {
    ++executed;
    return Tarn_RACSignal<int>::returnValue(input + 1);
  });
  EXPECT_TRUE(command.isEnabled());
  EXPECT_EQ(lineOf(command.execute(1)), "2 |");
  enabled.sendNext(false);
  EXPECT_FALSE(command.isEnabled());
  EXPECT_EQ(lineOf(command.execute(2)), kRefused);
  EXPECT_EQ(executed, 1);
  enabled.sendNext(true);
  enabled.sendCompleted();
  EXPECT_EQ(lineOf(command.execute(3)), "4 |");
}

TEST(CommandTest, RefusesWithAnErrorThatSaysSo) {
  const Command command(Tarn_RACSignal<bool>::returnValue(false),
                        [](int) { return Tarn_RACSignal<int>::empty(); });
  std::optional<Error> refused;
  command.execute(1).subscribeError([&](const Error& error) { refused = error; });
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->domain, Tarn_RACCommandErrorDomain);
  EXPECT_EQ(refused->code, Tarn_RACCommandErrorNotEnabled);
  EXPECT_NE(chainDescription(*refused), "");
}

TEST(CommandTest, ExecutesOnceAndSynchronouslySubscribedToOrNot) {
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

TEST(CommandTest, DoesNotRunBesideItself) {
  const Tarn_RACSubject<int> work;
  const Command command([&](int) { return work.signal(); });
  const Record first;
  first.listen(command.execute(1));
  EXPECT_FALSE(command.isEnabled());
  EXPECT_EQ(lineOf(command.execute(2)), kRefused);
  work.sendNext(5);
  work.sendError(errorNamed("e"));
  EXPECT_EQ(first.line(), "5 !e");
  EXPECT_TRUE(command.isEnabled());
}

TEST(CommandTest, MayBeExecutedAgainByWhoIsToldOfTheEnd) {
  std::optional<Tarn_RACSubject<int>> work;
  const Command command([&](int) { return work.emplace().signal(); });
  std::string second = "not run";
  command.execute(1).subscribeCompleted([&] { second = lineOf(command.execute(2)); });
  const auto first = *work;
  first.sendCompleted();
  EXPECT_EQ(second, "");
  EXPECT_FALSE(command.isEnabled());
  work->sendCompleted();
  EXPECT_TRUE(command.isEnabled());
}

TEST(CommandTest, IsEnabledAgainWhenItsWorkIsLetGo) {
  auto work = std::make_optional<Tarn_RACSubject<int>>();
  const Command command([&](int) { return work->signal(); });
  command.execute(1);
  EXPECT_FALSE(command.isEnabled());
  work.reset();
  EXPECT_TRUE(command.isEnabled());
}

TEST(CommandTest, LetsAnExecutionGoOnWithoutIt) {
  const Tarn_RACSubject<bool> enabled;
  const Tarn_RACSubject<int> work;
  std::optional<Command> command;
  command.emplace(enabled, [&](int) {
    command.reset();
    return work.signal();
  });
  const Record record;
  record.listen(command->execute(1));
  EXPECT_FALSE(enabled.hasSubscribers());
  work.sendNext(1);
  work.sendCompleted();
  EXPECT_EQ(record.line(), "1 |");
}

TEST(CommandTest, RunsForEachInvocationOnlyWhileEnabled) {
  const Tarn_RACSubject<bool> inAdSequence;
  const Tarn_RACSubject<Tarn_RACUnit> invocations;
  int paused = 0;
  const Tarn_RACCommand<Tarn_RACUnit, int> pause(inAdSequence, [&](const Tarn_RACUnit&) {
    ++paused;
    return Tarn_RACSignal<int>::empty();
  });
  invocations.subscribeNext([&](const Tarn_RACUnit& unit) { pause.execute(unit); });
  const auto after = [&](std::optional<bool> inside) {
    if (inside) inAdSequence.sendNext(*inside);
    invocations.sendNext({});
    return paused;
  };
  EXPECT_EQ(after(std::nullopt), 1);
  EXPECT_EQ(after(true), 2);
  EXPECT_EQ(after(false), 2);
}

}  // namespace
}  // namespace tarn

#include "Host/Tarn_RACSubject.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Host/Tarn_RACInvocations.h"
#include "Host/Tarn_RACReplaySubject.h"
#include "SignalScript.h"

namespace tarn {
namespace {

using test::errorNamed;
using test::Record;

/// Writes "<name><value> " into one log for several subscribers; `then` runs after the writing.
template <typename Then>
Tarn_RACDisposable logged(const Tarn_RACSignal<int>& signal, std::string& log, const char* name, Then then) {
  return signal.subscribeNext(
      [&log, name, then](int value) mutable {
        log += name + std::to_string(value) + " ";
        then(value);
      },
      rac::Ignore(), [&log, name] { log += std::string(name) + "| "; });
}

constexpr auto kNothing = [](int) {};

TEST(SubjectTest, TellsInOrderOfSubscriptionAndInnerSendsFirst) {
  const Tarn_RACSubject<int> subject;
  std::string log;
  logged(subject, log, "x", kNothing);
  logged(subject, log, "y", [&](int value) {
    if (value == 1) subject.sendNext(2);
  });
  logged(subject, log, "z", kNothing);
  subject.sendNext(1);
  EXPECT_EQ(log, "x1 y1 x2 y2 z2 z1 ");
}

TEST(SubjectTest, AnEndSentInsideACallbackIsTheEndForAll) {
  const Tarn_RACSubject<int> subject;
  std::string log;
  logged(subject, log, "x", [&](int) { subject.sendCompleted(); });
  logged(subject, log, "y", kNothing);
  subject.sendNext(1);
  subject.sendNext(2);
  subject.sendError(errorNamed("late"));
  EXPECT_EQ(log, "x1 x| y| ");
}

TEST(SubjectTest, DisposingInsideACallbackConcernsOnlyWhatIsDisposedOf) {
  const Tarn_RACSubject<int> subject;
  std::string log;
  Tarn_RACDisposable x;
  Tarn_RACDisposable z;
  x = logged(subject, log, "x", [&](int) { x.dispose(); });
  logged(subject, log, "y", [&](int) { z.dispose(); });
  z = logged(subject, log, "z", kNothing);
  logged(subject, log, "w", kNothing);
  subject.sendNext(1);
  subject.sendNext(2);
  EXPECT_EQ(log, "x1 y1 w1 y2 w2 ");
}

TEST(SubjectTest, SubscribingInsideACallbackSeesOnlyLaterValues) {
  const Tarn_RACSubject<int> subject;
  std::string log;
  logged(subject, log, "x", [&](int value) {
    if (value == 1) logged(subject, log, "late", kNothing);
  });
  subject.sendNext(1);
  subject.sendNext(2);
  EXPECT_EQ(log, "x1 x2 late2 ");
}

TEST(SubjectTest, TellsWhoComesAfterTheEndOfTheEnd) {
  for (const bool fails : {true, false}) {
    const Tarn_RACSubject<int> subject;
    fails ? subject.sendError(errorNamed("e")) : subject.sendCompleted();
    const Record record;
    record.listen(subject.signal());
    EXPECT_EQ(record.line(), fails ? "!e" : "|");
    EXPECT_FALSE(subject.hasSubscribers());
  }
}

TEST(SubjectTest, MayBeLetGoByItsSubscribersInTheMiddleOfASend) {
  for (const bool atEnd : {true, false}) {
    auto subject = std::make_optional<Tarn_RACSubject<int>>();
    std::string log;
    subject->subscribeNext(
        [&](int) {
          subject.reset();
          log += "x1 ";
        },
        rac::Ignore(),
        [&] {
          subject.reset();
          log += "x| ";
        });
    logged(*subject, log, "y", kNothing);
    atEnd ? subject->sendCompleted() : subject->sendNext(1);
    EXPECT_EQ(log, atEnd ? "x| y| " : "x1 y1 ");
  }
}

TEST(SubjectTest, KeepsAValueStableForAllSubscribers) {
  const Tarn_RACSubject<std::vector<int>> subject;
  std::vector<int> value = {1, 2, 3};
  std::size_t seen = 0;
  subject.subscribeNext([&](const std::vector<int>&) { value = {}; });
  subject.subscribeNext([&](const std::vector<int>& told) { seen = told.size(); });
  subject.sendNext(value);
  EXPECT_EQ(seen, 3U);
}

TEST(SubjectTest, HoldsItsSubscribersWhoDoNotHoldIt) {
  auto subject = std::make_optional<Tarn_RACSubject<int>>();
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  bool told = false;
  // The disposable is dropped, and with the subject goes the subscription, without a word.
  subject->subscribeNext([witness](int) {}, [&](const Error&) { told = true; }, [&] { told = true; });
  witness.reset();
  EXPECT_FALSE(held.expired());
  auto signal = std::make_optional(subject->signal());
  subject.reset();
  EXPECT_FALSE(held.expired()) << "a signal made from the subject is a handle on it";
  signal.reset();
  EXPECT_TRUE(held.expired());
  EXPECT_FALSE(told);
}

/// What dies with a subscription may itself end and begin subscriptions of the same subject.
TEST(SubjectTest, LetsACallbacksDestructorUseTheSubject) {
  const Tarn_RACSubject<int> subject;
  std::string log;
  const auto other = logged(subject, log, "other", kNothing);
  struct OnDeath {
    std::function<void()> run;
    ~OnDeath() { run(); }
  };
  const auto first = subject.subscribeNext([death = std::make_shared<OnDeath>([&] {
                                              other.dispose();
                                              logged(subject, log, "new", kNothing);
                                              subject.sendNext(1);
                                            })](int) {});
  first.dispose();
  EXPECT_EQ(log, "new1 ");
}

TEST(ReplaySubjectTest, TellsThePastThenGoesOn) {
  const Tarn_RACReplaySubject<int> subject;
  std::string log;
  logged(subject.signal(), log, "x", [&](int value) {
    if (value == 1) logged(subject.signal(), log, "inside", kNothing);
  });
  subject.sendNext(1);
  subject.sendNext(2);
  subject.sendCompleted();
  subject.sendNext(3);
  logged(subject.signal(), log, "y", kNothing);
  EXPECT_EQ(log, "x1 inside1 x2 inside2 x| inside| y1 y2 y| ");
}

TEST(ReplaySubjectTest, KeepsTheOrderWhenItIsFedWhileItTellsThePast) {
  const Tarn_RACReplaySubject<int> subject;
  subject.sendNext(1);
  subject.sendNext(2);
  std::string log;
  logged(subject.signal(), log, "x", [&](int value) {
    if (value == 1) subject.sendNext(3);
  });
  subject.sendNext(4);
  EXPECT_EQ(log, "x1 x2 x3 x4 ");
}

TEST(InvocationsTest, TellOfEachCallInsideTheCall) {
  std::string log;
  {
    const Tarn_RACInvocations<> tapped;
    const Tarn_RACInvocations<int, std::string> sought;
    tapped.signal().subscribeNext([&](const Tarn_RACUnit&) { log += "tap "; }, rac::Ignore(),
                                  [&] { log += "completed "; });
    sought.signal()
        .reduceEach([](int at, const std::string& who) { return who + std::to_string(at); })
        .subscribeNext([&](const std::string& text) { log += text + " "; });
    tapped();
    sought(5, "me");
    tapped();
    log += "end";
  }
  EXPECT_EQ(log, "tap me5 tap end");
}

}  // namespace
}  // namespace tarn

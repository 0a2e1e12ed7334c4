#include "Host/Tarn_RACSignal.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SignalScript.h"

namespace tarn {
namespace {

using test::errorNamed;
using test::Record;
using test::Stage;

using Signal = Tarn_RACSignal<int>;

/// Any signal as a signal of texts, so that all rows of a table have one type.
template <typename T>
Tarn_RACSignal<std::string> texts(const Tarn_RACSignal<T>& signal) {
  return signal.map([](const T& value) { return test::textOf(value); });
}

struct Row {
  const char* name;
  std::function<Tarn_RACSignal<std::string>(const Stage&)> make;
  const char* script;
  const char* told;   // what the subscription is told
  const char* heard;  // the subjects that are still listened to afterwards
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

bool odd(int value) {
  return value % 2 != 0;
}

/// a's values choose: 0 the subject a itself, 1 b, 2 c, 3 a signal that completes at once.
Tarn_RACSignal<Signal> chosen(const Stage& stage) {
  return stage.a.map([b = stage.b.signal(), c = stage.c.signal()](int value) {
    return value == 1 ? b : value == 2 ? c : Signal::empty();
  });
}

std::optional<int> unlessZero(int value) {
  return value == 0 ? std::nullopt : std::optional(value);
}

const Row kRows[] = {
    {"Plain", [](const Stage& s) { return texts(s.a); }, "a1 b9 a2 a| a3 a! a|", "1 2 |", ""},
    {"PlainError", [](const Stage& s) { return texts(s.a); }, "a1 a! a2 a|", "1 !a", ""},
    {"Disposed", [](const Stage& s) { return texts(s.a); }, "a1 - a2 a|", "1", ""},
    {"Map", [](const Stage& s) { return texts(s.a.map([](int v) { return 10 * v; })); }, "a1 a2 a!",
     "10 20 !a", ""},
    {"ReduceEach",
     [](const Stage& s) { return texts(zip(s.a, s.b).reduceEach([](int a, int b) { return a - b; })); },
     "a5 b3", "2", "ab"},
    {"Filter", [](const Stage& s) { return texts(s.a.filter(odd)); }, "a1 a2 a3 a|", "1 3 |", ""},
    {"IgnoreNilOfOptionals", [](const Stage& s) { return texts(s.a.map(unlessZero).ignoreNil()); },
     "a1 a0 a2", "1 2", "a"},
    {"IgnoreNilOfPointers",
     [](const Stage& s) {
       return texts(s.a.map([](int v) { return v == 0 ? nullptr : std::make_shared<int>(v); })
                        .ignoreNil()
                        .map([](const std::shared_ptr<int>& v) { return *v; }));
     },
     "a1 a0 a2 a!", "1 2 !a", ""},
    {"Distinct", [](const Stage& s) { return texts(s.a.distinctUntilChanged()); }, "a1 a1 a2 a1 a1 a|",
     "1 2 1 |", ""},
    {"DistinctBy",
     [](const Stage& s) {
       return texts(s.a.distinctUntilChanged([](int x, int y) { return odd(x) == odd(y); }));
     },
     "a1 a3 a2 a4 a5", "1 2 5", "a"},
    {"StartWith", [](const Stage& s) { return texts(s.a.startWith(7)); }, "a1 a|", "7 1 |", ""},
    {"TakeNone", [](const Stage& s) { return texts(s.a.take(0)); }, "a1", "|", ""},
    {"TakeTwo", [](const Stage& s) { return texts(s.a.take(2)); }, "a1 a2 a3 a!", "1 2 |", ""},
    {"TakeMoreThanCome", [](const Stage& s) { return texts(s.a.take(2)); }, "a1 a|", "1 |", ""},
    {"Skip", [](const Stage& s) { return texts(s.a.skip(2)); }, "a1 a2 a3 a4 a|", "3 4 |", ""},
    {"SkipMoreThanCome", [](const Stage& s) { return texts(s.a.skip(2)); }, "a1 a|", "|", ""},
    {"TakeUntilValue", [](const Stage& s) { return texts(s.a.takeUntil(s.b)); }, "a1 b0 a2", "1 |", ""},
    {"TakeUntilCompletion", [](const Stage& s) { return texts(s.a.takeUntil(s.b)); }, "a1 b| a2", "1 |", ""},
    {"TakeUntilErrorOfTrigger", [](const Stage& s) { return texts(s.a.takeUntil(s.b)); }, "a1 b! a2", "1 2",
     "a"},
    {"TakeUntilErrorOfSource", [](const Stage& s) { return texts(s.a.takeUntil(s.b)); }, "a1 a!", "1 !a", ""},
    {"TakeUntilItself", [](const Stage& s) { return texts(s.a.takeUntil(s.a)); }, "a1 a2", "|", ""},
    {"TakeUntilSomethingOver", [](const Stage& s) { return texts(s.a.takeUntil(Signal::empty())); }, "a1",
     "|", ""},
    {"Concat", [](const Stage& s) { return texts(s.a.concat(s.b)); }, "a1 b8 a2 a| b9 b|", "1 2 9 |", ""},
    {"ConcatError", [](const Stage& s) { return texts(s.a.concat(s.b)); }, "a1 a! b9", "1 !a", ""},
    {"ConcatOfMany",
     [](const Stage& s) {
       return texts(concat(s.a, Signal::values({7, 8}), s.b, s.c));
     },
     "b1 a2 a| b3 b| c4 c|", "2 7 8 3 4 |", ""},
    {"Merge", [](const Stage& s) { return texts(merge(s.a, s.b, s.c)); }, "a1 b2 a3 a| c4 b| c5 c|",
     "1 2 3 4 5 |", ""},
    {"MergeError", [](const Stage& s) { return texts(s.a.merge(s.b)); }, "a1 b2 a! b3", "1 2 !a", ""},
    {"MergeOfTheSame", [](const Stage& s) { return texts(s.a.merge(s.a)); }, "a1 a|", "1 1 |", ""},
    {"Flatten", [](const Stage& s) { return texts(chosen(s).flatten()); },
     "b9 a1 b1 a2 b2 c3 a1 b4 a| b| c5 c|", "1 2 3 4 4 5 |", ""},
    {"FlattenInnerError", [](const Stage& s) { return texts(chosen(s).flatten()); }, "a1 a2 c1 b! c2", "1 !b",
     ""},
    {"FlattenOuterError", [](const Stage& s) { return texts(chosen(s).flatten()); }, "a1 b1 a! b2", "1 !a",
     ""},
    {"FlattenOuterOverFirst", [](const Stage& s) { return texts(chosen(s).flatten()); }, "a1 a| b1", "1",
     "b"},
    {"FlattenMapOfShortSequences",
     [](const Stage& s) { return texts(s.a.flattenMap([](int v) {
                            return Signal::values({v, 10 * v});
                          })); },
     "a1 a2 a|", "1 10 2 20 |", ""},
    {"Switch", [](const Stage& s) { return texts(chosen(s).switchToLatest()); }, "a1 b1 c9 a2 b9 c2 a1 b3",
     "1 2 3", "ab"},
    {"SwitchOuterOverFirst", [](const Stage& s) { return texts(chosen(s).switchToLatest()); },
     "a1 a| b1 b| b2", "1 |", ""},
    {"SwitchInnerOverFirst", [](const Stage& s) { return texts(chosen(s).switchToLatest()); },
     "a1 b1 b| a2 c2 a3 a|", "1 2 |", ""},
    {"SwitchInnerError", [](const Stage& s) { return texts(chosen(s).switchToLatest()); }, "a1 b! a2", "!b",
     ""},
    {"SwitchErrorOfTheLeft", [](const Stage& s) { return texts(chosen(s).switchToLatest()); }, "a1 a2 b! c1",
     "1", "ac"},
    {"Zip", [](const Stage& s) { return texts(zip(s.a, s.b)); }, "a1 a2 b7 a3 b8 b9 b6 a4", "1,7 2,8 3,9 4,6",
     "ab"},
    {"ZipOverWithNothingWaiting", [](const Stage& s) { return texts(zip(s.a, s.b)); }, "a1 b1 a|", "1,1 |",
     ""},
    {"ZipOverWithValuesWaiting", [](const Stage& s) { return texts(zip(s.a, s.b)); }, "a1 a2 a| b7 b8 b9",
     "1,7 2,8 |", ""},
    {"ZipError", [](const Stage& s) { return texts(zip(s.a, s.b)); }, "a1 a! b1", "!a", ""},
    {"ZipOfThree", [](const Stage& s) { return texts(zip(s.a, s.b, s.c)); }, "c3 b2 a1 c|", "1,2,3 |", ""},
    {"CombineLatest", [](const Stage& s) { return texts(combineLatest(s.a, s.b)); }, "a1 a2 b7 a3 a| b8 b|",
     "2,7 3,7 3,8 |", ""},
    {"CombineLatestError", [](const Stage& s) { return texts(combineLatest(s.a, s.b)); }, "a1 b2 b! a3",
     "1,2 !b", ""},
    {"CombineLatestOfTheSame", [](const Stage& s) { return texts(combineLatest(s.a, s.a)); }, "a1 a2",
     "1,1 2,1 2,2", "a"},
    {"Sample", [](const Stage& s) { return texts(s.a.sample(s.b)); }, "b0 a1 a2 b0 b0 a3 b0", "2 2 3", "ab"},
    {"SampleSourceOver", [](const Stage& s) { return texts(s.a.sample(s.b)); }, "a1 a| b0", "|", ""},
    {"SampleSamplerOver", [](const Stage& s) { return texts(s.a.sample(s.b)); }, "a1 b0 b| a2", "1 |", ""},
    {"SampleErrors", [](const Stage& s) { return texts(s.a.sample(s.b)); }, "a1 b!", "!b", ""},
    {"SampleByItself", [](const Stage& s) { return texts(s.a.sample(s.a)); }, "a1 a2", "1 2", "a"},
    // Each a with the newest b at its time, the first b being 0: how a state is looked up for each event.
    {"ZipWithASampledState", [](const Stage& s) { return texts(zip(s.a, s.b.startWith(0).sample(s.a))); },
     "a1 b7 a2 a3 b8 b9 a4 a|", "1,0 2,7 3,7 4,9 |", ""},
    {"DisposedInTheMiddle",
     [](const Stage& s) {
       return texts(zip(s.a, s.b).take(5).startWith({0, 0}).merge(zip(s.c, s.c)));
     },
     "a1 b1 c2 - a2 b2 c3", "0,0 1,1 2,2", ""},
};

class SignalTable : public testing::TestWithParam<Row> {};

TEST_P(SignalTable, TellsAndListensAsWritten) {
  Stage stage;
  const Record record;
  stage.disposable = record.listen(GetParam().make(stage));
  stage.play(GetParam().script);
  EXPECT_EQ(record.line(), GetParam().told);
  EXPECT_EQ(stage.heard(), GetParam().heard);
}

TEST_P(SignalTable, DescribesOnlySoThatTwoSubscriptionsAreAlike) {
  Stage stage;
  const Record first;
  const Record second;
  const auto signal = GetParam().make(stage);
  const Tarn_RACDisposable both;
  both.add(first.listen(signal));
  both.add(second.listen(signal));
  stage.disposable = both;
  stage.play(GetParam().script);
  EXPECT_EQ(first.line(), GetParam().told);
  EXPECT_EQ(second.line(), GetParam().told);
}

/// Where in the script the subscription is cut off, and how, makes no difference: nothing is told afterwards,
/// nobody is listened to, and what the callbacks held is freed.
TEST_P(SignalTable, FreesItsCallbacksAtEveryStep) {
  const std::string script = GetParam().script;
  for (std::size_t cut = 0; cut <= script.size(); ++cut) {
    if (cut < script.size() && script[cut] != ' ') continue;
    for (const bool dispose : {true, false}) {
      SCOPED_TRACE(script.substr(0, cut) + (dispose ? " disposed" : " let go"));
      auto stage = std::make_optional<Stage>();
      const Record record;
      auto witness = std::make_shared<int>(0);
      const std::weak_ptr<int> held = witness;
      const auto disposable = record.listen(GetParam().make(*stage), std::move(witness));
      stage->disposable = disposable;
      stage->play(script.substr(0, cut));
      if (dispose) {
        disposable.dispose();
        EXPECT_EQ(stage->heard(), "");
      } else {
        stage.reset();
      }
      EXPECT_TRUE(held.expired());
      const auto told = record.line();
      if (dispose) stage->play("a1 b1 c1 a| b| c|");
      EXPECT_EQ(record.line(), told);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Operators, SignalTable, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

struct NestedRow {
  const char* name;
  std::function<Tarn_RACSignal<std::string>(const Stage&)> make;
  const char* script;
  const char* trigger;  // the value in whose callback, the first time, the nested script is played
  const char* nested;
  const char* told;
};

void PrintTo(const NestedRow& row, std::ostream* out) {
  *out << row.name;
}

const NestedRow kNestedRows[] = {
    {"Plain", [](const Stage& s) { return texts(s.a); }, "a1 a3", "1", "a2", "1 2 3"},
    {"EndInside", [](const Stage& s) { return texts(s.a); }, "a1 a3", "1", "a| a2", "1 |"},
    {"DisposalInside", [](const Stage& s) { return texts(s.a.merge(s.a)); }, "a1 a3", "1", "- a2", "1"},
    {"Take", [](const Stage& s) { return texts(s.a.take(2)); }, "a1", "1", "a2 a3", "1 2 |"},
    {"TakeLast", [](const Stage& s) { return texts(s.a.take(1)); }, "a1 a3", "1", "a2", "1 |"},
    {"Distinct", [](const Stage& s) { return texts(s.a.distinctUntilChanged()); }, "a1 a1", "1", "a1 a2",
     "1 2 1"},
    {"TakeUntil", [](const Stage& s) { return texts(s.a.takeUntil(s.b)); }, "a1", "1", "b0 a2", "1 |"},
    {"Concat", [](const Stage& s) { return texts(s.a.concat(s.b)); }, "a1 b3", "1", "a| b2", "1 2 3"},
    {"StartWith", [](const Stage& s) { return texts(s.a.startWith(0)); }, "a2", "0", "a1", "0 2"},
    // The pair is taken out of the queues before it is sent.
    {"Zip", [](const Stage& s) { return texts(zip(s.a, s.b)); }, "a1 a2 b1 b3", "1,1", "b2 a3",
     "1,1 2,2 3,3"},
    {"ZipEnd", [](const Stage& s) { return texts(zip(s.a, s.b)); }, "a1 b1 b2", "1,1", "a|", "1,1 |"},
    {"CombineLatest", [](const Stage& s) { return texts(combineLatest(s.a, s.b)); }, "a1 b1 b3", "1,1", "a2",
     "1,1 2,1 2,3"},
    {"Sample", [](const Stage& s) { return texts(s.a.sample(s.b)); }, "a1 b0 b0", "1", "a2 b0", "1 2 2"},
    {"ZipWithASampledState", [](const Stage& s) { return texts(zip(s.a, s.b.startWith(0).sample(s.a))); },
     "a1 a3", "1,0", "b7 a2 b8", "1,0 2,7 3,8"},
    {"Switch", [](const Stage& s) { return texts(chosen(s).switchToLatest()); }, "a1 b1 b9 c3", "1",
     "a2 c2 b9", "1 2 3"},
    {"Flatten", [](const Stage& s) { return texts(chosen(s).flatten()); }, "a1 b1", "1", "a1 b2", "1 2 2"},
};

class NestedTable : public testing::TestWithParam<NestedRow> {};

TEST_P(NestedTable, DeliversDepthFirst) {
  const auto& row = GetParam();
  Stage stage;
  const Record record;
  bool played = false;
  stage.disposable = Tarn_RACDisposable();
  stage.disposable.add(record.listen(row.make(stage), nullptr, [&](const std::string& value) {
    if (played || value != row.trigger) return;
    played = true;
    stage.play(row.nested);
  }));
  stage.play(row.script);
  EXPECT_EQ(record.line(), row.told);
}

INSTANTIATE_TEST_SUITE_P(Operators, NestedTable, testing::ValuesIn(kNestedRows),
                         [](const auto& tested) { return tested.param.name; });

TEST(SignalTest, MakesShortSignals) {
  const std::vector<std::pair<Signal, const char*>> rows = {
      {Signal::returnValue(1), "1 |"}, {Signal::values({1, 2, 3}), "1 2 3 |"},
      {Signal::values({}), "|"},       {Signal::empty(), "|"},
      {Signal::never(), ""},           {Signal::error(errorNamed("e")), "!e"},
  };
  for (const auto& [signal, told] : rows) {
    const Record record;
    record.listen(signal);
    EXPECT_EQ(record.line(), told);
  }
}

TEST(SignalTest, CreatesOneWorkForEachSubscriptionAndCleansUpOnce) {
  std::string log;
  const auto signal = Signal::create([&log](const Tarn_RACSubscriber<int>& subscriber) {
    log += "start ";
    subscriber.sendNext(1);
    return Tarn_RACDisposable([&log] { log += "clean "; });
  });
  const Record record;
  const auto first = record.listen(signal);
  const auto second = record.listen(signal.map([](int v) { return v + 1; }));
  EXPECT_EQ(log, "start start ");
  first.dispose();
  first.dispose();
  EXPECT_EQ(log, "start start clean ");
  second.dispose();
  EXPECT_EQ(log, "start start clean clean ");
  EXPECT_EQ(record.line(), "1 2");
}

TEST(SignalTest, CleansUpBeforeItReportsTheEnd) {
  std::string log;
  const auto ending = [&log](bool fails, bool atOnce) {
    std::optional<Tarn_RACSubscriber<int>> kept;
    Signal::create([&](const Tarn_RACSubscriber<int>& subscriber) {
      kept = subscriber;
      if (atOnce) subscriber.sendCompleted();
      return Tarn_RACDisposable([&log] { log += "clean "; });
    }).subscribeNext([](int) {}, [&log](const Error&) { log += "failed "; }, [&log] { log += "completed "; });
    if (fails) {
      kept->sendError(errorNamed("e"));
    } else {
      kept->sendCompleted();
    }
  };
  ending(false, false);
  ending(true, false);
  ending(true, true);  // over before there was anything to clean up
  EXPECT_EQ(log, "clean completed clean failed completed clean ");
}

TEST(SignalTest, AKeptSubscriberHoldsNoCallbackOnceTheSubscriptionIsOver) {
  std::optional<Tarn_RACSubscriber<int>> kept;
  const auto signal =
      Signal::create([&kept](const Tarn_RACSubscriber<int>& subscriber) { kept = subscriber; });
  const Record record;
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  const auto disposable = record.listen(signal, std::move(witness));
  kept->sendNext(1);
  EXPECT_FALSE(held.expired());
  disposable.dispose();
  EXPECT_TRUE(held.expired());
  EXPECT_FALSE(kept->hasSubscribers());
  kept->sendNext(2);
  EXPECT_EQ(record.line(), "1");
}

TEST(SignalTest, StopsAtOnceAtEveryStageWhenDisposedOfInAnyFunction) {
  for (const std::string where : {"map", "filter", "doNext", "next"}) {
    Stage stage;
    std::string log;
    const auto at = [&](const std::string& stageName) {
      log += stageName + " ";
      if (where == stageName) stage.disposable.dispose();
    };
    Record other;
    stage.disposable = stage.a.map([&](int v) { return at("map"), v; })
                           .filter([&](int) { return at("filter"), true; })
                           .doNext([&](int) { at("doNext"); })
                           .subscribeNext([&](int) { at("next"); });
    other.listen(stage.a.signal());
    stage.play("a1 a2");
    EXPECT_EQ(log, std::string("map filter doNext next ").substr(0, log.size()));
    EXPECT_EQ(log.substr(log.size() - where.size() - 1), where + " ");
    EXPECT_EQ(other.line(), "1 2") << "the other subscriber lost a value";
  }
}

TEST(SignalTest, StopsASynchronousSourceWhenEnoughWasTaken) {
  int made = 0;
  const auto counting = Signal::create([&made](const Tarn_RACSubscriber<int>& subscriber) {
    while (subscriber.hasSubscribers()) subscriber.sendNext(++made);
  });
  const Record record;
  record.listen(counting.take(3));
  record.listen(Signal::values({7, 8, 9}).doNext([&made](int) { ++made; }).take(1));
  EXPECT_EQ(record.line(), "1 2 3 | 7 |");
  EXPECT_EQ(made, 4);
}

TEST(SignalTest, GivesEachSubscriptionItsOwnCopyOfAnOperatorsFunction) {
  const Tarn_RACSubject<int> subject;
  const auto numbered = subject.map([count = 0](int) mutable { return ++count; });
  const Record first;
  const Record second;
  first.listen(numbered);
  subject.sendNext(0);
  second.listen(numbered);
  subject.sendNext(0);
  EXPECT_EQ(first.line(), "1 2");
  EXPECT_EQ(second.line(), "1");
}

TEST(SignalTest, ALongRowOfSignalsDoesNotNest) {
  constexpr int kMany = 200'000;
  const std::vector<Signal> row(kMany, Signal::returnValue(1));
  int sum = 0;
  bool completed = false;
  rac::concat(row).subscribeNext([&sum](int v) { sum += v; }, rac::Ignore(), [&] { completed = true; });
  EXPECT_EQ(sum, kMany);
  EXPECT_TRUE(completed);
}

TEST(SignalTest, ConcatenatesASignalWithItself) {
  Stage stage;
  const Record record;
  stage.disposable = record.listen(stage.a.take(1).concat(stage.a));
  stage.play("a1 a2 - a3");
  EXPECT_EQ(record.line(), "1 2");
  EXPECT_EQ(stage.heard(), "");
}

TEST(SignalTest, SendsIntoASubjectWithOrWithoutTheEnd) {
  for (const bool withEnd : {true, false}) {
    const Tarn_RACSubject<int> from;
    const Tarn_RACSubject<int> into;
    const Record record;
    record.listen(into.signal());
    withEnd ? from.subscribe(into) : from.subscribeNext(into);
    from.sendNext(1);
    from.sendCompleted();
    into.sendNext(2);
    EXPECT_EQ(record.line(), withEnd ? "1 |" : "1 2");
  }
}

TEST(SignalTest, SurvivesTheLossOfItsHandleInsideItsOwnSubscribing) {
  auto signal = std::make_unique<Signal>(Signal::values({1, 2}).map([](int v) { return v; }));
  std::string log;
  signal->subscribeNext([&](int value) {
    signal.reset();
    log += std::to_string(value);
  });
  EXPECT_EQ(log, "12");
}

/// A switch that ends the old signal may thereby bring a newer one; the newest stays.
TEST(SignalTest, SwitchesToTheNewestWhenEndingTheOldBringsAnother) {
  const Tarn_RACSubject<Signal> signals;
  const Tarn_RACSubject<int> newest;
  const Tarn_RACSubject<int> overtaken;
  const auto old = Signal::create([&](const Tarn_RACSubscriber<int>&) {
    return Tarn_RACDisposable([&] { signals.sendNext(newest.signal()); });
  });
  const Record record;
  record.listen(signals.switchToLatest());
  signals.sendNext(old);
  signals.sendNext(overtaken.signal());
  newest.sendNext(1);
  EXPECT_EQ(record.line(), "1");
  EXPECT_FALSE(overtaken.hasSubscribers());
}

}  // namespace
}  // namespace tarn

#include "Reactive/Tarn_RACSignal.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

#include "SignalScript.h"

namespace tarn {
namespace {

using test::errorNamed;
using test::Record;
using test::Stage;

using Signal = Tarn_RACSignal<int>;
using S = const Stage&;

/// Makes the signal of a row: as texts, so that the rows have one type.
class Make {
 public:
  template <typename Function>
  Make(Function make) : make_([make](S stage) { return texts(make(stage)); }) {}
  Tarn_RACSignal<std::string> operator()(S stage) const { return make_(stage); }

 private:
  template <typename T>
  static Tarn_RACSignal<std::string> texts(const Tarn_RACSignal<T>& signal) {
    return signal.map([](const T& value) { return test::textOf(value); });
  }
  std::function<Tarn_RACSignal<std::string>(S)> make_;
};

struct Case {
  std::string script;
  std::string told;        // what the subscription is told
  std::string heard = "";  // the subjects that are still listened to afterwards
};

struct NestedCase {
  std::string script;
  std::string trigger;  // the value in whose callback, the first time, the nested script is played
  std::string nested;
  std::string told;
};

struct Row {
  const char* name;
  Make make;
  std::vector<Case> cases;
  std::vector<NestedCase> nestedCases = {};
};

void PrintTo(const Row& row, std::ostream* out) {
  *out << row.name;
}

const auto odd = [](int value) { return value % 2 != 0; };
const auto unlessZero = [](int value) { return value == 0 ? std::nullopt : std::optional(value); };
const auto pointerUnlessZero = [](int value) { return value == 0 ? nullptr : std::make_shared<int>(value); };
const auto valueAndTenfold = [](int value) { return Signal::values({value, 10 * value}); };

/// a's values choose: 1 b, 2 c, others a signal that completes at once.
Tarn_RACSignal<Signal> chosen(S stage) {
  return stage.a.map([b = stage.b.signal(), c = stage.c.signal()](int value) {
    return value == 1 ? b : value == 2 ? c : Signal::empty();
  });
}

const Row kRows[] = {
    {"NoValues", [](S) { return Signal::values({}); }, {{"", "|"}}},
    {"Never", [](S) { return Signal::never(); }, {{"", ""}}},
    {"Error", [](S) { return Signal::error(errorNamed("e")); }, {{"", "!e"}}},
    {"Plain",
     [](S s) { return s.a; },
     {{"a1 b9 a2 a| a3 a! a|", "1 2 |"}, {"a1 a! a2 a|", "1 !a"}, {"a1 - a2 a|", "1"}},
     {{"a1 a3", "1", "a2", "1 2 3"}, {"a1 a3", "1", "a| a2", "1 |"}}},
    {"Map", [](S s) { return s.a.map([](int v) { return 10 * v; }); }, {{"a1 a2 a!", "10 20 !a"}}},
    // Each subscription has its own copy of the function.
    {"MapThatCounts",
     [](S s) { return s.a.map([count = 0](int) mutable { return ++count; }); },
     {{"a5 a5 a|", "1 2 |"}}},
    {"ReduceEach",
     [](S s) { return zip(s.a, s.b).reduceEach([](int a, int b) { return a - b; }); },
     {{"a5 b3", "2", "ab"}}},
    {"Filter", [](S s) { return s.a.filter(odd); }, {{"a1 a2 a3 a|", "1 3 |"}}},
    {"IgnoreNilOfOptionals", [](S s) { return s.a.map(unlessZero).ignoreNil(); }, {{"a1 a0 a2", "1 2", "a"}}},
    {"IgnoreNilOfPointers",
     [](S s) { return s.a.map(pointerUnlessZero).ignoreNil().map([](const auto& v) { return *v; }); },
     {{"a1 a0 a2 a!", "1 2 !a"}}},
    {"Distinct",
     [](S s) { return s.a.distinctUntilChanged(); },
     {{"a1 a1 a2 a1 a1 a|", "1 2 1 |"}},
     {{"a1 a1", "1", "a1 a2", "1 2 1"}}},
    {"DistinctBy",
     [](S s) { return s.a.distinctUntilChanged([](int x, int y) { return odd(x) == odd(y); }); },
     {{"a1 a3 a2 a4 a5", "1 2 5", "a"}}},
    {"StartWith", [](S s) { return s.a.startWith(7); }, {{"a1 a|", "7 1 |"}}, {{"a2", "7", "a1", "7 2"}}},
    {"TakeNone", [](S s) { return s.a.take(0); }, {{"a1", "|"}}},
    {"TakeOne", [](S s) { return s.a.take(1); }, {}, {{"a1 a3", "1", "a2", "1 |"}}},
    {"TakeTwo",
     [](S s) { return s.a.take(2); },
     {{"a1 a2 a3 a!", "1 2 |"}, {"a1 a|", "1 |"}},
     {{"a1", "1", "a2 a3", "1 2 |"}}},
    {"Skip", [](S s) { return s.a.skip(2); }, {{"a1 a2 a3 a4 a|", "3 4 |"}, {"a1 a|", "|"}}},
    {"TakeUntil",
     [](S s) { return s.a.takeUntil(s.b); },
     {{"a1 b0 a2", "1 |"}, {"a1 b| a2", "1 |"}, {"a1 b! a2", "1 2", "a"}, {"a1 a!", "1 !a"}},
     {{"a1", "1", "b0 a2", "1 |"}}},
    {"TakeUntilItself", [](S s) { return s.a.takeUntil(s.a); }, {{"a1 a2", "|"}}},
    {"TakeUntilSomethingOver", [](S s) { return s.a.takeUntil(Signal::empty()); }, {{"a1", "|"}}},
    {"Concat",
     [](S s) { return s.a.concat(s.b); },
     {{"a1 b8 a2 a| b9 b|", "1 2 9 |"}, {"a1 a! b9", "1 !a"}},
     {{"a1 b3", "1", "a| b2", "1 2 3"}}},
    {"ConcatWithItself", [](S s) { return s.a.take(1).concat(s.a); }, {{"a1 a2 - a3", "1 2"}}},
    {"ConcatOfMany",
     [](S s) { return concat(s.a, valueAndTenfold(7), s.b, s.c); },
     {{"b1 a2 a| b3 b| c4 c|", "2 7 70 3 4 |"}}},
    {"Merge",
     [](S s) { return merge(s.a, s.b, s.c); },
     {{"a1 b2 a3 a| c4 b| c5 c|", "1 2 3 4 5 |"}, {"a1 b2 a! b3", "1 2 !a"}}},
    {"MergeOfTheSame",
     [](S s) { return s.a.merge(s.a); },
     {{"a1 a|", "1 1 |"}},
     {{"a1 a3", "1", "- a2", "1"}}},
    {"Flatten",
     [](S s) { return chosen(s).flatten(); },
     {{"b9 a1 b1 a2 b2 c3 a1 b4 a| b| c5 c|", "1 2 3 4 4 5 |"},
      {"a1 a2 c1 b! c2", "1 !b"},
      {"a1 b1 a! b2", "1 !a"},
      {"a1 a| b1", "1", "b"}},
     {{"a1 b1", "1", "a1 b2", "1 2 2"}}},
    {"FlattenMap", [](S s) { return s.a.flattenMap(valueAndTenfold); }, {{"a1 a2 a|", "1 10 2 20 |"}}},
    {"Switch",
     [](S s) { return chosen(s).switchToLatest(); },
     {{"a1 b1 c9 a2 b9 c2 a1 b3", "1 2 3", "ab"},
      {"a1 a| b1 b| b2", "1 |"},
      {"a1 b1 b| a2 c2 a3 a|", "1 2 |"},
      {"a1 b! a2", "!b"},
      {"a1 a2 b! c1", "1", "ac"}},
     {{"a1 b1 b9 c3", "1", "a2 c2 b9", "1 2 3"}}},
    {"Zip",
     [](S s) { return zip(s.a, s.b); },
     {{"a1 a2 b7 a3 b8 b9 b6 a4", "1,7 2,8 3,9 4,6", "ab"},
      {"a1 b1 a|", "1,1 |"},
      {"a1 a2 a| b7 b8 b9", "1,7 2,8 |"},
      {"a1 a! b1", "!a"}},
     // The pair is taken out of the queues before it is sent.
     {{"a1 a2 b1 b3", "1,1", "b2 a3", "1,1 2,2 3,3"}, {"a1 b1 b2", "1,1", "a|", "1,1 |"}}},
    {"ZipOfThree", [](S s) { return zip(s.a, s.b, s.c); }, {{"c3 b2 a1 c|", "1,2,3 |"}}},
    {"CombineLatest",
     [](S s) { return combineLatest(s.a, s.b); },
     {{"a1 a2 b7 a3 a| b8 b|", "2,7 3,7 3,8 |"}, {"a1 b2 b! a3", "1,2 !b"}},
     {{"a1 b1 b3", "1,1", "a2", "1,1 2,1 2,3"}}},
    {"CombineLatestOfTheSame", [](S s) { return combineLatest(s.a, s.a); }, {{"a1 a2", "1,1 2,1 2,2", "a"}}},
    {"Sample",
     [](S s) { return s.a.sample(s.b); },
     {{"b0 a1 a2 b0 b0 a3 b0", "2 2 3", "ab"}, {"a1 a| b0", "|"}, {"a1 b0 b| a2", "1 |"}, {"a1 b!", "!b"}},
     {{"a1 b0 b0", "1", "a2 b0", "1 2 2"}}},
    {"SampleByItself", [](S s) { return s.a.sample(s.a); }, {{"a1 a2", "1 2", "a"}}},
    // Each a with the newest b at its time, the first b being 0: how a state is looked up for each event.
    {"ZipWithASampledState",
     [](S s) { return zip(s.a, s.b.startWith(0).sample(s.a)); },
     {{"a1 b7 a2 a3 b8 b9 a4 a|", "1,0 2,7 3,7 4,9 |"}},
     {{"a1 a3", "1,0", "b7 a2 b8", "1,0 2,7 3,8"}}},
};

class SignalTable : public testing::TestWithParam<Row> {};

TEST_P(SignalTable, TellsEverySubscriptionAlikeAndListensAsWritten) {
  for (const auto& [script, told, heard] : GetParam().cases) {
    SCOPED_TRACE(script);
    Stage stage;
    const Record first;
    const Record second;
    const auto signal = GetParam().make(stage);
    stage.disposable.add(first.listen(signal));
    stage.disposable.add(second.listen(signal));
    stage.play(script);
    EXPECT_EQ(first.line(), told);
    EXPECT_EQ(second.line(), told);
    EXPECT_EQ(stage.heard(), heard);
  }
}

/// Where in the script the subscription is cut off, and how, makes no difference: nothing is told afterwards,
/// nobody is listened to, and what the callbacks held is freed.
void expectFreedCallbacks(const Make& make, const std::string& script, bool dispose) {
  SCOPED_TRACE(script + (dispose ? " disposed" : " let go"));
  auto stage = std::make_optional<Stage>();
  const Record record;
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  const auto disposable = record.listen(make(*stage), std::move(witness));
  stage->disposable = disposable;
  stage->play(script);
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

TEST_P(SignalTable, FreesItsCallbacksAtEveryStep) {
  for (const auto& [script, told, heard] : GetParam().cases) {
    for (std::size_t cut = 0; cut <= script.size(); ++cut) {
      if (cut < script.size() && script[cut] != ' ') continue;
      for (const bool dispose : {true, false}) {
        expectFreedCallbacks(GetParam().make, script.substr(0, cut), dispose);
      }
    }
  }
}

TEST_P(SignalTable, DeliversDepthFirst) {
  for (const auto& row : GetParam().nestedCases) {
    SCOPED_TRACE(row.script + ", inside " + row.trigger + ": " + row.nested);
    Stage stage;
    const Record record;
    bool played = false;
    stage.disposable.add(record.listen(GetParam().make(stage), nullptr, [&](const std::string& value) {
      if (value == row.trigger && !std::exchange(played, true)) stage.play(row.nested);
    }));
    stage.play(row.script);
    EXPECT_EQ(record.line(), row.told);
  }
}

INSTANTIATE_TEST_SUITE_P(Operators, SignalTable, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

/// A signal whose subscriptions are fed by hand, and the log of all that happens to them.
class CreatedSignal : public testing::Test {
 protected:
  Tarn_RACDisposable listen(std::shared_ptr<int> witness = nullptr) {
    return signal.subscribeNext([this, witness](int value) { log += std::to_string(value) + " "; },
                                [this](const Error&) { log += "failed "; }, [this] { log += "completed "; });
  }

  std::string log;
  bool endsAtOnce = false;
  std::vector<Tarn_RACSubscriber<int>> fed;
  Signal signal = Signal::create([this](const Tarn_RACSubscriber<int>& subscriber) {
    log += "start ";
    fed.push_back(subscriber);
    if (endsAtOnce) subscriber.sendCompleted();
    return Tarn_RACDisposable([this] { log += "clean "; });
  });
};

TEST_F(CreatedSignal, HasAWorkForEachSubscriptionAndCleansUpOnce) {
  const auto first = listen();
  const auto second = listen();
  first.dispose();
  first.dispose();
  fed[1].sendNext(1);
  second.dispose();
  EXPECT_EQ(log, "start start clean 1 clean ");
}

TEST_F(CreatedSignal, CleansUpBeforeItReportsTheEnd) {
  listen();
  fed[0].sendCompleted();
  listen();
  fed[1].sendError(errorNamed("e"));
  endsAtOnce = true;  // before there is anything to clean up
  listen();
  fed[2].sendError(errorNamed("e"));
  EXPECT_EQ(log, "start clean completed start clean failed start completed clean ");
}

TEST_F(CreatedSignal, HoldsNoCallbackOnceTheSubscriptionIsOver) {
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  const auto disposable = listen(std::move(witness));
  EXPECT_FALSE(held.expired());
  disposable.dispose();
  EXPECT_TRUE(held.expired());
  EXPECT_FALSE(fed[0].hasSubscribers());
  fed[0].sendNext(2);
  EXPECT_EQ(log, "start clean ");
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

TEST(SignalTest, ALongRowOfSignalsDoesNotNest) {
  constexpr int kMany = 200'000;
  const std::vector<Signal> row(kMany, Signal::returnValue(1));
  int sum = 0;
  int sumAtEnd = 0;
  rac::concat(row).subscribeNext([&](int v) { sum += v; }, rac::Ignore(), [&] { sumAtEnd = sum; });
  EXPECT_EQ(sumAtEnd, kMany);
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
  const Record record;
  record.listen(*signal, nullptr, [&](const auto&) { signal.reset(); });
  EXPECT_EQ(record.line(), "1 2 |");
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

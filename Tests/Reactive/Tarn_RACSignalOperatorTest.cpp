#include <gtest/gtest.h>

#include <optional>
#include <utility>
#include <vector>

#include "SignalScript.h"

namespace tarn {
namespace {

using test::errorNamed;
using test::Recording;
using test::ScriptedSubjects;

using Signal = Tarn_RACSignal<int>;
using S = const ScriptedSubjects&;

/// Makes the signal of a row. Its values are texts, so that all rows have one type.
class MakeSignal {
 public:
  template <typename Function>
  MakeSignal(Function make) : make_([make](S subjects) { return texts(make(subjects)); }) {}
  Tarn_RACSignal<std::string> operator()(S subjects) const { return make_(subjects); }

 private:
  template <typename T>
  static Tarn_RACSignal<std::string> texts(const Tarn_RACSignal<T>& signal) {
    return signal.map([](const T& value) { return test::textOf(value); });
  }
  std::function<Tarn_RACSignal<std::string>(S)> make_;
};

struct Case {
  std::string script;
  std::string received;         // by the subscription
  std::string subscribed = "";  // the subjects that still have subscribers afterwards
};

struct NestedCase {
  std::string script;
  std::string trigger;  // the nested script runs in the callback that first receives this value
  std::string nested;
  std::string received;
};

struct Row {
  const char* name;
  MakeSignal make;
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

/// Each value of a chooses a signal: 1 b, 2 c, others one that completes at once.
Tarn_RACSignal<Signal> chosen(S subjects) {
  return subjects.a.map([b = subjects.b.signal(), c = subjects.c.signal()](int value) {
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
    {"StartWith", [](S s) { return s.a.startWith(7); }, {{"a1 a|", "7 1 |"}}, {{"a2", "7", "a1", "7 2"}}},
    {"TakeNone", [](S s) { return s.a.take(0); }, {{"a1", "|"}}},
    {"TakeOne", [](S s) { return s.a.take(1); }, {}, {{"a1 a3", "1", "a2", "1 |"}}},
    {"TakeTwo",
     [](S s) { return s.a.take(2); },
     {{"a1 a2 a3 a!", "1 2 |"}, {"a1 a|", "1 |"}},
     {{"a1", "1", "a2 a3", "1 2 |"}}},
    {"Skip", [](S s) { return s.a.skip(2); }, {{"a1 a2 a3 a4 a|", "3 4 |"}, {"a1 a|", "|"}}},
    {"Concat",
     [](S s) { return s.a.concat(s.b); },
     {{"a1 b8 a2 a| b9 b|", "1 2 9 |"}, {"a1 a! b9", "1 !a"}},
     {{"a1 b3", "1", "a| b2", "1 2 3"}}},
    {"ConcatWithItself", [](S s) { return s.a.take(1).concat(s.a); }, {{"a1 a2 - a3", "1 2"}}},
    {"Merge",
     [](S s) { return merge(s.a, s.b, s.c); },
     {{"a1 b2 a3 a| c4 b| c5 c|", "1 2 3 4 5 |"}, {"a1 b2 a! b3", "1 2 !a"}}},
    {"MergeOfTheSame",
     [](S s) { return s.a.merge(s.a); },
     {{"a1 a|", "1 1 |"}},
     {{"a1 a3", "1", "- a2", "1"}}},
    {"Flatten",
     [](S s) { return chosen(s).flattenMap([](const Signal& signal) { return signal; }); },
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
    // Each value of a with the newest value of b at that time, initially 0: the state at each event.
    {"ZipWithASampledState",
     [](S s) { return zip(s.a, s.b.startWith(0).sample(s.a)); },
     {{"a1 b7 a2 a3 b8 b9 a4 a|", "1,0 2,7 3,7 4,9 |"}},
     {{"a1 a3", "1,0", "b7 a2 b8", "1,0 2,7 3,8"}}},
};

class Tarn_RACSignalOperatorTest : public testing::TestWithParam<Row> {};

TEST_P(Tarn_RACSignalOperatorTest, SendsTheSameToEachSubscriptionAndKeepsTheExpectedSubscriptions) {
  for (const auto& [script, received, subscribed] : GetParam().cases) {
    SCOPED_TRACE(script);
    ScriptedSubjects subjects;
    const Recording first;
    const Recording second;
    const auto signal = GetParam().make(subjects);
    subjects.disposable.add(first.subscribeTo(signal));
    subjects.disposable.add(second.subscribeTo(signal));
    subjects.run(script);
    EXPECT_EQ(first.line(), received);
    EXPECT_EQ(second.line(), received);
    EXPECT_EQ(subjects.subscribedSubjects(), subscribed);
  }
}

/// Wherever in the script the subscription ends, by disposing or by destroying the subjects: it receives
/// nothing afterwards, no subject has a subscriber, and the callbacks are destroyed.
void expectFreedCallbacks(const MakeSignal& make, const std::string& script, bool dispose) {
  SCOPED_TRACE(script + (dispose ? " disposed" : " subjects destroyed"));
  auto subjects = std::make_optional<ScriptedSubjects>();
  const Recording recording;
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  const auto disposable = recording.subscribeTo(make(*subjects), std::move(witness));
  subjects->disposable = disposable;
  subjects->run(script);
  if (dispose) {
    disposable.dispose();
    EXPECT_EQ(subjects->subscribedSubjects(), "");
  } else {
    subjects.reset();
  }
  EXPECT_TRUE(held.expired());
  const auto received = recording.line();
  if (dispose) subjects->run("a1 b1 c1 a| b| c|");
  EXPECT_EQ(recording.line(), received);
}

TEST_P(Tarn_RACSignalOperatorTest, DestroysItsCallbacksWhereverTheSubscriptionEnds) {
  for (const auto& [script, received, subscribed] : GetParam().cases) {
    for (std::size_t cut = 0; cut <= script.size(); ++cut) {
      if (cut < script.size() && script[cut] != ' ') continue;
      for (const bool dispose : {true, false}) {
        expectFreedCallbacks(GetParam().make, script.substr(0, cut), dispose);
      }
    }
  }
}

TEST_P(Tarn_RACSignalOperatorTest, DeliversDepthFirst) {
  for (const auto& row : GetParam().nestedCases) {
    SCOPED_TRACE(row.script + ", inside " + row.trigger + ": " + row.nested);
    ScriptedSubjects subjects;
    const Recording recording;
    bool nestedRun = false;
    subjects.disposable.add(
        recording.subscribeTo(GetParam().make(subjects), nullptr, [&](const std::string& value) {
          if (value == row.trigger && !std::exchange(nestedRun, true)) subjects.run(row.nested);
        }));
    subjects.run(row.script);
    EXPECT_EQ(recording.line(), row.received);
  }
}

INSTANTIATE_TEST_SUITE_P(Operators, Tarn_RACSignalOperatorTest, testing::ValuesIn(kRows),
                         [](const auto& tested) { return tested.param.name; });

}  // namespace
}  // namespace tarn

#include "Host/Tarn_RACSubject.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Host/Tarn_RACInvocations.h"
#include "Host/Tarn_RACReplaySubject.h"
#include "SignalScript.h"

namespace tarn {
namespace {

using test::errorNamed;
using test::Record;

/// What a line of the log sets going, inside the callback that writes it.
using Reactions = std::map<std::string, std::string>;

/// Plays a script of steps on a subject and returns the log of all its subscribers, "x1 x| y!": "1" sends 1,
/// "|" completes, "!" fails, "+x" subscribes x, "-x" disposes of that, "~" lets go of the subject.
template <typename Subject>
class Play {
 public:
  explicit Play(Reactions reactions) : reactions_(std::move(reactions)) {}

  std::string operator()(const std::string& script) {
    std::istringstream steps(script);
    for (std::string step; steps >> step;) playStep(step);
    return log_;
  }

 private:
  void playStep(const std::string& step) {
    const auto who = step.substr(1);
    switch (step[0]) {
      case '+':
        subscriptions_.emplace(
            who, subject_->signal().subscribeNext(
                     [this, who](int value) { write(who + std::to_string(value)); },
                     [this, who](const Error&) { write(who + "!"); }, [this, who] { write(who + "|"); }));
        break;
      case '-':
        return subscriptions_.at(who).dispose();
      case '~':
        return subject_.reset();
      case '|':
        return subject_->sendCompleted();
      case '!':
        return subject_->sendError(errorNamed("e"));
      default:
        return subject_->sendNext(std::stoi(step));
    }
  }
  void write(const std::string& line) {
    log_ += (log_.empty() ? "" : " ") + line;
    if (const auto reaction = reactions_.find(line); reaction != reactions_.end()) (*this)(reaction->second);
  }

  const Reactions reactions_;
  std::optional<Subject> subject_{std::in_place};
  std::map<std::string, Tarn_RACDisposable> subscriptions_;
  std::string log_;
};

struct Row {
  const char* name;
  const char* script;
  Reactions reactions;
  const char* log;
};

template <typename Subject>
void expectLogs(const std::vector<Row>& rows) {
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Play<Subject>(row.reactions)(row.script), row.log);
  }
}

TEST(SubjectTest, TellsItsSubscribersInOrder) {
  expectLogs<Tarn_RACSubject<int>>({
      {"inner sends first", "+x +y +z 1", {{"y1", "2"}}, "x1 y1 x2 y2 z2 z1"},
      {"an end inside a callback ends all", "+x +y 1 2 !", {{"x1", "|"}}, "x1 x| y|"},
      {"disposing inside", "+x +y +z +w 1 2", {{"x1", "-x"}, {"y1", "-z"}}, "x1 y1 w1 y2 w2"},
      {"subscribing inside", "+x 1 2", {{"x1", "+late"}}, "x1 x2 late2"},
      {"late for the completion", "| +x 1", {}, "x|"},
      {"late for the error", "! +x 1", {}, "x!"},
      {"let go in the middle of a value", "+x +y 1", {{"x1", "~"}}, "x1 y1"},
      {"let go in the middle of the end", "+x +y |", {{"x|", "~"}}, "x| y|"},
  });
}

TEST(ReplaySubjectTest, TellsThePastThenGoesOn) {
  expectLogs<Tarn_RACReplaySubject<int>>({
      {"live", "+x 1 2 | 3 +y", {{"x1", "+inside"}}, "x1 inside1 x2 inside2 x| inside| y1 y2 y|"},
      {"fed while it tells the past", "1 2 +x 4", {{"x1", "3"}}, "x1 x2 x3 x4"},
  });
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
  const Record other;
  const Record added;
  const auto subscription = other.listen(subject.signal());
  struct OnDeath {
    std::function<void()> run;
    ~OnDeath() { run(); }
  };
  const auto first = subject.subscribeNext([death = std::make_shared<OnDeath>([&] {
                                              subscription.dispose();
                                              added.listen(subject.signal());
                                              subject.sendNext(1);
                                            })](int) {});
  first.dispose();
  EXPECT_EQ(added.line(), "1");
  EXPECT_EQ(other.line(), "");
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

#include "Reactive/Tarn_RACSubject.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <vector>

#include "Reactive/Tarn_RACReplaySubject.h"
#include "SignalScript.h"
#include "Support/Story.h"

namespace tarn {
namespace {

using test::Recording;

/// Runs the steps of a script on a subject, and logs what its subscribers receive: "x1 x| y!".
template <typename Subject>
class SubjectScript {
 public:
  [[nodiscard]] const std::string& log() const { return log_; }

  /// "1" sends 1, "|" completes, "!" sends an error, "+x" subscribes x, "-x" disposes of that subscription,
  /// "~" destroys the subject; "x1=+y" runs the step "+y" inside the callback that logs "x1".
  void take(const std::string& step) {
    const auto rest = step.substr(1);
    if (const auto equals = step.find('='); equals != std::string::npos) {
      reactions_[step.substr(0, equals)] = step.substr(equals + 1);
    } else if (step[0] == '+') {
      subscribe(rest);
    } else if (step[0] == '-') {
      subscriptions_.at(rest).dispose();
    } else if (step == "~") {
      subject_.reset();
    } else if (step == "|") {
      subject_->sendCompleted();
    } else if (step == "!") {
      subject_->sendError(test::errorNamed("e"));
    } else {
      subject_->sendNext(std::stoi(step));
    }
  }

 private:
  void subscribe(const std::string& name) {
    subscriptions_[name] = subject_->signal().subscribeNext(
        [this, name](int value) { write(name + std::to_string(value)); },
        [this, name](const Error&) { write(name + "!"); }, [this, name] { write(name + "|"); });
  }
  void write(const std::string& line) {
    log_ += (log_.empty() ? "" : " ") + line;
    if (const auto reaction = reactions_.find(line); reaction != reactions_.end()) take(reaction->second);
  }

  std::map<std::string, std::string> reactions_;
  std::optional<Subject> subject_{std::in_place};
  std::map<std::string, Tarn_RACDisposable> subscriptions_;
  std::string log_;
};

/// Each step "new" starts with a new subject.
template <typename Subject>
void tell(const std::string& story) {
  std::optional<SubjectScript<Subject>> stage;
  const auto take = [&stage](const std::string& step) {
    step == "new" ? (void)stage.emplace() : stage->take(step);
  };
  test::tellStory(story, take, [&stage](const std::string&) { return stage->log(); });
}

TEST(Tarn_RACSubjectTest, SendsToItsSubscribersInOrderWhateverCallbacksDo) {
  tell<Tarn_RACSubject<int>>(R"(
    // A callback sends, completes, disposes, subscribes.
    new y1=2 +x +y +z 1 => log: x1 y1 x2 y2 z2 z1
    new x1=| +x +y 1 2 ! => log: x1 x| y|
    new x1=-x y1=-z +x +y +z +w 1 2 => log: x1 y1 w1 y2 w2
    new x1=+late +x 1 2 => log: x1 x2 late2
    // A late subscriber receives the end.
    new | +x 1 => log: x|
    new ! +x 1 => log: x!
    // A callback for a value or an end destroys the subject.
    new x1=~ +x +y 1 => log: x1 y1
    new x|=~ +x +y | => log: x| y|
    new x!=~ +x +y ! => log: x! y!)");
}

TEST(Tarn_RACSubjectTest, ReplaysThePastValuesThenSendsNewOnes) {
  tell<Tarn_RACReplaySubject<int>>(R"(
    new x1=+inside +x 1 2 | 3 +y => log: x1 inside1 x2 inside2 x| inside| y1 y2 y|
    // A callback sends during the replay.
    new x1=3 1 2 +x 4 => log: x1 x2 x3 x4)");
}

TEST(Tarn_RACSubjectTest, SendsAnUnchangedValueToAllSubscribersAlsoWhenACallbackChangesTheOriginal) {
  const Tarn_RACSubject<std::vector<int>> subject;
  std::vector<int> value = {1, 2, 3};
  std::size_t seen = 0;
  subject.subscribeNext([&](const std::vector<int>&) { value = {}; });
  subject.subscribeNext([&](const std::vector<int>& received) { seen = received.size(); });
  subject.sendNext(value);
  EXPECT_EQ(seen, 3U);
}

TEST(Tarn_RACSubjectTest, HoldsItsSubscribersUntilItsLastHandleIsDestroyed) {
  auto subject = std::make_optional<Tarn_RACSubject<int>>();
  auto witness = std::make_shared<int>(0);
  const std::weak_ptr<int> held = witness;
  const Recording recording;
  // The disposable is dropped, so only the subject holds the subscription.
  recording.subscribeTo(subject->signal(), std::move(witness));
  EXPECT_FALSE(held.expired());
  auto signal = std::make_optional(subject->signal());
  subject.reset();
  EXPECT_FALSE(held.expired()) << "a signal made from the subject is a handle on it";
  signal.reset();
  EXPECT_TRUE(held.expired());
  EXPECT_EQ(recording.line(), "");
}

/// Destroying a callback may dispose of and make subscriptions of the same subject.
TEST(Tarn_RACSubjectTest, AllowsACallbacksDestructorToUseTheSubject) {
  const Tarn_RACSubject<int> subject;
  const Recording other;
  const Recording added;
  const auto subscription = other.subscribeTo(subject.signal());
  struct OnDestruction {
    std::function<void()> run;
    ~OnDestruction() { run(); }
  };
  const auto first = subject.subscribeNext([atEnd = std::make_shared<OnDestruction>([&] {
                                              subscription.dispose();
                                              added.subscribeTo(subject.signal());
                                              subject.sendNext(1);
                                            })](int) {});
  first.dispose();
  EXPECT_EQ(added.line(), "1");
  EXPECT_EQ(other.line(), "");
}

}  // namespace
}  // namespace tarn

#include "Reactive/Tarn_RACSubject.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <vector>

#include "Reactive/Tarn_RACReplaySubject.h"
#include "SignalScript.h"
#include "Support/Script.h"

namespace tarn {
namespace {

using test::Recording;
using test::ScriptCommand;

/// Runs the steps of a script on a subject, and logs what its subscribers receive: "x1 x| y!".
template <typename Subject>
class SubjectScript {
 public:
  [[nodiscard]] const std::string& log() const { return log_; }

  /// "on x1 send 3" performs "send 3" inside the callback that logs "x1".
  void perform(const ScriptCommand& command) {
    static const std::map<std::string, std::function<void(SubjectScript&, const std::string&)>> kSteps = {
        {"send", [](auto& self, auto& value) { self.subject_->sendNext(std::stoi(value)); }},
        {"complete", [](auto& self, auto&) { self.subject_->sendCompleted(); }},
        {"fail", [](auto& self, auto&) { self.subject_->sendError(test::errorNamed("e")); }},
        {"subscribe", [](auto& self, auto& name) { self.subscribe(name); }},
        {"dispose", [](auto& self, auto& name) { self.subscriptions_.at(name).dispose(); }},
        {"release", [](auto& self, auto&) { self.subject_.reset(); }},
    };
    const auto& words = command.arguments;
    if (command.name == "on") {
      reactions_[words.at(0)] = {words.at(1), {words.begin() + 2, words.end()}};
    } else {
      kSteps.at(command.name)(*this, words.empty() ? "" : words.front());
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
    if (const auto reaction = reactions_.find(line); reaction != reactions_.end()) perform(reaction->second);
  }

  std::map<std::string, ScriptCommand> reactions_;
  std::optional<Subject> subject_{std::in_place};
  std::map<std::string, Tarn_RACDisposable> subscriptions_;
  std::string log_;
};

/// Each "new" starts with a new subject.
template <typename Subject>
void tell(const std::string& script) {
  std::optional<SubjectScript<Subject>> stage;
  const auto perform = [&stage](const ScriptCommand& command) {
    command.name == "new" ? (void)stage.emplace() : stage->perform(command);
  };
  test::runScript(script, perform, [&stage](const std::string&) { return stage->log(); });
}

TEST(Tarn_RACSubjectTest, SendsToItsSubscribersInOrderWhateverCallbacksDo) {
  tell<Tarn_RACSubject<int>>(R"(
    // A callback sends, completes, disposes, subscribes.
    new; on y1 send 2; subscribe x; subscribe y; subscribe z; send 1 => log: x1 y1 x2 y2 z2 z1
    new; on x1 complete; subscribe x; subscribe y; send 1; send 2; fail => log: x1 x| y|
    new; on x1 dispose x; on y1 dispose z; subscribe x; subscribe y; subscribe z; subscribe w; send 1; send 2 => log: x1 y1 w1 y2 w2
    new; on x1 subscribe late; subscribe x; send 1; send 2 => log: x1 x2 late2
    // A late subscriber receives the end.
    new; complete; subscribe x; send 1 => log: x|
    new; fail; subscribe x; send 1     => log: x!
    // A callback for a value or an end destroys the subject.
    new; on x1 release; subscribe x; subscribe y; send 1 => log: x1 y1
    new; on x| release; subscribe x; subscribe y; complete => log: x| y|
    new; on x! release; subscribe x; subscribe y; fail => log: x! y!)");
}

TEST(Tarn_RACSubjectTest, ReplaysThePastValuesThenSendsNewOnes) {
  tell<Tarn_RACReplaySubject<int>>(R"(
    new; on x1 subscribe inside; subscribe x; send 1; send 2; complete; send 3; subscribe y => log: x1 inside1 x2 inside2 x| inside| y1 y2 y|
    // A callback sends during the replay.
    new; on x1 send 3; send 1; send 2; subscribe x; send 4 => log: x1 x2 x3 x4)");
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

#include "Platform/Observable.h"

#include <gmock/gmock.h>

using namespace tarn;
using testing::ElementsAre;

class ObservableTest : public testing::Test {
 protected:
  /// Logs each announced value, for example "a1", then runs an action.
  Token observe(
      const std::string& who, const std::function<void(int)>& more = [](int) {}) {
    return property->observe([this, who, more](int value) {
      log.push_back(who + std::to_string(value));
      more(value);
    });
  }

  std::unique_ptr<Observable<int>> property = std::make_unique<Observable<int>>();
  std::vector<std::string> log;
};

TEST_F(ObservableTest, CallsObserversForEveryAssignmentInTheirOrder) {
  property->set(1);
  const auto a = observe("a");
  const auto b = property->observe([&](int value) { log.push_back("b" + std::to_string(value)); },
                                   Observe::initialAndNew);
  property->set(2);
  property->set(2);
  EXPECT_THAT(log, ElementsAre("b1", "a2", "b2", "a2", "b2"));
  EXPECT_EQ(property->get(), 2);
}

TEST_F(ObservableTest, EndsAnObservationWhenItsTokenIsDestroyedOrReplaced) {
  std::optional<Token> first = observe("a");
  Token second = observe("b");
  Token moved = std::move(second);
  property->set(1);
  first.reset();
  second.reset();  // moved from: nothing to end
  property->set(2);
  moved = observe("c");
  property->set(3);
  moved.reset();
  property->set(4);
  EXPECT_THAT(log, ElementsAre("a1", "b1", "b2", "c3"));
}

TEST_F(ObservableTest, AllowsAnObserverToEndAndAddObserversDuringAnAssignment) {
  Token a;
  Token b;
  Token late;
  a = observe("a", [&](int) {
    late = observe("late");
    a.reset();
    b.reset();
  });
  b = observe("b");
  const auto c = observe("c");
  property->set(1);
  property->set(2);
  EXPECT_THAT(log, ElementsAre("a1", "c1", "c2", "late2"));
}

TEST_F(ObservableTest, CallsObserversForAnInnerAssignmentBeforeTheOuterOneContinues) {
  const auto a = observe("a", [&](int value) {
    if (value == 1) property->set(2);
  });
  const auto b = observe("b");
  property->set(1);
  EXPECT_THAT(log, ElementsAre("a1", "a2", "b2", "b1"));
  EXPECT_EQ(property->get(), 2);
}

TEST_F(ObservableTest, StopsAnAssignmentWhenAnObserverThrows) {
  const auto held = std::make_shared<int>();
  const auto refuse = [held](int value) {
    if (value < 2) throw std::runtime_error("refused");
  };
  EXPECT_THROW((void)property->observe(refuse, Observe::initialAndNew), std::runtime_error);
  Token refusing = property->observe(refuse);
  const auto b = observe("b");
  EXPECT_THROW(property->set(1), std::runtime_error);
  property->set(2);
  EXPECT_THAT(log, ElementsAre("b2"));
  refusing.reset();
  EXPECT_EQ(held.use_count(), 2) << "held by `refuse` and here: ended observers are destroyed";
}

TEST_F(ObservableTest, CanBeDestroyedBeforeItsTokensAndByItsObserver) {
  Token outlives = observe("destroys", [&](int) { property.reset(); });
  property->set(1);
  outlives.reset();
  EXPECT_THAT(log, ElementsAre("destroys1"));
  property = std::make_unique<Observable<int>>();
  outlives = property->observe([&](int) { property.reset(); }, Observe::initialAndNew);
}

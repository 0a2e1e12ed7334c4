#include "Platform/Observable.h"

#include <gmock/gmock.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tarn {
namespace {

using testing::ElementsAre;
using Log = std::vector<std::string>;

std::string entry(const char* who, int value) {
  return who + std::to_string(value);
}

TEST(ObservableTest, AnnouncesEveryAssignmentInOrderOfObservation) {
  Observable<int> property(1);
  Log log;
  const auto a = property.observe([&](int value) { log.push_back(entry("a", value)); });
  const auto b =
      property.observe([&](int value) { log.push_back(entry("b", value)); }, Observe::initialAndNew);
  property.set(2);
  property.set(2);
  EXPECT_THAT(log, ElementsAre("b1", "a2", "b2", "a2", "b2"));
  EXPECT_EQ(property.get(), 2);
}

TEST(ObservableTest, EndsWithItsToken) {
  Observable<int> property;
  Log log;
  std::optional<Token> first = property.observe([&](int value) { log.push_back(entry("a", value)); });
  Token second = property.observe([&](int value) { log.push_back(entry("b", value)); });
  Token moved = std::move(second);
  property.set(1);
  first.reset();
  second.reset();  // moved from: nothing to end
  property.set(2);
  moved.reset();
  property.set(3);
  EXPECT_THAT(log, ElementsAre("a1", "b1", "b2"));
}

TEST(ObservableTest, ReplacingATokenEndsTheOldObservation) {
  Observable<int> property;
  Log log;
  Token token = property.observe([&](int value) { log.push_back(entry("a", value)); });
  token = property.observe([&](int value) { log.push_back(entry("b", value)); });
  property.set(1);
  EXPECT_THAT(log, ElementsAre("b1"));
}

TEST(ObservableTest, LetsAnObserverEndItselfAndOthers) {
  Observable<int> property;
  Log log;
  Token a;
  Token b;
  a = property.observe([&](int value) {
    log.push_back(entry("a", value));
    a.reset();
    b.reset();
  });
  b = property.observe([&](int value) { log.push_back(entry("b", value)); });
  const auto c = property.observe([&](int value) { log.push_back(entry("c", value)); });
  property.set(1);
  property.set(2);
  EXPECT_THAT(log, ElementsAre("a1", "c1", "c2"));
}

TEST(ObservableTest, TellsAnObserverAddedWhileAnnouncingFromTheNextAssignmentOn) {
  Observable<int> property;
  Log log;
  Token late;
  const auto a = property.observe([&](int value) {
    if (value == 1) late = property.observe([&](int v) { log.push_back(entry("late", v)); });
  });
  property.set(1);
  EXPECT_TRUE(log.empty());
  property.set(2);
  EXPECT_THAT(log, ElementsAre("late2"));
}

TEST(ObservableTest, AnnouncesAnInnerAssignmentBeforeTheOuterGoesOn) {
  Observable<int> property;
  Log log;
  const auto a = property.observe([&](int value) {
    log.push_back(entry("a", value));
    if (value == 1) property.set(2);
  });
  const auto b = property.observe([&](int value) { log.push_back(entry("b", value)); });
  property.set(1);
  EXPECT_THAT(log, ElementsAre("a1", "a2", "b2", "b1"));
  EXPECT_EQ(property.get(), 2);
}

TEST(ObservableTest, MayBeDestroyedBeforeItsTokensAndByItsObserver) {
  Log log;
  Token outlives;
  auto property = std::make_unique<Observable<int>>();
  outlives = property->observe([&](int) {
    log.emplace_back("destroys");
    property.reset();
  });
  property->set(1);
  EXPECT_EQ(property, nullptr);
  outlives.reset();
  EXPECT_THAT(log, ElementsAre("destroys"));
}

}  // namespace
}  // namespace tarn

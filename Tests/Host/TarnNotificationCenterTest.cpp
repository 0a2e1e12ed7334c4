#include "Host/TarnNotificationCenter.h"

#include <gmock/gmock.h>

#include <atomic>
#include <thread>
#include <vector>

namespace {

using ::testing::ElementsAre;

TEST(TarnNotificationCenterTest, CallsTheObserversOfANameInOrderUntilTheirTokensAreDestroyed) {
  TarnNotificationCenter center;
  const auto sender = std::make_shared<std::string>("from");
  std::vector<std::string> heard;
  const auto listener = [&](std::string who) {
    return [&, who](const TarnNotification& n) {
      EXPECT_EQ(n.sender, sender);
      heard.push_back(who + " " + n.name + " " + *n.info->get<std::string>("key"));
    };
  };
  const auto first = center.addObserverForName("a", listener("first"));
  auto second = center.addObserverForName("a", listener("second"));
  const auto other = center.addObserverForName("b", listener("other"));
  tarn::Dictionary info;
  info.set("key", std::string("value"));

  for (const auto* const name : {"a", "b", "c"}) center.postNotificationName(name, sender, info);
  second.reset();
  center.postNotificationName("a", sender, info);
  EXPECT_THAT(heard, ElementsAre("first a value", "second a value", "other b value", "first a value"));
}

TEST(TarnNotificationCenterTest, AllowsObserversToPostAndToAddAndEndObservations) {
  TarnNotificationCenter center;
  std::vector<std::string> heard;
  tarn::Token added;
  auto ended = std::make_shared<tarn::Token>();
  const auto token = center.addObserverForName("a", [&](const auto&) {
    heard.push_back("a");
    ended->reset();
    added = center.addObserverForName("a", [&](const auto&) { heard.push_back("added"); });
    center.postNotificationName("b");
  });
  *ended = center.addObserverForName("a", [&](const auto&) { heard.push_back("ended"); });
  const auto b = center.addObserverForName("b", [&](const auto&) { heard.push_back("b"); });
  center.postNotificationName("a");
  EXPECT_THAT(heard, ElementsAre("a", "b"));
}

TEST(TarnNotificationCenterTest, CanBeUsedByManyThreads) {
  auto center = std::make_shared<TarnNotificationCenter>();
  std::atomic<int> heard = 0;
  {
    const auto steady = center->addObserverForName("a", [&](const auto&) { ++heard; });
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i) {
      threads.emplace_back([center] {
        for (int j = 0; j < 200; ++j) {
          const auto passing = center->addObserverForName("a", [](const auto&) {});
          center->postNotificationName("a");
        }
      });
    }
  }
  EXPECT_EQ(heard, 800);
  const auto token = center->addObserverForName("a", [](const auto&) {});
  center.reset();
}

}  // namespace

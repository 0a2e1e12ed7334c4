#include "Reactive/Tarn_RACBinding.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Log.h"
#include "SignalScript.h"

namespace tarn {
namespace {

TEST(Tarn_RACBindingTest, CallsTheSetterWithEachValueAndWithTheNilValueForAnAbsentOne) {
  const Tarn_RACSubject<std::optional<int>> optionals;
  const Tarn_RACSubject<std::shared_ptr<const std::string>> pointers;
  std::vector<std::string> texts;
  {
    const Tarn_RACDeallocDisposable owner;
    const auto nil = std::make_shared<const std::string>("nil");
    const auto add = [&](const std::string& text) { texts.push_back(text); };
    owner.add(bindSignal(
        optionals, [=](int value) { add(std::to_string(value)); }, -1));
    owner.add(bindSignal(
        pointers, [=](const auto& value) { add(*value); }, nil));
    owner.add(bindSignal(optionals, [=](std::optional<int> value) { add(value ? "set" : "unset"); }));
    optionals.sendNext(1);
    optionals.sendNext(std::nullopt);
    pointers.sendNext(std::make_shared<const std::string>("text"));
    pointers.sendNext(nullptr);
  }
  optionals.sendNext(2);
  EXPECT_EQ(texts, (std::vector<std::string>{"1", "set", "-1", "unset", "text", "nil"}));
}

TEST(Tarn_RACBindingTest, LogsTheErrorThatEndsIt) {
  std::string log;
  const auto sink = installLogSink([&](std::string_view line) { log = line; });
  const Tarn_RACSubject<int> subject;
  bindSignal(subject, [](int) {});
  subject.sendError(test::errorNamed("Host"));
  EXPECT_EQ(log, "A binding ended with an error: Host 1");
}

}  // namespace
}  // namespace tarn

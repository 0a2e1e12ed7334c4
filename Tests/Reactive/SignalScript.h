#pragma once

#include <functional>
#include <memory>
#include <ostream>
#include <sstream>
#include <string>
#include <tuple>

#include "Reactive/Tarn_RACSubject.h"

namespace tarn::test {

inline Error errorNamed(const std::string& name) {
  return Error{name, 1, {}, {}, {}, nullptr};
}

/// Values as the scripts write them: tuples as "1,2".
template <typename T>
std::string textOf(const T& value) {
  std::ostringstream out;
  out << value;
  return out.str();
}
template <typename... T>
std::string textOf(const std::tuple<T...>& tuple) {
  std::string text;
  std::apply([&](const auto&... each) { ((text += (text.empty() ? "" : ",") + textOf(each)), ...); }, tuple);
  return text;
}

/// What subscriptions received, as one line: values, "|" for the completion, "!name" for the error. Anything
/// received after the end is recorded too.
class Recording {
 public:
  void add(const std::string& entry) { *line_ += (line_->empty() ? "" : " ") + entry; }
  [[nodiscard]] const std::string& line() const { return *line_; }

  /// Adds a subscription that is recorded here. `onValue` is called with each value's text after it was
  /// recorded. Only the subscription's callbacks hold `witness`.
  template <typename T>
  Tarn_RACDisposable subscribeTo(
      const Tarn_RACSignal<T>& signal, std::shared_ptr<int> witness = nullptr,
      std::function<void(const std::string&)> onValue = [](const auto&) {}) const {
    auto recording = *this;
    return signal.subscribeNext(
        [recording, witness, onValue](const T& value) mutable {
          recording.add(textOf(value));
          onValue(textOf(value));
        },
        [recording, witness](const Error& error) mutable { recording.add("!" + error.domain); },
        [recording, witness]() mutable { recording.add("|"); });
  }

 private:
  std::shared_ptr<std::string> line_ = std::make_shared<std::string>();
};

/// Three subjects and a subscription, driven by a script of steps: "a1" sends 1 on a, "a|" completes it, "a!"
/// ends it with an error named a, "-" disposes of the subscription.
struct ScriptedSubjects {
  Tarn_RACSubject<int> a;
  Tarn_RACSubject<int> b;
  Tarn_RACSubject<int> c;
  Tarn_RACDisposable disposable;

  void run(const std::string& script) const {
    std::istringstream steps(script);
    for (std::string step; steps >> step;) {
      const auto& subject = step[0] == 'a' ? a : step[0] == 'b' ? b : c;
      const auto action = step.substr(1);
      if (step == "-") {
        disposable.dispose();
      } else if (action == "|") {
        subject.sendCompleted();
      } else if (action == "!") {
        subject.sendError(errorNamed(step.substr(0, 1)));
      } else {
        subject.sendNext(std::stoi(action));
      }
    }
  }

  /// The names of the subjects that have subscribers.
  [[nodiscard]] std::string subscribedSubjects() const {
    return std::string(a.hasSubscribers() ? "a" : "") + (b.hasSubscribers() ? "b" : "") +
           (c.hasSubscribers() ? "c" : "");
  }
};

}  // namespace tarn::test

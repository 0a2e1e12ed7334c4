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

/// What a subscription was told, as one line: values, "|" for the completion, "!name" for the error. Told
/// anything after the end it shows that too.
class Record {
 public:
  void add(const std::string& entry) { *line_ += (line_->empty() ? "" : " ") + entry; }
  [[nodiscard]] const std::string& line() const { return *line_; }

  /// Each call makes a subscription that writes here; `onValue` is told of each value's text after it was
  /// written. The witness is held by the subscription's callbacks, and by nothing else.
  template <typename T>
  Tarn_RACDisposable listen(
      const Tarn_RACSignal<T>& signal, std::shared_ptr<int> witness = nullptr,
      std::function<void(const std::string&)> onValue = [](const auto&) {}) const {
    auto record = *this;
    return signal.subscribeNext(
        [record, witness, onValue](const T& value) mutable {
          record.add(textOf(value));
          onValue(textOf(value));
        },
        [record, witness](const Error& error) mutable { record.add("!" + error.domain); },
        [record, witness]() mutable { record.add("|"); });
  }

 private:
  std::shared_ptr<std::string> line_ = std::make_shared<std::string>();
};

/// Three subjects and a subscription, played by a script of steps: "a1" sends 1 on a, "a|" completes it, "a!"
/// fails it with an error named a, "-" disposes of the subscription.
struct Stage {
  Tarn_RACSubject<int> a;
  Tarn_RACSubject<int> b;
  Tarn_RACSubject<int> c;
  Tarn_RACDisposable disposable;

  void play(const std::string& script) const {
    std::istringstream steps(script);
    for (std::string step; steps >> step;) {
      const auto& subject = step[0] == 'a' ? a : step[0] == 'b' ? b : c;
      const auto what = step.substr(1);
      if (step == "-") {
        disposable.dispose();
      } else if (what == "|") {
        subject.sendCompleted();
      } else if (what == "!") {
        subject.sendError(errorNamed(step.substr(0, 1)));
      } else {
        subject.sendNext(std::stoi(what));
      }
    }
  }

  /// The names of the subjects that somebody listens to.
  [[nodiscard]] std::string heard() const {
    return std::string(a.hasSubscribers() ? "a" : "") + (b.hasSubscribers() ? "b" : "") +
           (c.hasSubscribers() ? "c" : "");
  }
};

}  // namespace tarn::test

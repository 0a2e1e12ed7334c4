#pragma once

#include <memory>
#include <utility>

#include "Platform/Error.h"
#include "Reactive/Tarn_RACDisposable.h"

/// The parts that signals are built from. Users of signals need nothing from here.
namespace tarn::rac {

/// The receiving side of a subscription: it receives values, then at most one error or completion.
///
/// `disposable` ends the subscription: after it has been disposed of, no stage passes anything on. Ownership
/// goes one way, from the source down to the application's callbacks: a source holds its receivers, a
/// receiver the next one. Upwards there is only the disposable, which holds no receiver; so there is no
/// cycle.
template <typename T>
class Receiver {
 public:
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;
  virtual ~Receiver() = default;

  /// The caller keeps `value` valid and unchanged until the call returns, even if callbacks destroy the
  /// sender.
  void sendNext(const T& value) {
    if (!isDisposed()) next(value);
  }
  void sendError(const Error& error) {
    if (!isDisposed()) failed(error);
  }
  void sendCompleted() {
    if (!isDisposed()) completed();
  }

  [[nodiscard]] bool isDisposed() const { return disposable_.isDisposed(); }
  [[nodiscard]] const Tarn_RACDisposable& disposable() const { return disposable_; }

 protected:
  explicit Receiver(const Tarn_RACDisposable& disposable) : disposable_(disposable) {}

 private:
  virtual void next(const T& value) = 0;
  virtual void failed(const Error& error) = 0;
  virtual void completed() = 0;

  Tarn_RACDisposable disposable_;
};

template <typename T>
using ReceiverPtr = std::shared_ptr<Receiver<T>>;

/// A callback that does nothing.
struct Ignore {
  template <typename... Arguments>
  void operator()(const Arguments&...) const {}
};

/// The last receiver of a chain: calls the application, and disposes of the subscription before it reports
/// the end.
template <typename T, typename Next, typename Failed, typename Completed>
class CallbackReceiver final : public Receiver<T> {
 public:
  CallbackReceiver(const Tarn_RACDisposable& disposable, Next next, Failed failed, Completed completed)
      : Receiver<T>(disposable),
        next_(std::move(next)),
        failed_(std::move(failed)),
        completed_(std::move(completed)) {}

 private:
  void next(const T& value) override { next_(value); }
  void failed(const Error& error) override {
    this->disposable().dispose();
    failed_(error);
  }
  void completed() override {
    this->disposable().dispose();
    completed_();
  }

  Next next_;
  Failed failed_;
  Completed completed_;
};

/// One stage of a chain; it ends with the receiver below it. `step` takes a value and that receiver.
template <typename T, typename U, typename Step>
class Stage final : public Receiver<T> {
 public:
  Stage(const ReceiverPtr<U>& downstream, const Step& step)
      : Receiver<T>(downstream->disposable()), downstream_(downstream), step_(step) {}

 private:
  void next(const T& value) override { step_(value, *downstream_); }
  void failed(const Error& error) override { downstream_->sendError(error); }
  void completed() override { downstream_->sendCompleted(); }

  ReceiverPtr<U> downstream_;
  Step step_;
};

/// The source of a signal's values: starts the work for a receiver.
template <typename T>
class Source {
 public:
  Source() = default;
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  virtual ~Source() = default;
  virtual void subscribe(const ReceiverPtr<T>& receiver) = 0;
};

/// A source that is one function, which all subscriptions share.
template <typename T, typename Subscribe>
class FunctionSource final : public Source<T> {
 public:
  explicit FunctionSource(Subscribe subscribe) : subscribe_(std::move(subscribe)) {}
  void subscribe(const ReceiverPtr<T>& receiver) override { subscribe_(receiver); }

 private:
  const Subscribe subscribe_;
};

}  // namespace tarn::rac

#pragma once

#include <memory>
#include <utility>

#include "Platform/Error.h"
#include "Reactive/Tarn_RACDisposable.h"

/// What signals are made of. Users of signals need nothing from here.
namespace tarn::rac {

/// One end of a subscription: told of the values, then at most once of the error or the completion.
///
/// `disposable` is the life of the subscription: once it has been disposed of, nothing gets through, at any
/// stage. Ownership runs one way, from the source down to the application's callbacks: a source holds its
/// receivers, a receiver the next one. The way back up is the disposable alone, which holds no receiver; so
/// nothing here forms a cycle.
template <typename T>
class Receiver {
 public:
  Receiver(const Receiver&) = delete;
  Receiver& operator=(const Receiver&) = delete;
  virtual ~Receiver() = default;

  /// `value` stays valid and unchanged until the call returns, whatever the callbacks do.
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

/// The callback that does nothing.
struct Ignore {
  template <typename... Arguments>
  void operator()(const Arguments&...) const {}
};

/// The end of a chain: calls back, and ends the subscription's life before it reports the end.
template <typename T, typename Next, typename Failed, typename Completed>
class End final : public Receiver<T> {
 public:
  End(const Tarn_RACDisposable& disposable, Next next, Failed failed, Completed completed)
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

/// One stage of a chain; it shares the life of the stage below. `step` takes a value and the receiver below.
template <typename T, typename U, typename Step>
class Link final : public Receiver<T> {
 public:
  Link(const ReceiverPtr<U>& downstream, const Step& step)
      : Receiver<T>(downstream->disposable()), downstream_(downstream), step_(step) {}

 private:
  void next(const T& value) override { step_(value, *downstream_); }
  void failed(const Error& error) override { downstream_->sendError(error); }
  void completed() override { downstream_->sendCompleted(); }

  ReceiverPtr<U> downstream_;
  Step step_;
};

/// What a signal describes: how a receiver comes to be told.
template <typename T>
class Source {
 public:
  Source() = default;
  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;
  virtual ~Source() = default;
  virtual void subscribe(const ReceiverPtr<T>& receiver) = 0;
};

/// A source that is one function, shared by all its subscriptions.
template <typename T, typename Subscribe>
class FunctionSource final : public Source<T> {
 public:
  explicit FunctionSource(Subscribe subscribe) : subscribe_(std::move(subscribe)) {}
  void subscribe(const ReceiverPtr<T>& receiver) override { subscribe_(receiver); }

 private:
  const Subscribe subscribe_;
};

}  // namespace tarn::rac

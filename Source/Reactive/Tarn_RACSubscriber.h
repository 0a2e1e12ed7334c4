#pragma once

#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "Reactive/Tarn_RACReceiver.h"

namespace tarn::rac {

/// The list of receivers behind a subject, and behind the one receiver of a created signal.
///
/// The list is replaced, never changed. So a send reaches the receivers that were in it when the send began,
/// without a lock and without a copy, while callbacks subscribe, dispose, send, or destroy the subject.
/// Receivers are added and removed on any thread; values and the end are sent from one thread at a time.
template <typename T>
class Broadcast final : public Source<T>, public std::enable_shared_from_this<Broadcast<T>> {
 public:
  void subscribe(const ReceiverPtr<T>& receiver) override {
    if (!append(receiver)) {
      report(*receiver);
      return;
    }
    receiver->disposable().add(Tarn_RACDisposable([broadcast = this->weak_from_this(), key = receiver.get()] {
      if (const auto alive = broadcast.lock()) alive->remove(key);
    }));
  }

  void sendNext(const T& value) const {
    const auto receivers = current();
    if (!receivers) return;
    for (const auto& receiver : *receivers) receiver->sendNext(value);
  }

  /// Sends the completion if there is no error.
  void sendEnd(std::optional<Error> error) {
    const auto self = this->shared_from_this();  // a callback may destroy the subject
    std::shared_ptr<const List> receivers;
    {
      const std::lock_guard lock(mutex_);
      if (ended_) return;
      ended_ = true;
      error_ = std::move(error);
      receivers.swap(receivers_);
    }
    if (!receivers) return;
    for (const auto& receiver : *receivers) report(*receiver);
  }

  [[nodiscard]] bool hasSubscribers() const { return current() != nullptr; }

 private:
  using List = std::vector<ReceiverPtr<T>>;

  [[nodiscard]] std::shared_ptr<const List> current() const {
    const std::lock_guard lock(mutex_);
    return receivers_;
  }

  [[nodiscard]] bool append(const ReceiverPtr<T>& receiver) {
    std::shared_ptr<const List> previous;  // outlives the lock: destroying receivers runs application code
    const std::lock_guard lock(mutex_);
    if (ended_) return false;
    auto list = receivers_ ? std::make_shared<List>(*receivers_) : std::make_shared<List>();
    list->push_back(receiver);
    previous = std::exchange(receivers_, std::move(list));
    return true;
  }

  void remove(const Receiver<T>* key) {
    std::shared_ptr<const List> previous;
    const std::lock_guard lock(mutex_);
    if (!receivers_) return;
    auto list = std::make_shared<List>(*receivers_);
    std::erase_if(*list, [key](const auto& each) { return each.get() == key; });
    if (list->empty()) list = nullptr;
    previous = std::exchange(receivers_, std::move(list));
  }

  void report(Receiver<T>& receiver) const {
    if (error_) {
      receiver.sendError(*error_);
    } else {
      receiver.sendCompleted();
    }
  }

  mutable std::mutex mutex_;
  std::shared_ptr<const List> receivers_;  // null when there is none
  bool ended_ = false;
  std::optional<Error> error_;  // set before `ended_`, then constant
};

}  // namespace tarn::rac

/// Receives the values to send: a subject, or the one subscription of a created signal.
///
/// A cheap handle; copies send to the same place. Values are delivered before `sendNext` returns. After the
/// error or the completion everything sent is ignored. One thread at a time.
template <typename T>
class Tarn_RACSubscriber {
 public:
  explicit Tarn_RACSubscriber(std::shared_ptr<tarn::rac::Broadcast<T>> broadcast)
      : broadcast_(std::move(broadcast)) {}
  Tarn_RACSubscriber(const Tarn_RACSubscriber&) = default;
  Tarn_RACSubscriber& operator=(const Tarn_RACSubscriber&) = default;
  ~Tarn_RACSubscriber() = default;

  /// Takes a copy, so that no callback can change the value before the last subscriber has received it.
  void sendNext(T value) const { broadcast_->sendNext(value); }
  void sendError(tarn::Error error) const { broadcast_->sendEnd(std::move(error)); }
  void sendCompleted() const { broadcast_->sendEnd(std::nullopt); }

  /// False when no one would receive a value: work that only makes values may stop.
  [[nodiscard]] bool hasSubscribers() const { return broadcast_->hasSubscribers(); }

 private:
  template <typename>
  friend class Tarn_RACSignal;
  std::shared_ptr<tarn::rac::Broadcast<T>> broadcast_;
};

#pragma once

#include <memory>

#include "Reactive/Tarn_RACSignal.h"
#include "Reactive/Tarn_RACSubscriber.h"

/// A signal with functions to send its values. A handle; copies are the same subject.
///
/// Subscribers receive values in the order in which they subscribed. A value sent from inside a callback
/// reaches every subscriber before the outer send continues with the next one. A subscriber added inside a
/// callback receives values from the next send on. A subscriber added after the end receives the end at once.
///
/// The subject holds its subscribers until they dispose or it ends; they do not hold it. When the last handle
/// (this one or a signal made from it) is destroyed, they are released and receive nothing; a send in
/// progress still reaches all of them.
template <typename T>
class Tarn_RACSubject : public Tarn_RACSignal<T>, public Tarn_RACSubscriber<T> {
 public:
  Tarn_RACSubject() : Tarn_RACSubject(std::make_shared<tarn::rac::Broadcast<T>>()) {}

  /// The subject without its functions to send.
  [[nodiscard]] Tarn_RACSignal<T> signal() const { return *this; }

 private:
  explicit Tarn_RACSubject(const std::shared_ptr<tarn::rac::Broadcast<T>>& broadcast)
      : Tarn_RACSignal<T>(broadcast), Tarn_RACSubscriber<T>(broadcast) {}
};

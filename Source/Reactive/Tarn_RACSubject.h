#pragma once

#include <memory>

#include "Reactive/Tarn_RACSignal.h"
#include "Reactive/Tarn_RACSubscriber.h"

/// A signal that is fed by hand. A handle; copies are the same subject.
///
/// Subscribers are told in the order in which they subscribed. A value sent from inside a callback goes to
/// every subscriber before the outer send goes on to the next one. Somebody who subscribes inside a callback
/// is told from the next send on. Who subscribes after the end is told of the end at once.
///
/// The subject holds its subscribers until they dispose or it ends; they do not hold it. When the last handle
/// (this one or a signal made from it) goes, they are let go without being told; a send under way still
/// reaches all of them.
template <typename T>
class Tarn_RACSubject : public Tarn_RACSignal<T>, public Tarn_RACSubscriber<T> {
 public:
  Tarn_RACSubject() : Tarn_RACSubject(std::make_shared<tarn::rac::Broadcast<T>>()) {}

  /// The receiving side alone.
  [[nodiscard]] Tarn_RACSignal<T> signal() const { return *this; }

 private:
  explicit Tarn_RACSubject(const std::shared_ptr<tarn::rac::Broadcast<T>>& broadcast)
      : Tarn_RACSignal<T>(broadcast), Tarn_RACSubscriber<T>(broadcast) {}
};

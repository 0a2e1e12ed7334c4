#pragma once

#include <utility>

#include "Reactive/Tarn_RACSubject.h"

/// The invocations of an operation, as a signal of their arguments.
///
/// The owner of the operation holds it and calls it from the operation's body; observers of the operation
/// subscribe to the signal:
///
///     void resumeAd() { resumeAdInvocations_(); }
///     Tarn_RACSignal<Tarn_RACUnit> resumeAdInvocations() const { return resumeAdInvocations_.signal(); }
///
/// Values are sent inside the call. The signal does not end; its subscriptions are released with the owner.
template <typename... Arguments>
class Tarn_RACInvocations {
 public:
  void operator()(Arguments... arguments) const {
    subject_.sendNext(Tarn_RACTuple<Arguments...>(std::move(arguments)...));
  }

  [[nodiscard]] Tarn_RACSignal<Tarn_RACTuple<Arguments...>> signal() const { return subject_.signal(); }

 private:
  Tarn_RACSubject<Tarn_RACTuple<Arguments...>> subject_;
};

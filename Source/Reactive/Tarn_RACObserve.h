#pragma once

#include <concepts>
#include <memory>

#include "Platform/Observable.h"
#include "Reactive/Tarn_RACSignal.h"

namespace tarn {

/// The values of a property: the current one inside the subscribing call (unless `mode` leaves it out), then
/// each assigned one. Does not end; goes silent when the property is destroyed, before which the last
/// subscribing must have been done. On the property's thread.
template <typename T>
[[nodiscard]] Tarn_RACSignal<T> observe(Observable<T>& property, Observe mode = Observe::initialAndNew) {
  return rac::describe<T>([&property, mode](const rac::ReceiverPtr<T>& receiver) {
    receiver->disposable().add(Tarn_RACDisposable(
        property.observe([receiver](const T& value) { receiver->sendNext(value); }, mode)));
  });
}

/// The same for a property of a shared object, which is not kept alive: a subscription made when the object
/// has gone completes at once.
template <typename Owner, typename Base, typename T>
requires std::derived_from<Owner, Base>
[[nodiscard]] Tarn_RACSignal<T> observe(const std::shared_ptr<Owner>& owner,
                                        Observable<T>& (Base::*property)(),
                                        Observe mode = Observe::initialAndNew) {
  return rac::describe<T>(
      [weakOwner = std::weak_ptr<Owner>(owner), property, mode](const rac::ReceiverPtr<T>& receiver) {
        if (const auto alive = weakOwner.lock()) {
          observe(((*alive).*property)(), mode).subscribeReceiver(receiver);
        } else {
          receiver->sendCompleted();
        }
      });
}

/// The values of a property of whatever object another property holds, for objects that come later or change:
/// each new object's current value, then its new ones. While there is no object the value is `T()`, sent once
/// for each assignment of null. `Observe::newValues` leaves out only what is current when subscribing.
template <typename Owner, typename Base, typename T>
requires std::derived_from<Owner, Base>
[[nodiscard]] Tarn_RACSignal<T> observe(Observable<std::shared_ptr<Owner>>& object,
                                        Observable<T>& (Base::*property)(),
                                        Observe mode = Observe::initialAndNew) {
  const auto values = observe(object)
                          .map([property](const std::shared_ptr<Owner>& owner) {
                            return owner ? observe(owner, property) : Tarn_RACSignal<T>::returnValue(T());
                          })
                          .switchToLatest();
  return mode == Observe::initialAndNew ? values : values.skip(1);
}

}  // namespace tarn

#pragma once

#include <concepts>
#include <memory>

#include "Platform/Observable.h"
#include "Reactive/Tarn_RACSignal.h"

namespace tarn {

/// The values of a property: the current one inside the subscribing call (unless `mode` is `newValues`), then
/// each assigned one. Does not end; sends nothing after the property is destroyed. Do not subscribe after
/// that. On the property's thread.
template <typename T>
[[nodiscard]] Tarn_RACSignal<T> observe(Observable<T>& property, Observe mode = Observe::initialAndNew) {
  return rac::makeSignal<T>([&property, mode](const rac::ReceiverPtr<T>& receiver) {
    receiver->disposable().add(Tarn_RACDisposable(
        property.observe([receiver](const T& value) { receiver->sendNext(value); }, mode)));
  });
}

/// The same for a property of a shared object, which is not kept alive: a subscription made after the object
/// was destroyed completes at once.
template <typename Owner, typename Base, typename T>
requires std::derived_from<Owner, Base>
[[nodiscard]] Tarn_RACSignal<T> observe(const std::shared_ptr<Owner>& owner,
                                        Observable<T>& (Base::*property)(),
                                        Observe mode = Observe::initialAndNew) {
  return rac::makeSignal<T>(
      [weakOwner = std::weak_ptr<Owner>(owner), property, mode](const rac::ReceiverPtr<T>& receiver) {
        if (const auto alive = weakOwner.lock()) {
          observe(((*alive).*property)(), mode).subscribeReceiver(receiver);
        } else {
          receiver->sendCompleted();
        }
      });
}

/// The values of a property of the object that the property `object` holds at the time: for each assigned
/// object its current value, then its new ones; for each assignment of null one `T()`. `Observe::newValues`
/// omits only the value that is current when subscribing.
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

#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "Reactive/Tarn_RACSubject.h"

/// A subject that first sends each new subscriber all values sent so far, then the later ones.
///
/// It keeps every value as long as a handle or a signal of it exists: use it for work that yields few values.
/// A handle; copies are the same subject. It belongs, subscribing included, to one thread at a time.
template <typename T>
class Tarn_RACReplaySubject {
 public:
  void sendNext(T value) const {
    if (past_->ended) return;
    past_->values.push_back(value);
    live_.sendNext(std::move(value));
  }
  void sendError(tarn::Error error) const {
    past_->ended = true;
    live_.sendError(std::move(error));
  }
  void sendCompleted() const {
    past_->ended = true;
    live_.sendCompleted();
  }

  [[nodiscard]] Tarn_RACSignal<T> signal() const {
    return tarn::rac::makeSignal<T>(
        [past = past_, live = live_.signal()](const tarn::rac::ReceiverPtr<T>& receiver) {
          for (std::size_t i = 0; i < past->values.size(); ++i) {
            const T value = past->values[i];  // a callback may send, which may reallocate the values
            receiver->sendNext(value);
          }
          live.subscribeReceiver(receiver);
        });
  }

 private:
  struct Past {
    std::vector<T> values;
    bool ended = false;
  };
  std::shared_ptr<Past> past_ = std::make_shared<Past>();
  Tarn_RACSubject<T> live_;
};

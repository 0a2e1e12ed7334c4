#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

namespace tarn {

/// Ends an observation or an installation when it is destroyed. Move-only; an empty token does nothing.
class Token {
 public:
  Token() = default;
  explicit Token(std::function<void()> end) : end_(std::move(end)) {}
  Token(Token&& other) noexcept : end_(std::exchange(other.end_, nullptr)) {}
  Token& operator=(Token&& other) noexcept {
    if (this != &other) {
      reset();
      end_ = std::exchange(other.end_, nullptr);
    }
    return *this;
  }
  Token(const Token&) = delete;
  Token& operator=(const Token&) = delete;
  ~Token() { reset(); }

  /// Ends the observation or installation now; a second call does nothing.
  void reset() {
    if (auto end = std::exchange(end_, nullptr)) end();
  }

 private:
  std::function<void()> end_;
};

enum class Observe {
  newValues,      ///< Called for each assignment from now on.
  initialAndNew,  ///< Called with the current value at once, then for each assignment.
};

/// A property whose assignments can be observed.
///
/// `set` calls the observers, in the order in which they were added, with each assigned value, even if it
/// equals the previous one, on the assigning thread. An observer may assign (observers then receive the inner
/// value first, then the outer one), add observers (called from the next assignment on), or end any
/// observation, its own included (not called again). An exception of an observer leaves `set`; later
/// observers do not receive the value. The property may be destroyed before its tokens. It belongs to one
/// thread at a time. Assigning allocates nothing beyond what copying `T` does.
template <typename T>
class Observable {
 public:
  using Observer = std::function<void(const T&)>;

  Observable() = default;
  explicit Observable(T initial) : value_(std::move(initial)) {}
  Observable(const Observable&) = delete;
  Observable& operator=(const Observable&) = delete;

  [[nodiscard]] const T& get() const { return value_; }

  void set(T value) {
    value_ = value;
    const auto slots = slots_;  // keeps the list alive when an observer destroys this property
    slots->announce(value);
  }

  /// The observation ends when the token is destroyed; `observer` is destroyed no later than this property.
  [[nodiscard]] Token observe(Observer observer, Observe mode = Observe::newValues) {
    auto slot = std::make_shared<Slot>(std::move(observer));
    slots_->list.push_back(slot);
    Token token([slots = std::weak_ptr<Slots>(slots_), weakSlot = std::weak_ptr<Slot>(slot)] {
      const auto ended = weakSlot.lock();
      if (!ended) return;
      ended->active = false;
      if (const auto owner = slots.lock()) owner->removeEnded();
    });
    if (mode == Observe::initialAndNew) {
      const T initial = value_;
      slot->observer(initial);  // may destroy this property, or throw
    }
    return token;
  }

 private:
  struct Slot {
    explicit Slot(Observer o) : observer(std::move(o)) {}
    Observer observer;
    bool active = true;
  };

  struct Slots;

  /// Marks the announcement as ended, also when an observer throws.
  class Announcement {
   public:
    explicit Announcement(Slots& slots) : slots_(slots) { ++slots_.announcing; }
    Announcement(const Announcement&) = delete;
    Announcement& operator=(const Announcement&) = delete;
    ~Announcement() {
      --slots_.announcing;
      slots_.removeEnded();
    }

   private:
    Slots& slots_;
  };

  struct Slots {
    std::vector<std::shared_ptr<Slot>> list;
    int announcing = 0;

    void announce(const T& value) {
      const std::size_t count = list.size();
      const Announcement announcement(*this);
      for (std::size_t i = 0; i < count; ++i) {
        const auto slot = list[i];
        if (slot->active) slot->observer(value);
      }
    }

    void removeEnded() {
      if (announcing > 0) return;
      const auto firstEnded = std::stable_partition(list.begin(), list.end(), isActive);
      if (firstEnded == list.end()) return;
      // Destroyed outside the list: destroying an observer may end other observations.
      const std::vector<std::shared_ptr<Slot>> ended(firstEnded, list.end());
      list.erase(firstEnded, list.end());
    }

    static bool isActive(const std::shared_ptr<Slot>& slot) { return slot->active; }
  };

  T value_{};
  std::shared_ptr<Slots> slots_ = std::make_shared<Slots>();
};

}  // namespace tarn

#include "Host/TarnNotificationCenter.h"

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

namespace {

struct Entry {
  std::string name;
  TarnNotificationCenter::Observer observer;
  std::atomic<bool> ended = false;
};

}  // namespace

struct TarnNotificationCenter::State {
  std::mutex mutex;
  std::vector<std::shared_ptr<Entry>> entries;

  std::vector<std::shared_ptr<Entry>> entriesFor(std::string_view name) {
    std::vector<std::shared_ptr<Entry>> found;
    const std::lock_guard lock(mutex);
    for (const auto& entry : entries) {
      if (entry->name == name) found.push_back(entry);
    }
    return found;
  }

  void end(const std::shared_ptr<Entry>& entry) {
    entry->ended = true;
    const std::lock_guard lock(mutex);
    std::erase(entries, entry);
  }
};

TarnNotificationCenter::TarnNotificationCenter() : state_(std::make_shared<State>()) {}

TarnNotificationCenter::~TarnNotificationCenter() = default;

TarnNotificationCenter& TarnNotificationCenter::defaultCenter() {
  static TarnNotificationCenter center;
  return center;
}

tarn::Token TarnNotificationCenter::addObserverForName(std::string_view name, Observer observer) {
  auto entry = std::make_shared<Entry>();
  entry->name = name;
  entry->observer = std::move(observer);
  {
    const std::lock_guard lock(state_->mutex);
    state_->entries.push_back(entry);
  }
  return tarn::Token([weakState = std::weak_ptr<State>(state_), weakEntry = std::weak_ptr<Entry>(entry)] {
    const auto state = weakState.lock();
    const auto ended = weakEntry.lock();
    if (state && ended) state->end(ended);
  });
}

void TarnNotificationCenter::postNotificationName(std::string_view name, std::shared_ptr<const void> sender,
                                                  std::optional<tarn::Dictionary> info) {
  const TarnNotification notification{std::string(name), std::move(sender), std::move(info)};
  for (const auto& entry : state_->entriesFor(name)) {
    if (!entry->ended) entry->observer(notification);
  }
}

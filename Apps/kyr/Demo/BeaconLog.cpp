#include "Demo/BeaconLog.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <utility>

#include "Demo/DemoStream.h"
#include "Terminal/Json.h"
#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

constexpr std::size_t kTitleColumns = 26;

}  // namespace

void BeaconLog::receive(std::string_view target, std::string url) {
  const std::lock_guard lock(mutex_);
  const auto at =
      std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start_);
  print(fmt::format("{:>9.3f} s  {}\n", static_cast<double>(at.count()) / 1000, beaconName(target)));
  std::fflush(stdout);
  beacons_.push_back({std::move(url), at});
  if (beacons_.size() > kCapacity) beacons_.pop_front();
}

std::string BeaconLog::json() const {
  Json list = Json::array();
  const std::lock_guard lock(mutex_);
  for (const auto& beacon : beacons_) list.push_back({{"url", beacon.url}, {"ms", beacon.at.count()}});
  return compactText(list);
}

void BeaconLog::clear() {
  const std::lock_guard lock(mutex_);
  beacons_.clear();
}

std::string beaconName(std::string_view target) {
  constexpr std::string_view kPrefix = "/beacon/";
  std::string_view path = target.substr(0, target.find('?'));
  if (path.starts_with(kPrefix)) path.remove_prefix(kPrefix.size());
  const auto slash = path.find('/');
  const std::string_view slug = path.substr(0, slash);
  const std::string_view event = slash == std::string_view::npos ? "" : path.substr(slash + 1);
  std::string_view title = slug;
  const auto sections = demoSections(demoCuts().front());
  for (const auto& section : sections) {
    if (section.slug == slug) title = section.picture.title;
  }
  std::string name = printable(title);
  name.resize(name.size() + kTitleColumns - std::min(columns(name), kTitleColumns), ' ');
  return name + ' ' + printable(event);
}

}  // namespace tarn::cli

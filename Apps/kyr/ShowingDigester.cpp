#include "ShowingDigester.h"

#include <utility>

namespace tarn::cli {
namespace {

/// Without an HTTP session the beacons end here.
class WithholdingDigester final : public TarnLumoAnalyticsDigester {
 public:
  explicit WithholdingDigester(std::function<void(const URL&)> show)
      : TarnLumoAnalyticsDigester(nullptr), show_(std::move(show)) {}

  void digestEvent(const std::optional<URL>& url) override {
    if (url) show_(*url);
  }

 private:
  const std::function<void(const URL&)> show_;
};

class SendingDigester final : public TarnLumoAnalyticsDigester {
 public:
  explicit SendingDigester(std::function<void(const URL&)> show) : show_(std::move(show)) {}

  void digestEvent(const std::optional<URL>& url) override {
    if (url) show_(*url);
    TarnLumoAnalyticsDigester::digestEvent(url);
  }

 private:
  const std::function<void(const URL&)> show_;
};

}  // namespace

std::shared_ptr<TarnLumoAnalyticsDigester> makeShowingDigester(Beacons beacons,
                                                               std::function<void(const URL&)> show) {
  if (beacons == Beacons::shown) return std::make_shared<WithholdingDigester>(std::move(show));
  return std::make_shared<SendingDigester>(std::move(show));
}

}  // namespace tarn::cli

#include "Host/TarnPlayerSDKManager.h"

#include <gmock/gmock.h>

#include "Host/TarnNotificationCenter.h"

namespace {

using ::testing::ElementsAre;

template <int kClass>
class StubComponent final : public TarnComponent {
 public:
  explicit StubComponent(std::string version) : version_(std::move(version)) {}
  [[nodiscard]] std::type_index componentClass() const override { return typeid(StubComponent); }
  [[nodiscard]] std::string versionIdentifier() const override { return version_; }
  void tarn_componentIdentity() override { ++identified; }
  void tarn_setComponentContext(const TarnComponentContext& given) override { context = given; }
  void postFeatureAnalytics() override {
    tarn::Dictionary info;
    info.set("stub", version_);
    TarnNotificationCenter::defaultCenter().postNotificationName(
        kTarnNotificationAnalyticsPostFeatureAnalytics, nullptr, std::move(info));
  }

  int identified = 0;
  TarnComponentContext context;

 private:
  std::string version_;
};

TEST(TarnPlayerSDKManager, KeepsEveryComponentButLetsTheNewestOfEachClassPost) {
  const auto manager = std::make_shared<TarnPlayerSDKManager>(nullptr);
  const auto first = std::make_shared<StubComponent<1>>("1.0");
  const auto other = std::make_shared<StubComponent<2>>("2.0");
  const auto again = std::make_shared<StubComponent<1>>("1.1");
  manager->registerComponent(first);
  manager->registerComponent(other);
  manager->registerComponent(again);
  EXPECT_THAT(manager->components(), ElementsAre(first, other, again));
  EXPECT_EQ(again->identified, 1);
  EXPECT_EQ(again->context.manager.lock(), manager);

  std::vector<std::string> versions;
  const auto token = TarnNotificationCenter::defaultCenter().addObserverForName(
      kTarnNotificationAnalyticsPostFeatureAnalytics,
      [&](const auto& n) { versions.push_back(*n.info->template get<std::string>("stub")); });
  EXPECT_NE(manager->createPlaybackControllerWithSessionProvider(nullptr), nullptr);
  EXPECT_THAT(versions, ElementsAre("1.1", "2.0"));
}

}  // namespace

#include "Host/TarnPlayerSDKManager.h"

#include <gmock/gmock.h>

namespace {

using ::testing::ElementsAre;

template <int kClass>
class StubComponent final : public TarnComponent {
 public:
  StubComponent(std::string version, std::vector<std::string>& posted)
      : version_(std::move(version)), posted_(posted) {}
  [[nodiscard]] std::type_index componentClass() const override { return typeid(StubComponent); }
  [[nodiscard]] std::string versionIdentifier() const override { return version_; }
  void tarn_componentIdentity() override { ++identified; }
  void tarn_setComponentContext(const TarnComponentContext& given) override { context = given; }
  void postFeatureAnalytics() override { posted_.push_back(version_); }

  int identified = 0;
  TarnComponentContext context;

 private:
  const std::string version_;
  std::vector<std::string>& posted_;
};

TEST(TarnPlayerSDKManager, KeepsEveryComponentButLetsTheNewestOfEachClassPost) {
  std::vector<std::string> posted;
  const auto manager = std::make_shared<TarnPlayerSDKManager>(nullptr);
  const auto first = std::make_shared<StubComponent<1>>("1.0", posted);
  const auto other = std::make_shared<StubComponent<2>>("2.0", posted);
  const auto again = std::make_shared<StubComponent<1>>("1.1", posted);
  manager->registerComponent(first);
  manager->registerComponent(other);
  manager->registerComponent(again);
  EXPECT_THAT(manager->components(), ElementsAre(first, other, again));
  EXPECT_EQ(again->identified, 1);
  EXPECT_EQ(again->context.manager.lock(), manager);
  EXPECT_NE(manager->createPlaybackControllerWithSessionProvider(nullptr), nullptr);
  EXPECT_THAT(posted, ElementsAre("1.1", "2.0"));
}

}  // namespace

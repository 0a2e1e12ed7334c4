#include "Kyr/TarnKyrCompanionSlot.h"

#include <gmock/gmock.h>

#include "Kyr/TarnKyrAdComponentDisplayContainer.h"
#include "Platform/Log.h"
#include "Platform/ProgrammingError.h"

namespace tarn::test {
namespace {

TEST(CompanionSlot, IsMadeEmpty) {
  QQuickItem view;
  TarnKyrCompanionSlot slot(&view, 300, 250);
  EXPECT_EQ(slot.view(), nullptr);
  EXPECT_EQ(slot.width(), 0);
  EXPECT_EQ(slot.height(), 0);
}

TEST(BareInitialisers, AreLoggedAndThrown) {
  std::vector<std::string> lines;
  const auto sink = installLogSink([&](std::string_view line) { lines.emplace_back(line); });
  EXPECT_THROW(TarnKyrCompanionSlot(), ProgrammingError);
  EXPECT_THROW(TarnKyrAdComponentDisplayContainer(), ProgrammingError);
  EXPECT_THAT(lines,
              ::testing::ElementsAre(
                  "Do not call -[TarnKyrCompanionSlot init] directly, instead use "
                  "-[TarnKyrCompanionSlot initWithView:width:height:]",
                  "Do not call -[TarnKyrAdComponentDisplayContainer init] directly, instead use "
                  "-[TarnKyrAdComponentDisplayContainer initWithAdComponentContainer:companionSlots:]"));
}

}  // namespace
}  // namespace tarn::test

#include "Overlay/TarnKyrCompanionSlot.h"

#include "Platform/ProgrammingError.h"

TarnKyrCompanionSlot::TarnKyrCompanionSlot() {
  tarn::failProgramming(
      "Do not call -[TarnKyrCompanionSlot init] directly, instead use "
      "-[TarnKyrCompanionSlot initWithView:width:height:]");
}

TarnKyrCompanionSlot::TarnKyrCompanionSlot(QQuickItem* view, std::int64_t width, std::int64_t height) {
  configureWithView(view, width, height);
}

void TarnKyrCompanionSlot::configureWithView(QQuickItem* /*view*/, std::int64_t /*width*/,
                                             std::int64_t /*height*/) {}

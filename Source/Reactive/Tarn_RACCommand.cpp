#include "Reactive/Tarn_RACCommand.h"

namespace tarn::rac {

Error commandNotEnabledError() {
  return Error{.domain = Tarn_RACCommandErrorDomain,
               .code = Tarn_RACCommandErrorNotEnabled,
               .description = "The command is disabled or still running; nothing was done",
               .failureReason = {},
               .recoverySuggestion = "Execute it when it is enabled",
               .underlying = nullptr};
}

}  // namespace tarn::rac

#pragma once

#include "Platform/Queue.h"

namespace tarn {

/// Runs `task` on one of the library's pool threads. Any thread; also while the process exits; the task may
/// be dropped then.
void runOnPool(Task task);

}  // namespace tarn

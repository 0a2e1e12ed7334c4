#include "Platform/ProgrammingError.h"

#include "Platform/Log.h"

namespace tarn {

void failProgramming(const std::string& message) {
  writeLogLine(message);
  throw ProgrammingError(message);
}

}  // namespace tarn

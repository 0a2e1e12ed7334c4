#include "Report.h"

#include <cstdio>

#include "Json.h"
#include "Text.h"

namespace tarn::cli {

Error callError(std::string description) {
  Error error;
  error.domain = kCallErrorDomain;
  error.code = kWrongCall;
  error.description = std::move(description);
  return error;
}

void printMessage(std::string_view text) {
  const std::string line = "kyr: " + printable(text) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

int reportFailure(const Error& error, bool asJson) {
  printMessage(chainDescription(error));
  if (error.domain == kCallErrorDomain) return kWrongCall;
  if (asJson) writeRecord({{"error", json(error)}});
  return kNotLoaded;
}

}  // namespace tarn::cli

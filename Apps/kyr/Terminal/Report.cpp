#include "Terminal/Report.h"

#include <cstdio>

#include "Terminal/Json.h"
#include "Terminal/Text.h"

namespace tarn::cli {

Error callError(std::string description) {
  return Error::make(kCallErrorDomain, kWrongCall, std::move(description));
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

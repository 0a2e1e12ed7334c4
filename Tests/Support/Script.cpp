#include "Support/Script.h"

#include <gtest/gtest.h>

#include <sstream>

#include "Platform/Text.h"

namespace tarn::test {
namespace {

void performAll(const std::string& commands, const std::function<void(const ScriptCommand&)>& perform) {
  std::istringstream parts(commands);
  for (std::string part; std::getline(parts, part, ';');) {
    std::istringstream words(part);
    ScriptCommand command;
    if (!(words >> command.name)) continue;
    for (std::string word; words >> word;) command.arguments.push_back(word);
    perform(command);
  }
}

}  // namespace

void runScript(const std::string& script, const std::function<void(const ScriptCommand&)>& perform,
               const std::function<std::string(const std::string&)>& observe) {
  std::istringstream lines(script);
  for (std::string line; std::getline(lines, line);) {
    if (trimmed(line).starts_with("//")) continue;
    SCOPED_TRACE(line);
    const auto arrow = line.find("=>");
    performAll(line.substr(0, arrow), perform);
    if (arrow == std::string::npos) continue;
    const auto colon = line.find(':', arrow);
    const std::string name(trimmed(line.substr(arrow + 2, colon - arrow - 2)));
    EXPECT_EQ(observe(name), trimmed(line.substr(colon + 1)));
  }
}

}  // namespace tarn::test

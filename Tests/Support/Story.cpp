#include "Support/Story.h"

#include <gtest/gtest.h>

#include <sstream>

namespace tarn::test {
namespace {

std::string trimmed(const std::string& text) {
  const auto begin = text.find_first_not_of(' ');
  return begin == std::string::npos ? "" : text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
}

}  // namespace

void tellStory(const std::string& story, const std::function<void(const std::string&)>& take,
               const std::function<std::string(const std::string&)>& look) {
  std::istringstream lines(story);
  for (std::string line; std::getline(lines, line);) {
    if (trimmed(line).starts_with("//")) continue;
    SCOPED_TRACE(line);
    const auto arrow = line.find("=>");
    std::istringstream steps(line.substr(0, arrow));
    for (std::string step; steps >> step;) take(step);
    if (arrow == std::string::npos) continue;
    const auto colon = line.find(':', arrow);
    EXPECT_EQ(look(trimmed(line.substr(arrow + 2, colon - arrow - 2))), trimmed(line.substr(colon + 1)));
  }
}

}  // namespace tarn::test

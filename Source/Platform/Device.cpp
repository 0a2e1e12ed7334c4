#include "Platform/Device.h"

#include <sys/utsname.h>
#include <unicode/uloc.h>

#include <cctype>
#include <fstream>
#include <initializer_list>
#include <string_view>

namespace tarn {
namespace {

constexpr const char* kUnknown = "unknown";
constexpr std::size_t kMaxLength = 64;

bool mayStand(char character) {
  const auto code = static_cast<unsigned char>(character);
  return code >= 0x20 && code < 0x7F && std::string_view("();\\").find(character) == std::string_view::npos;
}

/// The characters of `text` that the header allows, without spaces at its ends.
std::string headerText(std::string_view text) {
  std::string clean;
  for (const char character : text.substr(0, kMaxLength)) {
    if (mayStand(character)) clean += character;
  }
  const auto first = clean.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return clean.substr(first, clean.find_last_not_of(' ') - first + 1);
}

std::string firstLine(const char* path) {
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  return headerText(line);
}

std::string osRelease(std::string_view key) {
  std::ifstream file("/etc/os-release");
  const std::string begin = std::string(key) + "=";
  for (std::string line; std::getline(file, line);) {
    if (line.rfind(begin, 0) != 0) continue;
    std::string value = line.substr(begin.size());
    std::erase(value, '"');
    return headerText(value);
  }
  return {};
}

std::string orKernel(std::string text, char (utsname::*field)[65]) {
  if (!text.empty()) return text;
  utsname names{};
  const std::string name = uname(&names) == 0 ? headerText(names.*field) : std::string();
  return name.empty() ? kUnknown : name;
}

}  // namespace

std::string deviceModel() {
  for (const char* path : {"/sys/firmware/devicetree/base/model", "/sys/class/dmi/id/product_name"}) {
    if (std::string model = firstLine(path); !model.empty()) return model;
  }
  return orKernel({}, &utsname::machine);
}

std::string systemVersion() {
  return orKernel(osRelease("VERSION_ID"), &utsname::release);
}

std::string localeIdentifier() {
  const std::string locale = headerText(uloc_getDefault());
  return locale.empty() ? kUnknown : locale;
}

}  // namespace tarn

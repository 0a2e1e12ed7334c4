#include "Terminal/Json.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include "Terminal/Text.h"

namespace tarn::cli {
namespace {

void append(std::string& out, const Json& value);

bool needsNoEscape(const std::string& text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return c >= ' ' && c < '\x7f' && c != '"' && c != '\\'; });
}

void appendText(std::string& out, const std::string& text) {
  if (needsNoEscape(text)) {
    out.append(1, '"').append(text).append(1, '"');
  } else {
    out += Json(text).dump(-1, ' ', false, Json::error_handler_t::replace);
  }
}

void appendObject(std::string& out, const Json& object) {
  out.push_back('{');
  bool first = true;
  for (const auto& [key, member] : object.items()) {
    if (!std::exchange(first, false)) out.push_back(',');
    appendText(out, key);
    out.push_back(':');
    append(out, member);
  }
  out.push_back('}');
}

void appendArray(std::string& out, const Json& array) {
  out.push_back('[');
  bool first = true;
  for (const auto& element : array) {
    if (!std::exchange(first, false)) out.push_back(',');
    append(out, element);
  }
  out.push_back(']');
}

void append(std::string& out, const Json& value) {
  if (value.is_object()) {
    appendObject(out, value);
  } else if (value.is_array()) {
    appendArray(out, value);
  } else if (value.is_number_float()) {
    fmt::format_to(std::back_inserter(out), "{}", value.get<double>());
  } else if (value.is_string()) {
    appendText(out, value.get_ref<const std::string&>());
  } else {
    out += value.dump();
  }
}

}  // namespace

Json json(CMTime time) {
  if (const auto word = specialTimeWord(time); !word.empty()) return word;
  return CMTimeGetSeconds(time);
}

Json json(const std::optional<std::string>& text) {
  return text ? Json(*text) : Json(nullptr);
}

Json json(const std::optional<URL>& url) {
  return url ? Json(url->absoluteString()) : Json(nullptr);
}

Json json(const std::vector<URL>& urls) {
  Json array = Json::array();
  for (const auto& url : urls) array.push_back(url.absoluteString());
  return array;
}

Json json(const Error& error) {
  return {{"domain", error.domain},
          {"code", error.code},
          {"description", json(error.description)},
          {"failureReason", json(error.failureReason)},
          {"underlying", error.underlying ? json(*error.underlying) : Json(nullptr)}};
}

std::string compactText(const Json& value) {
  std::string out;
  append(out, value);
  return out;
}

void printRecord(const Json& record) {
  print(compactText(record) + "\n");
}

void writeRecord(const Json& record) {
  printRecord(record);
  std::fflush(stdout);
}

}  // namespace tarn::cli

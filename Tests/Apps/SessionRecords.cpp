#include "SessionRecords.h"

#include <fmt/format.h>

#include <sstream>
#include <string_view>

namespace tarn::test {
namespace {

using nlohmann::json;

std::string text(const json& value) {
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_number()) return fmt::format("{}", value.get<double>());
  return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string without(std::string_view beginning, const std::string& whole) {
  return whole.starts_with(beginning) ? whole.substr(beginning.size()) : whole;
}

/// "http://b.example/a/impression?x=y" as "a/impression".
std::string beaconName(const std::string& url) {
  const auto end = url.find('?');
  const auto path = url.find('/', url.find("//") + 2) + 1;
  return without("beacon/", url.substr(path, end == std::string::npos ? end : end - path));
}

std::string lifecycleName(const json& record) {
  std::string name = without("kTarnPlaybackSessionLifecycleEvent", record.at("type"));
  if (!record.at("ad").is_null()) name += "(" + text(record["ad"]) + ")";
  if (!record.at("adSequence").is_null()) name += "(" + text(record["adSequence"]) + ")";
  return name;
}

}  // namespace

std::vector<json> parseRecords(const std::string& text) {
  std::vector<json> records;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) records.push_back(json::parse(line));
  return records;
}

std::string shortRecord(const json& record) {
  const std::string kind = record.at("kind");
  if (kind == "player") {
    if (record.at("to").is_null()) return record.at("action");
    return fmt::format("seek({} -{} +{})", text(record["to"]), text(record.at("toleranceBefore")),
                       text(record.at("toleranceAfter")));
  }
  if (kind == "lifecycle") return lifecycleName(record);
  if (kind == "beacon") return beaconName(record.at("url"));
  if (kind == "canSeek") return "canSeek=" + text(record.at("value"));
  if (kind == "seek") return fmt::format("seeked({} {})", text(record.at("to")), text(record.at("finished")));
  if (kind == "load") return text(record.at("state"));
  if (record.contains("content")) return fmt::format("{}({})", kind, text(record["content"]));
  return kind + text(record.at("ranges"));
}

bool isRoutine(const json& record) {
  const std::string kind = record.at("kind");
  return kind == "progress" || kind == "duration" || kind == "seekable" || kind == "loaded" ||
         (kind == "lifecycle" && record.at("type") == "kTarnPlaybackSessionLifecycleEventAdProgress");
}

std::vector<std::string> storyOf(const std::vector<json>& records) {
  std::vector<std::string> lines;
  json at;
  for (const auto& record : records) {
    if (isRoutine(record)) continue;
    if (record.at("at") != at) lines.push_back(text(at = record["at"]) + ":");
    lines.back() += " " + shortRecord(record);
  }
  return lines;
}

}  // namespace tarn::test

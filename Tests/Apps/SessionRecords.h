#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tarn::test {

/// The records that a command printed, one a line.
[[nodiscard]] std::vector<nlohmann::json> parseRecords(const std::string& text);

/// A session's record in short form: "play", "seek(45.2 -0 +2)", "AdEnter(a)", "AdSequenceEnter(1)",
/// "content(5)", "canSeek=no", "seeked(50 yes)", "a/impression", "duration(60)", "seekable[[0,60]]".
[[nodiscard]] std::string shortRecord(const nlohmann::json& record);

/// Whether the record is of a kind that occurs many times a second or only at the beginning.
[[nodiscard]] bool isRoutine(const nlohmann::json& record);

/// The records that are not routine, one line for each time: "5: canSeek=no pause Pause".
[[nodiscard]] std::vector<std::string> storyOf(const std::vector<nlohmann::json>& records);

}  // namespace tarn::test

#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace tarn::test {

/// One command of a script: "seek 50" has the name "seek" and one argument.
struct ScriptCommand {
  std::string name;
  std::vector<std::string> arguments;

  /// Fails if there is no such argument.
  [[nodiscard]] const std::string& argument(std::size_t index = 0) const { return arguments.at(index); }
  [[nodiscard]] double number(std::size_t index = 0) const { return std::stod(argument(index)); }
};

/// Runs a script, in the language of the scripts of `kyr simulate` with two additions: a semicolon separates
/// commands on one line, and a line may end with an expectation. Lines that begin with "//" are comments:
///
///     // The button plays while it is held.
///     press skip; release skip  => calls: play, pause
///                               => buttons: Skip
///
/// `perform` is called with each command, in order. `observe` is called with the name before the colon, for
/// example "calls", and returns the actual value.
void runScript(const std::string& script, const std::function<void(const ScriptCommand& command)>& perform,
               const std::function<std::string(const std::string& name)>& observe);

}  // namespace tarn::test

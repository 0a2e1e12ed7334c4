#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>

#include "Commands/Inspect.h"
#include "Commands/Select.h"
#include "Commands/Simulate.h"
#include "Commands/Trace.h"
#include "Lumo/TarnLumoCommon.h"
#include "Terminal/Report.h"
#include "Viewing/Script.h"
#include "Viewing/ViewerScript.h"
#ifdef KYR_WITH_PLAYER
#include "Commands/Play.h"
#include "Commands/Serve.h"
#endif

namespace tarn::cli {
namespace {

constexpr const char* kFooter =
    "Exit status: 0 done; 1 the document or the stream could not be loaded or played; 2 the call was wrong.";

void addSource(CLI::App& command, SourceOptions& options) {
  command.add_option("SOURCE", options.source, "Path of a VMAP document, or its http or https URL")
      ->required();
  command.add_option("--header", options.headers, "Request header for a URL; may be given repeatedly")
      ->type_name("'Name: value'")
      ->allow_extra_args(false);
}

// Seconds.
constexpr double kMinTick = 0.001;
constexpr double kMaxSeconds = 1e9;

/// The selected command sets `run`.
using Run = std::function<int()>;

void addInspect(CLI::App& app, InspectOptions& options, Run& run) {
  auto* command = app.add_subcommand("inspect", "Print the timeline of a document and what is odd about it");
  addSource(*command, options.source);
  command->add_flag("--json", options.json, "Print one JSON object");
  command->add_option("--svg", options.svg, "Draw the stitched stream into a file")->type_name("FILE");
  command->callback([&options, &run] { run = [&options] { return runInspect(options); }; });
}

void addTrace(CLI::App& app, TraceOptions& options, Run& run) {
  auto* command = app.add_subcommand(
      "trace", "Feed a log of player times through tracker and analytics; beacons are printed, not sent");
  addSource(*command, options.source);
  command->add_option("--input", options.input, "The log; standard input without it")->type_name("FILE");
  command->add_flag("--json", options.json, "Print one JSON object a line");
  command->footer(
      "The log, one command a line; blank lines and lines that begin with # are passed over:\n"
      "  time T                     a new absolute time: seconds, or 'invalid'\n"
      "  suspend yes|no             whether the tracker ignores times\n"
      "  seekable S+D ...           new absolute seekable ranges (start+duration, seconds);\n"
      "                             also 'seekable empty' and 'seekable none'\n"
      "  loaded S+D ...             likewise, loaded ranges\n"
      "  absolute T | content T     ask for the content time at an absolute time, or the reverse\n"
      "  path T                     ask what plays at an absolute time\n\n" +
      std::string(kFooter));
  command->callback([&options, &run] { run = [&options] { return runTrace(options); }; });
}

/// Accepts only a plain number of seconds: no "nan", no "inf".
void checkSeconds(CLI::Option* option, double least) {
  option->type_name("S")->check([least](const std::string& text) {
    const auto number = numberFromWord(text);
    if (number && *number >= least && *number <= kMaxSeconds) return std::string();
    return fmt::format("'{}': expected a number of seconds from {} to {}", text, least, kMaxSeconds);
  });
}

void addSimulate(CLI::App& app, SimulateOptions& options, Run& run) {
  auto* command = app.add_subcommand(
      "simulate", "Run a session over a simulated player in virtual time; beacons are printed, not sent");
  addSource(*command, options.source);
  command->add_option("--script", options.script, "What the viewer does; standard input without it")
      ->type_name("FILE");
  command->add_flag("--json", options.json, "Print one JSON object a line");
  checkSeconds(command->add_option("--tick", options.tick, "Between two reports of the playhead")
                   ->capture_default_str(),
               kMinTick);
  checkSeconds(command->add_option("--seek-latency", options.seekLatency, "How long the player takes to seek")
                   ->capture_default_str(),
               0);
  checkSeconds(command->add_option("--item-duration", options.itemDuration,
                                   "How long the stream lasts; what the document says without it"),
               0);
  command->footer(std::string(kViewerScriptHelp) + "\n\n" + kFooter);
  command->callback([&options, &run] { run = [&options] { return runSimulate(options); }; });
}

void addSelect(CLI::App& app, SelectOptions& options, Run& run) {
  auto* command = app.add_subcommand("select", "Print the elements that an expression matches");
  addSource(*command, options.source);
  auto* expression = command->add_option_group("expression", "What to look for");
  expression->add_option("--xpath", options.xpath, "XPath 1.0; prefixes are the document's")
      ->type_name("EXPRESSION");
  expression->add_option("--css", options.css, "A simple CSS selector")->type_name("SELECTOR");
  expression->require_option(1);
  command->add_flag("--json", options.json, "Print one JSON object");
  command->add_flag("--explain", options.explain, "Print the XPath that is evaluated first");
  command->callback([&options, &run] { run = [&options] { return runSelect(options); }; });
}

#ifdef KYR_WITH_PLAYER
void addPlay(CLI::App& app, PlayOptions& options, Run& run) {
  auto* command = app.add_subcommand("play", "Play the stream on the real player and send its beacons");
  addSource(*command, options.source);
  auto* headless =
      command->add_flag("--headless", options.headless, "In the terminal, without picture and sound");
  command->add_flag("--full-screen", options.fullScreen, "In a window over the whole screen")
      ->excludes(headless);
  command
      ->add_option("--player", options.player, "The player, gstreamer or mpv; mpv plays with --headless only")
      ->capture_default_str()
      ->check(CLI::IsMember({"gstreamer", "mpv"}));
  command->add_option("--script", options.script, "What the viewer does; without it the stream plays at once")
      ->type_name("FILE");
  command->add_flag("--json", options.json, "Print one JSON object a line");
  checkSeconds(command->add_option("--for", options.seconds, "End after so many seconds of playing"), 0);
  command->footer(
      std::string(kViewerScriptHelp) +
      "\n\nOn a terminal and in the window: space pauses and plays, the left and right arrows seek 10 s, s "
      "skips "
      "the ad, l learns more of it, q quits. In the window also: f and F11 for the full screen, up and down "
      "for the ad's buttons, Enter for the button that has the focus.\n\n" +
      kFooter);
  command->callback([&options, &run] { run = [&options] { return runPlay(options); }; });
}

void addServe(CLI::App& app, ServeOptions& options, Run& run) {
  auto* command = app.add_subcommand("serve", "Run the demo ad-insertion service on the loopback interface");
  command->add_option("--port", options.port, "The port; 0 picks a free one")
      ->capture_default_str()
      ->check(CLI::Range(0, 65535));
  command->add_option("--media", options.media, "Where the demo stream is kept; the user's cache without it")
      ->type_name("DIR");
  command->callback([&options, &run] { run = [&options] { return runServe(options); }; });
}
#endif

int run(int argc, char** argv) {
  CLI::App app("Shows what an ad-stitched stream's VMAP document says and what a session would do with it.",
               "kyr");
  app.set_version_flag("--version", "kyr " KYR_VERSION);
  app.require_subcommand(1);
  app.footer(kFooter);
  bool verbose = false;
  app.add_flag("--verbose", verbose, "Write the library's log to standard error");
  app.fallthrough();

  InspectOptions inspect;
  TraceOptions trace;
  SelectOptions select;
  SimulateOptions simulate;
  Run chosen;
  addInspect(app, inspect, chosen);
  addTrace(app, trace, chosen);
  addSimulate(app, simulate, chosen);
  addSelect(app, select, chosen);
#ifdef KYR_WITH_PLAYER
  PlayOptions play;
  ServeOptions serve;
  addPlay(app, play, chosen);
  addServe(app, serve, chosen);
#endif
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& outcome) {
    if (outcome.get_exit_code() == 0) return app.exit(outcome);  // the help or the version was requested
    const bool isUnknown = app.get_subcommands().empty() && !app.remaining().empty();
    printMessage((isUnknown ? "unknown command '" + app.remaining().front() + "'" : outcome.what()) +
                 std::string(" (see kyr --help)"));
    return kWrongCall;
  }
  // The log's messages about a document are in the warnings, with line numbers.
  TarnLumoLogConfigure(verbose ? TarnLumoLogConfigDebug : TarnLumoLogConfigDisabled);
  return chosen();
}

}  // namespace
}  // namespace tarn::cli

int main(int argc, char** argv) {
  const int status = tarn::cli::run(argc, argv);
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    tarn::cli::printMessage(std::string("(standard output): ") + std::strerror(errno));
    return tarn::cli::kWrongCall;
  }
  return status;
}

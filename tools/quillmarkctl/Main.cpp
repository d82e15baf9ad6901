// quillmarkctl: gives the worker its commands and prints the hits it reports.
#include <CLI/CLI.hpp>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <functional>
#include <iostream>
#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>

#include "Commands.h"
#include "Text.h"

namespace quillmark::control {
namespace {

constexpr char Help[] =
    "Gives the Quillmark worker of this session its commands and prints the hits it reports.";
constexpr char ExitCodes[] =
    "Exit codes: 0 done, 1 no answer or nothing found in time, 2 wrong use or error.";
constexpr char QuestionNotes[] =
    "Unread hits stay in the ring for the next watch, and a watch that runs loses none (it prints the reply\n"
    "too). Only when the ring is full and no watch runs are its old records discarded, and their number is\n"
    "told on standard error.";
constexpr char WatchNotes[] =
    "One watch can run at a time. It begins with what lies unread in the ring.\n"
    "With --json each line is one object:\n"
    "  {\"type\":\"hit\",\"name\":TEXT,\"cx\":N,\"cy\":N,\"w\":N,\"h\":N,\"score\":N,\"edge\":N,\"ts\":N}\n"
    "  {\"type\":\"reply\",\"text\":TEXT,\"ts\":N}       answer to a heartbeat or version command\n"
    "  {\"type\":\"dropped\",\"count\":N,\"total\":N}    hits refused because the ring was full\n"
    "cx and cy are the centre of the match in pixels of the target's client area, w and h its size; score\n"
    "and edge are 1 for a perfect match; ts is UTC in milliseconds since 1970-01-01.";

// Widths of the fields; the hit's is one wider, for a NUL unit.
constexpr std::size_t TargetUnits = std::size(CmdSlot{}.target);
constexpr std::size_t NameUnits = std::size(CmdSlot{}.name);
constexpr std::size_t PathUnits = std::size(CmdSlot{}.path);
constexpr std::size_t HitNameUnits = std::size(HitSlot{}.name) - 1;

constexpr float DefaultEdgeMin = 0.75f;
// Outside [0, 1] the worker keeps its own limits.
constexpr float NoThreshold = -1.0f;

struct Arguments {
  std::string target, name, path, roi, text;
  std::optional<float> edgeMin, threshold;
  double timeoutSeconds = 2.0;
  std::optional<double> watchSeconds;
  std::uint32_t count = 0;
  bool json = false;
};

// The text in UTF-16, held against the width of its field: a longer one is refused, never cut.
std::wstring Field(const char* what, const std::string& utf8, std::size_t maxUnits) {
  std::optional<std::wstring> text = ToWide(utf8);
  if (!text) throw CLI::ValidationError(what, "is not valid UTF-8");
  if (text->size() > maxUnits) {
    throw CLI::ValidationError(what, "is " + std::to_string(text->size()) + " UTF-16 units long; at most " +
                                         std::to_string(maxUnits) + " are possible");
  }
  return *std::move(text);
}

std::wstring NonEmptyField(const char* what, const std::string& utf8, std::size_t maxUnits) {
  if (utf8.empty()) throw CLI::ValidationError(what, "must not be empty");
  return Field(what, utf8, maxUnits);
}

void ReadRegion(const std::string& text, Command& command) {
  std::int32_t* const parts[] = {&command.roiX, &command.roiY, &command.roiW, &command.roiH};
  const char* at = text.data();
  const char* const end = at + text.size();
  bool valid = true;
  for (std::int32_t* part : parts) {
    if (part != parts[0]) valid = valid && at != end && *at++ == ',';
    const auto [rest, error] = std::from_chars(at, end, *part);
    valid = valid && error == std::errc();
    at = rest;
  }
  if (!valid || at != end)
    throw CLI::ValidationError("--roi", "'" + text + "' is not X,Y,W,H in whole pixels");
  if (command.roiW < 1 || command.roiH < 1) {
    throw CLI::ValidationError("--roi", "width and height must be at least 1");
  }
}

Command SpecCommand(const Arguments& arguments) {
  Command command;
  command.kind = CmdKind::Spec;
  command.target = NonEmptyField("--target", arguments.target, TargetUnits);
  command.name = NonEmptyField("--name", arguments.name, NameUnits);
  // Hits carry the name without its options, in a field with one unit less.
  Field("--name without its options", arguments.name.substr(0, arguments.name.find(':')), HitNameUnits);
  command.path = NonEmptyField("--path", arguments.path, PathUnits);
  ReadRegion(arguments.roi, command);
  command.edgeMin = arguments.edgeMin.value_or(DefaultEdgeMin);
  command.threshold = arguments.threshold.value_or(NoThreshold);
  if (!std::isfinite(command.edgeMin)) throw CLI::ValidationError("--edge-min", "must be a finite number");
  if (arguments.threshold && !(*arguments.threshold >= 0.0f && *arguments.threshold <= 1.0f)) {
    throw CLI::ValidationError("--threshold", "must lie between 0 and 1");
  }
  return command;
}

std::chrono::milliseconds Milliseconds(double seconds) {
  return std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(seconds * 1000.0)));
}

// The command line: reads the arguments and binds each command to what it does.
class CommandLine {
 public:
  CommandLine() : app(Help, "quillmarkctl") {
    app.require_subcommand(1);
    app.footer(ExitCodes);
    app.set_version_flag("--version", "quillmarkctl " QUILLMARK_VERSION);
    AddSpecCommands();
    AddQuestions();
    AddWatch();
  }

  int Run(int argc, char** argv) {
    try {
      app.parse(argc, argv);
      return action();
    } catch (const CLI::ParseError& error) {
      return app.exit(error) == 0 ? Done : WrongUse;
    } catch (const std::exception& error) {
      std::cerr << "quillmarkctl: " << error.what() << std::endl;
      return WrongUse;
    }
  }

 private:
  CLI::App* AddCommand(const char* name, const std::string& help, std::function<int()> run) {
    CLI::App* command = app.add_subcommand(name, help);
    command->callback([this, run = std::move(run)] { action = run; });
    return command;
  }

  void AddTimeout(CLI::App* command) {
    command->add_option("--timeout", args.timeoutSeconds, "Seconds to wait for the worker (2)")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6));
  }

  void AddSpecCommands() {
    CLI::App* add = AddCommand("add", "Adds a spec, or replaces the one of the same name.",
                               [this] { return Send(SpecCommand(args), Timeout()); });
    add->add_option("--target", args.target,
                    "Window to look in: part of its title, or its program's name with .exe (16 units)")
        ->required();
    add->add_option("--name", args.name, "Name of the spec, with its options: name:option:option (32 units)")
        ->required();
    add->add_option("--path", args.path,
                    "Image file to look for, as the worker's working directory sees it (64 units)")
        ->required();
    add->add_option("--roi", args.roi, "Region in the window's client area, pixels")
        ->type_name("X,Y,W,H")
        ->required();
    add->add_option("--edge-min", args.edgeMin, "Least edge correlation (0.75)");
    add->add_option("--threshold", args.threshold,
                    "Above 0.5 the least score, otherwise the largest difference (difference 0.1)");
    AddTimeout(add);
    add->footer(
        "Exit code 0 says that the worker took the command; whether it could read the image, its log says.");

    CLI::App* remove = AddCommand("remove", "Removes the spec of this name.", [this] {
      return Send({.kind = CmdKind::Remove, .name = NonEmptyField("NAME", args.name, NameUnits)}, Timeout());
    });
    remove->add_option("NAME", args.name, "The spec's name without its options")->required();
    AddTimeout(remove);

    AddTimeout(AddCommand("clear", "Removes all specs.",
                          [this] { return Send({.kind = CmdKind::Clear}, Timeout()); }));
  }

  void AddQuestions() {
    CLI::App* heartbeat =
        AddCommand("heartbeat", "Asks whether the worker lives, and prints its reply.", [this] {
          const std::wstring text = Field("TEXT", args.text, HitNameUnits);
          return Ask({.kind = CmdKind::Heartbeat, .name = text}, Timeout(), args.json);
        });
    heartbeat->add_option("TEXT", args.text, "Text that the worker sends back (HB)");
    CLI::App* version = AddCommand("version", "Prints the worker's version.",
                                   [this] { return Ask({.kind = CmdKind::Version}, Timeout(), args.json); });
    for (CLI::App* question : {heartbeat, version}) {
      question->footer(QuestionNotes);
      question->add_flag("--json", args.json, R"(Print {"type":"reply","text":TEXT,"ts":N})");
      AddTimeout(question);
    }
  }

  void AddWatch() {
    CLI::App* watch =
        AddCommand("watch", "Takes the hits out of the ring and prints them, until interrupted.", [this] {
          WatchOptions options{.count = args.count, .timeout = std::nullopt, .json = args.json};
          if (args.watchSeconds) options.timeout = Milliseconds(*args.watchSeconds);
          return Watch(options);
        });
    watch->footer(WatchNotes);
    watch->add_option("--count", args.count, "End with exit code 0 after so many hits")
        ->type_name("N")
        ->check(CLI::Range(1, 1'000'000'000));
    watch
        ->add_option("--timeout", args.watchSeconds,
                     "End after so many seconds: exit code 1 when there was no hit, or fewer than --count")
        ->type_name("SECONDS")
        ->check(CLI::Range(0.0, 1e6));
    watch->add_flag("--json", args.json, "Print one JSON object a line");
  }

  [[nodiscard]] std::chrono::milliseconds Timeout() const { return Milliseconds(args.timeoutSeconds); }

  CLI::App app;
  Arguments args;
  std::function<int()> action;
};

}  // namespace
}  // namespace quillmark::control

int main(int argc, char** argv) {
  return quillmark::control::CommandLine().Run(argc, argv);
}

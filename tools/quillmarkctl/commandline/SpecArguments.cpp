#include "commandline/SpecArguments.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "client/Text.h"
#include "text/Printable.h"

namespace quillmark::control {

using namespace client;

void AddSpecOptions(CommandModel& command, SpecArguments& arguments, SpecIs spec) {
  const auto rules = [spec](const char* name, const char* value) {
    ArgumentRules of{.value = value, .required = spec == SpecIs::Required};
    for (const char* part : {"--target", "--name", "--path", "--roi"}) {
      if (spec == SpecIs::Optional && std::string(part) != name) of.needs.push_back(part);
    }
    return of;
  };
  command.Add("--target", &arguments.target,
              "Window to search: part of its title, or its program's name with .exe (at most 16 characters)",
              rules("--target", ""));
  command.Add("--name", &arguments.name,
              "Name of the spec with its options: name:option:option (at most 32 characters)",
              rules("--name", ""));
  command.Add(
      "--path", &arguments.path,
      "Image file of the template; relative paths start at the worker's folder (at most 64 characters)",
      rules("--path", "FILE"));
  command.Add("--roi", &arguments.roi, "Region to search, in pixels of the window's client area",
              rules("--roi", "X,Y,W,H"));
  command.Add("--edge-min", &arguments.edgeMin, "Minimum edge correlation (0.75)", {.value = "N"});
  command.Add("--threshold", &arguments.threshold,
              "Above 0.5 the minimum score, otherwise the maximum difference (difference 0.1)",
              {.value = "N"});
}

void AddSpecFileOptions(CommandModel& command, SpecArguments& arguments) {
  command.Add(
      "--specs", &arguments.file, "Use the specs in this file, as apply does",
      {.value = "FILE", .excludes = {"--target", "--name", "--path", "--roi", "--edge-min", "--threshold"}});
  command.Add("--only", &arguments.only, "Use only the spec with this name; may be repeated",
              {.value = "NAME", .oneValue = true, .needs = {"--specs"}});
}

Command SpecCommand(const SpecArguments& arguments) {
  Command command;
  command.kind = CmdKind::Spec;
  command.target = NonEmptyField("--target", arguments.target.value_or(""), TargetUnits);
  command.name = NonEmptyField("--name", arguments.name.value_or(""), NameUnits);
  (void)Field("--name without its options", arguments.name->substr(0, arguments.name->find(':')),
              HitNameUnits);
  command.path = NonEmptyField("--path", arguments.path.value_or(""), PathUnits);
  const cv::Rect roi = ReadRectangle("--roi", arguments.roi.value_or(""));
  command.roiX = roi.x;
  command.roiY = roi.y;
  command.roiW = roi.width;
  command.roiH = roi.height;
  command.edgeMin = arguments.edgeMin.value_or(DefaultEdgeMin);
  command.threshold = arguments.threshold.value_or(NoThreshold);
  CheckLimits(arguments);
  return command;
}

void CheckLimits(const SpecArguments& arguments) {
  if (arguments.edgeMin && !std::isfinite(*arguments.edgeMin)) {
    throw std::invalid_argument("--edge-min must be a finite number");
  }
  if (arguments.threshold && !(*arguments.threshold >= 0.0f && *arguments.threshold <= 1.0f)) {
    throw std::invalid_argument("--threshold must be between 0 and 1");
  }
}

std::vector<DeclaredSpec> DeclaredSpecs(const SpecArguments& arguments) {
  if (arguments.file.empty()) return {};
  std::vector<DeclaredSpec> specs = ReadSpecFile(PathOf(arguments.file));
  for (const std::string& name : arguments.only) {
    if (std::ranges::find(specs, name, &DeclaredSpec::name) == specs.end()) {
      throw std::invalid_argument("--only: " + arguments.file + " has no spec '" + name + "'");
    }
  }
  if (specs.empty()) throw std::invalid_argument("--specs: " + arguments.file + " has no specs");
  if (!arguments.only.empty()) {
    std::erase_if(specs, [&](const DeclaredSpec& spec) {
      return std::ranges::find(arguments.only, spec.name) == arguments.only.end();
    });
  }
  return specs;
}

std::vector<Command> SpecCommands(const SpecArguments& arguments) {
  std::vector<Command> commands;
  for (DeclaredSpec& spec : DeclaredSpecs(arguments)) {
    if (!spec.fault.empty()) {
      throw std::invalid_argument(arguments.file + ", line " + std::to_string(spec.line) + ", " + spec.name +
                                  ": " + spec.fault);
    }
    commands.push_back(std::move(spec.command));
  }
  if (arguments.Given()) commands.push_back(SpecCommand(arguments));
  return commands;
}

cv::Rect ReadRectangle(const std::string& what, const std::string& text) {
  cv::Rect rectangle;
  int* const parts[] = {&rectangle.x, &rectangle.y, &rectangle.width, &rectangle.height};
  const char* at = text.data();
  const char* const end = at + text.size();
  bool valid = true;
  for (int* part : parts) {
    if (part != parts[0]) valid = valid && at != end && *at++ == ',';
    const auto [rest, error] = std::from_chars(at, end, *part);
    valid = valid && error == std::errc();
    at = rest;
  }
  if (!valid || at != end)
    throw std::invalid_argument(what + " '" + text + "' is not X,Y,W,H in whole pixels");
  if (rectangle.width < 1 || rectangle.height < 1) {
    throw std::invalid_argument(what + ": width and height must be at least 1");
  }
  return rectangle;
}

}  // namespace quillmark::control

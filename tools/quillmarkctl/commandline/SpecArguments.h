// The arguments that describe specs, for all commands that take them.
//
// Threading: one thread.
#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "client/Command.h"
#include "commandline/CommandModel.h"
#include "specfile/SpecFile.h"

namespace quillmark::control {

using client::Command;

struct SpecArguments {
  std::optional<std::string> target, name, path;
  std::optional<std::string> roi;  // X,Y,W,H
  std::optional<float> edgeMin, threshold;
  // Instead: a spec file and the names to use from it, none for all.
  std::string file;
  std::vector<std::string> only;

  [[nodiscard]] bool Given() const { return target || name || path || roi; }
  [[nodiscard]] bool GivenInPart() const { return Given() || edgeMin || threshold; }
};

enum class SpecIs { Required, Optional, Partial };

// --target, --name, --path, --roi, --edge-min and --threshold. Required: the first four. Optional: all of
// these or none. Partial: any.
void AddSpecOptions(CommandModel& command, SpecArguments& arguments, SpecIs spec = SpecIs::Required);

// --specs and --only, which read specs from a file instead.
void AddSpecFileOptions(CommandModel& command, SpecArguments& arguments);

// The command that adds the spec. Raises std::invalid_argument, naming the argument, when one does not fit
// its field, cannot be parsed or is out of range.
[[nodiscard]] Command SpecCommand(const SpecArguments& arguments);

// The selected entries of the file; none without a file. Raises as ReadSpecFile does, and
// std::invalid_argument for a name that is not in it.
[[nodiscard]] std::vector<DeclaredSpec> DeclaredSpecs(const SpecArguments& arguments);

// The commands that add the given specs, if any. Raises as SpecCommand and DeclaredSpecs do, and
// std::invalid_argument for an invalid entry.
[[nodiscard]] std::vector<Command> SpecCommands(const SpecArguments& arguments);

// --edge-min and --threshold must be within their ranges. Raises std::invalid_argument.
void CheckLimits(const SpecArguments& arguments);

// X,Y,W,H in whole pixels, W and H at least 1. Raises std::invalid_argument with `what` in front.
[[nodiscard]] cv::Rect ReadRectangle(const std::string& what, const std::string& text);

}  // namespace quillmark::control

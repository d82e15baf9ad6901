// The arguments that make up a spec, as add takes them and as every command takes them that looks at a spec.
//
// Threading: one thread.
#pragma once

#include <cstdint>
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
  // In place of all those: a file that declares specs, and which of them; none stands for all.
  std::string file;
  std::vector<std::string> only;

  [[nodiscard]] bool Given() const { return target || name || path || roi; }
  [[nodiscard]] bool GivenInPart() const { return Given() || edgeMin || threshold; }
};

enum class SpecIs { Required, Optional, Partial };

// --target, --name, --path, --roi, --edge-min and --threshold. An optional spec is given as a whole or not at
// all, a partial one without any of them.
void AddSpecOptions(CommandModel& command, SpecArguments& arguments, SpecIs spec = SpecIs::Required);

// --specs and --only, which take specs out of a file in place of those options.
void AddSpecFileOptions(CommandModel& command, SpecArguments& arguments);

// The command that adds the spec. Raises std::invalid_argument, naming the argument, when one does not fit
// its field, cannot be read or lies outside its range: nothing is cut or bent.
[[nodiscard]] Command SpecCommand(const SpecArguments& arguments);

// The entries of the file that are meant; nothing without a file. Raises as ReadSpecFile does, and
// std::invalid_argument for a name that is not in it.
[[nodiscard]] std::vector<DeclaredSpec> DeclaredSpecs(const SpecArguments& arguments);

// The commands that add the specs that were given in either way, or nothing. Raises as SpecCommand and
// DeclaredSpecs do, and std::invalid_argument for an entry at fault.
[[nodiscard]] std::vector<Command> SpecCommands(const SpecArguments& arguments);

struct Rectangle {
  std::int32_t x = 0, y = 0, width = 0, height = 0;
};
// X,Y,W,H in whole pixels, W and H at least 1. Raises std::invalid_argument with `what` in front.
[[nodiscard]] Rectangle ReadRectangle(const std::string& what, const std::string& text);

}  // namespace quillmark::control

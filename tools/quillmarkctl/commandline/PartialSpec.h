// Specs that need only a template image, for commands that analyse specs without sending them. The sizes of
// the fields are not checked.
//
// Threading: one thread.
#pragma once

#include <string>

#include "advice/Lint.h"
#include "commandline/SpecArguments.h"

namespace quillmark::control {

// The options of AddSpecOptions, none of them required, and those of AddSpecFileOptions.
void AddPartialSpecOptions(CommandModel& command, SpecArguments& arguments);

// Raises std::invalid_argument, naming the argument, when the image is missing or an argument cannot be
// parsed or is out of range.
[[nodiscard]] advice::LintSpec ReadPartialSpec(const SpecArguments& arguments);
// An entry of a spec file, valid or not.
[[nodiscard]] advice::LintSpec DeclaredAs(const DeclaredSpec& declared);
// The spec that a command adds.
[[nodiscard]] explain::SpecRequest RequestOf(const Command& command);
// Only a template image.
[[nodiscard]] advice::LintSpec TemplateAlone(const std::string& file);

// Reads a picture, 8UC4. Raises std::runtime_error with the reason when it cannot.
[[nodiscard]] cv::Mat ReadScreenshot(const std::string& what, const std::string& file);

// UTF-8 as UTF-16. Raises std::invalid_argument, naming `what`, for invalid UTF-8.
[[nodiscard]] std::wstring WideText(const std::string& what, const std::string& utf8);

}  // namespace quillmark::control

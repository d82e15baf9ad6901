// A spec of which only the template's image must be given, for commands that look at specs without sending
// them. Nothing is held against the widths of the fields.
//
// Threading: one thread.
#pragma once

#include <string>

#include "advice/Lint.h"
#include "commandline/SpecArguments.h"

namespace quillmark::control {

// The options of AddSpecOptions, none of them required, and those of AddSpecFileOptions.
void AddPartialSpecOptions(CommandModel& command, SpecArguments& arguments);

// Raises std::invalid_argument, naming the argument, for want of an image, and for what cannot be read or
// lies outside its range.
[[nodiscard]] advice::LintSpec ReadPartialSpec(const SpecArguments& arguments);
// What an entry of a file declares, also one at fault.
[[nodiscard]] advice::LintSpec DeclaredAs(const DeclaredSpec& declared);
// The same of the command that adds a spec.
[[nodiscard]] explain::SpecRequest RequestOf(const Command& command);
// A template's image alone.
[[nodiscard]] advice::LintSpec TemplateAlone(const std::string& file);

// The picture of this file, 8UC4. Raises std::runtime_error that says why there is none.
[[nodiscard]] cv::Mat ReadScreenshot(const std::string& what, const std::string& file);

// UTF-8 as UTF-16. Raises std::invalid_argument with `what` in front for bytes that are no UTF-8.
[[nodiscard]] std::wstring WideText(const std::string& what, const std::string& utf8);

}  // namespace quillmark::control

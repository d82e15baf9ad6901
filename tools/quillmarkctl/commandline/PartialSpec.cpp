#include "commandline/PartialSpec.h"

#include <optional>
#include <stdexcept>
#include <utility>

#include "client/Text.h"
#include "picture/PictureFile.h"

namespace quillmark::control {

void AddPartialSpecOptions(CommandModel& command, SpecArguments& arguments) {
  AddSpecOptions(command, arguments, SpecIs::Partial);
  AddSpecFileOptions(command, arguments);
}

advice::LintSpec ReadPartialSpec(const SpecArguments& arguments) {
  advice::LintSpec spec;
  explain::SpecRequest& request = spec.request;
  spec.hasName = arguments.name.has_value();
  spec.hasTarget = arguments.target.has_value();
  spec.hasRegion = arguments.roi.has_value();
  const std::string path = arguments.path.value_or("");
  if (path.empty()) throw std::invalid_argument("--path is missing: give the template's image");
  request.path = WideText("--path", path);
  request.name = WideText("--name", arguments.name.value_or(""));
  request.target = WideText("--target", arguments.target.value_or(""));
  if (spec.hasRegion) request.roi = ReadRectangle("--roi", *arguments.roi);
  request.edgeMin = arguments.edgeMin.value_or(request.edgeMin);
  request.threshold = arguments.threshold.value_or(request.threshold);
  CheckLimits(arguments);
  return spec;
}

explain::SpecRequest RequestOf(const Command& command) {
  return {command.target,  command.name,
          command.path,    cv::Rect(command.roiX, command.roiY, command.roiW, command.roiH),
          command.edgeMin, command.threshold};
}

advice::LintSpec DeclaredAs(const DeclaredSpec& declared) {
  advice::LintSpec spec;
  if (declared.fault.empty()) {
    spec.request = RequestOf(declared.command);
  } else {
    spec.request.name = WideText("name", declared.name);
    spec.fault = "line " + std::to_string(declared.line) + ": " + declared.fault;
  }
  return spec;
}

advice::LintSpec TemplateAlone(const std::string& file) {
  advice::LintSpec spec;
  spec.request.path = WideText("FILE", file);
  spec.hasName = spec.hasTarget = spec.hasRegion = false;
  return spec;
}

cv::Mat ReadScreenshot(const std::string& what, const std::string& file) {
  const PictureFile picture = ReadPicture(WideText(what, file));
  if (picture.bgra.empty()) throw std::runtime_error(what + ": '" + file + "': " + picture.fault);
  return picture.bgra;
}

std::wstring WideText(const std::string& what, const std::string& utf8) {
  std::optional<std::wstring> text = client::ToWide(utf8);
  if (!text) throw std::invalid_argument(what + " is not valid UTF-8");
  return *std::move(text);
}

}  // namespace quillmark::control

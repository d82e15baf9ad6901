#include "advice/Lint.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "commandline/CommandLine.h"
#include "commandline/PartialSpec.h"
#include "commands/Reports.h"

namespace quillmark::control {
namespace {

using advice::LintSpec;

constexpr char LintNotes[] =
    "Give a spec as for add (only --path is required), a spec file as for apply, template images, or any of "
    "these together. What is not given is not checked. docs/lint.md lists all findings.\n"
    "Exit codes: 0 nothing found, 1 something found, 2 usage error or failure.\n"
    "With --json, one object per line:\n"
    "  {\"type\":\"finding\", \"code\":TEXT, \"severity\":\"note|warning|error\", \"spec\":TEXT, "
    "\"other\":TEXT|null, \"text\":TEXT, \"meaning\":TEXT, \"consequence\":TEXT, \"remedy\":TEXT, "
    "\"facts\":{...}}\n"
    "  {\"type\":\"summary\", \"specs\":N, \"errors\":N, \"warnings\":N, \"notes\":N}";

struct LintOptions {
  SpecArguments spec;
  std::vector<std::string> files, ignored;
  std::string image;
  double scale = 1.0;
};

std::vector<LintSpec> SpecsOf(const LintOptions& options) {
  std::vector<LintSpec> specs;
  if (options.spec.GivenInPart()) specs.push_back(ReadPartialSpec(options.spec));
  for (const DeclaredSpec& spec : DeclaredSpecs(options.spec)) specs.push_back(DeclaredAs(spec));
  for (const std::string& file : options.files) specs.push_back(TemplateAlone(file));
  if (specs.empty()) throw std::invalid_argument("nothing to check: give --path, --specs or template images");
  return specs;
}

std::vector<advice::FindingCode> CodesOf(const std::vector<std::string>& ids) {
  std::vector<advice::FindingCode> codes;
  for (const std::string& id : ids) {
    const std::optional<advice::FindingCode> code = advice::FindingOfId(id);
    if (!code) throw std::invalid_argument("--ignore: unknown finding '" + id + "'");
    codes.push_back(*code);
  }
  return codes;
}

ExitCode RunLint(const LintOptions& options, Output& output) {
  const std::vector<advice::FindingCode> ignored = CodesOf(options.ignored);
  const std::vector<LintSpec> specs = SpecsOf(options);
  advice::WindowPicture window;
  window.scale = options.scale;
  if (!options.image.empty()) window.bgra = ReadScreenshot("--image", options.image);

  return PrintLint(specs, options.image.empty() ? nullptr : &window, ignored, output) ? Yes : No;
}

}  // namespace

void AddLint(CommandLine& line) {
  const auto [command, options] =
      line.Add<LintOptions>("lint", "Checks specs and templates for problems.", RunLint);
  command.Add("FILE", &options.files, "Template images");
  AddPartialSpecOptions(command, options.spec);
  command.Add("--image", &options.image, "Screenshot of the window's client area to test the specs on",
              {.value = "FILE"});
  command.Add("--scale", &options.scale, "Screenshot pixels per template pixel (1)",
              {.value = "N", .within = {{0.25, 8.0}}, .needs = {"--image"}});
  command.Add("--ignore", &options.ignored, "Suppress findings with this code; may be repeated",
              {.value = "CODE", .oneValue = true});
  command.notes = LintNotes;
}

}  // namespace quillmark::control

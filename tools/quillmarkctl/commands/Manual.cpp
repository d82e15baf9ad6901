#include <memory>
#include <string>

#include "CommandLine.h"
#include "CommandModel.h"

namespace quillmark::control {
namespace {

std::string PageOf(const std::string& name, const CLI::App& tool) {
  if (name == "Quillmark") return WorkerPage();
  if (name == "quillmark-specs") return SpecFilePage();
  return ManualPage(ModelOf(tool), CommandsOf(tool));
}

}  // namespace

void AddManual(CommandLine& line) {
  const auto page = std::make_shared<std::string>();
  CLI::App& command =
      line.Add("manual", "Prints a manual page, of this tool, the worker or the file of specs.",
               [page, &line](Output& output) {
                 const std::string text = PageOf(*page, line.Model());
                 output.Print({{"type", "manual"}, {"page", text}}, text);
                 return Yes;
               });
  command.add_option("PAGE", *page, "Which page (quillmarkctl)")
      ->check(CLI::IsMember({"quillmarkctl", "Quillmark", "quillmark-specs"}));
  command.footer(
      "To read it: quillmarkctl manual | man -l -\n"
      "With --json: {\"type\":\"manual\", \"page\":TEXT}");
}

}  // namespace quillmark::control

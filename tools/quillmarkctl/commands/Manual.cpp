#include <memory>
#include <string>

#include "commandline/CommandLine.h"
#include "commandline/CommandModel.h"

namespace quillmark::control {
namespace {

std::string PageOf(const std::string& name, const CommandLine& line) {
  if (name == "Quillmark") return WorkerPage();
  if (name == "quillmark-specs") return SpecFilePage();
  return ManualPage(line.Tool(), line.Commands());
}

}  // namespace

void AddManual(CommandLine& line) {
  const auto page = std::make_shared<std::string>();
  CommandModel& command =
      line.Add("manual", "Prints a manual page, of this tool, the worker or the file of specs.",
               [page, &line](Output& output) {
                 const std::string text = PageOf(*page, line);
                 output.Print({{"type", "manual"}, {"page", text}}, text);
                 return Yes;
               });
  command.Add("PAGE", page.get(), "Which page (quillmarkctl)",
              {.words = {"quillmarkctl", "Quillmark", "quillmark-specs"}});
  command.notes =
      "To read it: quillmarkctl manual | man -l -\n"
      "With --json: {\"type\":\"manual\", \"page\":TEXT}";
}

}  // namespace quillmark::control

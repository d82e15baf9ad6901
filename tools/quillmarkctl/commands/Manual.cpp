#include "commandline/CommandLine.h"

namespace quillmark::control {

void AddManual(CommandLine& line) {
  const auto [command, page] = line.Add<std::string>(
      "manual", "Prints a manual page: this tool, the worker or the spec file.",
      [&line](const std::string& given, Output& output) {
        const std::string text = given == "Quillmark"         ? WorkerPage()
                                 : given == "quillmark-specs" ? SpecFilePage()
                                                              : ManualPage(line.Tool(), line.Commands());
        output.Print({{"type", "manual"}, {"page", text}}, text);
        return Yes;
      });
  command.Add("PAGE", &page, "Page to print (quillmarkctl)",
              {.words = {"quillmarkctl", "Quillmark", "quillmark-specs"}});
  command.notes =
      "To read it: quillmarkctl manual | man -l -\n"
      "With --json: {\"type\":\"manual\", \"page\":TEXT}";
}

}  // namespace quillmark::control

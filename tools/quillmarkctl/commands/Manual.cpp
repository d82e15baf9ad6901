#include <memory>
#include <string>

#include "CommandLine.h"
#include "CommandModel.h"

namespace quillmark::control {

void AddManual(CommandLine& line) {
  const auto page = std::make_shared<std::string>();
  CLI::App& command = line.Add(
      "manual", "Prints a manual page, of this tool or of the file of specs.", [page, &line](Output& output) {
        const std::string text = *page == "quillmark-specs"
                                     ? SpecFilePage()
                                     : ManualPage(ModelOf(line.Model()), CommandsOf(line.Model()));
        output.Print({{"type", "manual"}, {"page", text}}, text);
        return Yes;
      });
  command.add_option("PAGE", *page, "quillmarkctl or quillmark-specs (quillmarkctl)")
      ->check(CLI::IsMember({"quillmarkctl", "quillmark-specs"}));
  command.footer(
      "To read it: quillmarkctl manual | man -l -\n"
      "With --json: {\"type\":\"manual\", \"page\":TEXT}");
}

}  // namespace quillmark::control

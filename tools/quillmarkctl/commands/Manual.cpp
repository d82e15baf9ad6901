#include "CommandLine.h"
#include "CommandModel.h"

namespace quillmark::control {

void AddManual(CommandLine& line) {
  CLI::App& command = line.Add("manual", "Prints the manual page of this tool.", [&line](Output& output) {
    const std::string page = ManualPage(ModelOf(line.Model()), CommandsOf(line.Model()));
    output.Print({{"type", "manual"}, {"page", page}}, page);
    return Yes;
  });
  command.footer(
      "To read it: quillmarkctl manual | man -l -\n"
      "With --json: {\"type\":\"manual\",\"page\":TEXT}");
}

}  // namespace quillmark::control

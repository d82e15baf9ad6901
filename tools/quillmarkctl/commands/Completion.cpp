#include "commandline/CommandLine.h"

namespace quillmark::control {

void AddCompletion(CommandLine& line) {
  const auto [command, shell] = line.Add<std::string>(
      "completion", "Prints a shell completion script.", [&line](const std::string& given, Output& output) {
        const std::string script = CompletionScript(given, line.Tool(), line.Commands());
        output.Print({{"type", "completion"}, {"shell", given}, {"script", script}}, script);
        return Yes;
      });
  command.Add("SHELL", &shell, "Shell to write the script for",
              {.required = true, .words = {"bash", "zsh", "fish"}});
  command.notes =
      "Where to put it, for this user only:\n"
      "  bash: ~/.local/share/bash-completion/completions/quillmarkctl\n"
      "  zsh: a file _quillmarkctl in a folder of $fpath\n"
      "  fish: ~/.config/fish/completions/quillmarkctl.fish\n"
      "With --json: {\"type\":\"completion\", \"shell\":TEXT, \"script\":TEXT}";
}

}  // namespace quillmark::control

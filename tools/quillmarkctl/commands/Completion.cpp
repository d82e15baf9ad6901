#include <memory>

#include "commandline/CommandLine.h"
#include "commandline/CommandModel.h"

namespace quillmark::control {

void AddCompletion(CommandLine& line) {
  const auto shell = std::make_shared<std::string>();
  CommandModel& command =
      line.Add("completion", "Prints a script that completes this tool's commands in a shell.",
               [shell, &line](Output& output) {
                 const std::string script = CompletionScript(*shell, line.Tool(), line.Commands());
                 output.Print({{"type", "completion"}, {"shell", *shell}, {"script", script}}, script);
                 return Yes;
               });
  command.Add("SHELL", shell.get(), "Whose language the script is in",
              {.required = true, .words = {"bash", "zsh", "fish"}});
  command.notes =
      "Where the shell finds it, for this user:\n"
      "  bash: ~/.local/share/bash-completion/completions/quillmarkctl\n"
      "  zsh: a file _quillmarkctl in a folder of $fpath\n"
      "  fish: ~/.config/fish/completions/quillmarkctl.fish\n"
      "With --json: {\"type\":\"completion\", \"shell\":TEXT, \"script\":TEXT}";
}

}  // namespace quillmark::control

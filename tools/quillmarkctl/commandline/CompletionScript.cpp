#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "commandline/CommandModel.h"

namespace quillmark::control {
namespace {

std::string Escaped(const std::string& text, const std::string& special) {
  std::string escaped;
  for (const char c : text) {
    if (special.find(c) != std::string::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

// In single quotes, which all of these shells accept.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

// Whether the value is a file or folder, judging by its placeholder.
bool TakesFile(const Argument& option) {
  const std::string what = option.IsPositional() ? option.name : option.Value();
  return what == "FILE" || what == "FOLDER" || what == "PATH";
}

bool TakesFileAlone(const CommandModel& command) {
  return std::ranges::any_of(
      command.arguments, [](const Argument& option) { return option.IsPositional() && TakesFile(option); });
}

std::string Joined(const std::vector<std::string>& words) {
  std::string joined;
  for (const std::string& word : words) joined += (joined.empty() ? "" : " ") + word;
  return joined;
}

std::string OptionsOf(const CommandModel& command) {
  std::vector<std::string> names;
  for (const Argument& option : command.arguments) {
    if (!option.IsPositional()) std::ranges::move(option.Names(), std::back_inserter(names));
  }
  return Joined(names);
}

// The allowed words of the positional argument; empty without such a choice.
std::string ChoiceOf(const CommandModel& command) {
  for (const Argument& option : command.arguments) {
    if (option.IsPositional() && !option.rules.words.empty()) return Joined(option.rules.words);
  }
  return {};
}

std::string Bash(const CommandModel& tool, const std::vector<CommandModel>& commands) {
  std::string names, cases, choices;
  for (const CommandModel& command : commands) {
    names += command.name + ' ';
    cases += "    " + command.name + ") words='" + OptionsOf(command) + "' ;;\n";
    const std::string choice = ChoiceOf(command);
    if (!choice.empty()) choices += "    " + command.name + ":*) words='" + choice + "' ;;\n";
  }
  // Outside options, the shell itself completes files.
  return "_quillmarkctl() {\n"
         "  local words= word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]}\n"
         "  [ \"$COMP_CWORD\" -gt 1 ] || command=\n"
         "  COMPREPLY=()\n"
         "  case $command in\n"
         "    '') words='" +
         names + OptionsOf(tool) + "' ;;\n" + cases +
         "  esac\n"
         "  case $command:$word in\n"
         "    :*|*:-*) ;;\n" +
         choices +
         "    *) return ;;\n"
         "  esac\n"
         "  mapfile -t COMPREPLY < <(compgen -W \"$words\" -- \"$word\")\n"
         "}\n"
         "complete -o bashdefault -o default -F _quillmarkctl quillmarkctl\n";
}

// The command's options as arguments of _arguments, one per line.
std::string ZshArguments(const CommandModel& command) {
  std::string arguments;
  for (const Argument& option : command.arguments) {
    if (option.IsPositional()) continue;
    for (const std::string& name : option.Names()) {
      const std::string action = TakesFile(option) ? "_files" : " ";
      const std::string value =
          option.Value().empty() ? "" : ":" + Escaped(option.Value(), ":\\") + ":" + action;
      arguments += " \\\n        " + Quoted(name + "[" + Escaped(option.help, "[]\\") + "]" + value);
    }
  }
  const std::string choice = ChoiceOf(command);
  if (!choice.empty()) arguments += " \\\n        " + Quoted("1: :(" + choice + ")");
  return arguments + (TakesFileAlone(command) ? " \\\n        '*:file:_files'" : "");
}

std::string Zsh(const CommandModel& tool, const std::vector<CommandModel>& commands) {
  std::string names, cases;
  for (const CommandModel& command : commands) {
    names += "    " + Quoted(command.name + ":" + Escaped(command.help, ":\\")) + "\n";
    cases += "    " + command.name + ")\n      _arguments" + ZshArguments(command) + " ;;\n";
  }
  return "#compdef quillmarkctl\n"
         "_quillmarkctl() {\n"
         "  local -a commands=(\n" +
         names +
         "  )\n"
         "  if (( CURRENT == 2 )); then\n"
         "    _describe command commands\n"
         "    _arguments" +
         ZshArguments(tool) +
         "\n"
         "    return\n"
         "  fi\n"
         "  local command=$words[2]\n"
         "  shift words\n"
         "  (( CURRENT-- ))\n"
         "  case $command in\n" +
         cases +
         "  esac\n"
         "}\n"
         // The file may be sourced, or autoloaded from $fpath, which runs it as the function.
         "if [[ ${funcstack[1]} == _quillmarkctl ]]; then\n"
         "  _quillmarkctl \"$@\"\n"
         "else\n"
         "  compdef _quillmarkctl quillmarkctl\n"
         "fi\n";
}

std::string Fish(const CommandModel& tool, const std::vector<CommandModel>& commands) {
  const auto line = [](const std::string& condition, const std::string& rest, const std::string& help) {
    return "complete -c quillmarkctl -n " + Quoted(condition) + rest + " -d " + Quoted(Escaped(help, "\\")) +
           "\n";
  };
  std::string script;
  const auto addOptions = [&](const std::string& condition, const CommandModel& command) {
    for (const Argument& option : command.arguments) {
      if (option.IsPositional()) continue;
      std::string names;
      for (const std::string& name : option.Names()) {
        names += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
      }
      script += line(condition,
                     names + (option.Value().empty() ? ""
                              : TakesFile(option)    ? " -r -F"
                                                     : " -x"),
                     option.help);
    }
  };
  for (const CommandModel& command : commands) {
    script += line("__fish_use_subcommand", " -f -a " + command.name, command.help);
  }
  addOptions("__fish_use_subcommand", tool);
  for (const CommandModel& command : commands) {
    const std::string condition = "__fish_seen_subcommand_from " + command.name;
    const std::string choice = ChoiceOf(command);
    if (!TakesFileAlone(command)) {
      script += "complete -c quillmarkctl -f -n " + Quoted(condition) +
                (choice.empty() ? "" : " -a " + Quoted(choice)) + "\n";
    }
    addOptions(condition, command);
  }
  return script;
}

}  // namespace

std::string CompletionScript(const std::string& shell, const CommandModel& tool,
                             const std::vector<CommandModel>& commands) {
  if (shell == "bash") return Bash(tool, commands);
  if (shell == "zsh") return Zsh(tool, commands);
  if (shell == "fish") return Fish(tool, commands);
  throw std::invalid_argument("completion supports bash, zsh and fish, not '" + shell + "'");
}

}  // namespace quillmark::control

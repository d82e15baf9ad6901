// What is generated from the list of commands: help, completion and manual.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "commandline/CommandLine.h"
#include "host/Terminal.h"

namespace quillmark::control {
namespace {

using ::testing::HasSubstr;

TEST(CommandTexts, CoverEveryOptionOfEveryCommand) {
  CommandLine line;
  const std::string manual = ManualPage(line.Tool(), line.Commands());
  ASSERT_GT(line.Commands().size(), 10u);
  for (const CommandModel& command : line.Commands()) {
    SCOPED_TRACE(command.name);
    const std::string own[] = {command.name + ") words='", "    " + command.name + ")\n      _arguments",
                               "__fish_seen_subcommand_from " + command.name + "'"};
    const char* const shells[] = {"bash", "zsh", "fish"};
    const auto section = manual.find(".SS " + command.name + "\n");
    ASSERT_NE(section, std::string::npos);
    for (const Argument& argument : command.arguments) {
      if (argument.IsPositional()) continue;
      const std::string name = argument.Names().back();
      std::string escaped;
      for (const char c : name) escaped += c == '-' ? "\\-" : std::string(1, c);
      EXPECT_THAT(manual.substr(section, manual.find("\n.S", section + 1) - section),
                  HasSubstr("\\fB" + escaped + "\\fR"));
      for (int i = 0; i < 3; ++i) {
        const std::string script = CompletionScript(shells[i], line.Tool(), line.Commands());
        const auto start = script.find(own[i]);
        ASSERT_NE(start, std::string::npos) << shells[i];
        const auto end = i == 2 ? std::string::npos : script.find(";;", start);
        EXPECT_THAT(script.substr(start, end - start), HasSubstr(i == 2 ? name.substr(2) : name))
            << shells[i];
      }
    }
  }
}

TEST(CommandTexts, HelpFitsTheTerminal) {
  CommandLine line;
  std::vector<std::string> names{""};
  for (const CommandModel& command : line.Commands()) names.push_back(command.name);
  for (const std::string& name : names) {
    const char* const words[] = {"quillmarkctl", name.empty() ? "--help" : name.c_str(), "--help"};
    ::testing::internal::CaptureStdout();
    EXPECT_EQ(line.Run(name.empty() ? 2 : 3, words), Yes) << name;
    const auto width = static_cast<std::size_t>(std::clamp(host::TerminalWidth(), 40, 100));
    std::istringstream lines(::testing::internal::GetCapturedStdout());
    for (std::string text; std::getline(lines, text);) EXPECT_LE(text.size(), width) << text;
  }
}

}  // namespace
}  // namespace quillmark::control

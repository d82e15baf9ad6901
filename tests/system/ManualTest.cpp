// Shell completion and the manual page, held against the help of every command.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "Programs.h"

namespace quillmark::test {
namespace {

std::string Replaced(std::string text, const std::string& what, const std::string& by) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + by.size())) {
    text.replace(at, what.size(), by);
  }
  return text;
}

std::set<std::string> Options(const std::string& help) {
  std::set<std::string> options;
  const std::regex option("--[a-z][a-z-]*");
  for (const std::string& line : LinesOf(help)) {
    // An option's line begins with it; texts may speak of others.
    std::smatch match;
    if (line.starts_with("  -") && std::regex_search(line, match, option)) options.insert(match.str());
  }
  return options;
}

std::set<std::string> Commands(const std::string& help) {
  std::set<std::string> commands;
  std::istringstream lines(help.substr(help.find("Subcommands:")));
  std::string line;
  std::getline(lines, line);
  while (std::getline(lines, line) && line.starts_with("  ")) {
    if (line.starts_with("   ")) continue;  // goes on about the command before
    commands.insert(line.substr(2, line.find(' ', 2) - 2));
  }
  return commands;
}

TEST(Manual, HelpCompletionAndManualKnowTheSameCommandsAndOptions) {
  const std::string manual = Replaced(Control({"manual"}).out, "\\-", "-");
  const std::set<std::string> commands = Commands(Control({"--help"}).out);
  ASSERT_GT(commands.size(), 10u);
  const auto expectNarrow = [](const std::string& help) {
    for (const std::string& line : LinesOf(help)) EXPECT_LE(line.size(), 80u) << line;
    return help;
  };
  expectNarrow(Control({"--help"}).out);
  std::string scripts[] = {Control({"completion", "bash"}).out, Control({"completion", "zsh"}).out,
                           Replaced(Control({"completion", "fish"}).out, " -l ", " -l --")};
  for (const std::string& command : commands) {
    const auto section = manual.find(".SS " + command + "\n");
    ASSERT_NE(section, std::string::npos) << command;
    const std::string about = manual.substr(section, manual.find("\n.S", section + 1) - section);
    const std::set<std::string> options = Options(expectNarrow(Control({command, "--help"}).out));
    EXPECT_TRUE(options.contains("--json")) << command;
    for (const std::string& option : options) {
      EXPECT_NE(about.find("\\fB" + option + "\\fR"), std::string::npos) << command << ' ' << option;
      for (const std::string& script : scripts) {
        // The line or branch of the command.
        const auto branch = script.find(command + ")") != std::string::npos
                                ? script.find(command + ")")
                                : script.find("from " + command + "'");
        ASSERT_NE(branch, std::string::npos) << command;
        EXPECT_NE(script.find(option, branch), std::string::npos) << command << ' ' << option;
      }
    }
  }
}

TEST(Manual, PageOfTheFileOfSpecsTellsOfAFileThatCanBeApplied) {
  const std::string page = Replaced(Control({"manual", "quillmark-specs"}).out, "\\-", "-");
  const auto example = page.find(".SH EXAMPLE\n.nf\n") + 17;
  const TempFolder folder;
  std::ofstream(folder.Path() / "specs.toml") << page.substr(example, page.find("\n.fi", example) - example);
  WriteImage(folder.Path() / "sine.png");
  const Outcome outcome = Control({"apply", "--dry-run", (folder.Path() / "specs.toml").string()});
  EXPECT_EQ(outcome.out, "added  sine\n1 added, 0 replaced, 0 removed, 0 unchanged, 0 refused\n")
      << outcome.err;
}

}  // namespace
}  // namespace quillmark::test

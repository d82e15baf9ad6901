// The control tool in a shell: completion and pipes.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "Programs.h"
#include "linux/Shell.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

// What bash offers for the last word.
std::string Completed(const std::string& words) {
  const std::string tool = ControlCommand({}).front();
  return Shell("bash -c '. <(" + tool + " completion bash); COMP_WORDS=(quillmarkctl " + words +
               "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _quillmarkctl; echo ${COMPREPLY[*]}'");
}

TEST(ToolInAShell, CompletesCommandsOptionsAndWords) {
  EXPECT_EQ(Completed("exp"), "explain");
  EXPECT_EQ(Completed("explain --im"), "--image");
  EXPECT_EQ(Completed("completion \"\""), "bash zsh fish");
  EXPECT_EQ(Completed("manual quillmark-"), "quillmark-specs");
  EXPECT_EQ(Completed("lint \"\""), "");  // the shell completes files
}

TEST(ToolInAShell, WritesToAnOpenPipeButRefusesANamedOne) {
  const TempFolder folder;
  const std::string image = (folder.Path() / "sine.png").string(), pipe = (folder.Path() / "pipe").string();
  WriteImage(image);
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const auto explain = [&](const std::string& page) {
    return ControlCommand({"explain", "--target=t", "--name=sine", "--path=" + image, "--roi=0,0,30,20",
                           "--image=" + image, "--html", page});
  };
  std::string line;
  for (const std::string& word : explain("/dev/stdout")) line += word + ' ';
  EXPECT_EQ(Shell(line + "| head -c 15"), "<!doctype html>");
  Program refused(explain(pipe));
  EXPECT_EQ(refused.Wait(), 2);
  EXPECT_NE(refused.Err().find("named pipe"), std::string::npos) << refused.Err();
  EXPECT_EQ(Program(explain("/dev/null")).Wait(), 0);
}

TEST(ToolInAShell, RefusesInvalidUtf8) {
  for (const char* command : {"lint", "remove"}) {
    const Outcome outcome = Control({command, "\xff"});
    EXPECT_EQ(outcome.code, 2) << command;
    EXPECT_NE(outcome.err.find("not valid UTF-8"), std::string::npos) << outcome.err;
  }
}

}  // namespace
}  // namespace quillmark::test

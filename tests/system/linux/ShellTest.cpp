// The control tool in a shell: its completion.
#include <gtest/gtest.h>

#include <string>

#include "Programs.h"
#include "linux/Shell.h"

namespace quillmark::test {
namespace {

// What bash offers for the last of these words.
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
  EXPECT_EQ(Completed("lint \"\""), "");  // files, which are the shell's own matter
}

}  // namespace
}  // namespace quillmark::test

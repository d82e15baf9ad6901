// Arguments are bytes on this host and need not be text.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Programs.h"

namespace quillmark::test {
namespace {

TEST(ArgumentBytes, ThatAreNoUtf8AreRefused) {
  const std::vector<std::vector<std::string>> wrong{
      {"lint", "\xff"},
      {"explain", "--target=t", "--name=n", "--path=p", "--roi=0,0,9,9", "--image", "\xff.png"},
  };
  for (const std::vector<std::string>& arguments : wrong) {
    const Outcome outcome = Control(arguments);
    EXPECT_EQ(outcome.code, 2) << arguments[0];
    EXPECT_NE(outcome.err.find("not valid UTF-8"), std::string::npos) << outcome.err;
  }
}

}  // namespace
}  // namespace quillmark::test

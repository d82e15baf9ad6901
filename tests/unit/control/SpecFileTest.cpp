// Files that declare specs and are damaged, or no files at all.
#include "specfile/SpecFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <stdexcept>
#include <string>

#include "support/Images.h"
#include "support/TempFolder.h"

namespace quillmark::control {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

class SpecFile : public ::testing::Test {
 protected:
  const test::TempFolder folder;
};

TEST_F(SpecFile, FolderAndPipeAreRefusedAndNotTakenForEmpty) {
  ASSERT_EQ(::mkfifo((folder.Path() / "pipe").c_str(), 0600), 0);
  for (const std::filesystem::path& path : {folder.Path(), folder.Path() / "pipe"}) {
    EXPECT_THAT([&] { (void)ReadSpecFile(path); },
                ThrowsMessage<std::runtime_error>(HasSubstr("is no regular file")));
  }
}

TEST_F(SpecFile, DamagedTextIsReadOrRefusedWithItsPlace) {
  const std::string whole =
      "[defaults]\ntarget = \"t\"\nregion = [1, 2, 30, 40]\n[[spec]]\nname = \"a\"\npath = \"a.png\"\n"
      "max_difference = 0.25\nmonitor = \"primary\"\n[[spec]]\nname = \"b\"\npath = \"b.png\"\n"
      "preset = \"fast\"\nred = true\ninterval_ms = 50\n";
  const std::string letters = "[]{}=\"\n.#,0e-\\\xFF";
  const std::filesystem::path file = folder.Path() / "specs.toml";
  int refused = 0, faults = 0, read = 0;
  for (std::uint32_t seed = 0; seed < 1000; ++seed) {
    ::quillmark::testing::Random random(seed);
    std::string text = whole;
    for (int i = random.Between(1, 3); i > 0; --i) {
      const auto at = static_cast<std::size_t>(random.Between(0, static_cast<int>(text.size()) - 1));
      const char letter =
          letters[static_cast<std::size_t>(random.Between(0, static_cast<int>(letters.size()) - 1))];
      random.OneIn(3) ? text.insert(at, static_cast<std::size_t>(random.Between(1, 400)), letter)
                      : text.replace(at, 1, 1, letter);
    }
    std::ofstream(file, std::ios::binary) << text;
    try {
      for (const DeclaredSpec& spec : ReadSpecFile(file)) {
        ++(spec.fault.empty() ? read : faults);
        EXPECT_GT(spec.line, 0) << text;
      }
    } catch (const std::runtime_error& error) {
      EXPECT_THAT(error.what(), HasSubstr("specs.toml, ")) << text;
      ++refused;
    }
  }
  EXPECT_GT(refused, 50);
  EXPECT_GT(faults, 50);
  EXPECT_GT(read, 50);
}

}  // namespace
}  // namespace quillmark::control

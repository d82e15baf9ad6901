// Spec files, and the record of what was sent from one: valid, damaged, or not a file.
#include "specfile/SpecFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "host/Session.h"
#include "specfile/Applied.h"
#include "support/Damage.h"
#include "support/PrivateSession.h"
#include "support/TempFolder.h"

namespace quillmark::control {
namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

class SpecFile : public ::testing::Test {
 protected:
  const test::TempFolder folder;
};

TEST_F(SpecFile, ExampleOfTheManualIsValid) {
  std::ofstream(folder.Path() / "specs.toml") << SpecFileExample;
  const std::vector<DeclaredSpec> specs = ReadSpecFile(folder.Path() / "specs.toml");
  ASSERT_EQ(specs.size(), 1u);
  EXPECT_EQ(specs[0].fault, "");
}

TEST_F(SpecFile, FolderAndPipeAreRefused) {
  ASSERT_EQ(::mkfifo((folder.Path() / "pipe").c_str(), 0600), 0);
  for (const std::filesystem::path& path : {folder.Path(), folder.Path() / "pipe"}) {
    EXPECT_THAT([&] { (void)ReadSpecFile(path); },
                ThrowsMessage<std::runtime_error>(HasSubstr("is not a regular file")));
  }
}

TEST_F(SpecFile, DamagedTextIsReadOrRefusedWithItsLine) {
  const std::string whole =
      "[defaults]\ntarget = \"t\"\nregion = [1, 2, 30, 40]\n[[spec]]\nname = \"a\"\npath = \"a.png\"\n"
      "max_difference = 0.25\nmonitor = \"primary\"\n[[spec]]\nname = \"b\"\npath = \"b.png\"\n"
      "preset = \"fast\"\nred = true\ninterval_ms = 50\n";
  const std::filesystem::path file = folder.Path() / "specs.toml";
  int refused = 0, faults = 0, read = 0;
  for (std::uint32_t seed = 0; seed < 1000; ++seed) {
    ::quillmark::testing::Random random(seed);
    const std::string text = ::quillmark::testing::Damaged(random, whole);
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
  EXPECT_GT(refused, 20);
  EXPECT_GT(faults, 20);
  EXPECT_GT(read, 20);
}

TEST(Applied, DamagedRecordIsIgnored) {
  const test::PrivateSession session;
  Applied({"specs.toml"}, 7, 8).Save();
  const std::filesystem::path record = std::filesystem::directory_iterator(host::SessionFolder())->path();
  const auto sent = [&](const char* text) {
    std::ofstream(record) << text;
    return Applied({"specs.toml"}, 7, 8).sent;
  };
  for (const char* text : {"", "[]", "{}", R"({"worker": 7, "sent": {"a": "b"}})", R"({"worker": "7-8"})",
                           R"({"worker": "7-8", "sent": "a"})", R"({"worker": "7-8", "sent": ["a"]})",
                           R"({"worker": "7-8", "sent": {"a": 1}})"}) {
    EXPECT_TRUE(sent(text).empty()) << text;
  }
  EXPECT_EQ(sent(R"({"worker": "7-8", "sent": {"a": "b"}})")["a"], "b");
}

}  // namespace
}  // namespace quillmark::control

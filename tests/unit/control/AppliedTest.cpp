#include "specfile/Applied.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/Session.h"
#include "support/PrivateSession.h"

namespace quillmark::control {
namespace {

TEST(Applied, DamagedRecordIsNone) {
  const test::PrivateSession session;
  Applied({"specs.toml"}, 7, 8).Save();
  const std::filesystem::path record = std::filesystem::directory_iterator(host::SessionFolder())->path();
  for (const std::string text :
       {"", "[]", "{}", R"({"worker": 7, "sent": {"a": "b"}})", R"({"worker": "7-8"})",
        R"({"worker": "7-8", "sent": "a"})", R"({"worker": "7-8", "sent": ["a"]})",
        R"({"worker": "7-8", "sent": {"a": 1}})"}) {
    std::ofstream(record) << text;
    EXPECT_TRUE(Applied({"specs.toml"}, 7, 8).sent.empty()) << text;
  }
  std::ofstream(record) << R"({"worker": "7-8", "sent": {"a": "b"}})";
  EXPECT_EQ(Applied({"specs.toml"}, 7, 8).sent["a"], "b");
}

}  // namespace
}  // namespace quillmark::control

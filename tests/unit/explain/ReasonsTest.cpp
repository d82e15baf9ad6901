// The list of reasons and the page that documents it say the same.
#include "reasons/Reasons.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

namespace quillmark::explain {
namespace {

// The rows of the page's tables, with the heading each stands under.
std::vector<std::string> RowsOfThePage() {
  std::ifstream page(QUILLMARK_DOCS "/silence.md");
  EXPECT_TRUE(page) << "no page";
  std::vector<std::string> rows;
  std::string heading;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("## ")) heading = line.substr(3);
    if (line.starts_with("| `")) rows.push_back(heading + ": " + line);
  }
  return rows;
}

TEST(Reasons, PageHasARowForEachInOrderAndNoOther) {
  std::vector<std::string> expected;
  for (const ReasonEntry& entry : AllReasons()) {
    expected.push_back(std::string(TitleOf(entry.stage)) + ": | `" + std::string(entry.code) + "` | " +
                       std::string(entry.meaning) + " | " + std::string(entry.remedy) + " | " +
                       std::string(entry.namedBy) + " |");
  }
  EXPECT_EQ(RowsOfThePage(), expected);
}

TEST(Reasons, EachCodeNamesOneReason) {
  for (const ReasonEntry& entry : AllReasons())
    EXPECT_EQ(ReasonOfCode(entry.code), entry.reason) << entry.code;
  EXPECT_EQ(ReasonOfCode("no such code"), std::nullopt);
}

}  // namespace
}  // namespace quillmark::explain

// The pages list exactly the findings and the reasons, in their order and words.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "advice/FindingCodes.h"
#include "reasons/Reasons.h"

namespace quillmark {
namespace {

// The rows of a page's tables, each with the heading above it.
std::vector<std::string> RowsOf(const char* file) {
  std::ifstream page(std::string(QUILLMARK_DOCS "/") + file);
  std::vector<std::string> rows;
  std::string heading;
  for (std::string line; std::getline(page, line);) {
    if (line.starts_with("## ")) heading = line.substr(3);
    if (line.starts_with("| `")) rows.push_back(heading + ": " + line);
  }
  return rows;
}

std::string Row(std::string_view heading, std::string_view code,
                std::initializer_list<std::string_view> cells) {
  std::string row = std::string(heading) + ": | `" + std::string(code) + "` |";
  for (const std::string_view cell : cells) row += ' ' + std::string(cell) + " |";
  return row;
}

TEST(Pages, ListEveryFindingAndReason) {
  using namespace advice;
  using namespace explain;
  std::vector<std::string> findings, reasons;
  for (const FindingEntry& f : AllFindings()) {
    findings.push_back(Row(TitleOf(f.topic), f.id, {WordOf(f.severity), f.meaning, f.consequence, f.remedy}));
    EXPECT_EQ(FindingOfId(f.id), f.code);
  }
  for (const ReasonEntry& r : AllReasons()) {
    reasons.push_back(Row(TitleOf(r.stage), r.code, {r.meaning, r.remedy, r.namedBy}));
    EXPECT_EQ(ReasonOfCode(r.code), r.reason);
  }
  EXPECT_EQ(RowsOf("lint.md"), findings);
  EXPECT_EQ(RowsOf("silence.md"), reasons);
}

}  // namespace
}  // namespace quillmark

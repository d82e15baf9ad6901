#include "commands/Reports.h"

#include <algorithm>
#include <string>
#include <variant>

#include "commandline/PartialSpec.h"
#include "text/Wording.h"

namespace quillmark::control {
namespace {

using advice::Finding;
using advice::LintSpec;

Json FactsOf(const Finding& finding) {
  Json facts = Json::object();
  for (const auto& [name, value] : finding.facts) {
    std::visit([&, &key = name](const auto& fact) { facts[key] = fact; }, value);
  }
  return facts;
}

void Show(const Finding& finding, const std::vector<LintSpec>& specs, Output& output) {
  constexpr std::size_t Indent = 6;
  constexpr Style Styles[] = {Style::Quiet, Style::Doubtful, Style::Bad};
  const advice::FindingEntry& entry = advice::EntryOf(finding.code);
  const std::string spec = LabelOf(specs[finding.spec]), severity(advice::WordOf(entry.severity)),
                    id(entry.id);
  const std::string other = finding.other ? LabelOf(specs[*finding.other]) : std::string();
  const std::string remedy = finding.remedy.empty() ? std::string(entry.remedy) : finding.remedy;
  const std::string meaning(entry.meaning), consequence(entry.consequence);

  const std::string text =
      spec + ": " + output.Styled(Styles[static_cast<int>(entry.severity)], severity + ' ' + id) +
      (other.empty() ? "" : " " + other) + ": " + finding.text + '\n' + std::string(Indent, ' ') +
      output.Wrapped(meaning, Indent) + EffectAndFix(consequence, remedy, Indent, output);
  output.Print({{"type", "finding"},
                {"code", id},
                {"severity", severity},
                {"spec", spec},
                {"other", other.empty() ? Json(nullptr) : Json(other)},
                {"text", finding.text},
                {"meaning", meaning},
                {"consequence", consequence},
                {"remedy", remedy},
                {"facts", FactsOf(finding)}},
               text);
}

}  // namespace

std::string Below(const std::string& text, std::size_t indent, const Output& output) {
  return '\n' + std::string(indent, ' ') + output.Wrapped(text, indent + 4);
}

std::string EffectAndFix(const std::string& consequence, const std::string& remedy, std::size_t indent,
                         const Output& output) {
  return Below("Effect: " + consequence, indent, output) + Below("Fix: " + remedy, indent, output);
}

explain::Painter PainterOf(const Output& output) {
  return [&output](explain::Paint paint, const std::string& text) {
    constexpr Style Styles[] = {Style::Good, Style::Bad, Style::Quiet};
    return output.Styled(Styles[static_cast<int>(paint)], text);
  };
}

bool PrintLint(const std::vector<LintSpec>& specs, const advice::WindowPicture* window,
               const std::vector<advice::FindingCode>& ignored, Output& output) {
  std::vector<Finding> findings = advice::Lint(
      specs, window, [&](std::size_t done, std::size_t total) { output.Bar().Show(done, total); });
  std::erase_if(findings,
                [&](const Finding& finding) { return std::ranges::count(ignored, finding.code) > 0; });

  std::size_t counts[3] = {};
  for (const Finding& finding : findings) {
    ++counts[static_cast<std::size_t>(advice::EntryOf(finding.code).severity)];
    Show(finding, specs, output);
  }
  const auto [notes, warnings, errors] = counts;
  output.Print({{"type", "summary"},
                {"specs", specs.size()},
                {"errors", errors},
                {"warnings", warnings},
                {"notes", notes}},
               findings.empty() ? "No problems found in " + Counted(specs.size(), "spec") + "."
                                : Counted(errors, "error") + ", " + Counted(warnings, "warning") + ", " +
                                      Counted(notes, "note") + " in " + Counted(specs.size(), "spec") + ".");
  return findings.empty();
}

void PrintExplanations(const std::vector<explain::Explanation>& explanations, Output& output) {
  for (const explain::Explanation& explanation : explanations) {
    if (&explanation != &explanations.front()) output.Blank();
    output.Print(explain::JsonReport(explanation),
                 explain::TextReport(explanation, PainterOf(output), output.Width()));
  }
}

}  // namespace quillmark::control

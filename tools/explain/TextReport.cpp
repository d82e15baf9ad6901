#include <algorithm>
#include <array>
#include <utility>

#include "explain/Reports.h"
#include "explain/Steps.h"
#include "text/Numbers.h"
#include "text/Places.h"
#include "text/Printable.h"
#include "text/Wrapping.h"

namespace quillmark::explain {
namespace {

// The last column of the table.
constexpr std::size_t kRemark = 5;
constexpr std::size_t kRemarkWidth = 40;  // a narrower column goes below the row
constexpr std::size_t kBelowIndent = 4;
using Row = std::array<std::string, kRemark + 1>;

class Report {
 public:
  Report(const Explanation& explanation, const Painter& painter, std::size_t lineWidth)
      : e(explanation), painted(painter), width(lineWidth) {}

  std::string Text() {
    AddFacts();
    Line();
    AddTable();
    Line();
    const std::string code = e.reason ? "  [" + std::string(CodeOf(*e.reason)) + "]" : "";
    Line(painted(e.IsHit() ? Paint::Good : Paint::Bad, Wrapped(e.sentence + code, 0, width)));
    AddRemedies();
    text.pop_back();
    return std::move(text);
  }

 private:
  void Line(const std::string& line = {}) { text += line + '\n'; }
  void Fact(const std::string& name, const std::string& fact) {
    Line(name + std::string(10 - name.size(), ' ') + Wrapped(fact, 10, width));
  }

  void AddFacts() {
    const TemplateSpec& spec = e.spec;
    std::string facts = Printable(e.request.name) + ": mode " + WordOf(spec.mode);
    if (spec.redHint) facts += ", red";
    if (spec.colorGate) facts += ", colour gate";
    Fact("Spec", facts + ", region " + RectText(spec.roi));
    if (!e.sight) return;
    const Sight& sight = *e.sight;
    Fact("Picture", RectText(sight.picture.Area()) + ", client area " + RectText(spec.targetRect) +
                        ", scale " + Digits(EffectiveScale(spec.targetScaleX)));
    if (!sight.map) return;
    Fact("Best", PlacementText(sight.map->best));
    if (sight.map->second) Fact("Next", PlacementText(*sight.map->second));
  }

  [[nodiscard]] std::string PlacementText(const Placement& placement) const {
    return "difference " + Digits(placement.dist, 4) + ", top left at " +
           PointText(InClientArea(e, placement.loc)) + " of the client area";
  }

  void AddTable() {
    std::vector<Row> rows{{"Step", "Figure", "Limit", "Margin", "Outcome", "Remark"}};
    for (const Step& step : e.steps) rows.push_back(RowOf(step));
    std::array<std::size_t, kRemark> widths{};
    std::size_t remarkAt = 0;
    for (std::size_t i = 0; i < kRemark; ++i) {
      for (const Row& row : rows) widths[i] = std::max(widths[i], row[i].size());
      remarkAt += widths[i] + 2;
    }
    const bool below = width != 0 && width < remarkAt + kRemarkWidth;
    for (std::size_t r = 0; r < rows.size(); ++r) {
      std::string line;
      for (std::size_t i = 0; i < kRemark; ++i) {
        const std::string padding(widths[i] - rows[r][i].size(), ' ');
        const bool number = i == 1 || i == 3;
        std::string cell = rows[r][i];
        if (r == 0) cell = painted(Paint::Quiet, cell);
        if (r > 0 && i == 4) cell = painted(PaintOf(e.steps[r - 1].outcome), cell);
        line += (number ? padding + cell : cell + padding) + "  ";
      }
      const std::string& remark = rows[r][kRemark];
      const bool inLine = !remark.empty() && !below;
      if (inLine) line += painted(Paint::Quiet, Wrapped(remark, remarkAt, width));
      Line(line.substr(0, line.find_last_not_of(' ') + 1));
      if (inLine || remark.empty() || r == 0) continue;
      Line(std::string(kBelowIndent, ' ') + painted(Paint::Quiet, Wrapped(remark, kBelowIndent, width)));
    }
  }

  static Row RowOf(const Step& step) {
    Row row{step.title, "", "", "", WordOf(step.outcome), RemarkOf(step)};
    if (!step.gate) return row;
    const TwoNumbers shown = DigitsOf(step.gate->figure, step.gate->limit.Value());
    row[1] = shown.first;
    row[2] = (step.gate->bound == Bound::AtMost ? "<= " : ">= ") + shown.second;
    row[3] = Digits(step.gate->Margin());
    return row;
  }

  static Paint PaintOf(StepOutcome outcome) {
    if (outcome == StepOutcome::Passed) return Paint::Good;
    return outcome == StepOutcome::Vetoed ? Paint::Bad : Paint::Quiet;
  }

  void AddRemedies() {
    if (e.IsHit()) return;
    Line();
    if (!e.remedies.empty()) Line("What would have made it a hit:");
    for (const Remedy& remedy : e.remedies)
      Line("  " + Wrapped(remedy.change + "  " + remedy.text, 2, width));
    Line(Wrapped("Fix: " + std::string(EntryOf(*e.reason).remedy), 0, width));
  }

  const Explanation& e;
  const Painter& painted;
  const std::size_t width;
  std::string text;
};

}  // namespace

std::string TextReport(const Explanation& explanation, const Painter& painted, std::size_t width) {
  return Report(explanation, painted, width).Text();
}

std::string WordOf(StepOutcome outcome) {
  constexpr const char* words[] = {"pass", "veto", "missed", "waived", "not measured"};
  return words[static_cast<std::size_t>(outcome)];
}

std::string IdOf(StepOutcome outcome) {
  std::string id = WordOf(outcome);
  std::ranges::replace(id, ' ', '-');
  return id;
}

std::string WordOf(MatchMode mode) {
  constexpr const char* words[] = {"gray", "bgr", "s", "h", "hs"};
  return words[static_cast<std::size_t>(mode)];
}

cv::Point InClientArea(const Explanation& explanation, const cv::Point& placement) {
  const ROIUnit& unit = explanation.sight->unit;
  const Rect& target = explanation.spec.targetRect;
  return {RoundToPixel(unit.x - target.left + placement.x * unit.scaleX),
          RoundToPixel(unit.y - target.top + placement.y * unit.scaleY)};
}

std::string RemarkOf(const Step& step) {
  std::string text = step.remark;
  if (!step.gate || step.gate->limit.Rules().size() < 2) return text;
  const char* separator = text.empty() ? "limit: " : "; limit: ";
  for (const LimitRule& rule : step.gate->limit.Rules()) {
    text += std::exchange(separator, ", then ") + TextOf(rule.rule) + " (" + Digits(rule.limit) + ")";
  }
  return text;
}

}  // namespace quillmark::explain

#include <algorithm>
#include <map>
#include <string_view>
#include <utility>

#include "advice/TuneReports.h"
#include "text/Numbers.h"
#include "text/Wrapping.h"

namespace quillmark::advice {
namespace {

using explain::Paint;

// Parts of a histogram, and the column where it begins.
constexpr std::size_t kBins = 50, kBarsAt = 13;

std::string Padded(std::string text, std::size_t width) {
  text.resize(std::max(width, text.size()), ' ');
  return text;
}
std::string RightAligned(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, text.size()), ' ') + text;
}

// A bar for each count, four levels high.
std::string Bars(const std::vector<std::size_t>& counts) {
  constexpr std::string_view levels = ".:+#";
  const std::size_t max = std::max<std::size_t>(std::ranges::max(counts), 1);
  std::string bars;
  for (const std::size_t count : counts) bars += count == 0 ? ' ' : levels[(count * levels.size() - 1) / max];
  return bars;
}

class Report {
 public:
  Report(const TuneReport& report_, const std::vector<std::string>& files_, const explain::Painter& painted_,
         std::size_t width_)
      : report(report_), files(files_), painted(painted_), width(width_) {}

  std::string Text() {
    AddCounts(true);
    AddCounts(false);
    AddWrong();
    for (const FigureReport& figure : report.figures) AddFigure(figure);
    AddAnswer();
    text.pop_back();
    return std::move(text);
  }

 private:
  void Line(const std::string& line = {}) { text += line + '\n'; }
  // Indents every line.
  void Prose(std::size_t indent, const std::string& line) {
    Line(std::string(indent, ' ') + Wrapped(line, indent, width));
  }

  void AddCounts(bool positive) {
    std::size_t count = 0, right = 0;
    std::map<std::string, std::size_t> refusals;
    for (const Sample& sample : report.samples) {
      if (sample.positive != positive) continue;
      ++count;
      right += sample.IsRight() ? 1 : 0;
      if (sample.reason) ++refusals[std::string(reasons::CodeOf(*sample.reason))];
    }
    std::string line = positive ? "Positives  " : "Negatives  ";
    line +=
        std::to_string(right) + " of " + std::to_string(count) + (positive ? " are hits" : " are rejected");
    const char* separator = "; rejected by ";
    for (const auto& [code, times] : refusals) {
      line += std::exchange(separator, ", ") + code + " " + std::to_string(times);
    }
    line = Wrapped(line, 0, width);
    Line(count == right ? line : painted(Paint::Bad, line));
  }

  void AddWrong() {
    for (const Sample& sample : report.samples) {
      if (sample.IsRight()) continue;
      const std::string why =
          sample.reason ? "rejected by " + std::string(reasons::CodeOf(*sample.reason)) : "a hit";
      const std::string difference =
          sample.verdict.found ? ", difference " + Digits(sample.verdict.dist) : std::string();
      Prose(2, "wrong: " + files[sample.picture] + ", " + why + difference);
    }
  }

  void AddFigure(const FigureReport& figure) {
    Line();
    const bool atMost = figure.bound == Bound::AtMost;
    std::string head = figure.title + ", " + (atMost ? "at most " : "at least ") + Digits(figure.lowLimit);
    if (figure.highLimit != figure.lowLimit) head += " to " + Digits(figure.highLimit);
    head += !figure.hasSay ? "; has no say here" : figure.canBeSet ? "; can be set" : "; fixed";
    Line(head);
    Line(painted(Paint::Quiet,
                 "             count       min        q1    median        q3       max    margin"));
    AddRow("positives", figure.positives, figure.positiveMargin);
    AddRow("negatives", figure.negatives, figure.negativeMargin);
    AddHistogram(figure);
    if (figure.positives.empty() || figure.negatives.empty()) return;
    if (!figure.separation) {
      Line("  No limit separates them.");
      return;
    }
    const Separation& s = *figure.separation;
    Line("  Limits between " + Digits(s.low) + " and " + Digits(s.high) +
         " separate them; the middle leaves a margin of " + Digits(s.Margin()) + ".");
  }

  void AddRow(const char* name, const std::vector<double>& values, const std::optional<double>& margin) {
    if (values.empty()) return;
    const Distribution d = DistributionOf(values);
    std::string row = "  " + Padded(name, 10) + RightAligned(std::to_string(d.count), 6);
    for (const double value : {d.min, d.q1, d.median, d.q3, d.max}) row += RightAligned(Digits(value), 10);
    const std::string inside = RightAligned(Digits(*margin), 10);
    Line(row + (*margin < 0.0 ? painted(Paint::Bad, inside) : inside));
  }

  void AddHistogram(const FigureReport& figure) {
    std::vector<double> all = figure.positives;
    all.insert(all.end(), figure.negatives.begin(), figure.negatives.end());
    all.insert(all.end(), {figure.lowLimit, figure.highLimit});
    const double low = std::ranges::min(all), high = std::ranges::max(all);
    if (!(low < high)) return;
    const auto addBars = [&](const char* name, const std::vector<double>& values) {
      if (!values.empty())
        Line(Padded(name, kBarsAt) + "|" + Bars(Histogram(values, low, high, kBins)) + "|");
    };
    addBars("  positives", figure.positives);
    addBars("  negatives", figure.negatives);
    std::string marks(kBins + 2, ' ');
    const std::vector<std::size_t> limits = Histogram({figure.lowLimit, figure.highLimit}, low, high, kBins);
    for (std::size_t bin = 0; bin < kBins; ++bin) {
      if (limits[bin] > 0) marks[bin + 1] = '^';
    }
    marks.erase(marks.find_last_not_of(' ') + 1);
    Line(std::string(kBarsAt, ' ') + marks + " limit");
  }

  void AddAnswer() {
    Line();
    if (report.right) {
      Line(painted(Paint::Good, "Every screenshot is decided correctly."));
      if (!report.proposals.empty()) Line("With more room:");
    }
    if (!report.obstacle.empty()) {
      const std::string why =
          "No limits of the spec's own mode separate the screenshots: " + report.obstacle + ".";
      Line(painted(Paint::Bad, Wrapped(why, 0, width)));
    }
    if (!report.right && !report.proposals.empty()) {
      Line("These settings decide every screenshot correctly:");
    }
    for (const Proposal& proposal : report.proposals) AddProposal(proposal);
    if (!report.rejected.empty()) Line("Tried without success:");
    for (const RejectedMode& mode : report.rejected) Prose(2, mode.name + ": " + mode.obstacle);
    if (!report.right && report.obstacle.empty() && report.proposals.empty()) {
      Line("To find limits, tune needs both positives and negatives that can be compared.");
    }
  }

  void AddProposal(const Proposal& proposal) {
    const Setting& setting = proposal.setting;
    std::string changes;
    for (const std::string& change : setting.changes) changes += (changes.empty() ? "" : " ") + change;
    Line("  " + painted(Paint::Good, changes));
    const Separation& range = proposal.ranges.difference;
    Prose(6, "difference at most " + Digits(setting.difference) + ": positives reach " + Digits(range.low) +
                 (proposal.ranges.bounded ? ", negatives begin at " + Digits(range.high)
                                          : ", no negatives limit it"));
    if (setting.edgeMin) {
      const Separation& edges = *proposal.ranges.edgeMin;
      Prose(6, "edge correlation at least " + Digits(*setting.edgeMin) + ": between " + Digits(edges.low) +
                   " and " + Digits(edges.high) + " separates them");
    }
    if (!setting.remark.empty()) Prose(6, setting.remark);
    if (proposal.tooLong) Line("      the name is too long: at most 32 UTF-16 units fit");
  }

  const TuneReport& report;
  const std::vector<std::string>& files;
  const explain::Painter& painted;
  const std::size_t width;
  std::string text;
};

}  // namespace

std::string TuneText(const TuneReport& report, const std::vector<std::string>& files,
                     const explain::Painter& painted, std::size_t width) {
  return Report(report, files, painted, width).Text();
}

}  // namespace quillmark::advice

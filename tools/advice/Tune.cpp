#include "advice/Tune.h"

#include <algorithm>
#include <utility>

#include "client/Command.h"
#include "explain/Explain.h"
#include "text/Printable.h"

namespace quillmark::advice {
namespace {

using explain::StepOutcome;

constexpr char kOnlySeemed[] = "the limits found decide a screenshot wrongly";

FigureReport& ReportOf(const explain::Step& step, std::vector<FigureReport>& reports) {
  const auto known = std::ranges::find(reports, step.id, &FigureReport::id);
  if (known != reports.end()) return *known;
  FigureReport report;
  report.id = step.id;
  report.title = step.title;
  report.bound = step.gate->bound;
  report.canBeSet = CanBeSet(step.id);
  report.lowLimit = report.highLimit = step.gate->limit.Value();
  reports.push_back(std::move(report));
  return reports.back();
}

void AddFigure(const explain::Step& step, bool positive, std::vector<FigureReport>& reports) {
  FigureReport& report = ReportOf(step, reports);
  const GateResult& gate = *step.gate;
  report.hasSay |= step.outcome != StepOutcome::Waived;
  report.lowLimit = std::min(report.lowLimit, gate.limit.Value());
  report.highLimit = std::max(report.highLimit, gate.limit.Value());
  (positive ? report.positives : report.negatives).push_back(gate.figure);
  const double margin = positive ? gate.Margin() : -gate.Margin();
  std::optional<double>& min = positive ? report.positiveMargin : report.negativeMargin;
  min = min ? std::min(*min, margin) : margin;
}

std::vector<FigureReport> FiguresOf(const Samples& samples) {
  std::vector<FigureReport> reports;
  for (const Sample& sample : samples) {
    for (const explain::Step& step : sample.steps) {
      if (step.gate) AddFigure(step, sample.positive, reports);
    }
  }
  for (FigureReport& report : reports) {
    report.separation = Separate(report.positives, report.negatives, report.bound);
  }
  return reports;
}

bool AllRight(const Samples& samples) {
  return std::ranges::all_of(samples, &Sample::IsRight);
}

// Wide ranges are wide, whatever the size of the figures.
double Width(const Proposal& proposal) {
  const Separation& range = proposal.ranges.difference;
  double width = range.high > 0.0 ? (range.high - range.low) / range.high : 0.0;
  if (proposal.ranges.edgeMin) width = std::min(width, proposal.ranges.edgeMin->Margin());
  return width;
}

class Tuning {
 public:
  Tuning(const TuneInput& input_, const Progress& progress_) : input(input_), progress(progress_) {}

  TuneReport Run() {
    const explain::Explanation prepared = explain::PrepareExplanation(input.spec);
    if (prepared.reason) {
      report.rejectedImage = prepared.reason;
      report.remark = prepared.steps.back().remark;
      return std::move(report);
    }
    image = prepared.spec;
    Decisions decisions = Decide(input, {image}, progress);
    report.samples = std::move(decisions.bySpec.front());
    report.unused = std::move(decisions.unused);
    report.figures = FiguresOf(report.samples);
    report.right = !report.samples.empty() && AllRight(report.samples);
    if (HasBothKinds()) Propose();
    return std::move(report);
  }

 private:
  [[nodiscard]] bool HasBothKinds() const {
    return std::ranges::any_of(report.samples, &Sample::positive) &&
           !std::ranges::all_of(report.samples, &Sample::positive);
  }

  void Propose() {
    LimitSearch own = FindLimits(report.samples, image);
    report.obstacle = std::move(own.obstacle);
    if (own.ranges) {
      Setting setting = SettingFor(input.spec, input.spec, *own.ranges);
      if (!setting.changes.empty()) Add(std::move(setting), *own.ranges);
      Verify();
      if (!report.right && report.proposals.empty()) report.obstacle = kOnlySeemed;
      report.rejected.clear();
    }
    if (report.right || !report.proposals.empty()) return;
    TryOtherModes();
    Verify();
    std::ranges::stable_sort(report.proposals, std::ranges::greater(), Width);
  }

  void Add(Setting setting, LimitRanges ranges) {
    const bool tooLong = setting.request.name.size() > client::NameUnits;
    report.proposals.push_back({std::move(setting), ranges, tooLong});
  }

  // The prepared template with another request's settings.
  [[nodiscard]] TemplateSpec Prepared(const explain::SpecRequest& request) const {
    TemplateSpec spec = image;
    const TemplateSpec settings = SpecOf(request);
    spec.name = settings.name;
    spec.mode = settings.mode;
    spec.maxDiff = settings.maxDiff;
    spec.minScore = settings.minScore;
    spec.edgeMin = settings.edgeMin;
    spec.redHint = settings.redHint;
    spec.colorGate = settings.colorGate;
    spec.chromaChannel = settings.chromaChannel;
    spec.chromaMin = settings.chromaMin;
    return spec;
  }

  [[nodiscard]] std::vector<Samples> DecideAll(const std::vector<explain::SpecRequest>& requests) const {
    std::vector<TemplateSpec> specs;
    for (const explain::SpecRequest& request : requests) specs.push_back(Prepared(request));
    return Decide(input, specs, progress).bySpec;
  }

  void TryOtherModes() {
    const std::vector<explain::SpecRequest> requests = OtherModes(input.spec);
    const std::vector<Samples> decided = DecideAll(requests);
    for (std::size_t i = 0; i < requests.size(); ++i) {
      LimitSearch search = FindLimits(decided[i], Prepared(requests[i]));
      if (search.ranges) {
        Add(SettingFor(requests[i], input.spec, *search.ranges), *search.ranges);
      } else {
        report.rejected.push_back({WellFormed(requests[i].name), std::move(search.obstacle)});
      }
    }
  }

  // Keeps the proposals with which the worker decides every screenshot correctly.
  void Verify() {
    if (report.proposals.empty()) return;
    std::vector<explain::SpecRequest> requests;
    for (const Proposal& proposal : report.proposals) requests.push_back(proposal.setting.request);
    const std::vector<Samples> decided = DecideAll(requests);
    std::vector<Proposal> kept;
    for (std::size_t i = 0; i < decided.size(); ++i) {
      if (AllRight(decided[i])) {
        kept.push_back(std::move(report.proposals[i]));
      } else {
        report.rejected.push_back({WellFormed(requests[i].name), kOnlySeemed});
      }
    }
    report.proposals = std::move(kept);
  }

  const TuneInput& input;
  const Progress& progress;
  TemplateSpec image;
  TuneReport report;
};

}  // namespace

TuneReport Tune(const TuneInput& input, const Progress& progress) {
  return Tuning(input, progress).Run();
}

}  // namespace quillmark::advice

#include "advice/Probe.h"

#include <algorithm>
#include <cctype>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <utility>

#include "core/RegionCut.h"
#include "explain/Steps.h"
#include "text/Numbers.h"

namespace quillmark::advice {

TemplateSpec BoundTo(cv::Size screenshot, TemplateSpec spec, double scale, bool hasRegion) {
  spec.targetRect = {0, 0, screenshot.width, screenshot.height};
  spec.targetScaleX = spec.targetScaleY = scale;
  spec.targetValid = true;
  if (!hasRegion) spec.roi = cv::Rect(0, 0, kAnySize, kAnySize);
  return spec;
}

Probe ProbeOn(const cv::Mat& bgr, const TemplateSpec& spec) {
  const TemplateSpec bound = BoundTo(bgr.size(), spec, 1.0, false);
  cv::Mat bgra;
  cv::cvtColor(bgr, bgra, cv::COLOR_BGR2BGRA);
  return ProbeOn(CutRegion(bound, PlaceRegion(bound, bound.targetRect), bgra, {}), spec);
}

Probe ProbeOn(ROIUnit unit, const TemplateSpec& spec) {
  Verdict verdict = explain::ThoroughVerdict(unit, spec);
  return {std::move(unit), std::move(verdict)};
}

std::string RefusalText(const Probe& probe, const TemplateSpec& spec) {
  const std::optional<reasons::Reason> reason = explain::ReasonOf(probe.verdict.decidedBy);
  if (!reason) return {};
  for (const explain::Step& step : explain::ComparisonSteps(spec, probe.unit, probe.verdict)) {
    if (step.reason != reason) continue;
    std::string text = step.title;
    text.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
    if (!step.gate) return text;
    const auto [value, limit] = DigitsOf(step.gate->figure, step.gate->limit.Value());
    const bool atMost = step.gate->bound == Bound::AtMost;
    return text + " " + value + (atMost ? ", at most " : ", at least ") + limit;
  }
  return std::string(reasons::CodeOf(*reason));
}

double AcceptedDifference(const Verdict& verdict, const TemplateSpec& spec) {
  const double byDifference = verdict.difference.limit.Value();
  return spec.minScore > 0.0 ? std::min(byDifference, 1.0 - spec.minScore) : byDifference;
}

}  // namespace quillmark::advice

#include "advice/Samples.h"

#include <utility>

#include "advice/Probe.h"
#include "core/RegionCut.h"
#include "explain/Steps.h"
#include "picture/PictureFile.h"

namespace quillmark::advice {
namespace {

Sample SampleOf(const cv::Mat& bgra, const TemplateSpec& spec) {
  Sample sample;
  const RegionOnFrame place = PlaceRegion(spec, spec.targetRect);
  if (IsEmpty(place.region)) {
    sample.reason = reasons::Reason::RegionOutsideTarget;
  } else if (!place.HoldsTemplate()) {
    sample.reason = reasons::Reason::RegionTooSmall;
  } else {
    const Probe probe = ProbeOn(CutRegion(spec, place, bgra, {}), spec);
    sample.verdict = probe.verdict;
    sample.reason = explain::ReasonOf(probe.verdict.decidedBy);
    sample.steps = explain::ComparisonSteps(spec, probe.unit, probe.verdict);
  }
  return sample;
}

}  // namespace

Decisions Decide(const TuneInput& input, const std::vector<TemplateSpec>& specs, const Progress& progress) {
  Decisions decisions;
  decisions.bySpec.resize(specs.size());
  const std::size_t steps = specs.size() + 1;  // per picture
  const auto report = [&](std::size_t picture, std::size_t done) {
    if (progress) progress(picture * steps + done, input.pictures.size() * steps);
  };
  for (std::size_t i = 0; i < input.pictures.size(); ++i) {
    const TunePicture& picture = input.pictures[i];
    PictureFile file = ReadPicture(picture.path);
    if (file.bgra.empty()) {
      decisions.unused.push_back({i, std::move(file.fault), file.reason != reasons::Reason::ImageFormat});
    } else {
      report(i, 1);
      for (std::size_t j = 0; j < specs.size(); ++j) {
        Sample sample =
            SampleOf(file.bgra, BoundTo(file.bgra.size(), specs[j], input.scale, input.hasRegion));
        sample.picture = i;
        sample.positive = picture.positive;
        decisions.bySpec[j].push_back(std::move(sample));
        report(i, j + 2);
      }
    }
    report(i, steps);
  }
  return decisions;
}

}  // namespace quillmark::advice

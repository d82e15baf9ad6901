#include "explain/Explain.h"

#include <opencv2/imgproc.hpp>
#include <system_error>
#include <utility>

#include "app/OpenCvConfig.h"
#include "explain/Remedies.h"
#include "explain/Sentence.h"
#include "explain/Steps.h"
#include "specs/ImageFile.h"
#include "specs/SpecOptions.h"
#include "specs/SpecStore.h"
#include "specs/TemplatePreparation.h"
#include "specs/Utf8.h"
#include "text/Numbers.h"

namespace quillmark::explain {
namespace {

std::string SizeText(int width, int height) {
  return std::to_string(width) + " x " + std::to_string(height);
}

std::string PointText(cv::Point point) {
  return std::to_string(point.x) + "," + std::to_string(point.y);
}

std::string RectText(const Rect& rect) {
  return SizeText(rect.right - rect.left, rect.bottom - rect.top) + " at " + PointText({rect.left, rect.top});
}

Step Plain(std::string id, std::string title, std::string measures, StepOutcome outcome, std::string remark) {
  Step step;
  step.id = std::move(id);
  step.title = std::move(title);
  step.measures = std::move(measures);
  step.outcome = outcome;
  step.remark = std::move(remark);
  return step;
}

Step VetoOf(Step step, Reason reason) {
  step.outcome = StepOutcome::Vetoed;
  step.reason = reason;
  return step;
}

Reason ReasonOf(ImageFault fault) {
  switch (fault) {
    case ImageFault::NotOpened:
      return Reason::ImageMissing;
    case ImageFault::NoRegularFile:
      return Reason::ImageNotAFile;
    case ImageFault::Empty:
      return Reason::ImageEmpty;
    case ImageFault::Unreadable:
      return Reason::ImageUnreadable;
    case ImageFault::TooManyBytes:
      return Reason::ImageTooLarge;
    case ImageFault::UnknownFormat:
      return Reason::ImageFormat;
    case ImageFault::TooManyPixels:
      return Reason::ImageTooManyPixels;
    case ImageFault::Damaged:
      return Reason::ImageDamaged;
    case ImageFault::None:
      break;
  }
  return Reason::ImageRefused;
}

// Why a file that the preparation refused is of no use.
Reason ReasonOfImage(const std::wstring& path) {
  ImageFault fault = ImageFault::None;
  try {
    const cv::Mat image = ReadImageFile(path, &fault);
    if (fault == ImageFault::None && image.depth() != CV_8U) return Reason::ImageDepth;
    if (fault == ImageFault::None && image.channels() == 2) return Reason::ImageChannels;
  } catch (const std::system_error&) {
    return Reason::ImagePath;
  } catch (const cv::Exception&) {
    return Reason::ImageRefused;
  }
  return ReasonOf(fault);
}

// The outcome of the preparation as a step; with a reason when it was refused.
Step PrepareStep(TemplateSpec& spec) {
  Step step = Plain("template", "Template", "image file of the template", StepOutcome::Passed, {});
  try {
    if (!PrepareTemplate(spec)) {
      step.remark = ToUtf8(DisplayPath(spec.path));
      return VetoOf(std::move(step), ReasonOfImage(spec.path));
    }
  } catch (const std::exception& error) {
    const Reason reason = ReasonOfImage(spec.path);
    if (reason != Reason::ImagePath) step.remark = ToUtf8(DisplayPath(spec.path));
    if (reason == Reason::ImageRefused) step.remark += ": " + ToUtf8(CauseOf(error));
    return VetoOf(std::move(step), reason);
  }
  step.remark =
      SizeText(spec.tmplGray.cols, spec.tmplGray.rows) + " pixels, edge density " + Digits(spec.edgeDensity);
  return step;
}

// Region, monitor and size; false when one of them ends it.
bool AddPlaceSteps(Explanation& e, const RegionOnFrame& place, const Rect& frame) {
  Step region = Plain("region", "Region", "region inside the target's client area", StepOutcome::Passed,
                      RectText(place.region) + " on the desktop");
  if (IsEmpty(place.region)) {
    region.remark = "client area " + RectText(e.spec.targetRect) + " on the desktop";
    EndWith(e, VetoOf(std::move(region), Reason::RegionOutsideTarget));
    return false;
  }
  e.steps.push_back(std::move(region));

  Step monitor = Plain("monitor", "Monitor", "part of the region that the picture shows", StepOutcome::Passed,
                       place.visible == place.region
                           ? "all of it"
                           : RectText(place.visible) + "; the edge cuts it, which relaxes several limits");
  if (place.OffFrame()) {
    monitor.remark = IsEmpty(frame) ? "the region is " + RectText(place.region)
                                    : "the picture shows " + RectText(frame) + " only";
    EndWith(e, VetoOf(std::move(monitor), Reason::RegionOffMonitor));
    return false;
  }
  e.steps.push_back(std::move(monitor));

  Step size =
      Plain("size", "Size", "room for the template at the target's scale", StepOutcome::Passed,
            SizeText(place.tmplSize.width, place.tmplSize.height) + " on the desktop, in " +
                SizeText(place.visible.right - place.visible.left, place.visible.bottom - place.visible.top));
  if (!place.HoldsTemplate()) {
    EndWith(e, VetoOf(std::move(size), Reason::RegionTooSmall));
    return false;
  }
  e.steps.push_back(std::move(size));
  return true;
}

// What decides over time and so cannot be seen in one picture.
void AddPacing(Explanation& e) {
  const TemplateSpec& spec = e.spec;
  e.steps.push_back(Plain("pacing", "Pacing", "whether the spec is due in this frame",
                          StepOutcome::NotMeasured, "one picture only; "));
  std::string& remark = e.steps.back().remark;
  if (spec.frameDivisor > 1) {
    remark += "due in one of " + std::to_string(spec.frameDivisor) + " frames";
  } else if (spec.intervalMs > 0) {
    remark += "due once in " + std::to_string(spec.intervalMs) + " ms";
  } else {
    remark += "due in every frame";
  }
}

// A hit near the right or lower edge of the client area is reported beside its place.
void AddPosition(Explanation& e) {
  const HitGeometry& hit = e.sight->verdict.hit;
  const cv::Point centre(hit.desktopX - e.spec.targetRect.left, hit.desktopY - e.spec.targetRect.top);
  Step step = Plain("position", "Position", "centre of the hit in the client area", StepOutcome::Passed,
                    PointText(centre));
  if (centre != cv::Point(hit.cx, hit.cy)) {
    step.remark += " is reported as " + PointText({hit.cx, hit.cy}) +
                   ": it is kept within the client area less the hit's size";
  }
  e.steps.push_back(std::move(step));
}

void AddDelivery(Explanation& e) {
  AddPosition(e);
  const std::uint64_t window = e.sight->verdict.dedupWindowMs;
  const int shownWindow = window != 0 ? static_cast<int>(window) : e.spec.name == L"T1" ? 30 : 150;
  e.steps.push_back(Plain(
      "duplicate", "Repetition", "whether it repeats the last hit of the name", StepOutcome::NotMeasured,
      "one picture only; repetitions are held back for " + std::to_string(shownWindow) + " ms"));
  e.steps.push_back(Plain("ring", "Hit ring", "room for the hit", StepOutcome::NotMeasured,
                          "one picture only; with 64 unread records a hit is refused"));
}

// A second place that passes the difference, too, is worth knowing: the template is not unique in its region.
void AddSecond(Step& search, const Sight& sight) {
  if (!sight.map || !sight.map->second) return;
  const double second = sight.map->second->dist;
  if (second > sight.verdict.difference.limit.Value()) return;
  search.remark += "; the next one elsewhere passes the difference too, at " + Digits(second);
}

}  // namespace

Explanation PrepareExplanation(const SpecRequest& request) {
  ConfigureOpenCvOnce();
  Explanation e;
  e.request = request;
  e.spec = SpecOfCommand(request.target, request.name, request.path, request.roi.x, request.roi.y,
                         request.roi.width, request.roi.height, request.edgeMin, request.threshold);
  Step step = PrepareStep(e.spec);
  ApplyNameOptions(e.spec);
  if (step.reason) {
    EndWith(e, std::move(step));
  } else {
    e.steps.push_back(std::move(step));
  }
  return e;
}

void EndWith(Explanation& explanation, Step step) {
  explanation.reason = step.reason;
  explanation.steps.push_back(std::move(step));
  explanation.sentence = SentenceOf(explanation);
}

void ExplainOn(Explanation& e, const Picture& picture, const Progress& progress) {
  const auto tell = [&](std::size_t done) {
    if (progress) progress(done);
  };
  const TemplateSpec& spec = e.spec;
  const Rect frame{picture.origin.x, picture.origin.y, picture.origin.x + picture.bgra.cols,
                   picture.origin.y + picture.bgra.rows};
  const RegionOnFrame place = PlaceRegion(spec, frame);
  if (!AddPlaceSteps(e, place, frame)) return;
  AddPacing(e);
  try {
    Sight sight;
    sight.picture = picture;
    sight.place = place;
    FrameImages images;
    ConvertFrame(picture.bgra, NeedsHsv(spec), images);
    sight.unit = CutRegion(spec, place, images, picture.origin);
    tell(1);
    sight.verdict = ThoroughVerdict(sight.unit, spec);
    tell(2);
    if (sight.verdict.found) sight.map = MapRegion(sight.unit, spec);
    tell(kLongSteps);
    for (Step& step : ComparisonSteps(spec, sight.unit, sight.verdict)) {
      if (step.id == CodeOf(Reason::NoPlacement)) AddSecond(step, sight);
      e.steps.push_back(std::move(step));
    }
    e.reason = ReasonOf(sight.verdict.decidedBy);
    e.sight = std::move(sight);
  } catch (const cv::Exception& error) {
    EndWith(e, VetoOf(Plain("evaluation-failed", "Comparison", "the comparison itself", StepOutcome::Vetoed,
                            ToUtf8(CauseOf(error))),
                      Reason::EvaluationFailed));
    return;
  }
  if (e.IsHit()) AddDelivery(e);
  e.sentence = SentenceOf(e);
  if (!e.IsHit()) e.remedies = RemediesFor(e);
}

}  // namespace quillmark::explain

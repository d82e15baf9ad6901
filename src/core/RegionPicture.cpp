#include "core/RegionPicture.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "core/RegionGeometry.h"

namespace quillmark {
namespace {

// More bands than this are joined into one.
constexpr std::size_t kMostBands = 16;
constexpr std::uint32_t kColourBits = 0x00FFFFFF;

// Scales within a hundredth of 1 count as 1.
bool IsScaled(double sx, double sy) {
  return std::abs(sx - 1.0) > 0.01 || std::abs(sy - 1.0) > 0.01;
}

cv::Size SizeAtTemplateScale(cv::Size region, double sx, double sy) {
  if (!IsScaled(sx, sy)) return region;
  return {std::max(RoundToPixel(region.width / sx), 1), std::max(RoundToPixel(region.height / sy), 1)};
}

bool SameColours(const std::uint32_t* a, const std::uint32_t* b, int count) {
  std::uint32_t different = 0;
  for (int i = 0; i < count; ++i) different |= a[i] ^ b[i];
  return (different & kColourBits) == 0;
}

// The first and one past the last column in which two rows differ, which they do.
std::pair<int, int> DifferentColumns(const std::uint32_t* a, const std::uint32_t* b, int count) {
  const auto differ = [&](int i) { return ((a[i] ^ b[i]) & kColourBits) != 0; };
  int first = 0, end = count;
  while (!differ(first)) ++first;
  while (!differ(end - 1)) --end;
  return {first, end};
}

// Makes planes of BGRA pixels: into parts of existing planes if `planes` refers to such.
void ConvertToGrey(const cv::Mat& bgra, Planes& planes) {
  cv::cvtColor(bgra, planes.gray, cv::COLOR_BGRA2GRAY);
}

void ConvertToColours(const cv::Mat& bgra, PlaneNeeds needs, Planes& planes) {
  if (needs.bgr) cv::cvtColor(bgra, planes.bgr, cv::COLOR_BGRA2BGR);
  if (!needs.hsv) return;
  cv::cvtColor(bgra, planes.hsv, cv::COLOR_BGR2HSV);
  cv::extractChannel(planes.hsv, planes.sat, 1);
  cv::extractChannel(planes.hsv, planes.hue, 0);
}

template <typename Action>
void ForEachPlane(Planes& planes, const Action& action) {
  for (cv::Mat* plane : {&planes.gray, &planes.bgr, &planes.hsv, &planes.sat, &planes.hue}) {
    if (!plane->empty()) action(*plane);
  }
}

}  // namespace

PlaneNeeds NeedsOf(const TemplateSpec& spec) {
  const bool colour = spec.colorGate || spec.redHint;
  return {spec.mode == MatchMode::Bgr || spec.chromaChannel != 0 || colour,
          spec.mode == MatchMode::S || IsHueMode(spec.mode) || colour || spec.vividFlat};
}

RegionPicture::RegionPicture(const cv::Mat& bgra, double scaleX, double scaleY)
    : pixels(bgra.clone()), sx(scaleX), sy(scaleY), scaled(IsScaled(scaleX, scaleY)) {}

RegionPicture::RegionPicture(const RegionPicture& other)
    : pixels(other.pixels.clone()), sx(other.sx), sy(other.sy), scaled(other.scaled) {}

std::vector<cv::Rect> RegionPicture::Differences(const cv::Mat& bgra, const cv::Rect& rect) const {
  std::vector<cv::Rect> bands;
  bool inBand = false;
  for (int y = rect.y; y < rect.y + rect.height; ++y) {
    const auto* const mine = pixels.ptr<std::uint32_t>(y) + rect.x;
    const auto* const other = bgra.ptr<std::uint32_t>(y) + rect.x;
    if (SameColours(mine, other, rect.width)) {
      inBand = false;
      continue;
    }
    const auto [first, end] = DifferentColumns(mine, other, rect.width);
    const cv::Rect row(rect.x + first, y, end - first, 1);
    if (inBand || bands.size() >= kMostBands) {
      bands.back() |= row;
    } else {
      bands.push_back(row);
    }
    inBand = true;
  }
  return bands;
}

void RegionPicture::Update(const cv::Mat& bgra, const std::vector<cv::Rect>& parts) {
  const std::lock_guard lock(mutex);
  if (scaled) {
    planes = {};
  } else if (!planes.gray.empty()) {
    stale.insert(stale.end(), parts.begin(), parts.end());
  }
  for (const cv::Rect& part : parts) bgra(part).copyTo(pixels(part));
}

Planes RegionPicture::PlanesFor(PlaneNeeds needs) {
  const std::lock_guard lock(mutex);
  RefreshStaleParts();
  MakeMissing(needs);
  Planes given = planes;
  if (!needs.bgr) given.bgr.release();
  if (!needs.hsv) given.hsv = given.sat = given.hue = cv::Mat();
  return given;
}

void RegionPicture::RefreshStaleParts() {
  for (const cv::Rect& part : stale) {
    Planes parts = planes;
    ForEachPlane(parts, [&](cv::Mat& plane) { plane = plane(part); });
    ConvertToGrey(pixels(part), parts);
    ConvertToColours(pixels(part), {!planes.bgr.empty(), !planes.hsv.empty()}, parts);
  }
  stale.clear();
}

void RegionPicture::MakeMissing(PlaneNeeds needs) {
  // Planes that are there are left alone: others may read them.
  const bool missingGrey = planes.gray.empty();
  const PlaneNeeds missing{needs.bgr && planes.bgr.empty(), needs.hsv && planes.hsv.empty()};
  Planes made;
  if (missingGrey) ConvertToGrey(pixels, made);
  ConvertToColours(pixels, missing, made);
  if (scaled) {
    const int interpolation = sx < 1.0 || sy < 1.0 ? cv::INTER_LINEAR : cv::INTER_AREA;
    const cv::Size size = SizeAtTemplateScale(pixels.size(), sx, sy);
    ForEachPlane(made, [&](cv::Mat& plane) {
      cv::Mat result;
      cv::resize(plane, result, size, 0, 0, interpolation);
      plane = result;
    });
  }
  if (missingGrey) planes.gray = made.gray;
  if (missing.bgr) planes.bgr = made.bgr;
  if (missing.hsv) planes.hsv = made.hsv, planes.sat = made.sat, planes.hue = made.hue;
}

std::size_t RegionPicture::BytesFor(PlaneNeeds needs, cv::Size region, double scaleX, double scaleY) {
  const std::size_t planeBytes = 1 + (needs.bgr ? 3 : 0) + (needs.hsv ? 5 : 0);
  return static_cast<std::size_t>(region.area()) * 4 +
         static_cast<std::size_t>(SizeAtTemplateScale(region, scaleX, scaleY).area()) * planeBytes;
}

}  // namespace quillmark

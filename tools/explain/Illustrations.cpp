#include "explain/Illustrations.h"

#include <algorithm>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <string_view>

#include "core/ImageFigures.h"
#include "picture/PngFile.h"
#include "text/Numbers.h"

namespace quillmark::explain {
namespace {

constexpr double kDifferenceGain = 4.0;

std::string Base64(std::string_view bytes) {
  constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  text.reserve((bytes.size() + 2) / 3 * 4);
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = 0; k < 3; ++k)
      group = group << 8 | (i + k < bytes.size() ? static_cast<std::uint8_t>(bytes[i + k]) : 0u);
    for (std::size_t k = 0; k < 4; ++k) {
      text += i + k <= bytes.size() ? digits[group >> (18 - 6 * k) & 63] : '=';
    }
  }
  return text;
}

// Hues as colours.
cv::Mat HueShown(const cv::Mat& hue) {
  const cv::Mat full(hue.size(), CV_8U, cv::Scalar(255));
  cv::Mat hsv, bgr;
  cv::merge(std::vector<cv::Mat>{hue, full, full}, hsv);
  cv::cvtColor(hsv, bgr, cv::COLOR_HSV2BGR);
  return bgr;
}

cv::Mat DifferenceShown(const cv::Mat& a, const cv::Mat& b, double gain) {
  cv::Mat difference;
  cv::absdiff(a, b, difference);
  difference.convertTo(difference, -1, gain);
  return difference;
}

// What the mode compares.
TileRow Compared(const TemplateSpec& spec, const ROIUnit& unit, const cv::Rect& place) {
  const std::string title = "As the mode compares them: ";
  if (IsHueMode(spec.mode)) {
    const cv::Mat seen = unit.hue(place);
    return {title + (spec.mode == MatchMode::H ? "hue" : "hue, then saturation"),
            {{"Template", HueShown(spec.tmplHue)},
             {"Best place", HueShown(seen)},
             {"Difference of the hues", DifferenceShown(spec.tmplHue, seen, 255.0 / 179.0)}}};
  }
  const auto row = [&](const char* plane, const cv::Mat& tmpl, const cv::Mat& region) -> TileRow {
    const cv::Mat seen = region(place), difference = DifferenceShown(tmpl, seen, kDifferenceGain);
    return {
        title + plane,
        {{"Template", tmpl}, {"Best place", seen}, {"Difference, x" + Digits(kDifferenceGain), difference}}};
  };
  if (spec.mode == MatchMode::Bgr) return row("colour", spec.tmplBgr, unit.bgr);
  if (spec.mode == MatchMode::S) return row("saturation", spec.tmplSat, unit.sat);
  return row("grey", spec.tmplGray, unit.gray);
}

TileRow Edges(const TemplateSpec& spec, const ROIUnit& unit, const cv::Rect& place) {
  const cv::Mat wanted = spec.tmplEdgeZm > 0.0;
  const cv::Mat seen = EdgesOf(unit.gray(place));
  cv::Mat both(wanted.size(), CV_8UC3, cv::Scalar::all(255));
  both.setTo(cv::Scalar(60, 60, 210), wanted & ~seen);
  both.setTo(cv::Scalar(200, 120, 30), seen & ~wanted);
  both.setTo(cv::Scalar(30, 30, 30), seen & wanted);
  return {"Edges",
          {{"Template", ~wanted},
           {"Best place", ~seen},
           {"Both: black shared, red only in the template, blue only at the place", both}}};
}

}  // namespace

std::string DataUri(const cv::Mat& image) {
  return "data:image/png;base64," + Base64(EncodePng(image, kFastPng));
}

cv::Mat Overview(const Picture& picture, int maxPixels) {
  cv::Mat bgr;
  cv::cvtColor(picture.bgra, bgr, cv::COLOR_BGRA2BGR);
  const double scale = static_cast<double>(maxPixels) / std::max({bgr.cols, bgr.rows, 1});
  if (scale < 1.0) cv::resize(bgr, bgr, {}, scale, scale, cv::INTER_AREA);
  return bgr;
}

cv::Mat HeatMap(const Sight& sight) {
  const cv::Mat& difference = sight.map->difference;
  double min = 0.0, max = 0.0;
  cv::minMaxLoc(difference, &min, &max);
  const double span = std::max(max - min, 1e-9);
  cv::Mat closeness, colours;
  difference.convertTo(closeness, CV_8U, -255.0 / span, 255.0 * max / span);
  cv::applyColorMap(closeness, colours, cv::COLORMAP_VIRIDIS);
  cv::Mat heat(sight.unit.gray.size(), CV_8UC3, cv::Scalar::all(225));
  const cv::Point centre(sight.verdict.tw / 2, sight.verdict.th / 2);
  colours.copyTo(heat(cv::Rect(centre, colours.size())));
  return heat;
}

std::vector<TileRow> SideBySide(const TemplateSpec& spec, const Sight& sight) {
  const ROIUnit& unit = sight.unit;
  const cv::Rect place(sight.map->best.loc, spec.tmplGray.size());
  TileRow seen{"As seen", {{"Template", spec.tmplBgr}, {"Best place", unit.bgr(place)}}};
  if (sight.map->second) {
    seen.tiles.push_back({"Next place", unit.bgr(cv::Rect(sight.map->second->loc, spec.tmplGray.size()))});
  }
  std::vector<TileRow> rows{std::move(seen), Compared(spec, unit, place)};
  if (sight.verdict.edgeCorrelation.Measured()) rows.push_back(Edges(spec, unit, place));
  return rows;
}

}  // namespace quillmark::explain

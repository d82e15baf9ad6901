// What to look for, in which region of which window, and how. A plain value; copies share its matrices, which
// are never written after preparation, so copies stay valid while the store changes.
#pragma once

#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <string>

// The platform's handles, only declared: matching needs no platform headers.
struct HWND__;
struct HMONITOR__;

namespace quillmark {

class TemplateSpectra;

enum class MatchMode : std::int32_t { Gray = 0, Bgr = 1, S = 2, H = 3, HS = 4 };

constexpr bool IsHueMode(MatchMode mode) {
  return mode == MatchMode::H || mode == MatchMode::HS;
}

// Right and bottom are exclusive.
struct Rect {
  std::int32_t left = 0, top = 0, right = 0, bottom = 0;

  friend bool operator==(const Rect&, const Rect&) = default;
};

struct TemplateSpec {
  std::wstring name;  // key in the store, compared exactly
  std::wstring path;  // template image file
  // The number of the store's change that added or replaced it, never given twice; 0 outside the store.
  std::uint64_t revision = 0;
  cv::Rect roi;  // region in logical pixels (those of the template), relative to the client area
  MatchMode mode = MatchMode::Gray;
  bool vividFlat = false;  // strongly saturated and flat: hsvMean[1] > 100 and hsvStd[1] < 20

  // Target window. Bound on each tick in the capture loop's copy; the store has the defaults.
  std::wstring target;  // part of a title, or an executable name ending in ".exe" or ".EXE"
  HWND__* targetHwnd = nullptr;
  HMONITOR__* targetMonitor = nullptr;
  Rect targetRect;  // client area, desktop pixels
  bool targetValid = false;
  double targetScaleX = 1.0, targetScaleY = 1.0;  // desktop pixels per logical pixel

  // Limits. Differences and similarities are between 0 and 1.
  double maxDiff = 0.1;          // maximum difference
  double minScore = 0.0;         // minimum similarity, 0 for none
  double edgeMin = 0.75;         // minimum edge correlation
  double edgeMinFloor = 0.66;    // minimum when relaxed
  double edgeRelaxDiff = 0.065;  // relaxed at or below this difference
  double edgeRelaxStep = 0.06;   // by this much

  // Prepared from the image; all of the template's size.
  cv::Mat tmplBgr;                           // 8UC3
  cv::Mat tmplGray;                          // 8UC1
  cv::Mat tmplMask;                          // 8UC1, 255 where opaque; empty without an alpha channel
  cv::Mat tmplHue;                           // 8UC1, 0 to 179
  cv::Mat tmplSat;                           // 8UC1
  cv::Mat tmplEdgeZm;                        // 32FC1, edge image over 255 minus its mean
  cv::Mat tmplEdgeDilZm;                     // 32FC1, the same of the dilated edge image
  double edgeDensity = 0.0;                  // share of edge pixels
  cv::Scalar hsvMean, hsvStd;                // of H, S, V over the opaque pixels
  cv::Mat tmplRedMask;                       // 8UC1
  double redRatio = 0.0;                     // share of red pixels
  double labAMean = 0.0;                     // mean of the 8-bit a* plane, 128 is neutral
  std::shared_ptr<TemplateSpectra> spectra;  // kept between searches; may be missing

  // Red objects.
  bool redHint = false;            // the spec looks for a red object
  bool colorGate = false;          // the colour tests take part in the decision
  std::int32_t chromaChannel = 0;  // 1 compares the Cr plane, 2 the Cb plane, else none
  double chromaMin = 0.88;         // minimum correlation of that plane
  cv::Mat tmplCr, tmplCb;          // 8UC1

  // Scheduling.
  std::int32_t frameDivisor = 1;  // above 1: only every n-th monitor frame
  std::int32_t intervalMs = 0;    // above 0: minimum time between two evaluations on one monitor
  std::int32_t monitorPin = 0;    // 0 none, -1 the primary monitor, n >= 1 the n-th monitor
};

}  // namespace quillmark

// The cases of the figures: seeded templates and screens as image files, and twists of each case.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

#include "core/RegionEvaluation.h"
#include "support/Images.h"

namespace quillmark::testing {

extern const std::uint32_t kCases;

// Desktop pixels per template pixel, across and down. 0 counts as 1.
struct Scale {
  double x, y;
};
Scale ScaleOf(std::uint32_t number);

std::filesystem::path TemplateFile(const std::filesystem::path& folder, std::uint32_t number);
std::filesystem::path ScreenFile(const std::filesystem::path& folder, std::uint32_t number);

// Writes the files of every case. Raises std::runtime_error when one cannot be written.
void MakeFiles(const std::filesystem::path& folder);

// Copies of a case's region and spec, for a twist to change.
struct Subject {
  Random& random;
  ROIUnit unit;
  TemplateSpec spec;

  [[nodiscard]] Verdict Look() const { return EvaluateRegion(unit, spec, Thoroughness::EveryStep); }
  // Leaves the decision to the colour tests, none of which agrees until the twist makes one agree.
  void AskForRedOnly() {
    spec.redHint = spec.colorGate = true;
    spec.chromaChannel = 0;
    spec.vividFlat = false;
    spec.hsvMean = cv::Scalar(90.0, 255.0, -100.0);
    spec.redRatio = 9.0;
    spec.labAMean = 999.0;
  }
};

// Changes the subject so that one gate decides, with its limit at the figure or one representable number
// away, or so that an image is missing. The spec accepts any difference at first. Raises cv::Exception when
// OpenCV does.
using Twist = void (*)(Subject&);
std::span<const Twist> AllTwists();

}  // namespace quillmark::testing

// Scores a region of the screen against a template: correlations of two images of the same size, and searches
// for a template in a larger image.
//
// A location is the template's top-left corner in the searched image. A score is a similarity (at most 1,
// higher is better) or a distance (at least 0, lower is better); each function says which. A search returns
// false and leaves its results untouched when image or template is empty or the template is larger than the
// image. Images of incompatible types raise cv::Exception. Pass `map` to get every location's score (32FC1).
//
// Squared differences of 8-bit images are exact, so equal windows have equal distances and the first in
// row-major order is found; the map's values are within 1e-6.
//
// Threading: callable from any thread at the same time; scratch images are kept per thread.
#pragma once

#include <opencv2/core.hpp>

#include "core/PlacementMap.h"
#include "core/TemplateSpectra.h"

namespace quillmark {

// What makes a search faster and changes no result.
struct SearchAids {
  TemplateSpectra* spectra = nullptr;  // where the template's are kept
  KnownPlacements known;               // used by the searches by squared difference
};

// Grey levels with a smaller standard deviation are flat: normalised comparisons mean little.
inline constexpr double kFlatStdDev = 3.0;

// Zero-mean normalised cross-correlation of two 8UC1 images, -1 to 1; 0 when one is uniform, -1 when one is
// empty or the sizes differ. Raises cv::Exception (StsAssert) for any other type.
[[nodiscard]] double NCC1x1_Gray(const cv::Mat& a8u, const cv::Mat& b8u);

// The same for two 32FC1 images of equal size, made by ToZeroMeanFloat. Raises cv::Exception (StsAssert) for
// other types, then for different sizes.
[[nodiscard]] double Corr1x1_ZeroMean(const cv::Mat& x32f_zm, const cv::Mat& t32f_zm);

// Hues (8UC1, 0 to 179) as unit vectors: `cosOut` and `sinOut` become 32FC1 of the same size. A hue unit
// counts as one degree, not two, so hues 0 and 179 are opposites. Raises cv::Exception (StsAssert) for any
// other type.
void HueToVec2(const cv::Mat& H8u, cv::Mat& cosOut, cv::Mat& sinOut);

// Searches by hue (both images 8UC1): the maximum of the mean of the cosines' and the sines' normalised
// cross-correlation, the first in row-major order. `score` is a similarity.
[[nodiscard]] bool MatchHueVec(const cv::Mat& hue8u, const cv::Mat& hueTpl8u, cv::Point& loc, double& score,
                               cv::Mat* map = nullptr, const SearchAids& aids = {});

// Searches by hue, then compares the saturation (zero-mean, normalised) at the location found and its eight
// neighbours and takes the first maximum of `(1 - hueWeight) * saturation + hueWeight * hue`. `hsv` is 8-bit
// with at least two channels, hue first; the templates are 8UC1. `score` is a similarity, -1 when no
// neighbour fits into the image; `map` is by hue alone. Raises cv::Exception when `hsv` is empty.
[[nodiscard]] bool MatchHueSat(const cv::Mat& hsv, const cv::Mat& hueTpl8u, const cv::Mat& satTpl8u,
                               double hueWeight, cv::Point& loc, double& score, cv::Mat* map = nullptr,
                               const SearchAids& aids = {});
// The second half of that search: replaces the hue search's `loc` and `score`.
void RefineOnSaturation(const cv::Mat& sat, const cv::Mat& satTpl8u, double hueWeight, cv::Point& loc,
                        double& score);

// Searches by grey level: `image` is 8-bit grey, BGR or BGRA, the template 8UC1. `dist` is a distance, at
// most 1: the normalised squared difference or, for a flat template, the mean squared difference over 255^2
// (normalising by a flat template would amplify noise).
[[nodiscard]] bool MatchGraySqDiff(const cv::Mat& image, const cv::Mat& tplGray8u, cv::Point& loc,
                                   double& dist, cv::Mat* map = nullptr, const SearchAids& aids = {});

// Searches by normalised squared difference over all channels of two images of one type. `dist` is a
// distance.
[[nodiscard]] bool MatchSqDiffNormed(const cv::Mat& image, const cv::Mat& tpl, cv::Point& loc, double& dist,
                                     cv::Mat* map = nullptr, const SearchAids& aids = {});

}  // namespace quillmark

// The stateless comparisons with which a region of the screen is scored against a template: correlations of
// two images of one size, and searches of a template inside a larger image.
//
// A location is the template's top-left corner in the searched image. Scores are either a similarity (higher
// is better, at most 1) or a distance (lower is better, at least 0); each function says which. A search
// returns false, and leaves its results untouched, when image or template is empty or the template is wider
// or taller than the image. Images whose types do not go together raise cv::Exception. Who wants to see more
// than the best location asks for the `map`: 32FC1, the same score for every location, in the same sense.
//
// Threading: callable from any thread at the same time; scratch images are kept per thread.
#pragma once

#include <opencv2/core.hpp>

namespace quillmark {

// Grey levels with a smaller standard deviation are flat: contrast, and with it any normalised comparison,
// means little.
inline constexpr double kFlatStdDev = 3.0;

// Zero-mean normalised cross-correlation of two 8UC1 images, -1 to 1; 0 where one of them is uniform, -1 when
// one is empty or their sizes differ. Raises cv::Exception (StsAssert) on any other type.
[[nodiscard]] double NCC1x1_Gray(const cv::Mat& a8u, const cv::Mat& b8u);

// The same for two 32FC1 images of equal size whose means the caller has already subtracted
// (ToZeroMeanFloat). Raises cv::Exception (StsAssert) on other types, then on different sizes.
[[nodiscard]] double Corr1x1_ZeroMean(const cv::Mat& x32f_zm, const cv::Mat& t32f_zm);

// Hues (8UC1, 0 to 179) as unit vectors: `cosOut` and `sinOut` become 32FC1 of the same size. A hue unit
// counts as one degree here, not as the two degrees it stands for, so hues 0 and 179 are opposite, not
// neighbours. Raises cv::Exception (StsAssert) on any other type.
void HueToVec2(const cv::Mat& H8u, cv::Mat& cosOut, cv::Mat& sinOut);

// Searches by hue: the maximum of the mean of the cosines' and the sines' normalised cross-correlation. Both
// images 8UC1; `score` is a similarity. The first of equal maxima in row-major order is taken.
[[nodiscard]] bool MatchHueVec(const cv::Mat& hue8u, const cv::Mat& hueTpl8u, cv::Point& loc, double& score,
                               cv::Mat* map = nullptr);

// Searches by hue, then compares the saturation (zero-mean, normalised) at the place found and its eight
// neighbours, and takes the first best of `(1 - hueWeight) * saturation + hueWeight * hue`. `hsv` is 8-bit
// with at least two channels, hue first; the templates are 8UC1. `score` is a similarity, -1 when no
// neighbour fits into the image; the `map` holds that of the hue alone. Raises cv::Exception when `hsv` is
// empty.
[[nodiscard]] bool MatchHueSat(const cv::Mat& hsv, const cv::Mat& hueTpl8u, const cv::Mat& satTpl8u,
                               double hueWeight, cv::Point& loc, double& score, cv::Mat* map = nullptr);
// The second half of that search: `loc` and `score` come in as the hue's and go out as the blend's.
void RefineOnSaturation(const cv::Mat& sat, const cv::Mat& satTpl8u, double hueWeight, cv::Point& loc,
                        double& score);

// Searches by grey level: `image` is 8-bit grey, BGR or BGRA, the template 8UC1. `dist` is a distance from 0
// to 1: the normalised squared difference, or, for a flat template, the
// mean squared difference over 255^2 (normalising by a nearly flat template would amplify noise).
[[nodiscard]] bool MatchGraySqDiff(const cv::Mat& image, const cv::Mat& tplGray8u, cv::Point& loc,
                                   double& dist, cv::Mat* map = nullptr);

// Searches by normalised squared difference over all channels; both images of one type. `dist` is a distance.
[[nodiscard]] bool MatchSqDiffNormed(const cv::Mat& image, const cv::Mat& tpl, cv::Point& loc, double& dist,
                                     cv::Mat* map = nullptr);

}  // namespace quillmark

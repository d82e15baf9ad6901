// Traces that a lossy compression has left in a picture, whatever file it now comes from.
//
// Strategy: JPEG works on squares of 8 x 8 pixels and makes most of their frequencies 0. Shifted over a
// picture that went through it, such a grid fits at one of its 64 places far better than at the others. Sharp
// text on plain ground hides this, as levels are cut off at black and white; but there the ground, which a
// screen paints in one exact colour, is speckled by colours close to it.
// Threading: pure functions.
#pragma once

#include <opencv2/core.hpp>

namespace quillmark::advice {

// By how much more of the squares' frequencies are 0 at the best place of the grid than at the second best, 0
// to 1; 0 for a picture with too few squares that show anything. `gray` is 8UC1.
[[nodiscard]] double GridFit(const cv::Mat& gray);

// Pixels close to the most frequent colour, but in no row or column of their own colour, for each pixel of
// exactly that colour; 0 when less than three in ten have it. `bgr` is 8UC3.
[[nodiscard]] double Speckle(const cv::Mat& bgr);

[[nodiscard]] bool HasCompressionTraces(const cv::Mat& bgr);

}  // namespace quillmark::advice

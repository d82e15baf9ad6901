// Scores every placement of a template by hue: hues are unit vectors, and the score is the mean of the
// cosines' and the sines' normalised correlation.
//
// Products are computed by transforms in double precision, or directly where that is faster, the windows'
// energies as running sums of integers. Equal windows have equal scores, as far as single precision tells.
//
// Threading: callable from any thread at the same time.
#pragma once

#include <opencv2/core.hpp>

#include "core/TemplateSpectra.h"

namespace quillmark {

// Both images are 8UC1, hues of 0 to 179, and `hue` holds the template. `scores` becomes 32FC1. The
// template's spectra are kept in `spectra`, if given.
void ScoreHues(const cv::Mat& hue, const cv::Mat& tmpl, TemplateSpectra* spectra, cv::Mat& scores);

}  // namespace quillmark

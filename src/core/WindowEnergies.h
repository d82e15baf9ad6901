// The energy (sum of squared levels) of every window of an area, row by row, as running sums of integers.
//
// Threading: one thread per object.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

namespace quillmark {

class WindowEnergies {
 public:
  // `pixels` is the area with its margins, 8-bit; it must outlive the rows.
  void Start(const cv::Mat& pixels, cv::Size window);
  // The next row: `energies` gets one sum per window.
  void NextRow(double* energies);

 private:
  cv::Mat pixels_;
  cv::Size window_;
  int row_ = 0;
  std::vector<std::uint32_t> columns_;  // per element, over the window's height
};

}  // namespace quillmark

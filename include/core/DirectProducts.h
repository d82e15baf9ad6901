// The sums of products of a small template with every window of an area, as exact integers, row by row.
//
// Several placements are summed up at a time, two neighbouring pixels by one instruction; a few placements
// one by one. Faster than transforms for templates of up to a few hundred pixels and for few placements.
//
// Threading: one thread per object.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

namespace quillmark {

class DirectProducts {
 public:
  // `tmpl` is 8-bit with any number of channels and at most kMaxRow elements a row.
  explicit DirectProducts(const cv::Mat& tmpl);

  // So many products of 8-bit levels fit into 32 bits.
  static constexpr int kMaxRow = 32768;

  // The estimated time, in nanoseconds.
  [[nodiscard]] static double Nanoseconds(cv::Size placements, cv::Size tmpl, int channels);

  // `pixels` is the area with its margins, of the template's type; it must outlive the rows.
  void Start(const cv::Mat& pixels);
  // The next row: `products` gets one sum per placement and has room for a multiple of 16.
  void NextRow(double* products);

 private:
  using Pairs = std::vector<std::int32_t>;  // a pixel's level and, in the upper half, its right neighbour's

  void LoadTaps();
  void LoadRow(int y);
  void AddRows(int firstRow, int lastRow, double* products) const;

  const cv::Mat tmpl_;
  const int channels_, pairsPerRow_;
  Pairs taps_;  // the template's pairs, by row and channel
  cv::Mat pixels_;
  int width_ = 0, row_ = 0, stride_ = 0;
  Pairs ring_;  // the pairs of as many rows as the template has, by row modulo its height and channel
};

}  // namespace quillmark

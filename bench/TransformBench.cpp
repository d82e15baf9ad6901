// Measures the transform of planes beside the image library's, and what a cold search by transform costs
// beside the library's search.
#include <opencv2/imgproc.hpp>
#include <string>
#include <vector>

#include "Measure.h"
#include "core/PlaneTransform.h"
#include "support/Images.h"

namespace quillmark::bench {
namespace {

using testing::Random;
using Instructions = PlaneTransform::Instructions;

struct NamedInstructions {
  const char* name;
  Instructions instructions;
};

std::vector<NamedInstructions> AllInstructions() {
  std::vector<NamedInstructions> all{{"baseline", Instructions::Baseline}};
  if (PlaneTransform::Fastest() == Instructions::Avx2) all.push_back({"avx2", Instructions::Avx2});
  return all;
}

std::string Text(cv::Size size) {
  return std::to_string(size.width) + "x" + std::to_string(size.height);
}

void MeasureTransform(cv::Size size) {
  Random random(1);
  const cv::Mat plane = testing::Noise(random, size, CV_8U);
  Measure("transform/library/" + Text(size), [plane](benchmark::State& state) {
    cv::Mat real, spectrum, back;
    for (auto _ : state) {
      plane.convertTo(real, CV_64F);
      cv::dft(real, spectrum);
      cv::dft(spectrum, back, cv::DFT_INVERSE | cv::DFT_REAL_OUTPUT | cv::DFT_SCALE);
    }
  });
  for (const NamedInstructions& each : AllInstructions()) {
    Measure("transform/" + std::string(each.name) + "/" + Text(size), [plane, each](benchmark::State& state) {
      const PlaneTransform transform(plane.size(), each.instructions);
      Spectrum spectrum;
      cv::Mat back(plane.size(), CV_64F);
      for (auto _ : state) {
        transform.Forward(plane, spectrum);
        transform.Inverse(spectrum, back);
      }
    });
  }
}

// The template's spectrum is kept from search to search.
void MeasureSearch(cv::Size region, cv::Size size) {
  Random random(2);
  const cv::Mat screen = testing::Screen(random, region), icon = testing::Icon(random, size, "Qm");
  cv::Mat grey, tmpl;
  cv::cvtColor(screen, grey, cv::COLOR_BGR2GRAY);
  cv::cvtColor(icon, tmpl, cv::COLOR_BGR2GRAY);
  const std::string name = "/" + Text(region) + "-" + Text(size);
  Measure("correlate/library" + name, [grey, tmpl](benchmark::State& state) {
    cv::Mat map;
    for (auto _ : state) {
      cv::matchTemplate(grey, tmpl, map, cv::TM_SQDIFF_NORMED);
      double least = 0.0;
      cv::Point where;
      cv::minMaxLoc(map, &least, nullptr, &where);
    }
  });
  for (const NamedInstructions& each : AllInstructions()) {
    Measure("correlate/" + std::string(each.name) + name, [grey, tmpl, each](benchmark::State& state) {
      const PlaneTransform transform(PlaneTransform::PaddedSize(grey.size()), each.instructions);
      Spectrum kept, image;
      transform.Forward(tmpl, kept);
      cv::Mat map(grey.rows - tmpl.rows + 1, grey.cols - tmpl.cols + 1, CV_64F);
      for (auto _ : state) {
        transform.Forward(grey, image);
        PlaneTransform::MultiplyConjugate(image, kept, image, false, each.instructions);
        transform.Inverse(image, map);
      }
    });
  }
}

}  // namespace
}  // namespace quillmark::bench

int main(int argc, char** argv) {
  using namespace quillmark::bench;
  for (const cv::Size size :
       {cv::Size(80, 80), {240, 160}, {320, 200}, {480, 384}, {512, 512}, {1920, 1080}}) {
    MeasureTransform(size);
  }
  MeasureSearch({200, 100}, {40, 20});
  MeasureSearch({400, 300}, {64, 64});
  MeasureSearch({1920, 1080}, {64, 64});
  return RunAll(argc, argv);
}

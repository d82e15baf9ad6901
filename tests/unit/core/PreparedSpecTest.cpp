// The specs that the matching tests make by hand are those that the product prepares from image files.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <opencv2/imgcodecs.hpp>
#include <random>
#include <string>
#include <vector>

#include "specs/TemplatePreparation.h"
#include "support/Images.h"

namespace quillmark::testing {
namespace {

TemplateSpec PreparedFromFile(const cv::Mat& bgr) {
  const auto path = std::filesystem::temp_directory_path() /
                    ("quillmark-template-" + std::to_string(std::random_device{}()) + ".png");
  std::vector<unsigned char> png;
  EXPECT_TRUE(cv::imencode(".png", bgr, png));
  std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(png.data()), std::ssize(png));
  TemplateSpec spec;
  spec.path = path.wstring();
  EXPECT_TRUE(PrepareTemplate(spec));
  std::filesystem::remove(path);
  return spec;
}

bool SamePixels(const cv::Mat& a, const cv::Mat& b) {
  return a.type() == b.type() && a.size() == b.size() && cv::norm(a, b, cv::NORM_INF) == 0.0;
}

TEST(PreparedSpec, EqualsTheProductsPreparation) {
  Random random(21);
  const cv::Mat images[] = {Icon(random, {24, 18}, "Q"), Label({30, 14}, "SAVE", {250, 250, 250}, {0, 0, 0}),
                            cv::Mat(cv::Size(20, 20), CV_8UC3, cv::Scalar(20, 30, 220)),
                            Noise(random, {31, 17}), Screen(random, {60, 40})};
  for (const cv::Mat& image : images) {
    const TemplateSpec made = PreparedSpec(image), prepared = PreparedFromFile(image);
    for (const auto plane : {&TemplateSpec::tmplBgr, &TemplateSpec::tmplGray, &TemplateSpec::tmplHue,
                             &TemplateSpec::tmplSat, &TemplateSpec::tmplEdgeZm, &TemplateSpec::tmplEdgeDilZm,
                             &TemplateSpec::tmplRedMask, &TemplateSpec::tmplCr, &TemplateSpec::tmplCb}) {
      EXPECT_TRUE(SamePixels(made.*plane, prepared.*plane)) << image.size();
    }
    EXPECT_TRUE(made.tmplMask.empty() && prepared.tmplMask.empty());
    EXPECT_EQ(made.hsvMean, prepared.hsvMean);
    EXPECT_EQ(made.hsvStd, prepared.hsvStd);
    EXPECT_EQ(made.vividFlat, prepared.vividFlat);
    EXPECT_EQ(made.edgeDensity, prepared.edgeDensity);
    EXPECT_EQ(made.redRatio, prepared.redRatio);
    EXPECT_EQ(made.labAMean, prepared.labAMean);
  }
}

}  // namespace
}  // namespace quillmark::testing

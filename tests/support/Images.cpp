#include "support/Images.h"

#include <algorithm>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>

#include "specs/TemplatePreparation.h"
#include "support/TempFolder.h"

namespace quillmark::testing {
namespace {

constexpr double kSmallType = 0.6;

// As in the worker, the image library works on the calling thread only.
[[maybe_unused]] const bool kSingleThreaded = [] {
  cv::setNumThreads(1);
  return true;
}();

void Write(cv::Mat& image, const std::string& text, cv::Point baseline, const cv::Scalar& ink) {
  cv::putText(image, text, baseline, cv::FONT_HERSHEY_PLAIN, kSmallType, ink);
}

void FillGradient(Random& random, cv::Mat& image) {
  const cv::Scalar from = random.Colour(), to = random.Colour();
  for (int y = 0; y < image.rows; ++y) {
    const double share = static_cast<double>(y) / image.rows;
    image.row(y).setTo(from * (1.0 - share) + to * share);
  }
}

}  // namespace

std::string Random::Letters(int count) {
  std::string text;
  while (count-- > 0) text += static_cast<char>('A' + Between(0, 25));
  return text;
}

cv::Mat Noise(Random& random, cv::Size size, int type) {
  cv::Mat image(size, type);
  for (int y = 0; y < image.rows; ++y) {
    std::generate_n(image.ptr(y), image.cols * image.elemSize(),
                    [&] { return static_cast<unsigned char>(random.Between(0, 255)); });
  }
  return image;
}

cv::Mat Screen(Random& random, cv::Size size) {
  cv::Mat image(size, CV_8UC3, random.Colour());
  if (random.OneIn(2)) FillGradient(random, image);
  for (int panel = random.Between(1, 3); panel > 0; --panel) {
    const cv::Rect rect(random.Between(0, size.width / 2), random.Between(0, size.height / 2),
                        random.Between(8, size.width / 2), random.Between(8, size.height / 2));
    cv::rectangle(image, rect, random.Colour(), cv::FILLED);
    cv::rectangle(image, rect, random.Colour());
  }
  for (int line = random.Between(1, 3); line > 0; --line) {
    Write(image, random.Letters(8), cv::Point(random.Between(0, 10), random.Between(8, size.height)),
          random.Colour());
  }
  for (int shape = random.Between(0, 4); shape > 0; --shape) {
    const cv::Point at(random.Between(0, size.width), random.Between(0, size.height));
    cv::circle(image, at, random.Between(1, 4), random.Colour(), cv::FILLED);
  }
  return image;
}

cv::Mat Icon(Random& random, cv::Size size, const std::string& letters) {
  cv::Mat icon(size, CV_8UC3, random.Colour(0, 120));
  const cv::Rect left(0, 0, size.width / 2, size.height);
  cv::rectangle(icon, left, cv::Scalar(random.Between(0, 60), random.Between(0, 60), 220), cv::FILLED);
  cv::circle(icon, cv::Point(size.width / 2, size.height / 2), std::min(size.width, size.height) / 3,
             cv::Scalar(30, random.Between(150, 255), 40), cv::FILLED);
  cv::rectangle(icon, cv::Rect(cv::Point(), size), random.Colour(100, 255));
  Write(icon, letters, cv::Point(2, size.height - 3), random.Colour(180, 255));
  return icon;
}

cv::Mat Label(cv::Size size, const std::string& text, const cv::Scalar& ground, const cv::Scalar& ink) {
  cv::Mat label(size, CV_8UC3, ground);
  Write(label, text, cv::Point(2, size.height - 3), ink);
  return label;
}

cv::Mat GreyColumns(int left, int right, cv::Size size) {
  cv::Mat image(size, CV_8U, cv::Scalar(left));
  image.colRange(size.width / 2, size.width).setTo(right);
  return image;
}

cv::Mat WithNoise(Random& random, const cv::Mat& image, int amount) {
  cv::Mat noisy = image.clone();
  for (int y = 0; y < noisy.rows; ++y) {
    unsigned char* row = noisy.ptr(y);
    std::for_each(row, row + noisy.cols * noisy.elemSize(), [&](unsigned char& level) {
      level = cv::saturate_cast<unsigned char>(level + random.Between(-amount, amount));
    });
  }
  return noisy;
}

cv::Mat WithHueShift(const cv::Mat& bgr, int units) {
  cv::Mat hsv, shifted;
  cv::cvtColor(bgr, hsv, cv::COLOR_BGR2HSV);
  for (auto pixel = hsv.begin<cv::Vec3b>(); pixel != hsv.end<cv::Vec3b>(); ++pixel) {
    (*pixel)[0] = static_cast<unsigned char>(((*pixel)[0] + units) % 180);
  }
  cv::cvtColor(hsv, shifted, cv::COLOR_HSV2BGR);
  return shifted;
}

cv::Mat Inverted(const cv::Mat& image) {
  cv::Mat inverted;
  cv::bitwise_not(image, inverted);
  return inverted;
}

void Plant(cv::Mat& screen, const cv::Mat& image, cv::Point at) {
  image.copyTo(screen(cv::Rect(at, image.size())));
}

ROIUnit UnitShowing(const cv::Mat& bgr) {
  ROIUnit unit;
  unit.right = bgr.cols;
  unit.bottom = bgr.rows;
  unit.bgr = bgr.clone();
  cv::cvtColor(bgr, unit.gray, cv::COLOR_BGR2GRAY);
  cv::cvtColor(bgr, unit.hsv, cv::COLOR_BGR2HSV);
  cv::extractChannel(unit.hsv, unit.hue, 0);
  cv::extractChannel(unit.hsv, unit.sat, 1);
  return unit;
}

TemplateSpec PreparedSpec(const cv::Mat& bgr, MatchMode mode) {
  static const test::TempFolder folder;
  const std::filesystem::path file = folder.Path() / "template.bmp";
  TemplateSpec spec;
  spec.path = file.wstring();
  if (!cv::imwrite(file.string(), bgr) || !PrepareTemplate(spec)) throw std::runtime_error("no template");
  spec.path.clear();
  spec.mode = mode;
  return spec;
}

}  // namespace quillmark::testing

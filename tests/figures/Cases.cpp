#include "figures/Cases.h"

#include <algorithm>
#include <array>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>

#include "core/RegionGeometry.h"
#include "support/Images.h"

namespace quillmark::testing {
namespace {

using std::filesystem::path;

constexpr std::array kScales = {Scale{1.0, 1.0}, Scale{1.25, 1.25}, Scale{1.5, 1.5},
                                Scale{2.0, 2.0}, Scale{0.75, 0.75}, Scale{1.0, 1.5},
                                Scale{0.0, 0.0}, Scale{1.01, 0.99}, Scale{1.02, 1.0}};

enum Kind {
  Picture,
  Text,
  Flat,
  BlankWhite,
  Tiny,
  Pixels256,
  Pixels257,
  LowDetail,
  VividFlat,
  Red,
  Grey,
  WithAlpha,
  Photo,
  Bitmap,
  kKinds
};

Kind KindOf(std::uint32_t number) {
  return static_cast<Kind>(number % kKinds);
}

path FileOf(const path& folder, std::uint32_t number, const char* what) {
  const Kind kind = KindOf(number);
  const char* const ending = kind == Photo ? ".jpg" : kind == Bitmap ? ".bmp" : ".png";
  return folder / (std::to_string(number) + what + ending);
}

cv::Mat MakeTemplate(Random& random, Kind kind) {
  const cv::Size size{random.Between(17, 40), random.Between(17, 30)};
  switch (kind) {
    case Text:
      return Label(size, random.Letters(4), random.Colour(150, 255), random.Colour(0, 100));
    case Flat:
      return WithNoise(random, cv::Mat(size, CV_8UC3, random.Colour()), random.Between(0, 4));
    case BlankWhite:
      return WithNoise(random, cv::Mat(size, CV_8UC3, cv::Scalar::all(random.Between(244, 253))),
                       random.Between(0, 6));
    case Tiny:
      return Icon(random, {random.Between(5, 16), random.Between(5, 16)}, "Q");
    case Pixels256:
      return Icon(random, {16, 16}, "Q");
    case Pixels257: {  // a prime
      const cv::Mat strip = Icon(random, {257, 9}, random.Letters(30));
      return strip.row(4).clone();
    }
    case LowDetail: {
      cv::Mat image(random.Between(40, 44), 60, CV_8UC3);
      for (int x = 0; x < image.cols; ++x) image.col(x).setTo(cv::Scalar::all(100 + x));
      cv::rectangle(image, {random.Between(8, 40), 20, 3, random.Between(2, 4)}, cv::Scalar::all(250),
                    cv::FILLED);
      return image;
    }
    case VividFlat:
      return WithNoise(random,
                       cv::Mat(size, CV_8UC3,
                               cv::Scalar{random.Between(0, 60) * 1.0, 30.0, random.Between(190, 250) * 1.0}),
                       random.Between(0, 9));
    case Red: {
      cv::Mat image = Icon(random, size, "R");
      image.rowRange(0, size.height / 2)
          .setTo(cv::Scalar{random.Between(0, 40) * 1.0, random.Between(0, 40) * 1.0, 230.0});
      return image;
    }
    case Photo:
      return WithNoise(random, Screen(random, size), 12);
    default:
      return Icon(random, size, random.Letters(2));
  }
}

cv::Mat Appear(Random& random, const cv::Mat& image) {
  switch (random.Between(0, 5)) {
    case 0:
      return WithNoise(random, image, random.Between(2, 40));
    case 1:
      return WithHueShift(image, random.Between(2, 20));
    case 2:
      return image * (random.Between(70, 95) / 100.0);
    default:
      return image;
  }
}

cv::Mat AsStored(Random& random, const cv::Mat& bgr, Kind kind) {
  cv::Mat stored;
  if (kind == Grey) {
    cv::cvtColor(bgr, stored, cv::COLOR_BGR2GRAY);
  } else if (kind == WithAlpha) {
    cv::cvtColor(bgr, stored, cv::COLOR_BGR2BGRA);
    cv::Mat alpha(bgr.size(), CV_8UC1, cv::Scalar(random.Between(0, 40)));
    cv::circle(alpha, {bgr.cols / 2, bgr.rows / 2}, bgr.rows / 2, cv::Scalar(255), cv::FILLED);
    cv::insertChannel(alpha, stored, 3);
  } else {
    stored = bgr;
  }
  return stored;
}

void Write(const path& file, const cv::Mat& image) {
  if (!cv::imwrite(file.string(), image)) throw std::runtime_error("cannot write " + file.string());
}

}  // namespace

const std::uint32_t kCases = kKinds * kScales.size() * 2;

Scale ScaleOf(std::uint32_t number) {
  return kScales[number / kKinds % kScales.size()];
}

path TemplateFile(const path& folder, std::uint32_t number) {
  return FileOf(folder, number, "-template");
}

path ScreenFile(const path& folder, std::uint32_t number) {
  return FileOf(folder, number, "-screen");
}

void MakeFiles(const path& folder) {
  for (std::uint32_t number = 0; number < kCases; ++number) {
    Random random(number);
    const Kind kind = KindOf(number);
    const cv::Mat image = MakeTemplate(random, kind);
    const int least = image.cols + 10;
    cv::Mat screen = Screen(random, {random.Between(least, std::max(least, 140)), random.Between(50, 90)});
    if (!random.OneIn(6)) {
      const int x = random.Between(0, screen.cols - image.cols);
      const int y = random.Between(0, screen.rows - image.rows);
      Plant(screen, Appear(random, image), {x, y});
    }
    const Scale scale = ScaleOf(number);
    cv::resize(screen, screen, {}, EffectiveScale(scale.x), EffectiveScale(scale.y), cv::INTER_CUBIC);
    Write(TemplateFile(folder, number), AsStored(random, image, kind));
    Write(ScreenFile(folder, number), screen);
  }
}

}  // namespace quillmark::testing

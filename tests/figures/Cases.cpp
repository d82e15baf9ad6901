#include "figures/Cases.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <limits>
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

// The limit itself or the next number above or below.
double Near(Random& random, double limit) {
  const int side = random.Between(-1, 1);
  return side == 0 ? limit : std::nextafter(limit, side * std::numeric_limits<double>::infinity());
}

// A number at about one of the `distances` from `from`.
double Beside(Random& random, double from, std::initializer_list<double> distances) {
  const double distance =
      Near(random, *(distances.begin() + random.Between(0, static_cast<int>(distances.size()) - 1)));
  return random.OneIn(2) ? from + distance : from - distance;
}

constexpr Twist kTwists[] = {
    [](Subject& s) { s.spec.maxDiff = Near(s.random, s.Look().dist); },
    [](Subject& s) { s.spec.minScore = Near(s.random, 1.0 - s.Look().dist); },
    [](Subject& s) {
      s.unit.clipped = true;
      s.spec.maxDiff = Beside(s.random, 0.0, {0.06, 0.16, 0.25, 0.35});
    },
    [](Subject& s) {  // structure alone decides
      s.spec.redHint = s.spec.colorGate = false;
      const Verdict seen = s.Look();
      s.spec.edgeMinFloor = 0.0;
      s.spec.edgeRelaxDiff = Near(s.random, seen.dist);
      const double lowered = (s.random.OneIn(2) ? s.spec.edgeRelaxStep : 0.0) + s.unit.clipped * 0.05;
      s.spec.edgeMin = Near(s.random, std::max(seen.e1, seen.e2) + lowered);
    },
    [](Subject& s) {
      s.spec.redHint = s.spec.colorGate = false;
      s.spec.edgeMin = 1.0;
      s.spec.edgeMinFloor = Near(s.random, s.Look().edgeCorrelation.figure + s.unit.clipped * 0.05);
    },
    [](Subject& s) {
      s.spec.redHint = s.spec.colorGate = false;
      s.spec.edgeMin = s.spec.edgeMinFloor = -1.0;
      s.spec.edgeDensity = Beside(s.random, s.Look().density, {0.04, 0.06});
    },
    [](Subject& s) {
      s.spec.edgeDensity = Beside(s.random, 0.0, {0.005, 0.01});
    },
    [](Subject& s) {  // grey levels that differ more and more, which the correlation detects first
      s.spec.redHint = s.spec.colorGate = false;
      s.spec.edgeMin = s.spec.edgeMinFloor = -1.0;
      s.spec.edgeDensity = s.Look().density;
      const double share = s.random.Between(2, 18) / 20.0;
      cv::addWeighted(s.unit.gray, 1.0 - share, Noise(s.random, s.unit.gray.size(), CV_8UC1), share, 0.0,
                      s.unit.gray);
    },
    [](Subject& s) {
      s.spec.redHint = s.random.OneIn(2);
      s.spec.edgeMin = s.spec.edgeMinFloor = -1.0;
      s.spec.edgeDensity = s.Look().density;
      s.spec.chromaChannel = s.random.Between(1, 2);
      s.spec.chromaMin = Near(s.random, s.Look().chroma.figure);
    },
    [](Subject& s) {  // a blank screen that is not quite blank
      s.unit.gray =
          WithNoise(s.random, cv::Mat(s.unit.gray.size(), CV_8UC1, cv::Scalar(245)), s.random.Between(5, 9));
    },
    [](Subject& s) {
      s.spec.vividFlat = true;
      s.spec.hsvMean[2] = Near(s.random, s.Look().hsvMean[2] + 30.0);
    },
    [](Subject& s) {
      const cv::Scalar mean = s.Look().hsvMean;
      s.AskForRedOnly();
      s.spec.vividFlat = s.random.OneIn(2);
      s.spec.hsvMean = mean;
      const int plane = s.random.Between(0, 2);
      s.spec.hsvMean[plane] =
          Beside(s.random, mean[plane], {8.0, 10.0, 11.0, 12.0, 13.0, 15.0, 18.0, 21.0, 45.0, 170.0});
    },
    [](Subject& s) {  // hardly any saturation, so only the brightness counts
      const cv::Scalar mean = s.Look().hsvMean;
      s.AskForRedOnly();
      s.spec.hsvMean = {mean[0] + 90.0, Near(s.random, 15.0), Beside(s.random, mean[2], {45.0, 12.0})};
    },
    [](Subject& s) {
      const double ratio = s.Look().redRatio;
      s.AskForRedOnly();
      s.spec.redHint = !s.random.OneIn(8);
      s.spec.redRatio = Beside(s.random, ratio, {0.08, 0.12});
    },
    [](Subject& s) {
      s.spec.colorGate = true;
      const double mean = s.Look().labAMean;
      s.AskForRedOnly();
      s.spec.labAMean = Beside(s.random, mean, {8.0, 10.0});
    },
    [](Subject& s) {  // an image is missing
      cv::Mat* const images[] = {&s.unit.gray,    &s.unit.bgr,      &s.unit.hsv,     &s.unit.sat,
                                 &s.unit.hue,     &s.spec.tmplGray, &s.spec.tmplBgr, &s.spec.tmplHue,
                                 &s.spec.tmplSat, &s.spec.tmplCr,   &s.spec.tmplCb,  &s.spec.tmplEdgeZm};
      images[s.random.Between(0, 11)]->release();
    },
    [](Subject& s) {  // the planes differ in size
      s.unit.gray = s.unit.gray.rowRange(0, s.unit.gray.rows / 2).colRange(0, s.unit.gray.cols - 3);
    },
    [](Subject& s) {  // a pixel fewer than the template needs, or just enough
      const cv::Range columns(0, std::min(s.spec.tmplGray.cols - s.random.Between(0, 1), s.unit.gray.cols));
      for (cv::Mat* image : {&s.unit.gray, &s.unit.bgr, &s.unit.hsv, &s.unit.sat, &s.unit.hue}) {
        if (!image->empty()) *image = image->colRange(columns);
      }
    },
    [](Subject& s) {  // where a hit is reported
      s.unit.scaleX = s.random.Between(0, 8) / 4.0;
      s.unit.scaleY = s.random.Between(0, 300) / 100.0;
      s.spec.targetRect.right = s.spec.targetRect.left + s.random.Between(-1, 60);
      s.spec.targetRect.top += s.random.Between(-40, 40);
      s.spec.intervalMs = s.random.Between(0, 4);
      s.spec.edgeMin = s.spec.edgeMinFloor = -1.0;
    },
};

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

std::span<const Twist> AllTwists() {
  return kTwists;
}

}  // namespace quillmark::testing

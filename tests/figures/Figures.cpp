// Writes every verdict and figure of some hundreds of seeded matching cases, each number with all its digits,
// so that two builds of the product can be held against each other byte for byte (scripts/check-figures.sh).
//
//   quillmark_figures make FOLDER          writes the cases' templates and screens as image files
//   quillmark_figures print FOLDER FILE    reads them as the worker does and writes the figures to FILE
//
// One build makes the files and all builds read them: what may differ is the product and its libraries.
#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>

#include "app/OpenCvConfig.h"
#include "core/PrimarySearch.h"
#include "core/RegionCut.h"
#include "core/RegionEvaluation.h"
#include "specs/ImageFile.h"
#include "specs/TemplatePreparation.h"
#include "specs/Utf8.h"
#include "support/Images.h"

namespace quillmark::testing {
namespace {

using std::filesystem::path;

constexpr std::uint32_t kCases = 150;
constexpr std::array kModes = {MatchMode::Gray, MatchMode::Bgr, MatchMode::S, MatchMode::H, MatchMode::HS};
constexpr std::array kScales = {1.0, 1.25, 1.5, 2.0, 0.75};

// ---- the image files -----------------------------------------------------------------------------------

enum Kind { Picture, Text, Flat, BlankWhite, Tiny, Red, Grey, WithAlpha, Photo, Bitmap, kKinds };

Kind KindOf(std::uint32_t number) {
  return static_cast<Kind>(number % kKinds);
}

// Desktop pixels per template pixel.
double ScaleOf(std::uint32_t number) {
  return kScales[number / kKinds % kScales.size()];
}

path FileOf(const path& folder, std::uint32_t number, const char* what) {
  const Kind kind = KindOf(number);
  const char* const ending = kind == Photo ? ".jpg" : kind == Bitmap ? ".bmp" : ".png";
  return folder / (std::to_string(number) + what + ending);
}

cv::Mat MakeTemplate(Random& random, Kind kind) {
  const cv::Size size(random.Between(17, 40), random.Between(17, 30));
  switch (kind) {
    case Text:
      return Label(size, random.Letters(4), random.Colour(150, 255), random.Colour(0, 100));
    case Flat:
      return WithNoise(random, cv::Mat(size, CV_8UC3, random.Colour()), random.Between(0, 4));
    case BlankWhite:
      return WithNoise(random, cv::Mat(size, CV_8UC3, cv::Scalar::all(253)), random.Between(0, 2));
    case Tiny:
      return Icon(random, {random.Between(5, 16), random.Between(5, 16)}, "Q");
    case Red: {
      cv::Mat image = Icon(random, size, "R");
      image.rowRange(0, size.height / 2).setTo(cv::Scalar(random.Between(0, 40), random.Between(0, 40), 230));
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

void MakeFiles(const path& folder) {
  for (std::uint32_t number = 0; number < kCases; ++number) {
    Random random(number);
    const Kind kind = KindOf(number);
    const cv::Mat image = MakeTemplate(random, kind);
    cv::Mat screen = Screen(random, {random.Between(60, 140), random.Between(50, 90)});
    if (!random.OneIn(6)) {
      const int x = random.Between(0, screen.cols - image.cols);
      const int y = random.Between(0, screen.rows - image.rows);
      Plant(screen, Appear(random, image), {x, y});
    }
    const double scale = ScaleOf(number);
    if (scale != 1.0) cv::resize(screen, screen, {}, scale, scale, cv::INTER_CUBIC);
    Write(FileOf(folder, number, "-template"), AsStored(random, image, kind));
    Write(FileOf(folder, number, "-screen"), screen);
  }
}

// ---- the figures ---------------------------------------------------------------------------------------

// A line of "name value" pairs. The digits are the fewest that give the same number back.
class Line {
 public:
  explicit Line(std::ostream& to) : out(to) {}
  ~Line() { out << '\n'; }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  template <typename Number>
  Line& Add(const char* name, Number value) {
    std::array<char, 64> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    out << name << ' ' << std::string_view(text.data(), end) << ' ';
    return *this;
  }
  Line& Add(const char* name, const cv::Scalar& values) {
    for (int i = 0; i < 3; ++i) Add(name, values[i]);
    return *this;
  }
  Line& Add(const char* name, const Check& check) {
    return Add(name, check.value).Add("limit", check.limit).Add("is", static_cast<int>(check.outcome));
  }
  // Size, type and a sum over every byte (FNV-1a).
  Line& Add(const char* name, const cv::Mat& image) {
    std::uint64_t sum = 14695981039346656037u;
    for (int y = 0; y < image.rows; ++y) {
      const unsigned char* const row = image.ptr(y);
      for (std::size_t i = 0; i < image.cols * image.elemSize(); ++i) sum = (sum ^ row[i]) * 1099511628211u;
    }
    return Add(name, image.cols).Add("x", image.rows).Add("type", image.type()).Add("sum", sum);
  }

 private:
  std::ostream& out;
};

TemplateSpec MakeSpec(Random& random, const path& file) {
  TemplateSpec spec;
  spec.path = FromUtf8(file.string());
  if (!PrepareTemplate(spec)) throw std::runtime_error("cannot read " + file.string());
  spec.maxDiff = random.Between(5, 60) / 100.0;
  spec.minScore = random.OneIn(4) ? random.Between(50, 95) / 100.0 : 0.0;
  spec.edgeMin = random.Between(20, 80) / 100.0;
  spec.edgeMinFloor = random.Between(20, 66) / 100.0;
  spec.redHint = random.OneIn(4);
  spec.colorGate = spec.redHint || random.OneIn(3);
  spec.chromaChannel = random.OneIn(3) ? random.Between(1, 3) : 0;
  spec.intervalMs = random.OneIn(2) ? random.Between(1, 9) * 10 : 0;
  return spec;
}

// Cut out of the screen as the capture loop does: all of it or, now and then, the part of a window's client
// area that reaches beyond the monitor.
ROIUnit CutUnit(Random& random, const cv::Mat& screen, double scale, TemplateSpec& spec) {
  cv::Mat bgra;
  cv::cvtColor(screen, bgra, cv::COLOR_BGR2BGRA);
  FrameImages images;
  ConvertFrame(bgra, true, images);

  const cv::Point origin{random.Between(-500, 200), random.Between(-500, 200)};
  const Rect monitor{origin.x, origin.y, origin.x + screen.cols, origin.y + screen.rows};
  spec.roi = {0, 0, 1000, 1000};
  spec.targetScaleX = spec.targetScaleY = scale;
  spec.targetRect = monitor;
  if (random.OneIn(4)) spec.targetRect.right += 9;
  return CutRegion(spec, PlaceRegion(spec, monitor), images, origin);
}

void PrintTemplate(std::ostream& out, std::uint32_t number, const TemplateSpec& spec) {
  Line(out)
      .Add("template", number)
      .Add("bgr", spec.tmplBgr)
      .Add("gray", spec.tmplGray)
      .Add("mask", spec.tmplMask)
      .Add("hue", spec.tmplHue)
      .Add("sat", spec.tmplSat)
      .Add("edge", spec.tmplEdgeZm)
      .Add("edgeDil", spec.tmplEdgeDilZm)
      .Add("cr", spec.tmplCr)
      .Add("cb", spec.tmplCb)
      .Add("red", spec.tmplRedMask)
      .Add("density", spec.edgeDensity)
      .Add("mean", spec.hsvMean)
      .Add("std", spec.hsvStd)
      .Add("redRatio", spec.redRatio)
      .Add("labA", spec.labAMean);
}

void PrintUnit(std::ostream& out, const ROIUnit& unit) {
  Line(out)
      .Add("gray", unit.gray)
      .Add("bgr", unit.bgr)
      .Add("hsv", unit.hsv)
      .Add("sat", unit.sat)
      .Add("hue", unit.hue)
      .Add("scale", unit.scaleX)
      .Add("clipped", static_cast<int>(unit.clipped));
}

void PrintVerdict(std::ostream& out, MatchMode mode, const Verdict& v) {
  Line(out)
      .Add("mode", static_cast<int>(mode))
      .Add("step", static_cast<int>(v.decidedBy))
      .Add("x", v.loc.x)
      .Add("y", v.loc.y)
      .Add("difference", v.difference)
      .Add("minScore", v.minScore)
      .Add("flatWhite", v.flatWhite)
      .Add("chroma", v.chroma)
      .Add("ncc", v.ncc)
      .Add("e1", v.e1)
      .Add("e2", v.e2)
      .Add("edge", v.edge)
      .Add("density", v.density)
      .Add("edgeDensity", v.edgeDensity)
      .Add("mean", v.hsvMean)
      .Add("darkness", v.darkness)
      .Add("hue", v.hue)
      .Add("saturation", v.saturation)
      .Add("value", v.value)
      .Add("redRatio", v.redRatio)
      .Add("red", v.red)
      .Add("labAMean", v.labAMean)
      .Add("labA", v.labA)
      .Add("kinds", v.tiny + 2 * v.lowDetail + 4 * v.flatTemplate + 8 * v.colourActive)
      .Add("cx", v.hit.cx)
      .Add("cy", v.hit.cy)
      .Add("w", v.hit.w)
      .Add("h", v.hit.h)
      .Add("sq", v.sq)
      .Add("edgeScore", v.edgeScore)
      .Add("window", v.dedupWindowMs);
}

void PrintSearch(std::ostream& out, const SearchMap& search) {
  Line line(out);
  line.Add("map", search.difference);
  if (!search.second) return;
  line.Add("x", search.second->loc.x).Add("y", search.second->loc.y).Add("dist", search.second->dist);
}

void PrintFigures(const path& folder, std::ostream& out) {
  int accepted = 0;
  for (std::uint32_t number = 0; number < kCases; ++number) {
    Random random(number);
    TemplateSpec spec = MakeSpec(random, FileOf(folder, number, "-template"));
    const cv::Mat screen = ReadImageFile(FromUtf8(FileOf(folder, number, "-screen").string()));
    const ROIUnit unit = CutUnit(random, screen, ScaleOf(number), spec);
    PrintTemplate(out, number, spec);
    PrintUnit(out, unit);
    for (const MatchMode mode : kModes) {
      spec.mode = mode;
      const Verdict verdict = EvaluateRegion(unit, spec, Thoroughness::EveryStep);
      PrintVerdict(out, mode, verdict);
      if (const auto search = MapRegion(unit, spec)) PrintSearch(out, *search);
      accepted += verdict.Accepted();
    }
  }
  std::cout << kCases * kModes.size() << " verdicts, " << accepted << " accepted\n";
}

int Run(const std::string& task, const path& folder, const char* file) {
  ConfigureOpenCvOnce();
  if (task == "make") {
    MakeFiles(folder);
    return 0;
  }
  std::ofstream out(file, std::ios::binary);
  PrintFigures(folder, out);
  if (!out.flush()) throw std::runtime_error(std::string("cannot write ") + file);
  return 0;
}

}  // namespace
}  // namespace quillmark::testing

int main(int argc, char** argv) {
  const std::string task = argc > 1 ? argv[1] : "";
  if (!(task == "make" && argc == 3) && !(task == "print" && argc == 4)) {
    std::cerr << "usage: quillmark_figures make FOLDER | print FOLDER FILE\n";
    return 2;
  }
  try {
    return quillmark::testing::Run(task, argv[2], argv[3]);
  } catch (const std::exception& error) {
    std::cerr << "quillmark_figures: " << error.what() << '\n';
    return 1;
  }
}

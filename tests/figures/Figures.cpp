// Freezes what the matching code computes: seeded cases, many decisions on each, and every figure with all
// its digits, so that two builds can be held against each other byte for byte (scripts/check-figures.sh).
//
//   quillmark_figures make FOLDER          writes the cases' templates and screens as image files
//   quillmark_figures print FOLDER FILE    reads them as the worker does and writes the figures to FILE
//
// One build makes the files and all builds read them: what may differ is the product and its libraries. The
// decisions are of every mode, thoroughness and kind of template; twists put limits where a figure lies, or
// one representable number beside it, and take images away. `print` fails when a step decides too few of
// them.
#include <array>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "app/OpenCvConfig.h"
#include "core/PrimarySearch.h"
#include "core/RegionCut.h"
#include "core/RegionEvaluation.h"
#include "core/RegionTask.h"
#include "core/Tick.h"
#include "specs/ImageFile.h"
#include "specs/TemplatePreparation.h"
#include "specs/Utf8.h"
#include "support/Images.h"

namespace quillmark::testing {
namespace {

using std::filesystem::path;

constexpr std::array kModes = {MatchMode::Gray, MatchMode::Bgr, MatchMode::S,
                               MatchMode::H,    MatchMode::HS,  static_cast<MatchMode>(7)};

// Desktop pixels per template pixel, across and down. Up to 1.01 a crop is not scaled; 0 counts as 1.
struct Scale {
  double x, y;
};
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

constexpr std::uint32_t kCases = kKinds * kScales.size() * 2;

Kind KindOf(std::uint32_t number) {
  return static_cast<Kind>(number % kKinds);
}

Scale ScaleOf(std::uint32_t number) {
  return kScales[number / kKinds % kScales.size()];
}

// ---- the image files -----------------------------------------------------------------------------------

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
    Write(FileOf(folder, number, "-template"), AsStored(random, image, kind));
    Write(FileOf(folder, number, "-screen"), screen);
  }
}

// ---- the decisions -------------------------------------------------------------------------------------

// The limit itself or a representable number beside it.
double Near(Random& random, double limit) {
  const int side = random.Between(-1, 1);
  return side == 0 ? limit : std::nextafter(limit, side * std::numeric_limits<double>::infinity());
}

// A number that lies a distance near one of `distances` away.
double Beside(Random& random, double from, std::initializer_list<double> distances) {
  const double distance =
      Near(random, *(distances.begin() + random.Between(0, static_cast<int>(distances.size()) - 1)));
  return random.OneIn(2) ? from + distance : from - distance;
}

TemplateSpec MakeSpec(Random& random, const path& file) {
  TemplateSpec spec;
  spec.name = L"case";
  spec.path = FromUtf8(file.string());
  if (!PrepareTemplate(spec)) throw std::runtime_error("cannot read " + file.string());
  spec.maxDiff = random.Between(5, 60) / 100.0;
  spec.minScore = random.OneIn(4) ? random.Between(50, 95) / 100.0 : 0.0;
  spec.edgeMin = random.Between(20, 80) / 100.0;
  spec.edgeMinFloor = random.Between(20, 66) / 100.0;
  spec.redHint = random.OneIn(4);
  spec.colorGate = spec.redHint || random.OneIn(3);
  spec.chromaChannel = random.OneIn(3) ? random.Between(1, 3) : 0;
  spec.intervalMs = random.OneIn(2) ? random.Between(-1, 90) : 0;
  return spec;
}

// What a decision is made of: copies of the case's, for a twist to change.
struct Subject {
  Random& random;
  ROIUnit unit;
  TemplateSpec spec;

  [[nodiscard]] Verdict Look() const { return EvaluateRegion(unit, spec, Thoroughness::EveryStep); }
  // Leaves the decision to the colour tests, of which none agrees until the twist has one agree.
  void AskForRedOnly() {
    spec.redHint = spec.colorGate = true;
    spec.chromaChannel = 0;
    spec.vividFlat = false;
    spec.hsvMean = cv::Scalar(90.0, 255.0, -100.0);
    spec.redRatio = 9.0;
    spec.labAMean = 999.0;
  }
};

using Twist = void (*)(Subject&);

// Each begins with a spec that accepts any difference.
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
    [](Subject& s) {  // grey levels that differ more and more, which the correlation minds first
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
    [](Subject& s) {  // hardly any saturation, so that the brightness alone counts
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
    [](Subject& s) {  // the planes are of several sizes
      s.unit.gray = s.unit.gray.rowRange(0, s.unit.gray.rows / 2).colRange(0, s.unit.gray.cols - 3);
    },
    [](Subject& s) {  // a pixel less than the template needs, or just as many
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

// ---- the figures ---------------------------------------------------------------------------------------

// A line of "name value" pairs. The digits are the fewest that give the same number back.
class Line {
 public:
  explicit Line(std::ostream& to) : out(to) {}
  ~Line() { out << '\n'; }
  Line(const Line&) = delete;
  Line& operator=(const Line&) = delete;

  template <typename Number>
  requires std::is_arithmetic_v<Number> Line& Add(const char* name, Number value) {
    std::array<char, 64> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    return Add(name, std::string_view(text.data(), end));
  }
  Line& Add(const char* name, std::string_view text) {
    out << name << ' ' << text << ' ';
    return *this;
  }
  Line& Add(const char* name, const char* text) { return Add(name, std::string_view(text)); }
  Line& Add(const char* name, bool value) { return Add(name, static_cast<int>(value)); }
  Line& Add(const char* name, const cv::Scalar& values) {
    for (int i = 0; i < 3; ++i) Add(name, values[i]);
    return *this;
  }
  Line& Add(const char* name, const Rect& rect) {
    return Add(name, rect.left).Add("", rect.top).Add("", rect.right).Add("", rect.bottom);
  }
  Line& Add(const HitRecord& hit) {
    Add("cx", hit.cx)
        .Add("cy", hit.cy)
        .Add("w", hit.w)
        .Add("h", hit.h)
        .Add("sq", hit.sq)
        .Add("edge", hit.edge);
    return Add("window", hit.dedupWindowMs);
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
      .Add("vividFlat", spec.vividFlat)
      .Add("redRatio", spec.redRatio)
      .Add("labA", spec.labAMean);
}

void PrintUnit(std::ostream& out, const ROIUnit& unit) {
  Line(out)
      .Add("unit", Rect{unit.x, unit.y, unit.right, unit.bottom})
      .Add("clipped", unit.clipped)
      .Add("scaleX", unit.scaleX)
      .Add("scaleY", unit.scaleY)
      .Add("gray", unit.gray)
      .Add("bgr", unit.bgr)
      .Add("hsv", unit.hsv)
      .Add("sat", unit.sat)
      .Add("hue", unit.hue);
}

void PrintSearch(std::ostream& out, const SearchMap& search) {
  Line line(out);
  line.Add("map", search.difference);
  if (!search.second) return;
  line.Add("x", search.second->loc.x).Add("y", search.second->loc.y).Add("dist", search.second->dist);
}

constexpr std::array kSteps = {"inputs",      "search",  "difference", "minScore", "placement",
                               "flatWhite",   "noEdges", "darkness",   "ncc",      "edgeCorrelation",
                               "edgeDensity", "chroma",  "colour",     "accepted"};

std::string StepOf(const Verdict& verdict) {
  return kSteps.at(static_cast<std::size_t>(verdict.decidedBy));
}

// The one place that knows how a verdict keeps its figures: names on the left, the product's on the right.
void PrintVerdict(std::ostream& out, const Verdict& v, const TemplateSpec& spec) {
  Line line(out);
  line.Add("step", StepOf(v)).Add("found", v.found).Add("x", v.loc.x).Add("y", v.loc.y).Add("dist", v.dist);
  line.Add("tw", v.tw).Add("th", v.th).Add("tiny", v.traits.tiny).Add("lowDetail", v.traits.lowDetail);
  line.Add("flatTemplate", v.traits.flat).Add("colourActive", v.colourActive);
  const auto add = [&](const char* name, const GateResult& gate) {
    static constexpr std::array kOutcomes = {"not-measured", "passed", "failed", "waived"};
    // In the hue modes no gate behind the difference has a say, whatever its own outcome.
    const bool waived = IsHueMode(spec.mode) && gate.Measured();
    line.Add(name, kOutcomes.at(static_cast<std::size_t>(waived ? Outcome::Waived : gate.outcome)));
    if (gate.Measured()) line.Add("value", gate.figure).Add("limit", gate.limit.Value());
  };
  add("difference", v.difference);
  add("minScore", v.minScore);
  add("flatWhite", v.flatWhite);
  add("chroma", v.chroma);
  add("ncc", v.greyCorrelation);
  add("edge", v.edgeCorrelation);
  add("edgeDensity", v.edgeDensity);
  add("darkness", v.darkness);
  add("hue", v.hue);
  add("saturation", v.saturation);
  add("value", v.value);
  add("red", v.red);
  add("labA", v.labA);
  line.Add("e1", v.e1).Add("e2", v.e2).Add("density", v.density).Add("mean", v.hsvMean);
  line.Add("redRatio", v.redRatio).Add("labAMean", v.labAMean);
  line.Add("desktopX", v.hit.desktopX).Add("desktopY", v.hit.desktopY).Add(HitOf(v, spec, 0));
}

// How many decisions each step made.
using Histogram = std::map<std::string, int>;

// The worker's decision, and the one that goes on to the end.
void PrintDecision(std::ostream& out, const ROIUnit& unit, const TemplateSpec& spec, Histogram& decided) {
  for (const Thoroughness thoroughness : {Thoroughness::UpToTheFirstVeto, Thoroughness::EveryStep}) {
    try {
      const Verdict verdict = EvaluateRegion(unit, spec, thoroughness);
      PrintVerdict(out, verdict, spec);
      if (thoroughness == Thoroughness::UpToTheFirstVeto) ++decided[StepOf(verdict)];
    } catch (const cv::Exception& error) {
      Line(out).Add("error", error.code);
      if (thoroughness == Thoroughness::UpToTheFirstVeto) ++decided["(error)"];
    }
  }
}

void PrintTwisted(std::ostream& out, Random& random, const ROIUnit& unit, const TemplateSpec& spec,
                  Histogram& decided) {
  for (std::size_t twist = 0; twist < std::size(kTwists); ++twist) {
    Subject subject{random, unit, spec};
    subject.spec.mode = kModes[random.Between(0, random.OneIn(3) ? kModes.size() - 1 : 2)];
    subject.spec.maxDiff = 1.0;
    subject.spec.minScore = 0.0;
    subject.unit.clipped = random.OneIn(3);
    try {
      kTwists[twist](subject);
    } catch (const cv::Exception&) {
      continue;  // no figure to put a limit at
    }
    Line(out).Add("twist", twist).Add("mode", static_cast<int>(subject.spec.mode));
    PrintDecision(out, subject.unit, subject.spec, decided);
  }
}

// Where a region comes to lie on a frame, by a controller that sends any number.
void PrintPlaces(std::ostream& out, Random& random, TemplateSpec spec, const Rect& frame) {
  const int reach = random.OneIn(8) ? 1000000000 : 300;
  const auto any = [&] { return random.Between(-reach, reach); };
  spec.roi = {any(), any(), any(), any()};
  spec.targetRect = {frame.left + random.Between(-90, 90), frame.top + random.Between(-90, 90),
                     frame.right + random.Between(-90, 90), frame.bottom + random.Between(-90, 90)};
  const RegionOnFrame place = PlaceRegion(spec, frame);
  Line(out)
      .Add("region", place.region)
      .Add("visible", place.visible)
      .Add("w", place.tmplSize.width)
      .Add("h", place.tmplSize.height)
      .Add("off", place.OffFrame())
      .Add("holds", place.HoldsTemplate())
      .Add(ForcedHit(spec, place, 0));
}

// Cut out of the screen as the capture loop does: all of it or, now and then, a part or what is left of a
// window's client area that reaches beyond the monitor.
ROIUnit CutUnit(std::ostream& out, Random& random, const cv::Mat& screen, Scale scale, TemplateSpec& spec) {
  cv::Mat bgra;
  cv::cvtColor(screen, bgra, cv::COLOR_BGR2BGRA);
  FrameImages images;
  ConvertFrame(bgra, NeedsHsv(spec) || !random.OneIn(8), images);

  const cv::Point origin{random.Between(-500, 200), random.Between(-500, 200)};
  const Rect monitor{origin.x, origin.y, origin.x + screen.cols, origin.y + screen.rows};
  spec.targetScaleX = scale.x;
  spec.targetScaleY = scale.y;
  for (int i = 0; i < 8; ++i) PrintPlaces(out, random, spec, monitor);
  spec.roi = {random.OneIn(4) ? 3 : 0, random.OneIn(4) ? 2 : 0, 1000, 1000};
  spec.targetRect = monitor;
  if (random.OneIn(4)) spec.targetRect.right += 9;
  ROIUnit unit = CutRegion(spec, PlaceRegion(spec, monitor), images, origin);
  if (unit.hsv.empty()) {
    PrintUnit(out, unit);
    ConvertFrame(bgra, true, images);
    unit = CutRegion(spec, PlaceRegion(spec, monitor), images, origin);
  }
  return unit;
}

void PrintCase(const path& folder, std::uint32_t number, std::ostream& out, Histogram& decided) {
  Random random(number);
  TemplateSpec spec = MakeSpec(random, FileOf(folder, number, "-template"));
  const cv::Mat screen = ReadImageFile(FromUtf8(FileOf(folder, number, "-screen").string()));
  PrintTemplate(out, number, spec);
  const ROIUnit unit = CutUnit(out, random, screen, ScaleOf(number), spec);
  PrintUnit(out, unit);
  for (const MatchMode mode : kModes) {
    spec.mode = mode;
    PrintDecision(out, unit, spec, decided);
    if (const auto search = MapRegion(unit, spec)) PrintSearch(out, *search);
  }
  PrintTwisted(out, random, unit, spec, decided);
}

void PrintFigures(const path& folder, std::ostream& out) {
  constexpr int kLeast = 10;
  Histogram decided;
  for (const char* const step : kSteps) decided[step] = 0;
  for (std::uint32_t number = 0; number < kCases; ++number) PrintCase(folder, number, out, decided);

  for (const auto& [step, count] : decided) std::cout << step << ' ' << count << '\n';
  decided.erase("noEdges");  // the detector gives an image for every placement that lies inside the crop
  for (const auto& [step, count] : decided) {
    if (count < kLeast) throw std::runtime_error("too few decisions by " + step);
  }
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

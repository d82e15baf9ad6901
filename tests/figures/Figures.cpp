// Prints what the matching code computes: many decisions on each of the seeded cases, every figure with all
// its digits, so that two builds can be compared byte for byte (scripts/check-figures.sh).
//
//   quillmark_figures make FOLDER          writes the cases' templates and screens as image files
//   quillmark_figures print FOLDER FILE    reads them as the worker does and writes the figures to FILE
//   quillmark_figures check                does both, for its checks only
//
// One build makes the files and every build reads them, so only the product and its libraries can differ. The
// decisions cover every mode, thoroughness and kind of template, as they are and twisted. `print` fails when
// a step decides too few of them, or when a thorough evaluation differs in a decision or figure.
#include <array>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "app/frame/OpenCvConfig.h"
#include "core/PrimarySearch.h"
#include "core/RegionCut.h"
#include "core/RegionPicture.h"
#include "core/engine/RegionTask.h"
#include "core/engine/Tick.h"
#include "figures/Cases.h"
#include "specs/ImageFile.h"
#include "specs/TemplatePreparation.h"
#include "specs/Utf8.h"
#include "support/TempFolder.h"

namespace quillmark::testing {
namespace {

using std::filesystem::path;

constexpr std::array kModes = {MatchMode::Gray, MatchMode::Bgr, MatchMode::S,
                               MatchMode::H,    MatchMode::HS,  static_cast<MatchMode>(7)};

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

// Writes words and values, each followed by a blank. Numbers have the fewest digits that restore them
// exactly.
class Writer {
 public:
  explicit Writer(std::ostream& to) : out(to) {}

  template <typename... Values>
  void Add(const Values&... values) {
    (Put(values), ...);
  }
  template <typename... Values>
  void Line(const Values&... values) {
    Add(values...);
    out << '\n';
  }

 private:
  void Put(std::string_view text) { out << text << ' '; }
  void Put(const char* text) { Put(std::string_view(text)); }
  void Put(bool value) { Put(value ? 1 : 0); }
  template <typename Number>
  requires std::is_arithmetic_v<Number>
  void Put(Number value) {
    std::array<char, 64> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value).ptr;
    Put(std::string_view(text.data(), end));
  }
  void Put(const Rect& rect) { Add(rect.left, "", rect.top, "", rect.right, "", rect.bottom); }
  void Put(const HitRecord& hit) {
    Add("cx", hit.cx, "cy", hit.cy, "w", hit.w, "h", hit.h, "sq", hit.sq, "edge", hit.edge, "window",
        hit.dedupWindowMs);
  }
  // Size, type and a sum over every byte (FNV-1a).
  void Put(const cv::Mat& image) {
    std::uint64_t sum = 14695981039346656037u;
    for (int y = 0; y < image.rows; ++y) {
      const unsigned char* const row = image.ptr(y);
      for (std::size_t i = 0; i < image.cols * image.elemSize(); ++i) sum = (sum ^ row[i]) * 1099511628211u;
    }
    Add(image.cols, "x", image.rows, "type", image.type(), "sum", sum);
  }

  std::ostream& out;
};

void PrintTemplate(Writer& out, std::uint32_t number, const TemplateSpec& s) {
  const cv::Scalar &mean = s.hsvMean, &std = s.hsvStd;
  out.Line("template", number, "bgr", s.tmplBgr, "gray", s.tmplGray, "mask", s.tmplMask, "hue", s.tmplHue,
           "sat", s.tmplSat, "edge", s.tmplEdgeZm, "edgeDil", s.tmplEdgeDilZm, "cr", s.tmplCr, "cb", s.tmplCb,
           "red", s.tmplRedMask, "density", s.edgeDensity, "mean", mean[0], "mean", mean[1], "mean", mean[2],
           "std", std[0], "std", std[1], "std", std[2], "vividFlat", s.vividFlat, "redRatio", s.redRatio,
           "labA", s.labAMean);
}

void PrintUnit(Writer& out, const ROIUnit& u) {
  out.Line("unit", Rect{u.x, u.y, u.right, u.bottom}, "clipped", u.clipped, "scaleX", u.scaleX, "scaleY",
           u.scaleY, "gray", u.gray, "bgr", u.bgr, "hsv", u.hsv, "sat", u.sat, "hue", u.hue);
}

void PrintSearch(Writer& out, const SearchMap& search) {
  out.Add("map", search.difference);
  if (const auto& second = search.second)
    out.Add("x", second->loc.x, "y", second->loc.y, "dist", second->dist);
  out.Line();
}

constexpr std::array kSteps = {"inputs",      "search",  "difference", "minScore", "placement",
                               "flatWhite",   "noEdges", "darkness",   "ncc",      "edgeCorrelation",
                               "edgeDensity", "chroma",  "colour",     "accepted"};

std::string StepOf(const Verdict& verdict) {
  return kSteps.at(static_cast<std::size_t>(verdict.decidedBy));
}

void PrintVerdict(Writer& out, const Verdict& v) {
  out.Add("step", StepOf(v), "found", v.found, "x", v.loc.x, "y", v.loc.y, "dist", v.dist, "tw", v.tw, "th",
          v.th, "tiny", v.traits.tiny, "lowDetail", v.traits.lowDetail, "flatTemplate", v.traits.flat,
          "colourActive", v.colourActive);
  for (const GateEntry& entry : kAllGates) {
    const GateResult& gate = v.*entry.result;
    out.Add(entry.name, "outcome", static_cast<int>(gate.outcome));
    if (gate.Measured()) out.Add("value", gate.figure, "limit", gate.limit.Value());
  }
  out.Line("e1", v.e1, "e2", v.e2, "density", v.density, "mean", v.hsvMean[0], "mean", v.hsvMean[1], "mean",
           v.hsvMean[2], "redRatio", v.redRatio, "labAMean", v.labAMean, "desktopX", v.hit.desktopX,
           "desktopY", v.hit.desktopY, "cx", v.hit.cx, "cy", v.hit.cy, "w", v.hit.w, "h", v.hit.h, "sq", v.sq,
           "edge", v.edgeScore, "window", v.dedupWindowMs);
}

// How many decisions each step made.
using Histogram = std::map<std::string, int>;

// A thorough evaluation must repeat every figure of the worker's.
void RequireAlike(const Verdict& v, const Verdict& thorough) {
  bool alike = thorough.decidedBy == v.decidedBy && thorough.loc == v.loc && thorough.dist == v.dist;
  if (v.Accepted()) alike = alike && thorough.hit.cx == v.hit.cx && thorough.edgeScore == v.edgeScore;
  for (const GateEntry& entry : kAllGates) {
    const GateResult &gate = v.*entry.result, &later = thorough.*entry.result;
    alike = alike && (!gate.Measured() || (later.figure == gate.figure && later.outcome == gate.outcome &&
                                           later.limit.Value() == gate.limit.Value()));
  }
  if (!alike) throw std::runtime_error("the thorough evaluation differs in a decision by " + StepOf(v));
}

// The worker's decision and the thorough one.
void PrintDecision(Writer& out, const ROIUnit& unit, const TemplateSpec& spec, Histogram& decided) {
  std::optional<Verdict> first;
  for (const Thoroughness thoroughness : {Thoroughness::UpToTheFirstVeto, Thoroughness::EveryStep}) {
    try {
      const Verdict verdict = EvaluateRegion(unit, spec, thoroughness);
      PrintVerdict(out, verdict);
      if (thoroughness == Thoroughness::UpToTheFirstVeto) {
        ++decided[StepOf(verdict)];
        first = verdict;
      } else if (first) {
        RequireAlike(*first, verdict);
        const bool goesOn = !verdict.Accepted() && verdict.flatWhite.because != Because::NotReached;
        decided["(thorough beyond a veto)"] += goesOn && first->flatWhite.because == Because::NotReached;
      }
    } catch (const cv::Exception& error) {
      out.Line("error", error.code);
      if (thoroughness == Thoroughness::UpToTheFirstVeto) ++decided["(error)"];
    }
  }
}

void PrintTwisted(Writer& out, Random& random, const ROIUnit& unit, const TemplateSpec& spec,
                  Histogram& decided) {
  for (std::size_t twist = 0; twist < AllTwists().size(); ++twist) {
    Subject subject{random, unit, spec};
    subject.spec.mode = kModes[random.Between(0, random.OneIn(3) ? kModes.size() - 1 : 2)];
    subject.spec.maxDiff = 1.0;
    subject.spec.minScore = 0.0;
    subject.unit.clipped = random.OneIn(3);
    try {
      AllTwists()[twist](subject);
    } catch (const cv::Exception&) {
      continue;  // no figure to put a limit at
    }
    out.Line("twist", twist, "mode", static_cast<int>(subject.spec.mode));
    PrintDecision(out, subject.unit, subject.spec, decided);
  }
}

// Where a region lies on a frame, with any numbers that a controller may send.
void PrintPlaces(Writer& out, Random& random, TemplateSpec spec, const Rect& frame) {
  const int reach = random.OneIn(8) ? 1000000000 : 300;
  const auto any = [&] { return random.Between(-reach, reach); };
  spec.roi = {any(), any(), any(), any()};
  spec.targetRect = {frame.left + random.Between(-90, 90), frame.top + random.Between(-90, 90),
                     frame.right + random.Between(-90, 90), frame.bottom + random.Between(-90, 90)};
  const RegionOnFrame place = PlaceRegion(spec, frame);
  out.Line("region", place.region, "visible", place.visible, "w", place.tmplSize.width, "h",
           place.tmplSize.height, "off", place.OffFrame(), "holds", place.HoldsTemplate(),
           ForcedHit(spec, place, 0));
}

// Cuts the screen as the capture loop does: all of it or, now and then, a part, or the visible part of a
// client area that reaches beyond the monitor.
ROIUnit CutUnit(Writer& out, Random& random, const cv::Mat& screen, Scale scale, TemplateSpec& spec) {
  cv::Mat bgra;
  cv::cvtColor(screen, bgra, cv::COLOR_BGR2BGRA);
  const bool withHsv = NeedsOf(spec).hsv || !random.OneIn(8);

  const cv::Point origin{random.Between(-500, 200), random.Between(-500, 200)};
  const Rect monitor{origin.x, origin.y, origin.x + screen.cols, origin.y + screen.rows};
  spec.targetScaleX = scale.x;
  spec.targetScaleY = scale.y;
  for (int i = 0; i < 8; ++i) PrintPlaces(out, random, spec, monitor);
  spec.roi = {random.OneIn(4) ? 3 : 0, random.OneIn(4) ? 2 : 0, 1000, 1000};
  spec.targetRect = monitor;
  if (random.OneIn(4)) spec.targetRect.right += 9;
  ROIUnit unit = CutRegion(spec, PlaceRegion(spec, monitor), bgra, origin, withHsv);
  if (unit.hsv.empty()) {
    PrintUnit(out, unit);
    unit = CutRegion(spec, PlaceRegion(spec, monitor), bgra, origin, true);
  }
  return unit;
}

void PrintCase(const path& folder, std::uint32_t number, Writer& out, Histogram& decided) {
  Random random(number);
  TemplateSpec spec = MakeSpec(random, TemplateFile(folder, number));
  const cv::Mat screen = ReadImageFile(FromUtf8(ScreenFile(folder, number).string()));
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

void PrintFigures(const path& folder, std::ostream& to) {
  Writer out(to);
  constexpr int kMinimum = 10;
  Histogram decided;
  for (const char* const step : kSteps) decided[step] = 0;
  for (std::uint32_t number = 0; number < kCases; ++number) PrintCase(folder, number, out, decided);

  for (const auto& [step, count] : decided) std::cout << step << ' ' << count << '\n';
  decided.erase("noEdges");  // the detector gives an image for every placement that lies inside the crop
  for (const auto& [step, count] : decided) {
    if (count < kMinimum) throw std::runtime_error("too few decisions by " + step);
  }
}

void Run(const std::string& task, const path& folder, const char* file) {
  ConfigureOpenCvOnce();
  if (task == "make") return MakeFiles(folder);
  if (task == "check") {
    const test::TempFolder made;
    MakeFiles(made.Path());
    std::ostream nowhere(nullptr);
    return PrintFigures(made.Path(), nowhere);
  }
  std::ofstream out(file, std::ios::binary);
  PrintFigures(folder, out);
  if (!out.flush()) throw std::runtime_error(std::string("cannot write ") + file);
}

}  // namespace
}  // namespace quillmark::testing

int main(int argc, char** argv) {
  const std::string task = argc > 1 ? argv[1] : "";
  if (!(task == "make" && argc == 3) && !(task == "print" && argc == 4) && !(task == "check" && argc == 2)) {
    std::cerr << "usage: quillmark_figures make FOLDER | print FOLDER FILE | check\n";
    return 2;
  }
  try {
    quillmark::testing::Run(task, argc > 2 ? argv[2] : "", argc > 3 ? argv[3] : "");
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "quillmark_figures: " << error.what() << '\n';
    return 1;
  }
}

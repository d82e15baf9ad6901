// Freezes what the matching code computes: seeded cases, many decisions on each, and every figure with all
// its digits, so that two builds can be held against each other byte for byte (scripts/check-figures.sh).
//
//   quillmark_figures make FOLDER          writes the cases' templates and screens as image files
//   quillmark_figures print FOLDER FILE    reads them as the worker does and writes the figures to FILE
//   quillmark_figures check                both, for its own checks only
//
// One build makes the files and all builds read them: what may differ is the product and its libraries. The
// decisions are of every mode, thoroughness and kind of template, as the case has it and twisted. `print`
// fails when a step decides too few of them, or when the evaluation that goes on to the end comes to another
// decision or figure.
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

#include "app/OpenCvConfig.h"
#include "core/PrimarySearch.h"
#include "core/RegionCut.h"
#include "core/RegionTask.h"
#include "core/Tick.h"
#include "figures/Cases.h"
#include "figures/Twists.h"
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

// The evaluation that goes on to the end must repeat every figure of the worker's.
void RequireAlike(const Verdict& v, const Verdict& thorough) {
  bool alike = thorough.decidedBy == v.decidedBy && thorough.loc == v.loc && thorough.dist == v.dist;
  if (v.Accepted()) alike = alike && thorough.hit.cx == v.hit.cx && thorough.edgeScore == v.edgeScore;
  for (const GateEntry& entry : AllGates()) {
    const GateResult &gate = v.*entry.result, &later = thorough.*entry.result;
    alike = alike && (!gate.Measured() || (later.figure == gate.figure && later.outcome == gate.outcome &&
                                           later.limit.Value() == gate.limit.Value()));
  }
  if (!alike) throw std::runtime_error("the thorough evaluation differs in a decision by " + StepOf(v));
}

// The worker's decision, and the one that goes on to the end.
void PrintDecision(std::ostream& out, const ROIUnit& unit, const TemplateSpec& spec, Histogram& decided) {
  std::optional<Verdict> first;
  for (const Thoroughness thoroughness : {Thoroughness::UpToTheFirstVeto, Thoroughness::EveryStep}) {
    try {
      const Verdict verdict = EvaluateRegion(unit, spec, thoroughness);
      PrintVerdict(out, verdict, spec);
      if (thoroughness == Thoroughness::UpToTheFirstVeto) {
        ++decided[StepOf(verdict)];
        first = verdict;
      } else if (first) {
        RequireAlike(*first, verdict);
        const bool goesOn = !verdict.Accepted() && verdict.flatWhite.because != Because::NotReached;
        decided["(thorough beyond a veto)"] += goesOn && first->flatWhite.because == Because::NotReached;
      }
    } catch (const cv::Exception& error) {
      Line(out).Add("error", error.code);
      if (thoroughness == Thoroughness::UpToTheFirstVeto) ++decided["(error)"];
    }
  }
}

void PrintTwisted(std::ostream& out, Random& random, const ROIUnit& unit, const TemplateSpec& spec,
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
  if (task == "check") {
    const test::TempFolder own;
    MakeFiles(own.Path());
    std::ostream nowhere(nullptr);
    PrintFigures(own.Path(), nowhere);
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
  if (!(task == "make" && argc == 3) && !(task == "print" && argc == 4) && !(task == "check" && argc == 2)) {
    std::cerr << "usage: quillmark_figures make FOLDER | print FOLDER FILE | check\n";
    return 2;
  }
  try {
    return quillmark::testing::Run(task, argc > 2 ? argv[2] : "", argc > 3 ? argv[3] : "");
  } catch (const std::exception& error) {
    std::cerr << "quillmark_figures: " << error.what() << '\n';
    return 1;
  }
}

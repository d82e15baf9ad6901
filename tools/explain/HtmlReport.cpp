#include <algorithm>
#include <sstream>
#include <utility>

#include "explain/HtmlStyle.h"
#include "explain/Illustrations.h"
#include "explain/Reports.h"
#include "text/Numbers.h"
#include "text/Places.h"
#include "text/Printable.h"

namespace quillmark::explain {
namespace {

constexpr int kOverviewPixels = 1400;
// The maximum size of a picture on the page.
const cv::Size2d kWide(1040.0, 680.0), kHalf(500.0, 620.0);
constexpr double kMaxEnlargement = 5.0;

std::string Replaced(std::string text, const std::string& what, const std::string& with) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size())) {
    text.replace(at, what.size(), with);
  }
  return text;
}

std::string Escaped(std::string text) {
  for (const auto& [plain, escape] :
       {std::pair{"&", "&amp;"}, {"<", "&lt;"}, {">", "&gt;"}, {"\"", "&quot;"}}) {
    text = Replaced(std::move(text), plain, escape);
  }
  return text;
}

// Plain text as HTML.
std::string Set(const std::string& text) {
  std::string set = Replaced(Escaped(text), " +- ", " \u00B1 ");
  set = Replaced(set, " x ", " \u00D7 ");
  for (bool opens = true; set.find('`') != std::string::npos; opens = !opens) {
    set.replace(set.find('`'), 1, opens ? "<code>" : "</code>");
  }
  return set;
}

std::string Capital(std::string word) {
  if (!word.empty() && word[0] >= 'a' && word[0] <= 'z') word[0] = static_cast<char>(word[0] - 'a' + 'A');
  return word;
}

// A mark in a picture, with a light outline visible on any background.
std::string Outlined(const std::string& kind, const std::string& element, const std::string& attributes) {
  std::string mark;
  for (const std::string& name : {std::string("halo"), kind}) {
    mark += "<" + element + " class=\"" + name + "\"" + attributes + "/>";
  }
  return mark;
}

std::string Box(const std::string& kind, const cv::Rect2d& rect) {
  std::ostringstream box;
  box << " x=\"" << rect.x << "\" y=\"" << rect.y << "\" width=\"" << rect.width << "\" height=\""
      << rect.height << "\"";
  return Outlined(kind, "rect", box.str());
}

std::string Ring(const std::string& kind, const cv::Point& centre, double radius) {
  std::ostringstream ring;
  ring << " cx=\"" << centre.x + 0.5 << "\" cy=\"" << centre.y + 0.5 << "\" r=\"" << radius << "\"";
  return Outlined(kind, "circle", ring.str());
}

// A picture with marks on it, in the units of `size`, scaled to fit `room`.
std::string Shot(const cv::Mat& image, cv::Size size, const cv::Size2d& room, const std::string& marks,
                 const std::string& label) {
  const double scale = std::min({room.width / size.width, room.height / size.height, kMaxEnlargement});
  std::ostringstream svg;
  svg << "<svg class=\"shot" << (scale > 1.5 ? " large" : "")
      << "\" style=\"max-width:" << static_cast<int>(size.width * scale) << "px\" viewBox=\"0 0 "
      << size.width << ' ' << size.height << "\" role=\"img\" aria-label=\"" << label << "\"><image width=\""
      << size.width << "\" height=\"" << size.height << "\" href=\"" << DataUri(image) << "\"/>" << marks
      << "</svg>";
  return svg.str();
}

std::string Key(const std::string& kind, const std::string& text) {
  return "<span><svg viewBox=\"0 0 26 12\"><line class=\"" + kind +
         "\" x1=\"1\" y1=\"6\" x2=\"25\" y2=\"6\"/></svg>" + Set(text) + "</span>";
}

// The figure against its limit, with the good side shaded.
std::string Bar(const GateResult& gate) {
  const bool atMost = gate.bound == Bound::AtMost, good = gate.Margin() >= 0.0;
  const double low = atMost ? 0.0 : std::min(0.0, gate.figure);
  const double high = atMost ? std::max({2.0 * gate.limit.Value(), 1.15 * gate.figure, 1e-9}) : 1.0;
  const auto at = [&](double value) {
    return 4.0 + 102.0 * std::clamp((value - low) / (high - low), 0.0, 1.0);
  };
  const double limit = at(gate.limit.Value());
  std::ostringstream bar;
  bar.precision(4);
  bar << "<svg class=\"bar\" viewBox=\"0 0 110 14\" aria-hidden=\"true\">"
      << "<rect x=\"4\" y=\"5\" width=\"102\" height=\"4\" rx=\"2\" fill=\"#e6e8eb\"/><rect x=\""
      << (atMost ? 4.0 : limit) << "\" y=\"5\" width=\"" << (atMost ? limit - 4.0 : 106.0 - limit)
      << "\" height=\"4\" rx=\"2\" fill=\"#bfe3cf\"/><line x1=\"" << limit << "\" x2=\"" << limit
      << "\" y1=\"1\" y2=\"13\" stroke=\"#5b636d\"/><circle cx=\"" << at(gate.figure)
      << "\" cy=\"7\" r=\"4\" fill=\"" << (good ? "#1a7f4b" : "#b8322a") << "\"/></svg>";
  return bar.str();
}

// One explanation as an article.
class Article {
 public:
  explicit Article(const Explanation& explanation) : e(explanation) {}

  std::string Html() {
    page << "<article>";
    AddHeader();
    if (e.sight && e.sight->map && e.sight->verdict.decidedBy != DecidingStep::Placement) {
      AddScreen();
      AddSearch();
      AddTiles();
    }
    AddSteps();
    AddRemedies();
    AddSpec();
    page << "</article>\n";
    return page.str();
  }

 private:
  void AddHeader() {
    const char* const kind = e.IsHit() ? "hit" : "rejected";
    const char* const verdict = e.IsHit() ? "A hit" : e.sight ? "Rejected" : "Not compared";
    std::string sentence = e.sentence;
    for (const char* const begin : {"A hit: ", "Rejected by ", "Not compared: "}) {
      if (sentence.starts_with(begin)) sentence = Capital(sentence.substr(std::string(begin).size()));
    }
    page << "<header><p class=\"kicker\">quillmarkctl explain &nbsp;/&nbsp; <code>"
         << Escaped(Printable(e.request.name)) << "</code></p><h1 class=\"" << kind << "\">" << verdict
         << "</h1><p class=\"lead\">" << Set(sentence) << "</p>";
    if (e.reason) {
      // Without a comparison the sentence already has the reason's meaning.
      page << "<p class=\"why\"><code>" << CodeOf(*e.reason) << "</code> &nbsp;"
           << (e.sight ? Set(std::string(EntryOf(*e.reason).meaning)) : "") << "</p>";
    }
    page << "</header>\n";
  }

  void Section(const std::string& title) { page << "<h2>" << Set(title) << "</h2>\n"; }

  // In pixels of the picture.
  [[nodiscard]] cv::Rect2d OnPicture(const Placement& placement) const {
    const ROIUnit& unit = e.sight->unit;
    const cv::Point origin = e.sight->picture.origin;
    return {unit.x - origin.x + placement.loc.x * unit.scaleX,
            unit.y - origin.y + placement.loc.y * unit.scaleY, e.sight->verdict.tw * unit.scaleX,
            e.sight->verdict.th * unit.scaleY};
  }
  [[nodiscard]] cv::Rect2d OnPicture(const Rect& rect) const { return ToCv(rect) - e.sight->picture.origin; }
  [[nodiscard]] const char* BestKind() const { return e.IsHit() ? "best ok" : "best no"; }

  void AddScreen() {
    const Sight& sight = *e.sight;
    Section("On the screen");
    std::string boxes =
        Box("client", OnPicture(e.spec.targetRect)) + Box("region", OnPicture(sight.place.visible));
    if (sight.map->second) boxes += Box("next", OnPicture(*sight.map->second));
    boxes += Box(BestKind(), OnPicture(sight.map->best));
    page << "<div class=\"card\">"
         << Shot(Overview(sight.picture, kOverviewPixels), sight.picture.bgra.size(), kWide, boxes,
                 "the screenshot")
         << "<div class=\"keys\">" << Key("client", "client area") << Key("region", "region")
         << Key(BestKind(), "best place, difference " + Digits(sight.map->best.dist));
    if (sight.map->second) page << Key("next", "next place, difference " + Digits(sight.map->second->dist));
    page << "</div></div>\n";
  }

  void AddSearch() {
    const Sight& sight = *e.sight;
    const cv::Size size = sight.unit.bgr.size();
    std::string boxes, rings;
    const auto mark = [&](const char* kind, const Placement& placement) {
      const cv::Rect box(placement.loc, cv::Size(sight.verdict.tw, sight.verdict.th));
      boxes += Box(kind, box);
      const cv::Point centre(placement.loc.x + box.width / 2, placement.loc.y + box.height / 2);
      rings += Ring(kind, centre, std::max(std::max(size.width, size.height) / 70.0, 2.0));
    };
    if (sight.map->second) mark("next", *sight.map->second);
    mark(BestKind(), sight.map->best);
    double min = 0.0, max = 0.0;
    cv::minMaxLoc(sight.map->difference, &min, &max);
    Section("Search");
    page << "<div class=\"card pair\"><figure>" << Shot(sight.unit.bgr, size, kHalf, boxes, "the region")
         << "<figcaption>The region at template scale, " << size.width << " \u00D7 " << size.height
         << " pixels</figcaption></figure><figure>"
         << Shot(HeatMap(sight), size, kHalf, rings, "the score map")
         << "<div class=\"scale\"></div><div class=\"ends\"><span>closest, " << Digits(min)
         << "</span><span>farthest, " << Digits(max) << "</span></div><figcaption>Difference at every place"
         << (e.spec.mode == MatchMode::HS ? ", of the hue only" : "")
         << ", drawn at the template's centre; at most " << Digits(sight.verdict.difference.limit.Value())
         << " passes</figcaption></figure></div>\n";
  }

  void AddTiles() {
    Section("Template and best place");
    page << "<div class=\"card\">";
    const cv::Size size = e.spec.tmplGray.size();
    const int scale = std::clamp(240 / std::max(size.width, size.height), 1, 12);
    const int width = std::min(size.width * scale, 320);
    for (const TileRow& row : SideBySide(e.spec, *e.sight)) {
      page << "<h3>" << Set(row.title) << "</h3><div class=\"tiles\">";
      for (const Tile& tile : row.tiles) {
        page << "<figure><img width=\"" << width << "\" alt=\"\" src=\"" << DataUri(tile.image)
             << "\"><figcaption>" << Set(tile.caption) << "</figcaption></figure>";
      }
      page << "</div>";
    }
    page << "</div>\n";
  }

  void AddSteps() {
    Section("Steps of the decision");
    page << "<div class=\"card wide\"><table><thead><tr><th>Step</th><th class=\"num\">Figure</th><th "
            "class=\"num\">Limit</th><th></th><th class=\"num\">Margin</th><th>Outcome</th>"
            "<th>Remark</th></tr></thead><tbody>\n";
    for (const Step& step : e.steps) AddStep(step);
    page << "</tbody></table></div>\n";
  }

  static const char* RowKind(StepOutcome outcome) {
    if (outcome == StepOutcome::Vetoed) return "vetoed";
    return outcome == StepOutcome::NotMeasured || outcome == StepOutcome::Waived ? "idle" : "";
  }

  void AddStep(const Step& step) {
    page << "<tr class=\"" << RowKind(step.outcome) << "\"><td class=\"step\"><b>" << Set(step.title)
         << "</b><small>" << Set(step.measures) << "</small></td>";
    if (step.gate) {
      const TwoNumbers shown = DigitsOf(step.gate->figure, step.gate->limit.Value());
      page << "<td class=\"num figure\">" << shown.first << "</td><td class=\"num\">"
           << (step.gate->bound == Bound::AtMost ? "\u2264 " : "\u2265 ") << shown.second << "</td><td>"
           << Bar(*step.gate) << "</td><td class=\"num\">"
           << Replaced(Digits(step.gate->Margin()), "-", "\u2212") << "</td>";
    } else {
      page << "<td></td><td></td><td></td><td></td>";
    }
    page << "<td><span class=\"word " << IdOf(step.outcome) << "\">" << WordOf(step.outcome)
         << "</span></td><td class=\"remark\">" << Set(RemarkOf(step)) << "</td></tr>\n";
  }

  void AddRemedies() {
    if (e.IsHit()) return;
    if (!e.remedies.empty()) {
      Section("What would have made it a hit");
      page << "<div class=\"card\"><ul class=\"changes\">";
      for (const Remedy& remedy : e.remedies) {
        page << "<li><code>" << Escaped(remedy.change) << "</code><span>" << Set(remedy.text)
             << "</span></li>";
      }
      page << "</ul></div>\n";
    }
    Section("Fix");
    page << "<div class=\"card\">" << Set(std::string(EntryOf(*e.reason).remedy)) << "</div>\n";
  }

  void Term(const std::string& name, const std::string& text) {
    page << "<dt>" << name << "</dt><dd>" << Set(text) << "</dd>";
  }

  void AddSpec() {
    const TemplateSpec& spec = e.spec;
    Section("The spec");
    page << "<div class=\"card\"><dl>";
    Term("Name", Printable(e.request.name));
    Term("Target", Printable(e.request.target));
    Term("Image", Printable(e.request.path));
    Term("Template", SizeText(spec.tmplGray.size()));
    Term("Region", RectText(spec.roi));
    Term("Mode", WordOf(spec.mode));
    Term("Maximum difference", Digits(spec.maxDiff));
    if (spec.minScore > 0.0) Term("Minimum score", Digits(spec.minScore));
    Term("Minimum edge correlation", Digits(spec.edgeMin));
    if (spec.redHint) Term("Red", "the name makes the spec red");
    if (spec.colorGate) Term("Colour", "colour decides instead of grey values and edges");
    page << "</dl></div>\n";
  }

  const Explanation& e;
  std::ostringstream page;
};

}  // namespace

std::string HtmlReport(std::span<const Explanation> explanations) {
  const std::string name = Escaped(Printable(explanations.front().request.name));
  std::string page =
      "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><meta name=\"viewport\" "
      "content=\"width=device-width\"><title>" +
      name + " \u2013 quillmarkctl explain</title><style>" + kHtmlStyle + "</style></head><body><main>\n";
  for (const Explanation& explanation : explanations) page += Article(explanation).Html();
  return page + "</main></body></html>\n";
}

}  // namespace quillmark::explain

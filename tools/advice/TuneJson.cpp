#include "advice/TuneReports.h"
#include "text/Printable.h"

namespace quillmark::advice {
namespace {

using Json = nlohmann::ordered_json;

Json JsonOf(const std::vector<double>& values) {
  if (values.empty()) return nullptr;
  const Distribution d = DistributionOf(values);
  return {{"count", d.count},   {"min", d.min}, {"q1", d.q1},
          {"median", d.median}, {"q3", d.q3},   {"max", d.max}};
}

Json JsonOf(const std::optional<double>& value) {
  return value ? Json(*value) : Json(nullptr);
}

Json JsonOf(const std::optional<Separation>& separation) {
  if (!separation) return nullptr;
  return {{"low", separation->low}, {"high", separation->high}, {"margin", separation->Margin()}};
}

Json JsonOf(const FigureReport& figure) {
  const bool atMost = figure.bound == Bound::AtMost;
  return {{"id", figure.id},
          {"title", figure.title},
          {"bound", atMost ? "at-most" : "at-least"},
          {"limit", {figure.lowLimit, figure.highLimit}},
          {"canBeSet", figure.canBeSet},
          {"hasSay", figure.hasSay},
          {"positives", JsonOf(figure.positives)},
          {"negatives", JsonOf(figure.negatives)},
          {"positiveMargin", JsonOf(figure.positiveMargin)},
          {"negativeMargin", JsonOf(figure.negativeMargin)},
          {"separation", JsonOf(figure.separation)}};
}

Json JsonOf(const Sample& sample, const std::vector<std::string>& files) {
  return {{"file", files[sample.picture]},
          {"positive", sample.positive},
          {"hit", sample.IsHit()},
          {"reason", sample.reason ? Json(reasons::CodeOf(*sample.reason)) : Json(nullptr)},
          {"difference", sample.verdict.found ? Json(sample.verdict.dist) : Json(nullptr)}};
}

Json JsonOf(const Proposal& proposal) {
  const Setting& setting = proposal.setting;
  Json difference = JsonOf(std::optional(proposal.ranges.difference));
  difference["limit"] = setting.difference;
  difference["bounded"] = proposal.ranges.bounded;
  Json edgeMin = JsonOf(proposal.ranges.edgeMin);
  if (setting.edgeMin) edgeMin["limit"] = *setting.edgeMin;
  return {{"changes", setting.changes},
          {"name", WellFormed(setting.request.name)},
          {"nameFits", !proposal.tooLong},
          {"difference", difference},
          {"edgeMin", edgeMin},
          {"remark", setting.remark}};
}

}  // namespace

Json TuneJson(const TuneReport& report, const std::vector<std::string>& files) {
  Json json{{"type", "tune"},
            {"right", report.right},
            {"figures", Json::array()},
            {"pictures", Json::array()},
            {"unused", Json::array()},
            {"obstacle", report.obstacle},
            {"proposals", Json::array()},
            {"rejected", Json::array()}};
  for (const FigureReport& figure : report.figures) json["figures"].push_back(JsonOf(figure));
  for (const Sample& sample : report.samples) json["pictures"].push_back(JsonOf(sample, files));
  for (const UnusedPicture& unused : report.unused) {
    json["unused"].push_back({{"file", files[unused.picture]}, {"fault", unused.fault}});
  }
  for (const Proposal& proposal : report.proposals) json["proposals"].push_back(JsonOf(proposal));
  for (const RejectedMode& mode : report.rejected) {
    json["rejected"].push_back({{"name", mode.name}, {"obstacle", mode.obstacle}});
  }
  return json;
}

}  // namespace quillmark::advice

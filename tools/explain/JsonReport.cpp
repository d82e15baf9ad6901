#include "explain/Reports.h"
#include "explain/Steps.h"
#include "text/Places.h"
#include "text/Printable.h"

namespace quillmark::explain {
namespace {

using Json = nlohmann::ordered_json;

Json SpecOf(const Explanation& e) {
  const TemplateSpec& spec = e.spec;
  const SpecRequest& request = e.request;
  return {{"name", WellFormed(spec.name)},
          {"fullName", WellFormed(request.name)},
          {"target", WellFormed(request.target)},
          {"path", WellFormed(request.path)},
          {"roi", RectJson(spec.roi)},
          {"template", {{"w", spec.tmplGray.cols}, {"h", spec.tmplGray.rows}}},
          {"mode", WordOf(spec.mode)},
          {"maxDiff", spec.maxDiff},
          {"minScore", spec.minScore},
          {"edgeMin", spec.edgeMin},
          {"red", spec.redHint},
          {"colourGate", spec.colorGate},
          {"frameDivisor", spec.frameDivisor},
          {"intervalMs", spec.intervalMs},
          {"monitorPin", spec.monitorPin}};
}

Json JsonOf(const Step& step) {
  Json json{
      {"id", step.id}, {"title", step.title}, {"measures", step.measures}, {"outcome", IdOf(step.outcome)}};
  if (step.gate) {
    const GateResult& gate = *step.gate;
    json["figure"] = gate.figure;
    json["bound"] = gate.bound == Bound::AtMost ? "max" : "min";
    json["limit"] = gate.limit.Value();
    json["margin"] = gate.Margin();
    json["rules"] = Json::array();
    for (const LimitRule& rule : gate.limit.Rules()) {
      json["rules"].push_back({{"rule", TextOf(rule.rule)}, {"limit", rule.limit}});
    }
  }
  if (!step.remark.empty()) json["remark"] = step.remark;
  return json;
}

Json JsonOf(const Explanation& e, const Placement& placement) {
  const cv::Point at = InClientArea(e, placement.loc);
  return {{"x", at.x}, {"y", at.y}, {"difference", placement.dist}};
}

void AddSight(const Explanation& e, Json& json) {
  const Sight& sight = *e.sight;
  json["picture"] = RectJson(ToCv(sight.picture.Area()));
  json["client"] = RectJson(ToCv(e.spec.targetRect));
  json["client"]["scale"] = EffectiveScale(e.spec.targetScaleX);
  json["region"] = RectJson(ToCv(sight.place.visible));
  json["region"]["clipped"] = sight.unit.clipped;
  if (!sight.map) return;
  const Verdict& v = sight.verdict;
  json["best"] = JsonOf(e, sight.map->best);
  json["second"] = sight.map->second ? JsonOf(e, *sight.map->second) : Json();
  json["report"] = {{"cx", v.hit.cx}, {"cy", v.hit.cy}, {"w", v.hit.w},
                    {"h", v.hit.h},   {"score", v.sq},  {"edge", v.edgeScore}};
}

}  // namespace

Json RectJson(const cv::Rect& rect) {
  return {{"x", rect.x}, {"y", rect.y}, {"w", rect.width}, {"h", rect.height}};
}

Json JsonReport(const Explanation& e) {
  Json json{{"type", "explanation"}, {"hit", e.IsHit()}, {"reason", Json()}, {"sentence", e.sentence}};
  if (e.reason) json["reason"] = CodeOf(*e.reason);
  json["spec"] = SpecOf(e);
  if (e.sight) AddSight(e, json);
  json["steps"] = Json::array();
  for (const Step& step : e.steps) json["steps"].push_back(JsonOf(step));
  json["remedies"] = Json::array();
  for (const Remedy& remedy : e.remedies)
    json["remedies"].push_back({{"change", remedy.change}, {"text", remedy.text}});
  return json;
}

}  // namespace quillmark::explain

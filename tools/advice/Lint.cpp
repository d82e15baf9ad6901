#include "advice/Lint.h"

#include <algorithm>
#include <string>

#include "advice/Checks.h"
#include "advice/NameOptions.h"
#include "explain/Explain.h"
#include "reasons/Reasons.h"
#include "text/Numbers.h"
#include "text/Printable.h"

namespace quillmark::advice {
namespace {

// Plain margin around a template when the spec is tried on it.
constexpr int kMargin = 8;

Subject Examine(const LintSpec& given) {
  if (!given.fault.empty()) return {given, {}, {}, {}};
  const explain::Explanation prepared = explain::PrepareExplanation(given.request);
  Subject subject{given, prepared.spec, prepared.reason, {}};
  if (prepared.reason) subject.remark = prepared.steps.back().remark;
  return subject;
}

void ReportRejection(const Subject& subject, FindingList& list) {
  const reasons::ReasonEntry& reason = reasons::EntryOf(*subject.rejected);
  std::string text(reason.meaning);
  if (!subject.remark.empty()) text += " (" + subject.remark + ")";
  list.Add(FindingCode::ImageRefused, text, {{"reason", std::string(reason.code)}},
           std::string(reason.remedy));
}

void CheckOne(const Subject& subject, const WindowPicture* window, const explain::Progress& progress,
              FindingList& list) {
  if (!subject.given.fault.empty()) {
    list.Add(FindingCode::EntryAtFault, subject.given.fault);
    return;
  }
  CheckTexts(subject, list);
  if (subject.rejected) {
    ReportRejection(subject, list);
    return;
  }
  cv::Mat framed;
  cv::copyMakeBorder(subject.spec.tmplBgr, framed, kMargin, kMargin, kMargin, kMargin, cv::BORDER_REPLICATE);
  const Probe own = ProbeOn(framed, subject.spec);
  CheckFile(subject, list);
  CheckTemplate(subject, own, list);
  CheckLimits(subject, own, list);
  CheckRegion(subject, own.verdict.Accepted() ? window : nullptr, progress, list);
}

// Whether both may search the same place: the same window, in regions that overlap.
bool MayMeet(const LintSpec& a, const LintSpec& b) {
  if (a.hasTarget && b.hasTarget && Lowered(a.request.target) != Lowered(b.request.target)) return false;
  return !a.hasRegion || !b.hasRegion || !(a.request.roi & b.request.roi).empty();
}

bool HaveSameName(const Subject& a, const Subject& b) {
  if (!a.given.fault.empty() || !b.given.fault.empty()) return false;
  return a.given.hasName && b.given.hasName && a.spec.name == b.spec.name;
}

// Tries `one` on the other's template.
void CheckPair(const Subject& one, const Subject& other, std::size_t otherIndex, FindingList& list) {
  if (!one.Usable() || !other.Usable() || !MayMeet(one.given, other.given)) return;
  const cv::Mat& shown = other.spec.tmplBgr;
  if (shown.cols < one.spec.tmplGray.cols || shown.rows < one.spec.tmplGray.rows) return;
  const Probe probe = ProbeOn(shown, one.spec);
  if (!probe.verdict.Accepted()) return;
  list.AddPair(FindingCode::MatchesOther, otherIndex,
               "with a difference of " + Digits(probe.verdict.dist) + ", at most " +
                   Digits(AcceptedDifference(probe.verdict, one.spec)),
               {{"difference", probe.verdict.dist}});
}

}  // namespace

std::string LabelOf(const LintSpec& spec) {
  return Printable(spec.hasName ? spec.request.name : spec.request.path);
}

std::vector<Finding> Lint(const std::vector<LintSpec>& specs, const WindowPicture* window,
                          const Progress& progress) {
  const std::size_t count = specs.size(), steps = window == nullptr ? 1 : explain::kLongSteps;
  const std::size_t total = count * steps + count * (count - std::min<std::size_t>(count, 1));
  std::size_t done = 0;
  const auto report = [&](std::size_t more) {
    if (progress) progress(done + more, total);
  };
  FindingList list;
  std::vector<Subject> subjects;
  for (std::size_t i = 0; i < count; ++i) {
    list.About(i);
    subjects.push_back(Examine(specs[i]));
    CheckOne(subjects.back(), window, report, list);
    done += steps;
    report(0);
  }
  for (std::size_t i = 0; i < count; ++i) {
    list.About(i);
    for (std::size_t j = 0; j < count; ++j) {
      if (i == j) continue;
      if (!HaveSameName(subjects[i], subjects[j])) {
        CheckPair(subjects[i], subjects[j], j, list);
      } else if (i < j) {
        list.AddPair(FindingCode::SameName, j, "both are named '" + Printable(subjects[i].spec.name) + "'");
      }
      ++done;
      report(0);
    }
  }
  return list.Take();
}

}  // namespace quillmark::advice

// The checks of lint. Each adds its findings to a list.
//
// Threading: callable from any thread; a list by one thread at a time.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "advice/Lint.h"
#include "advice/Probe.h"
#include "explain/Explain.h"

namespace quillmark::advice {

// A spec under examination.
struct Subject {
  const LintSpec& given;
  TemplateSpec spec;                        // what the worker makes of it
  std::optional<reasons::Reason> rejected;  // why its image cannot be used
  std::string remark;                       // details of that

  [[nodiscard]] bool Usable() const { return given.fault.empty() && !rejected; }
};

class FindingList {
 public:
  // The following findings are about this spec.
  void About(std::size_t spec) { about = spec; }
  void Add(FindingCode code, std::string text, std::vector<Fact> facts = {}, std::string remedy = {}) {
    findings.push_back({code, about, std::nullopt, std::move(text), std::move(facts), std::move(remedy)});
  }
  void AddPair(FindingCode code, std::size_t other, std::string text, std::vector<Fact> facts = {}) {
    findings.push_back({code, about, other, std::move(text), std::move(facts), {}});
  }
  [[nodiscard]] std::vector<Finding> Take() { return std::move(findings); }

 private:
  std::size_t about = 0;
  std::vector<Finding> findings;
};

// Lengths, name, options, target.
void CheckTexts(const Subject& subject, FindingList& list);

// The others need an image that was not rejected. `own` is a probe on the template itself.
void CheckFile(const Subject& subject, FindingList& list);
void CheckTemplate(const Subject& subject, const Probe& own, FindingList& list);
void CheckLimits(const Subject& subject, const Probe& own, FindingList& list);
// The region and, unless it is null, what the window shows there; reports the long steps of an explanation.
void CheckRegion(const Subject& subject, const WindowPicture* window, const explain::Progress& progress,
                 FindingList& list);

}  // namespace quillmark::advice

// The single checks of lint. Each adds what it finds.
//
// Threading: callable from any thread; one set of findings by one thread at a time.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "advice/Lint.h"
#include "advice/Probe.h"
#include "explain/Explain.h"

namespace quillmark::advice {

// One spec under examination.
struct Subject {
  const LintSpec& given;
  TemplateSpec spec;                       // what the worker makes of it
  std::optional<explain::Reason> refused;  // why its image is of no use
  std::string remark;                      // to that

  [[nodiscard]] bool Usable() const { return given.fault.empty() && !refused; }
};

class FindingList {
 public:
  // Findings are about this spec from now on.
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

// What follows is for a spec whose image was not refused.
// The image file.
void CheckFile(const Subject& subject, FindingList& list);
// The template and the limits; `own` is a probe on the template's own picture.
void CheckTemplate(const Subject& subject, const Probe& own, FindingList& list);
void CheckLimits(const Subject& subject, const Probe& own, FindingList& list);
void CheckHue(const Subject& subject, const Probe& own, FindingList& list);
// The region, and what the window, unless it is null, shows in it: in as many long steps as an explanation.
void CheckRegion(const Subject& subject, const WindowPicture* window, const explain::Progress& progress,
                 FindingList& list);

}  // namespace quillmark::advice

#include <string>
#include <vector>

#include "advice/Checks.h"
#include "advice/NameOptions.h"
#include "client/Command.h"
#include "specs/SpecOptions.h"
#include "specs/SpecStore.h"
#include "text/Numbers.h"
#include "text/Printable.h"

namespace quillmark::advice {
namespace {

bool IsLetter(wchar_t unit) {
  return (unit >= L'a' && unit <= L'z') || (unit >= L'A' && unit <= L'Z') || unit > L'\x7F';
}
bool IsSmall(wchar_t unit) {
  return unit >= L'a' && unit <= L'z';
}
bool IsCapital(wchar_t unit) {
  return unit >= L'A' && unit <= L'Z';
}

std::string Quoted(const std::wstring& text) {
  return "'" + Printable(text) + "'";
}

void CheckLength(const char* field, const std::wstring& text, std::size_t max, FindingList& list) {
  if (text.size() <= max) return;
  list.Add(FindingCode::TooLong,
           std::string(field) + " has " + std::to_string(text.size()) + " UTF-16 units; at most " +
               std::to_string(max) + " fit",
           {{"field", field}, {"units", text.size()}, {"most", max}});
}

void CheckLengths(const LintSpec& given, FindingList& list) {
  const explain::SpecRequest& request = given.request;
  if (given.hasTarget) CheckLength("target", request.target, client::TargetUnits, list);
  CheckLength("path", request.path, client::PathUnits, list);
  if (!given.hasName) return;
  CheckLength("name", request.name, client::NameUnits, list);
  CheckLength("name without options", request.name.substr(0, request.name.find(L':')), client::HitNameUnits,
              list);
}

// A record in which every option changes something.
TemplateSpec OddRecord() {
  TemplateSpec record;
  record.mode = static_cast<MatchMode>(-1);
  record.maxDiff = -1.0;
  record.intervalMs = record.frameDivisor = -1;
  record.monitorPin = -2;
  return record;
}

bool SameSettings(const TemplateSpec& a, const TemplateSpec& b) {
  return a.mode == b.mode && a.maxDiff == b.maxDiff && a.intervalMs == b.intervalMs &&
         a.frameDivisor == b.frameDivisor && a.monitorPin == b.monitorPin && a.colorGate == b.colorGate &&
         a.redHint == b.redHint;
}

// Whether the word has any effect.
bool HasMeaning(const std::wstring& word, bool suffix) {
  TemplateSpec record = OddRecord();
  record.name = L"x:" + word;
  if (suffix) ApplyNameSuffix(record);
  ApplyNameOptions(record);
  return !SameSettings(record, OddRecord());
}

// What the word was probably meant to be; empty if unknown.
std::string HintFor(const std::wstring& word) {
  const std::wstring lowered = Lowered(word);
  for (const wchar_t* mode : {L"gray", L"bgr", L"s", L"h", L"hs"}) {
    if (lowered == mode) return "write mode=" + WellFormed(mode);
  }
  const auto begins = [&](const wchar_t* text) { return lowered.starts_with(text); };
  if (begins(L"ms") || begins(L"fps")) return "write the number directly after it, as in ms150";
  if (begins(L"sq")) return "write sq= and a number above 0 and below 1, with a decimal point";
  if (begins(L"mode")) return "the modes are gray, bgr, s, h and hs";
  if (begins(L"mon")) return "write mon=primary, or mon= and a number from 1";
  return {};
}

void CheckMeaning(const NameOptions& options, FindingList& list) {
  for (const std::wstring& word : options.words) {
    if (HasMeaning(word, options.suffix)) continue;
    std::string hint = HintFor(word);
    if (options.suffix) hint = "MS needs a number of at least two digits, FPS one of at least 1";
    list.Add(FindingCode::OptionIgnored, Quoted(word) + " is ignored" + (hint.empty() ? "" : "; " + hint),
             {{"word", WellFormed(word)}});
  }
}

// The record with these options applied.
TemplateSpec Applied(const TemplateSpec& record, const std::vector<std::wstring>& words) {
  TemplateSpec result = record;
  result.name = Joined(L"x", words);
  ApplyNameOptions(result);
  return result;
}

// A word that changes something when repeated at the end was overridden by a later one. Presets are meant to
// be refined by later words.
void CheckOverridden(const LintSpec& given, const NameOptions& options, FindingList& list) {
  if (options.suffix || options.words.empty()) return;
  const explain::SpecRequest& request = given.request;
  const TemplateSpec before = SpecOfCommand({}, L"x", {}, 0, 0, 1, 1, request.edgeMin, request.threshold);
  const TemplateSpec after = Applied(before, options.words);
  for (const std::wstring& word : options.words) {
    if (Lowered(word) == L"fast" || Lowered(word) == L"strict") continue;
    std::vector<std::wstring> again = options.words;
    again.push_back(word);
    if (SameSettings(Applied(before, again), after)) continue;
    list.Add(FindingCode::OptionOverridden, Quoted(word) + " is overridden by a later option",
             {{"word", WellFormed(word)}});
  }
  const bool isDifference = request.threshold >= 0.0f && request.threshold <= 0.5f;
  if (isDifference && after.maxDiff != before.maxDiff) {
    list.Add(FindingCode::OptionOverridden,
             "the options change the threshold's difference from " + Digits(before.maxDiff) + " to " +
                 Digits(after.maxDiff),
             {{"threshold", before.maxDiff}, {"difference", after.maxDiff}});
  }
}

// Whether the three letters at `at` are a separate word: "red-button", "RedButton", "button_red".
bool IsWord(const std::wstring& text, std::size_t at) {
  const std::size_t end = at + 3;
  const bool begins = at == 0 || !IsLetter(text[at - 1]) || (IsSmall(text[at - 1]) && IsCapital(text[at]));
  const bool ends =
      end == text.size() || !IsLetter(text[end]) || (IsSmall(text[end - 1]) && IsCapital(text[end]));
  return begins && ends;
}

void CheckRed(const LintSpec& given, FindingList& list) {
  TemplateSpec record;
  record.name = given.request.name;
  ApplyNameSuffix(record);
  if (record.redHint) return;  // the suffix asks for it
  const std::wstring lowered = Lowered(record.name);
  std::size_t at = lowered.find(L"red");
  const std::size_t first = at;
  for (; at != std::wstring::npos; at = lowered.find(L"red", at + 1)) {
    if (IsWord(record.name, at)) return;
  }
  if (first == std::wstring::npos) return;
  list.Add(FindingCode::RedInName, "red handling is on because of " + Quoted(record.name),
           {{"position", first}});
}

void CheckName(const LintSpec& given, FindingList& list) {
  const std::wstring& name = given.request.name;
  const NameOptions options = ReadNameOptions(name);
  if (options.base.empty()) list.Add(FindingCode::NameEmpty, "the name is " + Quoted(name));
  if (options.base == L"T1") list.Add(FindingCode::NameT1, "the name is " + Quoted(name));
  CheckMeaning(options, list);
  CheckOverridden(given, options, list);
  CheckRed(given, list);
}

void CheckTarget(const std::wstring& target, FindingList& list) {
  if (target.empty()) {
    list.Add(FindingCode::TargetEmpty, "the target is empty");
    return;
  }
  const bool program = target.size() > 4 && (target.ends_with(L".exe") || target.ends_with(L".EXE"));
  if (!program && Lowered(target).ends_with(L".exe")) {
    list.Add(FindingCode::TargetExeCase, Quoted(target) + " is searched for in window titles");
  }
}

}  // namespace

void CheckTexts(const Subject& subject, FindingList& list) {
  CheckLengths(subject.given, list);
  if (subject.given.hasName) CheckName(subject.given, list);
  if (subject.given.hasTarget) CheckTarget(subject.given.request.target, list);
}

}  // namespace quillmark::advice

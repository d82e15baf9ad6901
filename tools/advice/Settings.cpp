#include "advice/Settings.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "advice/NameOptions.h"
#include "core/Gates.h"
#include "explain/Reports.h"
#include "specs/SpecOptions.h"
#include "specs/SpecStore.h"
#include "specs/Utf8.h"
#include "text/Numbers.h"
#include "text/Printable.h"

namespace quillmark::advice {
namespace {

// A threshold above this is a minimum score.
constexpr double kHalf = 0.5;
// Smaller differences need a minimum score.
double SmallestDifferenceLimit(const TemplateSpec& spec) {
  TemplateSpec strictest = spec;
  strictest.maxDiff = 0.0;
  return DifferenceLimit({strictest, false, {}}).Value();
}

bool IsDifferenceWord(const std::wstring& word) {
  return Lowered(word).starts_with(L"sq=");
}
bool IsPreset(const std::wstring& word) {
  return Lowered(word) == L"fast" || Lowered(word) == L"strict";
}
bool IsInterval(const std::wstring& word) {
  return Lowered(word).starts_with(L"ms") || Lowered(word).starts_with(L"fps");
}

// The words that set neither mode nor limits; none for a suffix that has no equivalent.
std::optional<std::vector<std::wstring>> OtherWords(const explain::SpecRequest& from) {
  const NameOptions options = ReadNameOptions(from.name);
  const TemplateSpec spec = SpecOf(from);
  std::vector<std::wstring> words;
  if (options.suffix) {
    if (spec.frameDivisor > 1) return std::nullopt;
    if (options.words.front() == L"RED") words.emplace_back(L"red");
  } else {
    std::ranges::copy_if(options.words, std::back_inserter(words), [](const std::wstring& word) {
      return !IsDifferenceWord(word) && !IsPreset(word) && !Lowered(word).starts_with(L"mode=");
    });
  }
  if (spec.intervalMs > 0 && std::ranges::none_of(words, IsInterval)) {
    words.push_back(L"ms" + std::to_wstring(spec.intervalMs));
  }
  return words;
}

bool InMiddleHalf(double limit, const Separation& range) {
  return std::abs(limit - range.Middle()) <= range.Margin() / 2.0;
}

// Uses a minimum score where a hue mode would raise the difference, sq= after a preset that would change it.
void SetDifference(explain::SpecRequest& request, double difference) {
  NameOptions options = ReadNameOptions(request.name);
  if (!options.suffix) std::erase_if(options.words, IsDifferenceWord);
  const bool preset = !options.suffix && std::ranges::any_of(options.words, IsPreset);
  request.name = Joined(options.base, options.words);
  if (difference < SmallestDifferenceLimit(SpecOf(request))) {
    request.threshold = static_cast<float>(1.0 - difference);
  } else if (preset || difference > kHalf) {
    request.name += L":sq=" + FromUtf8(Digits(difference, 6));
    request.threshold = -1.0f;
  } else {
    request.threshold = static_cast<float>(difference);
  }
}

std::string RemarkOn(const explain::SpecRequest& request, const explain::SpecRequest& from) {
  const TemplateSpec now = SpecOf(from), then = SpecOf(request);
  if (IsHueMode(then.mode)) return "a hue mode compares nothing else";
  std::string remark;
  if (then.colorGate && !now.colorGate) remark = "strict: grey values and edges no longer decide";
  if (then.intervalMs != now.intervalMs) {
    remark += (remark.empty() ? "" : "; ") + std::string("due every ") + std::to_string(then.intervalMs) +
              " ms unless an ms or fps option precedes it";
  }
  return remark;
}

}  // namespace

TemplateSpec SpecOf(const explain::SpecRequest& request) {
  TemplateSpec spec =
      SpecOfCommand(request.target, request.name, request.path, request.roi.x, request.roi.y,
                    request.roi.width, request.roi.height, request.edgeMin, request.threshold);
  ApplyNameOptions(spec);
  return spec;
}

Setting SettingFor(const explain::SpecRequest& variant, const explain::SpecRequest& from,
                   const LimitRanges& ranges) {
  Setting setting;
  setting.request = variant;
  explain::SpecRequest& request = setting.request;
  setting.difference = ranges.inForce;
  if (!InMiddleHalf(ranges.inForce, ranges.difference)) {
    setting.difference = RoundLimit(ranges.difference);
    SetDifference(request, setting.difference);
  }
  if (ranges.edgeMin) {
    setting.edgeMin = RoundLimit(*ranges.edgeMin);
    request.edgeMin = static_cast<float>(*setting.edgeMin);
  }

  const auto change = [&](const char* option, const std::string& value) {
    setting.changes.push_back(std::string(option) + " " + value);
  };
  if (request.name != from.name) change("--name", WellFormed(request.name));
  if (request.threshold != from.threshold) {
    if (request.threshold < 0.0f) {
      setting.changes.emplace_back("no --threshold");
    } else {
      change("--threshold", Digits(static_cast<double>(request.threshold), 6));
    }
  }
  if (request.edgeMin != from.edgeMin) change("--edge-min", Digits(static_cast<double>(request.edgeMin), 6));
  setting.remark = RemarkOn(request, from);
  return setting;
}

std::vector<explain::SpecRequest> OtherModes(const explain::SpecRequest& from) {
  std::vector<explain::SpecRequest> requests;
  const std::optional<std::vector<std::wstring>> others = OtherWords(from);
  if (!others) return requests;
  const TemplateSpec now = SpecOf(from);
  const std::wstring base = ReadNameOptions(from.name).base;
  const auto add = [&](MatchMode mode, bool strict) {
    if (mode == now.mode && (strict == now.colorGate || now.redHint)) return;
    std::vector<std::wstring> words = *others;
    if (strict) words.emplace_back(L"strict");
    words.push_back(L"mode=" + FromUtf8(explain::WordOf(mode)));
    explain::SpecRequest request = from;
    request.name = Joined(base, words);
    request.threshold = -1.0f;
    requests.push_back(std::move(request));
  };
  using enum MatchMode;
  for (const MatchMode mode : {Gray, Bgr, S, HS, H}) add(mode, false);
  if (now.redHint) return requests;
  for (const MatchMode mode : {Gray, Bgr, S}) add(mode, true);
  return requests;
}

}  // namespace quillmark::advice

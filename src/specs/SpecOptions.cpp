#include "specs/SpecOptions.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace quillmark {
namespace {

using namespace std::string_view_literals;

constexpr int kMonitorFramesPerSecond = 30;

// The number that `text` begins with, after blanks and a sign, clamped to 32 bits; 0 without digits.
std::int32_t SuffixNumber(const wchar_t* text) {
  const long long value = std::wcstoll(text, nullptr, 10);
  return static_cast<std::int32_t>(std::clamp<long long>(value, std::numeric_limits<std::int32_t>::min(),
                                                         std::numeric_limits<std::int32_t>::max()));
}

// Applies the suffix; false when it is unknown.
bool ReadSuffix(TemplateSpec& spec, const std::wstring& suffix) {
  const bool hasNumber = suffix.size() > 3;  // "MS5" is a suffix, but sets nothing
  if (suffix == L"H") {
    spec.mode = MatchMode::H;
  } else if (suffix == L"HS") {
    spec.mode = MatchMode::HS;
  } else if (suffix == L"BGR") {
    spec.mode = MatchMode::Bgr;
  } else if (suffix == L"S") {
    spec.mode = MatchMode::S;
  } else if (suffix == L"GRAY") {
    spec.mode = MatchMode::Gray;
  } else if (suffix == L"RED") {
    spec.redHint = true;
  } else if (suffix.starts_with(L"FPS")) {
    const std::int32_t rate = hasNumber ? SuffixNumber(suffix.c_str() + 3) : 0;
    if (rate > 0) spec.frameDivisor = std::max(1, (rate / 2 + kMonitorFramesPerSecond) / rate);
  } else if (suffix.starts_with(L"MS")) {
    const std::int32_t interval = hasNumber ? SuffixNumber(suffix.c_str() + 2) : 0;
    if (interval > 0) spec.intervalMs = interval;
  } else {
    return false;
  }
  return true;
}

// A to Z only, whatever the locale.
std::wstring Lowered(std::wstring text) {
  for (wchar_t& unit : text) {
    if (unit >= L'A' && unit <= L'Z') unit = static_cast<wchar_t>(unit - L'A' + L'a');
  }
  return text;
}

// The number that `text` begins with, after blanks and a sign; none when missing or out of range.
std::optional<int> LeadingInteger(const std::wstring& text) {
  try {
    return std::stoi(text);
  } catch (const std::logic_error&) {
    return std::nullopt;
  }
}

std::optional<double> LeadingReal(const std::wstring& text) {
  try {
    return std::stod(text);
  } catch (const std::logic_error&) {
    return std::nullopt;
  }
}

void SetMode(TemplateSpec& spec, const std::wstring& word) {
  if (word == L"bgr") spec.mode = MatchMode::Bgr;
  if (word == L"gray") spec.mode = MatchMode::Gray;
  if (word == L"s") spec.mode = MatchMode::S;
  if (word == L"h") spec.mode = MatchMode::H;
  if (word == L"hs") spec.mode = MatchMode::HS;
}

void PinMonitor(TemplateSpec& spec, const std::wstring& word) {
  if (word == L"primary") {
    spec.monitorPin = -1;
  } else if (const auto number = LeadingInteger(word); number && *number >= 1) {
    spec.monitorPin = *number;
  }
}

void SetFast(TemplateSpec& spec) {
  if (spec.intervalMs < 1) spec.intervalMs = 20;
  if (spec.mode == MatchMode::Gray) spec.mode = MatchMode::Bgr;
  spec.maxDiff = std::max(spec.maxDiff, 0.2);
}

void SetStrict(TemplateSpec& spec) {
  if (spec.intervalMs < 1) spec.intervalMs = 200;
  if (spec.mode == MatchMode::Gray) spec.mode = MatchMode::HS;
  spec.colorGate = true;
  spec.maxDiff = std::min(spec.maxDiff, 0.08);
}

void ApplyWord(TemplateSpec& spec, const std::wstring& word) {
  if (word.starts_with(L"ms"sv)) {
    if (const auto ms = LeadingInteger(word.substr(2)); ms && *ms > 0) spec.intervalMs = *ms;
  } else if (word.starts_with(L"fps"sv)) {
    if (const auto rate = LeadingInteger(word.substr(3)); rate && *rate > 0) {
      spec.intervalMs = std::max(1, 1000 / *rate);
    }
  } else if (word.starts_with(L"sq="sv)) {
    if (const auto diff = LeadingReal(word.substr(3)); diff && *diff > 0.0 && *diff < 1.0)
      spec.maxDiff = *diff;
  } else if (word.starts_with(L"mode="sv)) {
    SetMode(spec, word.substr(5));
  } else if (word.starts_with(L"mon="sv)) {
    PinMonitor(spec, word.substr(4));
  } else if (word == L"fast"sv) {
    SetFast(spec);
  } else if (word == L"strict"sv) {
    SetStrict(spec);
  }
}

void HandleRed(TemplateSpec& spec) {
  spec.redHint = true;
  spec.colorGate = true;
  spec.chromaChannel = 1;
  spec.chromaMin = 0.88;
}

}  // namespace

void ApplyNameSuffix(TemplateSpec& spec) {
  const std::size_t colon = spec.name.find(L':');
  if (colon == std::wstring::npos) return;
  if (ReadSuffix(spec, spec.name.substr(colon + 1))) spec.name.resize(colon);
}

void ApplyNameOptions(TemplateSpec& spec) {
  const std::wstring lowered = Lowered(spec.name);
  const std::size_t nameEnd = std::min(lowered.find(L':'), lowered.size());
  for (std::size_t colon = nameEnd; colon < lowered.size();) {
    const std::size_t next = std::min(lowered.find(L':', colon + 1), lowered.size());
    ApplyWord(spec, lowered.substr(colon + 1, next - colon - 1));
    colon = next;
  }
  spec.name.resize(nameEnd);
  if (spec.redHint || lowered.find(L"red"sv) != std::wstring::npos) HandleRed(spec);
}

}  // namespace quillmark

#include "specs/SpecStore.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "log/AsyncLogger.h"
#include "specs/SpecOptions.h"
#include "specs/TemplatePreparation.h"
#include "specs/Utf8.h"

namespace quillmark {

SpecStore& Specs() {
  static SpecStore store;
  return store;
}

TemplateSpec SpecOfCommand(const std::wstring& target, const std::wstring& name, const std::wstring& path,
                           int x, int y, int width, int height, float edgeMin, float threshold) {
  TemplateSpec spec;
  spec.name = name;
  spec.target = target;
  spec.path = path;
  spec.roi = cv::Rect(x, y, width, height);
  spec.edgeMin = edgeMin;
  if (threshold >= 0.0f && threshold <= 1.0f) (threshold > 0.5f ? spec.minScore : spec.maxDiff) = threshold;
  ApplyNameSuffix(spec);
  return spec;
}

void LoadSpec(const std::wstring& target, const std::wstring& name, const std::wstring& path, int x, int y,
              int width, int height, float edgeMin, float threshold) {
  TemplateSpec spec = SpecOfCommand(target, name, path, x, y, width, height, edgeMin, threshold);
  try {
    if (!PrepareTemplate(spec)) {
      AsyncLogger::StandardOutput().Print(L"[Spec] Load failed: " + path);
      return;
    }
    AddOrReplaceSpec(spec);
  } catch (const std::exception& error) {
    LogLine(L"[Spec][ERROR] name=", name, L" path=", path, L" (", CauseOf(error), L")");
    throw;
  }
}

void AddOrReplaceSpec(TemplateSpec& spec) {
  const std::wstring fullName = spec.name;
  const bool prepared = PrepareTemplate(spec);
  const std::wstring shownPath = DisplayPath(spec.path);
  if (!prepared) {
    LogLine(L"[Spec][FAIL] name=", fullName, L" path=", shownPath, L" (Load failed)");
    return;
  }
  ApplyNameOptions(spec);
  if (spec.monitorPin != 0) LogLine(L"[Spec][MON] name=", fullName, L" hint=", spec.monitorPin);

  SpecStore& store = Specs();
  const std::lock_guard lock(store.specMutex);
  auto& specs = store.specs;
  const auto same =
      std::find_if(specs.begin(), specs.end(), [&](const auto& other) { return other.name == spec.name; });
  const std::wstring name = spec.name;
  const wchar_t* tag = L"[Spec][ADD] name=";
  spec.revision = store.changes + 1;
  if (same != specs.end()) {
    *same = std::move(spec);
    tag = L"[Spec][REPLACE] name=";
  } else {
    specs.push_back(std::move(spec));
  }
  store.NoteChange();
  LogLine(tag, name, L" path=", shownPath, L" (count=", specs.size(), L")");
}

void RemoveSpec(const std::wstring& name) {
  SpecStore& store = Specs();
  const std::lock_guard lock(store.specMutex);
  const std::size_t removed = std::erase_if(store.specs, [&](const auto& spec) { return spec.name == name; });
  if (removed > 0) {
    store.NoteChange();
    LogLine(L"[Spec][REMOVE] name=", name, L" (count=", store.specs.size(), L")");
  } else {
    LogLine(L"[Spec][REMOVE-NOTFOUND] name=", name);
  }
}

void ClearSpecs(const wchar_t* reason) {
  SpecStore& store = Specs();
  const std::lock_guard lock(store.specMutex);
  store.specs.clear();
  store.NoteChange();
  LogLine(L"[Spec][CLEAR] reason=", reason, L" (count=", store.specs.size(), L")");
}

std::wstring DisplayPath(const std::wstring& path) {
  const std::string bytes = ToUtf8(path);
  const std::filesystem::path given(std::u8string(bytes.begin(), bytes.end()));
  std::error_code error;
  std::filesystem::path shown = std::filesystem::weakly_canonical(given, error);
  if (error) shown = std::filesystem::absolute(given, error);
  if (error) return path;
  const std::u8string text = shown.u8string();
  return FromUtf8(std::string(text.begin(), text.end()));
}

}  // namespace quillmark

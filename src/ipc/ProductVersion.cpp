#include "ipc/ProductVersion.h"

#include <windows.h>

// After windows.h, which it builds on.
#include <winver.h>

#include <cstddef>
#include <cwchar>
#include <iterator>
#include <optional>
#include <vector>

namespace quillmark {

namespace {

struct Translation {
  WORD language;
  WORD codePage;
};

std::vector<std::byte> VersionBlockOfThisProgram() {
  wchar_t path[MAX_PATH] = {};
  ::GetModuleFileNameW(nullptr, path, static_cast<DWORD>(std::size(path)));
  DWORD ignored = 0;
  const DWORD size = ::GetFileVersionInfoSizeW(path, &ignored);
  std::vector<std::byte> block(size);
  if (size == 0 || !::GetFileVersionInfoW(path, 0, size, block.data())) return {};
  return block;
}

// The text under the first language that the block lists.
std::optional<std::wstring> ProductVersionText(std::vector<std::byte>& block) {
  void* value = nullptr;
  UINT length = 0;
  if (!::VerQueryValueW(block.data(), L"\\VarFileInfo\\Translation", &value, &length) || value == nullptr ||
      length < sizeof(Translation)) {
    return std::nullopt;
  }
  const auto& translation = *static_cast<const Translation*>(value);
  wchar_t query[64];
  std::swprintf(query, std::size(query), L"\\StringFileInfo\\%04x%04x\\ProductVersion",
                static_cast<unsigned>(translation.language), static_cast<unsigned>(translation.codePage));
  value = nullptr;
  length = 0;
  if (!::VerQueryValueW(block.data(), query, &value, &length) || value == nullptr || length == 0) {
    return std::nullopt;
  }
  // The length counts the terminator.
  return std::wstring(static_cast<const wchar_t*>(value), length - 1);
}

std::optional<std::wstring> FileVersionNumbers(std::vector<std::byte>& block) {
  void* value = nullptr;
  UINT length = 0;
  if (!::VerQueryValueW(block.data(), L"\\", &value, &length) || value == nullptr) return std::nullopt;
  const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(value);
  const auto number = [](WORD part) { return std::to_wstring(part); };
  return number(HIWORD(info.dwFileVersionMS)) + L"." + number(LOWORD(info.dwFileVersionMS)) + L"." +
         number(HIWORD(info.dwFileVersionLS)) + L"." + number(LOWORD(info.dwFileVersionLS));
}

}  // namespace

std::wstring GetProductVersionString() {
  std::vector<std::byte> block = VersionBlockOfThisProgram();
  if (!block.empty()) {
    if (auto text = ProductVersionText(block)) return *text;
    if (auto numbers = FileVersionNumbers(block)) return *numbers;
  }
  return L"" QUILLMARK_VERSION;
}

}  // namespace quillmark

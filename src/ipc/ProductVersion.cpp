#include "ipc/ProductVersion.h"

#include <windows.h>

// Needs windows.h.
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

// A value of the block and its length; null when there is none.
struct Value {
  const void* data = nullptr;
  UINT length = 0;
};
Value Query(const std::vector<std::byte>& block, const wchar_t* path) {
  void* data = nullptr;
  UINT length = 0;
  if (!::VerQueryValueW(block.data(), path, &data, &length)) return {};
  return {data, length};
}

// The text under the first language that the block lists.
std::optional<std::wstring> ProductVersionText(const std::vector<std::byte>& block) {
  const Value languages = Query(block, L"\\VarFileInfo\\Translation");
  if (languages.data == nullptr || languages.length < sizeof(Translation)) return std::nullopt;
  const auto& first = *static_cast<const Translation*>(languages.data);
  wchar_t path[64];
  std::swprintf(path, std::size(path), L"\\StringFileInfo\\%04x%04x\\ProductVersion",
                static_cast<unsigned>(first.language), static_cast<unsigned>(first.codePage));
  const Value text = Query(block, path);
  if (text.data == nullptr || text.length == 0) return std::nullopt;
  return std::wstring(static_cast<const wchar_t*>(text.data), text.length - 1);  // it counts the terminator
}

std::optional<std::wstring> FileVersionNumbers(const std::vector<std::byte>& block) {
  const Value value = Query(block, L"\\");
  if (value.data == nullptr) return std::nullopt;
  const auto& info = *static_cast<const VS_FIXEDFILEINFO*>(value.data);
  const auto number = [](WORD part) { return std::to_wstring(part); };
  return number(HIWORD(info.dwFileVersionMS)) + L"." + number(LOWORD(info.dwFileVersionMS)) + L"." +
         number(HIWORD(info.dwFileVersionLS)) + L"." + number(LOWORD(info.dwFileVersionLS));
}

}  // namespace

std::wstring GetProductVersionString() {
  const std::vector<std::byte> block = VersionBlockOfThisProgram();
  if (!block.empty()) {
    if (auto text = ProductVersionText(block)) return *text;
    if (auto numbers = FileVersionNumbers(block)) return *numbers;
  }
  return L"" QUILLMARK_VERSION;
}

}  // namespace quillmark

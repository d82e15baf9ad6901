// Scripted version calls: this program's definitions replace the platform's.
#include "ipc/ProductVersion.h"

#include <gtest/gtest.h>
#include <windows.h>

// Needs windows.h.
#include <winver.h>

#include <cstring>
#include <string>

namespace {

struct Resource {
  DWORD size = 0;  // 0 for no version resource
  bool readable = true;
  UINT translationBytes = 0;
  WORD language = 0x0409, codePage = 0x04B0;
  const wchar_t* productVersion = nullptr;  // under \StringFileInfo\040904b0
  bool hasFixedInfo = false;
};
Resource resource;

}  // namespace

extern "C" DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD) {
  EXPECT_NE(std::wstring(path).find(L"version"), std::wstring::npos) << "this program's name";
  return resource.size;
}

extern "C" BOOL WINAPI GetFileVersionInfoW(LPCWSTR, DWORD, DWORD size, LPVOID) {
  return size == resource.size && resource.readable;
}

extern "C" BOOL WINAPI VerQueryValueW(LPCVOID, LPCWSTR query, LPVOID* value, UINT* length) {
  const std::wstring asked = query;
  if (asked == L"\\VarFileInfo\\Translation" && resource.translationBytes > 0) {
    static WORD translation[4];
    translation[0] = resource.language;
    translation[1] = resource.codePage;
    *value = translation;
    *length = resource.translationBytes;
    return TRUE;
  }
  if (asked == L"\\StringFileInfo\\040904b0\\ProductVersion" && resource.productVersion != nullptr) {
    *value = const_cast<wchar_t*>(resource.productVersion);
    const std::size_t units = std::wcslen(resource.productVersion);
    *length = units == 0 ? 0 : static_cast<UINT>(units + 1);
    return TRUE;
  }
  if (asked == L"\\" && resource.hasFixedInfo) {
    static VS_FIXEDFILEINFO info{};
    info.dwFileVersionMS = 0x00010002;
    info.dwFileVersionLS = 0xFFFF0000;
    *value = &info;
    *length = sizeof info;
    return TRUE;
  }
  return FALSE;
}

namespace quillmark::test {
namespace {

TEST(ProductVersion, TakesTheTextThenTheNumbersThenTheBuildsOwn) {
  const std::wstring fallback = L"" QUILLMARK_VERSION, numbers = L"1.2.65535.0";
  const struct {
    const char* what;
    Resource resource;
    std::wstring version;
  } cases[] = {
      {"no resource", {}, fallback},
      {"unreadable resource", {100, false, 4, 0x0409, 0x04B0, L"9.8.7", true}, fallback},
      {"empty resource", {100}, fallback},
      {"text", {100, true, 4, 0x0409, 0x04B0, L"9.8.7 beta", true}, L"9.8.7 beta"},
      {"two languages", {100, true, 8, 0x0409, 0x04B0, L"9.8.7", true}, L"9.8.7"},
      {"half a language", {100, true, 3, 0x0409, 0x04B0, L"9.8.7", true}, numbers},
      {"other language", {100, true, 4, 0x0412, 0x04B0, L"9.8.7", true}, numbers},
      {"empty text", {100, true, 4, 0x0409, 0x04B0, L"", true}, numbers},
      {"no language", {100, true, 0, 0x0409, 0x04B0, L"9.8.7", true}, numbers},
      {"text without language or numbers", {100, true, 0, 0x0409, 0x04B0, L"9.8.7", false}, fallback},
  };
  for (const auto& c : cases) {
    resource = c.resource;
    EXPECT_EQ(GetProductVersionString(), c.version) << c.what;
  }
}

}  // namespace
}  // namespace quillmark::test

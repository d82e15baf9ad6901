// The version calls. They know one program, the running one.
#include <windows.h>

#include <winver.h>

#include <algorithm>
#include <cwchar>
#include <iterator>
#include <string>

#include "host/Paths.h"
#include "kernel32/Errors.h"
#include "version/ProgramVersion.h"

namespace quillmark::layer {
namespace {

// What GetFileVersionInfoW writes and VerQueryValueW points into.
struct VersionInfo {
  VS_FIXEDFILEINFO fixed;
  WORD translation[2];
  wchar_t text[std::size(ProgramVersion{}.text)];
  wchar_t product[std::size(ProgramVersion{}.product)];
};

bool HasVersion(LPCWSTR path) {
  return &programVersion != nullptr && path != nullptr && HostPath(path) == ProgramOfProcess("self");
}

VersionInfo Describe(const ProgramVersion& program) {
  constexpr DWORD signature = 0xFEEF04BD, structureVersion = 0x00010000;
  constexpr WORD usEnglish = 0x0409, unicode = 0x04B0;
  const WORD* const n = program.numbers;
  VersionInfo info{{signature, structureVersion, DWORD{n[0]} << 16 | n[1], DWORD{n[2]} << 16 | n[3]},
                   {usEnglish, unicode},
                   {},
                   {}};
  std::ranges::copy(program.text, info.text);
  std::ranges::copy(program.product, info.product);
  return info;
}

}  // namespace
}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD ignored) {
  if (ignored) *ignored = 0;
  return HasVersion(path) ? DWORD{sizeof(VersionInfo)} : Fail(ERROR_RESOURCE_TYPE_NOT_FOUND, DWORD{0});
}

extern "C" BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD, DWORD size, LPVOID data) {
  if (!data) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  if (!HasVersion(path)) return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND, FALSE);
  if (size < sizeof(VersionInfo)) return Fail(ERROR_INSUFFICIENT_BUFFER, FALSE);
  *static_cast<VersionInfo*>(data) = Describe(programVersion);
  return TRUE;
}

extern "C" BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR query, LPVOID* value, UINT* length) {
  if (!block || !query || !value || !length) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const auto& info = *static_cast<const VersionInfo*>(block);
  const auto unitsOf = [](const wchar_t* text) { return static_cast<UINT>(std::wcslen(text) + 1); };
  const struct {
    LPCWSTR query;
    const void* value;
    UINT length;  // of a text in units, with its terminator; else in bytes
  } answers[] = {
      {L"\\", &info.fixed, sizeof info.fixed},
      {L"\\VarFileInfo\\Translation", info.translation, sizeof info.translation},
      {L"\\StringFileInfo\\040904b0\\FileVersion", info.text, unitsOf(info.text)},
      {L"\\StringFileInfo\\040904b0\\ProductVersion", info.text, unitsOf(info.text)},
      {L"\\StringFileInfo\\040904b0\\ProductName", info.product, unitsOf(info.product)},
  };
  for (const auto& answer : answers) {
    if (::wcscasecmp(answer.query, query) != 0) continue;
    *value = const_cast<void*>(answer.value);  // as the platform declares it
    *length = answer.length;
    return TRUE;
  }
  return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND, FALSE);
}

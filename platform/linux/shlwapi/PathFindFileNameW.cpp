#include <shlwapi.h>

extern "C" LPWSTR WINAPI PathFindFileNameW(LPCWSTR path) {
  const auto separates = [](wchar_t c) { return c == L'\\' || c == L'/'; };
  LPCWSTR name = path;
  for (LPCWSTR p = path; *p; ++p) {
    const bool ends = separates(*p) || *p == L':';
    if (ends && p[1] && !separates(p[1])) name = p + 1;
  }
  return const_cast<LPWSTR>(name);  // as the platform declares it
}

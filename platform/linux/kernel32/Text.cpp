// The platform's conversions between UTF-16 and UTF-8.
#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwchar>
#include <string>

#include "host/Text.h"
#include "kernel32/Errors.h"

namespace quillmark::layer {
namespace {

// Returns a converted text as both calls do: its length alone, the whole text, or failure.
template <typename Char>
int Deliver(const std::basic_string<Char>& text, Char* target, int capacity) {
  if (text.size() > INT_MAX) return Fail(ERROR_INVALID_PARAMETER, 0);
  const int length = static_cast<int>(text.size());
  if (capacity == 0) return length;
  if (length > capacity) return Fail(ERROR_INSUFFICIENT_BUFFER, 0);
  std::copy(text.begin(), text.end(), target);
  return length;
}

}  // namespace
}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideLength,
                                          LPSTR bytes, int byteCapacity, LPCSTR defaultChar,
                                          LPBOOL usedDefaultChar) {
  if (codePage != CP_UTF8 || defaultChar || usedDefaultChar || !wide || wideLength == 0 || wideLength < -1 ||
      byteCapacity < 0 || (byteCapacity > 0 && !bytes)) {
    return Fail(ERROR_INVALID_PARAMETER, 0);
  }
  if ((flags & ~WC_ERR_INVALID_CHARS) != 0) return Fail(ERROR_INVALID_FLAGS, 0);
  // A length of -1 means up to the terminator, which is then converted too.
  const std::size_t units = wideLength == -1 ? std::wcslen(wide) + 1 : static_cast<std::size_t>(wideLength);
  bool valid = true;
  const std::string text = ToUtf8({wide, units}, &valid);
  if (!valid && (flags & WC_ERR_INVALID_CHARS)) return Fail(ERROR_NO_UNICODE_TRANSLATION, 0);
  return Deliver(text, bytes, byteCapacity);
}

extern "C" int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR bytes, int byteLength,
                                          LPWSTR wide, int wideCapacity) {
  if (codePage != CP_UTF8 || !bytes || byteLength == 0 || byteLength < -1 || wideCapacity < 0 ||
      (wideCapacity > 0 && !wide)) {
    return Fail(ERROR_INVALID_PARAMETER, 0);
  }
  if ((flags & ~MB_ERR_INVALID_CHARS) != 0) return Fail(ERROR_INVALID_FLAGS, 0);
  const std::size_t length = byteLength == -1 ? std::strlen(bytes) + 1 : static_cast<std::size_t>(byteLength);
  bool valid = true;
  const std::wstring text = FromUtf8({bytes, length}, &valid);
  if (!valid && (flags & MB_ERR_INVALID_CHARS)) return Fail(ERROR_NO_UNICODE_TRANSLATION, 0);
  return Deliver(text, wide, wideCapacity);
}

#include <windows.h>

#include <string>
#include <string_view>

#include "desktop/WarningBox.h"
#include "host/StandardStream.h"
#include "host/Text.h"
#include "kernel32/Errors.h"

namespace {

// The product's one warning, and its translation for systems without a Korean font.
constexpr std::wstring_view kAlreadyRunning =
    L"Quillmark.exe\xAC00 \xC774\xBBF8 \xC2E4\xD589 \xC911\xC785\xB2C8\xB2E4.\n"
    L"\xC885\xB8CC \xB41C \xD6C4 \xB2E4\xC2DC \xC2E4\xD589\xD574 \xC8FC\xC138\xC694.";
constexpr std::wstring_view kAlreadyRunningInEnglish =
    L"Quillmark.exe is already running.\nPlease start it again after it has ended.";

}  // namespace

int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type) {
  using quillmark::layer::Fail;
  if (owner != nullptr || text == nullptr || caption == nullptr || type != (MB_ICONWARNING | MB_TOPMOST)) {
    return Fail(ERROR_INVALID_PARAMETER, 0);
  }
  const std::wstring shown = text;
  const std::wstring fallback(shown == kAlreadyRunning ? kAlreadyRunningInEnglish : std::wstring_view(shown));
  if (quillmark::layer::ShowWarningBox(caption, shown, fallback)) return IDOK;
  const std::string line = quillmark::layer::ToUtf8(std::wstring(caption) + L": " + shown) + "\n";
  quillmark::layer::StandardStream::Error().Write(line);
  return Fail(ERROR_GEN_FAILURE, 0);
}

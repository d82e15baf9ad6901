#include <windows.h>

#include <memory>
#include <optional>
#include <string>

#include "desktop/Desktop.h"
#include "kernel32/HandleTable.h"

namespace quillmark::layer {
namespace {

// A process as it was when it was opened.
class Process : public KernelObject {
 public:
  explicit Process(std::wstring image) : image_(std::move(image)) {}
  const std::wstring& Image() const { return image_; }

 private:
  const std::wstring image_;
};

}  // namespace
}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" HANDLE WINAPI OpenProcess(DWORD access, BOOL inherit, DWORD processId) {
  if (access != PROCESS_QUERY_LIMITED_INFORMATION || inherit) return Fail(ERROR_NOT_SUPPORTED, nullptr);
  // The desktop answers, since process numbers come from its windows.
  std::optional<std::wstring> image = CurrentDesktop()->ProcessImage(processId);
  if (!image) return Fail(ERROR_INVALID_PARAMETER, nullptr);
  return InsertHandle(std::make_shared<Process>(std::move(*image)));
}

extern "C" BOOL WINAPI QueryFullProcessImageNameW(HANDLE process, DWORD flags, LPWSTR path, LPDWORD length) {
  const auto found = FindHandleAs<Process>(process);
  if (!found) return FALSE;
  if (flags != 0) return Fail(ERROR_NOT_SUPPORTED, FALSE);
  if (!path || !length) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  const std::wstring& image = found->Image();
  if (image.size() >= *length) return Fail(ERROR_INSUFFICIENT_BUFFER, FALSE);
  path[image.copy(path, image.size())] = L'\0';
  *length = static_cast<DWORD>(image.size());
  return TRUE;
}

#include "ipc/SharedObjects.h"

#include <utility>

namespace quillmark {

namespace {

// The bytes that can be reached from the view's start, in whole pages: a section that is too short by less
// than a page still passes.
SIZE_T ReachableBytes(const void* view) {
  MEMORY_BASIC_INFORMATION info{};
  return ::VirtualQuery(view, &info, sizeof info) == 0 ? 0 : info.RegionSize;
}

}  // namespace

SharedSection OpenSharedSection(const wchar_t* name, std::uint32_t size) {
  SharedSection section;
  const auto failed = [&section](const char* call, DWORD error) {
    section.view.Reset();
    section.failedCall = call;
    section.error = error;
    return std::move(section);
  };
  const HANDLE mapping = ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name);
  if (mapping == nullptr) return failed("CreateFileMappingW", ::GetLastError());
  section.mapping.Reset(mapping);
  void* const view = ::MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
  if (view == nullptr) return failed("MapViewOfFile", ::GetLastError());
  section.view.Reset(view);
  if (ReachableBytes(view) < size) return failed("MapViewOfFile", ERROR_BAD_LENGTH);
  return section;
}

SharedEvent OpenSharedEvent(const wchar_t* name) {
  const HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, name);
  // Read before any other call: it says whether the event existed.
  const DWORD error = ::GetLastError();

  SharedEvent result;
  result.event.Reset(event);
  result.error = error;
  result.existed = event != nullptr && error == ERROR_ALREADY_EXISTS;
  return result;
}

}  // namespace quillmark

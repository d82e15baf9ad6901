#include "ipc/SharedObjects.h"

namespace quillmark {

namespace {

// The bytes that can be reached from the view's start. The platform maps whole pages, so a section that is
// short by less than a page is as good as a full one.
SIZE_T ReachableBytes(const void* view) {
  MEMORY_BASIC_INFORMATION info{};
  return ::VirtualQuery(view, &info, sizeof info) == 0 ? 0 : info.RegionSize;
}

}  // namespace

SharedSection OpenSharedSection(const wchar_t* name, std::uint32_t size) {
  SharedSection section;
  const HANDLE mapping = ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name);
  if (mapping == nullptr) {
    section.error = ::GetLastError();
    section.failedCall = "CreateFileMappingW";
    return section;
  }
  section.mapping.Reset(mapping);

  void* const view = ::MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0);
  if (view == nullptr) {
    section.error = ::GetLastError();
    section.failedCall = "MapViewOfFile";
    return section;
  }
  section.view.Reset(view);

  if (ReachableBytes(view) < size) {
    section.view.Reset();
    section.error = ERROR_BAD_LENGTH;
    section.failedCall = "MapViewOfFile";
  }
  return section;
}

SharedEvent OpenSharedEvent(const wchar_t* name) {
  const HANDLE event = ::CreateEventW(nullptr, FALSE, FALSE, name);
  // Nothing may come between the two calls: the code tells a new event from one that existed.
  const DWORD error = ::GetLastError();

  SharedEvent result;
  result.event.Reset(event);
  result.error = error;
  result.existed = event != nullptr && error == ERROR_ALREADY_EXISTS;
  return result;
}

}  // namespace quillmark

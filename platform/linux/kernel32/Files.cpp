#include <windows.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <string>

#include "host/Paths.h"
#include "host/StandardStream.h"
#include "host/UniqueFd.h"
#include "kernel32/HandleTable.h"

namespace quillmark::layer {
namespace {

class File : public KernelObject {
 public:
  explicit File(UniqueFd fd) : fd_(std::move(fd)) {}
  int Fd() const { return fd_.Get(); }

 private:
  const UniqueFd fd_;
};

class StandardOutput : public KernelObject {};

int HostFlags(DWORD access) {
  // Non-blocking, so that a pipe without a writer cannot hold up the caller.
  const int common = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
  if (access == GENERIC_READ) return common | O_RDONLY;
  return common | (access == GENERIC_WRITE ? O_WRONLY : O_RDWR);
}

struct Opened {
  UniqueFd fd;
  bool existed = true;
};

// Opens a file, or creates it if `make` is set. On failure: no descriptor, with errno.
Opened OpenOrMake(const std::string& path, int flags, bool make) {
  while (true) {
    UniqueFd fd(::open(path.c_str(), flags));
    if (fd || errno != ENOENT || !make) return {std::move(fd), true};
    fd = UniqueFd(::open(path.c_str(), flags | O_CREAT | O_EXCL, 0644));
    if (fd || errno != EEXIST) return {std::move(fd), false};
    // Another process created it meanwhile: try again. A dangling link looks the same, but for ever.
    struct stat facts {};
    if (::stat(path.c_str(), &facts) != 0) return {UniqueFd(), false};
  }
}

}  // namespace
}  // namespace quillmark::layer

using namespace quillmark::layer;

extern "C" HANDLE WINAPI CreateFileW(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* attributes,
                                     DWORD disposition, DWORD flags, HANDLE templateFile) {
  if (!path) return Fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
  const bool knownAccess = access != 0 && (access & ~(GENERIC_READ | GENERIC_WRITE)) == 0;
  const bool knownShare = (share & ~(FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE)) == 0;
  const bool knownDisposition = disposition == OPEN_EXISTING || disposition == OPEN_ALWAYS;
  if (!knownAccess || !knownShare || !knownDisposition || attributes || templateFile ||
      (flags & ~FILE_ATTRIBUTE_NORMAL) != 0) {
    return Fail(ERROR_NOT_SUPPORTED, INVALID_HANDLE_VALUE);
  }
  if (!*path) return Fail(ERROR_PATH_NOT_FOUND, INVALID_HANDLE_VALUE);
  const std::string host = HostPath(path);
  if (host.empty()) return Fail(ERROR_INVALID_NAME, INVALID_HANDLE_VALUE);

  Opened opened = OpenOrMake(host, HostFlags(access), disposition == OPEN_ALWAYS);
  struct stat facts {};
  if (!opened.fd || ::fstat(opened.fd.Get(), &facts) != 0) {
    return Fail(ErrorFromErrno(errno), INVALID_HANDLE_VALUE);
  }
  if (S_ISDIR(facts.st_mode)) return Fail(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
  const bool tellExisting = disposition == OPEN_ALWAYS && opened.existed;
  return Succeed(tellExisting ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS,
                 InsertHandle(std::make_shared<File>(std::move(opened.fd))));
}

extern "C" HANDLE WINAPI GetStdHandle(DWORD stream) {
  if (stream != STD_OUTPUT_HANDLE) return Fail(ERROR_NOT_SUPPORTED, INVALID_HANDLE_VALUE);
  static const HANDLE output = InsertHandle(std::make_shared<StandardOutput>());
  return output;
}

extern "C" DWORD WINAPI GetFileType(HANDLE file) {
  const auto found = FindHandleAs<File>(file);
  if (!found) return FILE_TYPE_UNKNOWN;
  struct stat facts {};
  if (::fstat(found->Fd(), &facts) != 0) return Fail(ErrorFromErrno(errno), FILE_TYPE_UNKNOWN);
  ::SetLastError(ERROR_SUCCESS);
  if (S_ISREG(facts.st_mode)) return FILE_TYPE_DISK;
  if (S_ISCHR(facts.st_mode)) return FILE_TYPE_CHAR;
  return S_ISFIFO(facts.st_mode) || S_ISSOCK(facts.st_mode) ? FILE_TYPE_PIPE : FILE_TYPE_UNKNOWN;
}

extern "C" BOOL WINAPI GetFileSizeEx(HANDLE file, LARGE_INTEGER* size) {
  const auto found = FindHandleAs<File>(file);
  if (!found) return FALSE;
  if (!size) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  struct stat facts {};
  if (::fstat(found->Fd(), &facts) != 0) return Fail(ErrorFromErrno(errno), FALSE);
  size->QuadPart = facts.st_size;
  return TRUE;
}

extern "C" DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD origin) {
  const auto found = FindHandleAs<File>(file);
  if (!found) return INVALID_SET_FILE_POINTER;
  if (origin != FILE_END) return Fail(ERROR_NOT_SUPPORTED, INVALID_SET_FILE_POINTER);
  std::int64_t offset = distance;
  if (distanceHigh) {
    offset = static_cast<std::int64_t>(std::uint64_t{static_cast<DWORD>(*distanceHigh)} << 32 |
                                       static_cast<DWORD>(distance));
  }
  const off_t position = ::lseek(found->Fd(), offset, SEEK_END);
  if (position < 0) {
    return Fail(errno == EINVAL ? ERROR_NEGATIVE_SEEK : ErrorFromErrno(errno), INVALID_SET_FILE_POINTER);
  }
  if (distanceHigh) {
    *distanceHigh = static_cast<LONG>(position >> 32);
  } else if (position > std::int64_t{0xFFFFFFFF}) {
    return Fail(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
  }
  return Succeed(ERROR_SUCCESS, static_cast<DWORD>(position));
}

extern "C" BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD length, LPDWORD read,
                                OVERLAPPED* overlapped) {
  const auto found = FindHandleAs<File>(file);
  if (!found) return FALSE;
  if (overlapped) return Fail(ERROR_NOT_SUPPORTED, FALSE);
  if (!read || (!buffer && length > 0)) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  *read = 0;
  while (*read < length) {
    const ssize_t count = ::read(found->Fd(), static_cast<char*>(buffer) + *read, length - *read);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && *read == 0) return Fail(ErrorFromErrno(errno), FALSE);
    if (count <= 0) break;  // the end; or the next call reports the error
    *read += static_cast<DWORD>(count);
  }
  return TRUE;
}

extern "C" BOOL WINAPI WriteFile(HANDLE file, LPCVOID buffer, DWORD length, LPDWORD written,
                                 OVERLAPPED* overlapped) {
  const bool standard = FindHandleAs<StandardOutput>(file) != nullptr;
  const auto found = FindHandleAs<File>(file);
  if (!found && !standard) return FALSE;
  if (overlapped) return Fail(ERROR_NOT_SUPPORTED, FALSE);
  if (!written || (!buffer && length > 0)) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  *written = 0;
  if (standard) {
    *written = static_cast<DWORD>(StandardStream::Output().Write({static_cast<const char*>(buffer), length}));
    return TRUE;
  }
  while (*written < length) {
    const ssize_t count =
        ::write(found->Fd(), static_cast<const char*>(buffer) + *written, length - *written);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return Fail(ErrorFromErrno(errno), FALSE);
    *written += static_cast<DWORD>(count);
  }
  return TRUE;
}

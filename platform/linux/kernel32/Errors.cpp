#include "kernel32/Errors.h"

#include <cerrno>

namespace {
thread_local DWORD lastError = ERROR_SUCCESS;
}  // namespace

extern "C" DWORD WINAPI GetLastError() {
  return lastError;
}

extern "C" void WINAPI SetLastError(DWORD code) {
  lastError = code;
}

namespace quillmark::layer {

DWORD ErrorFromErrno(int error) {
  switch (error) {
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
    case ELOOP:
      return ERROR_ACCESS_DENIED;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case ENOSPC:
    case EDQUOT:
      return ERROR_DISK_FULL;
    case EINVAL:
      return ERROR_INVALID_PARAMETER;
    case ENAMETOOLONG:
      return ERROR_FILENAME_EXCED_RANGE;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    case EAGAIN:
      return ERROR_NO_DATA;
    default:
      return ERROR_GEN_FAILURE;
  }
}

}  // namespace quillmark::layer

#include "kernel32/SharedFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <optional>
#include <string_view>

#include "host/Text.h"
#include "kernel32/Errors.h"
#include "kernel32/SessionFolder.h"

namespace quillmark::layer {
namespace {

constexpr std::array<const char*, 3> kEndings = {".event", ".mutex", ".section"};

const char* EndingOf(ObjectType type) {
  return kEndings[static_cast<std::size_t>(type)];
}

struct flock ByteLock(short type, std::int64_t byte) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  return lock;
}

bool LockGate(int fd) {
  struct flock lock = ByteLock(F_WRLCK, SharedFile::kGateByte);
  while (::fcntl(fd, F_OFD_SETLKW, &lock) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

// Whether another open file holds the object. Under the gate, "no" stays true; "yes" means that another held
// it during this call, so the object was alive when the caller took its life lock.
bool HeldByOthers(int fd) {
  struct flock lock = ByteLock(F_WRLCK, SharedFile::kLifeByte);
  return ::fcntl(fd, F_OFD_GETLK, &lock) != 0 || lock.l_type != F_UNLCK;
}

bool IsUnlinked(int fd) {
  struct stat facts {};
  return ::fstat(fd, &facts) == 0 && facts.st_nlink == 0;
}

UniqueFd OpenObjectFile(int folder, const std::string& fileName, int flags) {
  UniqueFd fd(::openat(folder, fileName.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | flags, 0600));
  struct stat facts {};
  if (!fd) return Fail(ErrorFromErrno(errno), UniqueFd());
  if (::fstat(fd.Get(), &facts) != 0 || !S_ISREG(facts.st_mode)) return Fail(ERROR_ACCESS_DENIED, UniqueFd());
  return fd;
}

// The object's name as a file name without its ending: UTF-8, with all but letters, digits, '.', '-' and '_'
// as %XX. Nothing, with the last error, for a name that no object can have.
std::optional<std::string> FileStem(std::wstring_view name) {
  constexpr std::wstring_view local = L"Local\\";
  constexpr std::wstring_view global = L"Global\\";
  constexpr std::size_t longest = 200;
  if (name.starts_with(global)) return Fail(ERROR_ACCESS_DENIED, std::nullopt);
  if (name.starts_with(local)) name.remove_prefix(local.size());
  if (name.find(L'\\') != std::wstring_view::npos) return Fail(ERROR_PATH_NOT_FOUND, std::nullopt);
  bool valid = true;
  const std::string bytes = ToUtf8(name, &valid);
  if (!valid || bytes.empty()) return Fail(ERROR_INVALID_NAME, std::nullopt);

  std::string stem;
  for (const char c : bytes) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '.' || c == '-' || c == '_';
    constexpr std::string_view digits = "0123456789ABCDEF";
    if (plain) {
      stem += c;
    } else {
      const auto value = static_cast<unsigned char>(c);
      stem += {'%', digits[value >> 4], digits[value & 15]};
    }
  }
  if (stem.size() > longest) return Fail(ERROR_FILENAME_EXCED_RANGE, std::nullopt);
  return stem;
}

// Takes no gate, since two creators could wait for each other. If they create different types at the same
// instant, both may fail, but never both succeed.
bool NameHasOtherType(int folder, const std::string& stem, ObjectType type) {
  for (const char* ending : kEndings) {
    if (ending == EndingOf(type)) continue;
    const UniqueFd other = OpenObjectFile(folder, stem + ending, 0);
    if (other && HeldByOthers(other.Get())) return true;
  }
  return false;
}

// Allocates the memory now: if the file system is full, this fails, instead of a signal at the first use.
bool Allocate(int fd, std::uint64_t size) {
  int error = ::ftruncate(fd, 0) == 0 && ::ftruncate(fd, static_cast<off_t>(size)) == 0 ? 0 : errno;
  while (error == 0) {
    error = ::posix_fallocate(fd, 0, static_cast<off_t>(size));
    if (error != EINTR) break;
    error = 0;
  }
  if (error == 0) return true;
  const bool full = error == ENOSPC || error == EDQUOT || error == EFBIG || error == ENOMEM;
  return Fail(full ? ERROR_COMMITMENT_LIMIT : ErrorFromErrno(error), false);
}

bool MakeContent(int fd, std::uint64_t size, const SharedFile::Initialise& initialise) {
  return Allocate(fd, size) && (!initialise || initialise(fd));
}

// Removes what killed processes left behind, except files that are being opened or closed.
void SweepDeadObjects(int folder) {
  const int copy = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (copy < 0) return;
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(::fdopendir(copy), ::closedir);
  if (!entries) {
    ::close(copy);
    return;
  }
  while (const dirent* entry = ::readdir(entries.get())) {
    const std::string name = entry->d_name;
    bool ours = false;
    for (const char* ending : kEndings) ours = ours || name.ends_with(ending);
    if (!ours) continue;
    const UniqueFd fd = OpenObjectFile(folder, name, 0);
    if (fd && TryLockByte(fd.Get(), F_WRLCK, SharedFile::kGateByte) && !IsUnlinked(fd.Get()) &&
        !HeldByOthers(fd.Get())) {
      ::unlinkat(folder, name.c_str(), 0);
    }
  }
}

}  // namespace

bool TryLockByte(int fd, short type, std::int64_t byte) {
  struct flock lock = ByteLock(type, byte);
  int result = 0;
  do {
    result = ::fcntl(fd, F_OFD_SETLK, &lock);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

bool IsByteLocked(int fd, std::int64_t byte) {
  struct flock lock = ByteLock(F_WRLCK, byte);
  return ::fcntl(fd, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

std::unique_ptr<SharedFile> SharedFile::Open(LPCWSTR name, ObjectType type, std::uint64_t size,
                                             const Initialise& initialise) {
  if (size > static_cast<std::uint64_t>(kGateByte)) return Fail(ERROR_COMMITMENT_LIMIT, nullptr);
  std::unique_ptr<SharedFile> file(new SharedFile);
  if (!name || !*name) {
    file->fd_ = UniqueFd(::memfd_create("quillmark", MFD_CLOEXEC));
    if (!file->fd_) return Fail(ErrorFromErrno(errno), nullptr);
    if (!MakeContent(file->Fd(), size, initialise)) return nullptr;
    return Succeed(ERROR_SUCCESS, std::move(file));
  }

  const std::optional<std::string> stem = FileStem(name);
  if (!stem) return nullptr;
  UniqueFd folder = OpenSessionFolder();
  if (!folder) return nullptr;
  const std::string fileName = *stem + EndingOf(type);

  UniqueFd fd;
  do {  // again if the last holder removed the file while this waited for the gate
    fd = OpenObjectFile(folder.Get(), fileName, O_CREAT);
    if (!fd) return nullptr;
    if (!LockGate(fd.Get())) return Fail(ErrorFromErrno(errno), nullptr);
  } while (IsUnlinked(fd.Get()));

  // Hold the object first, then look for other holders.
  if (!TryLockByte(fd.Get(), F_RDLCK, kLifeByte)) return Fail(ERROR_ACCESS_DENIED, nullptr);
  const bool existed = HeldByOthers(fd.Get());
  if (!existed) {
    const bool taken = NameHasOtherType(folder.Get(), *stem, type);
    if (taken || !MakeContent(fd.Get(), size, initialise)) {
      ::unlinkat(folder.Get(), fileName.c_str(), 0);
      if (taken) ::SetLastError(ERROR_INVALID_HANDLE);
      return nullptr;
    }
  }
  TryLockByte(fd.Get(), F_UNLCK, kGateByte);
  if (!existed) SweepDeadObjects(folder.Get());

  file->folder_ = std::move(folder);
  file->fileName_ = fileName;
  file->fd_ = std::move(fd);
  return Succeed(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS, std::move(file));
}

SharedFile::~SharedFile() {
  if (!folder_) return;
  // Removing the file frees its memory; for a killed process the next sweep does.
  if (LockGate(Fd()) && !IsUnlinked(Fd()) && !HeldByOthers(Fd())) {
    ::unlinkat(folder_.Get(), fileName_.c_str(), 0);
  }
  // A mapping keeps the file open, which would keep the locks.
  TryLockByte(Fd(), F_UNLCK, kLifeByte);
  TryLockByte(Fd(), F_UNLCK, kGateByte);
}

std::uint64_t SharedFile::Size() const {
  struct stat facts {};
  return ::fstat(Fd(), &facts) == 0 ? static_cast<std::uint64_t>(facts.st_size) : 0;
}

}  // namespace quillmark::layer

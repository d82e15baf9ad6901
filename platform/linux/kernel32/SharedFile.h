// The file behind a kernel object. That of a named object is NAME.event, NAME.mutex or NAME.section in the
// session's folder. The object exists as long as a process holds it: every holder has a read lock on the
// file's life byte, and a file without one is dead and is filled anew or removed. A write lock on the gate
// byte serialises opening and closing. The file of an unnamed object has no name and ends with its
// descriptors.
//
// The locks belong to the open file (F_OFD_SETLK), so two handles in one process are two holders, and the
// kernel releases them however a process ends. Both bytes are far beyond the data.
//
// Threading: Open from any thread; a SharedFile is constant afterwards.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "host/UniqueFd.h"

namespace quillmark::layer {

enum class ObjectType { Event, Mutex, Section };

class SharedFile {
 public:
  static constexpr std::int64_t kGateByte = std::int64_t{1} << 40;
  static constexpr std::int64_t kLifeByte = kGateByte + 1;
  static constexpr std::int64_t kOwnerByte = kGateByte + 2;  // of a mutex: locked by the holder that owns it

  // Fills the zeroed file of a new object before anyone else can open it. Open fails if this returns false,
  // with the last error set.
  using Initialise = std::function<bool(int fd)>;

  // Opens the object with this name, or creates it with `size` bytes; a null name creates an unnamed one. The
  // last error becomes ERROR_ALREADY_EXISTS for an existing object, which keeps its size, or 0 for a new one.
  // Fails with ERROR_INVALID_HANDLE if the name belongs to an object of another type.
  static std::unique_ptr<SharedFile> Open(LPCWSTR name, ObjectType type, std::uint64_t size,
                                          const Initialise& initialise = {});
  ~SharedFile();
  SharedFile(const SharedFile&) = delete;
  SharedFile& operator=(const SharedFile&) = delete;

  int Fd() const { return fd_.Get(); }
  // The file's size; 0 if it is unknown.
  std::uint64_t Size() const;

 private:
  SharedFile() = default;

  UniqueFd folder_;  // none for an unnamed object
  std::string fileName_;
  UniqueFd fd_;
};

// Locks or unlocks (F_RDLCK, F_WRLCK, F_UNLCK) one byte of an open file; false if another holds it.
bool TryLockByte(int fd, short type, std::int64_t byte);
// Whether the byte is locked through another open file. Takes no lock.
bool IsByteLocked(int fd, std::int64_t byte);

}  // namespace quillmark::layer

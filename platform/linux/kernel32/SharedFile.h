// The file behind a kernel object. A named one lies in the session's folder as NAME.event, NAME.mutex or
// NAME.section and lives as long as some process holds it, even one that is killed: every holder keeps a read
// lock on the life byte, and whoever finds no other holder has a file without meaning, to be made anew or
// removed. Opening and closing are serialised by a write lock on the gate byte. An unnamed object's file has
// no name and ends with its descriptors.
//
// The locks belong to the open file (F_OFD_SETLK), so two handles of one process count as two holders, and
// the kernel drops them however a process ends. Both bytes lie far beyond the data.
//
// Threading: Open from any thread; a SharedFile is constant after it.
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
  static constexpr std::int64_t gateByte = std::int64_t{1} << 40;
  static constexpr std::int64_t lifeByte = gateByte + 1;
  static constexpr std::int64_t ownerByte = gateByte + 2;  // of a mutex: locked by the holder that owns it

  // Fills a new object's zeroed file before anyone else can open it; false with the last error fails Open.
  using Initialise = std::function<bool(int fd)>;

  // Opens the object of this name or makes it with `size` bytes; `name` may be null for an unnamed one. The
  // last error becomes ERROR_ALREADY_EXISTS for an existing object (whose size is its own), 0 for a new one.
  // Fails with ERROR_INVALID_HANDLE when the name belongs to an object of another type.
  static std::unique_ptr<SharedFile> Open(LPCWSTR name, ObjectType type, std::uint64_t size,
                                          const Initialise& initialise = {});
  ~SharedFile();
  SharedFile(const SharedFile&) = delete;
  SharedFile& operator=(const SharedFile&) = delete;

  int Fd() const { return fd_.Get(); }
  // Of the file now; 0 when it cannot be told.
  std::uint64_t Size() const;

 private:
  SharedFile() = default;

  UniqueFd folder_;  // none for an unnamed object
  std::string fileName_;
  UniqueFd fd_;
};

// Locks or unlocks (F_RDLCK, F_WRLCK, F_UNLCK) one byte of an open file; false when another holds it.
bool TryLockByte(int fd, short type, std::int64_t byte);

}  // namespace quillmark::layer

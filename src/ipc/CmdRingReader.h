// The worker's side of the command ring: passes spec commands to callbacks and answers heartbeat and version
// through the hit ring. Its position is kept in the shared header, so a restarted worker continues
// where the last one stopped.
//
// Threading: one thread at a time. Callbacks and replies run on the thread that polls.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "platform/UniqueHandle.h"

namespace quillmark {

struct CmdRingLayout;
struct CmdSlot;

class CmdRingReader {
 public:
  using OnSpec = std::function<void(const std::wstring& target, const std::wstring& name,
                                    const std::wstring& path, std::int32_t roiX, std::int32_t roiY,
                                    std::int32_t roiW, std::int32_t roiH, float edgeMin, float threshold)>;
  using OnClear = std::function<void()>;
  using OnRemove = std::function<void(const std::wstring& name, const std::wstring& path)>;

  CmdRingReader() = default;
  ~CmdRingReader();
  CmdRingReader(const CmdRingReader&) = delete;
  CmdRingReader& operator=(const CmdRingReader&) = delete;

  // Opens or creates the ring, retrying every 50 ms until the timeout; 0 tries once. False when that fails.
  // Zeroes the header of a ring that was used before, unless somebody already held its event. What a
  // controller publishes meanwhile into a new ring is kept.
  [[nodiscard]] bool Init(std::uint32_t timeoutMs);

  // Commands without a callable are consumed without effect. Exceptions of a callable are discarded.
  void SetHandlers(OnSpec spec, OnClear clear, OnRemove remove);

  // Consumes at most that many pending commands, or all for 0. Skips all but the newest 64.
  // Does nothing while the reader is closed.
  void Poll(std::uint32_t maximumCount);

  // Signals the ring's event once and releases the ring. Idempotent.
  void Close();

 private:
  bool TryOpen();
  void Execute(CmdSlot& shared) const;

  UniqueHandle mapping;
  UniqueHandle event;
  UniqueView view;
  std::atomic<bool> stopRequested{false};
  OnSpec onSpec;
  OnClear onClear;
  OnRemove onRemove;
};

}  // namespace quillmark

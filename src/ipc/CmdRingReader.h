// The worker's side of the command ring: takes every command that the controller has published, hands spec
// commands to callbacks and answers heartbeat and version through the hit ring. It keeps no position of its
// own; the shared header holds all progress, so that a restarted worker goes on where the last one stopped.
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

  // Opens or creates the ring, trying again every 50 ms for that long; 0 tries once. False when it cannot
  // be opened. The header is zeroed when nobody held the ring's event before, and kept otherwise.
  [[nodiscard]] bool Init(std::uint32_t timeoutMs);

  // An empty callable is allowed: its commands are then consumed without effect. What a callable raises is
  // discarded, and the command counts as consumed.
  void SetHandlers(OnSpec spec, OnClear clear, OnRemove remove);

  // Consumes pending commands, at most that many, all of them for 0. Of more than 64 pending commands only
  // the newest 64 are left to consume. Does nothing while the reader is closed.
  void Poll(std::uint32_t largestCount);

  // Releases the ring, after one signal to whoever waits for its event. Idempotent.
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

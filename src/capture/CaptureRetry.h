// Decides when the capture of one monitor is given up and when it is opened again.
//
// A capture with a fault is dropped after 200 ms, since most faults come with a display change, and opened
// again at once. If that fails, or the capture is lost before its first frame, the next attempt follows at
// once as well, the one after that 100 ms later, and each further one after twice the delay, at most 1 s.
//
// Threading: one thread at a time. Times are passed in, in milliseconds of any steady clock.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>

#include "capture/CaptureOutcome.h"

namespace quillmark {

class CaptureRetry {
 public:
  [[nodiscard]] bool MayOpen(std::int64_t nowMs) const { return nowMs >= opensAtMs; }
  void OnOpened() {
    delivered = false;
    dropsAtMs.reset();
  }
  void OnOpenFailed(std::int64_t nowMs) { Delay(nowMs); }

  // Takes the outcome of an acquisition. True for this capture's first fault.
  bool OnOutcome(const CaptureOutcome& outcome, std::int64_t nowMs) {
    if (outcome.IsFrame()) {
      delivered = true;
      delayMs = 0;
    }
    if (!outcome.IsFault() || dropsAtMs) return false;
    dropsAtMs = nowMs + 200;
    return true;
  }

  // Whether a fault is known, and whether to drop the capture because of it.
  [[nodiscard]] bool HasFault() const { return dropsAtMs.has_value(); }
  [[nodiscard]] bool MustDrop(std::int64_t nowMs) const { return dropsAtMs && nowMs >= *dropsAtMs; }
  void OnDropped(std::int64_t nowMs) {
    dropsAtMs.reset();
    if (!delivered) Delay(nowMs);
  }

  // Forgets earlier failures.
  void OnDisplayChange() { opensAtMs = delayMs = 0; }

 private:
  void Delay(std::int64_t nowMs) {
    opensAtMs = nowMs + delayMs;
    delayMs = std::clamp<std::int64_t>(2 * delayMs, 100, 1000);
  }

  std::int64_t opensAtMs = 0;             // no capture opens earlier
  std::int64_t delayMs = 0;               // after the next failure
  std::optional<std::int64_t> dropsAtMs;  // set by a fault
  bool delivered = false;                 // the open capture gave a frame
};

}  // namespace quillmark

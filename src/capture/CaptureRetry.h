// Decides when the capture of one monitor is given up and when it is opened again.
//
// A capture with a fault stays for 200 ms, the time that a display change takes to settle, and is then
// dropped. The next one is opened at once; if it cannot be, or is lost before its first frame, the one after
// it follows at once as well, the next after 100 ms, and each further one after twice the time, at most 1 s.
//
// Threading: one thread at a time. It reads no clock: times are passed in, milliseconds of any steady clock.
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

  // Takes what an acquisition came to. True for the first fault of this capture.
  bool OnOutcome(const CaptureOutcome& outcome, std::int64_t nowMs) {
    if (outcome.IsFrame()) {
      delivered = true;
      delayMs = 0;
    }
    if (!outcome.IsFault() || dropsAtMs) return false;
    dropsAtMs = nowMs + 200;
    return true;
  }

  // Whether the capture's time is up after a fault.
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

  std::int64_t opensAtMs = 0;             // the next one, not before
  std::int64_t delayMs = 0;               // of the one after the next failure
  std::optional<std::int64_t> dropsAtMs;  // once there was a fault
  bool delivered = false;                 // a frame, by the capture that is open
};

}  // namespace quillmark

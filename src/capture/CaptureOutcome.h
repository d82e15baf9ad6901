// The outcome of an attempt to get a monitor's next frame.
//
// Threading: a value.
#pragma once

#include <dxgi1_2.h>
#include <windows.h>

#include <cstdint>
#include <cstdio>
#include <string>

namespace quillmark {

// A result code as it is documented: "0x887A0026".
[[nodiscard]] inline std::string CodeText(HRESULT code) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(code));
  return text;
}

struct [[nodiscard]] CaptureOutcome {
  enum class Kind : std::int32_t {
    Frame,
    NothingNew,  // the screen did not change within the time-out
    AccessLost,  // this duplication delivers no more frames
    Failed,      // any other failure, including a frame that cannot be mapped
  };

  Kind kind = Kind::Frame;
  HRESULT code = S_OK;  // the platform's result

  static CaptureOutcome Of(HRESULT result) {
    if (SUCCEEDED(result)) return {Kind::Frame, result};
    if (result == DXGI_ERROR_WAIT_TIMEOUT) return {Kind::NothingNew, result};
    return {result == DXGI_ERROR_ACCESS_LOST ? Kind::AccessLost : Kind::Failed, result};
  }

  [[nodiscard]] bool IsFrame() const { return kind == Kind::Frame; }
  // Whether the duplication must be replaced: it gave neither a frame nor a time-out.
  [[nodiscard]] bool IsFault() const { return kind == Kind::AccessLost || kind == Kind::Failed; }

  // "access lost (0x887A0026)"; ASCII.
  [[nodiscard]] std::string Text() const {
    if (kind == Kind::Frame) return "frame captured";
    if (kind == Kind::NothingNew) return "no new frame";
    return (kind == Kind::AccessLost ? "access lost (" : "capture failed (") + CodeText(code) + ")";
  }
};

}  // namespace quillmark

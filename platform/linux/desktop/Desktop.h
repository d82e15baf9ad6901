// The desktop behind the layer's user32 and dxgi calls: monitors, top-level windows, captured images,
// display changes. The X11 desktop implements it on a real server; tests use a scripted one. The class
// itself is the desktop of a host without a screen.
//
// Coordinates are desktop pixels: the primary monitor's top-left corner is (0, 0), so others may be negative.
//
// Threading: every method may be called from any thread at any time, a Duplication by one thread at a time.
#pragma once

#include <dxgi1_2.h>
#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace quillmark::layer {

// A top-level window of the desktop, never 0 and below 2^32; HWND holds the same number.
using WindowId = std::uint32_t;
// A monitor, never 0. It keeps its number while its name and rectangle stay the same.
using MonitorId = std::uint64_t;

struct MonitorFacts {
  MonitorId id = 0;
  RECT rect{};  // full rectangle, desktop pixels
  bool primary = false;
  std::uint32_t dpi = 96;
  DXGI_MODE_ROTATION rotation = DXGI_MODE_ROTATION_IDENTITY;
  std::wstring deviceName;  // at most 31 units
};

struct WindowFacts {
  RECT client{};  // desktop pixels
  RECT outer{};   // desktop pixels, frame included
  bool visible = false;
  bool iconic = false;
  WindowId root = 0;            // the top-level window that contains it
  std::uint32_t processId = 0;  // 0 when unknown
  std::wstring title;           // UTF-16 units; empty when it has none
  DPI_AWARENESS awareness = DPI_AWARENESS_PER_MONITOR_AWARE;
  std::uint32_t dpi = 96;
};

struct ImageView {
  const std::uint8_t* data = nullptr;  // BGRA, rows top-down, unrotated as the output delivers it
  std::uint32_t pitch = 0;             // bytes from row to row
};

// What a frame changed since the one before.
struct FrameFacts {
  bool presented = true;             // false if only the pointer changed
  std::size_t moves = 0, dirty = 0;  // how many rectangles
};

// The frames of one monitor.
class Duplication {
 public:
  virtual ~Duplication() = default;

  // Size of the delivered images: the monitor's size, with width and height swapped at 90 and 270 degrees.
  virtual std::uint32_t Width() const = 0;
  virtual std::uint32_t Height() const = 0;

  // Waits for a changed image: S_OK, DXGI_ERROR_WAIT_TIMEOUT, DXGI_ERROR_ACCESS_LOST (no frames will follow),
  // or DXGI_ERROR_INVALID_CALL while a frame is held.
  virtual HRESULT Acquire(std::uint32_t timeoutMs) = 0;
  // Gives the held frame back; DXGI_ERROR_INVALID_CALL when none is held.
  virtual HRESULT Release() = 0;
  // The image of the held frame, valid until Release. Fails when it cannot be read.
  virtual HRESULT Map(ImageView& view) = 0;
  // The held frame's changes and their rectangles, in pixels of the image, valid until Release. The default
  // names none: anything may have changed. Areas that moved may be dirty instead.
  virtual FrameFacts Facts() const { return {}; }
  virtual HRESULT Dirty(std::span<const RECT>& rects) {
    rects = {};
    return S_OK;
  }
  virtual HRESULT Moves(std::span<const DXGI_OUTDUPL_MOVE_RECT>& rects) {
    rects = {};
    return S_OK;
  }
};

class Desktop {
 public:
  virtual ~Desktop() = default;

  // In enumeration order.
  virtual std::vector<MonitorFacts> Monitors() { return {}; }
  // Top-level windows, topmost first, iconic and hidden ones included. Empty on failure.
  virtual std::vector<WindowId> TopLevelWindows() { return {}; }
  // Nothing when there is no such window.
  virtual std::optional<WindowFacts> Window(WindowId) { return std::nullopt; }
  // Called around an enumeration of the windows: until its end, the enumerating thread may be given answers
  // as of its beginning. Enumerations do not nest.
  virtual void BeginEnumeration() {}
  virtual void EndEnumeration() {}

  // Path of a process's program, UTF-16 units, with its file name ending in ".exe"; nothing when it cannot be
  // read. The default reads /proc.
  virtual std::optional<std::wstring> ProcessImage(std::uint32_t processId);

  // A graphics device: S_OK, or why there is none.
  virtual HRESULT OpenDevice() { return E_FAIL; }
  virtual HRESULT Duplicate(MonitorId, std::unique_ptr<Duplication>&) { return E_FAIL; }

  // Sets the one listener of display changes. It is called on one of the desktop's threads or, with a
  // scripted desktop, on the scripting thread. Once an empty listener has been set, no call is running or
  // follows.
  virtual void OnDisplayChange(std::function<void()>) {}
};

// The process's desktop, opened on first use: X11 if DISPLAY is set, else one without a screen. Never throws:
// if resources are short, returns one without a screen, and the next call tries again.
std::shared_ptr<Desktop> CurrentDesktop();
// Replaces the current desktop. Tests do this before the product's threads start.
void SetDesktop(std::shared_ptr<Desktop> desktop);

// Sets the listener of the current desktop and of those that replace it.
void OnDisplayChange(void (*listener)());

}  // namespace quillmark::layer

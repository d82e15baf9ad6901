// The desktop behind the layer's user32 and dxgi calls: monitors, top-level windows, captured images,
// display changes. The X11 desktop implements it on a real server, the empty one where there is none, and
// the tests bring a scripted one. One method answers one platform call, so each can be made to fail alone.
//
// Coordinates are desktop pixels: the primary monitor's top-left corner is (0, 0), others may be negative.
//
// Threading: every method may be called from any thread at any time, a Duplication by one thread at a time.
#pragma once

#include <dxgi1_2.h>
#include <windows.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillmark::layer {

// A top-level window of the desktop, never 0 and below 2^32; HWND holds the same number.
using WindowId = std::uint32_t;
// A monitor, never 0; keeps its number as long as it stays the same monitor with the same rectangle.
using MonitorId = std::uint64_t;

struct MonitorFacts {
  MonitorId id = 0;
  RECT rect{};  // full rectangle, desktop pixels
  bool primary = false;
  std::uint32_t dpi = 96;
  DXGI_MODE_ROTATION rotation = DXGI_MODE_ROTATION_IDENTITY;
  std::wstring deviceName;  // at most 31 units
};

struct ImageView {
  const std::uint8_t* data = nullptr;  // BGRA, rows top-down, unrotated as the output delivers it
  std::uint32_t pitch = 0;             // bytes from row to row
};

// The frames of one monitor.
class Duplication {
 public:
  virtual ~Duplication() = default;

  // Size of the delivered images: the monitor's size, with width and height swapped at 90 and 270 degrees.
  virtual std::uint32_t Width() const = 0;
  virtual std::uint32_t Height() const = 0;

  // Waits for a changed image: S_OK, DXGI_ERROR_WAIT_TIMEOUT, DXGI_ERROR_ACCESS_LOST (this object delivers
  // no more frames), or DXGI_ERROR_INVALID_CALL while a frame is held.
  virtual HRESULT Acquire(std::uint32_t timeoutMs) = 0;
  // Ends the frame got by Acquire; DXGI_ERROR_INVALID_CALL when none is held.
  virtual HRESULT Release() = 0;
  // The image of the held frame, valid until Release. Fails when it cannot be read.
  virtual HRESULT Map(ImageView& view) = 0;
  // Whether memory for a CPU-readable image of this size is to be had; S_OK or E_OUTOFMEMORY.
  virtual HRESULT ReserveStaging(std::uint32_t width, std::uint32_t height) = 0;
};

class Desktop {
 public:
  virtual ~Desktop() = default;

  // In enumeration order; empty when there is no screen.
  virtual std::vector<MonitorFacts> Monitors() = 0;

  // Top-level windows, topmost first, iconic and hidden ones included. Empty on failure.
  virtual std::vector<WindowId> TopLevelWindows() = 0;
  // Stand around an enumeration of the windows: what its thread asks meanwhile may be answered as of the
  // beginning. They do not nest.
  virtual void BeginEnumeration() {}
  virtual void EndEnumeration() {}
  virtual bool Exists(WindowId window) = 0;
  virtual bool Visible(WindowId window) = 0;
  virtual bool Iconic(WindowId window) = 0;
  // The top-level window that holds it, 0 on failure.
  virtual WindowId Root(WindowId window) = 0;
  // 0 when unknown.
  virtual std::uint32_t ProcessId(WindowId window) = 0;
  // UTF-16 units; empty when it has none.
  virtual std::wstring Title(WindowId window) = 0;
  // Outer rectangle, frame included.
  virtual std::optional<RECT> OuterRect(WindowId window) = 0;
  // Size of the client area, as a rectangle at (0, 0).
  virtual std::optional<RECT> ClientRect(WindowId window) = 0;
  // The client area's top-left corner on the desktop.
  virtual std::optional<POINT> ClientOrigin(WindowId window) = 0;
  virtual DPI_AWARENESS Awareness(WindowId window) = 0;
  virtual std::uint32_t DpiOfWindow(WindowId window) = 0;

  // Path of the program of a process, UTF-16 units, with its file name ending in ".exe"; nothing when it
  // cannot be read. The default reads /proc.
  virtual std::optional<std::wstring> ProcessImage(std::uint32_t processId);

  // A graphics device: S_OK, or why there is none.
  virtual HRESULT OpenDevice() = 0;
  virtual HRESULT Duplicate(MonitorId monitor, std::unique_ptr<Duplication>& duplication) = 0;

  // Sets the one listener of display changes, called on a thread of the desktop's own or, with a scripted
  // desktop, on the scripting one. An empty listener ends the calls: none runs after it has been set.
  virtual void OnDisplayChange(std::function<void()> listener) = 0;
};

// The process's desktop, made on first use: X11 where DISPLAY is set, else the empty one. Raises nothing:
// while there are no resources to make it, the empty one stands in.
std::shared_ptr<Desktop> CurrentDesktop();
// Puts a desktop in place of the current one. Tests do this before the product's threads start.
void SetDesktop(std::shared_ptr<Desktop> desktop);

// The layer's own dispatch of a display change: WM_DISPLAYCHANGE to every top-level window of the process.
void BroadcastDisplayChange();

}  // namespace quillmark::layer

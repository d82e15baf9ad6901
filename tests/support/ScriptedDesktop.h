// A desktop that a test writes: monitors anywhere on the plane, windows, pictures, display changes, and any
// call failing on its n-th use. The layer's calls run over it as they do over a real server.
//
// A monitor delivers a frame at first, then only after Paint or Refresh. Frames are copies with padded rows,
// a meaningless fourth byte, and rubbish in place of the picture once released, so that a reader who relies
// on any of these is found out.
//
// Threading: every method from any thread. The listener of display changes runs inside ChangeDisplay.
#pragma once

#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "desktop/Desktop.h"

namespace quillmark::test {

// left, top, width, height
RECT RectAt(LONG left, LONG top, LONG width, LONG height);
HMONITOR HandleOf(layer::MonitorId monitor);
HWND HandleOf(layer::WindowId window);

struct ScriptedMonitor {
  RECT rect{0, 0, 640, 480};  // desktop pixels; the monitor at (0, 0) is the primary one
  std::uint32_t dpi = 96;
  DXGI_MODE_ROTATION rotation = DXGI_MODE_ROTATION_IDENTITY;
  cv::Size mode{};  // of its frames before they are turned upright; when empty, what fits the rectangle
};

struct ScriptedWindow {
  std::wstring title;
  RECT client{0, 0, 100, 100};  // desktop pixels
  RECT frame{1, 20, 1, 5};      // width of the border on each side of the client area
  std::uint32_t processId = 1000;
  bool visible = true;
  bool iconic = false;
  layer::WindowId root = 0;  // the top-level window that holds it; 0 for itself
  DPI_AWARENESS awareness = DPI_AWARENESS_PER_MONITOR_AWARE;
  std::uint32_t dpi = 96;
};

// The methods of Desktop and Duplication that can be made to fail.
enum class Call {
  Monitors,
  TopLevelWindows,
  Exists,
  Visible,
  Iconic,
  Root,
  ProcessId,
  Title,
  OuterRect,
  ClientRect,
  ClientOrigin,
  Awareness,
  DpiOfWindow,
  ProcessImage,
  OpenDevice,
  Duplicate,
  Acquire,
  Release,
  Map,
  ReserveStaging,
};
inline constexpr int callCount = static_cast<int>(Call::ReserveStaging) + 1;

// What Acquire does when there is no new frame.
enum class Waiting {
  Never,        // time-out at once
  UpToTimeout,  // waits as long as it was told to
  UntilFrame,   // waits for a frame, a display change or CancelWaits, however long
};

class ScriptedDesktop : public layer::Desktop {
 public:
  ScriptedDesktop();
  ~ScriptedDesktop() override;

  // A new one, put in place as the process's desktop.
  static std::shared_ptr<ScriptedDesktop> Install();

  // -- the script

  layer::MonitorId AddMonitor(const ScriptedMonitor& monitor);
  // Its duplications lose access.
  void RemoveMonitor(layer::MonitorId monitor);
  // As a change of mode does: the duplications of every monitor lose access.
  void LoseAccess();
  // Calls the listener of display changes, on this thread. Changes nothing else.
  void ChangeDisplay();

  // On top of the others.
  layer::WindowId OpenWindow(const ScriptedWindow& window);
  void CloseWindow(layer::WindowId window);
  void Minimize(layer::WindowId window);
  void Restore(layer::WindowId window);
  void Raise(layer::WindowId window);
  void MoveWindow(layer::WindowId window, const RECT& client);
  // Path of the program of a process; processes have none until then.
  void SetProcessImage(std::uint32_t processId, std::wstring path);

  // Draws an 8UC3 or 8UC4 image (BGR, the fourth byte is dropped) with its top-left corner at a point of the
  // desktop, on every monitor it touches; each of them has a new frame then.
  void Paint(const cv::Mat& image, POINT topLeft = {0, 0});
  // A new frame with the same picture, as pointer motion gives.
  void Refresh(layer::MonitorId monitor);
  // 8UC3, in desktop orientation.
  cv::Mat PictureOf(layer::MonitorId monitor) const;

  void SetWaiting(Waiting waiting);
  // Ends the waits under way, and waits no more.
  void CancelWaits() { SetWaiting(Waiting::Never); }

  // The n-th use from now on fails, n from 1, and so do `uses` - 1 uses after it.
  void FailNth(Call call, int n, int uses = 1);
  void FailAlways(Call call);
  void Heal();
  // Uses since construction, failed ones included.
  int UsesOf(Call call) const;
  int OpenDuplications() const;
  int HeldFrames() const;

  // -- what the layer asks

  std::vector<layer::MonitorFacts> Monitors() override;
  std::vector<layer::WindowId> TopLevelWindows() override;
  bool Exists(layer::WindowId window) override;
  bool Visible(layer::WindowId window) override;
  bool Iconic(layer::WindowId window) override;
  layer::WindowId Root(layer::WindowId window) override;
  std::uint32_t ProcessId(layer::WindowId window) override;
  std::wstring Title(layer::WindowId window) override;
  std::optional<RECT> OuterRect(layer::WindowId window) override;
  std::optional<RECT> ClientRect(layer::WindowId window) override;
  std::optional<POINT> ClientOrigin(layer::WindowId window) override;
  DPI_AWARENESS Awareness(layer::WindowId window) override;
  std::uint32_t DpiOfWindow(layer::WindowId window) override;
  std::optional<std::wstring> ProcessImage(std::uint32_t processId) override;
  HRESULT OpenDevice() override;
  HRESULT Duplicate(layer::MonitorId monitor, std::unique_ptr<layer::Duplication>& duplication) override;
  void OnDisplayChange(std::function<void()> listener) override;

 private:
  struct State;
  class Frames;

  const std::shared_ptr<State> state;  // shared with the duplications, which may outlive the desktop
};

}  // namespace quillmark::test

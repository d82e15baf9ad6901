// A desktop scripted by a test: monitors anywhere, windows, pictures, display changes, and any call failing
// on its n-th use. The layer's calls work on it as on a real server.
//
// A monitor delivers one frame at first, then one after each Paint or Refresh. Frames are copies with padded
// rows and a meaningless fourth byte, and are overwritten when released: a reader that relies on any of these
// fails.
//
// Threading: every method from any thread. The listener of display changes runs inside ChangeDisplay.
#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "desktop/Desktop.h"

namespace quillmark::test {

RECT RectAt(LONG left, LONG top, LONG width, LONG height);
HMONITOR HandleOf(layer::MonitorId monitor);
HWND HandleOf(layer::WindowId window);

struct ScriptedMonitor {
  RECT rect{0, 0, 640, 480};  // desktop pixels; the monitor at (0, 0) is the primary one
  std::uint32_t dpi = 96;
  DXGI_MODE_ROTATION rotation = DXGI_MODE_ROTATION_IDENTITY;
  cv::Size mode{};  // of the frames as delivered; if empty, what fits the rectangle
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

// The methods of Desktop and Duplication that can be made to fail. Each call of the platform about a window
// is one use of Window.
enum class Call {
  Monitors,
  TopLevelWindows,
  Window,
  ProcessImage,
  OpenDevice,
  Duplicate,
  Acquire,
  Map,
  MoveRects,
  DirtyRects,
};
inline constexpr int callCount = static_cast<int>(Call::DirtyRects) + 1;

// The metadata of a frame, in pixels of the image as the output delivers it.
struct ScriptedChange {
  std::vector<RECT> dirty{};
  std::vector<DXGI_OUTDUPL_MOVE_RECT> moves{};
  bool presented = true;  // false if only the pointer changed
  bool announced = true;  // false if the frame's information does not count the rectangles
};

// What Acquire does when there is no new frame.
enum class Waiting {
  Never,        // times out at once
  UpToTimeout,  // waits as long as asked
};

class ScriptedDesktop : public layer::Desktop, public std::enable_shared_from_this<ScriptedDesktop> {
 public:
  // A new one, installed as the process's desktop.
  static std::shared_ptr<ScriptedDesktop> Install();

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
  void Minimize(layer::WindowId window) {
    Change(window, [](ScriptedWindow& w) { w.iconic = true; });
  }
  void Restore(layer::WindowId window) {
    Change(window, [](ScriptedWindow& w) { w.iconic = false; });
  }
  void MoveWindow(layer::WindowId window, const RECT& client) {
    Change(window, [&](ScriptedWindow& w) { w.client = client; });
  }
  // The path of a process's program; without one, the process cannot be queried.
  void SetProcessImage(std::uint32_t processId, std::wstring path);

  // Draws an 8UC3 image on every monitor it touches; each of them then has a new frame.
  void Paint(const cv::Mat& bgr, POINT topLeft = {0, 0});
  // Copies an area of a monitor to another place and names that as a move. Pixels of the monitor, whose
  // output must not be rotated.
  void Scroll(layer::MonitorId monitor, const RECT& from, POINT to);
  // A new frame with the same picture and this metadata; by default pointer motion.
  void Refresh(layer::MonitorId monitor, const ScriptedChange& change = {.presented = false});

  void SetWaiting(Waiting how) { waiting = how; }
  // The n-th use from now on fails, n from 1.
  void FailNth(Call call, int n) { Fail(call, UsesOf(call) + n); }
  // Every use fails.
  void FailAlways(Call call) { Fail(call, kAlways); }
  void Heal() {
    for (int call = 0; call < callCount; ++call) Fail(static_cast<Call>(call), 0);
  }
  // Uses since construction, failed ones included.
  int UsesOf(Call call) const {
    const std::lock_guard lock(mutex);
    return uses[static_cast<std::size_t>(call)];
  }
  int OpenDuplications() const { return openDuplications; }
  int HeldFrames() const { return heldFrames; }

  std::vector<layer::MonitorFacts> Monitors() override;
  std::vector<layer::WindowId> TopLevelWindows() override;
  std::optional<layer::WindowFacts> Window(layer::WindowId window) override;
  std::optional<std::wstring> ProcessImage(std::uint32_t processId) override;
  HRESULT OpenDevice() override;
  HRESULT Duplicate(layer::MonitorId monitor, std::unique_ptr<layer::Duplication>& duplication) override;
  void OnDisplayChange(std::function<void()> listener) override;

 private:
  class Frames;
  struct Screen {
    ScriptedMonitor script;
    cv::Mat picture;                        // 8UC3, desktop orientation
    std::vector<ScriptedChange> changes{};  // a duplication that saw fewer has a new frame
    void Change(const cv::Rect& upright);   // adds a change of pixels
  };

  void Fail(Call call, int use) {
    const std::lock_guard lock(mutex);
    failing[static_cast<std::size_t>(call)] = use;
  }
  // Counts a use; whether it is to fail. The caller holds `mutex`.
  bool Fails(Call call) {
    const auto index = static_cast<std::size_t>(call);
    return ++uses[index] == failing[index] || failing[index] == kAlways;
  }
  template <typename Edit>
  void Change(layer::WindowId window, Edit edit) {
    const std::lock_guard lock(mutex);
    edit(windows.at(window));
  }

  static constexpr int kAlways = -1;

  mutable std::mutex mutex;  // guards all but the atomics and the listener
  std::condition_variable changed;
  std::map<layer::MonitorId, Screen> screens;  // in enumeration order
  std::vector<layer::WindowId> stacking;       // topmost first
  std::map<layer::WindowId, ScriptedWindow> windows;
  std::map<std::uint32_t, std::wstring> images;
  layer::MonitorId nextMonitor = 1;
  layer::WindowId nextWindow = 0x400001;
  std::uint64_t modeChanges = 0;
  std::array<int, callCount> uses{}, failing{};  // a use that fails, counted from 1; 0 for none, or kAlways
  std::atomic<Waiting> waiting = Waiting::Never;
  std::atomic<int> openDuplications = 0, heldFrames = 0;

  std::mutex listenerMutex;  // held while the listener runs; never taken with `mutex` held
  std::function<void()> listener;
};

}  // namespace quillmark::test

// A desktop that a test writes: monitors anywhere on the plane, windows, pictures, display changes, and any
// call failing on its n-th use. The layer's calls run over it as they do over a real server.
//
// A monitor delivers a frame at first, then only after Paint or Refresh. Frames are copies with padded rows,
// a meaningless fourth byte, and rubbish in place of the picture once released, so that a reader who relies
// on any of these is found out.
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
};

class ScriptedDesktop : public layer::Desktop, public std::enable_shared_from_this<ScriptedDesktop> {
 public:
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
  void Minimize(layer::WindowId window) {
    Change(window, [](ScriptedWindow& w) { w.iconic = true; });
  }
  void Restore(layer::WindowId window) {
    Change(window, [](ScriptedWindow& w) { w.iconic = false; });
  }
  void Raise(layer::WindowId window);
  void MoveWindow(layer::WindowId window, const RECT& client) {
    Change(window, [&](ScriptedWindow& w) { w.client = client; });
  }
  // Path of the program of a process; processes have none until then.
  void SetProcessImage(std::uint32_t processId, std::wstring path);

  // Draws an 8UC3 image with its top-left corner at a point of the desktop, on every monitor it touches; each
  // of them has a new frame then.
  void Paint(const cv::Mat& bgr, POINT topLeft = {0, 0});
  // A new frame with the same picture, as pointer motion gives.
  void Refresh(layer::MonitorId monitor);

  void SetWaiting(Waiting how) { waiting = how; }
  // Runs once, inside the next Acquire that has no new frame: what happens on the desktop while it waits.
  void WhileNextWaiting(std::function<void()> action);
  // The n-th use from now on fails, n from 1.
  void FailNth(Call call, int n);
  // Every use fails.
  void FailAlways(Call call);
  void Heal();
  // Uses since construction, failed ones included.
  int UsesOf(Call call) const;
  int OpenDuplications() const { return openDuplications; }
  int HeldFrames() const { return heldFrames; }

  // -- what the layer asks

  std::vector<layer::MonitorFacts> Monitors() override;
  std::vector<layer::WindowId> TopLevelWindows() override;
  bool Exists(layer::WindowId window) override {
    return Asked(Call::Exists, window, false, [](const ScriptedWindow&) { return true; });
  }
  bool Visible(layer::WindowId window) override {
    return Asked(Call::Visible, window, false, &ScriptedWindow::visible);
  }
  bool Iconic(layer::WindowId window) override {
    return Asked(Call::Iconic, window, false, &ScriptedWindow::iconic);
  }
  layer::WindowId Root(layer::WindowId window) override {
    return Asked(Call::Root, window, layer::WindowId{0},
                 [=](const ScriptedWindow& w) { return w.root != 0 ? w.root : window; });
  }
  std::uint32_t ProcessId(layer::WindowId window) override {
    return Asked(Call::ProcessId, window, 0u, &ScriptedWindow::processId);
  }
  std::wstring Title(layer::WindowId window) override {
    return Asked(Call::Title, window, std::wstring(), &ScriptedWindow::title);
  }
  std::optional<RECT> OuterRect(layer::WindowId window) override {
    return Asked(Call::OuterRect, window, std::optional<RECT>(), [](const ScriptedWindow& w) {
      return RECT{w.client.left - w.frame.left, w.client.top - w.frame.top, w.client.right + w.frame.right,
                  w.client.bottom + w.frame.bottom};
    });
  }
  std::optional<RECT> ClientRect(layer::WindowId window) override {
    return Asked(Call::ClientRect, window, std::optional<RECT>(), [](const ScriptedWindow& w) {
      return RectAt(0, 0, w.client.right - w.client.left, w.client.bottom - w.client.top);
    });
  }
  std::optional<POINT> ClientOrigin(layer::WindowId window) override {
    return Asked(Call::ClientOrigin, window, std::optional<POINT>(), [](const ScriptedWindow& w) {
      return POINT{w.client.left, w.client.top};
    });
  }
  DPI_AWARENESS Awareness(layer::WindowId window) override {
    return Asked(Call::Awareness, window, DPI_AWARENESS_INVALID, &ScriptedWindow::awareness);
  }
  std::uint32_t DpiOfWindow(layer::WindowId window) override {
    return Asked(Call::DpiOfWindow, window, 0u, &ScriptedWindow::dpi);
  }
  std::optional<std::wstring> ProcessImage(std::uint32_t processId) override;
  HRESULT OpenDevice() override;
  HRESULT Duplicate(layer::MonitorId monitor, std::unique_ptr<layer::Duplication>& duplication) override;
  void OnDisplayChange(std::function<void()> listener) override;

 private:
  class Frames;
  struct Screen {
    ScriptedMonitor script;
    cv::Mat picture;            // 8UC3, desktop orientation
    std::uint64_t version = 1;  // of the picture; a duplication that saw a lower one has a new frame
  };

  void RunWhileWaiting(std::unique_lock<std::mutex>& lock);
  // Counts a use and tells whether the script makes it fail. The caller holds `mutex`.
  bool Fails(Call call) {
    const auto index = static_cast<std::size_t>(call);
    return ++uses[index] == failing[index] || failing[index] == kAlways;
  }
  // Answers a question about a window, or gives `otherwise` when there is none or the call is to fail.
  template <typename Answer, typename Ask>
  Answer Asked(Call call, layer::WindowId id, Answer otherwise, Ask ask) {
    const std::lock_guard lock(mutex);
    const bool fails = Fails(call);
    const auto found = windows.find(id);
    return fails || found == windows.end() ? otherwise : Answer(std::invoke(ask, found->second));
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
  std::function<void()> whileWaiting;
  std::atomic<Waiting> waiting = Waiting::Never;
  std::atomic<int> openDuplications = 0, heldFrames = 0;

  std::mutex listenerMutex;  // held while the listener runs; never taken with `mutex` held
  std::function<void()> listener;
};

}  // namespace quillmark::test

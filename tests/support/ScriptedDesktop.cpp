#include "support/ScriptedDesktop.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstring>
#include <map>
#include <mutex>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <utility>

namespace quillmark::test {

using layer::MonitorId;
using layer::WindowId;

namespace {

struct Screen {
  ScriptedMonitor script;
  cv::Mat picture;            // 8UC3, desktop orientation
  std::uint64_t version = 1;  // of the picture; a duplication that saw a lower one has a new frame
};

struct Failure {
  int first = 0, last = -1;  // uses that fail, counted from 1
};

cv::Rect AsCvRect(const RECT& rect) {
  return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
}

// The picture as the output delivers it: what stands upright on the desktop is turned back.
cv::Mat Unrotated(const cv::Mat& upright, DXGI_MODE_ROTATION rotation) {
  cv::Mat turned;
  switch (rotation) {
    case DXGI_MODE_ROTATION_ROTATE90:
      cv::rotate(upright, turned, cv::ROTATE_90_COUNTERCLOCKWISE);
      return turned;
    case DXGI_MODE_ROTATION_ROTATE180:
      cv::rotate(upright, turned, cv::ROTATE_180);
      return turned;
    case DXGI_MODE_ROTATION_ROTATE270:
      cv::rotate(upright, turned, cv::ROTATE_90_CLOCKWISE);
      return turned;
    default:
      return upright;
  }
}

}  // namespace

RECT RectAt(LONG left, LONG top, LONG width, LONG height) {
  return {left, top, left + width, top + height};
}

HMONITOR HandleOf(MonitorId monitor) {
  return reinterpret_cast<HMONITOR>(static_cast<ULONG_PTR>(monitor));
}

HWND HandleOf(WindowId window) {
  return reinterpret_cast<HWND>(static_cast<ULONG_PTR>(window));
}

struct ScriptedDesktop::State {
  mutable std::mutex mutex;
  std::condition_variable changed;
  std::vector<MonitorId> monitorOrder;
  std::map<MonitorId, Screen> screens;
  std::vector<WindowId> stacking;  // topmost first
  std::map<WindowId, ScriptedWindow> windows;
  std::map<std::uint32_t, std::wstring> images;
  MonitorId nextMonitor = 1;
  WindowId nextWindow = 0x400001;
  std::uint64_t modeChanges = 0;
  Waiting waiting = Waiting::Never;
  std::array<int, callCount> uses{};
  std::array<Failure, callCount> failures{};
  int openDuplications = 0;
  int heldFrames = 0;

  std::mutex listenerMutex;  // held while the listener runs; never taken with `mutex` held
  std::function<void()> listener;

  // Counts a use and tells whether the script makes it fail. The caller holds `mutex`.
  bool Fails(Call call) {
    const auto index = static_cast<std::size_t>(call);
    const int use = ++uses[index];
    return failures[index].first <= use && use <= failures[index].last;
  }

  ScriptedWindow& Window(WindowId id) {
    const auto found = windows.find(id);
    if (found == windows.end()) throw std::invalid_argument("no such window in the script");
    return found->second;
  }

  // Answers a question about a window, or gives `otherwise` when there is none or the call is to fail.
  template <typename Answer, typename Ask>
  Answer Asked(Call call, WindowId id, Answer otherwise, Ask ask) {
    const std::lock_guard lock(mutex);
    const bool fails = Fails(call);
    const auto found = windows.find(id);
    if (fails || found == windows.end()) return otherwise;
    return ask(found->second);
  }
};

// The frames of one monitor.
class ScriptedDesktop::Frames : public layer::Duplication {
 public:
  Frames(std::shared_ptr<State> shared, MonitorId ofMonitor) : state(std::move(shared)), monitor(ofMonitor) {
    modeChanges = state->modeChanges;
    const ScriptedMonitor& script = state->screens.at(monitor).script;
    rotation = script.rotation;
    const cv::Rect rect = AsCvRect(script.rect);
    const bool onItsSide =
        rotation == DXGI_MODE_ROTATION_ROTATE90 || rotation == DXGI_MODE_ROTATION_ROTATE270;
    size = onItsSide ? cv::Size(rect.height, rect.width) : rect.size();
    if (!script.mode.empty()) size = script.mode;
    ++state->openDuplications;
  }

  ~Frames() override {
    const std::lock_guard lock(state->mutex);
    --state->openDuplications;
    if (held) --state->heldFrames;
  }

  std::uint32_t Width() const override { return static_cast<std::uint32_t>(size.width); }
  std::uint32_t Height() const override { return static_cast<std::uint32_t>(size.height); }

  HRESULT Acquire(std::uint32_t timeoutMs) override {
    std::unique_lock lock(state->mutex);
    if (state->Fails(Call::Acquire)) return DXGI_ERROR_ACCESS_LOST;
    if (held) return DXGI_ERROR_INVALID_CALL;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!Lost() && !HasNewFrame()) {
      if (state->waiting == Waiting::Never) return DXGI_ERROR_WAIT_TIMEOUT;
      if (state->waiting == Waiting::UntilFrame) {
        state->changed.wait(lock);
      } else if (state->changed.wait_until(lock, deadline) == std::cv_status::timeout) {
        break;
      }
    }
    if (Lost()) return DXGI_ERROR_ACCESS_LOST;
    if (!HasNewFrame()) return DXGI_ERROR_WAIT_TIMEOUT;
    seen = state->screens.at(monitor).version;
    CopyFrame(state->screens.at(monitor).picture);
    held = true;
    ++state->heldFrames;
    return S_OK;
  }

  HRESULT Release() override {
    const std::lock_guard lock(state->mutex);
    const bool fails = state->Fails(Call::Release);
    if (!held) return DXGI_ERROR_INVALID_CALL;
    held = false;
    --state->heldFrames;
    std::memset(frame.data, 0xDB, frame.total() * frame.elemSize());
    return fails || Lost() ? DXGI_ERROR_ACCESS_LOST : S_OK;
  }

  HRESULT Map(layer::ImageView& view) override {
    const std::lock_guard lock(state->mutex);
    if (state->Fails(Call::Map)) return E_OUTOFMEMORY;
    if (!held) return DXGI_ERROR_INVALID_CALL;
    view = {frame.data, static_cast<std::uint32_t>(frame.step)};
    return S_OK;
  }

  HRESULT ReserveStaging(std::uint32_t, std::uint32_t) override {
    const std::lock_guard lock(state->mutex);
    return state->Fails(Call::ReserveStaging) ? E_OUTOFMEMORY : S_OK;
  }

 private:
  // The caller of these holds the mutex.
  bool Lost() const { return state->modeChanges != modeChanges || !state->screens.contains(monitor); }
  bool HasNewFrame() const { return state->screens.at(monitor).version > seen; }

  void CopyFrame(const cv::Mat& picture) {
    constexpr int padding = 5;  // pixels that belong to no row
    frame.create(size.height, size.width + padding, CV_8UC4);
    frame.setTo(cv::Scalar::all(0xDB));
    cv::Mat delivered = frame.colRange(0, size.width);
    std::vector<cv::Mat> planes;
    cv::split(Unrotated(picture, rotation), planes);
    planes.push_back(cv::Mat(size, CV_8UC1, cv::Scalar(0x5A)));
    cv::merge(planes, delivered);
  }

  const std::shared_ptr<State> state;
  const MonitorId monitor;
  DXGI_MODE_ROTATION rotation = DXGI_MODE_ROTATION_IDENTITY;
  cv::Size size;
  std::uint64_t modeChanges = 0;
  std::uint64_t seen = 0;
  bool held = false;
  cv::Mat frame;  // 8UC4, as the output delivers it
};

ScriptedDesktop::ScriptedDesktop() : state(std::make_shared<State>()) {}
ScriptedDesktop::~ScriptedDesktop() = default;

std::shared_ptr<ScriptedDesktop> ScriptedDesktop::Install() {
  auto desktop = std::make_shared<ScriptedDesktop>();
  layer::SetDesktop(desktop);
  return desktop;
}

// -- monitors -------------------------------------------------------------------------------------------

MonitorId ScriptedDesktop::AddMonitor(const ScriptedMonitor& monitor) {
  const std::lock_guard lock(state->mutex);
  const MonitorId id = state->nextMonitor++;
  Screen screen;
  screen.script = monitor;
  screen.picture = cv::Mat::zeros(AsCvRect(monitor.rect).size(), CV_8UC3);
  state->screens.emplace(id, std::move(screen));
  state->monitorOrder.push_back(id);
  return id;
}

void ScriptedDesktop::RemoveMonitor(MonitorId monitor) {
  const std::lock_guard lock(state->mutex);
  state->screens.erase(monitor);
  std::erase(state->monitorOrder, monitor);
  state->changed.notify_all();
}

void ScriptedDesktop::LoseAccess() {
  const std::lock_guard lock(state->mutex);
  ++state->modeChanges;
  state->changed.notify_all();
}

void ScriptedDesktop::ChangeDisplay() {
  const std::lock_guard lock(state->listenerMutex);
  if (state->listener) state->listener();
}

void ScriptedDesktop::OnDisplayChange(std::function<void()> listener) {
  const std::lock_guard lock(state->listenerMutex);
  state->listener = std::move(listener);
}

std::vector<layer::MonitorFacts> ScriptedDesktop::Monitors() {
  const std::lock_guard lock(state->mutex);
  if (state->Fails(Call::Monitors)) return {};
  std::vector<layer::MonitorFacts> all;
  for (const MonitorId id : state->monitorOrder) {
    const ScriptedMonitor& script = state->screens.at(id).script;
    const bool primary = script.rect.left == 0 && script.rect.top == 0;
    all.push_back({id, script.rect, primary, script.dpi, script.rotation, L"DISPLAY" + std::to_wstring(id)});
  }
  return all;
}

// -- windows --------------------------------------------------------------------------------------------

WindowId ScriptedDesktop::OpenWindow(const ScriptedWindow& window) {
  const std::lock_guard lock(state->mutex);
  const WindowId id = state->nextWindow++;
  state->windows.emplace(id, window);
  state->stacking.insert(state->stacking.begin(), id);
  return id;
}

void ScriptedDesktop::CloseWindow(WindowId window) {
  const std::lock_guard lock(state->mutex);
  state->windows.erase(window);
  std::erase(state->stacking, window);
}

void ScriptedDesktop::Minimize(WindowId window) {
  const std::lock_guard lock(state->mutex);
  state->Window(window).iconic = true;
}

void ScriptedDesktop::Restore(WindowId window) {
  const std::lock_guard lock(state->mutex);
  state->Window(window).iconic = false;
}

void ScriptedDesktop::Raise(WindowId window) {
  const std::lock_guard lock(state->mutex);
  state->Window(window);
  std::erase(state->stacking, window);
  state->stacking.insert(state->stacking.begin(), window);
}

void ScriptedDesktop::MoveWindow(WindowId window, const RECT& client) {
  const std::lock_guard lock(state->mutex);
  state->Window(window).client = client;
}

void ScriptedDesktop::SetProcessImage(std::uint32_t processId, std::wstring path) {
  const std::lock_guard lock(state->mutex);
  state->images[processId] = std::move(path);
}

std::vector<WindowId> ScriptedDesktop::TopLevelWindows() {
  const std::lock_guard lock(state->mutex);
  if (state->Fails(Call::TopLevelWindows)) return {};
  return state->stacking;
}

bool ScriptedDesktop::Exists(WindowId window) {
  return state->Asked(Call::Exists, window, false, [](const ScriptedWindow&) { return true; });
}

bool ScriptedDesktop::Visible(WindowId window) {
  return state->Asked(Call::Visible, window, false, [](const ScriptedWindow& w) { return w.visible; });
}

bool ScriptedDesktop::Iconic(WindowId window) {
  return state->Asked(Call::Iconic, window, false, [](const ScriptedWindow& w) { return w.iconic; });
}

WindowId ScriptedDesktop::Root(WindowId window) {
  return state->Asked(Call::Root, window, WindowId{0},
                      [=](const ScriptedWindow& w) { return w.root != 0 ? w.root : window; });
}

std::uint32_t ScriptedDesktop::ProcessId(WindowId window) {
  return state->Asked(Call::ProcessId, window, 0u, [](const ScriptedWindow& w) { return w.processId; });
}

std::wstring ScriptedDesktop::Title(WindowId window) {
  return state->Asked(Call::Title, window, std::wstring(), [](const ScriptedWindow& w) { return w.title; });
}

std::optional<RECT> ScriptedDesktop::OuterRect(WindowId window) {
  return state->Asked(Call::OuterRect, window, std::optional<RECT>(), [](const ScriptedWindow& w) {
    return RECT{w.client.left - w.frame.left, w.client.top - w.frame.top, w.client.right + w.frame.right,
                w.client.bottom + w.frame.bottom};
  });
}

std::optional<RECT> ScriptedDesktop::ClientRect(WindowId window) {
  return state->Asked(Call::ClientRect, window, std::optional<RECT>(), [](const ScriptedWindow& w) {
    return RectAt(0, 0, w.client.right - w.client.left, w.client.bottom - w.client.top);
  });
}

std::optional<POINT> ScriptedDesktop::ClientOrigin(WindowId window) {
  return state->Asked(Call::ClientOrigin, window, std::optional<POINT>(), [](const ScriptedWindow& w) {
    return POINT{w.client.left, w.client.top};
  });
}

DPI_AWARENESS ScriptedDesktop::Awareness(WindowId window) {
  return state->Asked(Call::Awareness, window, DPI_AWARENESS_INVALID,
                      [](const ScriptedWindow& w) { return w.awareness; });
}

std::uint32_t ScriptedDesktop::DpiOfWindow(WindowId window) {
  return state->Asked(Call::DpiOfWindow, window, 0u, [](const ScriptedWindow& w) { return w.dpi; });
}

std::optional<std::wstring> ScriptedDesktop::ProcessImage(std::uint32_t processId) {
  const std::lock_guard lock(state->mutex);
  const bool fails = state->Fails(Call::ProcessImage);
  const auto found = state->images.find(processId);
  if (fails || found == state->images.end()) return std::nullopt;
  return found->second;
}

// -- pictures and frames --------------------------------------------------------------------------------

void ScriptedDesktop::Paint(const cv::Mat& image, POINT topLeft) {
  cv::Mat bgr = image;
  if (image.type() == CV_8UC4) cv::cvtColor(image, bgr, cv::COLOR_BGRA2BGR);
  if (bgr.type() != CV_8UC3) throw std::invalid_argument("a painted image has three or four 8-bit channels");
  const cv::Rect painted(topLeft.x, topLeft.y, bgr.cols, bgr.rows);
  const std::lock_guard lock(state->mutex);
  for (auto& [id, screen] : state->screens) {
    const cv::Rect monitor = AsCvRect(screen.script.rect);
    const cv::Rect common = painted & monitor;
    if (common.empty()) continue;
    bgr(common - painted.tl()).copyTo(screen.picture(common - monitor.tl()));
    ++screen.version;
  }
  state->changed.notify_all();
}

void ScriptedDesktop::Refresh(MonitorId monitor) {
  const std::lock_guard lock(state->mutex);
  ++state->screens.at(monitor).version;
  state->changed.notify_all();
}

cv::Mat ScriptedDesktop::PictureOf(MonitorId monitor) const {
  const std::lock_guard lock(state->mutex);
  return state->screens.at(monitor).picture.clone();
}

HRESULT ScriptedDesktop::OpenDevice() {
  const std::lock_guard lock(state->mutex);
  return state->Fails(Call::OpenDevice) ? DXGI_ERROR_UNSUPPORTED : S_OK;
}

HRESULT ScriptedDesktop::Duplicate(MonitorId monitor, std::unique_ptr<layer::Duplication>& duplication) {
  const std::lock_guard lock(state->mutex);
  if (state->Fails(Call::Duplicate)) return DXGI_ERROR_UNSUPPORTED;
  if (!state->screens.contains(monitor)) return DXGI_ERROR_ACCESS_LOST;
  duplication = std::make_unique<Frames>(state, monitor);
  return S_OK;
}

// -- waiting, failing, counting -------------------------------------------------------------------------

void ScriptedDesktop::SetWaiting(Waiting waiting) {
  const std::lock_guard lock(state->mutex);
  state->waiting = waiting;
  state->changed.notify_all();
}

void ScriptedDesktop::FailNth(Call call, int n, int uses) {
  const std::lock_guard lock(state->mutex);
  const auto index = static_cast<std::size_t>(call);
  const int first = state->uses[index] + n;
  state->failures[index] = {first, uses > INT_MAX - first ? INT_MAX : first + uses - 1};
}

void ScriptedDesktop::FailAlways(Call call) {
  FailNth(call, 1, INT_MAX);
}

void ScriptedDesktop::Heal() {
  const std::lock_guard lock(state->mutex);
  state->failures.fill(Failure{});
}

int ScriptedDesktop::UsesOf(Call call) const {
  const std::lock_guard lock(state->mutex);
  return state->uses[static_cast<std::size_t>(call)];
}

int ScriptedDesktop::OpenDuplications() const {
  const std::lock_guard lock(state->mutex);
  return state->openDuplications;
}

int ScriptedDesktop::HeldFrames() const {
  const std::lock_guard lock(state->mutex);
  return state->heldFrames;
}

}  // namespace quillmark::test

#include "support/ScriptedDesktop.h"

#include <chrono>
#include <cstring>
#include <span>
#include <utility>

namespace quillmark::test {

using layer::MonitorId;
using layer::WindowId;

namespace {

cv::Rect AsCvRect(const RECT& rect) {
  return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
}

// The picture as the output delivers it: turned back from the desktop's orientation.
cv::Mat Unrotated(const cv::Mat& upright, DXGI_MODE_ROTATION rotation) {
  if (rotation < DXGI_MODE_ROTATION_ROTATE90) return upright;
  constexpr int turns[] = {cv::ROTATE_90_COUNTERCLOCKWISE, cv::ROTATE_180, cv::ROTATE_90_CLOCKWISE};
  cv::Mat turned;
  cv::rotate(upright, turned, turns[rotation - DXGI_MODE_ROTATION_ROTATE90]);
  return turned;
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

// The frames of one monitor.
class ScriptedDesktop::Frames : public layer::Duplication {
 public:
  // The caller holds the desktop's mutex.
  Frames(std::shared_ptr<ScriptedDesktop> ofDesktop, MonitorId ofMonitor)
      : desktop(std::move(ofDesktop)), monitor(ofMonitor), modeChanges(desktop->modeChanges) {
    const ScriptedMonitor& script = desktop->screens.at(monitor).script;
    rotation = script.rotation;
    const cv::Rect rect = AsCvRect(script.rect);
    const bool onItsSide =
        rotation == DXGI_MODE_ROTATION_ROTATE90 || rotation == DXGI_MODE_ROTATION_ROTATE270;
    size = onItsSide ? cv::Size(rect.height, rect.width) : rect.size();
    if (!script.mode.empty()) size = script.mode;
    ++desktop->openDuplications;
  }

  ~Frames() override {
    --desktop->openDuplications;
    if (held) --desktop->heldFrames;
  }

  std::uint32_t Width() const override { return static_cast<std::uint32_t>(size.width); }
  std::uint32_t Height() const override { return static_cast<std::uint32_t>(size.height); }

  HRESULT Acquire(std::uint32_t timeoutMs) override {
    std::unique_lock lock(desktop->mutex);
    if (desktop->Fails(Call::Acquire)) return DXGI_ERROR_ACCESS_LOST;
    if (held) return DXGI_ERROR_INVALID_CALL;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!Lost() && !HasNewFrame()) {
      if (desktop->waiting == Waiting::Never) return DXGI_ERROR_WAIT_TIMEOUT;
      if (desktop->changed.wait_until(lock, deadline) == std::cv_status::timeout) break;
    }
    if (Lost()) return DXGI_ERROR_ACCESS_LOST;
    if (!HasNewFrame()) return DXGI_ERROR_WAIT_TIMEOUT;
    const Screen& screen = desktop->screens.at(monitor);
    Accumulate(screen.changes);
    CopyFrame(screen.picture);
    held = true;
    ++desktop->heldFrames;
    return S_OK;
  }

  HRESULT Release() override {
    const std::lock_guard lock(desktop->mutex);
    if (!held) return DXGI_ERROR_INVALID_CALL;
    held = false;
    --desktop->heldFrames;
    std::memset(frame.data, 0xDB, frame.total() * frame.elemSize());
    return Lost() ? DXGI_ERROR_ACCESS_LOST : S_OK;
  }

  HRESULT Map(layer::ImageView& view) override {
    const std::lock_guard lock(desktop->mutex);
    if (desktop->Fails(Call::Map)) return E_OUTOFMEMORY;
    if (!held) return DXGI_ERROR_INVALID_CALL;
    view = {frame.data, static_cast<std::uint32_t>(frame.step)};
    return S_OK;
  }

  layer::FrameFacts Facts() const override {
    if (!change.announced) return {change.presented, 0, 0};
    return {change.presented, change.moves.size(), change.dirty.size()};
  }

  HRESULT Dirty(std::span<const RECT>& rects) override { return Give(Call::DirtyRects, change.dirty, rects); }

  HRESULT Moves(std::span<const DXGI_OUTDUPL_MOVE_RECT>& rects) override {
    return Give(Call::MoveRects, change.moves, rects);
  }

 private:
  template <typename Rects>
  HRESULT Give(Call call, const std::vector<Rects>& ours, std::span<const Rects>& rects) {
    const std::lock_guard lock(desktop->mutex);
    if (desktop->Fails(call)) return E_FAIL;
    rects = ours;
    return S_OK;
  }

  // The caller of these holds the mutex.
  bool Lost() const { return desktop->modeChanges != modeChanges || !desktop->screens.contains(monitor); }
  bool HasNewFrame() const { return desktop->screens.at(monitor).changes.size() > seen; }

  void Accumulate(const std::vector<ScriptedChange>& all) {
    change = {.presented = false};
    for (; seen < all.size(); ++seen) {
      const ScriptedChange& next = all[seen];
      change.dirty.insert(change.dirty.end(), next.dirty.begin(), next.dirty.end());
      change.moves.insert(change.moves.end(), next.moves.begin(), next.moves.end());
      change.presented |= next.presented;
      change.announced &= next.announced;
    }
  }

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

  const std::shared_ptr<ScriptedDesktop> desktop;
  const MonitorId monitor;
  DXGI_MODE_ROTATION rotation = DXGI_MODE_ROTATION_IDENTITY;
  cv::Size size;
  const std::uint64_t modeChanges;
  std::size_t seen = 0;  // how many of the monitor's changes
  bool held = false;
  ScriptedChange change;  // all since the frame before
  cv::Mat frame;          // 8UC4, as the output delivers it
};

std::shared_ptr<ScriptedDesktop> ScriptedDesktop::Install() {
  auto desktop = std::make_shared<ScriptedDesktop>();
  layer::SetDesktop(desktop);
  return desktop;
}

// In the image as delivered; the whole image if the output is rotated.
void ScriptedDesktop::Screen::Change(const cv::Rect& upright) {
  const cv::Size all = Unrotated(picture, script.rotation).size();
  const bool rotated = script.rotation >= DXGI_MODE_ROTATION_ROTATE90;
  const cv::Rect rect = rotated ? cv::Rect({}, all) : upright;
  changes.push_back({.dirty = {RectAt(rect.x, rect.y, rect.width, rect.height)}});
}

MonitorId ScriptedDesktop::AddMonitor(const ScriptedMonitor& monitor) {
  const std::lock_guard lock(mutex);
  const MonitorId id = nextMonitor++;
  Screen& screen = screens[id];
  screen = {monitor, cv::Mat::zeros(AsCvRect(monitor.rect).size(), CV_8UC3), {}};
  screen.Change({{}, screen.picture.size()});
  return id;
}

void ScriptedDesktop::RemoveMonitor(MonitorId monitor) {
  const std::lock_guard lock(mutex);
  screens.erase(monitor);
  changed.notify_all();
}

void ScriptedDesktop::LoseAccess() {
  const std::lock_guard lock(mutex);
  ++modeChanges;
  changed.notify_all();
}

void ScriptedDesktop::ChangeDisplay() {
  const std::lock_guard lock(listenerMutex);
  if (listener) listener();
}

void ScriptedDesktop::OnDisplayChange(std::function<void()> newListener) {
  const std::lock_guard lock(listenerMutex);
  listener = std::move(newListener);
}

std::vector<layer::MonitorFacts> ScriptedDesktop::Monitors() {
  const std::lock_guard lock(mutex);
  if (Fails(Call::Monitors)) return {};
  std::vector<layer::MonitorFacts> all;
  for (const auto& [id, screen] : screens) {
    const ScriptedMonitor& script = screen.script;
    const bool primary = script.rect.left == 0 && script.rect.top == 0;
    all.push_back({id, script.rect, primary, script.dpi, script.rotation, L"DISPLAY" + std::to_wstring(id)});
  }
  return all;
}

WindowId ScriptedDesktop::OpenWindow(const ScriptedWindow& window) {
  const std::lock_guard lock(mutex);
  const WindowId id = nextWindow++;
  windows.emplace(id, window);
  stacking.insert(stacking.begin(), id);
  return id;
}

void ScriptedDesktop::CloseWindow(WindowId window) {
  const std::lock_guard lock(mutex);
  windows.erase(window);
  std::erase(stacking, window);
}

void ScriptedDesktop::SetProcessImage(std::uint32_t processId, std::wstring path) {
  const std::lock_guard lock(mutex);
  images[processId] = std::move(path);
}

std::vector<WindowId> ScriptedDesktop::TopLevelWindows() {
  const std::lock_guard lock(mutex);
  if (Fails(Call::TopLevelWindows)) return {};
  return stacking;
}

std::optional<layer::WindowFacts> ScriptedDesktop::Window(WindowId id) {
  const std::lock_guard lock(mutex);
  const bool fails = Fails(Call::Window);
  const auto found = windows.find(id);
  if (fails || found == windows.end()) return std::nullopt;
  const ScriptedWindow& window = found->second;
  const RECT& in = window.client;
  const RECT& frame = window.frame;
  return layer::WindowFacts{
      in,
      {in.left - frame.left, in.top - frame.top, in.right + frame.right, in.bottom + frame.bottom},
      window.visible,
      window.iconic,
      window.root != 0 ? window.root : id,
      window.processId,
      window.title,
      window.awareness,
      window.dpi};
}

std::optional<std::wstring> ScriptedDesktop::ProcessImage(std::uint32_t processId) {
  const std::lock_guard lock(mutex);
  const bool fails = Fails(Call::ProcessImage);
  const auto found = images.find(processId);
  if (fails || found == images.end()) return std::nullopt;
  return found->second;
}

void ScriptedDesktop::Paint(const cv::Mat& bgr, POINT topLeft) {
  const cv::Rect painted(topLeft.x, topLeft.y, bgr.cols, bgr.rows);
  const std::lock_guard lock(mutex);
  for (auto& [id, screen] : screens) {
    const cv::Rect monitor = AsCvRect(screen.script.rect);
    const cv::Rect common = painted & monitor;
    if (common.empty()) continue;
    bgr(common - painted.tl()).copyTo(screen.picture(common - monitor.tl()));
    screen.Change(common - monitor.tl());
  }
  changed.notify_all();
}

void ScriptedDesktop::Scroll(MonitorId monitor, const RECT& from, POINT to) {
  const std::lock_guard lock(mutex);
  Screen& screen = screens.at(monitor);
  const cv::Rect source = AsCvRect(from);
  const cv::Rect target({to.x, to.y}, source.size());
  const cv::Mat moved = screen.picture(source).clone();
  moved.copyTo(screen.picture(target));
  const RECT destination = RectAt(to.x, to.y, target.width, target.height);
  screen.changes.push_back({.moves = {{{from.left, from.top}, destination}}});
  changed.notify_all();
}

void ScriptedDesktop::Refresh(MonitorId monitor, const ScriptedChange& change) {
  const std::lock_guard lock(mutex);
  screens.at(monitor).changes.push_back(change);
  changed.notify_all();
}

HRESULT ScriptedDesktop::OpenDevice() {
  const std::lock_guard lock(mutex);
  return Fails(Call::OpenDevice) ? DXGI_ERROR_UNSUPPORTED : S_OK;
}

HRESULT ScriptedDesktop::Duplicate(MonitorId monitor, std::unique_ptr<layer::Duplication>& duplication) {
  const std::lock_guard lock(mutex);
  if (Fails(Call::Duplicate)) return DXGI_ERROR_UNSUPPORTED;
  if (!screens.contains(monitor)) return DXGI_ERROR_ACCESS_LOST;
  duplication = std::make_unique<Frames>(shared_from_this(), monitor);
  return S_OK;
}

}  // namespace quillmark::test

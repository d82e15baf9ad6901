#include "desktop/X11Desktop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "desktop/X11Duplication.h"
#include "desktop/X11Monitors.h"

namespace quillmark::layer {
namespace {

constexpr int kReconnectMs = 1000;
// How often the session's events are read while nobody asks the desktop anything. The server keeps unread
// events in its memory, without limit.
constexpr int kReadEventsMs = 1000;

bool SameMonitor(const MonitorFacts& a, const MonitorFacts& b) {
  return a.deviceName == b.deviceName && a.rect.left == b.rect.left && a.rect.top == b.rect.top &&
         a.rect.right == b.rect.right && a.rect.bottom == b.rect.bottom;
}

UniqueFd OpenEventFd() {
  UniqueFd fd(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!fd) throw std::system_error(errno, std::generic_category(), "eventfd");
  return fd;
}

void Signal(const UniqueFd& eventFd) {
  const std::uint64_t one = 1;
  // Fails only when the count is at its limit; the reader wakes then anyway.
  (void)!write(eventFd.Get(), &one, sizeof one);
}

}  // namespace

// The state of one server, over one connection.
struct X11Desktop::Session {
  explicit Session(std::unique_ptr<XcbConnection> opened)
      : connection(std::move(opened)), windows(*connection) {
    randr = SelectMonitorEvents(*connection, X11Windows::kRootEvents);
  }

  static std::unique_ptr<Session> Open(const std::string& display) {
    auto connection = XcbConnection::Open(display);
    if (!connection) return nullptr;
    auto session = std::make_unique<Session>(std::move(connection));
    return session->connection->Lost() ? nullptr : std::move(session);
  }

  // Processes the events that have arrived, without a round trip.
  void TakeEvents() {
    while (const XcbEvent event{xcb_poll_for_event(*connection)}) {
      if (IsMonitorEvent(*connection, *event) || IsResourceChange(*event)) monitorsOutdated = true;
      windows.Note(*event);
    }
  }

  bool IsResourceChange(const xcb_generic_event_t& event) const {
    const auto& property = reinterpret_cast<const xcb_property_notify_event_t&>(event);
    return (event.response_type & 0x7F) == XCB_PROPERTY_NOTIFY && property.window == connection->Root() &&
           property.atom == XCB_ATOM_RESOURCE_MANAGER;
  }

  std::unique_ptr<XcbConnection> connection;
  X11Windows windows;
  bool randr = false;
  bool monitorsOutdated = true;
  MonitorLayout layout;
};

X11Desktop::X11Desktop(std::string displayName) : display(std::move(displayName)), wakeUp(OpenEventFd()) {
  session = Session::Open(display);
  reported = Monitors();
  watcher = std::thread([this] { Watch(); });
}

X11Desktop::~X11Desktop() {
  {
    const std::lock_guard lock(mutex);
    stopping = true;
  }
  Signal(wakeUp);
  watcher.join();
}

bool X11Desktop::StillConnected() {
  if (session && !session->connection->Lost()) return true;
  if (session) Signal(wakeUp);
  session.reset();
  numbered.clear();
  return false;
}

bool X11Desktop::RefreshMonitors() {
  if (!session) return false;
  if (enumerating == std::this_thread::get_id()) return StillConnected();
  session->TakeEvents();
  if (session->monitorsOutdated) {
    session->monitorsOutdated = false;
    if (auto layout = ReadMonitors(*session->connection, session->randr)) {
      session->layout = std::move(*layout);
      NumberMonitors();
    }
  }
  return StillConnected();
}

bool X11Desktop::RefreshWindows() {
  if (!RefreshMonitors()) return false;
  if (enumerating != std::this_thread::get_id()) session->windows.Refresh();
  return StillConnected();
}

void X11Desktop::NumberMonitors() {
  for (MonitorFacts& monitor : session->layout.monitors) {
    const auto old = std::ranges::find_if(numbered, [&](const auto& m) { return SameMonitor(m, monitor); });
    monitor.id = old != numbered.end() ? old->id : ++lastNumber;
  }
  numbered = session->layout.monitors;
}

std::vector<MonitorFacts> X11Desktop::Monitors() {
  const std::lock_guard lock(mutex);
  RefreshMonitors();
  return numbered;
}

std::vector<WindowId> X11Desktop::TopLevelWindows() {
  const std::lock_guard lock(mutex);
  if (!RefreshWindows()) return {};
  return session->windows.Order();
}

void X11Desktop::BeginEnumeration() {
  const std::lock_guard lock(mutex);
  if (enumerating != std::thread::id()) return;  // of another thread: answers here are merely slower
  RefreshWindows();
  enumerating = std::this_thread::get_id();
}

void X11Desktop::EndEnumeration() {
  const std::lock_guard lock(mutex);
  if (enumerating == std::this_thread::get_id()) enumerating = {};
}

std::optional<WindowFacts> X11Desktop::Window(WindowId window) {
  const std::lock_guard lock(mutex);
  const WindowFacts* known = RefreshWindows() ? session->windows.Find(window) : nullptr;
  if (known == nullptr) return std::nullopt;
  WindowFacts facts = *known;
  const POINT origin = session->layout.rootOrigin;
  for (RECT* rect : {&facts.client, &facts.outer}) {
    *rect = {rect->left - origin.x, rect->top - origin.y, rect->right - origin.x, rect->bottom - origin.y};
  }
  facts.dpi = numbered.empty() ? 0 : numbered.front().dpi;  // the server has one for all
  return facts;
}

HRESULT X11Desktop::OpenDevice() {
  const std::lock_guard lock(mutex);
  return RefreshMonitors() ? S_OK : DXGI_ERROR_DEVICE_REMOVED;
}

HRESULT X11Desktop::Duplicate(MonitorId id, std::unique_ptr<Duplication>& duplication) {
  MonitorFacts monitor;
  POINT origin{};
  {
    const std::lock_guard lock(mutex);
    if (!RefreshMonitors()) return DXGI_ERROR_ACCESS_LOST;
    const auto found = std::ranges::find(numbered, id, &MonitorFacts::id);
    if (found == numbered.end()) return DXGI_ERROR_ACCESS_LOST;
    monitor = *found;
    origin = session->layout.rootOrigin;
  }
  return OpenX11Duplication(monitor, origin, duplication);
}

void X11Desktop::OnDisplayChange(std::function<void()> newListener) {
  const std::lock_guard lock(listenerMutex);
  listener = std::move(newListener);
}

bool X11Desktop::Connected() {
  const std::lock_guard lock(mutex);
  return session != nullptr;
}

bool X11Desktop::Stopping() {
  const std::lock_guard lock(mutex);
  return stopping;
}

void X11Desktop::Pause(XcbConnection* connection, int timeoutMs) const {
  pollfd waits[] = {{wakeUp.Get(), POLLIN, 0},
                    {connection ? xcb_get_file_descriptor(*connection) : -1, POLLIN, 0}};
  poll(waits, 2, timeoutMs);
  std::uint64_t count = 0;
  (void)!read(wakeUp.Get(), &count, sizeof count);
}

void X11Desktop::Watch() {
  while (!Stopping()) {
    try {
      if (const auto connection = XcbConnection::Open(display)) {
        if (!Connected()) {
          // Outside the lock: a server may be slow to answer.
          auto opened = Session::Open(display);
          const std::lock_guard lock(mutex);
          session = std::move(opened);
        }
        WatchServer(*connection);
        const std::lock_guard lock(mutex);
        if (connection->Lost()) session.reset();
        StillConnected();
      }
      if (Stopping()) return;
      ReportChange();
    } catch (...) {
      // Out of memory, or the listener threw: try again.
    }
    Pause(nullptr, kReconnectMs);
  }
}

// Returns when the connection is lost or the session or the watcher ends.
void X11Desktop::WatchServer(XcbConnection& connection) {
  SelectMonitorEvents(connection, 0);
  // After the server's answer every change is reported; earlier ones are in the first report.
  const XcbReply<xcb_get_input_focus_reply_t> selected(
      xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
  bool changed = true;
  for (;;) {
    while (const XcbEvent event{xcb_poll_for_event(connection)}) {
      changed = IsMonitorEvent(connection, *event) || changed;
    }
    {
      const std::lock_guard lock(mutex);
      if (stopping || !session || connection.Lost()) return;
      // The session's connection may not have got the event yet.
      if (changed) session->monitorsOutdated = true;
      session->TakeEvents();
    }
    if (std::exchange(changed, false)) {
      ReportChange();
    } else {
      Pause(&connection, kReadEventsMs);
    }
  }
}

void X11Desktop::ReportChange() {
  auto monitors = Monitors();
  const bool same = std::ranges::equal(monitors, reported, [](const MonitorFacts& a, const MonitorFacts& b) {
    return a.id == b.id && a.primary == b.primary;
  });
  if (same) return;
  reported = std::move(monitors);
  const std::lock_guard lock(listenerMutex);
  if (listener) listener();
}

}  // namespace quillmark::layer

// The desktop of an X server. Queries are answered from tables that the connection's events keep current. A
// watcher thread with its own connection reports display changes to the listener, and once a second reads the
// events that nobody has asked for.
//
// While the server is gone, there are no monitors and no windows. The watcher reconnects, trying at most once
// a second; the loss and the return are display changes.
//
// Threading: callable from any thread. Joins the watcher in its destructor. A listener must not set another.
#pragma once

#include <mutex>
#include <string>
#include <thread>

#include "desktop/Desktop.h"
#include "desktop/X11Windows.h"
#include "desktop/XcbConnection.h"
#include "host/UniqueFd.h"

namespace quillmark::layer {

class X11Desktop final : public Desktop {
 public:
  // `display` as in DISPLAY. A server that cannot be reached is tried again later.
  explicit X11Desktop(std::string display);
  ~X11Desktop() override;

  std::vector<MonitorFacts> Monitors() override;
  std::vector<WindowId> TopLevelWindows() override;
  void BeginEnumeration() override;
  void EndEnumeration() override;
  std::optional<WindowFacts> Window(WindowId window) override;
  HRESULT OpenDevice() override;
  HRESULT Duplicate(MonitorId monitor, std::unique_ptr<Duplication>& duplication) override;
  void OnDisplayChange(std::function<void()> newListener) override;

 private:
  struct Session;

  // Bring the session's tables up to date; false when there is no server. The caller holds `mutex`. The
  // enumerating thread uses the tables as they are: it asks several questions about each window, and each
  // look at the connection is a system call.
  bool RefreshMonitors();
  bool RefreshWindows();
  // Drops a session with a lost connection and wakes the watcher to open another.
  bool StillConnected();
  // Gives each monitor its previous number, or a new one if its name or rectangle is new.
  void NumberMonitors();

  void Watch();
  void WatchServer(XcbConnection& connection);
  void ReportChange();
  bool Connected();
  bool Stopping();
  // Waits for the wake-up, input from the connection or the time-out, whichever is first.
  void Pause(XcbConnection* connection, int timeoutMs) const;

  const std::string display;
  const UniqueFd wakeUp;  // an eventfd that ends the watcher's waits

  std::mutex mutex;                    // guards what follows, to the blank line
  std::unique_ptr<Session> session;    // null while there is no server
  std::thread::id enumerating;         // the enumerating thread, if any
  std::vector<MonitorFacts> numbered;  // the monitors as last read and numbered
  MonitorId lastNumber = 0;
  bool stopping = false;

  std::mutex listenerMutex;  // held while the listener runs, never taken with `mutex` held
  std::function<void()> listener;

  std::vector<MonitorFacts> reported;  // at the watcher's last report; only it uses this
  std::thread watcher;
};

}  // namespace quillmark::layer

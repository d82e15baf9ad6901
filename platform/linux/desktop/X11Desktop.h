// The desktop of an X server. Queries are answered from tables that a connection's events keep current; a
// watcher thread with a connection of its own tells the listener of display changes, also when nobody asks.
//
// When the server goes, there are no monitors and no windows; the watcher tries to connect again, at most
// once a second, and both the loss and the return count as display changes.
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
  // `display` as in DISPLAY. A server that cannot be reached is tried again from then on.
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

  // Bring the session's tables up to date; false when there is no server. With `mutex` held. The thread
  // that enumerates takes the tables as they are: a look at the connection is a system call, and it asks
  // several questions about each window.
  bool RefreshMonitors();
  bool RefreshWindows();
  // Drops a session whose connection is lost, and wakes the watcher to get another.
  bool StillConnected();
  // Gives each monitor the number it had, or a new one if it is new or its rectangle is.
  void NumberMonitors();

  void Watch();
  void WatchServer(XcbConnection& connection);
  void ReportChange();
  bool Connected();
  bool Stopping();
  // Waits for the watcher's wake-up, for input of the connection, or for the time to pass, whichever is
  // first.
  void Pause(XcbConnection* connection, int timeoutMs) const;

  const std::string display;
  const UniqueFd wakeUp;  // an eventfd that ends the watcher's waits

  std::mutex mutex;                    // guards what follows, to the blank line
  std::unique_ptr<Session> session;    // null while there is no server
  std::thread::id enumerating;         // the thread that does, if one does
  std::vector<MonitorFacts> numbered;  // the monitors as last read and numbered
  MonitorId lastNumber = 0;
  bool stopping = false;

  std::mutex listenerMutex;  // held while the listener runs, never taken with `mutex` held
  std::function<void()> listener;

  std::vector<MonitorFacts> reported;  // the monitors at the watcher's last report; its own
  std::thread watcher;
};

}  // namespace quillmark::layer

// A private X server on a free display number, with or without a window manager. While it exists, DISPLAY
// names it for this process and the programs it starts.
//
// Threading: made, used and destroyed on the test's main thread, outside the threads under test.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/ChildProcess.h"

namespace quillmark::test {

class XClient;

class PrivateDisplay {
 public:
  // Returns when the server takes connections. Throws std::runtime_error when it does not start.
  explicit PrivateDisplay(int width = 1280, int height = 800);
  ~PrivateDisplay();
  PrivateDisplay(const PrivateDisplay&) = delete;
  PrivateDisplay& operator=(const PrivateDisplay&) = delete;

  const std::string& Name() const { return name; }  // as in DISPLAY, for example ":5"

  // Starts openbox; returns when it manages windows.
  void StartWindowManager();
  // SIGKILL leaves its properties on the root window, as a crash would.
  void EndWindowManager(int signal);

  void EndServer(int signal);
  // Starts a new server with the same number.
  void RestartServer();

  // Runs a program to its end, for example {"xrandr", "--setmonitor", ...}; true when it exited with 0.
  static bool Run(const std::vector<std::string>& arguments) { return ChildProcess(arguments).Wait() == 0; }

 private:
  void StartServer();

  std::string screen;
  std::string name;  // empty until the server has chosen its number
  std::optional<std::string> outerDisplay;
  std::optional<std::string> outerAuthority;
  std::unique_ptr<ChildProcess> server;
  std::unique_ptr<ChildProcess> windowManager;
  // The client that saw the window manager start. If it were closed, the next client would reuse its window
  // ids, and a window manager that still knows the old windows would move the new ones.
  std::unique_ptr<XClient> witness;
};

}  // namespace quillmark::test

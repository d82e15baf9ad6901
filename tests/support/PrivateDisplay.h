// A private X server on a free display number, with or without a window manager. While it exists, DISPLAY
// names it for this process and its children.
//
// Threading: made, used and destroyed on the test's main thread, outside the threads under test.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/ChildProcess.h"
#include "support/linux/Variable.h"

namespace quillmark::test {

class XClient;

class PrivateDisplay {
 public:
  // Returns when the server accepts connections. Throws std::runtime_error if it does not start.
  explicit PrivateDisplay(int width = 1280, int height = 800);
  ~PrivateDisplay();
  PrivateDisplay(const PrivateDisplay&) = delete;
  PrivateDisplay& operator=(const PrivateDisplay&) = delete;

  const std::string& Name() const { return name; }  // as in DISPLAY, for example ":5"

  // Starts openbox; returns when it manages windows.
  void StartWindowManager();
  // As in a crash, its properties stay on the root window.
  void KillWindowManager() { windowManager->Kill(); }

  void EndServer(int signal);
  // Starts a new server with the same number.
  void RestartServer();

  // Runs a program to its end, for example {"xrandr", "--setmonitor", ...}; true if it exits with 0.
  static bool Run(const std::vector<std::string>& arguments) { return ChildProcess(arguments).Wait() == 0; }

 private:
  void StartServer();

  std::string screen;
  std::string name;  // empty until the server has chosen its number
  // The server needs no authorisation, and two threads must not look for the user's at once.
  const Variable authority{"XAUTHORITY", "/dev/null"};
  std::optional<Variable> nameVariable;
  std::unique_ptr<ChildProcess> server;
  std::unique_ptr<ChildProcess> windowManager;
  // The client that saw the window manager start. If it closed, the next client would reuse its window ids,
  // and a window manager that still knows the old windows would move the new ones.
  std::unique_ptr<XClient> witness;
};

}  // namespace quillmark::test

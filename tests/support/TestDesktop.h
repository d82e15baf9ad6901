// A desktop for test windows, with a window manager, whose displays can change. Destroy its windows first.
//
// Threading: the test's main thread.
#pragma once

#include <windows.h>

#include <memory>
#include <string>

#include "support/LineProcess.h"

namespace quillmark::test {

class TestDesktop {
 public:
  // Throws std::runtime_error without a desktop.
  TestDesktop();
  ~TestDesktop();

  // Makes the window system report a change of its displays.
  void ChangeDisplays();

 private:
  struct Host;
  std::unique_ptr<Host> host;
};

// A top-level window of another process. When a call returns, the window system has the request; its effect
// follows soon.
class TestWindow {
 public:
  // Shows the window with its client area at this place. Throws std::runtime_error on failure.
  TestWindow(const std::string& utf8Title, int x, int y, int width, int height);

  HWND Handle() const { return window; }
  DWORD ProcessId() const { return static_cast<DWORD>(process.Id()); }

  // Moves the client area's top-left corner there.
  void Move(int x, int y);
  void Raise() { Do("raise"); }
  void Minimise() { Do("minimise"); }
  void Restore() { Do("restore"); }
  void Close() { Do("close"); }
  // Ends the process without closing the window.
  void Kill() { process.Kill(); }

 private:
  void Do(const std::string& what);

  LineProcess process;
  HWND window = nullptr;
};

}  // namespace quillmark::test

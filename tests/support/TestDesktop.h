// A desktop for windows of the test's own: as it is shown to one who manages windows, and told of changes to
// its displays. What is opened on it goes before it.
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
  // Throws std::runtime_error when there is none.
  TestDesktop();
  ~TestDesktop();
  TestDesktop(const TestDesktop&) = delete;
  TestDesktop& operator=(const TestDesktop&) = delete;

  // Lets the window system tell that its displays have changed.
  void ChangeDisplays();

 private:
  struct Host;
  std::unique_ptr<Host> host;
};

// An application's top-level window, of a process of its own. What is asked of it has been asked of the
// window system when the call returns, and shows soon after.
class TestWindow {
 public:
  // Shows it with its client area at the place on the desktop. Throws std::runtime_error when it cannot be.
  TestWindow(const std::string& utf8Title, int x, int y, int width, int height);

  HWND Handle() const { return window; }
  DWORD ProcessId() const { return static_cast<DWORD>(process.Id()); }

  // Puts the client area's top-left corner there.
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

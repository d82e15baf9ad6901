// Where programs under test show their message boxes, the session's desktop, and their debugger output.
//
// Threading: the test's main thread.
#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

#include "Programs.h"
#include "support/windows/DebugOutputReader.h"

namespace quillmark::test {

inline void LeaveDisplay() {}

class Desktop {
 public:
  bool ShowsBox(const std::string& title) const { return BoxOf(title) != nullptr; }
  void ConfirmBox(const std::string& title) const { ::PostMessageW(BoxOf(title), WM_COMMAND, IDOK, 0); }

 private:
  static HWND BoxOf(const std::string& title) {
    constexpr wchar_t boxClass[] = L"#32770";
    const HWND box = ::FindWindowW(boxClass, std::wstring(title.begin(), title.end()).c_str());
    return box != nullptr && ::IsWindowVisible(box) ? box : nullptr;
  }
};

// Create it before the programs.
class DebuggerOutput {
 public:
  // The program's lines so far, UTF-8. Characters outside the code page may be lost: tests look for ASCII.
  std::string Of(const Program& program) const {
    const std::lock_guard lock(mutex);
    const auto found = texts.find(static_cast<std::uint32_t>(program.Pid()));
    return found == texts.end() ? "" : found->second;
  }

 private:
  mutable std::mutex mutex;
  std::map<std::uint32_t, std::string> texts;  // by process
  const DebugOutputReader reader{[this](std::uint32_t processId, std::string_view text) {
    const std::lock_guard lock(mutex);
    texts[processId] += text;
  }};
};

}  // namespace quillmark::test

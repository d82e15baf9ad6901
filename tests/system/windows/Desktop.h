// The desktop where programs under test show their message boxes: that of the session.
//
// Threading: the test's main thread.
#pragma once

#include <windows.h>

#include <string>

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

}  // namespace quillmark::test

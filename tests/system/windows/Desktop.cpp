#include "Desktop.h"

#include <windows.h>

namespace quillmark::test {

namespace {

// The class of the system's boxes.
HWND BoxOf(const std::string& title) {
  const HWND box = ::FindWindowW(L"#32770", std::wstring(title.begin(), title.end()).c_str());
  return box != nullptr && ::IsWindowVisible(box) ? box : nullptr;
}

}  // namespace

void LeaveDisplay() {}

struct Desktop::Host {};

Desktop::Desktop() = default;
Desktop::~Desktop() = default;

bool Desktop::ShowsBox(const std::string& title) const {
  return BoxOf(title) != nullptr;
}

void Desktop::ConfirmBox(const std::string& title) const {
  ::PostMessageW(BoxOf(title), WM_COMMAND, IDOK, 0);
}

}  // namespace quillmark::test

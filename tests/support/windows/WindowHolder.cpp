// The process of a TestWindow: executes one line of standard input at a time, while the window's thread
// handles its messages.
#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <future>
#include <iostream>
#include <sstream>
#include <string>
#include <thread>

namespace {

constexpr DWORD kStyle = WS_OVERLAPPEDWINDOW;

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_DESTROY) ::PostQuitMessage(0);
  return ::DefWindowProcW(window, message, wParam, lParam);
}

// The outer rectangle of a window with this client area.
RECT Outer(int x, int y, int width, int height) {
  RECT rect{x, y, x + width, y + height};
  ::AdjustWindowRect(&rect, kStyle, FALSE);
  return rect;
}

void Show(const std::wstring& title, const RECT& outer, std::promise<HWND> shown) {
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = Procedure;
  windowClass.lpszClassName = L"QuillmarkTestWindow";
  ::RegisterClassW(&windowClass);
  const HWND window = ::CreateWindowExW(0, windowClass.lpszClassName, title.c_str(), kStyle, outer.left,
                                        outer.top, outer.right - outer.left, outer.bottom - outer.top,
                                        nullptr, nullptr, nullptr, nullptr);
  ::ShowWindow(window, SW_SHOWNORMAL);
  shown.set_value(window);
  MSG message{};
  while (window != nullptr && ::GetMessageW(&message, nullptr, 0, 0) > 0) ::DispatchMessageW(&message);
}

}  // namespace

int main() {
  HWND window = nullptr;
  std::jthread owner;
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string verb, title;
    int x = 0, y = 0, width = 0, height = 0;
    words >> verb;
    if (verb == "open") {
      words >> x >> y >> width >> height;
      std::getline(words >> std::ws, title);
      std::promise<HWND> shown;
      std::future<HWND> made = shown.get_future();
      const std::filesystem::path wide = std::u8string(title.begin(), title.end());
      owner = std::jthread(Show, wide.wstring(), Outer(x, y, width, height), std::move(shown));
      window = made.get();
      std::cout << reinterpret_cast<std::uintptr_t>(window) << std::endl;
      continue;
    }
    if (verb == "move" && words >> x >> y) {
      const RECT outer = Outer(x, y, 0, 0);
      ::SetWindowPos(window, nullptr, outer.left, outer.top, 0, 0,
                     SWP_NOSIZE | SWP_NOZORDER | SWP_NOACTIVATE);
    }
    if (verb == "raise")
      ::SetWindowPos(window, HWND_TOP, 0, 0, 0, 0, SWP_NOSIZE | SWP_NOMOVE | SWP_NOACTIVATE);
    if (verb == "minimise") ::ShowWindow(window, SW_MINIMIZE);
    if (verb == "restore") ::ShowWindow(window, SW_RESTORE);
    if (verb == "close") {
      ::PostMessageW(window, WM_CLOSE, 0, 0);
      owner.join();
    }
    std::cout << "done" << std::endl;
  }
  if (owner.joinable()) ::PostMessageW(window, WM_CLOSE, 0, 0);
}

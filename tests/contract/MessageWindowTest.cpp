// Windows that only receive messages.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <thread>
#include <vector>

#include "support/Eventually.h"
#include "support/TestDesktop.h"

namespace quillmark::test {
namespace {

constexpr UINT kMessage = 0x8001;  // in the range for applications

// What a window's procedure received; WM_NCCREATE brings its address.
struct Receiver {
  std::vector<UINT> messages;
  std::atomic<int> displayChanges = 0;
};

LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    const auto* create = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    ::SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(create->lpCreateParams));
  } else if (auto* receiver = reinterpret_cast<Receiver*>(::GetWindowLongPtrW(window, GWLP_USERDATA))) {
    if (message >= kMessage && message <= kMessage + 2) receiver->messages.push_back(message);
    if (message == WM_DISPLAYCHANGE) ++receiver->displayChanges;
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}

HWND Create(const wchar_t* className, Receiver& receiver) {
  return ::CreateWindowExW(0, className, L"title", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, &receiver);
}

TEST(MessageWindow, GetsDisplayChangesAndPostedMessagesUntilItsThreadEnds) {
  TestDesktop desktop;
  WNDCLASSW windowClass{};
  windowClass.lpfnWndProc = Procedure;
  windowClass.lpszClassName = L"QuillmarkContractClass";
  ASSERT_NE(::RegisterClassW(&windowClass), 0);
  Receiver receiver;
  EXPECT_EQ(Create(L"QuillmarkNoSuchClass", receiver), nullptr);
  std::atomic<HWND> opened = nullptr;
  std::thread owner([&] {
    opened = Create(L"QuillmarkContractClass", receiver);
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
      ::TranslateMessage(&message);
      ::DispatchMessageW(&message);
    }
  });
  EXPECT_TRUE(Eventually([&] { return opened != nullptr; }));
  const HWND window = opened;
  EXPECT_TRUE(::IsWindow(window) && !::IsWindowVisible(window));
  EXPECT_FALSE(::DestroyWindow(window)) << "another thread's window";
  desktop.ChangeDisplays();
  EXPECT_TRUE(Eventually([&] { return receiver.displayChanges > 0; }));
  for (const UINT message : {kMessage, kMessage + 1, kMessage + 2, UINT{WM_QUIT}}) {
    ::PostMessageW(window, message, 0, 0);
  }
  owner.join();
  EXPECT_EQ(receiver.messages, (std::vector<UINT>{kMessage, kMessage + 1, kMessage + 2}));
  EXPECT_FALSE(::IsWindow(window));
  EXPECT_FALSE(::PostMessageW(window, kMessage, 0, 0));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
}

}  // namespace
}  // namespace quillmark::test

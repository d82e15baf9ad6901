// What the product expects of windows that only receive messages.
#include <gmock/gmock.h>
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
    if (message == kMessage || message == WM_DISPLAYCHANGE) receiver->messages.push_back(message);
    if (message == WM_DISPLAYCHANGE) ++receiver->displayChanges;
  }
  return ::DefWindowProcW(window, message, wParam, lParam);
}

HWND Create(const wchar_t* className, Receiver& receiver) {
  return ::CreateWindowExW(0, className, L"title", 0, 0, 0, 0, 0, nullptr, nullptr, nullptr, &receiver);
}

class MessageWindowTest : public ::testing::Test {
 protected:
  MessageWindowTest() {
    WNDCLASSW windowClass{};
    windowClass.lpfnWndProc = Procedure;
    windowClass.lpszClassName = L"QuillmarkContractClass";
    ::RegisterClassW(&windowClass);
  }
  ~MessageWindowTest() override {
    if (window != nullptr) ::DestroyWindow(window);
  }

  void Open() {
    window = Create(L"QuillmarkContractClass", receiver);
    ASSERT_NE(window, nullptr);
  }

  // Receives until WM_QUIT.
  void RunLoop() {
    MSG message{};
    while (::GetMessageW(&message, nullptr, 0, 0) > 0) {
      ::TranslateMessage(&message);
      ::DispatchMessageW(&message);
    }
  }

  Receiver receiver;
  HWND window = nullptr;
};

TEST_F(MessageWindowTest, MessagesFromAnyThreadArriveInOrder) {
  Open();
  std::thread poster([this] {
    for (const UINT message : {kMessage, UINT{WM_DISPLAYCHANGE}, kMessage, UINT{WM_QUIT}}) {
      ::PostMessageW(window, message, 0, 0);
    }
  });
  RunLoop();
  poster.join();
  EXPECT_EQ(receiver.messages, (std::vector<UINT>{kMessage, WM_DISPLAYCHANGE, kMessage}));
}

TEST_F(MessageWindowTest, AWindowLivesUntilItIsDestroyedOrItsThreadEnds) {
  constexpr DWORD kClassDoesNotExist = 1411;  // under Wine
  EXPECT_EQ(Create(L"QuillmarkNoSuchClass", receiver), nullptr);
  EXPECT_THAT(::GetLastError(), testing::AnyOf(DWORD{ERROR_CANNOT_FIND_WND_CLASS}, kClassDoesNotExist));
  Open();
  EXPECT_TRUE(::IsWindow(window) && !::IsWindowVisible(window));
  std::thread([&] { EXPECT_FALSE(::DestroyWindow(window)) << "another thread's window"; }).join();
  EXPECT_TRUE(::DestroyWindow(window));
  EXPECT_FALSE(::PostMessageW(window, kMessage, 0, 0));
  EXPECT_EQ(::GetLastError(), DWORD{ERROR_INVALID_WINDOW_HANDLE});
  window = nullptr;
  HWND theirs = nullptr;
  std::thread([&] { theirs = Create(L"QuillmarkContractClass", receiver); }).join();
  ASSERT_NE(theirs, nullptr);
  EXPECT_FALSE(::IsWindow(theirs)) << "a thread's windows end with it";
}

TEST_F(MessageWindowTest, AHiddenTopLevelWindowGetsDisplayChanges) {
  TestDesktop desktop;
  std::atomic<bool> opened = false;
  std::thread owner([&] {
    Open();
    opened = true;
    RunLoop();
  });
  EXPECT_TRUE(Eventually([&] { return opened.load(); }));
  desktop.ChangeDisplays();
  EXPECT_TRUE(Eventually([&] { return receiver.displayChanges > 0; }));
  ::PostMessageW(window, WM_QUIT, 0, 0);
  owner.join();
  window = nullptr;  // ended with its thread
}

}  // namespace
}  // namespace quillmark::test

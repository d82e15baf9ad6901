// The process's own windows and their messages. A window belongs to the thread that created it, and its
// messages go to that thread's queue. One mutex guards classes, windows and queues; it is never held while a
// window procedure runs.
#include <windows.h>

#include <condition_variable>
#include <cwctype>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "kernel32/Errors.h"
#include "user32/Handles.h"

namespace quillmark::layer {
namespace {

constexpr std::size_t kMaxPosted = 10000;  // the platform's limit for one queue

struct Queue {
  std::condition_variable posted;
  std::deque<MSG> messages;
};

struct Window {
  Queue* queue = nullptr;  // of its thread, which outlives it
  DWORD threadId = 0;
  WNDPROC procedure = nullptr;
  LONG_PTR userData = 0;
};

struct Table {
  std::mutex mutex;
  std::map<std::wstring, WNDPROC> classes;
  std::map<HWND, Window> windows;
  std::uint64_t nextWindow = kFirstOwnWindow;
};

// Never destroyed: threads may still post and end while the process exits.
Table& TheTable() {
  static Table& table = *new Table;
  return table;
}

// The calling thread's queue. A thread's windows end with it.
class ThreadQueue {
 public:
  ~ThreadQueue() {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    std::erase_if(table.windows, [&](const auto& entry) { return entry.second.queue == &queue; });
  }
  Queue queue;
};

Queue& QueueOfThread() {
  thread_local ThreadQueue own;
  return own.queue;
}

// Class names ignore case.
std::wstring ClassKey(LPCWSTR name) {
  std::wstring key(name);
  for (wchar_t& c : key) c = static_cast<wchar_t>(std::towlower(static_cast<std::wint_t>(c)));
  return key;
}

// ERROR_SUCCESS, or why the message cannot be posted. The caller holds the table's mutex.
DWORD Post(Table& table, HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  const auto found = table.windows.find(window);
  if (found == table.windows.end()) return ERROR_INVALID_WINDOW_HANDLE;
  Queue& queue = *found->second.queue;
  if (queue.messages.size() >= kMaxPosted) return ERROR_NOT_ENOUGH_QUOTA;
  queue.messages.push_back({window, message, wParam, lParam, 0, {}});
  queue.posted.notify_one();
  return ERROR_SUCCESS;
}

void BroadcastDisplayChange() {
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  // A full queue loses the message, as on the platform.
  for (const auto& entry : table.windows) Post(table, entry.first, WM_DISPLAYCHANGE, 0, 0);
}

}  // namespace

bool FindOwnWindow(HWND window, DWORD* threadId) {
  if (!IsOwnWindow(window)) return false;
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(window);
  if (found == table.windows.end()) return false;
  *threadId = found->second.threadId;
  return true;
}

}  // namespace quillmark::layer

using namespace quillmark::layer;

ATOM WINAPI RegisterClassW(const WNDCLASSW* windowClass) {
  if (windowClass == nullptr || windowClass->lpszClassName == nullptr ||
      windowClass->lpfnWndProc == nullptr) {
    return Fail(ERROR_INVALID_PARAMETER, ATOM{0});
  }
  constexpr std::size_t kFirstAtom = 0xC000;
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  const auto [place, added] =
      table.classes.try_emplace(ClassKey(windowClass->lpszClassName), windowClass->lpfnWndProc);
  if (!added) return Fail(ERROR_CLASS_ALREADY_EXISTS, ATOM{0});
  return static_cast<ATOM>(kFirstAtom + table.classes.size());
}

HWND WINAPI CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR, DWORD style, int, int, int width,
                            int height, HWND parent, HMENU menu, HINSTANCE, LPVOID parameter) {
  const bool hiddenMessageWindow =
      exStyle == 0 && style == 0 && width == 0 && height == 0 && parent == nullptr && menu == nullptr;
  if (className == nullptr || !hiddenMessageWindow) return Fail(ERROR_INVALID_PARAMETER, HWND{});
  // Opens the desktop, so that it watches for display changes.
  OnDisplayChange(BroadcastDisplayChange);

  Table& table = TheTable();
  HWND handle = nullptr;
  WNDPROC procedure = nullptr;
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.classes.find(ClassKey(className));
    if (found == table.classes.end()) return Fail(ERROR_CANNOT_FIND_WND_CLASS, HWND{});
    procedure = found->second;
    handle = reinterpret_cast<HWND>(table.nextWindow++);
    table.windows[handle] = {&QueueOfThread(), GetCurrentThreadId(), procedure, 0};
  }
  const CREATESTRUCTW create{parameter};
  if (procedure(handle, WM_NCCREATE, 0, reinterpret_cast<LPARAM>(&create))) return handle;
  DestroyWindow(handle);
  return nullptr;
}

BOOL WINAPI DestroyWindow(HWND window) {
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(window);
  if (found == table.windows.end()) return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  if (found->second.queue != &QueueOfThread()) return Fail(ERROR_ACCESS_DENIED, FALSE);
  std::erase_if(found->second.queue->messages, [&](const MSG& m) { return m.hwnd == window; });
  table.windows.erase(found);
  return TRUE;
}

BOOL WINAPI GetMessageW(MSG* message, HWND window, UINT first, UINT last) {
  if (message == nullptr || window != nullptr || first != 0 || last != 0) {
    return Fail(ERROR_INVALID_PARAMETER, BOOL{-1});
  }
  Queue& queue = QueueOfThread();
  std::unique_lock lock(TheTable().mutex);
  queue.posted.wait(lock, [&] { return !queue.messages.empty(); });
  *message = queue.messages.front();
  queue.messages.pop_front();
  return message->message != WM_QUIT;
}

// The layer's windows get no key messages.
BOOL WINAPI TranslateMessage(const MSG*) {
  return FALSE;
}

LRESULT WINAPI DispatchMessageW(const MSG* message) {
  WNDPROC procedure = nullptr;
  {
    Table& table = TheTable();
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(message->hwnd);
    if (found == table.windows.end()) return 0;
    procedure = found->second.procedure;
  }
  return procedure(message->hwnd, message->message, message->wParam, message->lParam);
}

LRESULT WINAPI DefWindowProcW(HWND, UINT message, WPARAM, LPARAM) {
  return message == WM_NCCREATE ? TRUE : 0;
}

BOOL WINAPI PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  const DWORD error = Post(table, window, message, wParam, lParam);
  return error == ERROR_SUCCESS ? TRUE : Fail(error, FALSE);
}

LONG_PTR WINAPI SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
  if (index != GWLP_USERDATA) return Fail(ERROR_INVALID_PARAMETER, LONG_PTR{0});
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(window);
  if (found == table.windows.end()) return Fail(ERROR_INVALID_WINDOW_HANDLE, LONG_PTR{0});
  return std::exchange(found->second.userData, value);
}

LONG_PTR WINAPI GetWindowLongPtrW(HWND window, int index) {
  if (index != GWLP_USERDATA) return Fail(ERROR_INVALID_PARAMETER, LONG_PTR{0});
  Table& table = TheTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(window);
  return found == table.windows.end() ? Fail(ERROR_INVALID_WINDOW_HANDLE, LONG_PTR{0})
                                      : found->second.userData;
}

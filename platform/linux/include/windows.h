// The part of the platform's kernel and user interface that the product uses, for Linux. Every function
// declared here is implemented in this layer and described in ../README.md: what it honours, how it fails,
// where it deviates. Structures have only the fields that are used.
//
// Text is UTF-16 in wchar_t: one code unit in each 32-bit wchar_t, never above 0xFFFF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cwchar>

// -- calling conventions, which this host lacks --------------------------------------------------------

#define WINAPI
#define CALLBACK

// -- basic types ---------------------------------------------------------------------------------------

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using SIZE_T = std::size_t;
using LONG_PTR = std::intptr_t;
using ULONG_PTR = std::uintptr_t;
using WPARAM = std::uintptr_t;
using LPARAM = LONG_PTR;
using LRESULT = LONG_PTR;
using ATOM = WORD;
using HRESULT = std::int32_t;
using WCHAR = wchar_t;
using LPWSTR = wchar_t*;
using LPCWSTR = const wchar_t*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPVOID = void*;
using LPCVOID = const void*;
using LPBOOL = BOOL*;
using LPDWORD = DWORD*;

using HANDLE = void*;

struct HWND__;
struct HMONITOR__;
struct HINSTANCE__;
struct HDC__;
struct HMENU__;
struct DPI_AWARENESS_CONTEXT__;
using HWND = HWND__*;
using HMONITOR = HMONITOR__*;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;
using HDC = HDC__*;
using HMENU = HMENU__*;
using FARPROC = LONG_PTR(WINAPI*)();

#define TRUE 1
#define FALSE 0
#define MAX_PATH 260
#define INVALID_HANDLE_VALUE (reinterpret_cast<HANDLE>(static_cast<LONG_PTR>(-1)))

#define LOWORD(v) (static_cast<WORD>(static_cast<ULONG_PTR>(v) & 0xFFFF))
#define HIWORD(v) (static_cast<WORD>((static_cast<ULONG_PTR>(v) >> 16) & 0xFFFF))

struct RECT {
  LONG left, top, right, bottom;
};
struct POINT {
  LONG x, y;
};
struct FILETIME {
  DWORD dwLowDateTime, dwHighDateTime;
};
struct SYSTEMTIME {
  WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
};
union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};
struct SECURITY_ATTRIBUTES;
struct OVERLAPPED;
struct MEMORY_BASIC_INFORMATION {
  LPVOID BaseAddress;
  LPVOID AllocationBase;
  DWORD AllocationProtect;
  SIZE_T RegionSize;
  DWORD State;
  DWORD Protect;
  DWORD Type;
};

// -- error codes ---------------------------------------------------------------------------------------

#define ERROR_SUCCESS 0u
#define ERROR_FILE_NOT_FOUND 2u
#define ERROR_PATH_NOT_FOUND 3u
#define ERROR_TOO_MANY_OPEN_FILES 4u
#define ERROR_ACCESS_DENIED 5u
#define ERROR_INVALID_HANDLE 6u
#define ERROR_NOT_ENOUGH_MEMORY 8u
#define ERROR_BAD_LENGTH 24u
#define ERROR_GEN_FAILURE 31u
#define ERROR_NOT_SUPPORTED 50u
#define ERROR_INVALID_PARAMETER 87u
#define ERROR_DISK_FULL 112u
#define ERROR_INSUFFICIENT_BUFFER 122u
#define ERROR_INVALID_NAME 123u
#define ERROR_MOD_NOT_FOUND 126u
#define ERROR_PROC_NOT_FOUND 127u
#define ERROR_NEGATIVE_SEEK 131u
#define ERROR_ALREADY_EXISTS 183u
#define ERROR_FILENAME_EXCED_RANGE 206u
#define ERROR_NO_DATA 232u
#define ERROR_INVALID_ADDRESS 487u
#define ERROR_INVALID_FLAGS 1004u
#define ERROR_NO_UNICODE_TRANSLATION 1113u
#define ERROR_INVALID_WINDOW_HANDLE 1400u
#define ERROR_CANNOT_FIND_WND_CLASS 1407u
#define ERROR_CLASS_ALREADY_EXISTS 1410u
#define ERROR_COMMITMENT_LIMIT 1455u
#define ERROR_INVALID_MONITOR_HANDLE 1461u
#define ERROR_RESOURCE_TYPE_NOT_FOUND 1813u
#define ERROR_NOT_ENOUGH_QUOTA 1816u

#define S_OK (static_cast<HRESULT>(0))
#define S_FALSE (static_cast<HRESULT>(1))
#define E_NOINTERFACE (static_cast<HRESULT>(0x80004002u))
#define E_POINTER (static_cast<HRESULT>(0x80004003u))
#define E_FAIL (static_cast<HRESULT>(0x80004005u))
#define E_ACCESSDENIED (static_cast<HRESULT>(0x80070005u))
#define E_OUTOFMEMORY (static_cast<HRESULT>(0x8007000Eu))
#define E_INVALIDARG (static_cast<HRESULT>(0x80070057u))

#define SUCCEEDED(result) (static_cast<HRESULT>(result) >= 0)
#define FAILED(result) (static_cast<HRESULT>(result) < 0)

// -- kernel objects, memory, files ---------------------------------------------------------------------

#define PAGE_READWRITE 0x04u
#define FILE_MAP_ALL_ACCESS 0xF001Fu
#define MEM_COMMIT 0x1000u
#define MEM_MAPPED 0x40000u
#define WAIT_OBJECT_0 0u
#define WAIT_TIMEOUT 258u
#define WAIT_FAILED 0xFFFFFFFFu
#define INFINITE 0xFFFFFFFFu

#define GENERIC_READ 0x80000000u
#define GENERIC_WRITE 0x40000000u
#define FILE_SHARE_READ 0x1u
#define FILE_SHARE_WRITE 0x2u
#define FILE_SHARE_DELETE 0x4u
#define OPEN_EXISTING 3u
#define OPEN_ALWAYS 4u
#define FILE_ATTRIBUTE_NORMAL 0x80u
#define FILE_END 2u
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define FILE_TYPE_UNKNOWN 0u
#define FILE_TYPE_DISK 1u
#define FILE_TYPE_CHAR 2u
#define FILE_TYPE_PIPE 3u
#define STD_OUTPUT_HANDLE 0xFFFFFFF5u  // -11

#define PROCESS_QUERY_LIMITED_INFORMATION 0x1000u

#define CP_UTF8 65001u
#define WC_ERR_INVALID_CHARS 0x80u
#define MB_ERR_INVALID_CHARS 0x8u

// -- windows, messages, monitors, DPI ------------------------------------------------------------------

#define MB_ICONWARNING 0x30u
#define MB_TOPMOST 0x40000u
#define IDOK 1

#define WM_NULL 0x0000u
#define WM_QUIT 0x0012u
#define WM_DISPLAYCHANGE 0x007Eu
#define WM_NCCREATE 0x0081u
#define WM_DEVICECHANGE 0x0219u
#define WM_DPICHANGED 0x02E0u

#define GA_ROOT 2u
#define GWLP_USERDATA (-21)

#define MONITOR_DEFAULTTONULL 0u
#define MONITOR_DEFAULTTOPRIMARY 1u
#define MONITOR_DEFAULTTONEAREST 2u
#define MONITORINFOF_PRIMARY 1u
#define CCHDEVICENAME 32

using DPI_AWARENESS_CONTEXT = DPI_AWARENESS_CONTEXT__*;
enum DPI_AWARENESS {
  DPI_AWARENESS_INVALID = -1,
  DPI_AWARENESS_UNAWARE = 0,
  DPI_AWARENESS_SYSTEM_AWARE = 1,
  DPI_AWARENESS_PER_MONITOR_AWARE = 2,
};
#define DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE (reinterpret_cast<DPI_AWARENESS_CONTEXT>(LONG_PTR{-3}))
#define DPI_AWARENESS_CONTEXT_PER_MONITOR_AWARE_V2 (reinterpret_cast<DPI_AWARENESS_CONTEXT>(LONG_PTR{-4}))

using WNDPROC = LRESULT(CALLBACK*)(HWND, UINT, WPARAM, LPARAM);
using WNDENUMPROC = BOOL(CALLBACK*)(HWND, LPARAM);
using MONITORENUMPROC = BOOL(CALLBACK*)(HMONITOR, HDC, RECT*, LPARAM);

struct WNDCLASSW {
  WNDPROC lpfnWndProc;
  LPCWSTR lpszClassName;
};
struct CREATESTRUCTW {
  LPVOID lpCreateParams;
};
struct MSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
};
struct MONITORINFO {
  DWORD cbSize;
  RECT rcMonitor;
  RECT rcWork;
  DWORD dwFlags;
};
struct MONITORINFOEXW : MONITORINFO {
  WCHAR szDevice[CCHDEVICENAME];
};

extern "C" {

// kernel32: errors, time, identity
DWORD WINAPI GetLastError();
void WINAPI SetLastError(DWORD code);
void WINAPI GetLocalTime(SYSTEMTIME* time);
void WINAPI GetSystemTimeAsFileTime(FILETIME* time);
DWORD WINAPI GetCurrentThreadId();

// kernel32: debugger output
void WINAPI OutputDebugStringW(LPCWSTR text);
void WINAPI OutputDebugStringA(LPCSTR text);

// kernel32: text
int WINAPI WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideLength, LPSTR bytes,
                               int byteCapacity, LPCSTR defaultChar, LPBOOL usedDefaultChar);
int WINAPI MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR bytes, int byteLength, LPWSTR wide,
                               int wideCapacity);

// kernel32: named objects
HANDLE WINAPI CreateMutexW(SECURITY_ATTRIBUTES* attributes, BOOL initialOwner, LPCWSTR name);
HANDLE WINAPI CreateEventW(SECURITY_ATTRIBUTES* attributes, BOOL manualReset, BOOL initialState,
                           LPCWSTR name);
BOOL WINAPI SetEvent(HANDLE event);
HANDLE WINAPI CreateFileMappingW(HANDLE file, SECURITY_ATTRIBUTES* attributes, DWORD protection,
                                 DWORD sizeHigh, DWORD sizeLow, LPCWSTR name);
LPVOID WINAPI MapViewOfFile(HANDLE mapping, DWORD access, DWORD offsetHigh, DWORD offsetLow, SIZE_T length);
BOOL WINAPI UnmapViewOfFile(LPCVOID view);
SIZE_T WINAPI VirtualQuery(LPCVOID address, MEMORY_BASIC_INFORMATION* info, SIZE_T infoSize);
DWORD WINAPI WaitForSingleObject(HANDLE object, DWORD timeoutMs);
BOOL WINAPI CloseHandle(HANDLE object);

// kernel32: files
HANDLE WINAPI CreateFileW(LPCWSTR path, DWORD access, DWORD share, SECURITY_ATTRIBUTES* attributes,
                          DWORD disposition, DWORD flags, HANDLE templateFile);
HANDLE WINAPI GetStdHandle(DWORD stream);
DWORD WINAPI GetFileType(HANDLE file);
BOOL WINAPI GetFileSizeEx(HANDLE file, LARGE_INTEGER* size);
DWORD WINAPI SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD origin);
BOOL WINAPI ReadFile(HANDLE file, LPVOID buffer, DWORD length, LPDWORD read, OVERLAPPED* overlapped);
BOOL WINAPI WriteFile(HANDLE file, LPCVOID buffer, DWORD length, LPDWORD written, OVERLAPPED* overlapped);

// kernel32: modules and processes
HMODULE WINAPI GetModuleHandleW(LPCWSTR name);
DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR path, DWORD capacity);
HMODULE WINAPI LoadLibraryW(LPCWSTR name);
BOOL WINAPI FreeLibrary(HMODULE module);
FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name);
HANDLE WINAPI OpenProcess(DWORD access, BOOL inherit, DWORD processId);
BOOL WINAPI QueryFullProcessImageNameW(HANDLE process, DWORD flags, LPWSTR path, LPDWORD length);

// user32: the warning box
int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR caption, UINT type);

// user32: top-level windows of the desktop
BOOL WINAPI EnumWindows(WNDENUMPROC callback, LPARAM parameter);
BOOL WINAPI IsWindow(HWND window);
BOOL WINAPI IsWindowVisible(HWND window);
BOOL WINAPI IsIconic(HWND window);
HWND WINAPI GetAncestor(HWND window, UINT flags);
DWORD WINAPI GetWindowThreadProcessId(HWND window, LPDWORD processId);
int WINAPI GetWindowTextW(HWND window, LPWSTR text, int capacity);
BOOL WINAPI GetWindowRect(HWND window, RECT* rect);
BOOL WINAPI GetClientRect(HWND window, RECT* rect);
BOOL WINAPI ClientToScreen(HWND window, POINT* point);

// user32: monitors
BOOL WINAPI EnumDisplayMonitors(HDC dc, const RECT* clip, MONITORENUMPROC callback, LPARAM parameter);
BOOL WINAPI GetMonitorInfoW(HMONITOR monitor, MONITORINFO* info);
HMONITOR WINAPI MonitorFromWindow(HWND window, DWORD fallback);
HMONITOR WINAPI MonitorFromPoint(POINT point, DWORD fallback);
HMONITOR WINAPI MonitorFromRect(const RECT* rect, DWORD fallback);

// user32: the process's own windows and their messages
ATOM WINAPI RegisterClassW(const WNDCLASSW* windowClass);
HWND WINAPI CreateWindowExW(DWORD exStyle, LPCWSTR className, LPCWSTR title, DWORD style, int x, int y,
                            int width, int height, HWND parent, HMENU menu, HINSTANCE instance,
                            LPVOID parameter);
BOOL WINAPI DestroyWindow(HWND window);
BOOL WINAPI GetMessageW(MSG* message, HWND window, UINT first, UINT last);
BOOL WINAPI TranslateMessage(const MSG* message);
LRESULT WINAPI DispatchMessageW(const MSG* message);
LRESULT WINAPI DefWindowProcW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
BOOL WINAPI PostMessageW(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
LONG_PTR WINAPI SetWindowLongPtrW(HWND window, int index, LONG_PTR value);
LONG_PTR WINAPI GetWindowLongPtrW(HWND window, int index);

}  // extern "C"

// The DPI calls of user32 and shcore that the product resolves at run time: declared here and not in
// <windows.h>, so that GetProcAddress is the only road to them.
//
// Threading: callable from any thread.
#pragma once

#include <shellscalingapi.h>
#include <windows.h>

extern "C" {

// The process's awareness can be set once; later calls of any of the three fail with ERROR_ACCESS_DENIED
// (E_ACCESSDENIED). It changes nothing else: X11 shows every pixel as it is drawn.
BOOL WINAPI SetProcessDpiAwarenessContext(DPI_AWARENESS_CONTEXT context);
HRESULT WINAPI SetProcessDpiAwareness(PROCESS_DPI_AWARENESS awareness);
BOOL WINAPI SetProcessDPIAware();

// Null for what is no window.
DPI_AWARENESS_CONTEXT WINAPI GetWindowDpiAwarenessContext(HWND window);
DPI_AWARENESS WINAPI GetAwarenessFromDpiAwarenessContext(DPI_AWARENESS_CONTEXT context);
// 0 for what is no window.
UINT WINAPI GetDpiForWindow(HWND window);
HRESULT WINAPI GetDpiForMonitor(HMONITOR monitor, MONITOR_DPI_TYPE type, UINT* dpiX, UINT* dpiY);

}  // extern "C"

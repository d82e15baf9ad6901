// Version information of a program. Described in ../README.md.
#pragma once

#include <windows.h>

struct VS_FIXEDFILEINFO {
  DWORD dwSignature;
  DWORD dwStrucVersion;
  DWORD dwFileVersionMS;
  DWORD dwFileVersionLS;
};

extern "C" {
DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD ignored);
BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD ignored, DWORD size, LPVOID data);
BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR query, LPVOID* value, UINT* length);
}

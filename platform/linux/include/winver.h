// Version information of a program file. Rows in ../README.md.
#pragma once

#include <windows.h>

struct VS_FIXEDFILEINFO {
  DWORD dwSignature;
  DWORD dwStrucVersion;
  DWORD dwFileVersionMS;
  DWORD dwFileVersionLS;
  DWORD dwProductVersionMS;
  DWORD dwProductVersionLS;
  DWORD dwFileFlagsMask;
  DWORD dwFileFlags;
  DWORD dwFileOS;
  DWORD dwFileType;
  DWORD dwFileSubtype;
  DWORD dwFileDateMS;
  DWORD dwFileDateLS;
};

extern "C" {
DWORD WINAPI GetFileVersionInfoSizeW(LPCWSTR path, LPDWORD ignored);
BOOL WINAPI GetFileVersionInfoW(LPCWSTR path, DWORD ignored, DWORD size, LPVOID data);
BOOL WINAPI VerQueryValueW(LPCVOID block, LPCWSTR query, LPVOID* value, UINT* length);
}

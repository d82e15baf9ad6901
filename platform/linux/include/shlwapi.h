// Path helpers that the product calls. Described in ../README.md.
#pragma once

#include <windows.h>

extern "C" {
LPWSTR WINAPI PathFindFileNameW(LPCWSTR path);
}

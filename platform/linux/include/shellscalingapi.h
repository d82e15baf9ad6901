// Types of the DPI calls, which the product finds at run time with GetProcAddress.
#pragma once

#include <windows.h>

enum PROCESS_DPI_AWARENESS {
  PROCESS_DPI_UNAWARE = 0,
  PROCESS_SYSTEM_DPI_AWARE = 1,
  PROCESS_PER_MONITOR_DPI_AWARE = 2,
};
enum MONITOR_DPI_TYPE { MDT_EFFECTIVE_DPI = 0 };

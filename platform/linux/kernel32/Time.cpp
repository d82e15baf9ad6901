#include <windows.h>

#include <unistd.h>

#include <ctime>

extern "C" void WINAPI GetLocalTime(SYSTEMTIME* time) {
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  ::localtime_r(&now.tv_sec, &local);
  time->wYear = static_cast<WORD>(local.tm_year + 1900);
  time->wMonth = static_cast<WORD>(local.tm_mon + 1);
  time->wDayOfWeek = static_cast<WORD>(local.tm_wday);
  time->wDay = static_cast<WORD>(local.tm_mday);
  time->wHour = static_cast<WORD>(local.tm_hour);
  time->wMinute = static_cast<WORD>(local.tm_min);
  time->wSecond = static_cast<WORD>(local.tm_sec);
  time->wMilliseconds = static_cast<WORD>(now.tv_nsec / 1'000'000);
}

extern "C" void WINAPI GetSystemTimeAsFileTime(FILETIME* time) {
  constexpr ULONGLONG secondsFrom1601To1970 = 11'644'473'600;
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  const ULONGLONG ticks = (static_cast<ULONGLONG>(now.tv_sec) + secondsFrom1601To1970) * 10'000'000 +
                          static_cast<ULONGLONG>(now.tv_nsec) / 100;
  time->dwLowDateTime = static_cast<DWORD>(ticks);
  time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

extern "C" DWORD WINAPI GetCurrentThreadId() {
  thread_local const auto id = static_cast<DWORD>(::gettid());
  return id;
}

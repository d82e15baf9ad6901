#include "log/AsyncLogger.h"

#include <windows.h>

#include <cwchar>
#include <iterator>
#include <utility>

namespace quillmark {

namespace {

constexpr std::size_t BatchReserve = 64;
// The stamp has at most 38 units; the rest takes the line end without another allocation.
constexpr std::size_t StampReserve = 64;

LogStamp StampNow() {
  SYSTEMTIME now{};
  ::GetLocalTime(&now);
  return {now.wYear,   now.wMonth,  now.wDay,          now.wHour,
          now.wMinute, now.wSecond, now.wMilliseconds, ::GetCurrentThreadId()};
}

// Converted by the platform: wide streams need a locale for anything but ASCII.
void PrintOnStandardOutput(const std::wstring& line) {
  constexpr int MaxBytesPerUnit = 3;
  std::string bytes(MaxBytesPerUnit * line.size(), '\0');
  const int length = ::WideCharToMultiByte(CP_UTF8, 0, line.data(), static_cast<int>(line.size()),
                                           bytes.data(), static_cast<int>(bytes.size()), nullptr, nullptr);
  DWORD written = 0;
  ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(length), &written, nullptr);
}

}  // namespace

AsyncLogger& AsyncLogger::Instance() {
  static AsyncLogger instance;
  return instance;
}

AsyncLogger& AsyncLogger::StandardOutput() {
  static auto* output = new AsyncLogger(LogSinks{.toDebugOutput = false, .toConsole = true, .file = {}});
  return *output;
}

AsyncLogger::AsyncLogger(LogSinks logSinks) : sinks(std::move(logSinks)) {
  worker = std::thread([this] { Run(); });
}

AsyncLogger::~AsyncLogger() {
  {
    const std::lock_guard lock(mutex);
    stopRequested = true;
  }
  wakeup.notify_all();
  worker.join();
}

void AsyncLogger::Log(const std::wstring& message) {
  {
    const std::lock_guard lock(mutex);  // stamped in the queue's order
    Append(FormatLogLine(message));
  }
  wakeup.notify_one();
}

void AsyncLogger::Print(std::wstring line) {
  {
    const std::lock_guard lock(mutex);
    Append(std::move(line));
  }
  wakeup.notify_one();
}

void AsyncLogger::Append(std::wstring line) {
  if (queue.size() >= MaxQueuedLines) {
    queue.pop_front();
    ++droppedLines;
  }
  queue.push_back(std::move(line));
}

std::uint64_t AsyncLogger::DroppedLines() const {
  const std::lock_guard lock(mutex);
  return droppedLines;
}

std::size_t AsyncLogger::QueuedLines() const {
  const std::lock_guard lock(mutex);
  return queue.size();
}

std::wstring AsyncLogger::FormatLogLine(const std::wstring& message) {
  return FormatLogLine(message, StampNow());
}

std::wstring AsyncLogger::FormatLogLine(const std::wstring& message, const LogStamp& stamp) {
  wchar_t prefix[StampReserve];
  std::swprintf(prefix, std::size(prefix), L"%04u-%02u-%02u %02u:%02u:%02u.%03u [T%lu] ", stamp.year,
                stamp.month, stamp.day, stamp.hour, stamp.minute, stamp.second, stamp.milliseconds,
                static_cast<unsigned long>(stamp.threadId));
  std::wstring line;
  line.reserve(message.size() + StampReserve);
  line.append(prefix).append(message);
  return line;
}

void AsyncLogger::Run() {
  std::vector<std::wstring> batch;
  batch.reserve(BatchReserve);
  for (;;) {
    {
      std::unique_lock lock(mutex);
      wakeup.wait(lock, [this] { return stopRequested || !queue.empty(); });
      if (queue.empty()) return;
      batch.assign(std::make_move_iterator(queue.begin()), std::make_move_iterator(queue.end()));
      queue.clear();
    }
    WriteBatch(batch);
    batch.clear();
  }
}

void AsyncLogger::WriteBatch(std::vector<std::wstring>& batch) {
  const bool fileOn = sinks.toFile && sinks.file != nullptr;
  for (std::wstring& line : batch) {
    line.push_back(L'\n');
    if (sinks.toDebugOutput) ::OutputDebugStringW(line.c_str());
    if (sinks.toConsole) PrintOnStandardOutput(line);
    if (fileOn) std::fputws(line.c_str(), sinks.file.get());
  }
  if (fileOn && sinks.flushFile) std::fflush(sinks.file.get());
}

}  // namespace quillmark

#include "log/AsyncLogger.h"

#include <windows.h>

#include <chrono>
#include <cwchar>
#include <iostream>
#include <iterator>
#include <utility>

namespace quillmark {

namespace {

constexpr auto WakeInterval = std::chrono::milliseconds(10);
constexpr std::size_t BatchReserve = 64;
// The stamp is at most 37 units long. What is left takes the line end without another allocation.
constexpr std::size_t StampReserve = 64;

LogStamp StampNow() {
  SYSTEMTIME now{};
  ::GetLocalTime(&now);
  return {now.wYear,   now.wMonth,  now.wDay,          now.wHour,
          now.wMinute, now.wSecond, now.wMilliseconds, ::GetCurrentThreadId()};
}

}  // namespace

AsyncLogger& AsyncLogger::Instance() {
  static AsyncLogger instance;
  return instance;
}

AsyncLogger::AsyncLogger(LogSinks logSinks) : sinks(std::move(logSinks)) {
  worker = std::thread([this] { Run(); });
}

AsyncLogger::~AsyncLogger() {
  {
    const std::lock_guard lock(mutex);
    stopRequested.store(true, std::memory_order_relaxed);
  }
  wakeup.notify_all();
  worker.join();
}

void AsyncLogger::Log(const std::wstring& message) {
  {
    const std::lock_guard lock(mutex);
    if (queue.size() >= MaxQueuedLines) {
      queue.pop_front();
      ++droppedLines;
    }
    queue.push_back(FormatLogLine(message));
  }
  wakeup.notify_one();
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
  wchar_t time[64];
  std::swprintf(time, std::size(time), L"%04u-%02u-%02u %02u:%02u:%02u.%03u", stamp.year, stamp.month,
                stamp.day, stamp.hour, stamp.minute, stamp.second, stamp.milliseconds);
  wchar_t thread[64];
  std::swprintf(thread, std::size(thread), L"[T%lu]", static_cast<unsigned long>(stamp.threadId));

  std::wstring line;
  line.reserve(message.size() + StampReserve);
  line.append(time).append(1, L' ').append(thread).append(1, L' ').append(message);
  return line;
}

void AsyncLogger::Run() {
  std::vector<std::wstring> batch;
  batch.reserve(BatchReserve);
  for (;;) {
    {
      std::unique_lock lock(mutex);
      wakeup.wait_for(lock, WakeInterval,
                      [this] { return stopRequested.load(std::memory_order_relaxed) || !queue.empty(); });
      if (queue.empty() && stopRequested.load(std::memory_order_relaxed)) return;
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
    if (sinks.toConsole) std::wcout << line << std::flush;
    if (fileOn) std::fputws(line.c_str(), sinks.file.get());
  }
  if (fileOn && sinks.flushFile) std::fflush(sinks.file.get());
}

}  // namespace quillmark

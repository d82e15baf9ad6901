// The one diagnostic log of the process: any thread hands in a line, a thread of the logger's own writes
// the lines in batches to the debugger output, so that no caller waits for a sink.
//
// Threading: Log may be called from any thread. The queue's lock is the innermost lock of the process.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

namespace quillmark {

class AsyncLogger {
 public:
  // The process's logger, made on the first call; drained and joined at process exit.
  // Raises std::system_error when its thread cannot be started.
  static AsyncLogger& Instance();

  AsyncLogger();
  ~AsyncLogger();
  AsyncLogger(const AsyncLogger&) = delete;
  AsyncLogger& operator=(const AsyncLogger&) = delete;

  // Queues the message with the local time and the caller's thread id in front. With 8192 lines waiting,
  // the oldest goes.
  void Log(const std::wstring& message);

  // "2025-11-15 21:14:06.042 [T7312] message", now and on the calling thread.
  static std::wstring FormatLogLine(const std::wstring& message);
};

}  // namespace quillmark

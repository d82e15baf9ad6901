// The process's diagnostic log. Any thread queues lines; the logger's thread writes them in batches to the
// debugger output, so no caller waits for a sink. That thread sleeps until a line is queued or the logger is
// destroyed. The queue keeps the newest 8192 lines.
//
// Threading: any thread. The queue's lock is the innermost lock of the process.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace quillmark {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Where the lines go; by default to the debugger output only.
struct LogSinks {
  bool toDebugOutput = true;
  bool toConsole = false;  // standard output, UTF-8
  bool toFile = false;     // `file`, if set
  bool flushFile = true;   // after each batch
  std::unique_ptr<std::FILE, CloseFile> file;
};

// What precedes a message: local time and the logging thread.
struct LogStamp {
  std::uint32_t year, month, day, hour, minute, second, milliseconds;
  std::uint32_t threadId;
};

class AsyncLogger {
 public:
  static constexpr std::size_t MaxQueuedLines = 8192;

  // The process's logger, made on the first call; drained and joined at process exit.
  // Raises std::system_error when its thread cannot be started.
  static AsyncLogger& Instance();
  // The process's standard output, line by line. It has its own thread, so that a reader that stops reading
  // blocks neither the caller nor the log. Never destroyed, so that such a reader does not block the
  // process's exit.
  static AsyncLogger& StandardOutput();

  explicit AsyncLogger(LogSinks sinks = {});
  // Writes every queued line, then joins the thread.
  ~AsyncLogger();
  AsyncLogger(const AsyncLogger&) = delete;
  AsyncLogger& operator=(const AsyncLogger&) = delete;

  // Queues the message after local time and thread id. Drops the oldest line if 8192 are waiting.
  void Log(const std::wstring& message);
  // Queues the line as it is.
  void Print(std::wstring line);

  // Lines dropped because the queue was full.
  [[nodiscard]] std::uint64_t DroppedLines() const;
  // Lines waiting for the sinks, at most MaxQueuedLines.
  [[nodiscard]] std::size_t QueuedLines() const;

  // "2025-11-15 21:14:06.042 [T7312] message", now and on the calling thread.
  static std::wstring FormatLogLine(const std::wstring& message);
  static std::wstring FormatLogLine(const std::wstring& message, const LogStamp& stamp);

 private:
  void Append(std::wstring line);  // with the mutex held
  void Run();
  void WriteBatch(std::vector<std::wstring>& batch);

  mutable std::mutex mutex;  // guards queue, droppedLines and stopRequested
  std::condition_variable wakeup;
  std::deque<std::wstring> queue;  // formatted, oldest first
  std::uint64_t droppedLines = 0;
  bool stopRequested = false;
  const LogSinks sinks;
  std::thread worker;  // last: it uses everything above
};

// Logs the pieces as one message, formatted as by a wide stream.
template <typename... Pieces>
void LogLine(const Pieces&... pieces) {
  std::wostringstream line;
  (line << ... << pieces);
  AsyncLogger::Instance().Log(line.str());
}

}  // namespace quillmark

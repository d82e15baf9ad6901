// The one reader of the session's debugger output: each writer waits for the buffer to be free, fills it and
// tells that there is data. A writer that is killed in between does not stop the others.
//
// Threading: the receiver is called on the reader's own thread; the rest by any thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace quillmark::test {

class DebugOutputReader {
 public:
  // What one call wrote, UTF-8; a line end is added where the writer gave none.
  using Receiver = std::function<void(std::uint32_t processId, std::string_view text)>;

  // Throws std::runtime_error when the output cannot be had.
  explicit DebugOutputReader(Receiver receiver);
  // What had been written before has been received when it returns.
  ~DebugOutputReader();
  DebugOutputReader(const DebugOutputReader&) = delete;
  DebugOutputReader& operator=(const DebugOutputReader&) = delete;

 private:
  struct Host;
  std::unique_ptr<Host> host;
};

}  // namespace quillmark::test

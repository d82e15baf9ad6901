// Reads the session's debugger output, of which there is one reader: each writer waits for the buffer, fills
// it and signals. A writer that is killed in between does not stop the others.
//
// Threading: the receiver is called on the reader's thread.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace quillmark::test {

class DebugOutputReader {
 public:
  // Called with the text of each write, in the process's code page; a missing line end is added.
  using Receiver = std::function<void(std::uint32_t processId, std::string_view text)>;

  // Throws std::runtime_error if another program reads the output.
  explicit DebugOutputReader(Receiver receiver);
  // Returns when everything written before has been received.
  ~DebugOutputReader();

 private:
  struct Host;
  std::unique_ptr<Host> host;
};

}  // namespace quillmark::test

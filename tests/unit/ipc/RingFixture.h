// Shared by the tests of both rings: sessions, named objects, the log, and bytes at offsets.
//
// Threading: one test at a time.
#pragma once

#include <gtest/gtest.h>
#include <windows.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <vector>

#include "log/AsyncLogger.h"
#include "support/DebugOutputCapture.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {

// For tests that write to the process's hit ring, which stays in the session in which it was opened.
inline const PrivateSession& ProgramSession() {
  static const PrivateSession session;
  return session;
}

inline HANDLE MakeSection(const wchar_t* name, DWORD size) {
  return ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name);
}
inline HANDLE MakeEvent(const wchar_t* name) {
  return ::CreateEventW(nullptr, FALSE, FALSE, name);
}

class LogReader {
 public:
  // How often the text occurs in what was logged before the call.
  std::size_t Count(std::string_view text) {
    static int marks = 0;
    const std::string mark = "mark " + std::to_string(++marks) + ".";
    AsyncLogger::Instance().Log(std::wstring(mark.begin(), mark.end()));
    EXPECT_TRUE(output.WaitForLine(mark));
    return output.Count(text);
  }

 private:
  DebugOutputCapture output;
};

inline std::vector<std::byte> BytesOf(const std::byte* bytes, std::size_t size) {
  return {bytes, bytes + size};
}

template <typename T>
void PutAt(std::vector<std::byte>& bytes, std::size_t offset, T value) {
  std::memcpy(bytes.data() + offset, &value, sizeof value);
}

}  // namespace quillmark::test

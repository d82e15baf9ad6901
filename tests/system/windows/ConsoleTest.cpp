// The control tool's output in a console.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "CommandTaker.h"
#include "Programs.h"
#include "platform/UniqueHandle.h"
#include "support/LineProcess.h"
#include "support/PrivateSession.h"

namespace quillmark::test {
namespace {

using ::testing::HasSubstr;

// A new console for this process and the programs it starts.
class Console {
 public:
  Console() {
    ::FreeConsole();
    if (::AllocConsole()) {
      screen.Reset(::CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                 nullptr, OPEN_EXISTING, 0, nullptr));
    }
    if (!screen || screen.Get() == INVALID_HANDLE_VALUE) throw std::runtime_error("there is no console");
  }
  ~Console() {
    screen.Reset();
    ::FreeConsole();
  }

  // Runs the tool to its end.
  void Control(const std::vector<std::string>& arguments) const {
    ChildProcess(ControlCommand(arguments), {.output = "CONOUT$", .errors = "CONOUT$"}).Wait();
  }

  // The screen's text, row by row without line ends.
  std::wstring Text() const {
    CONSOLE_SCREEN_BUFFER_INFO info{};
    EXPECT_TRUE(::GetConsoleScreenBufferInfo(screen.Get(), &info));
    std::wstring text(static_cast<std::size_t>(info.dwSize.X) * static_cast<std::size_t>(info.dwSize.Y),
                      L' ');
    DWORD count = 0;
    EXPECT_TRUE(::ReadConsoleOutputCharacterW(screen.Get(), text.data(), static_cast<DWORD>(text.size()), {},
                                              &count));
    text.resize(count);
    return text.erase(text.find_last_not_of(L' ') + 1);
  }

 private:
  UniqueHandle screen;
};

// Letters of one cell each: consoles count double-width letters differently.
TEST(ToolInAConsole, ShowsOutputAndErrorsUnchangedAndSplitsNoCharacter) {
  const PrivateSession session;
  const Console console;
  const CommandTaker worker;
  console.Control({"ping", "Жä€ẞ"});
  EXPECT_THAT(console.Text(), HasSubstr(L"Жä€ẞ in "));
  console.Control({"lint", "Ωπ.toml"});
  EXPECT_THAT(console.Text(), HasSubstr(L"Ωπ.toml"));
  // With one of the prefixes, a character crosses the end of any buffer.
  for (const std::string prefix : {"", "-"}) {
    std::string letters = prefix;
    for (int i = 0; i < 3000; ++i) letters += "Ж";
    console.Control({"lint", letters});
    EXPECT_THAT(console.Text(),
                HasSubstr(std::wstring(prefix.begin(), prefix.end()) + std::wstring(3000, L'Ж')));
  }
}

}  // namespace
}  // namespace quillmark::test

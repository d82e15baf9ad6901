#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <system_error>

#include "desktop/Desktop.h"
#include "host/Text.h"
#include "support/ChildProcess.h"
#include "support/Eventually.h"
#include "support/TempFolder.h"

namespace quillmark::layer {
namespace {

// A copy of "sleep" that runs under another file name and command.
class RenamedProcess {
 public:
  RenamedProcess(const std::string& program, const std::string& command)
      : process({"bash", "-c", "cp /bin/sleep \"$0\" && exec -a \"$1\" \"$0\" 60", program, command}) {
    // The kernel shows the new program's file a moment before its command.
    test::Eventually([&] {
      const std::string folder = "/proc/" + std::to_string(process.Pid());
      std::error_code none;
      std::ifstream file(folder + "/cmdline");
      std::string shown;
      return std::filesystem::read_symlink(folder + "/exe", none) == program &&
             std::getline(file, shown, '\0') && shown == command;
    });
  }
  DWORD Id() const { return static_cast<DWORD>(process.Pid()); }

 private:
  test::ChildProcess process;
};

// Empty if the process cannot be opened or queried.
std::string ImageOf(DWORD processId) {
  const HANDLE process = ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId);
  if (!process) return "";
  wchar_t path[MAX_PATH];
  DWORD length = MAX_PATH;
  const BOOL known = ::QueryFullProcessImageNameW(process, 0, path, &length);
  ::CloseHandle(process);
  return known ? ToUtf8({path, length}) : "";
}

class Processes : public testing::Test {
 protected:
  void SetUp() override { SetDesktop(std::make_shared<Desktop>()); }
  std::string Path(const char* name) const { return (folder.Path() / name).string(); }
  test::TempFolder folder;
};

TEST_F(Processes, AreNamedByTheirProgram) {
  const struct {
    const char* program;
    const char* command;
    std::string image;
  } cases[] = {{"editor", "editor", Path("editor.exe")},
               {"Game.EXE", "Game.EXE", Path("Game.EXE")},
               {"wine64-preloader", "C:\\Games\\Game.exe", "C:\\Games\\Game.exe"}};
  for (const auto& c : cases) {
    const RenamedProcess process(Path(c.program), c.command);
    EXPECT_EQ(ImageOf(process.Id()), c.image);
    std::filesystem::remove(Path(c.program));
    EXPECT_EQ(ImageOf(process.Id()), c.image) << "after its program was replaced";
  }
}

TEST_F(Processes, AnotherUsersProcessIsNamedByItsCommand) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to become another user";
  const std::string program = Path("longer-than-what-the-kernel-keeps");
  const RenamedProcess process(program, program);
  const pid_t asker = ::fork();
  if (asker == 0) {
    constexpr uid_t nobody = 65534;
    const bool right =
        ::setgid(nobody) == 0 && ::setuid(nobody) == 0 && ImageOf(process.Id()) == program + ".exe";
    ::_exit(right ? 0 : 1);
  }
  int status = -1;
  ::waitpid(asker, &status, 0);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace quillmark::layer

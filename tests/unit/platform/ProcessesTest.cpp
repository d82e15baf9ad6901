// Image names of processes, the file-name part of a path, and what is looked up in libraries at run time.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <shlwapi.h>
#include <sys/wait.h>
#include <unistd.h>
#include <windows.h>

#include <csignal>
#include <filesystem>
#include <memory>
#include <string>

#include "desktop/EmptyDesktop.h"
#include "host/Text.h"
#include "support/TempFolder.h"
#include "user32/Dpi.h"

namespace quillmark::layer {
namespace {

// A process that runs a copy of "sleep" under another name, and perhaps with another command.
class RenamedProcess {
 public:
  RenamedProcess(const std::filesystem::path& program, const char* command) : program_(program) {
    std::filesystem::copy_file("/bin/sleep", program);
    int started[2];
    if (::pipe2(started, O_CLOEXEC) != 0) return;
    id_ = ::fork();
    if (id_ == 0) {
      ::execl(program_.c_str(), command, "60", nullptr);
      ::_exit(127);
    }
    ::close(started[1]);
    char byte;
    while (::read(started[0], &byte, 1) > 0) {  // the other end closes when the program runs
    }
    ::close(started[0]);
  }
  ~RenamedProcess() { End(); }
  RenamedProcess(const RenamedProcess&) = delete;
  RenamedProcess& operator=(const RenamedProcess&) = delete;
  void End() {
    if (id_ <= 0) return;
    ::kill(id_, SIGKILL);
    ::waitpid(id_, nullptr, 0);
    id_ = -1;
  }
  DWORD Id() const { return static_cast<DWORD>(id_); }

 private:
  std::filesystem::path program_;
  pid_t id_ = -1;
};

// As the product asks; empty when the process cannot be opened or queried.
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
  // Processes are the host's, whatever screen there is.
  void SetUp() override { SetDesktop(std::make_shared<EmptyDesktop>()); }
  std::string Path(const char* name) const { return (folder.Path() / name).string(); }
  test::TempFolder folder;
};

TEST_F(Processes, ProgramsAreNamedWithTheEndingOfThePlatform) {
  const RenamedProcess plain(Path("editor"), "editor");
  const RenamedProcess ending(Path("Game.EXE"), "Game.EXE");
  EXPECT_EQ(ImageOf(plain.Id()), Path("editor.exe"));
  EXPECT_EQ(ImageOf(ending.Id()), Path("Game.EXE"));
}

TEST_F(Processes, ReplacedProgramKeepsItsName) {
  const RenamedProcess process(Path("editor"), "editor");
  std::filesystem::remove(Path("editor"));
  EXPECT_EQ(ImageOf(process.Id()), Path("editor.exe"));
}

TEST_F(Processes, ProgramUnderACompatibilityLoaderIsNamedByItsOwn) {
  const RenamedProcess process(Path("wine64-preloader"), "C:\\Games\\Game.exe");
  EXPECT_EQ(ImageOf(process.Id()), "C:\\Games\\Game.exe");
}

TEST_F(Processes, EndedProcessCannotBeOpened) {
  RenamedProcess process(Path("editor"), "editor");
  const DWORD id = process.Id();
  process.End();
  EXPECT_EQ(::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_PARAMETER);
}

TEST_F(Processes, ForeignUsersProcessIsNamedByItsCommand) {
  if (::geteuid() != 0) GTEST_SKIP() << "needs root to become another user";
  const RenamedProcess process(Path("longer-than-what-the-kernel-keeps"),
                               Path("longer-than-what-the-kernel-keeps").c_str());
  const pid_t asker = ::fork();
  if (asker == 0) {
    constexpr uid_t nobody = 65534;
    const bool right = ::setgid(nobody) == 0 && ::setuid(nobody) == 0 &&
                       ImageOf(process.Id()) == Path("longer-than-what-the-kernel-keeps.exe");
    ::_exit(right ? 0 : 1);
  }
  int status = -1;
  ::waitpid(asker, &status, 0);
  EXPECT_EQ(status, 0);
}

TEST_F(Processes, PathThatDoesNotFitIsAnError) {
  const HANDLE process = ::OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, ::getpid());
  wchar_t path[3];
  DWORD length = 3;
  EXPECT_FALSE(::QueryFullProcessImageNameW(process, 0, path, &length));
  EXPECT_EQ(::GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  ::CloseHandle(process);
}

TEST(Paths, FileNameIsWhatFollowsTheLastSeparator) {
  const struct {
    LPCWSTR path;
    std::string name;
  } cases[] = {{L"/usr/bin/xterm.exe", "xterm.exe"},
               {L"C:\\Games\\Game.exe", "Game.exe"},
               {L"C:Game.exe", "Game.exe"},
               {L"Game.exe", "Game.exe"},
               {L"/usr/bin/", "bin/"},
               {L"", ""}};
  for (const auto& [path, name] : cases) EXPECT_EQ(ToUtf8(::PathFindFileNameW(path)), name);
}

TEST(Modules, EntriesAreFoundInTheirLibrary) {
  const HMODULE user32 = ::LoadLibraryW(L"USER32.dll");
  EXPECT_EQ(user32, ::GetModuleHandleW(L"user32"));
  EXPECT_EQ(reinterpret_cast<void*>(::GetProcAddress(user32, "GetDpiForWindow")),
            reinterpret_cast<void*>(&::GetDpiForWindow));
  EXPECT_EQ(::GetProcAddress(user32, "GetDpiForMonitor"), nullptr) << "that one is in shcore.dll";
  EXPECT_EQ(::GetLastError(), ERROR_PROC_NOT_FOUND);
  EXPECT_NE(::GetProcAddress(::LoadLibraryW(L"shcore.dll"), "GetDpiForMonitor"), nullptr);
  EXPECT_TRUE(::FreeLibrary(user32));
}

TEST(Modules, UnknownLibrariesAndModulesAreErrors) {
  EXPECT_EQ(::LoadLibraryW(L"nothere.dll"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_MOD_NOT_FOUND);
  EXPECT_EQ(::GetProcAddress(nullptr, "GetDpiForWindow"), nullptr);
  EXPECT_EQ(::GetLastError(), ERROR_INVALID_HANDLE);
  EXPECT_FALSE(::FreeLibrary(nullptr));
  EXPECT_NE(::GetModuleHandleW(nullptr), nullptr) << "the program itself";
}

TEST(Modules, ProgramPathIsCutToTheBuffer) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe");
  wchar_t path[1024];
  EXPECT_EQ(::GetModuleFileNameW(nullptr, path, 1024), program.size());
  EXPECT_EQ(ToUtf8(path), program);
  EXPECT_EQ(::GetModuleFileNameW(nullptr, path, 5), 5u);
  EXPECT_EQ(::GetLastError(), ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(ToUtf8(path), program.substr(0, 4));
}

}  // namespace
}  // namespace quillmark::layer

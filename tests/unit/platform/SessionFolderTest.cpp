// The files of named objects, byte for byte since controllers in other languages rely on them, and how the
// objects end with the processes that hold them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>
#include <windows.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/LineProcess.h"
#include "support/PrivateSession.h"

namespace quillmark::layer {
namespace {

namespace fs = std::filesystem;
using test::ContentOf;
using test::LineProcess;

class SessionFolder : public testing::Test {
 protected:
  void SetUp() override { ::setenv("DISPLAY", ":99", 1); }
  fs::path Folder() const { return session.Base() / "quillmark" / "_99"; }

  // These return the last error. The objects stay until CloseAll.
  DWORD MakeSection(LPCWSTR name = L"Local\\Ring", DWORD size = 8208) {
    return Keep(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name));
  }
  DWORD MakeEvent(LPCWSTR name, BOOL manual) { return Keep(::CreateEventW(nullptr, manual, TRUE, name)); }
  void CloseAll() {
    for (const HANDLE handle : std::exchange(handles, {})) ::CloseHandle(handle);
  }
  void TearDown() override { CloseAll(); }

  static std::vector<std::string> Names(const fs::path& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename());
    return names;
  }
  static mode_t ModeOf(const fs::path& path) {
    struct stat facts {};
    return ::stat(path.c_str(), &facts) == 0 ? facts.st_mode & 0777 : 0;
  }

  test::PrivateSession session;

 private:
  DWORD Keep(HANDLE handle) {
    const DWORD error = ::GetLastError();
    if (handle) handles.push_back(handle);
    return error;
  }
  std::vector<HANDLE> handles;
};

TEST_F(SessionFolder, FilesHoldTheObjectAndNothingElse) {
  ASSERT_EQ(MakeSection(), ERROR_SUCCESS);
  ASSERT_EQ(MakeEvent(L"Local\\Auto", FALSE), ERROR_SUCCESS);
  ASSERT_EQ(MakeEvent(L"Local\\Manual", TRUE), ERROR_SUCCESS);
  const fs::path file = Folder() / "Ring.section";
  EXPECT_EQ(ContentOf(file), std::string(8208, '\0'));
  EXPECT_EQ(ContentOf(Folder() / "Auto.event"), std::string("\1\0\0\0\0\0\0\0", 8));
  EXPECT_EQ(ContentOf(Folder() / "Manual.event"), std::string("\1\0\0\0\1\0\0\0", 8));
  EXPECT_EQ(ModeOf(file), 0600u);
  EXPECT_EQ(ModeOf(Folder()), 0700u);
  EXPECT_EQ(ModeOf(Folder().parent_path()), 0700u);

  const int fd = ::open(file.c_str(), O_RDWR | O_CLOEXEC);
  const auto lockOf = [&](std::int64_t byte) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_start = byte;
    lock.l_len = 1;
    ::fcntl(fd, F_OFD_GETLK, &lock);
    return lock.l_type;
  };
  EXPECT_EQ(lockOf(1099511627776), F_UNLCK) << "the gate, 2^40";
  EXPECT_EQ(lockOf(1099511627777), F_RDLCK) << "the life byte";
  ::close(fd);
  CloseAll();
  EXPECT_EQ(Names(Folder()), std::vector<std::string>{}) << "the last holder removes the file";
}

TEST_F(SessionFolder, WaitForAnEventWithADamagedStateEndsInTime) {
  for (const BOOL manual : {FALSE, TRUE}) {
    const HANDLE event = ::CreateEventW(nullptr, manual, FALSE, L"Local\\Damaged");
    const std::uint32_t damaged = 7;
    std::fstream(Folder() / "Damaged.event", std::ios::in | std::ios::out | std::ios::binary)
        .write(reinterpret_cast<const char*>(&damaged), sizeof damaged);
    const std::clock_t worked = std::clock();
    EXPECT_EQ(::WaitForSingleObject(event, 500), WAIT_TIMEOUT);
    EXPECT_LT(std::clock() - worked, CLOCKS_PER_SEC / 4) << "it slept";
    EXPECT_TRUE(::SetEvent(event));
    EXPECT_EQ(::WaitForSingleObject(event, 0), WAIT_OBJECT_0);
    ::CloseHandle(event);
  }
}

TEST_F(SessionFolder, IsNamedAfterTheDisplay) {
  const struct {
    const char* display;
    const char* folder;
  } cases[] = {
      {":0", "_0"}, {"host.a-b:1.0", "host.a-b_1.0"}, {"../x/y", ".._x_y"}, {"..", "__"}, {"", "none"}};
  for (const auto& [display, folder] : cases) {
    ::setenv("DISPLAY", display, 1);
    EXPECT_EQ(MakeSection(), ERROR_SUCCESS) << display;
    EXPECT_TRUE(fs::exists(session.Base() / "quillmark" / folder / "Ring.section")) << display;
  }
  ::unsetenv("DISPLAY");
  EXPECT_EQ(MakeSection(), ERROR_ALREADY_EXISTS) << "unset counts as empty";
}

TEST_F(SessionFolder, IsInSharedMemoryWithoutARuntimeFolder) {
  const std::string display = "test-" + std::to_string(::getpid());
  ::setenv("DISPLAY", display.c_str(), 1);
  ::unsetenv("XDG_RUNTIME_DIR");
  const fs::path folder = "/dev/shm/quillmark-" + std::to_string(::geteuid()) + "/" + display;
  EXPECT_EQ(MakeSection(), ERROR_SUCCESS);
  EXPECT_TRUE(fs::exists(folder / "Ring.section"));
  CloseAll();
  EXPECT_TRUE(fs::remove(folder)) << "empty again";
}

TEST_F(SessionFolder, IsRefusedUnlessPrivate) {
  const fs::path product = session.Base() / "quillmark";
  const fs::path elsewhere = session.Base() / "elsewhere";
  const auto makeFolder = [](const fs::path& path, unsigned mode) {
    fs::create_directory(path);
    fs::permissions(path, fs::perms(mode));
  };
  makeFolder(elsewhere, 0700);
  const struct {
    const char* what;
    std::function<void()> make;
  } cases[] = {{"open to the group", [&] { makeFolder(product, 0750); }},
               {"a link", [&] { fs::create_directory_symlink(elsewhere, product); }},
               {"a file", [&] { std::ofstream(product) << "file"; }},
               {"another user's", [&] {
                  makeFolder(product, 0700);
                  if (::chown(product.c_str(), 65534, 65534) != 0) fs::permissions(product, fs::perms(0701));
                }}};
  for (const auto& c : cases) {
    c.make();
    EXPECT_EQ(MakeSection(), ERROR_ACCESS_DENIED) << c.what;
    fs::remove(product);
  }
  EXPECT_EQ(MakeSection(L"Local\\Other"), ERROR_SUCCESS);
  std::ofstream(elsewhere / "precious") << "data";
  fs::create_symlink(elsewhere / "precious", Folder() / "Ring.section");
  EXPECT_EQ(MakeSection(), ERROR_ACCESS_DENIED) << "a link in place of the object";
  EXPECT_EQ(ContentOf(elsewhere / "precious"), "data");
  EXPECT_EQ(Names(elsewhere), std::vector<std::string>{"precious"});
  ::setenv("XDG_RUNTIME_DIR", (session.Base() / "missing").c_str(), 1);
  EXPECT_EQ(MakeSection(), ERROR_ACCESS_DENIED) << "a missing runtime folder";
}

TEST_F(SessionFolder, AFullFileSystemFailsTheCreatorAndKeepsNoFile) {
  // Only this process sees the mount, which ends with it.
  if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
      ::mount("tmpfs", session.Base().c_str(), "tmpfs", 0, "size=64k,mode=0700") != 0) {
    GTEST_SKIP() << "cannot mount a small file system: " << std::strerror(errno);
  }
  EXPECT_EQ(MakeSection(L"Local\\Big", 1 << 20), ERROR_COMMITMENT_LIMIT);
  EXPECT_EQ(Names(Folder()), std::vector<std::string>{});
  EXPECT_EQ(MakeSection(), ERROR_SUCCESS);
  CloseAll();
  ::umount2(session.Base().c_str(), MNT_DETACH);
}

// A dead object's file is replaced when its object is made, and removed when any other is.
TEST_F(SessionFolder, FilesOfDeadObjectsAreReplacedOrRemoved) {
  ASSERT_EQ(MakeSection(L"Local\\Living"), ERROR_SUCCESS);
  std::ofstream(Folder() / "Ring.section") << std::string(20000, 'x');
  std::ofstream(Folder() / "Dead.event") << "left behind";
  std::ofstream(Folder() / "foreign") << "not an object";
  EXPECT_EQ(MakeSection(), ERROR_SUCCESS);
  EXPECT_EQ(ContentOf(Folder() / "Ring.section"), std::string(8208, '\0'));
  EXPECT_FALSE(fs::exists(Folder() / "Dead.event"));
  EXPECT_TRUE(fs::exists(Folder() / "Living.section") && fs::exists(Folder() / "foreign"));
}

// Four processes keep opening and closing one section; each is killed at random, or left to finish its
// rounds.
TEST_F(SessionFolder, ObjectsSurviveHoldersKilledAtAnyMoment) {
  std::array<std::unique_ptr<LineProcess>, 4> churners;
  const auto start = [&](std::size_t index) {
    churners[index] = std::make_unique<LineProcess>(OBJECT_HOLDER);
    churners[index]->Say("churn Local\\Ring " + std::to_string(index) + " 200");
  };
  for (std::size_t i = 0; i < churners.size(); ++i) start(i);

  std::mt19937 random(11);
  int kills = 0, finished = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(4);
  while (std::chrono::steady_clock::now() < end) {
    const std::size_t index = random() % churners.size();
    if (random() % 8 == 0) {
      ASSERT_EQ(churners[index]->Hear(), "ok");
      ++finished;
    } else {
      std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));  // any moment will do
      churners[index]->Kill();
      const std::string last = churners[index]->Hear();
      ASSERT_TRUE(last.empty() || last == "ok") << last;
      ++kills;
    }
    start(index);
  }
  for (auto& churner : churners) churner.reset();
  EXPECT_GT(kills, 20);
  EXPECT_GT(finished, 0);
  EXPECT_EQ(MakeSection(), ERROR_SUCCESS) << "nobody holds it any more";
}

TEST_F(SessionFolder, AStartedProgramDoesNotHoldItsParentsObjects) {
  ASSERT_EQ(MakeSection(), ERROR_SUCCESS);
  const LineProcess child(OBJECT_HOLDER);
  CloseAll();
  EXPECT_EQ(MakeSection(), ERROR_SUCCESS);
}

}  // namespace
}  // namespace quillmark::layer

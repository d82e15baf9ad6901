// What the programs do only on Windows.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstddef>
#include <filesystem>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "DebuggerOutput.h"
#include "Desktop.h"
#include "Programs.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

struct DestroyWindow {
  void operator()(HWND window) const { ::DestroyWindow(window); }
};
using Window = std::unique_ptr<HWND__, DestroyWindow>;

// The text of a message box.
std::wstring TextOf(HWND box) {
  constexpr int TextId = 0xFFFF;
  wchar_t text[256] = {};
  ::SendMessageW(::GetDlgItem(box, TextId), WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text));
  return text;
}

class WorkerHere : public testing::Test {
 protected:
  const PrivateSession session;
  const DebuggerOutput debugger;
};

TEST_F(WorkerHere, BoxOfASecondInstanceIsInKorean) {
  const Desktop desktop;
  const Worker first;
  ASSERT_TRUE(Answers());
  const Worker second;
  ASSERT_TRUE(Eventually([&] { return desktop.ShowsBox("Quillmark"); }));
  const HWND box = ::FindWindowW(L"#32770", L"Quillmark");
  EXPECT_TRUE(Eventually(
      [&] { return TextOf(box) == L"Quillmark.exe가 이미 실행 중입니다.\n종료 된 후 다시 실행해 주세요."; }));
}

// Wine has no desktop duplication.
class WithoutCapture : public WorkerHere {
 protected:
  void SetUp() override {
    if (::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr) {
      GTEST_SKIP() << "this system can capture the screen";
    }
    ASSERT_NE(target, nullptr);
  }
  const Window target{::CreateWindowExW(0, L"Static", L"Captured by nobody", WS_POPUP | WS_VISIBLE, 50, 50,
                                        300, 200, nullptr, nullptr, nullptr, nullptr)};
};

TEST_F(WithoutCapture, ToolsReportWhyAndWriteNoFile) {
  const TempFolder folder;
  const std::string file = (folder.Path() / "piece.png").string();
  const std::string recording = (folder.Path() / "recording").string();
  const std::vector<std::string> commands[] = {
      {"capture", "--target=Captured by", "--rect=0,0,20,20", file},
      {"record", "--seconds=1", "--out", recording},
  };
  for (const std::vector<std::string>& command : commands) {
    const Outcome outcome = Control(command);
    EXPECT_EQ(outcome.code, 2) << command[0];
    EXPECT_NE(outcome.err.find("DuplicateOutput failed"), std::string::npos) << command[0] << outcome.err;
  }
  EXPECT_TRUE(std::filesystem::is_empty(folder.Path()));

  const Outcome doctor = Control({"doctor", "--target=Captured by"});
  EXPECT_EQ(doctor.code, 1);
  EXPECT_NE(doctor.out.find("capture failed: DuplicateOutput failed"), std::string::npos) << doctor.out;
  EXPECT_NE(doctor.out.find("client area 300x200 at 50,50"), std::string::npos) << doctor.out;
}

TEST_F(WithoutCapture, WorkerKeepsRunningAndLogsTheReasonOnce) {
  const Worker worker;
  RawController controller;
  WriteImage(worker.Folder() / "tmpl.png");
  ASSERT_TRUE(controller.SendSpec(L"Captured by", L"n", L"tmpl.png", 0, 0, 300, 200, 0.75f, 0.1f));

  const std::string said = "skipped: DuplicateOutput failed";
  EXPECT_TRUE(Eventually([&] { return CountOf(said, debugger.Of(worker)) > 0; })) << debugger.Of(worker);
  for (int beat = 0; beat < 20; ++beat) {  // at most one in 50 ms, some ticks of the capture loop
    const std::wstring text = L"beat " + std::to_wstring(beat);
    ASSERT_TRUE(controller.SendHeartbeat(text));
    ASSERT_TRUE(controller.WaitForHit(text));
  }
  EXPECT_EQ(CountOf(said, debugger.Of(worker)), 1u) << debugger.Of(worker);
  EXPECT_FALSE(worker.Ended());
}

}  // namespace
}  // namespace quillmark::test

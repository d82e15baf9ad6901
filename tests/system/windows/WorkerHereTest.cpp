// What the programs do only on Windows.
#include <gtest/gtest.h>
#include <windows.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "Desktop.h"
#include "Programs.h"
#include "support/PrivateSession.h"

namespace quillmark::test {
namespace {

// The text of a message box.
std::wstring TextOf(HWND box) {
  constexpr int TextId = 0xFFFF;
  wchar_t text[256] = {};
  ::SendMessageW(::GetDlgItem(box, TextId), WM_GETTEXT, std::size(text), reinterpret_cast<LPARAM>(text));
  return text;
}

TEST(WorkerHere, BoxOfASecondInstanceIsInKorean) {
  const PrivateSession session;
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
TEST(WithoutCapture, ToolsReportWhyAndWriteNoFile) {
  if (::GetProcAddress(::GetModuleHandleW(L"ntdll.dll"), "wine_get_version") == nullptr) {
    GTEST_SKIP() << "this system can capture the screen";
  }
  const PrivateSession session;
  const HWND target = ::CreateWindowExW(0, L"Static", L"Captured by nobody", WS_POPUP | WS_VISIBLE, 50, 50,
                                        300, 200, nullptr, nullptr, nullptr, nullptr);
  ASSERT_NE(target, nullptr);
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
  ::DestroyWindow(target);
}

}  // namespace
}  // namespace quillmark::test

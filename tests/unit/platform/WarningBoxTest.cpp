#include <gtest/gtest.h>
#include <windows.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <string>

#include "desktop/WarningPicture.h"
#include "desktop/X11Desktop.h"
#include "support/Eventually.h"
#include "support/PrivateDisplay.h"

namespace quillmark::layer {
namespace {

using test::PrivateDisplay;

constexpr const wchar_t* kText = L"\xD654\xBA74\nwarning";

class WarningBoxTest : public ::testing::Test {
 protected:
  // Shows the box in a thread of its own and returns its window.
  WindowId Show() {
    result = std::async(std::launch::async, [] {
      return ::MessageBoxW(nullptr, kText, L"Quillmark", MB_ICONWARNING | MB_TOPMOST);
    });
    WindowId box = 0;
    test::Eventually([&] {
      for (const WindowId window : desktop.TopLevelWindows()) {
        if (desktop.Title(window) == L"Quillmark" && desktop.Visible(window)) box = window;
      }
      return box != 0;
    });
    return box;
  }

  // Presses the key until the box has gone: before it has the focus, a key goes nowhere.
  bool ClosedBy(const std::vector<std::string>& command) {
    for (int tries = 0; tries < 100; ++tries) {
      PrivateDisplay::Run(command);
      if (result.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready)
        return result.get() == IDOK;
    }
    return false;
  }

  PrivateDisplay screen;
  X11Desktop desktop{screen.Name()};
  std::future<int> result;
};

TEST_F(WarningBoxTest, StandsInTheMiddleUntilAKeyClosesIt) {
  const WindowId box = Show();
  ASSERT_NE(box, 0u);
  const auto rect = desktop.OuterRect(box);
  ASSERT_TRUE(rect.has_value());
  EXPECT_LE(std::abs(rect->left + rect->right - 1280), 1);
  EXPECT_LE(std::abs(rect->top + rect->bottom - 800), 1);
  EXPECT_NE(result.wait_for(std::chrono::seconds(0)), std::future_status::ready);
  EXPECT_TRUE(ClosedBy({"xdotool", "key", "Return"}));
}

TEST_F(WarningBoxTest, TheWindowManagersCloseButtonClosesIt) {
  screen.StartWindowManager();
  const WindowId box = Show();
  ASSERT_NE(box, 0u);
  EXPECT_TRUE(ClosedBy({"xdotool", "key", "alt+F4"}));
}

TEST_F(WarningBoxTest, TheOkButtonClosesIt) {
  const WindowId box = Show();
  ASSERT_NE(box, 0u);
  const auto picture = DrawWarning(kText, kText, 96);
  const auto origin = desktop.ClientOrigin(box);
  ASSERT_TRUE(picture && origin);
  const int x = origin->x + (picture->button.left + picture->button.right) / 2;
  const int y = origin->y + (picture->button.top + picture->button.bottom) / 2;
  EXPECT_TRUE(ClosedBy({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"}));
}

TEST(WarningBoxWithoutDisplayTest, PutsTheTextOutAndFails) {
  unsetenv("DISPLAY");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(::MessageBoxW(nullptr, L"\xD654\xBA74", L"Quillmark", MB_ICONWARNING | MB_TOPMOST), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Quillmark: \xED\x99\x94\xEB\xA9\xB4\n");
}

TEST(WarningPictureTest, TakesTheFallbackWhereNoFontHasTheText) {
  // A character of a private plane, which no font draws.
  const auto fallback = DrawWarning(L"\xDBFF\xDFFD", L"plain", 96);
  const auto plain = DrawWarning(L"plain", L"", 96);
  ASSERT_TRUE(fallback && plain);
  EXPECT_EQ(fallback->pixels, plain->pixels);
}

}  // namespace
}  // namespace quillmark::layer

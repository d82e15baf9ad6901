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
  // Shows the box on another thread; its window, if it appears.
  std::optional<WindowFacts> Show() {
    result = std::async(std::launch::async, [] {
      return ::MessageBoxW(nullptr, kText, L"Quillmark", MB_ICONWARNING | MB_TOPMOST);
    });
    std::optional<WindowFacts> box;
    test::Eventually([&] {
      for (const WindowId window : desktop.TopLevelWindows()) {
        const auto facts = desktop.Window(window);
        if (facts && facts->title == L"Quillmark" && facts->visible) box = facts;
      }
      return box.has_value();
    });
    return box;
  }

  // Repeats the input until the box is closed: before the box has the focus, a key goes nowhere.
  bool ClosedBy(const std::vector<std::string>& input) {
    for (int tries = 0; tries < 100; ++tries) {
      PrivateDisplay::Run(input);
      if (result.wait_for(std::chrono::milliseconds(100)) == std::future_status::ready)
        return result.get() == IDOK;
    }
    return false;
  }

  PrivateDisplay screen;
  X11Desktop desktop{screen.Name()};
  std::future<int> result;
};

TEST_F(WarningBoxTest, IsCentredAndClosedByTheOkButtonOrTheWindowManager) {
  const auto box = Show();
  const auto picture = DrawWarning(kText, kText, 96);
  ASSERT_TRUE(box && picture);
  EXPECT_LE(std::abs(box->outer.left + box->outer.right - 1280), 1);
  EXPECT_LE(std::abs(box->outer.top + box->outer.bottom - 800), 1);
  EXPECT_NE(result.wait_for(std::chrono::seconds(0)), std::future_status::ready);
  const int x = box->client.left + (picture->button.left + picture->button.right) / 2;
  const int y = box->client.top + (picture->button.top + picture->button.bottom) / 2;
  EXPECT_TRUE(ClosedBy({"xdotool", "mousemove", std::to_string(x), std::to_string(y), "click", "1"}));

  screen.StartWindowManager();
  ASSERT_TRUE(Show());
  EXPECT_TRUE(ClosedBy({"xdotool", "key", "alt+F4"}));
}

TEST(WarningPictureTest, ShowsTheFallbackWhenNoFontHasTheText) {
  const auto fallback = DrawWarning(L"\xDBFF\xDFFD", L"plain", 96);  // a private character, in no font
  const auto plain = DrawWarning(L"plain", L"", 96);
  ASSERT_TRUE(fallback && plain);
  EXPECT_EQ(fallback->pixels, plain->pixels);
}

}  // namespace
}  // namespace quillmark::layer

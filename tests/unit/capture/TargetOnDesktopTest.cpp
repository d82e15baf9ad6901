// The choice and the measures of a target window among real windows.
#include <gtest/gtest.h>

#include "capture/TargetWindow.h"
#include "support/Eventually.h"
#include "support/TestDesktop.h"

namespace quillmark::test {
namespace {

bool SameArea(const Rect& area, const Rect& expected) {
  return area.left == expected.left && area.top == expected.top && area.right == expected.right &&
         area.bottom == expected.bottom;
}

TEST(TargetOnDesktop, IsFoundByItsTitleOrItsProgramAndFollowed) {
  TestDesktop desktop;
  TestWindow window("Quillmark target \xED\x99\x94\xEB\xA9\xB4", 100, 120, 300, 200);
  TemplateSpec spec;
  for (const wchar_t* target : {L"target \xD654\xBA74", L"window_holder.exe"}) {
    spec = {};
    spec.target = target;
    EXPECT_TRUE(Eventually([&] {
      UpdateTargetWindow(spec);
      return spec.targetValid && SameArea(spec.targetRect, {100, 120, 400, 320});
    })) << testing::PrintToString(std::wstring(target));
    EXPECT_EQ(spec.targetHwnd, window.Handle());
    EXPECT_EQ(spec.targetMonitor, ::MonitorFromPoint({100, 120}, MONITOR_DEFAULTTONULL));
  }

  window.Move(500, 320);
  EXPECT_TRUE(Eventually([&] {
    UpdateTargetWindow(spec);
    return spec.targetValid && SameArea(spec.targetRect, {500, 320, 800, 520});
  }));
  const auto becomesValid = [&](bool valid) {
    return Eventually([&] {
      UpdateTargetWindow(spec);
      return spec.targetValid == valid;
    });
  };
  window.Minimise();
  EXPECT_TRUE(becomesValid(false));
  EXPECT_EQ(spec.targetHwnd, window.Handle()) << "kept while it is minimised";
  window.Restore();
  EXPECT_TRUE(becomesValid(true));
  window.Close();
  EXPECT_TRUE(becomesValid(false));
}

}  // namespace
}  // namespace quillmark::test

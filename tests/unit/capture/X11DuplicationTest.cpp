// Captures of a real server, compared with what the server shows.
#include "desktop/X11Duplication.h"

#include <gtest/gtest.h>
#include <xcb/xcb.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <chrono>
#include <opencv2/core.hpp>
#include <random>
#include <span>
#include <vector>

#include "support/PrivateDisplay.h"
#include "support/XClient.h"

namespace quillmark::layer {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::uint32_t soon = 5000;  // ms; a frame that is due arrives long before

// Another program on the display.
class Painter : public test::XClient {
 public:
  Painter() : window(ShowPopup(50, 40, 120, 90)), context(xcb_generate_id(connection)) {
    const std::uint32_t inferiors = XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS;
    xcb_create_gc(connection, context, root, XCB_GC_SUBWINDOW_MODE, &inferiors);
  }

  // The colour's top byte is garbage, as programs leave it.
  void Fill(xcb_rectangle_t where, std::uint32_t rgb, bool inWindow = false) {
    const std::uint32_t colour = 0xA5000000u | rgb;
    xcb_change_gc(connection, context, XCB_GC_FOREGROUND, &colour);
    xcb_poly_fill_rectangle(connection, inWindow ? window : root, context, 1, &where);
  }
  void MoveWindow(int x, int y) { Move(window, x, y); }
  void MovePointer(std::int16_t x, std::int16_t y) {
    xcb_warp_pointer(connection, XCB_NONE, root, 0, 0, 0, 0, x, y);
    Sync();
  }
  void MoveMouse(std::int16_t x, std::int16_t y) {
    xcb_test_fake_input(connection, XCB_MOTION_NOTIFY, 0, XCB_CURRENT_TIME, root, x, y, 0);
    Sync();
  }
  // What the server shows there, 8UC4 with the fourth byte cleared.
  cv::Mat Screen(const RECT& area) {
    const int width = area.right - area.left, height = area.bottom - area.top;
    std::vector<std::uint8_t> pixels = Pixels(area.left, area.top, width, height);
    if (pixels.empty()) return {};
    return cv::Mat(height, width, CV_8UC4, pixels.data()) & cv::Scalar(255, 255, 255, 0);
  }

 private:
  const xcb_window_t window;
  const xcb_gcontext_t context;
};

class X11DuplicationTest : public testing::Test {
 protected:
  HRESULT Open(const RECT& rect, X11Transport best = X11Transport::SharedPixmap, POINT origin = {0, 0}) {
    MonitorFacts monitor;
    monitor.id = 1;
    monitor.rect = rect;
    return OpenX11Duplication(monitor, origin, frames, best);
  }

  // The held frame with the fourth byte cleared.
  cv::Mat Picture() {
    ImageView view;
    if (frames->Map(view) != S_OK) return {};
    const cv::Mat held(static_cast<int>(frames->Height()), static_cast<int>(frames->Width()), CV_8UC4,
                       const_cast<std::uint8_t*>(view.data), view.pitch);
    return held & cv::Scalar(255, 255, 255, 0);
  }
  cv::Mat NextPicture(std::uint32_t timeoutMs = soon) {
    if (frames->Acquire(timeoutMs) != S_OK) return {};
    const cv::Mat picture = Picture();
    std::span<const RECT> rects;
    EXPECT_EQ(frames->Dirty(rects), S_OK);
    EXPECT_EQ(frames->Facts().dirty, rects.size());
    EXPECT_EQ(frames->Facts().presented, !rects.empty());
    changed.clear();
    for (const RECT& rect : rects)
      changed.push_back({{rect.left, rect.top}, cv::Point{rect.right, rect.bottom}});
    frames->Release();
    return picture;
  }
  // Takes frames until all that was drawn has arrived and the pointer's position is known.
  void Settle() {
    while (frames->Acquire(50) == S_OK) frames->Release();
  }

  test::PrivateDisplay display{400, 300};
  Painter painter;
  std::unique_ptr<Duplication> frames;
  std::vector<cv::Rect> changed;  // by the last picture
};

bool SamePixels(const cv::Mat& a, const cv::Mat& b) {
  return !a.empty() && a.size() == b.size() && cv::norm(a, b, cv::NORM_INF) == 0;
}

// Whether the pictures differ only within the rectangles.
bool SameBut(const std::vector<cv::Rect>& rects, const cv::Mat& before, const cv::Mat& after) {
  cv::Mat patched = before.clone();
  for (const cv::Rect& rect : rects) after(rect).copyTo(patched(rect));
  return SamePixels(patched, after);
}

class EachTransport : public X11DuplicationTest, public testing::WithParamInterface<X11Transport> {};

TEST_P(EachTransport, FollowsTheScreenExactlyAndNamesEveryChange) {
  const RECT onRoot{101, 53, 338, 260};
  ASSERT_EQ(Open({1, -47, 238, 160}, GetParam(), {100, 100}), S_OK);
  painter.Fill({0, 0, 400, 300}, 0x123456);
  painter.Sync();
  cv::Mat seen = NextPicture();
  ASSERT_TRUE(SamePixels(seen, painter.Screen(onRoot)));
  EXPECT_EQ(changed, (std::vector<cv::Rect>{{0, 0, 237, 207}}));

  std::mt19937 random(11);
  const auto below = [&](int limit) { return static_cast<int>(random() % static_cast<unsigned>(limit)); };
  int unchanged = 0;
  for (int round = 0; round < 200; ++round) {
    for (int draws = 1 + below(12); draws > 0; --draws) {
      const xcb_rectangle_t where{static_cast<std::int16_t>(below(400) - 20),
                                  static_cast<std::int16_t>(below(300) - 20),
                                  static_cast<std::uint16_t>(1 + below(round % 10 == 0 ? 300 : 20)),
                                  static_cast<std::uint16_t>(1 + below(round % 10 == 0 ? 200 : 20))};
      painter.Fill(where, random() & 0xFFFFFF, below(3) == 0);
    }
    if (round % 4 == 0) painter.MoveWindow(below(450) - 60, below(350) - 60);
    painter.Sync();
    cv::Mat next = NextPicture(0);
    if (next.empty()) {
      ++unchanged;  // everything was drawn elsewhere
    } else {
      ASSERT_TRUE(SameBut(changed, seen, next)) << "round " << round;
      seen = next;
    }
    ASSERT_TRUE(SamePixels(seen, painter.Screen(onRoot))) << "round " << round;
  }
  EXPECT_LT(unchanged, 133);
}

TEST_P(EachTransport, NamesWhatItFetchedAndNothingForPointerMotion) {
  painter.MovePointer(50, 250);
  ASSERT_EQ(Open({0, 100, 400, 300}, GetParam()), S_OK);
  Settle();
  painter.Fill({10, 110, 20, 5}, 0x123456);
  painter.Fill({100, 90, 20, 30}, 0x654321);
  painter.Sync();
  NextPicture();
  using Rects = std::vector<cv::Rect>;
  EXPECT_EQ(changed, GetParam() == X11Transport::SharedPixmap
                         ? Rects({{100, 0, 20, 10}, {10, 10, 20, 5}, {100, 10, 20, 5}, {100, 15, 20, 5}})
                         : Rects({{0, 0, 400, 20}}));
  painter.MovePointer(60, 250);
  EXPECT_FALSE(NextPicture().empty());
  EXPECT_EQ(changed, Rects{});
}

INSTANTIATE_TEST_SUITE_P(OfPixels, EachTransport,
                         testing::Values(X11Transport::SharedPixmap, X11Transport::SharedImage,
                                         X11Transport::PlainImage));

TEST_F(X11DuplicationTest, WaitsUntilItsPartOfTheScreenChangesOrThePointerMovesThere) {
  painter.MovePointer(10, 10);
  ASSERT_EQ(Open({200, 0, 400, 300}), S_OK);
  Settle();
  painter.Fill({0, 0, 200, 300}, 0xFFFFFF);
  painter.MovePointer(20, 20);
  const auto start = Clock::now();
  EXPECT_EQ(frames->Acquire(60), DXGI_ERROR_WAIT_TIMEOUT) << "this was on the other monitor";
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(60));
  painter.MovePointer(300, 20);
  EXPECT_TRUE(SamePixels(NextPicture(), painter.Screen({200, 0, 400, 300})));
  painter.MovePointer(10, 10);
  EXPECT_FALSE(NextPicture().empty()) << "leaving counts as motion";
  EXPECT_EQ(frames->Acquire(60), DXGI_ERROR_WAIT_TIMEOUT);
}

TEST_F(X11DuplicationTest, NoticesAMovedMouseSoonerThanItAsksForThePointer) {
  ASSERT_EQ(Open({0, 0, 400, 300}), S_OK);
  Settle();
  auto fastest = Clock::duration::max();
  for (std::int16_t x = 100; x < 120; ++x) {
    const auto start = Clock::now();
    painter.MoveMouse(x, 10);
    ASSERT_FALSE(NextPicture().empty());
    // The first time, a question may be on its way.
    if (x > 100) fastest = std::min(fastest, Clock::now() - start);
  }
  EXPECT_LT(fastest, std::chrono::milliseconds(33));
}

TEST_F(X11DuplicationTest, AHeldFrameDoesNotChange) {
  ASSERT_EQ(Open({0, 0, 400, 300}), S_OK);
  painter.Fill({0, 0, 400, 300}, 0x0000FF);
  painter.Sync();
  ASSERT_EQ(frames->Acquire(soon), S_OK);
  const cv::Mat before = Picture();
  painter.Fill({0, 0, 400, 300}, 0xFF0000);
  painter.Sync();
  EXPECT_EQ(frames->Acquire(0), DXGI_ERROR_INVALID_CALL);
  EXPECT_TRUE(SamePixels(Picture(), before));
  EXPECT_EQ(frames->Release(), S_OK);
  EXPECT_EQ(frames->Release(), DXGI_ERROR_INVALID_CALL);
  EXPECT_TRUE(SamePixels(NextPicture(), painter.Screen({0, 0, 400, 300})));
}

TEST_F(X11DuplicationTest, LosesAccessOnlyWhenItsOwnMonitorChanges) {
  ASSERT_TRUE(display.Run({"xrandr", "--setmonitor", "*LEFT", "200/50x300/80+0+0", "screen"}));
  ASSERT_TRUE(display.Run({"xrandr", "--setmonitor", "RIGHT", "200/50x300/80+200+0", "none"}));
  ASSERT_EQ(Open({200, 0, 400, 300}), S_OK);
  const auto right = std::move(frames);
  ASSERT_EQ(Open({0, 0, 200, 300}), S_OK);
  Settle();
  ASSERT_TRUE(display.Run({"xrandr", "--delmonitor", "RIGHT"}));
  EXPECT_EQ(right->Acquire(soon), DXGI_ERROR_ACCESS_LOST);
  EXPECT_EQ(frames->Acquire(60), DXGI_ERROR_WAIT_TIMEOUT);
  painter.Fill({0, 0, 10, 10}, 0xFFFFFF);
  painter.Sync();
  EXPECT_FALSE(NextPicture().empty());
}

TEST_F(X11DuplicationTest, RefusesAMonitorThatLeavesTheRootWindow) {
  EXPECT_EQ(Open({1, 0, 401, 300}), DXGI_ERROR_ACCESS_LOST);
  EXPECT_EQ(Open({-1, 0, 100, 100}), DXGI_ERROR_ACCESS_LOST);
  EXPECT_EQ(Open({0, 0, 0, 0}), DXGI_ERROR_ACCESS_LOST);
  EXPECT_EQ(frames, nullptr);
}

}  // namespace
}  // namespace quillmark::layer

#include "capture/DuplicationContext.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <opencv2/core.hpp>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "support/ScriptedDesktop.h"

namespace quillmark {
namespace {

using test::Call;
using test::HandleOf;
using test::RectAt;
using test::ScriptedMonitor;

cv::Mat RandomPicture(cv::Size size, std::uint64_t seed) {
  cv::Mat picture(size, CV_8UC3);
  cv::RNG(seed).fill(picture, cv::RNG::UNIFORM, 0, 256);
  return picture;
}

bool SamePixels(const cv::Mat& a, const cv::Mat& b) {
  return a.size() == b.size() && a.type() == b.type() && cv::norm(a, b, cv::NORM_INF) == 0;
}

class DuplicationContextTest : public testing::Test {
 protected:
  // The next frame as BGR, released again; empty when there is none.
  cv::Mat NextPicture() {
    cv::Mat frame, bgr;
    if (!context.AcquireFrame(frame)) return bgr;
    cv::Mat planes[4];
    cv::split(frame, planes);
    cv::merge(planes, 3, bgr);
    context.ReleaseFrame();
    return bgr;
  }

  std::string TextOfNext(cv::Mat& frame) { return context.Acquire(frame).Text(); }

  std::string InitError(layer::MonitorId monitor) {
    try {
      context.Init(HandleOf(monitor));
      return "none";
    } catch (const std::runtime_error& error) {
      return error.what();
    }
  }

  const std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
  DuplicationContext context;
};

TEST_F(DuplicationContextTest, FramesAreUprightHoweverTheOutputIsRotated) {
  desktop->AddMonitor({.rect = RectAt(0, 0, 16, 16)});
  for (const ScriptedMonitor& script :
       {ScriptedMonitor{.rect = {100, 0, 161, 37}, .rotation = DXGI_MODE_ROTATION_IDENTITY},
        ScriptedMonitor{.rect = {-61, -37, 0, 0}, .rotation = DXGI_MODE_ROTATION_UNSPECIFIED},
        ScriptedMonitor{.rect = {100, 50, 161, 87}, .rotation = DXGI_MODE_ROTATION_ROTATE90},
        ScriptedMonitor{.rect = {-200, 0, -139, 37}, .rotation = DXGI_MODE_ROTATION_ROTATE180},
        ScriptedMonitor{.rect = {0, -137, 61, -100}, .rotation = DXGI_MODE_ROTATION_ROTATE270}}) {
    SCOPED_TRACE(script.rotation);
    const RECT& rect = script.rect;
    const auto monitor = desktop->AddMonitor(script);
    const cv::Mat painted = RandomPicture({rect.right - rect.left, rect.bottom - rect.top}, 7);
    desktop->Paint(painted, {rect.left, rect.top});
    ASSERT_TRUE(context.Init(HandleOf(monitor)));
    EXPECT_EQ(context.left, rect.left);
    EXPECT_EQ(context.top, rect.top);
    EXPECT_EQ(context.width, painted.cols);
    EXPECT_EQ(context.height, painted.rows);
    EXPECT_TRUE(SamePixels(NextPicture(), painted));
    const cv::Mat patch = RandomPicture({5, 3}, 8);
    desktop->Paint(patch, {rect.left + 9, rect.top + 4});
    EXPECT_TRUE(SamePixels(NextPicture()(cv::Rect(9, 4, 5, 3)), patch)) << "a second, smaller change";
    desktop->RemoveMonitor(monitor);
  }
}

TEST_F(DuplicationContextTest, AFailedInitCanBeRepeated) {
  const auto monitor = desktop->AddMonitor({});
  for (const auto& [call, message] : {std::pair{Call::Monitors, "DXGI Output not found for monitor"},
                                      {Call::OpenDevice, "D3D11CreateDevice failed"},
                                      {Call::Duplicate, "DuplicateOutput failed"}}) {
    desktop->FailNth(call, 1);
    EXPECT_EQ(InitError(monitor), message);
    EXPECT_EQ(InitError(monitor), "none") << message;
    EXPECT_FALSE(NextPicture().empty()) << message;
    EXPECT_EQ(desktop->OpenDuplications(), 1) << message;
  }
  const auto tooWide = desktop->AddMonitor({.rect = RectAt(640, 0, 16385, 1)});
  EXPECT_EQ(InitError(tooWide), "CreateTexture2D(stagingFull) failed");
  desktop->RemoveMonitor(monitor);
  EXPECT_EQ(InitError(monitor), "DXGI Output not found for monitor");
}

TEST_F(DuplicationContextTest, RefusesFramesThatDoNotFitTheMonitor) {
  const RECT rect = RectAt(0, 0, 640, 480);
  for (const ScriptedMonitor& monitor :
       {ScriptedMonitor{.rect = rect, .mode = {640, 400}}, ScriptedMonitor{.rect = rect, .mode = {480, 640}},
        ScriptedMonitor{.rect = rect, .rotation = DXGI_MODE_ROTATION_ROTATE270, .mode = {640, 480}}}) {
    EXPECT_EQ(InitError(desktop->AddMonitor(monitor)), "DuplicateOutput failed");
  }
}

TEST_F(DuplicationContextTest, OutcomesSayWhyThereIsNoFrame) {
  const auto monitor = desktop->AddMonitor({});
  context.Init(HandleOf(monitor));
  cv::Mat frame, second;
  ASSERT_EQ(TextOfNext(frame), "frame captured");
  desktop->Refresh(monitor);
  EXPECT_EQ(TextOfNext(second), "capture failed (0x887A0001)") << "one is held";
  EXPECT_FALSE(context.AcquireFrame(second));
  context.ReleaseFrame();
  EXPECT_FALSE(NextPicture().empty());

  desktop->SetWaiting(test::Waiting::UpToTimeout);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(TextOfNext(frame), "no new frame");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(33));

  desktop->Refresh(monitor);
  desktop->FailNth(Call::Map, 1);
  EXPECT_EQ(TextOfNext(frame), "capture failed (0x8007000E)");
  EXPECT_EQ(desktop->HeldFrames(), 0);
  desktop->Refresh(monitor);
  EXPECT_FALSE(NextPicture().empty());

  desktop->LoseAccess();
  EXPECT_EQ(TextOfNext(frame), "access lost (0x887A0026)");
  EXPECT_FALSE(context.AcquireFrame(frame));
  context.Init(HandleOf(monitor));
  EXPECT_FALSE(NextPicture().empty());
}

// "unknown", or the rectangles: "left,top WIDTHxHEIGHT ...".
std::string TextOf(const FrameChanges& changes) {
  if (!changes.known) return changes.rects.empty() ? "unknown" : "unknown, but with rectangles";
  std::ostringstream text;
  for (const cv::Rect& rect : changes.rects) {
    text << (text.tellp() > 0 ? " " : "") << rect.x << "," << rect.y << " " << rect.width << "x"
         << rect.height;
  }
  return text.str();
}

class FrameChangesTest : public DuplicationContextTest {
 protected:
  void OpenAfterFirstFrame(const ScriptedMonitor& script) {
    monitor = desktop->AddMonitor(script);
    context.Init(HandleOf(monitor));
    ASSERT_EQ(NextChanges(), "unknown") << "first frame";
  }
  // Those of the next frame; "no frame" if there is none.
  std::string NextChanges() {
    cv::Mat frame;
    if (!context.AcquireFrame(frame))
      return TextOf(context.Changes()) == "unknown" ? "no frame" : "left behind";
    const HeldFrame held(context);
    return TextOf(context.Changes());
  }

  layer::MonitorId monitor = 0;
};

std::vector<RECT> Rects(int count) {
  return std::vector<RECT>(static_cast<std::size_t>(count), {0, 0, 1, 1});
}
std::vector<DXGI_OUTDUPL_MOVE_RECT> Moves(int count) {
  return std::vector<DXGI_OUTDUPL_MOVE_RECT>(static_cast<std::size_t>(count), {{9, 9}, {0, 0, 1, 1}});
}

TEST_F(FrameChangesTest, AreWhatTheFramesMetadataNames) {
  ASSERT_NO_FATAL_FAILURE(OpenAfterFirstFrame({.rect = {-64, 10, 0, 58}}));
  struct Case {
    const char* name;
    test::ScriptedChange change;
    std::string expected;
  };
  const LONG most = std::numeric_limits<LONG>::max();
  const Case cases[] = {
      {"dirty", {.dirty = {{1, 2, 4, 3}, {10, 11, 64, 48}}}, "1,2 3x1 10,11 54x37"},
      {"moved: both ends", {.moves = {{{5, 6}, {20, 30, 24, 32}}}}, "5,6 4x2 20,30 4x2"},
      {"both kinds",
       {.dirty = {{0, 0, 1, 1}}, .moves = {{{5, 6}, {20, 30, 24, 32}}}},
       "5,6 4x2 20,30 4x2 0,0 1x1"},
      {"beyond the frame", {.dirty = {{-9, -9, 2, 3}, {60, 40, 70, 50}}}, "0,0 2x3 60,40 4x8"},
      {"outside of the frame", {.dirty = {{64, 0, 70, 9}, {0, 48, 9, 50}}}, ""},
      {"far beyond it", {.moves = {{{most, -most - 1}, {-most - 1, 0, most, 5}}}}, "0,0 64x5"},
      {"pointer only", {.presented = false}, ""},
      {"pointer only, with what there was before", {.dirty = {{0, 0, 1, 1}}, .presented = false}, ""},
      {"not said", {}, "unknown"},
      {"not counted", {.dirty = {{0, 0, 1, 1}}, .announced = false}, "unknown"},
      {"too many in all", {.dirty = Rects(255), .moves = Moves(1)}, "unknown"},
      {"too many dirty", {.dirty = Rects(257)}, "unknown"},
      {"too many moves", {.moves = Moves(257)}, "unknown"},
  };
  for (const Case& each : cases) {
    desktop->Refresh(monitor, each.change);
    EXPECT_EQ(NextChanges(), each.expected) << each.name;
  }
  desktop->Refresh(monitor, {.dirty = Rects(254), .moves = Moves(1)});
  cv::Mat frame;
  ASSERT_TRUE(context.AcquireFrame(frame));
  EXPECT_EQ(context.Changes().rects.size(), 256u);
  context.ReleaseFrame();
  EXPECT_EQ(NextChanges(), "no frame");
}

TEST_F(FrameChangesTest, CoverAllSinceTheFrameBefore) {
  ASSERT_NO_FATAL_FAILURE(OpenAfterFirstFrame({}));
  const cv::Mat dot(2, 3, CV_8UC3, cv::Scalar::all(255));
  desktop->Paint(dot, {5, 6});
  desktop->Refresh(monitor);
  desktop->Scroll(monitor, RectAt(5, 6, 3, 2), {100, 100});
  EXPECT_EQ(NextChanges(), "5,6 3x2 100,100 3x2 5,6 3x2");
  EXPECT_EQ(NextChanges(), "no frame");
  desktop->Paint(dot, {7, 8});
  EXPECT_EQ(NextChanges(), "7,8 3x2") << "a time-out loses nothing";
}

TEST_F(FrameChangesTest, FailedMetadataCostsNoFrame) {
  ASSERT_NO_FATAL_FAILURE(OpenAfterFirstFrame({}));
  const test::ScriptedChange change{.dirty = {{1, 1, 2, 2}}, .moves = {{{5, 6}, {20, 30, 24, 32}}}};
  for (const Call call : {Call::MoveRects, Call::DirtyRects}) {
    desktop->FailNth(call, 1);
    desktop->Refresh(monitor, change);
    EXPECT_EQ(NextChanges(), "unknown");
    desktop->Refresh(monitor, change);
    EXPECT_EQ(NextChanges(), "5,6 4x2 20,30 4x2 1,1 1x1") << "the frame was delivered, so nothing is lost";
  }
}

TEST_F(FrameChangesTest, AreUnknownAfterALostFrame) {
  ASSERT_NO_FATAL_FAILURE(OpenAfterFirstFrame({}));
  for (const Call call : {Call::Acquire, Call::Map}) {
    desktop->FailNth(call, 1);
    desktop->Refresh(monitor);
    EXPECT_EQ(NextChanges(), "no frame");
    desktop->Refresh(monitor);
    EXPECT_EQ(NextChanges(), "unknown");
    desktop->Refresh(monitor);
    EXPECT_EQ(NextChanges(), "");
  }
  context.Init(HandleOf(monitor));
  EXPECT_EQ(NextChanges(), "unknown") << "another duplication";
}

TEST_F(FrameChangesTest, AreUnknownForARotatedOutput) {
  for (const auto rotation :
       {DXGI_MODE_ROTATION_ROTATE90, DXGI_MODE_ROTATION_ROTATE180, DXGI_MODE_ROTATION_ROTATE270}) {
    ASSERT_NO_FATAL_FAILURE(OpenAfterFirstFrame({.rotation = rotation}));
    desktop->Refresh(monitor, {.dirty = {{0, 0, 1, 1}}});
    EXPECT_EQ(NextChanges(), "unknown") << rotation;
  }
}

}  // namespace
}  // namespace quillmark

#include "capture/DuplicationContext.h"

#include <gtest/gtest.h>

#include <chrono>
#include <opencv2/core.hpp>
#include <stdexcept>
#include <string>
#include <utility>

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

}  // namespace
}  // namespace quillmark

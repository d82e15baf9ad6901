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

TEST_F(DuplicationContextTest, GivesThePictureAsItStandsOnTheDesktop) {
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
    // A second, smaller change arrives in the same place.
    const cv::Mat patch = RandomPicture({5, 3}, 8);
    desktop->Paint(patch, {rect.left + 9, rect.top + 4});
    EXPECT_TRUE(SamePixels(NextPicture()(cv::Rect(9, 4, 5, 3)), patch));
    desktop->RemoveMonitor(monitor);
  }
}

TEST_F(DuplicationContextTest, LooksAtTheMappedMemoryItself) {
  const auto monitor = desktop->AddMonitor({});
  context.Init(HandleOf(monitor));
  cv::Mat frame;
  ASSERT_TRUE(context.AcquireFrame(frame));
  EXPECT_GT(frame.step, frame.cols * frame.elemSize());  // the rows are padded there
  context.ReleaseFrame();
  EXPECT_EQ(frame.at<cv::Vec4b>(0, 0), cv::Vec4b::all(0xDB));  // spoilt on release
}

TEST_F(DuplicationContextTest, FailingInitRaisesItsMessageAndCanBeRepeated) {
  const auto monitor = desktop->AddMonitor({});
  for (const auto& [call, message] : {std::pair{Call::Monitors, "DXGI Output not found for monitor"},
                                      {Call::OpenDevice, "D3D11CreateDevice failed"},
                                      {Call::Duplicate, "DuplicateOutput failed"},
                                      {Call::ReserveStaging, "CreateTexture2D(stagingFull) failed"}}) {
    desktop->FailNth(call, 1);
    EXPECT_EQ(InitError(monitor), message);
    EXPECT_EQ(InitError(monitor), "none") << message;
    EXPECT_FALSE(NextPicture().empty()) << message;
    EXPECT_EQ(desktop->OpenDuplications(), 1) << message;
  }
}

TEST_F(DuplicationContextTest, FindsNoOutputForAMonitorThatHasGone) {
  const auto monitor = desktop->AddMonitor({});
  desktop->AddMonitor({.rect = RectAt(640, 0, 640, 480)});
  desktop->RemoveMonitor(monitor);
  EXPECT_EQ(InitError(monitor), "DXGI Output not found for monitor");
}

// The mode changed after the output was described, so the coordinates of neither are to be trusted.
TEST_F(DuplicationContextTest, RefusesFramesThatDoNotFitTheMonitor) {
  const RECT rect = RectAt(0, 0, 640, 480);
  for (const ScriptedMonitor& monitor :
       {ScriptedMonitor{.rect = rect, .mode = {640, 400}}, ScriptedMonitor{.rect = rect, .mode = {480, 640}},
        ScriptedMonitor{.rect = rect, .rotation = DXGI_MODE_ROTATION_ROTATE270, .mode = {640, 480}}}) {
    EXPECT_EQ(InitError(desktop->AddMonitor(monitor)), "DuplicateOutput failed");
  }
}

TEST_F(DuplicationContextTest, RefusesASecondFrameWhileOneIsHeld) {
  context.Init(HandleOf(desktop->AddMonitor({})));
  cv::Mat frame, second;
  ASSERT_EQ(TextOfNext(frame), "frame captured");
  desktop->Paint(RandomPicture({10, 10}, 1));
  EXPECT_EQ(TextOfNext(second), "capture failed (0x887A0001)");
  EXPECT_FALSE(context.AcquireFrame(second));
  context.ReleaseFrame();
  EXPECT_TRUE(SamePixels(NextPicture()(cv::Rect(0, 0, 10, 10)), RandomPicture({10, 10}, 1)));
}

TEST_F(DuplicationContextTest, WaitsItsTimeOutOnAStillDesktop) {
  desktop->SetWaiting(test::Waiting::UpToTimeout);
  context.Init(HandleOf(desktop->AddMonitor({})));
  ASSERT_FALSE(NextPicture().empty());
  const auto start = std::chrono::steady_clock::now();
  cv::Mat frame;
  EXPECT_EQ(TextOfNext(frame), "no new frame");
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(33));
}

TEST_F(DuplicationContextTest, ReleasesAFrameThatCannotBeMapped) {
  const auto monitor = desktop->AddMonitor({});
  context.Init(HandleOf(monitor));
  desktop->FailNth(Call::Map, 1);
  cv::Mat frame;
  EXPECT_EQ(TextOfNext(frame), "capture failed (0x8007000E)");
  EXPECT_EQ(desktop->HeldFrames(), 0);
  desktop->Refresh(monitor);
  EXPECT_FALSE(NextPicture().empty());
}

TEST_F(DuplicationContextTest, GivesNoFrameOnceAccessIsLostUntilMadeAnew) {
  const auto monitor = desktop->AddMonitor({});
  context.Init(HandleOf(monitor));
  desktop->LoseAccess();
  cv::Mat frame;
  EXPECT_EQ(TextOfNext(frame), "access lost (0x887A0026)");
  EXPECT_FALSE(context.AcquireFrame(frame));
  context.Init(HandleOf(monitor));
  EXPECT_FALSE(NextPicture().empty());
}

TEST_F(DuplicationContextTest, LetsGoOfEverything) {
  const auto monitor = desktop->AddMonitor({});
  {
    DuplicationContext shortLived;
    shortLived.Init(HandleOf(monitor));
    shortLived.Init(HandleOf(monitor));
    EXPECT_EQ(desktop->OpenDuplications(), 1);
    cv::Mat frame;
    ASSERT_TRUE(shortLived.AcquireFrame(frame));
  }
  EXPECT_EQ(desktop->OpenDuplications(), 0);
  EXPECT_EQ(desktop->HeldFrames(), 0);
}

}  // namespace
}  // namespace quillmark

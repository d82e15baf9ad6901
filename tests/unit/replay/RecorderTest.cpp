// What the recorder makes of a scripted desktop, and what a replay makes of the recording.
#include "replay/Recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "Scene.h"
#include "support/ScriptedDesktop.h"

namespace quillmark::replay {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;
using Step = std::function<void()>;

class RecorderTest : public ::testing::Test {
 protected:
  RecorderTest() {
    desktop->AddMonitor({{0, 0, 320, 240}});
    desktop->SetProcessImage(7, L"/opt/app.exe");
    options.folder = folder.Path() / "made" / "here";
    options.mostMs = 60'000;  // the steps end it
  }

  layer::WindowId OpenWindow(const RECT& client) {
    return desktop->OpenWindow({.title = L"target", .client = client, .frame = {}, .processId = 7});
  }
  void AddSpec() {
    const std::string file = (folder.Path() / "mark.png").string();
    cv::imwrite(file, Mark());
    options.specs = {{L"target", L"mark", file, {0, 0, 200, 150}}};
  }
  Step Painting(const cv::Mat& image, POINT at = {60, 70}) {
    return [this, image, at] { desktop->Paint(image, at); };
  }
  // Takes the steps while recording, the first at once, with time for a frame after each.
  RecorderResult RecordSteps(const std::vector<Step>& steps) {
    std::size_t next = 0;
    std::int64_t due = 0;
    return Record(options, [&](std::int64_t tMs) {
      if (tMs < due) return true;
      if (next == steps.size()) return false;
      steps[next++]();
      due = tMs + 60;
      return true;
    });
  }

  const Step wait = [] {};
  const std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
  const test::TempFolder folder;
  RecorderOptions options;
};

TEST_F(RecorderTest, ReplayFindsWhatWasRecordedAtItsPlace) {
  desktop->AddMonitor({{-100, 0, 0, 100}});
  const layer::WindowId window = OpenWindow({40, 30, 240, 180});
  AddSpec();
  const Step move = [&] { desktop->MoveWindow(window, {50, 30, 250, 180}); };
  const RecorderResult made =
      RecordSteps({Painting(Mark()), Painting(Mark(2)), move, Painting(Mark(), {100, 70}), wait});
  EXPECT_EQ(made.frames, 4u) << "one of them of the second monitor";
  EXPECT_THAT(made.notes, SizeIs(0));

  const Recording recording = ReadRecording(options.folder);
  ASSERT_THAT(recording.monitors, SizeIs(2));
  EXPECT_EQ(recording.monitors[1].rect, RectAt(-100, 0, 100, 100));
  ASSERT_THAT(recording.windows, SizeIs(2));
  const RecordedWindow& first = recording.windows[0].windows.at(0);
  EXPECT_EQ(first.title, L"target");
  EXPECT_EQ(first.program, L"app.exe");
  EXPECT_EQ(first.client, RectAt(40, 30, 200, 150));
  const ReplayResult played = Replay(recording, options.folder);
  EXPECT_THAT(played.faults, SizeIs(0));
  ASSERT_THAT(played.hits, SizeIs(2));
  EXPECT_EQ(played.hits[0].hit.cx, 60 - 40 + 12);
  EXPECT_EQ(played.hits[1].hit.cx, 100 - 50 + 12);
}

TEST_F(RecorderTest, BundleHasTheFramesAroundAHitOrNearMiss) {
  cv::Mat almost;
  cv::GaussianBlur(Mark(), almost, {3, 3}, 0.8);
  OpenWindow({40, 30, 240, 180});
  AddSpec();
  options.framesBefore = options.framesAfter = 2;
  for (const auto& [trigger, shown] : {std::pair{Trigger::Hit, Mark()}, {Trigger::NearMiss, almost}}) {
    options.folder = folder.Path() / std::to_string(static_cast<int>(trigger));
    options.trigger = trigger;
    std::vector<Step> steps(11);
    for (std::uint32_t i = 0; i < steps.size(); ++i) steps[i] = Painting(i == 5 ? shown : Mark(10 + i));
    const RecorderResult made = RecordSteps(steps);
    EXPECT_TRUE(made.triggered);
    EXPECT_EQ(made.frames, 5u);
    const Recording recording = ReadRecording(options.folder);
    EXPECT_EQ(recording.frames.at(0).tMs, 0);
    const ReplayResult played = Replay(recording, options.folder);
    const bool hit = trigger == Trigger::Hit;
    EXPECT_THAT(played.hits, SizeIs(hit ? 1 : 0));
    EXPECT_EQ(hit ? played.hits.at(0).frame : played.specs.at(0).nearestMiss.value().frame, 2u);
  }
}

TEST_F(RecorderTest, EndsWhenTheMonitorsChange) {
  const Step add = [&] { desktop->AddMonitor({{320, 0, 400, 100}}); };
  const RecorderResult made = RecordSteps({wait, add, wait, wait});
  EXPECT_THAT(made.notes, ElementsAre(HasSubstr("the monitors have changed")));
  EXPECT_EQ(ReadRecording(options.folder).monitors.size(), 1u);
}

TEST_F(RecorderTest, GoesOnAfterLosingAccess) {
  const RecorderResult made =
      RecordSteps({wait, [&] { desktop->LoseAccess(); }, Painting(Mark()), wait, wait, wait, wait, wait});
  EXPECT_EQ(made.frames, 2u);
  EXPECT_THAT(made.notes, ElementsAre("monitor-1: access lost (0x887A0026)"));
}

TEST_F(RecorderTest, SaysWhatItCannotUse) {
  const auto expectError = [&](const std::string& text) {
    EXPECT_THAT([&] { (void)RecordSteps({wait}); },
                ::testing::ThrowsMessage<std::runtime_error>(HasSubstr(text)));
  };
  AddSpec();
  options.specs[0].path = "/none.png";
  expectError("/none.png: The image file cannot be opened");
  options.specs.clear();
  desktop->FailNth(test::Call::Duplicate, 1);
  expectError("monitor-1: DuplicateOutput failed (0x887A0004)");
  desktop->Heal();
  options.folder = folder.Path();  // has the template in it
  expectError("is not empty");
  options.folder = folder.Path() / "mark.png" / "below";
  expectError("cannot be created");
}

}  // namespace
}  // namespace quillmark::replay

// What the recorder makes of a desktop that a test writes, and what a replay makes of that.
#include "replay/Recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "Scene.h"
#include "replay/LiveDesktop.h"
#include "support/ScriptedDesktop.h"

namespace quillmark::replay {
namespace {

using test::Call;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

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
  cv::Mat Mark(std::uint32_t seed = 1) const {
    testing::Random random(seed);
    return testing::Noise(random, {24, 16});
  }
  void Spec(const cv::Mat& image) {
    cv::Mat bgra;
    cv::cvtColor(image, bgra, cv::COLOR_BGR2BGRA);
    SaveFrame(folder.Path() / "mark.png", bgra);
    options.specs = {{L"target", L"mark", (folder.Path() / "mark.png").string(), 0, 0, 200, 150}};
  }
  // Records while the steps are taken, one for each new frame, the first one at once.
  RecorderResult RecordSteps(const std::vector<std::function<void()>>& steps) {
    std::size_t next = 0;
    std::int64_t due = 0;
    return Record(options, [&](std::int64_t tMs) {
      if (tMs < due) return true;
      if (next == steps.size()) return false;
      steps[next++]();
      due = tMs + 60;  // so that each step is seen
      return true;
    });
  }

  const std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
  const test::TempFolder folder;
  RecorderOptions options;
};

TEST_F(RecorderTest, WhatWasRecordedIsPlayedAsItWasSeen) {
  desktop->AddMonitor({{-100, 0, 0, 100}});
  const layer::WindowId window = OpenWindow({40, 30, 240, 180});
  Spec(Mark());
  const RecorderResult made = RecordSteps({[&] {
                                             desktop->Paint(Mark(), {60, 70});
                                           },
                                           [&] {
                                             desktop->Paint(Mark(2), {60, 70});
                                           },
                                           [&] {
                                             desktop->MoveWindow(window, {50, 30, 250, 180});
                                           },
                                           [&] {
                                             desktop->Paint(Mark(), {100, 70});
                                           },
                                           [] {}});
  EXPECT_EQ(made.frames, 4u) << "one of the other monitor";
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

TEST_F(RecorderTest, ABundleHoldsTheFramesAroundAHitOrNearMiss) {
  const cv::Mat mark = Mark();
  cv::Mat almost;
  cv::GaussianBlur(mark, almost, {3, 3}, 0.8);
  for (const auto& [trigger, shown] : {std::pair{Trigger::Hit, mark}, {Trigger::NearMiss, almost}}) {
    options.folder = folder.Path() / std::to_string(static_cast<int>(trigger));
    options.trigger = trigger;
    options.framesBefore = options.framesAfter = 2;
    OpenWindow({40, 30, 240, 180});
    Spec(mark);
    std::vector<std::function<void()>> steps;
    for (std::uint32_t seed = 10; seed < 15; ++seed) {
      steps.push_back([&, seed] { desktop->Paint(Mark(seed), {60, 70}); });
    }
    steps.push_back([&] { desktop->Paint(shown, {60, 70}); });
    for (std::uint32_t seed = 20; seed < 25; ++seed) {
      steps.push_back([&, seed] { desktop->Paint(Mark(seed), {60, 70}); });
    }
    const RecorderResult made = RecordSteps(steps);
    EXPECT_TRUE(made.triggered);
    EXPECT_EQ(made.frames, 5u);
    const Recording recording = ReadRecording(options.folder);
    EXPECT_EQ(recording.frames.at(0).tMs, 0);
    const ReplayResult played = Replay(recording, options.folder);
    if (trigger == Trigger::Hit) {
      ASSERT_THAT(played.hits, SizeIs(1));
      EXPECT_EQ(played.hits[0].frame, 2u);
    } else {
      ASSERT_TRUE(played.specs.at(0).nearestMiss);
      EXPECT_EQ(played.specs[0].nearestMiss->frame, 2u);
    }
  }
}

TEST_F(RecorderTest, EndsWhenTheMonitorsChange) {
  const RecorderResult made = RecordSteps({[] {},
                                           [&] {
                                             desktop->AddMonitor({{320, 0, 400, 100}});
                                           },
                                           [] {}, [] {}});
  EXPECT_THAT(made.notes, ElementsAre(HasSubstr("the monitors have changed")));
  EXPECT_EQ(ReadRecording(options.folder).monitors.size(), 1u);
}

TEST_F(RecorderTest, GoesOnAfterAccessWasLost) {
  const RecorderResult made = RecordSteps({[] {}, [&] { desktop->LoseAccess(); },
                                           [&] {
                                             desktop->Paint(Mark(), {60, 70});
                                           },
                                           [] {}, [] {}, [] {}, [] {}, [] {}});
  EXPECT_EQ(made.frames, 2u);
  EXPECT_THAT(made.notes, ElementsAre("monitor-1: access lost (0x887A0026)"));
}

TEST_F(RecorderTest, SaysWhatItCannotUse) {
  const auto error = [&] {
    try {
      (void)RecordSteps({[] {}});
    } catch (const std::runtime_error& raised) {
      return std::string(raised.what());
    }
    return std::string("none");
  };
  Spec(Mark());
  options.specs[0].path = "/none.png";
  EXPECT_THAT(error(), HasSubstr("/none.png: The image file cannot be opened"));
  options.specs.clear();
  desktop->FailNth(Call::Duplicate, 1);
  EXPECT_THAT(error(), HasSubstr("monitor-1: DuplicateOutput failed (0x887A0004)"));
  desktop->Heal();
  options.folder = folder.Path();  // the template lies there
  EXPECT_THAT(error(), HasSubstr("is not empty"));
  options.folder = folder.Path() / "mark.png" / "below";
  EXPECT_THAT(error(), HasSubstr("cannot be made"));
}

}  // namespace
}  // namespace quillmark::replay

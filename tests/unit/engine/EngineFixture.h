// The engine on a scripted desktop, with a store that the test fills.
//
// Threading: one thread.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <latch>
#include <memory>
#include <string>
#include <vector>

#include "app/frame/OpenCvConfig.h"
#include "specs/SpecStore.h"
#include "support/EngineProbe.h"
#include "support/PrivateSession.h"
#include "support/ScriptedDesktop.h"

namespace quillmark {

// The caller's n-th operator new from now on raises std::bad_alloc, n from 1; 0 for none. Returns how many
// allocations the last request had yet to see; 0 if it has failed one.
int FailNthAllocation(int n);

class EngineFixture : public ::testing::Test {
 protected:
  using Jobs = std::deque<std::shared_ptr<FrameJob>>;

  EngineFixture() {
    ConfigureOpenCvOnce();
    Specs().specs.clear();
    ++Specs().changes;
  }

  HMONITOR AddMonitor(LONG left, LONG top, LONG width = 300, LONG height = 200) {
    return test::HandleOf(desktop->AddMonitor({test::RectAt(left, top, width, height)}));
  }
  layer::WindowId OpenWindow(const RECT& client) {
    return desktop->OpenWindow({.title = L"target", .client = client});
  }
  // Adds a spec with a black template of 8 x 8 pixels to the store.
  TemplateSpec& AddSpec(const cv::Rect& roi, const std::wstring& name = L"spec",
                        const std::wstring& target = L"target") {
    SpecStore& store = Specs();
    const std::lock_guard lock(store.specMutex);
    store.NoteChange();
    TemplateSpec& spec = store.specs.emplace_back();
    spec.revision = store.changes;
    spec.name = name;
    spec.target = target;
    spec.roi = roi;
    spec.tmplGray = cv::Mat::zeros(8, 8, CV_8UC1);
    return spec;
  }
  // One monitor of 300 x 200 pixels at the origin, a window on it, and a spec for a region of it.
  HMONITOR ShowOneSpec() {
    OpenWindow(test::RectAt(10, 10, 100, 100));
    AddSpec({0, 0, 50, 50});
    return AddMonitor(0, 0);
  }
  void RefreshAll() {
    for (const layer::MonitorFacts& monitor : desktop->Monitors()) desktop->Refresh(monitor.id);
  }
  // New frames everywhere, then one tick.
  Jobs Tick(std::int64_t afterMs = 20) {
    RefreshAll();
    ++Specs().changes;  // the test may have written to it
    return probe.Tick(afterMs);
  }
  // The regions of a tick's jobs, on the desktop.
  static std::vector<Rect> RegionsIn(const Jobs& jobs) {
    std::vector<Rect> regions;
    for (const auto& job : jobs) {
      for (const ROIUnit& unit : job->units) regions.push_back({unit.x, unit.y, unit.right, unit.bottom});
    }
    return regions;
  }
  static std::size_t UnitsIn(const Jobs& jobs) { return RegionsIn(jobs).size(); }

  const test::PrivateSession session;
  std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
  std::latch release{1};  // outlives the workers that wait for it
  AutoRebinder engine;
  EngineProbe probe{engine};
};

}  // namespace quillmark

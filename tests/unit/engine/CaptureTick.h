// The engine on a scripted desktop, tick by tick on the test's own thread.
//
// Threading: one thread.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>

#include "EngineProbe.h"
#include "app/OpenCvConfig.h"
#include "specs/SpecStore.h"
#include "support/ScriptedDesktop.h"

namespace quillmark {

class CaptureTickTest : public ::testing::Test {
 protected:
  using Jobs = std::deque<std::shared_ptr<FrameJob>>;

  CaptureTickTest() {
    ConfigureOpenCvOnce();
    Specs().specs.clear();
  }

  layer::MonitorId AddMonitor(LONG left, LONG top, LONG width, LONG height) {
    return desktop->AddMonitor({test::RectAt(left, top, width, height)});
  }
  layer::WindowId OpenWindow(const RECT& client, std::uint32_t dpi = 96) {
    test::ScriptedWindow window;
    window.title = L"target";
    window.client = client;
    if (dpi != 96) window.awareness = DPI_AWARENESS_UNAWARE;
    window.dpi = dpi;
    return desktop->OpenWindow(window);
  }
  // A spec in the store, with a grey template of a size but no content.
  TemplateSpec& AddSpec(const cv::Rect& roi, cv::Size templateSize = {8, 8},
                        const std::wstring& name = L"spec") {
    TemplateSpec spec;
    spec.name = name;
    spec.target = L"target";
    spec.roi = roi;
    spec.tmplGray = cv::Mat::zeros(templateSize, CV_8UC1);
    Specs().specs.push_back(spec);
    return Specs().specs.back();
  }
  // New frames everywhere, then one tick.
  Jobs Tick(std::int64_t afterMs = 20) {
    for (const layer::MonitorFacts& monitor : desktop->Monitors()) desktop->Refresh(monitor.id);
    return probe.Tick(afterMs);
  }
  static Rect RegionOf(const ROIUnit& unit) { return {unit.x, unit.y, unit.right, unit.bottom}; }
  // The one unit of a tick that must have exactly one.
  ROIUnit OnlyUnit(const Jobs& jobs) {
    EXPECT_EQ(jobs.size(), 1u);
    if (jobs.size() != 1 || jobs[0]->units.size() != 1) {
      ADD_FAILURE() << "not exactly one unit";
      return {};
    }
    return jobs[0]->units[0];
  }
  static std::size_t UnitsIn(const Jobs& jobs) {
    std::size_t units = 0;
    for (const auto& job : jobs) units += job->units.size();
    return units;
  }

  std::shared_ptr<test::ScriptedDesktop> desktop = test::ScriptedDesktop::Install();
  AutoRebinder engine;
  EngineProbe probe{engine};
};

}  // namespace quillmark

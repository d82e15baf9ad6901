// explain --live on a scripted desktop: the same verdict as the engine's, or what is wrong.
#include <gtest/gtest.h>

#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <string>

#include "Cases.h"
#include "explain/Explain.h"
#include "explain/LiveLook.h"
#include "support/Images.h"
#include "unit/engine/EngineFixture.h"

namespace quillmark::explain {
namespace {

using test::Call;
using test::RectAt;

class LiveWorker : public EngineFixture {
 protected:
  LiveWorker() { AddMonitor(0, 0, 640, 480); }

  layer::WindowId OpenWindow(const RECT& client, std::uint32_t dpi = 96) {
    return desktop->OpenWindow(
        {.title = L"The window", .client = client, .awareness = DPI_AWARENESS_UNAWARE, .dpi = dpi});
  }
  SpecRequest RequestOf(const Case& c) {
    const std::filesystem::path file = session.Base() / (c.name + ".png");
    EXPECT_TRUE(cv::imwrite(file.string(), c.tmpl));
    return {L"window", c.specName, file.wstring(), c.roi, c.edgeMin, c.threshold};
  }
  // The picture on a background of noise.
  cv::Mat ScreenWith(const cv::Mat& picture, cv::Point at) {
    cv::Mat screen = testing::Noise(random, {640, 480});
    const cv::Rect shown = cv::Rect(at, picture.size()) & cv::Rect(cv::Point(), screen.size());
    picture(cv::Rect(cv::Point(), shown.size())).copyTo(screen(shown));
    return screen;
  }

  testing::Random random{1};
};

TEST_F(LiveWorker, LiveExplanationHasTheBitsOfTheEnginesVerdict) {
  const std::pair<RECT, std::uint32_t> places[] = {
      {RectAt(33, 57, 180, 100), 96}, {RectAt(510, 20, 180, 100), 96}, {RectAt(10, 11, 270, 150), 144}};
  Case c = AllCases().front();
  c.specName = L"button:red:mode=s";  // needs every plane
  const SpecRequest request = RequestOf(c);
  for (const auto& [client, dpi] : places) {
    SCOPED_TRACE(client.left);
    const layer::WindowId window = OpenWindow(client, dpi);
    ClearSpecs(L"test");
    LoadSpec(request.target, request.name, request.path, c.roi.x, c.roi.y, c.roi.width, c.roi.height,
             request.edgeMin, request.threshold);
    desktop->Paint(ScreenWith(c.screen, {client.left, client.top}));
    const Jobs jobs = probe.Tick();
    ASSERT_EQ(jobs.size(), 1u);
    ROIUnit unit = jobs[0]->units.at(0);
    static_cast<Planes&>(unit) = unit.look->picture->PlanesFor({true, true});
    const Verdict verdict = EvaluateRegion(unit, jobs[0]->SpecOf(unit), Thoroughness::EveryStep);
    const Explanation live = ExplainLive(PrepareExplanation(request)).at(0);
    desktop->CloseWindow(window);
    ASSERT_TRUE(live.sight) << live.sentence;
    EXPECT_EQ(live.sight->unit.clipped, unit.clipped);
    EXPECT_EQ(cv::norm(live.sight->unit.bgr, unit.bgr, cv::NORM_INF), 0.0);
    EXPECT_EQ(live.sight->verdict.decidedBy, verdict.decidedBy);
    EXPECT_EQ(live.sight->verdict.loc, verdict.loc);
    for (const GateEntry& gate : kAllGates) {
      EXPECT_EQ((live.sight->verdict.*gate.result).figure, (verdict.*gate.result).figure) << gate.name;
      EXPECT_EQ((live.sight->verdict.*gate.result).limit.Value(), (verdict.*gate.result).limit.Value());
    }
  }
}

TEST_F(LiveWorker, RegionOnTwoMonitorsIsExplainedOnEach) {
  AddMonitor(640, 0, 640, 480);
  OpenWindow(RectAt(560, 20, 180, 100));
  const std::vector<Explanation> both = ExplainLive(PrepareExplanation(RequestOf(AllCases().front())));
  ASSERT_EQ(both.size(), 2u);
  EXPECT_EQ(both[0].sight->place.visible, (Rect{560, 20, 640, 120}));
  EXPECT_EQ(both[1].sight->place.visible, (Rect{640, 20, 740, 120}));
}

TEST_F(LiveWorker, NamesWhatIsWrongWithTheTarget) {
  const SpecRequest request = RequestOf(AllCases().front());
  const auto reason = [&] { return ExplainLive(PrepareExplanation(request))[0].reason; };
  EXPECT_EQ(reason(), Reason::WindowNotFound);
  const layer::WindowId window = OpenWindow(RectAt(0, 0, 180, 100));
  EXPECT_EQ(reason(), Reason::Difference);
  desktop->Minimize(window);
  EXPECT_EQ(reason(), Reason::WindowMinimised);
  desktop->Restore(window);
  desktop->FailNth(Call::Window, 9);  // GetClientRect: six calls choose the window, two look at it again
  EXPECT_EQ(reason(), Reason::WindowUnmeasured);
  desktop->Heal();
  desktop->MoveWindow(window, RectAt(700, 0, 180, 100));
  EXPECT_EQ(reason(), Reason::RegionOffMonitor);
}

TEST_F(LiveWorker, CaptureRecoversOrNamesTheFault) {
  const SpecRequest request = RequestOf(AllCases().front());
  OpenWindow(RectAt(0, 0, 180, 100));
  const struct {
    Call call;
    Reason reason;
    const char* fault;
  } table[] = {{Call::Duplicate, Reason::CaptureFailed, "(DuplicateOutput failed (0x887A0004))"},
               {Call::Map, Reason::CaptureFailed, "(capture failed (0x8007000E))"},
               {Call::Acquire, Reason::CaptureLost, "(access lost (0x887A0026))"}};
  for (const auto& row : table) {
    SCOPED_TRACE(row.fault);
    desktop->FailNth(row.call, 1);
    EXPECT_EQ(ExplainLive(PrepareExplanation(request))[0].reason, Reason::Difference);
    desktop->FailAlways(row.call);
    const Explanation failed = ExplainLive(PrepareExplanation(request))[0];
    EXPECT_EQ(failed.reason, row.reason);
    EXPECT_NE(failed.sentence.find(row.fault), std::string::npos) << failed.sentence;
    desktop->Heal();
  }
}

}  // namespace
}  // namespace quillmark::explain

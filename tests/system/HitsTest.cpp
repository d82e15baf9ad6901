// The worker on a real screen: every hit is compared with the window's geometry and with the pixels there.
#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Apps.h"
#include "Programs.h"
#include "ipc/WallClock.h"
#include "support/PrivateDisplay.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"

namespace quillmark::test {
namespace {

using namespace std::chrono_literals;

// Areas of the windows that occur nowhere else.
const cv::Rect XcalcPiece(48, 78, 84, 56);
const cv::Rect XtermPiece(10, 12, 130, 28);
const std::vector<std::string> Xcalc{"xcalc"};
const std::vector<std::string> Xterm{"xterm", "-geometry", "40x10", "-e",
                                     R"(printf '\n  Quillmark\n  watches this window\n'; exec sleep 3600)"};

class Hits : public testing::Test {
 protected:
  Hits() {
    SetUpScreen();
    EXPECT_TRUE(controller.SendHeartbeat(L"ready"));
    EXPECT_TRUE(controller.WaitForHit(L"ready", RawController::Clock::now() + 60s)) << worker.Err();
  }
  ~Hits() override { EXPECT_FALSE(worker.Ended()) << worker.Err(); }

  void SetUpScreen() {
    display.StartWindowManager();
    EXPECT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "*LEFT", "800/212x800/212+0+0", "screen"}));
    EXPECT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "RIGHT", "800/212x800/212+800+0", "none"}));
  }

  // Cuts the area out of the screen and sends a spec for it, with a threshold that only an exact match
  // passes.
  void Watch(const App& app, const cv::Rect& piece) {
    const std::string file = app.Name() + ".png";
    cv::imwrite((worker.Folder() / file).string(), Screenshot(piece + app.ClientArea().tl()));
    const std::wstring name(app.Name().begin(), app.Name().end());
    EXPECT_TRUE(controller.SendSpec(name + L".exe", name, std::wstring(file.begin(), file.end()), 0, 0, 1000,
                                    1000, 0.75f, 0.98f));
    EXPECT_TRUE(Eventually([&] { return controller.PendingCommands() == 0; }));
  }

  // A hit on a frame captured after this call, once the window has stopped moving. Throws std::runtime_error
  // when none comes.
  RawHit NextHit(const App& app, const std::string& when) {
    app.ClientArea();
    const std::wstring name(app.Name().begin(), app.Name().end());
    const std::uint64_t now = WallClockMs();
    std::optional<RawHit> hit;
    Eventually([&] {
      app.Stir();
      hit = controller.WaitForHit([&](const RawHit& found) { return found.name == name && found.tsMs > now; },
                                  RawController::Clock::now() + 300ms);
      return hit.has_value();
    });
    if (!hit) throw std::runtime_error("no hit of " + app.Name() + ' ' + when + '\n' + worker.Err());
    return *hit;
  }

  void ExpectExactHit(const App& app, const cv::Rect& piece, const std::string& when) {
    const RawHit hit = NextHit(app, when);
    const cv::Rect found(hit.cx - hit.w / 2, hit.cy - hit.h / 2, hit.w, hit.h);
    EXPECT_EQ(found, piece) << app.Name() << ' ' << when;
    const cv::Mat seen = Screenshot(found + app.ClientArea().tl());
    const cv::Mat wanted = cv::imread((worker.Folder() / (app.Name() + ".png")).string());
    EXPECT_EQ(cv::norm(seen, wanted, cv::NORM_INF), 0.0) << app.Name() << ' ' << when;
  }

  // There are no hits of `hidden`, while hits of `shown` prove that frames arrive.
  void ExpectNoHit(const App& hidden, const App& shown, const std::string& when) {
    NextHit(shown, when);
    controller.TakeHits();
    const std::uint64_t now = WallClockMs() + 300;  // earlier frames have been evaluated by then
    const std::wstring name(hidden.Name().begin(), hidden.Name().end());
    const std::wstring other(shown.Name().begin(), shown.Name().end());
    int others = 0;
    EXPECT_TRUE(Eventually([&] {
      shown.Stir();
      for (const RawHit& hit : controller.TakeHits()) {
        if (hit.tsMs <= now) continue;
        EXPECT_NE(hit.name, name) << when;
        if (hit.name == other) ++others;
      }
      return others >= 3;
    })) << when;
  }

  const PrivateSession session;
  PrivateDisplay display{1600, 800};
  RawController controller;
  const Worker worker;
};

TEST_F(Hits, AreExactForTwoProgramsOnChangingMonitors) {
  const App xcalc(Xcalc), xterm(Xterm);
  xcalc.Move(40, 60);
  xterm.Move(1000, 333);
  Watch(xcalc, XcalcPiece);
  Watch(xterm, XtermPiece);
  ExpectExactHit(xcalc, XcalcPiece, "on the left monitor");
  ExpectExactHit(xterm, XtermPiece, "on the right monitor");
  for (const auto& [x, y] : {std::pair{1, 2}, {640, 155}, {1290, 301}, {333, 377}}) {
    xcalc.Move(x, y);
    ExpectExactHit(xcalc, XcalcPiece, "moved to " + std::to_string(x) + "," + std::to_string(y));
  }
  xterm.Move(650, 40);
  ExpectExactHit(xterm, XtermPiece, "straddling both monitors");

  xcalc.Move(40, 60);
  // The right monitor becomes primary, so the left one has negative desktop coordinates.
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--delmonitor", "RIGHT"}));
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--delmonitor", "LEFT"}));
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "WEST", "700/200x800/212+0+0", "none"}));
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "*EAST", "900/212x800/212+700+0", "screen"}));
  ExpectExactHit(xcalc, XcalcPiece, "left of the primary monitor");
  xcalc.Move(1000, 20);
  ExpectExactHit(xcalc, XcalcPiece, "on the new primary monitor");
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--delmonitor", "WEST"}));
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--delmonitor", "EAST"}));

  ASSERT_TRUE(PrivateDisplay::Run(
      {"xrandr", "--newmode", "small", "0", "1024", "0", "0", "1024", "768", "0", "0", "768"}));
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--addmode", "screen", "small"}));
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--output", "screen", "--mode", "small"}));
  xcalc.Move(300, 200);
  ExpectExactHit(xcalc, XcalcPiece, "on a smaller screen");
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--output", "screen", "--mode", "1600x800"}));
  xcalc.Move(1200, 200);
  ExpectExactHit(xcalc, XcalcPiece, "on the first screen again");
}

TEST_F(Hits, EndWhileCoveredMinimisedOrClosedAndComeBack) {
  auto xcalc = std::make_unique<App>(Xcalc);
  const App xterm(Xterm);
  xcalc->Move(40, 60);
  xterm.Move(400, 60);
  Watch(*xcalc, XcalcPiece);
  Watch(xterm, XtermPiece);
  ExpectExactHit(*xcalc, XcalcPiece, "at first");

  const cv::Rect area = xcalc->ClientArea();
  xterm.Move(area.x, area.y);
  xterm.Raise();
  ExpectNoHit(*xcalc, xterm, "covered");
  xterm.Move(900, 300);
  ExpectExactHit(*xcalc, XcalcPiece, "uncovered");

  xcalc->Minimise();
  ExpectNoHit(*xcalc, xterm, "minimised");
  xcalc->Restore();
  ExpectExactHit(*xcalc, XcalcPiece, "restored");

  xcalc.reset();
  NextHit(xterm, "after the other window is gone");
  xcalc = std::make_unique<App>(Xcalc);
  xcalc->Move(555, 111);
  ExpectExactHit(*xcalc, XcalcPiece, "reopened");
}

TEST_F(Hits, ResumeAfterTheServerWasKilled) {
  {
    const App xcalc(Xcalc);
    xcalc.Move(40, 60);
    Watch(xcalc, XcalcPiece);
    ExpectExactHit(xcalc, XcalcPiece, "at first");
    display.EndServer(SIGKILL);
  }
  ASSERT_TRUE(controller.SendHeartbeat(L"still here"));
  EXPECT_TRUE(controller.WaitForHit(L"still here"));

  display.RestartServer();
  SetUpScreen();
  const App xcalc(Xcalc);
  xcalc.Move(1100, 222);
  ExpectExactHit(xcalc, XcalcPiece, "on the new server");
}

}  // namespace
}  // namespace quillmark::test

// Recordings played through the engine: which frames are taken when, and what becomes of each spec.
#include "replay/Replay.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Scene.h"

namespace quillmark::replay {
namespace {

using reasons::Reason;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

const Rect Client = RectAt(40, 30, 200, 150);

std::vector<std::int64_t> TimesOf(const ReplayResult& result) {
  std::vector<std::int64_t> times;
  for (const ReplayedHit& hit : result.hits) times.push_back(hit.tMs);
  return times;
}

// A scene with a window and a spec that searches all of it.
struct MarkScene : Scene {
  explicit MarkScene(const std::wstring& name = L"mark") {
    Windows(0, {Window(Client)});
    Spec(name, Mark(), {0, 0, 200, 150});
  }
};

// Ticks begin at 0 and 20, wait 33 ms for a frame, and follow each other at once after a wait.
TEST(Replay, TakesTheNewestFrameOrWaitsForTheNext) {
  const struct {
    const char* what;
    std::vector<std::int64_t> frames, taken;
    std::uint64_t overtaken;
  } table[] = {
      {"one at each tick", {0, 20, 40}, {0, 20, 40}, 0},
      {"while it waits", {0, 25, 50}, {0, 25, 50}, 0},
      {"while it sleeps", {0, 7}, {0, 20}, 0},
      {"the newest of several", {0, 5, 10, 15}, {0, 20}, 2},
      {"the newest of one time", {0, 30, 30, 30}, {0, 30}, 2},
      {"after a long standstill", {0, 1000}, {0, 1000}, 0},
      {"the last one between two ticks", {0, 20, 21}, {0, 20, 40}, 0},
  };
  for (const auto& row : table) {
    MarkScene scene(L"mark:ms1");
    for (std::size_t i = 0; i < row.frames.size(); ++i) {
      scene.Clear();
      scene.Paint(Mark(), {60 + 20 * static_cast<int>(i), 70});  // too far apart for a repeat
      scene.Frame(row.frames[i]);
    }
    const ReplayResult result = scene.Play();
    EXPECT_EQ(TimesOf(result), row.taken) << row.what;
    auto silences = result.specs.at(0).silences;
    EXPECT_EQ(silences[Reason::BetweenFrames], row.overtaken) << row.what;
  }
}

TEST(Replay, EverySilentSpecHasItsReason) {
  Scene scene({RectAt(0, 0, 320, 240), RectAt(320, 0, 320, 240)});
  RecordedWindow minimised = Window(Client, L"minimised"), hidden = Window(Client, L"hidden");
  minimised.minimised = true;
  hidden.visible = false;
  RecordedWindow program = Window(Client, L"");
  program.program = L"App.exe";
  scene.Windows(0, {Window(Client), minimised, hidden, Window(RectAt(5, 5, 0, 9), L"empty"), program,
                    Window(RectAt(900, 0, 50, 50), L"away"), Window(RectAt(630, 0, 50, 100), L"edge")});
  scene.Paint(Mark(), {60, 70});
  scene.Frame(0);
  scene.Frame(0, 1);
  scene.Frame(20);
  const cv::Rect all(0, 0, 200, 150);
  scene.Spec(L"hit", Mark(), all, L"app.exe");
  scene.Spec(L"slow:ms1000", Mark(), all);
  scene.Spec(L"missing file", Mark(), all).path = "none.png";
  scene.Spec(L"no target", Mark(), all, L"");
  scene.Spec(L"no window", Mark(), all, L"nothing");
  scene.Spec(L"minimised", Mark(), all, L"minimised");
  scene.Spec(L"hidden", Mark(), all, L"hidden");
  scene.Spec(L"empty", Mark(), all, L"empty");
  scene.Spec(L"outside", Mark(), {300, 0, 20, 20});
  scene.Spec(L"away", Mark(), all, L"away");
  scene.Spec(L"pinned:mon=2", Mark(), all);
  scene.Spec(L"small", Mark(), {0, 0, 24, 15});
  scene.Spec(L"cut off", Mark(), all, L"edge");
  scene.Spec(L"other", Mark(2), all);
  const ReplayResult result = scene.Play();
  std::vector<std::optional<Reason>> reasons;
  for (const SpecResult& spec : result.specs) reasons.push_back(spec.Silence());
  using enum Reason;
  EXPECT_THAT(reasons,
              ElementsAre(std::nullopt, std::nullopt, ImageMissing, TargetEmpty, WindowNotFound,
                          WindowMinimised, WindowHidden, ClientAreaEmpty, RegionOutsideTarget,
                          RegionOffMonitor, RegionOffMonitor, RegionTooSmall, RegionTooSmall, Difference));
  EXPECT_TRUE(result.specs[0].silences.contains(DuplicateNear));
  EXPECT_TRUE(result.specs[1].silences.contains(Interval));
  const NearestMiss& miss = result.specs.back().nearestMiss.value();
  EXPECT_GT(miss.difference, miss.limit);
}

TEST(Replay, RepeatsAreSuppressedInVirtualTime) {
  MarkScene scene;
  scene.Paint(Mark(), {60, 70});
  for (const std::int64_t tMs : {0, 100, 160, 200, 320}) scene.Frame(tMs);
  const ReplayResult result = scene.Play();
  EXPECT_THAT(TimesOf(result), ElementsAre(0, 160, 320));
  EXPECT_EQ(result.hits[1].hit.tsMs, scene.recording.startMs + 160);
  EXPECT_EQ(result.specs.at(0).silences.at(Reason::DuplicateNear), 2u);
}

// The place is read when a tick begins, so a frame that comes with a move is cut at the old place, as by the
// worker. The next frame's hit is right.
TEST(Replay, WindowThatMovesWithAFrameIsSeenAtItsOldPlaceOnce) {
  MarkScene scene;
  scene.Windows(100, {Window(RectAt(60, 30, 200, 150))});
  scene.Frame(0);
  scene.Paint(Mark(), {100, 70});
  scene.Frame(100);
  scene.Frame(400);
  const ReplayResult result = scene.Play();
  ASSERT_EQ(result.hits.size(), 2u);
  EXPECT_EQ(result.hits[0].hit.cx, 100 - 40 + 12);
  EXPECT_EQ(result.hits[1].hit.cx, 100 - 60 + 12);
}

TEST(Replay, UnusableFrameStopsNoOther) {
  MarkScene scene;
  scene.Paint(Mark(), {60, 70});
  for (int i = 0; i < 5; ++i) scene.Frame(200 * i);
  std::filesystem::remove(scene.Folder() / "f0.png");
  scene.Write("f1.png", "no picture");
  const std::string bytes = test::ContentOf(scene.Folder() / "f2.png");
  scene.Write("f2.png", bytes.substr(0, bytes.size() / 2));
  SaveFrame(scene.Folder() / "f3.png", cv::Mat::zeros(10, 20, CV_8UC4));
  const ReplayResult result = scene.Play();
  EXPECT_THAT(TimesOf(result), ElementsAre(800));
  EXPECT_THAT(result.faults,
              ElementsAre(HasSubstr("f0.png: The image file cannot be"), HasSubstr("f1.png: The file is not"),
                          HasSubstr("f2.png: The file starts"), HasSubstr("f3.png: The frame is 20 x 10")));
  EXPECT_EQ(result.specs.at(0).silences.at(Reason::CaptureFailed), 4u);
}

TEST(Replay, RejectsTwoSpecsOfOneName) {
  MarkScene scene(L"mark:fast");
  scene.Spec(L"mark:HS", Mark(), {0, 0, 50, 50});
  EXPECT_THROW((void)scene.Play(), FormatError);
}

TEST(Expectations, NameEveryDifference) {
  MarkScene scene;
  scene.Spec(L"other", Mark(2), {0, 0, 200, 150});
  scene.Spec(L"none", Mark(2), {0, 0, 200, 150}, L"nothing");
  scene.Paint(Mark(), {60, 70});
  for (const std::int64_t tMs : {0, 200, 400}) scene.Frame(tMs);
  const ReplayResult result = scene.Play();
  const struct {
    const char* expected;
    std::vector<std::string> differences;  // part of each
  } table[] = {
      {R"({"hits": [{"name":"mark"},{"name":"mark","t":200,"cx":32,"score":0.9995},{"name":"mark"}]})", {}},
      {R"({"hits": [{"name":"mark","t":0},{"name":"mark","t":400}]})",
       {"unexpected: {\"name\":\"mark\",\"t\":200"}},
      {R"({"hits": [{"name":"mark"},{"name":"mark"},{"name":"mark"},{"name":"mark","w":1}]})",
       {"missing: {\"name\":\"mark\",\"w\":1}"}},
      {R"({"hits": [{"name":"mark"},{"name":"mark","score":0.998},{"name":"mark"}]})",
       {"missing: {\"name\":\"mark\",\"score\":0.998}", "unexpected: "}},
      {R"({"hits": [{"name":"mark"},{"name":"mark"},{"name":"mark"}],
           "silent": {"other":"edge-density","none":"window-not-found","mark":"difference","x\u001b":"difference"}})",
       {"spec 'mark': expected no hits (difference), but it has hits",
        "spec 'other': expected no hits (edge-density), but the reason is difference",
        "spec 'x?': expected no hits (difference), but there is no such spec"}},
  };
  for (const auto& row : table) {
    scene.Write(ExpectationsFile, row.expected);
    const auto differences = Differences(ReadExpectations(scene.Folder()), result);
    ASSERT_EQ(differences.size(), row.differences.size()) << ::testing::PrintToString(differences);
    for (std::size_t i = 0; i < differences.size(); ++i) {
      EXPECT_THAT(differences[i], HasSubstr(row.differences[i]));
    }
  }
}

}  // namespace
}  // namespace quillmark::replay

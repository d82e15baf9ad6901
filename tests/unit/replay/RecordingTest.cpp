// The files of a recording: what is read, what is refused with which words, and that nothing else happens.
#include "replay/Recording.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Scene.h"
#include "support/Damage.h"

namespace quillmark::replay {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;

std::unique_ptr<Scene> FullScene() {
  auto made = std::make_unique<Scene>(std::vector{RectAt(0, 0, 64, 48), RectAt(-80, 10, 80, 60)});
  Scene& scene = *made;
  RecordedWindow window = Window(RectAt(-10, 5, 50, 30), L"Ä \"title\"\t\xD83D\xDE00");
  window.program = L"app.exe";
  window.outer = RectAt(-12, 0, 60, 40);
  window.visible = false;
  window.minimised = true;
  window.scale = 1.25;
  scene.Windows(0, {});
  scene.Windows(30, {window, Window(RectAt(0, 0, 0, 0))});
  scene.Frame(0);
  scene.Frame(40, 1);
  scene.Frame(40, 1);
  RecordedSpec& spec = scene.Spec(L"a:mode=hs", cv::Mat::zeros(8, 8, CV_8UC3), {-3, -4, 50, 60});
  spec.edgeMin = 0.4f;
  spec.threshold = 0.95f;
  scene.Spec(L"b", cv::Mat::zeros(8, 8, CV_8UC3), {0, 0, 5, 6});
  return made;
}

TEST(Recording, IsReadAsItWasWritten) {
  const auto full = FullScene();
  const Scene& scene = *full;
  const std::string text = TextOf(scene.recording);
  scene.Write(RecordingFile, text);
  const Recording read = ReadRecording(scene.Folder());
  EXPECT_EQ(TextOf(read), text);
  EXPECT_EQ(read.startMs, scene.recording.startMs);
  const RecordedWindow& window = read.windows.at(1).windows.at(0);
  EXPECT_EQ(window.title, L"Ä \"title\"\t\xD83D\xDE00");
  EXPECT_EQ(window.program, L"app.exe");
  EXPECT_EQ(window.outer, RectAt(-12, 0, 60, 40));
  EXPECT_TRUE(!window.visible && window.minimised);
  EXPECT_EQ(window.scale, 1.25);
  EXPECT_EQ(read.frames.at(2).monitor, 1u);
  EXPECT_EQ(read.specs.at(0).edgeMin, 0.4f);
  EXPECT_EQ(read.specs.at(0).threshold, 0.95f);
  EXPECT_EQ(read.specs.at(1).threshold, -1.0f);
}

// Each row breaks a good file in one place.
TEST(Recording, RefusesEachBadFieldByName) {
  const struct {
    const char *good, *bad, *error;
  } table[] = {
      {"quillmark-recording", "other", "format: must be quillmark-recording"},
      {"\"version\": 1", "\"version\": 2", "version: must be a whole number from 1 to 1"},
      {"\"start\"", "\"begin\"", "begin: is no field"},
      {"\"start\": 1700000000000", "\"start\": -1", "start: must be"},
      {"\"start\": 1700000000000", "\"start\": 18446744073709551615", "start: must be"},
      {"\"start\": 1700000000000", "\"start\": 1.5", "start: must be"},
      {"\"id\":\"m1\"", "\"id\":\"m0\"", "monitors[1].id: is the id of another"},
      {"[-80,10,80,60]", "[0,0,80,60]", "monitors: one of them"},
      {"[-80,10,80,60]", "[-80,10,0,60]", "monitors[1].rect[2]: must be"},
      {"[-80,10,80,60]", "[-80,10,80]", "monitors[1].rect: must be [x, y, width, height]"},
      {"[-80,10,80,60]", "[-80,10,80,20000]", "monitors[1].rect: has a side"},
      {"{\"t\":30,", "{\"t\":0,", "windows[1].t: comes before"},
      {"{\"t\":30,", "{\"t\":1e3,", "windows[1].t: must be"},
      {"{\"t\":30,", "{", "windows[1].t: is missing"},
      {"\"program\":\"app.exe\"", "\"program\":5", "windows[1].windows[0].program: must be a text"},
      {"\"minimised\":true", "\"minimised\":1", "windows[1].windows[0].minimised: must be true or false"},
      {"\"minimised\":true", "\"minimized\":true", "windows[1].windows[0].minimized: is no field"},
      {"\"scale\":1.25", "\"scale\":0", "windows[1].windows[0].scale: must be a number"},
      {"\"monitor\":\"m1\"", "\"monitor\":\"m7\"", "frames[1].monitor: 'm7' is no monitor's id"},
      {"\"file\":\"f1.png\"", "\"file\":\"\"", "frames[1].file: must not be empty"},
      {"\"target\":\"target\"", "\"target\":\"seventeen units xx\"", "specs[0].target: is 18 UTF-16 units"},
      {"\"name\":\"a:mode=hs\"", "\"name\":\"a\\u001b[2J\"", "specs[0].name: holds a control character"},
      {"\"threshold\":0.95", "\"threshold\":1.5", "specs[0].threshold: must be a number"},
      {"\"specs\": [", "\"specs\": {}, \"x\\u001b\": [", "x?: is no field"},
      {"\"specs\": [", "\"specs\": [[],", "specs[0]: must be an object"},
      {"\"format\"", "format", "is no JSON"},
      {"\"roi\":[", "\"roi\":[[[[[[[[[[[[[[[[", "too many lists"},
      {"\"t\":30,", "\"t\":30,\"t\":31,", "'t' is there twice in one object"},
  };
  const auto full = FullScene();
  const Scene& scene = *full;
  const std::string good = TextOf(scene.recording);
  for (const auto& row : table) {
    std::string bad = good;
    const std::size_t at = bad.find(row.good);
    ASSERT_NE(at, std::string::npos) << row.good;
    bad.replace(at, std::string(row.good).size(), row.bad);
    scene.Write(RecordingFile, bad);
    try {
      (void)ReadRecording(scene.Folder());
      ADD_FAILURE() << "taken: " << row.bad;
    } catch (const FormatError& error) {
      EXPECT_THAT(error.what(), HasSubstr("recording.json: ")) << row.bad;
      EXPECT_THAT(error.what(), HasSubstr(row.error)) << row.bad;
    }
  }
}

TEST(Recording, RefusesAScaleThatTakesAllMemory) {
  const auto scene = FullScene();
  scene->recording.monitors[0].rect = RectAt(0, 0, 8192, 8192);
  double& scale = scene->recording.windows[1].windows[0].scale;
  scale = 0.5;
  scene->Write(RecordingFile, TextOf(scene->recording));
  EXPECT_NO_THROW((void)ReadRecording(scene->Folder()));
  scale = 0.4;
  scene->Write(RecordingFile, TextOf(scene->recording));
  EXPECT_THAT([&] { (void)ReadRecording(scene->Folder()); },
              ThrowsMessage<FormatError>(HasSubstr("windows[1].windows[0].scale: makes more than")));
}

TEST(Recording, RefusesWhatIsNoFileOrTooLarge) {
  const Scene scene;
  EXPECT_THROW((void)ReadRecording(scene.Folder()), FormatError);
  std::filesystem::create_directory(scene.Folder() / RecordingFile);
  EXPECT_THROW((void)ReadRecording(scene.Folder()), FormatError);
  std::filesystem::remove(scene.Folder() / RecordingFile);
  scene.Write(RecordingFile, "");
  std::filesystem::resize_file(scene.Folder() / RecordingFile, MostFileBytes + 1);
  EXPECT_THROW((void)ReadRecording(scene.Folder()), FormatError);
}

// A file damaged anywhere is refused by its name, in a line, or gives a recording that can be played.
TEST(Recording, DamagedFilesAreRefusedOrPlayed) {
  const auto full = FullScene();
  const Scene& scene = *full;
  const std::string good = TextOf(scene.recording);
  std::uint32_t refused = 0, played = 0;
  const std::uint32_t seeds = testing::Seeds(600);
  for (std::uint32_t seed = 0; seed < seeds; ++seed) {
    testing::Random random(seed);
    scene.Write(RecordingFile, testing::Damaged(random, good));
    try {
      const Recording recording = ReadRecording(scene.Folder());
      scene.Write(RecordingFile, TextOf(recording));
      EXPECT_EQ(TextOf(ReadRecording(scene.Folder())), TextOf(recording)) << seed;
      if (recording.frames.empty() || recording.frames.back().tMs > 5'000) continue;
      for (const std::string& fault : Replay(recording, scene.Folder()).faults) {
        EXPECT_TRUE(testing::IsOneLine(fault)) << seed << fault;
      }
      ++played;
    } catch (const FormatError& error) {
      EXPECT_THAT(error.what(), StartsWith("recording.json: ")) << seed;
      EXPECT_TRUE(testing::IsOneLine(error.what())) << seed << error.what();
      ++refused;
    }
  }
  EXPECT_GT(refused, seeds / 3);
  EXPECT_GT(played, seeds / 60);
}

}  // namespace
}  // namespace quillmark::replay

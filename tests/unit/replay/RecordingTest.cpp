// recording.json: what is read, and which field is reported when it is invalid.
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

class RecordingTest : public ::testing::Test {
 protected:
  RecordingTest() {
    RecordedWindow window = Window(RectAt(-10, 5, 50, 30), L"Ä \"title\"\t\xD83D\xDE00");
    window.program = L"app.exe";
    window.outer = RectAt(-12, 0, 60, 40);
    window.visible = false;
    window.minimised = true;
    window.scale = 0.75;
    scene.Windows(0, {});
    scene.Windows(30, {window, Window(RectAt(0, 0, 0, 0))});
    scene.Frame(0);
    scene.Frame(40, 1);
    scene.Frame(40, 1);
    RecordedSpec& spec = scene.Spec(L"a:mode=hs", cv::Mat::zeros(8, 8, CV_8UC3), {-3, -4, 50, 60});
    spec.edgeMin = 0.4f;
    spec.threshold = 0.95f;
    scene.Spec(L"b", cv::Mat::zeros(8, 8, CV_8UC3), {0, 0, 5, 6});
    good = TextOf(scene.recording);
  }
  Recording Read(const std::string& text) {
    scene.Write(RecordingFile, text);
    return ReadRecording(scene.Folder());
  }

  Scene scene{std::vector{RectAt(0, 0, 64, 48), RectAt(-80, 10, 80, 60)}};
  std::string good;
};

TEST_F(RecordingTest, IsReadAsItWasWritten) {
  const Recording read = Read(good);
  EXPECT_EQ(TextOf(read), good);
  EXPECT_EQ(read.startMs, scene.recording.startMs);
  EXPECT_EQ(read.windows.at(1).windows, scene.recording.windows[1].windows);
  EXPECT_EQ(read.frames.at(2).monitor, 1u);
  EXPECT_EQ(read.specs.at(0).edgeMin, 0.4f);
  EXPECT_EQ(read.specs.at(0).threshold, 0.95f);
  EXPECT_EQ(read.specs.at(1).threshold, -1.0f);
}

// Each row breaks a good file in one place.
TEST_F(RecordingTest, ReportsEachInvalidFieldByName) {
  const struct {
    const char *good, *bad, *error;
  } table[] = {
      {"quillmark-recording", "other", "format: must be quillmark-recording"},
      {"\"version\": 1", "\"version\": 2", "version: must be a whole number from 1 to 1"},
      {"\"start\"", "\"begin\"", "begin: is no field"},
      {"\"start\": 1700000000000", "\"start\": 18446744073709551615", "start: must be"},
      {"\"start\": 1700000000000", "\"start\": 1.5", "start: must be"},
      {"\"id\":\"m1\"", "\"id\":\"m0\"", "monitors[1].id: is the id of another"},
      {"[-80,10,80,60]", "[0,0,80,60]", "monitors: exactly one"},
      {"[-80,10,80,60]", "[-80,10,0,60]", "monitors[1].rect[2]: must be"},
      {"[-80,10,80,60]", "[-80,10,80]", "monitors[1].rect: must be [x, y, width, height]"},
      {"[-80,10,80,60]", "[-80,10,80,20000]", "monitors[1].rect: has a side"},
      {"[-80,10,80,60]", "[-80,10,16384,16384]", "windows[1].windows[0].scale: gives a monitor more than"},
      {"{\"t\":30,", "{\"t\":0,", "windows[1].t: is not after"},
      {"{\"t\":30,", "{", "windows[1].t: is missing"},
      {"\"program\":\"app.exe\"", "\"program\":5", "windows[1].windows[0].program: must be a string"},
      {"\"minimised\":true", "\"minimised\":1", "windows[1].windows[0].minimised: must be true or false"},
      {"\"scale\":0.75", "\"scale\":0", "windows[1].windows[0].scale: must be a number"},
      {"\"monitor\":\"m1\"", "\"monitor\":\"m7\"", "frames[1].monitor: no monitor has the id 'm7'"},
      {"\"file\":\"f1.png\"", "\"file\":\"\"", "frames[1].file: must not be empty"},
      {"\"target\":\"target\"", "\"target\":\"seventeen units xx\"", "specs[0].target: has 18 UTF-16 units"},
      {"\"name\":\"a:mode=hs\"", "\"name\":\"a\\u001b[2J\"", "specs[0].name: contains a control character"},
      {"\"specs\": [", "\"specs\": {}, \"x\\u001b\": [", "x?: is no field"},
      {"\"specs\": [", "\"specs\": [[],", "specs[0]: must be an object"},
      {"\"format\"", "format", "is not JSON"},
      {"\"roi\":[", "\"roi\":[[[[[[[[[[[[[[[[", "nests lists and objects too deeply"},
      {"\"t\":30,", "\"t\":30,\"t\":31,", "'t' is given twice in one object"},
  };
  for (const auto& row : table) {
    std::string bad = good;
    const std::size_t at = bad.find(row.good);
    ASSERT_NE(at, std::string::npos) << row.good;
    bad.replace(at, std::string(row.good).size(), row.bad);
    EXPECT_THAT([&] { (void)Read(bad); },
                ::testing::ThrowsMessage<FormatError>(HasSubstr(std::string("recording.json: ") + row.error)))
        << row.bad;
  }
}

TEST_F(RecordingTest, MustBeAFileOfBoundedSize) {
  EXPECT_THROW((void)ReadRecording(scene.Folder()), FormatError);
  std::filesystem::create_directory(scene.Folder() / RecordingFile);
  EXPECT_THROW((void)ReadRecording(scene.Folder()), FormatError);
  std::filesystem::remove(scene.Folder() / RecordingFile);
  scene.Write(RecordingFile, "");
  std::filesystem::resize_file(scene.Folder() / RecordingFile, MaxFileBytes + 1);
  EXPECT_THROW((void)ReadRecording(scene.Folder()), FormatError);
}

// A damaged file is rejected in one line that names it, or gives a recording that can be played.
TEST_F(RecordingTest, DamagedFilesAreRejectedOrPlayed) {
  std::uint32_t rejected = 0, played = 0;
  const std::uint32_t seeds = testing::Seeds(600);
  for (std::uint32_t seed = 0; seed < seeds; ++seed) {
    testing::Random random(seed);
    try {
      const Recording recording = Read(testing::Damaged(random, good));
      EXPECT_EQ(TextOf(Read(TextOf(recording))), TextOf(recording)) << seed;
      if (recording.frames.empty() || recording.frames.back().tMs > 5'000) continue;
      for (const std::string& fault : Replay(recording, scene.Folder()).faults) {
        EXPECT_TRUE(testing::IsOneLine(fault)) << seed << fault;
      }
      ++played;
    } catch (const FormatError& error) {
      EXPECT_THAT(error.what(), StartsWith("recording.json: ")) << seed;
      EXPECT_TRUE(testing::IsOneLine(error.what())) << seed << error.what();
      ++rejected;
    }
  }
  EXPECT_GT(rejected, seeds / 3);
  EXPECT_GT(played, seeds / 60);
}

}  // namespace
}  // namespace quillmark::replay

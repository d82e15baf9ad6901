// A recording made by a test: monitors, windows, painted frames and specs, in a temporary folder.
#pragma once

#include <cstdint>
#include <fstream>
#include <memory>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <string>
#include <utility>
#include <vector>

#include "replay/Expectations.h"
#include "replay/FrameFiles.h"
#include "replay/Recording.h"
#include "replay/Replay.h"
#include "support/Images.h"
#include "support/TempFolder.h"

namespace quillmark::replay {

inline Rect RectAt(int x, int y, int width, int height) {
  return {x, y, x + width, y + height};
}

inline RecordedWindow Window(const Rect& client, std::wstring title = L"target") {
  return {std::move(title), {}, client, client};
}

// A pattern found at its own place only.
inline cv::Mat Mark(std::uint32_t seed = 1) {
  testing::Random random(seed);
  return testing::Noise(random, {24, 16});
}

class Scene {
 public:
  explicit Scene(const std::vector<Rect>& monitors = {RectAt(0, 0, 320, 240)}) {
    recording.startMs = 1'700'000'000'000;
    for (const Rect& rect : monitors) {
      recording.monitors.push_back({"m" + std::to_string(recording.monitors.size()), rect});
      screens.push_back(cv::Mat::zeros(rect.bottom - rect.top, rect.right - rect.left, CV_8UC3));
    }
  }

  void Windows(std::int64_t tMs, std::vector<RecordedWindow> windows) {
    recording.windows.push_back({tMs, std::move(windows)});
  }
  // `at` is in the monitor's pixels.
  void Paint(const cv::Mat& bgr, cv::Point at, std::size_t monitor = 0) {
    testing::Plant(screens[monitor], bgr, at);
  }
  void Clear(std::size_t monitor = 0) { screens[monitor].setTo(cv::Scalar::all(0)); }
  // Adds a frame with what is painted.
  void Frame(std::int64_t tMs, std::size_t monitor = 0) {
    const std::string file = "f" + std::to_string(recording.frames.size()) + ".png";
    cv::imwrite((folder.Path() / file).string(), screens[monitor]);
    recording.frames.push_back({tMs, monitor, file});
  }
  RecordedSpec& Spec(const std::wstring& name, const cv::Mat& image, const cv::Rect& roi,
                     const std::wstring& target = L"target") {
    const std::string file = "t" + std::to_string(recording.specs.size()) + ".png";
    cv::imwrite((folder.Path() / file).string(), image);
    recording.specs.push_back({target, name, file, roi});
    return recording.specs.back();
  }
  void Write(const std::string& file, const std::string& text) const {
    std::ofstream(folder.Path() / file, std::ios::binary) << text;
  }

  [[nodiscard]] ReplayResult Play() const { return Replay(recording, folder.Path()); }
  [[nodiscard]] const std::filesystem::path& Folder() const { return folder.Path(); }

  Recording recording;

 private:
  const test::TempFolder folder;
  std::vector<cv::Mat> screens;  // 8UC3
};

// Two monitors, a scaled window, a region across both monitors, several modes.
// The first frame of each monitor has no hit.
inline std::unique_ptr<Scene> GoldenScene() {
  auto scene = std::make_unique<Scene>(std::vector{RectAt(0, 0, 320, 240), RectAt(-320, 0, 320, 240)});
  testing::Random random(11);
  const cv::Mat icon = testing::Icon(random, {36, 28}, "ok");
  const cv::Mat label = testing::Label({60, 18}, "Total 42", {240, 240, 240}, {20, 20, 20});
  RecordedWindow scaled = Window(RectAt(-300, 20, 240, 160), L"scaled");
  scaled.scale = 1.5;
  scene->Windows(0, {Window(RectAt(-30, 10, 260, 200)), scaled});
  const cv::Rect all(0, 0, 260, 200);
  scene->Spec(L"icon", icon, all);
  scene->Spec(L"icon bgr:mode=bgr", icon, all);
  scene->Spec(L"icon hs:HS", icon, all);
  scene->Spec(L"label:FPS15", label, all);
  scene->Spec(L"scaled", icon, {0, 0, 160, 106}, L"scaled");
  scene->Spec(L"absent", testing::Noise(random, {36, 28}), all);
  const cv::Mat ground[] = {testing::Screen(random, {320, 240}), testing::Screen(random, {320, 240})};
  for (std::size_t monitor = 0; monitor < 2; ++monitor) {
    scene->Paint(ground[monitor], {0, 0}, monitor);
    scene->Frame(0, monitor);
  }
  const cv::Mat shown = testing::WithNoise(random, icon, 2);
  cv::Mat large;
  cv::resize(icon, large, {54, 42}, 0, 0, cv::INTER_CUBIC);
  for (int step = 1; step <= 4; ++step) {
    scene->Paint(ground[0], {0, 0}, 0);
    scene->Paint(shown, {20 + 40 * step, 30}, 0);
    scene->Paint(label, {10 + 30 * step, 100 + 20 * step}, 0);
    scene->Frame(400 * step, 0);
    scene->Paint(ground[1], {0, 0}, 1);
    scene->Paint(large, {32 + 24 * step, 62}, 1);
    scene->Frame(400 * step + 200, 1);
  }
  return scene;
}

}  // namespace quillmark::replay

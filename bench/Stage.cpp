#include "Stage.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>
#include <thread>

namespace quillmark::bench {

Stage::Stage(cv::Size screen, const cv::Rect& windowAt)
    : display(screen.width, screen.height), area(windowAt) {
  std::filesystem::current_path(session.Base());  // the worker writes a file into its working folder
  window = client.Show(area.x, area.y, area.width, area.height, "bench window");
  painter.SetGround(window, painter.Load(testing::Screen(random, area.size())));
}

Sprite Stage::MakeSprite(cv::Size size) {
  const cv::Mat picture = testing::Icon(random, size, random.Letters(3));
  const std::string file = (session.Base() / (std::to_string(++sprites) + ".png")).string();
  if (!cv::imwrite(file, picture)) throw std::runtime_error("cannot write " + file);
  lastFile.assign(file.begin(), file.end());
  return {painter.Load(picture), size, lastFile};
}

void Stage::StartWorker(const std::string& program) {
  if (!std::filesystem::exists(program)) throw std::runtime_error("no worker at " + program);
  worker.emplace(std::vector<std::string>{program});
  controller.SendHeartbeat();
  if (!controller.WaitForHit([](const test::RawHit&) { return true; })) {
    throw std::runtime_error("the worker does not answer");
  }
}

void Stage::AddSpec(const std::wstring& name, const Sprite& sprite, const cv::Rect& region,
                    const std::wstring& options) {
  if (!controller.SendSpec(Title, name + options, sprite.file, region.x, region.y, region.width,
                           region.height, 0.75f, 0.1f)) {
    throw std::runtime_error("the worker does not read its commands");
  }
}

void Stage::Settle() {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (controller.PendingCommands() != 0) {
    if (std::chrono::steady_clock::now() > deadline) throw std::runtime_error("the worker hangs");
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
}

int RunBench(int argc, char** argv, const std::string& name, const std::string& unit, int usual,
             const std::function<int(int count, const std::string& worker)>& run) {
  const int count = argc > 1 ? std::atoi(argv[1]) : usual;
  if (argc > 3 || count < 1) {
    std::fprintf(stderr, "usage: %s [%s [WORKER]]\n", name.c_str(), unit.c_str());
    return 2;
  }
  try {
    return run(count, std::filesystem::absolute(argc > 2 ? argv[2] : QUILLMARK_WORKER).string());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", name.c_str(), error.what());
    return 1;
  }
}

}  // namespace quillmark::bench

#include "Stage.h"

#include <chrono>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <stdexcept>
#include <thread>

namespace quillmark::bench {

Stage::Stage() {
  std::filesystem::current_path(session.Base());  // the worker writes a file into its working folder
  server = ChildNamed("Xvfb").value();
  window = client.Show(area.x, area.y, area.width, area.height, "bench window");
  painter.SetGround(window, painter.Load(testing::Screen(random, area.size())));
}

Sprite Stage::MakeSprite(cv::Size size) {
  const cv::Mat picture = testing::Icon(random, size, random.Letters(3));
  const std::string file = (session.Base() / (std::to_string(++sprites) + ".png")).string();
  if (!cv::imwrite(file, picture)) throw std::runtime_error("cannot write " + file);
  return {painter.Load(picture), size, std::wstring(file.begin(), file.end())};
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

std::string WorkerProgram(const char* argument) {
  return std::filesystem::absolute(argument != nullptr ? argument : QUILLMARK_WORKER).string();
}

}  // namespace quillmark::bench

#include "Apps.h"

#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <thread>

#include "support/XClient.h"

namespace quillmark::test {

using namespace std::chrono_literals;

std::string Shell(const std::string& commands) {
  std::FILE* const pipe = ::popen(commands.c_str(), "r");
  if (pipe == nullptr) return {};
  std::string out;
  char buffer[4096];
  while (const std::size_t size = std::fread(buffer, 1, sizeof buffer, pipe)) out.append(buffer, size);
  if (::pclose(pipe) != 0) return {};
  if (!out.empty() && out.back() == '\n') out.pop_back();
  return out;
}

cv::Mat Screenshot(const cv::Rect& area) {
  std::vector<std::uint8_t> pixels = XClient().Pixels(area.x, area.y, area.width, area.height);
  if (pixels.empty()) throw std::runtime_error("the screen cannot be read");
  const cv::Mat bgrx(area.height, area.width, CV_8UC4, pixels.data());
  cv::Mat bgr(area.size(), CV_8UC3);
  const int channels[] = {0, 0, 1, 1, 2, 2};
  cv::mixChannels(&bgrx, 1, &bgr, 1, channels, 3);
  return bgr;
}

App::App(std::vector<std::string> arguments) : name(arguments.front()), program(arguments) {
  const auto appears = [&] {
    window = Shell("xdotool search --onlyvisible --classname '^" + name + "$' 2>/dev/null | tail -n 1");
    return !window.empty();
  };
  if (!Eventually(appears)) throw std::runtime_error(name + " shows no window: " + program.Err());
}

cv::Rect App::ClientArea() const {
  cv::Rect before, now;
  const auto settled = [&] {
    before = now;
    const std::string text =
        Shell("xwininfo -id " + window +
              " | awk '/Absolute upper-left/ {print $NF} /^  (Width|Height):/ {print $NF}'");
    if (std::sscanf(text.c_str(), "%d %d %d %d", &now.x, &now.y, &now.width, &now.height) != 4) now = {};
    if (now.area() != 0 && now == before) return true;
    std::this_thread::sleep_for(100ms);
    return false;
  };
  if (!Eventually(settled)) throw std::runtime_error(name + " keeps moving");
  return now;
}

void App::Stir() const {
  const cv::Rect area = ClientArea();
  Shell("xrefresh -geometry 2x2+" + std::to_string(area.x) + "+" + std::to_string(area.y));
}

}  // namespace quillmark::test

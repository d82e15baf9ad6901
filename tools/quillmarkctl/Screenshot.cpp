#include "Screenshot.h"

#include <stdexcept>
#include <thread>

#include "capture/DuplicationContext.h"

namespace quillmark::control {

cv::Mat CaptureMonitor(const DesktopMonitor& monitor, std::chrono::milliseconds quiet) {
  using Clock = std::chrono::steady_clock;
  constexpr auto Patience = std::chrono::seconds(2);
  constexpr auto Pause = std::chrono::milliseconds(5);  // a capture that lost its access does not wait
  DuplicationContext context;
  context.Init(monitor.handle);
  cv::Mat picture;
  const auto deadline = Clock::now() + Patience;
  for (auto changed = Clock::now(); Clock::now() < deadline; std::this_thread::sleep_for(Pause)) {
    cv::Mat frame;
    if (context.AcquireFrame(frame)) {
      picture = frame.clone();
      context.ReleaseFrame();
      changed = Clock::now();
    }
    if (!picture.empty() && Clock::now() - changed >= quiet) break;
  }
  if (picture.empty()) throw std::runtime_error("no picture of the monitor came in time");
  return picture;
}

}  // namespace quillmark::control

#include "live/MonitorCapture.h"

#include <thread>
#include <utility>

namespace quillmark::live {
namespace {

using Clock = std::chrono::steady_clock;

std::int64_t NowMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now().time_since_epoch()).count();
}

}  // namespace

bool MonitorCapture::Open() {
  const std::int64_t now = NowMs();
  if (context && retry.MustDrop(now)) {
    context.reset();
    retry.OnDropped(now);
  }
  if (context || !retry.MayOpen(now)) return context != nullptr;
  auto opened = std::make_unique<DuplicationContext>();
  try {
    opened->Init(monitor);
  } catch (const CaptureError& error) {
    retry.OnOpenFailed(now);
    last = {CaptureOutcome::Kind::Failed, error.code};
    fault = error.what() + (" (" + CodeText(error.code) + ")");
    return false;
  }
  context = std::move(opened);
  retry.OnOpened();
  return true;
}

CaptureOutcome MonitorCapture::Acquire(cv::Mat& bgra) {
  if (!Open()) return last;
  cv::Mat frame;
  last = context->Acquire(frame);
  retry.OnOutcome(last, NowMs());
  fault = last.IsFrame() ? "" : last.Text();
  if (!last.IsFrame()) return last;
  const HeldFrame held(*context);
  bgra = frame.clone();
  origin = {context->left, context->top};
  return last;
}

void MonitorCapture::Follow(HMONITOR handle) {
  if (handle == monitor) return;
  monitor = handle;
  context.reset();
  retry = {};
}

MonitorPicture TakePicture(HMONITOR monitor, std::chrono::milliseconds quiet) {
  constexpr auto Patience = std::chrono::seconds(2);
  constexpr auto Pause = std::chrono::milliseconds(5);  // an attempt may return at once
  MonitorCapture capture(monitor);
  MonitorPicture picture{.outcome = CaptureOutcome::Of(DXGI_ERROR_WAIT_TIMEOUT)};
  auto changed = Clock::now();
  const auto deadline = changed + Patience;
  for (;; std::this_thread::sleep_for(Pause)) {
    const CaptureOutcome outcome = capture.Acquire(picture.bgra);
    const auto now = Clock::now();
    if (outcome.kind != CaptureOutcome::Kind::NothingNew) {
      picture.outcome = outcome;
      picture.fault = capture.Fault();
      changed = now;
    }
    if (now >= deadline || (!picture.bgra.empty() && now - changed >= quiet)) break;
  }
  picture.origin = capture.Origin();
  if (picture.outcome.kind == CaptureOutcome::Kind::NothingNew) picture.fault = picture.outcome.Text();
  return picture;
}

}  // namespace quillmark::live

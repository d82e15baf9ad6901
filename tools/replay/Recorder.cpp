#include "replay/Recorder.h"

#include <algorithm>
#include <chrono>
#include <deque>
#include <fstream>
#include <map>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>

#include "app/frame/OpenCvConfig.h"
#include "ipc/WallClock.h"
#include "replay/Engine.h"
#include "replay/FrameFiles.h"
#include "replay/LiveDesktop.h"
#include "replay/SpecTable.h"
#include "text/Printable.h"

namespace quillmark::replay {
namespace {

using Clock = std::chrono::steady_clock;

// Keeps recording.json below its limit.
constexpr std::size_t MaxWindowsInAll = 200'000;

struct HeldFrame {
  std::int64_t tMs = 0;
  std::size_t monitor = 0;
  cv::Mat bgra;
};

// The frames around a trigger, and for each monitor the last frame before those.
class Bundle {
 public:
  Bundle(std::size_t before, std::size_t after) : maxBefore(before), moreAfter(after) {}

  void Add(HeldFrame frame) {
    frames.push_back(std::move(frame));
    if (triggered) {
      if (moreAfter > 0) --moreAfter;
    } else if (frames.size() > maxBefore + 1) {
      older[frames.front().monitor] = frames.front();
      frames.pop_front();
    }
  }
  void Trigger() { triggered = true; }
  [[nodiscard]] bool Triggered() const { return triggered; }
  [[nodiscard]] bool IsComplete() const { return triggered && moreAfter == 0; }

  // Oldest first. Those before the bundle get the time of its first frame.
  [[nodiscard]] std::vector<HeldFrame> Frames() const {
    std::vector<HeldFrame> all;
    for (auto [monitor, frame] : older) {
      if (monitor == frames.front().monitor) continue;
      frame.tMs = frames.front().tMs;
      all.push_back(frame);
    }
    all.insert(all.end(), frames.begin(), frames.end());
    return all;
  }

 private:
  const std::size_t maxBefore;
  std::size_t moreAfter;
  bool triggered = false;
  std::deque<HeldFrame> frames;
  std::map<std::size_t, HeldFrame> older;  // by monitor
};

void MakeFolder(const std::filesystem::path& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (!std::filesystem::is_directory(folder, error)) {
    throw std::runtime_error(Utf8Of(folder) + ": cannot be created");
  }
  if (!std::filesystem::is_empty(folder, error) || error) {
    throw std::runtime_error(Utf8Of(folder) + ": is not empty; a recording needs an empty folder");
  }
}

// Rejected, but at a difference within the limit or above it by at most half of it.
bool IsNearMiss(const Verdict& verdict) {
  return !verdict.Accepted() && verdict.found && verdict.dist <= 1.5 * verdict.difference.limit.Value();
}

class Recorder : public Observer {
 public:
  explicit Recorder(const RecorderOptions& chosen)
      : options(chosen),
        specs(chosen.specs, {}),
        engine(specs.prepared, desktop.Monitors(), *this),
        bundle(chosen.framesBefore, chosen.framesAfter) {
    for (std::size_t i = 0; i < options.specs.size(); ++i) {
      if (const auto reason = specs.rejected[i]) {
        throw std::runtime_error(options.specs[i].path + ": " +
                                 std::string(reasons::EntryOf(*reason).meaning));
      }
    }
    if (desktop.Faults().size() == desktop.Monitors().size()) {
      throw std::runtime_error(desktop.Faults().front());
    }
    recording.monitors = desktop.Monitors();
  }

  RecorderResult Run(const std::function<bool(std::int64_t)>& goOn) {
    MakeFolder(options.folder);
    if (options.trigger == Trigger::None) writer.emplace(options.folder);
    recording.startMs = WallClockMs();
    start = Clock::now();
    for (std::int64_t begin = 0; begin < options.mostMs && goOn(begin) && !MustEnd();) {
      Tick();
      if (bundle.IsComplete()) break;
      begin = std::max(begin + Tick::IntervalMs(0), Now());
      std::this_thread::sleep_until(start + std::chrono::milliseconds(begin));
    }
    result.notes.insert(result.notes.begin(), desktop.Faults().begin(), desktop.Faults().end());
    result.tMs = Now();
    result.triggered = bundle.Triggered();
    Write();
    return std::move(result);
  }

 private:
  [[nodiscard]] std::int64_t Now() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  }
  [[nodiscard]] bool Bundles() const { return options.trigger != Trigger::None; }

  bool MustEnd() {
    if (recording.frames.size() + desktop.Monitors().size() > MaxFrames || windowsInAll > MaxWindowsInAll ||
        recording.windows.size() >= MaxChanges) {
      result.notes.emplace_back("ended early: the recording has reached its maximum size");
    } else if (desktop.HasChanged()) {
      result.notes.emplace_back("ended early: the monitors have changed");
    } else {
      return false;
    }
    return true;
  }

  void Tick() {
    std::vector<RecordedWindow> windows = LiveDesktop::Windows();
    if (windows.size() > MaxWindows) windows.resize(MaxWindows);
    if (Bundles()) engine.BeginTick(windows);
    if (recording.windows.empty() || recording.windows.back().windows != windows) {
      windowsInAll += windows.size();
      recording.windows.push_back({recording.windows.empty() ? 0 : Now(), std::move(windows)});
    }
    for (std::size_t monitor = 0; monitor < desktop.Monitors().size(); ++monitor) {
      const std::int64_t begin = Now();
      cv::Mat bgra;
      if (!desktop.Acquire(monitor, bgra).IsFrame()) continue;
      Keep({Now(), monitor, bgra});
      if (Bundles()) engine.TakeTurn(monitor, begin, bgra, WallClockMs());
    }
  }

  void Keep(HeldFrame frame) {
    if (Bundles()) {
      bundle.Add(std::move(frame));
    } else {
      WriteFrame(frame, *writer);
    }
  }

  void WriteFrame(const HeldFrame& frame, FrameWriter& to) {
    const std::string file = "frame-" + std::to_string(recording.frames.size()) + ".png";
    to.Write(file, frame.bgra);
    recording.frames.push_back({frame.tMs, frame.monitor, file});
  }

  void OnHit(std::size_t, const HitRecord&) override {
    if (options.trigger == Trigger::Hit) bundle.Trigger();
  }
  void OnSilence(std::size_t, reasons::Reason, const Verdict* verdict) override {
    if (options.trigger == Trigger::NearMiss && verdict != nullptr && IsNearMiss(*verdict)) bundle.Trigger();
  }

  void Write() {
    if (Bundles() && !result.triggered) return;
    if (Bundles()) TakeBundle();
    writer->Finish();
    CopyTemplates();
    const std::filesystem::path path = options.folder / RecordingFile;
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << TextOf(recording);
    if (!file.flush()) throw std::runtime_error(Utf8Of(path) + ": cannot be written");
    result.frames = recording.frames.size();
  }

  // Makes the recording begin with the bundle's first frame.
  void TakeBundle() {
    const std::vector<HeldFrame> frames = bundle.Frames();
    const std::int64_t zero = frames.front().tMs;
    writer.emplace(options.folder);
    for (HeldFrame frame : frames) {
      frame.tMs -= zero;
      WriteFrame(frame, *writer);
    }
    std::vector<RecordedWindows> changes;
    for (RecordedWindows& change : recording.windows) {
      if (change.tMs <= zero) changes.clear();  // the newest of those is the first state
      change.tMs = std::max<std::int64_t>(change.tMs - zero, 0);
      changes.push_back(std::move(change));
    }
    recording.windows = std::move(changes);
    recording.startMs += static_cast<std::uint64_t>(zero);
  }

  void CopyTemplates() {
    for (const RecordedSpec& spec : options.specs) {
      RecordedSpec copied = spec;
      const std::filesystem::path source = PathOf(spec.path);
      copied.path = "template-" + std::to_string(recording.specs.size()) + Utf8Of(source.extension());
      std::error_code error;
      if (!std::filesystem::copy_file(source, options.folder / PathOf(copied.path), error)) {
        throw std::runtime_error(spec.path + ": cannot be copied into the recording");
      }
      recording.specs.push_back(std::move(copied));
    }
  }

  const RecorderOptions& options;
  LiveDesktop desktop;
  const SpecTable specs;
  Engine engine;
  Bundle bundle;
  Recording recording;
  RecorderResult result;
  std::optional<FrameWriter> writer;
  Clock::time_point start;
  std::size_t windowsInAll = 0;
};

}  // namespace

RecorderResult Record(const RecorderOptions& options, const std::function<bool(std::int64_t tMs)>& goOn) {
  ConfigureOpenCvOnce();
  return Recorder(options).Run(goOn);
}

}  // namespace quillmark::replay

#include "replay/Replay.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "app/frame/OpenCvConfig.h"
#include "capture/DuplicationContext.h"
#include "replay/Engine.h"
#include "replay/FrameFiles.h"
#include "replay/SpecTable.h"
#include "text/Printable.h"

namespace quillmark::replay {
namespace {

using reasons::Reason;

// The frames of one monitor, delivered like its duplication does: only the newest unseen one.
class FrameQueue {
 public:
  void Add(std::size_t frame, std::int64_t tMs) { frames.push_back({frame, tMs}); }

  struct Taken {
    std::size_t frame;
    std::int64_t tMs;    // now, or when the wait ended
    std::size_t passed;  // older frames that were never taken
  };
  // The newest frame at `now`, or else the first one until `deadline`.
  std::optional<Taken> Take(std::int64_t now, std::int64_t deadline) {
    if (next == frames.size() || frames[next].tMs > deadline) return std::nullopt;
    const std::int64_t at = std::max(now, frames[next].tMs);
    std::size_t newest = next;
    while (newest + 1 < frames.size() && frames[newest + 1].tMs <= at) ++newest;
    const Taken taken{frames[newest].frame, at, newest - next};
    next = newest + 1;
    return taken;
  }

 private:
  struct Entry {
    std::size_t frame;
    std::int64_t tMs;
  };
  std::vector<Entry> frames;
  std::size_t next = 0;
};

class Player : public Observer {
 public:
  Player(const Recording& played, const std::filesystem::path& itsFolder)
      : recording(played),
        folder(itsFolder),
        specs(played.specs, itsFolder),
        queues(played.monitors.size()),
        engine(specs.prepared, played.monitors, *this) {
    for (std::size_t i = 0; i < specs.names.size(); ++i) {
      SpecResult& of = result.specs.emplace_back();
      of.name = specs.names[i];
      if (const auto reason = specs.rejected[i]) ++of.silences[*reason];
    }
    for (std::size_t i = 0; i < recording.frames.size(); ++i) {
      queues[recording.frames[i].monitor].Add(i, recording.frames[i].tMs);
    }
  }

  ReplayResult Run(const std::function<void(std::int64_t)>& progress) {
    const std::int64_t end = recording.frames.empty() ? 0 : recording.frames.back().tMs;
    // The last tick begins after the last frame, so that every monitor gets a turn after it.
    for (std::int64_t begin = 0;;) {
      now = begin;
      Tick();
      if (progress) progress(std::min(begin, end));
      if (begin > end) break;
      begin = std::max(begin + Tick::IntervalMs(0), now);
    }
    return std::move(result);
  }

 private:
  void Tick() {
    BeginTick();
    for (std::size_t monitor = 0; monitor < recording.monitors.size(); ++monitor) {
      if (engine.Watches(monitor)) Turn(monitor);
    }
  }

  void BeginTick() {
    while (nextChange < recording.windows.size() && recording.windows[nextChange].tMs <= now) ++nextChange;
    engine.BeginTick(nextChange == 0 ? std::vector<RecordedWindow>{}
                                     : recording.windows[nextChange - 1].windows);
  }

  void Turn(std::size_t monitor) {
    const std::int64_t begin = now;
    const std::int64_t deadline = begin + std::int64_t{DuplicationContext::FrameTimeoutMs};
    const auto taken = queues[monitor].Take(begin, deadline);
    if (!taken) {
      now = deadline;
      engine.PassTurn(monitor, Reason::NoNewFrame);
      return;
    }
    now = taken->tMs;
    frame = taken->frame;
    for (std::size_t i = 0; i < taken->passed; ++i) engine.PassTurn(monitor, Reason::BetweenFrames);
    ++result.framesTaken;
    const std::string& file = recording.frames[frame].file;
    cv::Mat picture;
    try {
      picture = LoadFrame(folder / PathOf(file), recording.monitors[monitor].rect);
    } catch (const std::exception& error) {
      result.faults.push_back(file + ": " + error.what());
      engine.PassTurn(monitor, Reason::CaptureFailed);
      return;
    }
    engine.TakeTurn(monitor, begin, picture, recording.startMs + static_cast<std::uint64_t>(now));
  }

  void OnHit(std::size_t spec, const HitRecord& hit) override {
    ++ResultOf(spec).hits;
    result.hits.push_back({frame, now, hit});
  }

  void OnSilence(std::size_t spec, Reason reason, const Verdict* verdict) override {
    SpecResult& of = ResultOf(spec);
    ++of.silences[reason];
    if (verdict == nullptr || verdict->Accepted()) return;
    const auto& nearest = of.nearestMiss;
    if (nearest && std::pair(nearest->reason, -nearest->difference) >= std::pair(reason, -verdict->dist))
      return;
    of.nearestMiss = {frame, now, reason, verdict->dist, verdict->difference.limit.Value()};
  }

  SpecResult& ResultOf(std::size_t prepared) { return result.specs[specs.recordedIndex[prepared]]; }

  const Recording& recording;
  const std::filesystem::path& folder;
  SpecTable specs;
  std::vector<FrameQueue> queues;  // by monitor
  Engine engine;
  ReplayResult result;

  std::int64_t now = 0;
  std::size_t nextChange = 0;  // into Recording::windows
  std::size_t frame = 0;       // taken last
};

// Whether there was nothing to compare.
bool IsPause(Reason reason) {
  return reason == Reason::NoNewFrame || reason == Reason::BetweenFrames || reason == Reason::FrameDivisor ||
         reason == Reason::Interval;
}

}  // namespace

std::optional<Reason> SpecResult::Silence() const {
  if (hits != 0 || silences.empty()) return std::nullopt;
  for (auto silence = silences.rbegin(); silence != silences.rend(); ++silence) {
    if (!IsPause(silence->first)) return silence->first;
  }
  return silences.rbegin()->first;
}

ReplayResult Replay(const Recording& recording, const std::filesystem::path& folder,
                    const std::function<void(std::int64_t tMs)>& progress) {
  ConfigureOpenCvOnce();
  return Player(recording, folder).Run(progress);
}

}  // namespace quillmark::replay

#include "core/engine/RegionMemory.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "core/RegionGeometry.h"
#include "log/AsyncLogger.h"

namespace quillmark {
namespace {

// A region that nothing touched is compared after all when this time has passed, in case that the system does
// not report all changes.
constexpr std::int64_t kAuditMs = 1000;
// A region touched by more rectangles is compared as a whole, one changed in more is searched as a whole.
constexpr std::size_t kMostTouches = 64;

std::atomic<std::size_t> takenBytes{0};
std::atomic<std::uint64_t> lastContent{0};

std::shared_ptr<RegionPicture> PictureOf(const cv::Mat& shown, const ROIUnit& unit) {
  return std::make_shared<RegionPicture>(shown, unit.scaleX, unit.scaleY);
}

}  // namespace

bool MemoryShare::GrowTo(std::size_t bytes) {
  if (bytes > taken) {
    const std::size_t more = bytes - taken;
    std::size_t before = takenBytes.load(std::memory_order_relaxed);
    do {
      if (before + more > Budget) return false;
    } while (!takenBytes.compare_exchange_weak(before, before + more, std::memory_order_relaxed));
  } else {
    takenBytes.fetch_sub(taken - bytes, std::memory_order_relaxed);
  }
  taken = bytes;
  return true;
}

std::size_t MemoryShare::Taken() {
  return takenBytes.load(std::memory_order_relaxed);
}

// A rectangle of a monitor at one scale.
struct RegionMemory::Region {
  Rect place;  // desktop pixels
  double scaleX = 1.0, scaleY = 1.0;
  PlaneNeeds needs;
  MemoryShare share;
  std::shared_ptr<RegionPicture> picture;
  std::uint64_t content = 0;  // names what the picture shows; another one after each change

  bool unknown = false;           // any pixel may have changed since the picture
  std::vector<cv::Rect> touched;  // or only these; relative to the region
  std::uint64_t frame = 0;        // that the picture was compared with, or known to agree with
  std::int64_t comparedMs = 0;    // when all of it was

  [[nodiscard]] bool IsAt(const ROIUnit& unit) const {
    return place == Rect{unit.x, unit.y, unit.right, unit.bottom} && HasScaleOf(unit);
  }
  [[nodiscard]] bool HasScaleOf(const ROIUnit& unit) const {
    return scaleX == unit.scaleX && scaleY == unit.scaleY;
  }
  [[nodiscard]] cv::Rect Whole() const { return {cv::Point(), picture->Size()}; }
  // Room for the planes that another spec needs as well.
  bool Extend(PlaneNeeds more) {
    const PlaneNeeds both{needs.bgr || more.bgr, needs.hsv || more.hsv};
    const cv::Size size(place.right - place.left, place.bottom - place.top);
    if (!share.GrowTo(RegionPicture::BytesFor(both, size, scaleX, scaleY))) return false;
    needs = both;
    return true;
  }
};

// One spec on one monitor.
struct RegionMemory::SpecMemory {
  std::shared_ptr<Region> region;
  std::uint64_t content = 0;  // of the region, when `look` was made
  bool clipped = false;
  std::shared_ptr<RegionLook> look;
  std::shared_ptr<SearchTrace> trace;
  std::vector<cv::Rect> changed;  // since `look`, relative to the region

  // Makes a look at what the region shows now.
  void LookAnew(const std::shared_ptr<Region>& at, bool isClipped) {
    auto anew = std::make_shared<RegionLook>(at->picture);
    if (region != at) trace.reset();
    if (!trace && at->picture->AtDesktopScale()) trace = std::make_shared<SearchTrace>();
    anew->trace = trace;
    anew->content = at->content;
    if (region == at && changed.size() <= kMostTouches) {
      anew->before = content;
      anew->changed = std::move(changed);
    }
    changed.clear();
    region = at;
    content = at->content;
    clipped = isClipped;
    look = std::move(anew);
  }
};

struct RegionMemory::MonitorMemory {
  std::uint64_t frame = 0;  // counts its frames
  bool trusted = true;      // what frames say about their changes
  std::vector<std::shared_ptr<Region>> regions;
  std::unordered_map<std::uint64_t, SpecMemory> specs;  // by revision
};

RegionMemory::RegionMemory() = default;
RegionMemory::~RegionMemory() = default;

void RegionMemory::NoteFrame(const MonitorFrame& frame) {
  const auto known = monitors.find(frame.monitor);
  if (known == monitors.end()) return;
  MonitorMemory& monitor = known->second;
  ++monitor.frame;
  std::erase_if(monitor.regions, [](const auto& region) { return region.use_count() == 1; });
  for (const auto& region : monitor.regions) {
    region->unknown |= !frame.changes.known || !monitor.trusted;
    const cv::Rect place(cv::Point(region->place.left, region->place.top) - frame.origin,
                         region->picture->Size());
    for (const cv::Rect& rect : frame.changes.rects) {
      const cv::Rect part = rect & place;
      if (region->unknown) break;
      if (part.empty()) continue;
      region->touched.push_back(part - place.tl());
      region->unknown = region->touched.size() > kMostTouches;
    }
  }
}

void RegionMemory::LoseTrack(HMONITOR monitor) {
  const auto known = monitors.find(monitor);
  if (known == monitors.end()) return;
  for (const auto& region : known->second.regions) region->unknown = true;
}

std::shared_ptr<RegionLook> RegionMemory::LookAt(const MonitorFrame& frame, const TemplateSpec& spec,
                                                 const ROIUnit& unit) {
  const cv::Mat shown = frame.bgra(
      cv::Rect(cv::Point(unit.x, unit.y) - frame.origin, cv::Point(unit.right, unit.bottom) - frame.origin));
  if (spec.revision == 0) return std::make_shared<RegionLook>(PictureOf(shown, unit));
  MonitorMemory& monitor = monitors[frame.monitor];
  SpecMemory& known = monitor.specs[spec.revision];
  const std::shared_ptr<Region> region = RegionOf(monitor, known, NeedsOf(spec), unit, shown, frame.tickMs);
  if (!region) {
    known = {};
    return std::make_shared<RegionLook>(PictureOf(shown, unit));
  }
  Refresh(monitor, *region, shown, frame.tickMs);
  if (known.region != region || known.content != region->content || known.clipped != unit.clipped ||
      !known.look) {
    known.LookAnew(region, unit.clipped);
  }
  return known.look;
}

std::shared_ptr<RegionMemory::Region> RegionMemory::RegionOf(MonitorMemory& monitor, const SpecMemory& known,
                                                             PlaneNeeds needs, const ROIUnit& unit,
                                                             const cv::Mat& shown, std::int64_t nowMs) {
  if (known.region && known.region->IsAt(unit)) return known.region;
  const auto there =
      std::ranges::find_if(monitor.regions, [&](const auto& region) { return region->IsAt(unit); });
  if (there != monitor.regions.end()) return (*there)->Extend(needs) ? *there : nullptr;
  const Rect place{unit.x, unit.y, unit.right, unit.bottom};
  // Moved with its window, perhaps: it may show the same at the new place. Specs that share it move with it,
  // or keep it where it is if they come first.
  if (known.region && known.region->HasScaleOf(unit) && known.region->picture->Size() == shown.size() &&
      known.region->frame != monitor.frame) {
    known.region->place = place;
    known.region->unknown = true;
    return known.region;
  }
  auto made = std::make_shared<Region>();
  made->place = place;
  made->scaleX = unit.scaleX;
  made->scaleY = unit.scaleY;
  if (!made->Extend(needs)) return nullptr;
  made->picture = PictureOf(shown, unit);
  made->content = ++lastContent;
  made->frame = monitor.frame;
  made->comparedMs = nowMs;
  monitor.regions.push_back(made);
  return made;
}

void RegionMemory::Refresh(MonitorMemory& monitor, Region& region, const cv::Mat& shown, std::int64_t nowMs) {
  if (region.frame == monitor.frame) return;
  std::vector<cv::Rect> parts;
  if (region.unknown) {
    parts = region.picture->Differences(shown, region.Whole());
    region.comparedMs = nowMs;
  } else {
    for (const cv::Rect& touched : region.touched) {
      const std::vector<cv::Rect> different = region.picture->Differences(shown, touched);
      parts.insert(parts.end(), different.begin(), different.end());
    }
  }
  TakeOver(monitor, region, shown, parts);
  if (nowMs - region.comparedMs >= kAuditMs) {
    const std::vector<cv::Rect> missed = region.picture->Differences(shown, region.Whole());
    region.comparedMs = nowMs;
    if (!missed.empty()) {
      monitor.trusted = false;
      LogLine(L"[Capture] a change was not reported: frames of this monitor are compared from now on");
      TakeOver(monitor, region, shown, missed);
    }
  }
  region.unknown = false;
  region.touched.clear();
  region.frame = monitor.frame;
}

void RegionMemory::TakeOver(MonitorMemory& monitor, Region& region, const cv::Mat& shown,
                            const std::vector<cv::Rect>& parts) {
  if (parts.empty()) return;
  if (region.picture->Readers() != 0) region.picture = std::make_shared<RegionPicture>(*region.picture);
  region.content = ++lastContent;
  for (auto& [revision, known] : monitor.specs) {
    if (known.region.get() != &region || known.changed.size() > kMostTouches) continue;
    known.changed.insert(known.changed.end(), parts.begin(), parts.end());
  }
  region.picture->Update(shown, parts);
}

void RegionMemory::KeepSpecs(const std::vector<TemplateSpec>& specs) {
  std::set<std::uint64_t> kept;
  for (const TemplateSpec& spec : specs) kept.insert(spec.revision);
  for (auto& [handle, monitor] : monitors) {
    std::erase_if(monitor.specs, [&](const auto& entry) { return !kept.contains(entry.first); });
    std::erase_if(monitor.regions, [](const auto& region) { return region.use_count() == 1; });
  }
}

void RegionMemory::KeepMonitors(const std::set<HMONITOR>& kept) {
  std::erase_if(monitors, [&](const auto& entry) { return !kept.contains(entry.first); });
}

}  // namespace quillmark

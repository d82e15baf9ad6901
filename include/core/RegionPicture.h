// What one region of the screen showed: its pixels at desktop scale, and the planes that specs compare, made
// from them at template scale on first use and kept.
//
// Threading: the owner's thread makes it, compares it and, while nobody reads it, takes over new pixels; a
// PictureUse is what a reader holds. Readers make planes from any thread at once.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <opencv2/core.hpp>
#include <utility>
#include <vector>

#include "core/FrameJob.h"

namespace quillmark {

// Which planes to make beside the grey one.
struct PlaneNeeds {
  bool bgr = false, hsv = false;
};
[[nodiscard]] PlaneNeeds NeedsOf(const TemplateSpec& spec);

class RegionPicture {
 public:
  // Copies the pixels, 8UC4; the fourth byte is ignored. The scales are desktop pixels per template pixel.
  RegionPicture(const cv::Mat& bgra, double scaleX, double scaleY);
  // The same pixels, to be changed while the other picture is read.
  RegionPicture(const RegionPicture& other);
  RegionPicture& operator=(const RegionPicture&) = delete;

  // The parts of `rect` in which `bgra`, of the picture's size, shows something else: bands of rows, each as
  // wide as its changes.
  [[nodiscard]] std::vector<cv::Rect> Differences(const cv::Mat& bgra, const cv::Rect& rect) const;
  // Takes over the pixels of these parts. Only while Readers() is 0.
  void Update(const cv::Mat& bgra, const std::vector<cv::Rect>& parts);

  // The planes at template scale, made of pixels that must not change meanwhile.
  [[nodiscard]] Planes PlanesFor(PlaneNeeds needs);

  // Whether the planes have the size of the pixels.
  [[nodiscard]] bool AtDesktopScale() const { return !scaled; }
  [[nodiscard]] cv::Size Size() const { return pixels.size(); }
  // At most this much memory does a picture with these planes take.
  [[nodiscard]] static std::size_t BytesFor(PlaneNeeds needs, cv::Size region, double scaleX, double scaleY);

  // Uses that others hold.
  [[nodiscard]] std::int32_t Readers() const { return readers.load(std::memory_order_acquire); }

 private:
  friend class PictureUse;

  // With the mutex held.
  void MakeMissing(PlaneNeeds needs);
  void RefreshStaleParts();

  cv::Mat pixels;  // 8UC4
  const double sx, sy;
  const bool scaled;
  std::atomic<std::int32_t> readers{0};

  std::mutex mutex;  // guards the rest
  Planes planes;
  std::vector<cv::Rect> stale;  // parts of the planes that are older than the pixels
};

// Keeps a picture's pixels as they are.
class PictureUse {
 public:
  explicit PictureUse(std::shared_ptr<RegionPicture> used) : picture(std::move(used)) {
    picture->readers.fetch_add(1, std::memory_order_relaxed);
  }
  PictureUse(const PictureUse&) = delete;
  PictureUse& operator=(const PictureUse&) = delete;
  ~PictureUse() { End(); }

  void End() {
    if (!picture) return;
    picture->readers.fetch_sub(1, std::memory_order_release);
    picture.reset();
  }
  RegionPicture* operator->() const { return picture.get(); }

 private:
  std::shared_ptr<RegionPicture> picture;
};

}  // namespace quillmark

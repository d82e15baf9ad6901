// A scripted desktop whose frames cost nothing, and 16 specs that look at it: whole ticks of the engine are
// measured on them. One monitor and one window that covers it; the regions lie in rows of four, and every
// second region shows its template.
//
// Threading: one thread; the frames are the engine's.
#pragma once

#include <memory>
#include <opencv2/imgproc.hpp>
#include <span>
#include <string>

#include "specs/SpecStore.h"
#include "support/Images.h"
#include "support/ScriptedDesktop.h"

namespace quillmark::bench {

inline constexpr int kSpecs = 16;

// The specs' modes. Grey ones need no HSV image of the frame.
enum class Specs16 { Gray, Mixed };

struct SpecSizes {
  cv::Size region, icon;
};

inline cv::Point RegionAt(int spec, cv::Size screen) {
  return {spec % 4 * screen.width / 4, spec / 4 * screen.height / 4};
}
inline bool ShowsItsTemplate(int spec) {
  return spec % 2 == 0;
}
inline std::wstring NameOf(int spec) {
  return L"spec " + std::to_wstring(spec);
}
inline int NumberOf(const std::wstring& name) {
  return std::stoi(name.substr(NameOf(0).size() - 1));
}

// Puts 16 specs into the store and returns the picture they look at.
inline cv::Mat FillStore(cv::Size screen, Specs16 kind, const SpecSizes& sizes) {
  testing::Random random(5);
  cv::Mat picture = testing::Screen(random, screen);
  Specs().specs.clear();
  for (int i = 0; i < kSpecs; ++i) {
    const cv::Mat icon = testing::Icon(random, sizes.icon, random.Letters(2));
    const auto mode = kind == Specs16::Gray ? MatchMode::Gray : static_cast<MatchMode>(i % 5);
    TemplateSpec spec = testing::PreparedSpec(icon, mode);
    spec.name = NameOf(i);
    spec.target = L"target";
    const cv::Point at = RegionAt(i, screen);
    spec.roi = cv::Rect(at, sizes.region);
    if (ShowsItsTemplate(i)) testing::Plant(picture, icon, at + cv::Point(sizes.region - sizes.icon) / 2);
    if (kind == Specs16::Gray) spec.vividFlat = false;
    spec.revision = ++Specs().changes;
    Specs().specs.push_back(spec);
  }
  return picture;
}

// Always a new frame, with the picture as it is now.
class StillFrames : public layer::Duplication {
 public:
  StillFrames(const cv::Mat& bgra, const RECT& changes) : picture(bgra), changed(changes) {}
  std::uint32_t Width() const override { return static_cast<std::uint32_t>(picture.cols); }
  std::uint32_t Height() const override { return static_cast<std::uint32_t>(picture.rows); }
  HRESULT Acquire(std::uint32_t) override { return S_OK; }
  HRESULT Release() override { return S_OK; }
  HRESULT Map(layer::ImageView& view) override {
    view = {picture.data, static_cast<std::uint32_t>(picture.step)};
    return S_OK;
  }
  layer::FrameFacts Facts() const override { return {.dirty = 1}; }
  HRESULT Dirty(std::span<const RECT>& rects) override {
    rects = {&changed, 1};
    return S_OK;
  }

 private:
  const cv::Mat picture;
  const RECT& changed;  // by every frame
};

class StillDesktop : public test::ScriptedDesktop {
 public:
  explicit StillDesktop(const cv::Mat& picture) {
    cv::cvtColor(picture, bgra, cv::COLOR_BGR2BGRA);
    const RECT whole = test::RectAt(0, 0, picture.cols, picture.rows);
    AddMonitor({whole});
    test::ScriptedWindow window;
    window.title = L"target";
    window.client = whole;
    OpenWindow(window);
  }
  HRESULT Duplicate(layer::MonitorId, std::unique_ptr<layer::Duplication>& duplication) override {
    duplication = std::make_unique<StillFrames>(bgra, changed);
    return S_OK;
  }
  // Inverts one pixel, from the next frame on. Not while a frame is held.
  void Blink(cv::Point at) {
    auto& pixel = bgra.at<cv::Vec4b>(at);
    pixel = cv::Vec4b::all(255) - pixel;
    changed = test::RectAt(at.x, at.y, 1, 1);
  }

 private:
  cv::Mat bgra;
  RECT changed = test::RectAt(0, 0, 1, 1);
};

}  // namespace quillmark::bench

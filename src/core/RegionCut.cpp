#include "core/RegionCut.h"

#include "core/RegionPicture.h"

namespace quillmark {

RegionOnFrame PlaceRegion(const TemplateSpec& spec, const Rect& frame) {
  RegionOnFrame place;
  place.region = RegionOnDesktop(spec);
  place.visible = Intersect(place.region, frame);
  place.tmplSize = SizeOnDesktop(spec.tmplGray.size(), EffectiveScale(spec.targetScaleX),
                                 EffectiveScale(spec.targetScaleY));
  return place;
}

ROIUnit UnitAt(const TemplateSpec& spec, const RegionOnFrame& place) {
  ROIUnit unit;
  unit.x = place.visible.left;
  unit.y = place.visible.top;
  unit.right = place.visible.right;
  unit.bottom = place.visible.bottom;
  unit.clipped = place.Clipped();
  unit.scaleX = EffectiveScale(spec.targetScaleX);
  unit.scaleY = EffectiveScale(spec.targetScaleY);
  return unit;
}

ROIUnit CutRegion(const TemplateSpec& spec, const RegionOnFrame& place, const cv::Mat& bgra, cv::Point origin,
                  bool withHsv) {
  ROIUnit unit = UnitAt(spec, place);
  const cv::Rect part(cv::Point(unit.x, unit.y) - origin, cv::Point(unit.right, unit.bottom) - origin);
  RegionPicture picture(bgra(part), unit.scaleX, unit.scaleY);
  static_cast<Planes&>(unit) = picture.PlanesFor({true, withHsv || NeedsOf(spec).hsv});
  return unit;
}

}  // namespace quillmark

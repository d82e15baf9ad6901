#include "specs/TemplatePreparation.h"

#include <opencv2/imgproc.hpp>

#include "core/ImageFigures.h"
#include "core/TemplateSpectra.h"
#include "specs/ImageFile.h"

namespace quillmark {
namespace {

cv::Mat ToBgr(const cv::Mat& image) {
  if (image.channels() == 3) return image;
  cv::Mat bgr;
  cv::cvtColor(image, bgr, image.channels() == 4 ? cv::COLOR_BGRA2BGR : cv::COLOR_GRAY2BGR);
  return bgr;
}

// 255 where the alpha plane of a four-channel image is above 0.
cv::Mat OpaqueMask(const cv::Mat& image) {
  cv::Mat alpha, mask;
  cv::extractChannel(image, alpha, 3);
  if (alpha.type() != CV_8UC1) alpha.convertTo(alpha, CV_8U);
  cv::threshold(alpha, mask, 0.0, 255.0, cv::THRESH_BINARY);
  return mask;
}

// Fits a mask of an earlier preparation to the template.
cv::Mat FitMask(cv::Mat mask, cv::Size size) {
  if (mask.type() == CV_8UC1 && mask.size() == size) return mask;
  if (mask.channels() > 1) cv::cvtColor(mask, mask, cv::COLOR_BGR2GRAY);
  cv::resize(mask, mask, size, 0.0, 0.0, cv::INTER_NEAREST);
  if (mask.type() != CV_8UC1) mask.convertTo(mask, CV_8U);
  return mask;
}

void PrepareEdges(TemplateSpec& spec) {
  const cv::Mat edges = EdgesOf(spec.tmplGray);
  cv::Mat zeroMean, dilatedZeroMean;
  spec.edgeDensity = ShareOfNonZero(edges);
  ToZeroMeanFloat(edges, zeroMean);
  ToZeroMeanFloat(DilatedEdges(edges), dilatedZeroMean);
  spec.tmplEdgeZm = zeroMean;
  spec.tmplEdgeDilZm = dilatedZeroMean;
}

void PrepareColours(TemplateSpec& spec) {
  cv::Mat ycrcb, ycrcbPlanes[3];
  cv::cvtColor(spec.tmplBgr, ycrcb, cv::COLOR_BGR2YCrCb);
  cv::split(ycrcb, ycrcbPlanes);
  spec.tmplCr = ycrcbPlanes[1];
  spec.tmplCb = ycrcbPlanes[2];

  cv::Mat hsv, hsvPlanes[3], redMask;
  cv::cvtColor(spec.tmplBgr, hsv, cv::COLOR_BGR2HSV);
  cv::split(hsv, hsvPlanes);
  spec.tmplHue = hsvPlanes[0];
  spec.tmplSat = hsvPlanes[1];

  if (!spec.tmplMask.empty()) spec.tmplMask = FitMask(spec.tmplMask, spec.tmplGray.size());
  cv::meanStdDev(hsv, spec.hsvMean, spec.hsvStd, spec.tmplMask);  // an empty mask means all pixels
  spec.vividFlat = spec.hsvMean[1] > 100.0 && spec.hsvStd[1] < 20.0;

  MarkRed(hsv, redMask);
  spec.tmplRedMask = redMask;
  spec.redRatio = ShareOfNonZero(redMask);

  spec.labAMean = MeanLabA(spec.tmplBgr, cv::Rect(cv::Point(), spec.tmplBgr.size()));
}

}  // namespace

bool PrepareTemplate(TemplateSpec& spec) {
  const cv::Mat image = ReadImageFile(spec.path);
  if (image.empty()) return false;

  spec.tmplBgr = ToBgr(image);
  if (image.channels() == 4) spec.tmplMask = OpaqueMask(image);
  cv::Mat gray;
  cv::cvtColor(spec.tmplBgr, gray, cv::COLOR_BGR2GRAY);
  spec.tmplGray = gray;
  PrepareEdges(spec);
  PrepareColours(spec);
  spec.spectra = std::make_shared<TemplateSpectra>();
  return true;
}

}  // namespace quillmark

#include "core/TemplateSpectra.h"

#include <algorithm>

namespace quillmark {

std::size_t TransformedTemplate::Bytes() const {
  return planes.size() * transform.SpectrumSize() * sizeof(Spectrum::value_type);
}

std::shared_ptr<const TransformedTemplate> TemplateSpectra::Of(const cv::Mat& tmpl, cv::Size padded,
                                                               TemplateSpectra* kept,
                                                               const SplitPlanes& planes) {
  if (kept != nullptr) {
    if (auto found = kept->Find(tmpl, padded)) return found;
  }
  const auto made = std::make_shared<TransformedTemplate>(padded);
  made->tmpl = tmpl;
  for (const cv::Mat& plane : planes()) made->transform.Forward(plane, made->planes.emplace_back());
  if (kept != nullptr) kept->Keep(made);
  return made;
}

// `tmpl` shares the pixels of what was transformed, which therefore cannot be another template's.
std::shared_ptr<const TransformedTemplate> TemplateSpectra::Find(const cv::Mat& tmpl, cv::Size padded) {
  const std::lock_guard lock(mutex);
  const auto found = std::find_if(latest.begin(), latest.end(), [&](const auto& each) {
    return each->padded == padded && each->tmpl.data == tmpl.data && each->tmpl.size() == tmpl.size();
  });
  if (found == latest.end()) return nullptr;
  std::rotate(latest.begin(), found, found + 1);
  return latest.front();
}

void TemplateSpectra::Keep(const std::shared_ptr<const TransformedTemplate>& made) {
  std::vector<std::shared_ptr<const TransformedTemplate>> dropped;  // freed without the lock
  const std::lock_guard lock(mutex);
  const auto used = std::find(usedOnce.begin(), usedOnce.end(), made->padded);
  if (used == usedOnce.end()) {
    usedOnce.push_back(made->padded);
    if (usedOnce.size() > kSizes) usedOnce.pop_front();
    return;
  }
  usedOnce.erase(used);
  latest.insert(latest.begin(), made);
  std::size_t bytes = 0;
  const auto surplus = std::find_if(latest.begin(), latest.end(),
                                    [&](const auto& each) { return (bytes += each->Bytes()) > kBudget; });
  dropped.assign(surplus, latest.end());
  latest.erase(surplus, latest.end());
}

}  // namespace quillmark

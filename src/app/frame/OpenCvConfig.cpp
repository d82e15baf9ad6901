#include "app/frame/OpenCvConfig.h"

#include <mutex>
#include <opencv2/core/utility.hpp>

namespace quillmark {

void ConfigureOpenCvOnce() noexcept {
  static std::once_flag once;
  std::call_once(once, [] {
    try {
      cv::setUseOptimized(true);
      cv::setNumThreads(1);
    } catch (...) {
      // The defaults work too, but with threads that compete with the pool's.
    }
  });
}

}  // namespace quillmark

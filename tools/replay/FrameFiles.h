// The frames of a recording as image files: loaded one by one, written by a thread.
//
// Threading: LoadFrame and SaveFrame by any thread; a FrameWriter by one.
#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>
#include <opencv2/core.hpp>
#include <string>
#include <thread>

#include "specs/TemplateSpec.h"

namespace quillmark::replay {

// The frame as the capture delivers it, 8UC4. Raises std::runtime_error, without the file's name, when the
// file is not an image of the monitor's size.
[[nodiscard]] cv::Mat LoadFrame(const std::filesystem::path& path, const Rect& monitor);

// Writes the frame, 8UC4, losslessly without its fourth byte. Raises std::runtime_error.
void SaveFrame(const std::filesystem::path& path, const cv::Mat& bgra);

// Writes frames into a folder on a thread, so that encoding does not delay the capture. Write blocks only
// when too many frames are waiting.
class FrameWriter {
 public:
  explicit FrameWriter(std::filesystem::path folder);
  ~FrameWriter();
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  // Takes a frame, 8UC4, whose pixels must not change afterwards. Raises std::runtime_error when an earlier
  // one could not be written.
  void Write(const std::string& file, const cv::Mat& bgra);
  // Waits until all are written. Raises std::runtime_error when one could not be.
  void Finish();

 private:
  struct Frame {
    std::string file;
    cv::Mat bgra;
  };

  void Run();
  void Stop();

  const std::filesystem::path folder;
  std::mutex mutex;                 // guards the rest
  std::condition_variable changed;  // for both sides
  std::deque<Frame> waiting;
  std::string error;  // the first
  bool ending = false;
  std::thread thread;
};

}  // namespace quillmark::replay

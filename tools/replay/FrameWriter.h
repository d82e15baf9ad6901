// Writes pictures into a folder on a thread of its own, so that encoding them holds up nobody who captures;
// only when many wait does the next one wait, too.
//
// Threading: Write and Finish by one thread.
#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>
#include <opencv2/core.hpp>
#include <string>
#include <thread>

namespace quillmark::replay {

class FrameWriter {
 public:
  explicit FrameWriter(std::filesystem::path folder);
  ~FrameWriter();
  FrameWriter(const FrameWriter&) = delete;
  FrameWriter& operator=(const FrameWriter&) = delete;

  // Takes the picture, 8UC4, which is not written to afterwards. Raises std::runtime_error when one before it
  // could not be written.
  void Write(const std::string& file, const cv::Mat& bgra);
  // Until all are written. Raises std::runtime_error when one could not be.
  void Finish();

 private:
  struct Picture {
    std::string file;
    cv::Mat bgra;
  };

  void Run();
  void Stop();

  const std::filesystem::path folder;
  std::mutex mutex;                 // guards the rest
  std::condition_variable changed;  // for both sides
  std::deque<Picture> waiting;
  std::string error;  // the first
  bool ending = false;
  std::thread thread;
};

}  // namespace quillmark::replay

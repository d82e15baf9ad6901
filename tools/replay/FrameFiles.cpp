#include "replay/FrameFiles.h"

#include <exception>
#include <fstream>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <utility>

#include "picture/PictureFile.h"
#include "picture/PngFile.h"
#include "specs/Utf8.h"
#include "text/Places.h"
#include "text/Printable.h"

namespace quillmark::replay {

cv::Mat LoadFrame(const std::filesystem::path& path, const Rect& monitor) {
  const PictureFile file = ReadPicture(FromUtf8(Utf8Of(path)));
  if (file.bgra.empty()) throw std::runtime_error(file.fault);
  if (const cv::Size size = ToCv(monitor).size(); file.bgra.size() != size) {
    throw std::runtime_error("The frame is " + SizeText(file.bgra.size()) + " pixels, but its monitor is " +
                             SizeText(size) + ".");
  }
  return file.bgra;
}

void SaveFrame(const std::filesystem::path& path, const cv::Mat& bgra) {
  cv::Mat bgr;
  cv::cvtColor(bgra, bgr, cv::COLOR_BGRA2BGR);
  const std::string bytes = EncodePng(bgr, kFastPng);  // screens compress well even so
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  if (!file.flush()) throw std::runtime_error(Utf8Of(path) + " cannot be written");
}

FrameWriter::FrameWriter(std::filesystem::path where) : folder(std::move(where)), thread([this] { Run(); }) {}

FrameWriter::~FrameWriter() {
  Stop();
}

void FrameWriter::Write(const std::string& file, const cv::Mat& bgra) {
  constexpr std::size_t maxWaiting = 16;
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return waiting.size() < maxWaiting || !error.empty(); });
  if (!error.empty()) throw std::runtime_error(error);
  waiting.push_back({file, bgra});
  changed.notify_all();
}

void FrameWriter::Finish() {
  Stop();
  if (!error.empty()) throw std::runtime_error(error);
}

void FrameWriter::Stop() {
  {
    const std::lock_guard lock(mutex);
    ending = true;
  }
  changed.notify_all();
  if (thread.joinable()) thread.join();
}

void FrameWriter::Run() {
  std::unique_lock lock(mutex);
  while (error.empty()) {
    changed.wait(lock, [this] { return ending || !waiting.empty(); });
    if (waiting.empty()) return;
    const Frame frame = std::move(waiting.front());
    waiting.pop_front();
    lock.unlock();
    std::string failure;
    try {
      SaveFrame(folder / PathOf(frame.file), frame.bgra);
    } catch (const std::exception& raised) {
      failure = raised.what();
    }
    lock.lock();
    error = failure;
    changed.notify_all();
  }
}

}  // namespace quillmark::replay

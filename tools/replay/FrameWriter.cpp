#include "replay/FrameWriter.h"

#include <exception>
#include <stdexcept>
#include <utility>

#include "replay/FrameFiles.h"

namespace quillmark::replay {

namespace {
constexpr std::size_t MostWaiting = 16;
}

FrameWriter::FrameWriter(std::filesystem::path where) : folder(std::move(where)), thread([this] { Run(); }) {}

FrameWriter::~FrameWriter() {
  Stop();
}

void FrameWriter::Write(const std::string& file, const cv::Mat& bgra) {
  std::unique_lock lock(mutex);
  changed.wait(lock, [this] { return waiting.size() < MostWaiting || !error.empty(); });
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
  while (true) {
    changed.wait(lock, [this] { return ending || !waiting.empty(); });
    if (waiting.empty()) return;
    const Picture picture = std::move(waiting.front());
    waiting.pop_front();
    lock.unlock();
    std::string failure;
    try {
      SaveFrame(PathIn(folder, picture.file), picture.bgra);
    } catch (const std::exception& raised) {
      failure = raised.what();
    }
    lock.lock();
    if (!failure.empty()) {
      error = failure;
      waiting.clear();
    }
    changed.notify_all();
    if (!error.empty()) return;
  }
}

}  // namespace quillmark::replay

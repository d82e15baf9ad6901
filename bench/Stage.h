// Runs a real worker for measurements: in a private session, on a private X server, with a window that shows
// a screen-like picture, template files and a controller. Its destructor ends them all.
//
// Threading: one thread.
#pragma once

#include <cstdint>
#include <functional>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Painter.h"
#include "ProcessFacts.h"
#include "support/ChildProcess.h"
#include "support/Images.h"
#include "support/PrivateDisplay.h"
#include "support/PrivateSession.h"
#include "support/RawController.h"
#include "support/XClient.h"

namespace quillmark::bench {

// A picture to draw, and its template file.
struct Sprite {
  std::uint32_t pixmap = 0;
  cv::Size size;
  std::wstring file;
};

class Stage {
 public:
  static constexpr wchar_t Title[] = L"bench window";  // at most 16 units go into a command

  // The window's client area lies at `windowAt` on the screen.
  explicit Stage(cv::Size screen = {1920, 1080}, const cv::Rect& windowAt = {100, 60, 1280, 800});

  // The window's client area at this place of the screen.
  const cv::Rect& Area() const { return area; }
  std::uint32_t Window() const { return window; }
  // Makes a sprite unlike any other.
  Sprite MakeSprite(cv::Size size);
  // Where the template of the latest sprite is.
  std::wstring LastFile() const { return lastFile; }
  // Starts the worker and waits for its first reply. Throws std::runtime_error when none comes.
  void StartWorker(const std::string& program);
  // Adds a spec for the sprite in a region of the window; `options` follow the name.
  void AddSpec(const std::wstring& name, const Sprite& sprite, const cv::Rect& region,
               const std::wstring& options = {});
  // Waits until the worker has executed every command. Throws std::runtime_error when it does not.
  void Settle();

  ProcessFacts WorkerFacts() const { return FactsOf(worker->Pid()); }

  const test::PrivateSession session;
  test::PrivateDisplay display;
  test::XClient client;
  Painter painter;
  test::RawController controller;
  testing::Random random{2025};

 private:
  const cv::Rect area;
  std::uint32_t window = 0;
  int sprites = 0;
  std::wstring lastFile;
  std::optional<test::ChildProcess> worker;
};

// The main function of a benchmark with a real worker, "NAME [COUNT [WORKER]]": calls `run` with the count,
// or `usual`, and the worker's program, by default this build's. Returns the exit code.
int RunBench(int argc, char** argv, const std::string& name, const std::string& unit, int usual,
             const std::function<int(int count, const std::string& worker)>& run);

}  // namespace quillmark::bench

// Programs that know nothing of the worker, on a real screen, with the window system's word on where they
// are.
//
// Threading: the test's main thread.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "Programs.h"
#include "linux/Shell.h"

namespace quillmark::test {

// A piece of the screen of DISPLAY, 8UC3 BGR; `area` in root window pixels, within the root window.
cv::Mat Screenshot(const cv::Rect& area);

class App {
 public:
  // Starts the program and waits for its window, which is known by the program's name. Throws
  // std::runtime_error when none appears.
  explicit App(std::vector<std::string> arguments);

  const std::string& Name() const { return name; }
  // The client area in root window pixels, once it has kept its place for a moment.
  cv::Rect ClientArea() const;

  // Where the frame's top left corner goes.
  void Move(int x, int y) const {
    Shell("xdotool windowmove " + window + " " + std::to_string(x) + " " + std::to_string(y));
  }
  void Raise() const { Shell("xdotool windowraise " + window); }
  void Minimise() const { Shell("xdotool windowminimize --sync " + window); }
  void Restore() const { Shell("xdotool windowmap --sync " + window); }
  // Makes the monitor of the client area's first corner deliver a frame: a dot appears there and goes.
  void Stir() const;

 private:
  std::string name;
  Program program;
  std::string window;
};

}  // namespace quillmark::test

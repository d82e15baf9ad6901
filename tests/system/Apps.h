// X programs to watch, their positions according to the X server, and shell commands that control them.
//
// Threading: the test's main thread.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "Programs.h"

namespace quillmark::test {

// Runs shell commands and returns their output without the final line feed; empty if they fail.
std::string Shell(const std::string& commands);

// An area of the screen, 8UC3 BGR; `area` in pixels of the root window, inside it.
cv::Mat Screenshot(const cv::Rect& area);

class App {
 public:
  // Starts the program and waits for the window with its name. Throws std::runtime_error when none appears.
  explicit App(std::vector<std::string> arguments);

  const std::string& Name() const { return name; }
  // The client area in pixels of the root window, once it has stopped moving.
  cv::Rect ClientArea() const;

  // Moves the frame's top left corner.
  void Move(int x, int y) const {
    Shell("xdotool windowmove " + window + " " + std::to_string(x) + " " + std::to_string(y));
  }
  void Raise() const { Shell("xdotool windowraise " + window); }
  void Minimise() const { Shell("xdotool windowminimize --sync " + window); }
  void Restore() const { Shell("xdotool windowmap --sync " + window); }
  // Makes the monitor at the client area's top left corner deliver a frame, by a dot that appears and
  // vanishes.
  void Stir() const;

 private:
  std::string name;
  Program program;
  std::string window;
};

}  // namespace quillmark::test

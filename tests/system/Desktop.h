// What a test needs of the desktop that programs under test show themselves on: a private one where the host
// can have it, else that of the session.
//
// Threading: the test's main thread, before it starts others.
#pragma once

#include <memory>
#include <string>

namespace quillmark::test {

// Takes the display away from this process and those it starts, where the host can do that.
void LeaveDisplay();

class Desktop {
 public:
  // Throws std::runtime_error when there is none to be had.
  Desktop();
  ~Desktop();
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  // Whether a box of this title is to be seen.
  bool ShowsBox(const std::string& title) const;
  // Answers the box as a user does who closes it with the Return key.
  void ConfirmBox(const std::string& title) const;

 private:
  struct Host;
  std::unique_ptr<Host> host;
};

}  // namespace quillmark::test

#include <stdexcept>

#include "support/TestDesktop.h"

namespace quillmark::test {

TestWindow::TestWindow(const std::string& utf8Title, int x, int y, int width, int height)
    : process(WINDOW_HOLDER) {
  std::string place;
  for (const int number : {x, y, width, height}) place += std::to_string(number) + " ";
  const std::string number = process.Ask("open " + place + utf8Title);
  if (number.empty() || number == "0") throw std::runtime_error("no window");
  window = reinterpret_cast<HWND>(static_cast<std::uintptr_t>(std::stoull(number)));
}

void TestWindow::Move(int x, int y) {
  Do("move " + std::to_string(x) + " " + std::to_string(y));
}

void TestWindow::Do(const std::string& what) {
  if (process.Ask(what) != "done") throw std::runtime_error("the window's process does not answer");
}

}  // namespace quillmark::test

// The process of a TestWindow on X11: executes one line of standard input at a time.
#include <iostream>
#include <sstream>
#include <string>

#include "support/XClient.h"

int main() {
  quillmark::test::XClient client;
  std::uint32_t window = 0;
  for (std::string line; std::getline(std::cin, line);) {
    std::istringstream words(line);
    std::string verb, title;
    int x = 0, y = 0, width = 0, height = 0;
    words >> verb;
    if (verb == "open") {
      words >> x >> y >> width >> height;
      std::getline(words >> std::ws, title);
      window = client.Show(x, y, width, height, title);
      std::cout << window << std::endl;
      continue;
    }
    if (verb == "move" && words >> x >> y) client.Move(window, x, y);
    if (verb == "raise") client.Raise(window);
    if (verb == "minimise") client.Iconify(window);
    if (verb == "restore") client.Map(window);
    if (verb == "close") client.Destroy(window);
    std::cout << "done" << std::endl;
  }
}

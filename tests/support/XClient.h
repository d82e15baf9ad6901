// An application with plain windows. When a call returns, the server has executed the request.
//
// Threading: one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct xcb_connection_t;

namespace quillmark::test {

class XClient {
 public:
  // Connects to DISPLAY. Throws std::runtime_error without a server.
  XClient();
  ~XClient();
  XClient(const XClient&) = delete;
  XClient& operator=(const XClient&) = delete;

  // Maps a top-level window with its title in _NET_WM_NAME and its client area at this place on the root
  // window, where a window manager leaves it.
  std::uint32_t Show(int x, int y, int width, int height, const std::string& utf8Title);
  // Maps a window that window managers ignore, like a menu.
  std::uint32_t ShowPopup(int x, int y, int width, int height);
  // Sets the title in WM_NAME only, with type STRING.
  void SetLegacyTitle(std::uint32_t window, const std::string& latin1Title);
  void SetTitle(std::uint32_t window, const std::string& utf8Title);
  void Move(std::uint32_t window, int x, int y);
  void Raise(std::uint32_t window);
  void Map(std::uint32_t window);
  void Unmap(std::uint32_t window);
  // Asks the window manager to iconify the window.
  void Iconify(std::uint32_t window);
  void Destroy(std::uint32_t window);
  bool HasProperty(std::uint32_t window, const std::string& property);
  // The pixels of an area of the root window, row by row: blue, green, red and a meaningless byte. Empty if
  // it cannot be read.
  std::vector<std::uint8_t> Pixels(int x, int y, int width, int height);
  // Returns when the server has executed all requests.
  void Sync();

 protected:
  xcb_connection_t* connection;
  std::uint32_t root = 0;

 private:
  std::uint32_t Create(int x, int y, int width, int height, bool popup);
  std::uint32_t Atom(const std::string& name);
  void SetText(std::uint32_t window, std::uint32_t property, std::uint32_t type, const std::string& text);
};

}  // namespace quillmark::test

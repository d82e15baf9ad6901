#include "support/PrivateDisplay.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>
#include <xcb/xcb.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

namespace quillmark::test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds kDeadline{20};

// Whether a window manager has named its check window on the root and that window exists.
bool WindowManagerRuns(xcb_connection_t* connection) {
  const xcb_window_t root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
  constexpr std::string_view kCheck = "_NET_SUPPORTING_WM_CHECK";
  const auto atom = xcb_intern_atom(connection, 0, kCheck.size(), kCheck.data());
  auto* atomReply = xcb_intern_atom_reply(connection, atom, nullptr);
  if (atomReply == nullptr) return false;
  const auto property = xcb_get_property(connection, 0, root, atomReply->atom, XCB_ATOM_WINDOW, 0, 1);
  std::free(atomReply);
  auto* value = xcb_get_property_reply(connection, property, nullptr);
  if (value == nullptr) return false;
  bool runs = false;
  if (xcb_get_property_value_length(value) == 4) {
    xcb_window_t window = 0;
    std::memcpy(&window, xcb_get_property_value(value), sizeof window);
    auto* geometry = xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr);
    runs = geometry != nullptr;
    std::free(geometry);
  }
  std::free(value);
  return runs;
}

// What the server writes to the descriptor once it takes connections: its number and a line feed.
std::string ReadDisplayNumber(int fd) {
  std::string text;
  const auto deadline = Clock::now() + kDeadline;
  while (text.empty() || text.back() != '\n') {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    pollfd ready{fd, POLLIN, 0};
    char byte = 0;
    if (left.count() <= 0 || poll(&ready, 1, static_cast<int>(left.count())) <= 0 ||
        read(fd, &byte, 1) <= 0) {
      throw std::runtime_error("Xvfb did not start");
    }
    text += byte;
  }
  text.pop_back();
  return text;
}

}  // namespace

PrivateDisplay::PrivateDisplay(int width, int height)
    : screen(std::to_string(width) + "x" + std::to_string(height) + "x24") {
  if (const char* outer = std::getenv("DISPLAY")) outerDisplay = outer;
  StartServer();
  setenv("DISPLAY", name.c_str(), 1);
}

PrivateDisplay::~PrivateDisplay() {
  windowManager.reset();
  server.reset();
  if (outerDisplay) {
    setenv("DISPLAY", outerDisplay->c_str(), 1);
  } else {
    unsetenv("DISPLAY");
  }
}

void PrivateDisplay::StartServer() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  // Only the writing end is the server's.
  fcntl(ends[1], F_SETFD, 0);
  std::vector<std::string> arguments{"Xvfb"};
  if (!name.empty()) arguments.push_back(name);
  arguments.insert(arguments.end(), {"-displayfd", std::to_string(ends[1]), "-screen", "0", screen,
                                     "-nolisten", "tcp", "-noreset"});
  try {
    server = std::make_unique<ChildProcess>(arguments);
    close(std::exchange(ends[1], -1));
    name = ":" + ReadDisplayNumber(ends[0]);
  } catch (...) {
    close(ends[0]);
    if (ends[1] >= 0) close(ends[1]);
    throw;
  }
  close(ends[0]);
}

void PrivateDisplay::StartWindowManager() {
  windowManager = std::make_unique<ChildProcess>(std::vector<std::string>{"openbox", "--sm-disable"});
  xcb_connection_t* connection = xcb_connect(name.c_str(), nullptr);
  const auto deadline = Clock::now() + kDeadline;
  bool runs = false;
  while (!xcb_connection_has_error(connection) && !(runs = WindowManagerRuns(connection)) &&
         Clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  xcb_disconnect(connection);
  if (!runs) throw std::runtime_error("openbox did not start");
}

void PrivateDisplay::EndWindowManager(int signal) {
  windowManager->End(signal);
}

void PrivateDisplay::EndServer(int signal) {
  server->End(signal);
  windowManager.reset();
}

void PrivateDisplay::RestartServer() {
  EndServer(SIGTERM);
  StartServer();
}

bool PrivateDisplay::Run(std::vector<std::string> arguments) {
  return ChildProcess(std::move(arguments)).Wait() == 0;
}

}  // namespace quillmark::test

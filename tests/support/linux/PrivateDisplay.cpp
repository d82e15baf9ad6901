#include "support/PrivateDisplay.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <stdexcept>
#include <thread>
#include <utility>

#include "support/Eventually.h"
#include "support/XClient.h"

namespace quillmark::test {
namespace {

using Clock = std::chrono::steady_clock;
constexpr auto kPatience = std::chrono::milliseconds(100);

// Whether a window manager takes a new window. While it starts it may miss one.
bool ManagesWindows(XClient& client) {
  const std::uint32_t window = client.Show(0, 0, 10, 10, "");
  bool manages = false;
  for (const auto deadline = Clock::now() + kPatience; !manages && Clock::now() < deadline;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    manages = client.HasProperty(window, "WM_STATE");
  }
  client.Destroy(window);
  return manages;
}

// The server writes its number and a line feed once it accepts connections.
std::string ReadDisplayNumber(int fd) {
  std::string number;
  for (char byte = 0; read(fd, &byte, 1) == 1;) {
    if (byte == '\n') return number;
    number += byte;
  }
  throw std::runtime_error("Xvfb did not start");
}

// The file that says which process owns a display's number.
std::string LockOf(const std::string& display) {
  return "/tmp/.X" + display.substr(1) + "-lock";
}

}  // namespace

PrivateDisplay::PrivateDisplay(int width, int height)
    : screen(std::to_string(width) + "x" + std::to_string(height) + "x24") {
  StartServer();
  nameVariable.emplace("DISPLAY", name);
}

PrivateDisplay::~PrivateDisplay() = default;

void PrivateDisplay::StartServer() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  // The server inherits only the writing end.
  fcntl(ends[1], F_SETFD, 0);
  std::vector<std::string> arguments{"Xvfb"};
  if (!name.empty()) {
    arguments.push_back(name);
    std::filesystem::remove(LockOf(name));
  }
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
  witness = std::make_unique<XClient>();
  if (!Eventually([&] { return ManagesWindows(*witness); }))
    throw std::runtime_error("openbox did not start");
}

void PrivateDisplay::EndServer(int signal) {
  if (server->Pid() != 0) ::kill(server->Pid(), signal);
  server->Wait();
  // Otherwise a server of another test takes the number, and this one cannot start again.
  std::ofstream(LockOf(name)) << std::setw(10) << getpid() << '\n';
  witness.reset();
  windowManager.reset();
}

void PrivateDisplay::RestartServer() {
  EndServer(SIGTERM);
  StartServer();
}

}  // namespace quillmark::test

// The worker's side of both rings, without an engine: it records commands and replies to heartbeats.
//
// Threading: one thread creates and destroys it; Taken may be called from any thread.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "ipc/CmdRingReader.h"
#include "ipc/HitRing.h"

namespace quillmark::test {

// Hits like a worker's, at (0, 2), (1, 2) and so on.
inline void WriteHits(int count, const std::wstring& name = L"hit") {
  for (int i = 0; i < count; ++i) WriteHit(name, i, 2, 30, 40, 0.5f, 0.25f, 1700000000123u);
}

class CommandTaker {
 public:
  CommandTaker() {
    EXPECT_TRUE(HitRing::Instance().EnsureInit());
    EXPECT_TRUE(reader.Init(0));
    reader.SetHandlers(
        [this](auto& target, auto& name, auto& path, auto x, auto y, auto w, auto h, float edge,
               float limit) {
          std::wostringstream line;
          line << L"spec " << target << L'|' << name << L'|' << path << L'|' << x << L',' << y << L',' << w
               << L',' << h << L'|' << edge << L'|' << limit;
          Note(line.str());
        },
        [this] { Note(L"clear"); }, [this](auto& name, auto&) { Note(L"remove " + name); });
    thread = std::thread([this] {
      while (!stop) {
        reader.Poll(0);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
      }
    });
  }
  ~CommandTaker() {
    stop = true;
    thread.join();
  }

  std::vector<std::wstring> Taken() {
    const std::lock_guard lock(mutex);
    return taken;
  }

 private:
  void Note(const std::wstring& line) {
    const std::lock_guard lock(mutex);
    taken.push_back(line);
  }

  CmdRingReader reader;
  std::mutex mutex;
  std::vector<std::wstring> taken;
  std::atomic<bool> stop{false};
  std::thread thread;
};

}  // namespace quillmark::test

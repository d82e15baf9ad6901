// Polls write-protected pages: without commands, a poll must not write to the shared header.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <fstream>
#include <set>
#include <string>

#include "ipc/CmdRingReader.h"
#include "unit/ipc/RingFixture.h"

namespace quillmark::test {
namespace {

// The lines of /proc/self/maps that name the ring.
std::set<std::string> MappingsOfTheRing() {
  std::ifstream maps("/proc/self/maps");
  std::set<std::string> found;
  for (std::string line; std::getline(maps, line);) {
    if (line.find("CmdRingMMF") != line.npos) found.insert(line);
  }
  return found;
}

TEST(IdlePollTest, WritesNothing) {
  const PrivateSession session;
  RawController controller;
  const std::set<std::string> before = MappingsOfTheRing();
  CmdRingReader reader;
  ASSERT_TRUE(reader.Init(0));
  int mappings = 0;
  for (const std::string& line : MappingsOfTheRing()) {
    if (before.contains(line)) continue;
    ++mappings;
    void* const page = reinterpret_cast<void*>(std::stoull(line, nullptr, 16));
    ASSERT_EQ(::mprotect(page, RawController::CommandBytes, PROT_READ), 0);
  }
  ASSERT_EQ(mappings, 1);
  reader.Poll(0);  // ends the process if it writes
  EXPECT_EQ(controller.PendingCommands(), 0u);
}

}  // namespace
}  // namespace quillmark::test

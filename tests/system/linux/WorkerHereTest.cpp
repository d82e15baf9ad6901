// What the programs do in ways of this host alone.
#include <gtest/gtest.h>

#include <csignal>

#include "Desktop.h"
#include "Programs.h"
#include "support/PrivateSession.h"

namespace quillmark::test {
namespace {

class WorkerHere : public testing::Test {
 protected:
  WorkerHere() { LeaveDisplay(); }
  const PrivateSession session;
};

TEST_F(WorkerHere, SecondInstanceIsRefusedWithoutADisplayToo) {
  const Worker first;
  ASSERT_TRUE(Answers());
  Worker second;
  ASSERT_TRUE(Eventually([&] { return second.Ended(); }));
  EXPECT_EQ(second.Wait(), 2);
  EXPECT_NE(second.Err().find("Another instance is already running."), std::string::npos) << second.Err();
  EXPECT_TRUE(Answers());
}

TEST_F(WorkerHere, InterruptedWatchEndsInOrder) {
  const Worker worker;
  Program watch(ControlCommand({"watch"}));
  const auto watched = [&] { return Answers("seen") && watch.Out().find("seen") != std::string::npos; };
  ASSERT_TRUE(Eventually(watched)) << watch.Err();
  ::kill(watch.Pid(), SIGINT);
  EXPECT_EQ(watch.Wait(), 0);
}

TEST_F(WorkerHere, ArgumentThatIsNoUtf8IsRefused) {
  const Outcome outcome = Control({"remove", "\xff"});
  EXPECT_EQ(outcome.code, 2);
  EXPECT_FALSE(outcome.err.empty());
}

}  // namespace
}  // namespace quillmark::test

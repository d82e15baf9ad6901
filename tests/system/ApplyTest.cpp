// quillmarkctl apply with a real worker.
#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>

#include "Desktop.h"
#include "Programs.h"
#include "support/PrivateSession.h"

namespace quillmark::test {
namespace {

class Apply : public testing::Test {
 protected:
  Apply() {
    LeaveDisplay();
    WriteImage(folder.Path() / "a.png");
    WriteImage(folder.Path() / "b.png");
    StartWorker();
  }

  void StartWorker() {
    worker.reset();
    worker = std::make_unique<Worker>();
    ASSERT_TRUE(Eventually([] { return Control({"status"}).code == 0; }));
  }
  std::string File() const { return (folder.Path() / "specs.toml").string(); }
  void Write(const std::string& text) const { std::ofstream(File()) << text; }
  static std::string Spec(const std::string& name, const std::string& more = {}) {
    return "[[spec]]\nname = \"" + name + "\"\npath = \"" + name + ".png\"\n" + more;
  }
  // Runs apply and returns the last line of its output.
  std::string Summary(int expectedCode = 0, std::vector<std::string> more = {}) {
    std::vector<std::string> arguments{"apply", File(), "--timeout=60"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    const Outcome outcome = Control(arguments);
    EXPECT_EQ(outcome.code, expectedCode) << outcome.out << outcome.err;
    said = outcome.out + outcome.err;
    return outcome.out.empty() ? "" : LinesOf(outcome.out).back();
  }
  bool WorkerLogs(const std::string& text) const {
    return Eventually([&] { return debugger.Of(*worker).find(text) != std::string::npos; });
  }

  const PrivateSession session;
  const DebuggerOutput debugger;
  const TempFolder folder;
  const std::string defaults = "[defaults]\ntarget = \"t\"\nregion = [1, 2, 30, 40]\n";
  std::unique_ptr<Worker> worker;
  std::string said;
};

TEST_F(Apply, SendsOnlyWhatHasChanged) {
  Write(defaults + Spec("a") + Spec("b", "mode = \"hs\"\n"));
  EXPECT_EQ(Summary(0, {"--dry-run"}), "2 added, 0 replaced, 0 removed, 0 unchanged, 0 refused");
  EXPECT_EQ(Summary(), "2 added, 0 replaced, 0 removed, 0 unchanged, 0 refused");
  EXPECT_TRUE(WorkerLogs("[Spec][ADD] name=b path=" + (folder.Path() / "b.png").string() + " (count=2)"));
  EXPECT_EQ(Summary(), "0 added, 0 replaced, 0 removed, 2 unchanged, 0 refused");

  std::ofstream(folder.Path() / "a.png", std::ios::app) << "further bytes";
  Write(defaults + Spec("a") + Spec("b", "mode = \"bgr\"\n"));
  EXPECT_EQ(Summary(), "0 added, 2 replaced, 0 removed, 0 unchanged, 0 refused");
  EXPECT_NE(said.find("replaced  a: its image has changed"), std::string::npos) << said;

  Write(defaults + Spec("b", "mode = \"bgr\"\n"));
  EXPECT_EQ(Summary(), "0 added, 0 replaced, 1 removed, 1 unchanged, 0 refused");

  worker.reset();
  EXPECT_EQ(Control({"apply", File()}).code, 1);
  StartWorker();
  EXPECT_EQ(Summary(), "1 added, 0 replaced, 0 removed, 0 unchanged, 0 refused") << "a new worker has none";
}

TEST_F(Apply, InvalidEntriesAreReportedAndTheOthersSent) {
  Write(defaults + Spec("a"));
  Summary();
  // The image library throws.
  std::ofstream(folder.Path() / "wide.png") << "P5 4000000 1 255\n";
  Write(defaults + Spec("a", "tresh = 1\n") + Spec("b") + Spec("b") + Spec("missing") + Spec("wide") +
        Spec("a-name-of-more-than-31-units-in-all") + "[[spec]]\npath = \"b.png\"\n");
  EXPECT_EQ(Summary(2), "1 added, 0 replaced, 0 removed, 0 unchanged, 6 refused");
  for (const char* text :
       {"a: line 4: unknown key 'tresh'", "b: line 11: the name is already used in line 8",
        "missing: line 14: image", "wide: line 17: image", "UTF-16 units", "spec 7: line"}) {
    EXPECT_NE(said.find(text), std::string::npos) << text << '\n' << said;
  }
  Write(defaults + "[[spec]\n");
  Summary(2);
  EXPECT_NE(said.find("specs.toml, line 4"), std::string::npos) << said;
  // The previous versions are still active.
  Write(defaults + Spec("a") + Spec("b"));
  EXPECT_EQ(Summary(), "0 added, 0 replaced, 0 removed, 2 unchanged, 0 refused");
}

TEST_F(Apply, WatchReactsToTheFileItsImagesAndTheWorker) {
  Write(defaults + Spec("a"));
  const Program watch(ControlCommand({"apply", "--watch", File(), "--timeout=60"}));
  ASSERT_TRUE(watch.Says("added  a\n")) << watch.Err();
  Write(defaults + Spec("a") + Spec("b"));
  ASSERT_TRUE(watch.Says("added  b\n")) << watch.Out() << watch.Err();
  std::ofstream(folder.Path() / "b.png", std::ios::app) << "further bytes";
  ASSERT_TRUE(watch.Says("replaced  b: its image")) << watch.Out() << watch.Err();
  StartWorker();
  EXPECT_TRUE(watch.Says("added  a\n", 2) && watch.Says("added  b\n", 2)) << watch.Out() << watch.Err();
}

}  // namespace
}  // namespace quillmark::test

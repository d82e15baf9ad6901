// quillmarkctl doctor in prepared sessions and on prepared screens.
#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "Programs.h"
#include "support/PrivateDisplay.h"
#include "support/PrivateSession.h"
#include "support/XClient.h"

namespace quillmark::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

class Doctor : public testing::Test {
 protected:
  // The findings.
  std::vector<Json> Examine(std::vector<std::string> arguments = {}, const std::string& timeout = "60") {
    arguments.insert(arguments.begin(), {"doctor", "--json", "--timeout=" + timeout});
    const Outcome outcome = Control(std::move(arguments));
    code = outcome.code;
    std::vector<Json> findings;
    for (const std::string& line : LinesOf(outcome.out)) findings.push_back(Json::parse(line));
    return findings;
  }
  static std::vector<Json> About(const std::string& topic, std::vector<Json> findings) {
    std::erase_if(findings, [&](const Json& finding) { return finding.value("topic", "") != topic; });
    return findings;
  }
  // The last finding of a topic; an empty object without one.
  static Json Last(const std::string& topic, const std::vector<Json>& findings) {
    const std::vector<Json> about = About(topic, findings);
    return about.empty() ? Json::object() : about.back();
  }

  const PrivateSession session;
  int code = -1;
};

class DoctorOnScreen : public Doctor {
 protected:
  const PrivateDisplay display{800, 600};
  XClient client;
};

TEST_F(DoctorOnScreen, LargestMatchingWindowIsChosenAndItsVisibleShareMeasured) {
  client.Show(0, 0, 100, 100, "A small Sheet");
  client.Show(500, 400, 400, 100, "the large sheet");
  client.Show(500, 400, 100, 50, "cover");
  client.Unmap(client.Show(0, 0, 700, 500, "a hidden sheet"));

  const std::vector<Json> target = About("target", Examine({"--target", "SHEET"}));
  EXPECT_EQ(code, 0);
  ASSERT_EQ(target.size(), 2u);
  const Json &matches = target[0], &taken = target[1];
  EXPECT_EQ(matches["level"], "warning") << matches;
  ASSERT_EQ(matches["facts"]["candidates"].size(), 3u) << matches;
  EXPECT_EQ(matches["facts"]["candidates"][0]["visible"], false);
  EXPECT_EQ(matches["facts"]["candidates"][1]["title"], "the large sheet");
  EXPECT_EQ(matches["facts"]["candidates"][1]["taken"], true);
  EXPECT_EQ(matches["facts"]["candidates"][2]["taken"], false);
  EXPECT_EQ(taken["level"], "warning");
  EXPECT_EQ(taken["facts"]["client"], Json({{"x", 500}, {"y", 400}, {"w", 400}, {"h", 100}}));
  EXPECT_DOUBLE_EQ(taken["facts"]["coveredShare"], 0.125);
  EXPECT_DOUBLE_EQ(taken["facts"]["offScreenShare"], 0.25);
  EXPECT_DOUBLE_EQ(taken["facts"]["visibleShare"], 0.625);
}

TEST_F(DoctorOnScreen, MissingTargetIsExplainedAndEachMonitorCaptured) {
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "RIGHT", "400/100x600/100+400+0", "screen"}));
  ASSERT_TRUE(PrivateDisplay::Run({"xrandr", "--setmonitor", "*LEFT", "400/100x600/100+0+0", "none"}));
  client.Show(0, 0, 100, 100, "sheet");
  const std::vector<Json> findings = Examine({"--target", "sheet.Exe"});
  EXPECT_EQ(code, 1);
  EXPECT_EQ(Last("windows", findings)["facts"]["windows"].size(), 1u);
  EXPECT_NE(Last("target", findings)["remedy"].dump().find(".EXE"), std::string::npos);
  const std::vector<Json> monitors = About("monitor", findings);
  ASSERT_EQ(monitors.size(), 2u);
  for (std::size_t i = 0; i < 2; ++i) {
    const Json& facts = monitors[i]["facts"];
    EXPECT_EQ(facts["number"], i + 1);
    EXPECT_EQ(facts["captured"], true);
    EXPECT_EQ(facts["primary"], facts["device"] == "LEFT");
    EXPECT_EQ(monitors[i]["level"], facts["device"] == "LEFT" ? "ok" : "warning");
  }
}

TEST_F(Doctor, WorkerIsReportedMissingReplyingOrStopped) {
  EXPECT_EQ(Last("worker", Examine())["facts"]["running"], false);
  const Worker worker;
  ASSERT_EQ(Control({"ping", "--timeout=60"}).code, 0) << worker.Err();
  const Json answered = Last("worker", Examine());
  EXPECT_EQ(answered["level"], "ok") << answered;
  EXPECT_EQ(answered["facts"]["answers"], true);
  ::kill(worker.Pid(), SIGSTOP);
  const Json stopped = Last("worker", Examine({}, "0.3"));
  ::kill(worker.Pid(), SIGCONT);
  EXPECT_EQ(stopped["level"], "problem") << stopped;
}

TEST_F(Doctor, UnreachableDisplayIsAProblem) {
  ::setenv("DISPLAY", ":4711", 1);
  EXPECT_EQ(Last("display", Examine())["level"], "problem");
  EXPECT_EQ(code, 1);
}

TEST_F(Doctor, UnusableFolderIsAProblemWithItsFix) {
  const fs::path product = session.Base() / "quillmark";
  fs::create_directory(product);
  fs::permissions(product, fs::perms(0755));
  EXPECT_EQ(Last("folder", Examine())["remedy"], "chmod 700 " + product.string());
  fs::remove(product);
  fs::create_symlink("/tmp", product);
  EXPECT_EQ(Last("folder", Examine())["level"], "problem");
  EXPECT_EQ(code, 1);
}

}  // namespace
}  // namespace quillmark::test

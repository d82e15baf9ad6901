#include "specs/SpecStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <filesystem>
#include <functional>
#include <limits>
#include <opencv2/core/utility.hpp>
#include <system_error>
#include <thread>

#include "TemplateFolder.h"
#include "log/AsyncLogger.h"
#include "support/DebugOutputCapture.h"

namespace quillmark {
namespace {

using test::Encoded;
using test::TemplateFolder;
using testing::ElementsAre;

class Store : public testing::Test {
 protected:
  void SetUp() override {
    cv::setNumThreads(1);  // as the process does; OpenCV's own threads are opaque to the thread sanitizer
    ClearSpecs(L"test");
    (void)Logged();
    image = folder.WriteImage("a.png", cv::Mat(8, 8, CV_8UC3, cv::Scalar(10, 200, 10)));
    shown = folder.Utf8("a.png");
  }
  void TearDown() override { ClearSpecs(L"test"); }

  void Load(const std::wstring& name, float threshold = -1.0f) { LoadFrom(image, name, threshold); }
  void LoadFrom(const std::wstring& path, const std::wstring& name, float threshold = -1.0f) {
    LoadSpec(L"window", name, path, 1, -2, 30, 40, 0.5f, threshold);
  }

  static std::vector<TemplateSpec> Snapshot() {
    const std::lock_guard lock(Specs().specMutex);
    return Specs().specs;
  }
  static std::vector<std::wstring> Names() {
    std::vector<std::wstring> names;
    for (const auto& spec : Snapshot()) names.push_back(spec.name);
    return names;
  }

  // The store's log lines since the last call, from their tag on.
  std::vector<std::string> Logged() {
    const std::string mark = "mark " + std::to_string(++marks);
    AsyncLogger::Instance().Log(std::wstring(mark.begin(), mark.end()));
    EXPECT_TRUE(output.WaitForLine(mark));
    std::vector<std::string> fresh;
    const auto lines = output.Lines();
    for (; seen < lines.size(); ++seen) {
      const auto tag = lines[seen].find("[Spec]");
      if (tag != std::string::npos) fresh.push_back(lines[seen].substr(tag));
    }
    return fresh;
  }

  test::DebugOutputCapture output;
  TemplateFolder folder;
  std::wstring image;
  std::string shown;
  int marks = 0;
  std::size_t seen = 0;
};

TEST_F(Store, FillsASpecFromTheCommand) {
  Load(L"btn:mode=h:mon=primary:RED", 0.25f);
  const auto specs = Snapshot();
  ASSERT_EQ(specs.size(), 1u);
  const TemplateSpec& spec = specs[0];
  EXPECT_EQ(spec.name, L"btn");
  EXPECT_EQ(spec.target, L"window");
  EXPECT_EQ(spec.path, image);
  EXPECT_EQ(spec.roi, cv::Rect(1, -2, 30, 40));
  EXPECT_EQ(spec.edgeMin, 0.5);
  EXPECT_EQ(spec.maxDiff, 0.25);
  EXPECT_EQ(spec.mode, MatchMode::H);
  EXPECT_EQ(spec.monitorPin, -1);
  EXPECT_TRUE(spec.colorGate);
  EXPECT_EQ(spec.tmplBgr.size(), cv::Size(8, 8));
  EXPECT_FALSE(spec.targetValid);
  Load(L"btn:mon=0:mon=x");  // no pin: nothing is logged
  EXPECT_THAT(Logged(), ElementsAre("[Spec][MON] name=btn:mode=h:mon=primary:RED hint=-1",
                                    "[Spec][ADD] name=btn path=" + shown + " (count=1)",
                                    "[Spec][REPLACE] name=btn path=" + shown + " (count=1)"));
}

TEST_F(Store, ReadsTheThresholdAsScoreOrDifference) {
  const struct {
    float threshold;
    double minScore, maxDiff;
  } cases[] = {{0.8f, static_cast<double>(0.8f), 0.1},
               {1.0f, 1.0, 0.1},
               {0.5f, 0.0, 0.5},
               {std::nextafter(0.5f, 1.0f), std::nextafter(0.5f, 1.0f), 0.1},
               {0.0f, 0.0, 0.0},
               {-1.0f, 0.0, 0.1},
               {1.5f, 0.0, 0.1},
               {std::numeric_limits<float>::quiet_NaN(), 0.0, 0.1}};
  for (const auto& c : cases) {
    Load(L"btn", c.threshold);
    const TemplateSpec spec = Snapshot().at(0);
    EXPECT_EQ(spec.minScore, c.minScore) << c.threshold;
    EXPECT_EQ(spec.maxDiff, c.maxDiff) << c.threshold;
  }
}

TEST_F(Store, ReplacesInPlaceAndKeepsTheOrder) {
  for (const wchar_t* name : {L"one", L"two:ms5", L"Two", L"three"}) Load(name);
  Load(L"two:ms90");
  EXPECT_THAT(Names(), ElementsAre(L"one", L"two", L"Two", L"three"));
  EXPECT_EQ(Snapshot()[1].intervalMs, 90);
  EXPECT_EQ(Logged().back(), "[Spec][REPLACE] name=two path=" + shown + " (count=4)");
}

TEST_F(Store, RemovesExactNamesAndClearsEvenWhenEmpty) {
  for (const wchar_t* name : {L"one", L"two", L"three"}) Load(name);
  (void)Logged();
  RemoveSpec(L"ONE");
  RemoveSpec(L"on");
  RemoveSpec(L"two");
  RemoveSpec(L"two");
  EXPECT_THAT(Names(), ElementsAre(L"one", L"three"));
  EXPECT_THAT(Logged(), ElementsAre("[Spec][REMOVE-NOTFOUND] name=ONE", "[Spec][REMOVE-NOTFOUND] name=on",
                                    "[Spec][REMOVE] name=two (count=2)", "[Spec][REMOVE-NOTFOUND] name=two"));
  for (int i = 0; i < 2; ++i) {
    ClearSpecs(L"cmd");
    EXPECT_THAT(Names(), ElementsAre());
    EXPECT_THAT(Logged(), ElementsAre("[Spec][CLEAR] reason=cmd (count=0)"));
  }
}

TEST_F(Store, CountsItsChangesAndNumbersEachSpecOnce) {
  std::uint64_t changes = Specs().changes, revision = 0;
  const std::function<void()> steps[] = {[&] { Load(L"a"); },         [&] { Load(L"a:ms5"); },
                                         [&] { RemoveSpec(L"a"); },   [&] { Load(L"a"); },
                                         [&] { ClearSpecs(L"cmd"); }, [&] { Load(L"a"); }};
  for (const auto& step : steps) {
    step();
    EXPECT_EQ(Specs().changes, ++changes);
    if (Snapshot().empty()) continue;
    EXPECT_GT(Snapshot()[0].revision, revision);
    revision = Snapshot()[0].revision;
  }
  Load(L"b");
  EXPECT_EQ(Snapshot()[0].revision, revision) << "another spec's";
}

TEST_F(Store, KeepsTheOldSpecWhenTheImageIsUnreadable) {
  Load(L"btn:ms5");
  (void)Logged();
  LoadFrom(L"/no/such/\uD55C.png", L"btn:ms7");
  LoadFrom(L"/dev/zero", L"other");
  EXPECT_THAT(Logged(), ElementsAre());
  EXPECT_THAT(Names(), ElementsAre(L"btn"));
  EXPECT_EQ(Snapshot()[0].intervalMs, 5);
}

TEST_F(Store, LogsAnImageThatVanishedBeforeTheSecondReading) {
  Load(L"btn");
  (void)Logged();
  TemplateSpec spec = Snapshot()[0];
  spec.name = L"btn:ms9";
  spec.path = folder.Path("sub/../gone.png");
  AddOrReplaceSpec(spec);
  EXPECT_EQ(Snapshot().at(0).intervalMs, 0);
  std::filesystem::create_directory(folder.Native("sub"));
  EXPECT_THAT(Logged(),
              ElementsAre("[Spec][FAIL] name=btn:ms9 path=" + folder.Utf8("gone.png") + " (Load failed)"));
}

TEST_F(Store, LogsAnExceptionInOneLineAndKeepsItsSpecs) {
  Load(L"btn");
  (void)Logged();
  const std::wstring deep = folder.Write("deep.png", Encoded(cv::Mat(8, 8, CV_16UC1, cv::Scalar(9))));
  EXPECT_THROW(LoadFrom(deep, L"btn:ms5"), cv::Exception);
  EXPECT_THROW(LoadFrom(L"/no/\xDC00.png", L"other"), std::system_error);
  EXPECT_THAT(Logged(),
              ElementsAre(testing::AllOf(testing::StartsWith("[Spec][ERROR] name=btn:ms5 path="),
                                         testing::HasSubstr("deep.png (OpenCV"), testing::EndsWith(")")),
                          testing::AllOf(testing::StartsWith("[Spec][ERROR] name=other path=/no/"),
                                         testing::HasSubstr("not valid UTF-16"))));
  EXPECT_THAT(Names(), ElementsAre(L"btn"));
  EXPECT_EQ(Snapshot()[0].intervalMs, 0);
}

TEST_F(Store, ReadersSeeWholeSpecsWhileItChanges) {
  const std::wstring large = folder.WriteImage("b.png", cv::Mat::zeros(9, 12, CV_8UC3));
  std::atomic<bool> done = false;
  std::atomic<int> checked = 0;
  std::thread reader([&] {
    while (!done || checked < 200) {
      for (const auto& spec : Snapshot()) {
        EXPECT_EQ(spec.tmplBgr.size(), spec.path == large ? cv::Size(12, 9) : cv::Size(8, 8));
        EXPECT_EQ(spec.intervalMs, spec.path == large ? 7 : 5);
        ++checked;
      }
    }
  });
  for (int round = 0; round < 200; ++round) {
    Load(L"one:ms5");
    LoadFrom(large, L"one:ms7");
    LoadFrom(large, L"two:ms7");
    if (round % 3 == 0) RemoveSpec(L"one");
  }
  done = true;
  reader.join();
}

TEST(DisplayPath, IsCanonical) {
  const TemplateFolder folder;
  EXPECT_EQ(DisplayPath(folder.Path("./x/../\xED\x95\x9C.png")), folder.Path("\xED\x95\x9C.png"));
  EXPECT_EQ(DisplayPath(L""), L"");
}

}  // namespace
}  // namespace quillmark

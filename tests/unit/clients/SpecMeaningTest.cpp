// What a client's typed spec becomes in the worker's own store: the two sides agree on what it means.
#include <gtest/gtest.h>

#include <mutex>
#include <opencv2/core/utility.hpp>
#include <opencv2/imgcodecs.hpp>

#include "client/Spec.h"
#include "specs/SpecStore.h"
#include "support/TempFolder.h"

namespace quillmark::test {
namespace {

using client::Mode;
using client::Preset;
using client::Spec;

// As the worker has it; what is not given is what it does unasked.
struct Meaning {
  double maxDiff = 0.1, minScore = 0.0;
  MatchMode mode = MatchMode::Gray;
  int intervalMs = 0, frameDivisor = 1, monitorPin = 0;
  bool redHint = false, colorGate = false;
  bool operator==(const Meaning&) const = default;
};

TEST(SpecMeaning, EachFieldArrivesAsWhatItIsCalled) {
  cv::setNumThreads(1);
  const TempFolder folder;
  const std::string path = (folder.Path() / "a.png").string();
  cv::imwrite(path, cv::Mat(8, 8, CV_8UC3, cv::Scalar(10, 200, 10)));
  const struct {
    Spec sent;
    Meaning received;
  } cases[] = {
      {{}, {}},
      {{.maxDifference = 0.0}, {.maxDiff = 0.0}},
      {{.maxDifference = 0.5}, {.maxDiff = 0.5}},
      {{.maxDifference = 0.75}, {.maxDiff = 0.75}},
      {{.minScore = 0.75}, {.minScore = 0.75}},
      {{.maxDifference = 0.25, .minScore = 0.75}, {.maxDiff = 0.25, .minScore = 0.75}},
      {{.preset = Preset::Fast}, {.maxDiff = 0.2, .mode = MatchMode::Bgr, .intervalMs = 20}},
      {{.maxDifference = 0.125, .mode = Mode::Gray, .preset = Preset::Fast, .intervalMs = 7},
       {.maxDiff = 0.125, .intervalMs = 7}},
      {{.maxDifference = 0.5, .minScore = 0.75, .mode = Mode::S, .preset = Preset::Strict},
       {.maxDiff = 0.5, .minScore = 0.75, .mode = MatchMode::S, .intervalMs = 200, .colorGate = true}},
      {{.mode = Mode::Bgr}, {.mode = MatchMode::Bgr}},
      {{.mode = Mode::H}, {.mode = MatchMode::H}},
      {{.mode = Mode::HS, .monitor = -1}, {.mode = MatchMode::HS, .monitorPin = -1}},
      {{.red = true, .monitor = 3}, {.monitorPin = 3, .redHint = true, .colorGate = true}},
      {{.everyNthFrame = 2}, {.frameDivisor = 2}},
      {{.everyNthFrame = 15}, {.frameDivisor = 15}},
      {{.everyNthFrame = 30}, {.frameDivisor = 30}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    Spec sent = c.sent;
    sent.target = "t";
    sent.name = "base";
    sent.path = path;
    sent.width = sent.height = 10;
    const client::Command command = client::CommandFor(sent);
    LoadSpec(command.target, command.name, command.path, command.roiX, command.roiY, command.roiW,
             command.roiH, command.edgeMin, command.threshold);
    const std::lock_guard lock(Specs().specMutex);
    ASSERT_EQ(Specs().specs.size(), 1u) << "they replace each other";
    const TemplateSpec& spec = Specs().specs[0];
    const Meaning received{spec.maxDiff,      spec.minScore,   spec.mode,    spec.intervalMs,
                           spec.frameDivisor, spec.monitorPin, spec.redHint, spec.colorGate};
    EXPECT_EQ(received, c.received);
  }
}

}  // namespace
}  // namespace quillmark::test

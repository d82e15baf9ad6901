#include "capture/CaptureRetry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace quillmark {
namespace {

using Times = std::vector<std::int64_t>;

// The fate of each capture in turn: 'x' it cannot be opened, 'l' it is lost before its first frame, 'f' it is
// lost after one frame. The last letter counts for all later ones.
TEST(CaptureRetry, BacksOffUntilAFrameOrADisplayChange) {
  const struct {
    std::string fates;
    std::int64_t displayChangeMs;
    Times opened;
    int reports;
  } table[] = {
      {"x", -1, {0, 20, 120, 320, 720, 1520, 2520, 3520, 4520}, 0},
      {"l", -1, {0, 200, 500, 900, 1500, 2500, 3700, 4900}, 8},
      {"fffx", -1, {0, 220, 440, 660, 680, 780, 980, 1380, 2180, 3180, 4180}, 3},
      {"xxxxfx", -1, {0, 20, 120, 320, 720, 940, 960, 1060, 1260, 1660, 2460, 3460, 4460}, 1},
      {"x", 1000, {0, 20, 120, 320, 720, 1000, 1020, 1120, 1320, 1720, 2520, 3520, 4520}, 0},
      {"lx", 100, {0, 200, 300, 500, 900, 1700, 2700, 3700, 4700}, 1},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(row.fates + " " + std::to_string(row.displayChangeMs));
    CaptureRetry retry;
    Times opened;
    int reports = 0;
    bool open = false, hasFrame = false;
    for (std::int64_t now = 0; now < 5000; now += 20) {
      if (now == row.displayChangeMs) retry.OnDisplayChange();
      if (open && retry.MustDrop(now)) {
        retry.OnDropped(now);
        open = false;
      }
      if (!open) {
        if (!retry.MayOpen(now)) continue;
        const char fate = row.fates[std::min(opened.size(), row.fates.size() - 1)];
        opened.push_back(now);
        if (fate == 'x') {
          retry.OnOpenFailed(now);
          continue;
        }
        retry.OnOpened();
        open = true;
        hasFrame = fate == 'f';
      }
      const HRESULT result = std::exchange(hasFrame, false) ? S_OK : DXGI_ERROR_ACCESS_LOST;
      if (retry.OnOutcome(CaptureOutcome::Of(result), now)) ++reports;
    }
    EXPECT_EQ(opened, row.opened);
    EXPECT_EQ(reports, row.reports);
  }
}

TEST(CaptureRetry, KeepsACaptureThatOnlyTimesOut) {
  CaptureRetry retry;
  retry.OnOpened();
  for (std::int64_t now = 0; now < 5000; now += 33) {
    EXPECT_FALSE(retry.OnOutcome(CaptureOutcome::Of(DXGI_ERROR_WAIT_TIMEOUT), now));
    EXPECT_FALSE(retry.MustDrop(now));
  }
}

}  // namespace
}  // namespace quillmark

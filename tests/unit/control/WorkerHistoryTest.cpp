#include <gtest/gtest.h>

#include "client/WorkerProbe.h"

namespace quillmark::client {
namespace {

TEST(WorkerHistory, NoticesAReplacementByItsIdentity) {
  struct Look {
    WorkerSight sight;
    bool gone, started;
  };
  WorkerHistory history({.running = false, .identity = 0});
  for (const Look& look : {Look{{true, 0}, false, true},   // not yet identified
                           Look{{true, 7}, false, false},  // the same worker
                           Look{{true, 0}, false, false},  // its identity cannot be read for a moment
                           Look{{true, 8}, false, true},   // another one, its predecessor's end unseen
                           Look{{false, 0}, true, false}, Look{{true, 8}, false, true}}) {
    const WorkerNews news = history.Add(look.sight);
    EXPECT_EQ(news.gone, look.gone) << look.sight.identity;
    EXPECT_EQ(news.started, look.started) << look.sight.identity;
  }
}

}  // namespace
}  // namespace quillmark::client

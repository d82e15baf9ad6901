#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "specs/SpecOptions.h"

namespace quillmark {
namespace {

// What a name sets. The defaults are a spec's.
struct Meaning {
  int intervalMs = 0;
  MatchMode mode = MatchMode::Gray;
  double maxDiff = 0.1;
  int monitorPin = 0, frameDivisor = 1;
  bool redHint = false, colorGate = false;
  int chromaChannel = 0;
  double chromaMin = 0.88;
  bool operator==(const Meaning&) const = default;
};

struct Case {
  std::vector<const wchar_t*> names;
  const wchar_t* left;
  Meaning meaning{};
};

void Expect(const std::vector<Case>& cases, void (*apply)(TemplateSpec&)) {
  for (const auto& [names, left, meaning] : cases) {
    for (const wchar_t* name : names) {
      TemplateSpec s;
      s.name = name;
      apply(s);
      EXPECT_EQ(s.name, left) << testing::PrintToString(std::wstring(name));
      EXPECT_EQ((Meaning{s.intervalMs, s.mode, s.maxDiff, s.monitorPin, s.frameDivisor, s.redHint,
                         s.colorGate, s.chromaChannel, s.chromaMin}),
                meaning)
          << testing::PrintToString(std::wstring(name));
    }
  }
}

TEST(NameSuffix, IsAppliedAndCutOffTheName) {
  Expect({{{L""}, L""},
          {{L"btn", L"btn:GRAY", L"btn:FPS100", L"btn:FPS99999999999999999999", L"btn:FPS-5", L"btn:FPS",
            L"btn:FPSx", L"btn:MS-30", L"btn:MS5"},
           L"btn"},
          {{L"btn:H"}, L"btn", {.mode = MatchMode::H}},
          {{L":H"}, L"", {.mode = MatchMode::H}},
          {{L"btn:HS"}, L"btn", {.mode = MatchMode::HS}},
          {{L"btn:BGR"}, L"btn", {.mode = MatchMode::Bgr}},
          {{L"btn:S"}, L"btn", {.mode = MatchMode::S}},
          {{L"btn:RED"}, L"btn", {.redHint = true}},
          {{L"btn:FPS10"}, L"btn", {.frameDivisor = 3}},
          {{L"btn:FPS20"}, L"btn", {.frameDivisor = 2}},
          {{L"btn:FPS1"}, L"btn", {.frameDivisor = 30}},
          {{L"btn:FPS7"}, L"btn", {.frameDivisor = 4}},
          {{L"btn:MS250"}, L"btn", {.intervalMs = 250}},
          {{L"btn:MS +42"}, L"btn", {.intervalMs = 42}},
          {{L"btn:MS12abc"}, L"btn", {.intervalMs = 12}},
          {{L"btn:MS4294967297"}, L"btn", {.intervalMs = 2147483647}},
          {{L"btn:MS50"}, L"btn", {.intervalMs = 50}},
          {{L"btn:MS70:HS"}, L"btn", {.intervalMs = 70}},
          {{L"btn:h"}, L"btn:h"},
          {{L"btn:REDS"}, L"btn:REDS"},
          {{L"btn:HS:ms5"}, L"btn:HS:ms5"},
          {{L"a:b:GRAY"}, L"a:b:GRAY"},
          {{L"btn:"}, L"btn:"}},
         &ApplyNameSuffix);
}

TEST(NameOptions, AreAppliedFromLeftToRight) {
  Expect({{{L"btn", L"btn:", L"btn:unknown", L"btn:h", L"btn:ms:ms-3:msx:ms0", L"btn:ms0x10:ms+ 5",
            L"btn:ms2147483648", L"btn:fps0", L"btn:fps-5", L"btn:sq=1", L"btn:sq=0",
            L"btn:sq=nan:sq=inf:sq=-0.2:sq=1e999", L"btn:sq=", L"btn:mode=bgr:mode=gray",
            L"btn:mon=0:mon=x:mon=-1", L"btn:strictly:fast "},
           L"btn"},
          {{L"btn::ms5:"}, L"btn", {.intervalMs = 5}},
          {{L"\u0391\u00C4\u0130:MS9:\u212Aelvin"}, L"\u0391\u00C4\u0130", {.intervalMs = 9}},
          {{L":ms9"}, L"", {.intervalMs = 9}},
          {{L"btn:ms150", L"btn:ms150x"}, L"btn", {.intervalMs = 150}},
          {{L"btn:ms \t+7", L"btn:ms7:ms:ms-3:msx:ms0"}, L"btn", {.intervalMs = 7}},
          {{L"btn:fps30"}, L"btn", {.intervalMs = 33}},
          {{L"btn:fps3000"}, L"btn", {.intervalMs = 1}},
          {{L"btn:ms7:fps10"}, L"btn", {.intervalMs = 100}},
          {{L"btn:sq=0.05", L"btn:sq=.5e-1z"}, L"btn", {.maxDiff = 0.05}},
          {{L"Btn:MODE=HS"}, L"Btn", {.mode = MatchMode::HS}},
          {{L"btn:mode=h"}, L"btn", {.mode = MatchMode::H}},
          {{L"btn:mode=s"}, L"btn", {.mode = MatchMode::S}},
          {{L"btn:mode=bgr:mode=grey"}, L"btn", {.mode = MatchMode::Bgr}},
          {{L"btn:mon=primary"}, L"btn", {.monitorPin = -1}},
          {{L"btn:mon=1", L"btn:mon=1:mon=0:mon=x:mon=-1"}, L"btn", {.monitorPin = 1}},
          {{L"btn:mon=2"}, L"btn", {.monitorPin = 2}},
          {{L"btn:fast", L"btn:mode=gray:fast"}, L"btn", {20, MatchMode::Bgr, 0.2}},
          {{L"btn:ms5:sq=0.3:mode=h:FAST"}, L"btn", {5, MatchMode::H, 0.3}},
          {{L"btn:fast:mode=gray"}, L"btn", {20, MatchMode::Gray, 0.2}},
          {{L"btn:strict"},
           L"btn",
           {.intervalMs = 200, .mode = MatchMode::HS, .maxDiff = 0.08, .colorGate = true}},
          {{L"btn:ms5:sq=0.01:mode=s:strict"},
           L"btn",
           {.intervalMs = 5, .mode = MatchMode::S, .maxDiff = 0.01, .colorGate = true}},
          {{L"btn:fast:strict"},
           L"btn",
           {.intervalMs = 20, .mode = MatchMode::Bgr, .maxDiff = 0.08, .colorGate = true}},
          {{L"red"}, L"red", {.redHint = true, .colorGate = true, .chromaChannel = 1}},
          {{L"Bored"}, L"Bored", {.redHint = true, .colorGate = true, .chromaChannel = 1}},
          {{L"x:shReDder"}, L"x", {.redHint = true, .colorGate = true, .chromaChannel = 1}},
          {{L"re:d"}, L"re"}},
         &ApplyNameOptions);
}

TEST(NameOptions, FollowARedSuffix) {
  TemplateSpec spec;
  spec.name = L"btn:RED";
  ApplyNameSuffix(spec);
  ApplyNameOptions(spec);
  EXPECT_TRUE(spec.redHint && spec.colorGate);
  EXPECT_EQ(spec.chromaChannel, 1);
}

}  // namespace
}  // namespace quillmark

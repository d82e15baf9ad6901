#include <gtest/gtest.h>

#include <string>

#include "specs/SpecOptions.h"
#include "specs/TemplatePreparation.h"

namespace quillmark {
namespace {

TemplateSpec Named(const wchar_t* name) {
  TemplateSpec spec;
  spec.name = name;
  return spec;
}

TEST(NameSuffix, SetsWhatItSaysAndLeavesTheName) {
  const struct {
    const wchar_t* name;
    const wchar_t* left;
    MatchMode mode = MatchMode::Gray;
    bool redHint = false;
    int frameDivisor = 1;
    int intervalMs = 0;
  } cases[] = {
      {L"", L""},
      {L"btn", L"btn"},
      {L"btn:H", L"btn", MatchMode::H},
      {L"btn:HS", L"btn", MatchMode::HS},
      {L"btn:BGR", L"btn", MatchMode::Bgr},
      {L"btn:S", L"btn", MatchMode::S},
      {L"btn:GRAY", L"btn"},
      {L":H", L"", MatchMode::H},
      {L"btn:RED", L"btn", MatchMode::Gray, true},
      {L"btn:FPS10", L"btn", MatchMode::Gray, false, 3},
      {L"btn:FPS20", L"btn", MatchMode::Gray, false, 2},
      {L"btn:FPS1", L"btn", MatchMode::Gray, false, 30},
      {L"btn:FPS7", L"btn", MatchMode::Gray, false, 4},
      {L"btn:FPS100", L"btn"},
      {L"btn:FPS99999999999999999999", L"btn"},
      {L"btn:FPS-5", L"btn"},
      {L"btn:FPS", L"btn"},
      {L"btn:FPSx", L"btn"},
      {L"btn:MS250", L"btn", MatchMode::Gray, false, 1, 250},
      {L"btn:MS +42", L"btn", MatchMode::Gray, false, 1, 42},
      {L"btn:MS12abc", L"btn", MatchMode::Gray, false, 1, 12},
      {L"btn:MS4294967297", L"btn", MatchMode::Gray, false, 1, 2147483647},
      {L"btn:MS-30", L"btn"},
      {L"btn:MS5", L"btn"},
      {L"btn:MS50", L"btn", MatchMode::Gray, false, 1, 50},
      {L"btn:h", L"btn:h"},
      {L"btn:REDS", L"btn:REDS"},
      {L"btn:HS:ms5", L"btn:HS:ms5"},
      {L"btn:MS70:HS", L"btn", MatchMode::Gray, false, 1, 70},
      {L"a:b:GRAY", L"a:b:GRAY"},
      {L"btn:", L"btn:"},
  };
  for (const auto& c : cases) {
    TemplateSpec spec = Named(c.name);
    ApplyNameSuffix(spec);
    EXPECT_EQ(spec.name, c.left);
    EXPECT_EQ(spec.mode, c.mode) << testing::PrintToString(std::wstring(c.name));
    EXPECT_EQ(spec.redHint, c.redHint) << testing::PrintToString(std::wstring(c.name));
    EXPECT_EQ(spec.frameDivisor, c.frameDivisor) << testing::PrintToString(std::wstring(c.name));
    EXPECT_EQ(spec.intervalMs, c.intervalMs) << testing::PrintToString(std::wstring(c.name));
  }
}

TEST(NameOptions, ApplyWordsFromLeftToRight) {
  const struct {
    const wchar_t* name;
    const wchar_t* left;
    int intervalMs = 0;
    MatchMode mode = MatchMode::Gray;
    double maxDiff = 0.1;
    int monitorPin = 0;
    bool colorGate = false;
  } cases[] = {
      {L"btn", L"btn"},
      {L"btn:", L"btn"},
      {L"btn::ms5:", L"btn", 5},
      {L"btn:unknown", L"btn"},
      {L"btn:h", L"btn"},
      {L"btn:ms150", L"btn", 150},
      {L"btn:ms150x", L"btn", 150},
      {L"btn:ms:ms-3:msx:ms0", L"btn"},
      {L"btn:ms \t+7", L"btn", 7},
      {L"btn:ms0x10:ms+ 5", L"btn"},
      {L"btn:ms2147483648", L"btn"},
      {L"btn:fps30", L"btn", 33},
      {L"btn:fps3000", L"btn", 1},
      {L"btn:fps0", L"btn"},
      {L"btn:fps-5", L"btn"},
      {L"btn:ms7:fps10", L"btn", 100},
      {L"btn:sq=0.05", L"btn", 0, MatchMode::Gray, 0.05},
      {L"btn:sq=.5e-1z", L"btn", 0, MatchMode::Gray, 0.05},
      {L"btn:sq=1", L"btn"},
      {L"btn:sq=0", L"btn"},
      {L"btn:sq=nan:sq=inf:sq=-0.2:sq=1e999", L"btn"},
      {L"btn:sq=", L"btn"},
      {L"Btn:MODE=HS", L"Btn", 0, MatchMode::HS},
      {L"btn:mode=h", L"btn", 0, MatchMode::H},
      {L"btn:mode=s", L"btn", 0, MatchMode::S},
      {L"btn:mode=bgr:mode=grey", L"btn", 0, MatchMode::Bgr},
      {L"btn:mode=bgr:mode=gray", L"btn"},
      {L"btn:mon=primary", L"btn", 0, MatchMode::Gray, 0.1, -1},
      {L"btn:mon=2", L"btn", 0, MatchMode::Gray, 0.1, 2},
      {L"btn:mon=0:mon=x:mon=-1", L"btn"},
      {L"btn:fast", L"btn", 20, MatchMode::Bgr, 0.2},
      {L"btn:ms5:sq=0.3:mode=h:FAST", L"btn", 5, MatchMode::H, 0.3},
      {L"btn:strict", L"btn", 200, MatchMode::HS, 0.08, 0, true},
      {L"btn:ms5:sq=0.01:mode=s:strict", L"btn", 5, MatchMode::S, 0.01, 0, true},
      {L"btn:fast:strict", L"btn", 20, MatchMode::Bgr, 0.08, 0, true},
      {L"btn:mode=gray:fast", L"btn", 20, MatchMode::Bgr, 0.2},
      {L"btn:fast:mode=gray", L"btn", 20, MatchMode::Gray, 0.2},
      {L"btn:strictly:fast ", L"btn"},
      {L":ms9", L"", 9},
  };
  for (const auto& c : cases) {
    TemplateSpec spec = Named(c.name);
    ApplyNameOptions(spec);
    EXPECT_EQ(spec.name, c.left);
    EXPECT_EQ(spec.intervalMs, c.intervalMs) << testing::PrintToString(std::wstring(c.name));
    EXPECT_EQ(spec.mode, c.mode) << testing::PrintToString(std::wstring(c.name));
    EXPECT_DOUBLE_EQ(spec.maxDiff, c.maxDiff) << testing::PrintToString(std::wstring(c.name));
    EXPECT_EQ(spec.monitorPin, c.monitorPin) << testing::PrintToString(std::wstring(c.name));
    EXPECT_EQ(spec.colorGate, c.colorGate) << testing::PrintToString(std::wstring(c.name));
  }
}

TEST(NameOptions, HandleRedWhereverItStands) {
  for (const wchar_t* name : {L"red", L"Bored", L"btn:mode=bgr:red", L"x:shReDder"}) {
    TemplateSpec spec = Named(name);
    spec.chromaMin = 0.5;
    ApplyNameOptions(spec);
    EXPECT_TRUE(spec.redHint && spec.colorGate) << testing::PrintToString(std::wstring(name));
    EXPECT_EQ(spec.chromaChannel, 1);
    EXPECT_EQ(spec.chromaMin, 0.88);
  }
  TemplateSpec hinted = Named(L"btn");
  hinted.redHint = true;
  ApplyNameOptions(hinted);
  EXPECT_TRUE(hinted.colorGate);
  TemplateSpec plain = Named(L"re:d");
  ApplyNameOptions(plain);
  EXPECT_FALSE(plain.redHint || plain.colorGate);
  EXPECT_EQ(plain.chromaChannel, 0);
}

TEST(NameOptions, LowerOnlyAToZ) {
  TemplateSpec spec = Named(L"\u0391\u00C4\u0130:MS9:\u212Aelvin");
  ApplyNameOptions(spec);
  EXPECT_EQ(spec.name, L"\u0391\u00C4\u0130");
  EXPECT_EQ(spec.intervalMs, 9);
}

}  // namespace
}  // namespace quillmark

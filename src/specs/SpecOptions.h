// Reads what a spec's name says after its first ':': an upper-case suffix ("button:HS") or option words
// ("button:ms150:mode=hs"). A "red" anywhere in the name turns the red tests on.
//
// Threading: each call works on its own record only; the product calls it on the command pump's thread.
#pragma once

#include "specs/TemplateSpec.h"

namespace quillmark {

// Applies a suffix and removes it from the name: a mode (GRAY, BGR, S, H, HS), RED, FPSn (frameDivisor for n
// of 30 frames a second) or MSn (intervalMs). An unknown one stays, for the option words.
void ApplyNameSuffix(TemplateSpec& spec);

// Applies the words from left to right and leaves the part before the first ':' as the name. Words are not
// case sensitive; the name keeps its case:
//   msN           intervalMs = N, N > 0
//   fpsN          intervalMs = 1000 / N, at least 1, N > 0
//   sq=D          maxDiff = D, 0 < D < 1
//   mode=WORD     gray, bgr, s, h, hs
//   mon=primary   monitorPin = -1;  mon=N: monitorPin = N, N >= 1
//   fast          intervalMs = 20 if below 1; Bgr if Gray; maxDiff at least 0.2
//   strict        intervalMs = 200 if below 1; HS if Gray; maxDiff at most 0.08; colour gate on
//
// Unknown words and missing or out-of-range numbers change nothing. A "red" anywhere in the whole name, or a
// redHint set before, turns the colour gate and the Cr check on.
void ApplyNameOptions(TemplateSpec& spec);

}  // namespace quillmark

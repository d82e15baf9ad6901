// Reads the option words in a spec's name after the first ':' ("button:ms150:mode=hs"), and turns the red
// tests on for a "red" anywhere in the name.
//
// Threading: each call works on its own record only; the product calls it on the command pump's thread.
#pragma once

#include <string>

#include "specs/TemplateSpec.h"

namespace quillmark {

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

// The option words that a spec's name may carry after its first ':' ("button:ms150:mode=hs"), and the red
// handling that a "red" anywhere in the name switches on.
//
// Threading: each call works on its own record only; the product calls it on the command pump's thread.
#pragma once

#include <string>

#include "specs/TemplateSpec.h"

namespace quillmark {

// Applies the words in `spec.name` from left to right and leaves the part before the first ':' as the name.
// Words are matched without regard to case, the name keeps its case:
//   msN           intervalMs = N, N > 0
//   fpsN          intervalMs = 1000 / N, at least 1, N > 0
//   sq=D          maxDiff = D, 0 < D < 1
//   mode=WORD     gray, bgr, s, h, hs
//   mon=primary   monitorPin = -1;  mon=N: monitorPin = N, N >= 1
//   fast          intervalMs = 20 if below 1; Bgr if Gray; maxDiff at least 0.2
//   strict        intervalMs = 200 if below 1; HS if Gray; maxDiff at most 0.08; colour gate on
//
// An unknown word and a missing or out-of-range number change nothing. A "red" anywhere in the whole name, or
// a redHint set before, turns the colour gate and the Cr check on.
void ApplyNameOptions(TemplateSpec& spec);

}  // namespace quillmark

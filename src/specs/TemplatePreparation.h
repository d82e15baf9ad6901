// Prepares a spec, once for all frames: applies the upper-case suffix of its name, and computes the planes,
// masks and statistics of its template image.
//
// Threading: each call works on its own record only; the product calls them on the command pump's thread.
#pragma once

#include "specs/TemplateSpec.h"

namespace quillmark {

// Applies an upper-case suffix, everything from the name's first ':' on, and removes it from the name: a mode
// (GRAY, BGR, S, H, HS), RED, FPSn (frameDivisor for n of 30 frames a second) or MSn (intervalMs). An unknown
// suffix stays, for the option words.
void ApplyNameSuffix(TemplateSpec& spec);

// Fills the prepared fields from the image at the spec's path: 8-bit with 1, 3 or 4 channels, alpha last.
// Makes new matrices, so copies of the spec keep theirs. Without an alpha channel an earlier tmplMask stays,
// resized. Returns false and changes nothing when the image cannot be read. Raises std::system_error for a
// path with an unpaired surrogate and cv::Exception for any other image, or one that the image library
// refuses; the spec is then unusable.
[[nodiscard]] bool PrepareTemplate(TemplateSpec& spec);

}  // namespace quillmark

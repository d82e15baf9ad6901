// Prepares a spec's template image, once for all frames: computes its planes, masks and statistics.
//
// Threading: each call works on its own record only; the product calls them on the command pump's thread.
#pragma once

#include "specs/TemplateSpec.h"

namespace quillmark {

// Fills the prepared fields from the image at the spec's path: 8-bit with 1, 3 or 4 channels, alpha last.
// Makes new matrices, so copies of the spec keep theirs. Without an alpha channel an earlier tmplMask stays,
// resized. Returns false and changes nothing when the image cannot be read. Raises std::system_error for a
// path with an unpaired surrogate and cv::Exception for any other image, or one that the image library
// refuses; the spec is then unusable.
[[nodiscard]] bool PrepareTemplate(TemplateSpec& spec);

}  // namespace quillmark

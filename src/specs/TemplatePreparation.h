// What is computed once from a spec's name and template image, so that no frame ever has to: the fields that
// an upper-case name suffix sets, and every plane, mask and statistic that evaluation compares with.
//
// Threading: each call works on its own record only; the product calls them on the command pump's thread.
#pragma once

#include "specs/TemplateSpec.h"

namespace quillmark {

// Reads an upper-case suffix ("name:HS", "name:FPS10") into the record and cuts it off the name. Everything
// from the first ':' on is the suffix; one that is not known stays, for the option words. Recognised are the
// mode words GRAY, BGR, S, H, HS; RED; FPSn (frameDivisor from n frames a second of 30); MSn (intervalMs).
void ApplyNameSuffix(TemplateSpec& spec);

// Fills the prepared fields of `spec` from the image at its path: 8-bit with 1, 3 or 4 channels, alpha last.
// Matrices are made anew, so copies of the record keep theirs; without an alpha channel tmplMask stays the
// one the record had, brought to the template's size. Returns false with no field changed when the image
// cannot be read. Raises std::system_error for a path with an unpaired surrogate and cv::Exception for an
// image of another depth or channel count (the record is then partly written and of no use), or one that the
// image library itself refuses.
[[nodiscard]] bool PrepareTemplate(TemplateSpec& spec);

}  // namespace quillmark

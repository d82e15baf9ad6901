// The version that a program carries for the version calls.
//
// Threading: a constant.
#pragma once

#include <windows.h>

namespace quillmark::layer {

struct ProgramVersion {
  WORD numbers[4];  // from major to tweak
  char16_t text[32];
  char16_t product[32];
};

// Defined by quillmark_embed_version; a program without it has none, and the address is null.
[[gnu::weak]] extern const ProgramVersion programVersion;

}  // namespace quillmark::layer

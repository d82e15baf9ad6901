// The folder that holds the named objects of one session: one user on one display.
// "$XDG_RUNTIME_DIR/quillmark/<display>", or "/dev/shm/quillmark-<uid>/<display>" if that variable is unset
// or empty; <display> is $DISPLAY with every character outside A-Za-z0-9.- replaced by '_', or "none" if
// unset or empty.
//
// Threading: any thread; the environment must not change meanwhile.
#pragma once

#include <string>

#include "host/UniqueFd.h"

namespace quillmark::layer {

// The folders of the path, each in the one before.
struct SessionPath {
  std::string base;     // a path
  std::string product;  // a name in it
  std::string display;  // a name in that
};
SessionPath PathOfSession();

// Opens the folder; creates missing folders with mode 0700. Every folder below the base must be a real one,
// owned by the user and closed to others. Otherwise: nothing, with ERROR_ACCESS_DENIED.
UniqueFd OpenSessionFolder();

}  // namespace quillmark::layer

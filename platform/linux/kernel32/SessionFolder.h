// The folder that holds the named objects of one session: one user on one display.
// "$XDG_RUNTIME_DIR/quillmark/<display>", or "/dev/shm/quillmark-<uid>/<display>" where that variable is
// unset or empty; <display> is $DISPLAY with every character outside A-Za-z0-9.- as '_', "none" when unset or
// empty.
//
// Threading: any thread; the environment must not change meanwhile.
#pragma once

#include <string>

#include "host/UniqueFd.h"

namespace quillmark::layer {

// The folders of the road, each in the one before.
struct SessionRoad {
  std::string base;     // a path
  std::string product;  // a name in it
  std::string display;  // a name in that
};
SessionRoad RoadOfSession();

// Opens the folder, made 0700 where it is missing. Every folder below the base must be a real one, the user's
// own and closed to others; otherwise nothing is returned, with ERROR_ACCESS_DENIED.
UniqueFd OpenSessionFolder();

}  // namespace quillmark::layer

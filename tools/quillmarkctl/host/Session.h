// What only this host can tell about the session that worker and tool share: one implementation a host.
//
// Threading: free functions without state.
#pragma once

#include "doctor/Finding.h"

namespace quillmark::control::host {

// Session, rights, limits, display server, fonts.
[[nodiscard]] Findings ExamineSession();

}  // namespace quillmark::control::host

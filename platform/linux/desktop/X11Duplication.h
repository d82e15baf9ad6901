// The frames of one monitor of an X server: a shared-memory image of the monitor that follows the screen by
// fetching only what the server reports as damaged.
//
// Threading: each duplication has a connection of its own; one thread at a time may use it.
#pragma once

#include <memory>

#include "desktop/Desktop.h"

namespace quillmark::layer {

// Opens the display named by DISPLAY and follows the monitor's rectangle. `rootOrigin` is where the desktop's
// (0, 0) lies on the root window, root pixels. DXGI_ERROR_ACCESS_LOST when there is no server or the monitor
// does not lie on its root window, DXGI_ERROR_UNSUPPORTED when the screen is not 32-bit little-endian BGRX or
// the server cannot report damage, E_OUTOFMEMORY when there is no memory for the image.
HRESULT OpenX11Duplication(const MonitorFacts& monitor, POINT rootOrigin, std::unique_ptr<Duplication>& out);

}  // namespace quillmark::layer

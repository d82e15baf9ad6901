// The frames of one monitor of an X server: an image of the monitor, updated only where the server reports
// damage.
//
// If the server shares pixmaps, the image is one: the server copies the damaged region into it, and has done
// so when its reply with that region arrives. Otherwise bands of whole rows are fetched, through shared
// memory if possible.
//
// Threading: one thread at a time for each duplication, which has its own connection.
#pragma once

#include <memory>

#include "desktop/Desktop.h"

namespace quillmark::layer {

// How pixels are fetched, the best way first. If the server lacks one, the next is used.
enum class X11Transport { SharedPixmap, SharedImage, PlainImage };

// Opens the display named by DISPLAY and follows the monitor's rectangle. The monitor's rotation is ignored:
// the server delivers images upright. `rootOrigin` is the desktop's (0, 0) in root pixels.
// DXGI_ERROR_ACCESS_LOST if there is no server or the monitor is not within its root window;
// DXGI_ERROR_UNSUPPORTED if the screen is not 32-bit BGRX or the server cannot report damage; E_OUTOFMEMORY
// without memory for the image.
HRESULT OpenX11Duplication(const MonitorFacts& monitor, POINT rootOrigin, std::unique_ptr<Duplication>& out,
                           X11Transport best = X11Transport::SharedPixmap);

}  // namespace quillmark::layer

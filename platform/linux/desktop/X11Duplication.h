// The frames of one monitor of an X server: an image of the monitor that follows the screen by fetching only
// what the server reports as damaged.
//
// Where the server shares pixmaps, the image is one of them: the server itself copies the damage into it,
// clipped to the damaged region, and the reply that tells what was damaged says that it has done so.
// Elsewhere bands of whole rows are fetched, through shared memory where there is any.
//
// Threading: each duplication has a connection of its own; one thread at a time may use it.
#pragma once

#include <memory>

#include "desktop/Desktop.h"

namespace quillmark::layer {

// How pixels come from the server, the best way first. A server that lacks one is served in the next.
enum class X11Transport { SharedPixmap, SharedImage, PlainImage };

// Opens the display named by DISPLAY and follows the monitor's rectangle; the server delivers it upright, so
// the monitor's rotation is not looked at. `rootOrigin` is where the desktop's (0, 0) lies on the root
// window, root pixels. DXGI_ERROR_ACCESS_LOST when there is no server or the monitor does not lie on its root
// window, DXGI_ERROR_UNSUPPORTED when the screen is not 32-bit little-endian BGRX or the server cannot report
// damage, E_OUTOFMEMORY when there is no memory for the image.
HRESULT OpenX11Duplication(const MonitorFacts& monitor, POINT rootOrigin, std::unique_ptr<Duplication>& out,
                           X11Transport best = X11Transport::SharedPixmap);

}  // namespace quillmark::layer

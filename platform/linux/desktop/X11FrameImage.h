// The persistent image of a rectangle of the root window, updated from the server.
//
// Threading: one thread at a time, the connection's.
#pragma once

#include <dxgi1_2.h>
#include <xcb/shm.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "desktop/Desktop.h"
#include "desktop/X11Duplication.h"
#include "desktop/XcbConnection.h"

namespace quillmark::layer {

class X11FrameImage {
 public:
  // `area` is in root pixels, within the root window. Null without memory for it.
  static std::unique_ptr<X11FrameImage> Make(XcbConnection& connection, const xcb_rectangle_t& area,
                                             X11Transport best);
  ~X11FrameImage();
  X11FrameImage(const X11FrameImage&) = delete;
  X11FrameImage& operator=(const X11FrameImage&) = delete;

  ImageView View() const;

  // Updates the pixels in the region, which is in root pixels within the area; adds what was updated, in
  // pixels of the image, to `fetched`. S_OK; S_FALSE if the region is empty; DXGI_ERROR_ACCESS_LOST if the
  // server refuses or is gone.
  HRESULT Fetch(xcb_xfixes_region_t region, std::vector<RECT>& fetched);

 private:
  X11FrameImage(XcbConnection& toServer, const xcb_rectangle_t& ofArea);
  // These do nothing if the server cannot share.
  void ShareMemory(bool pixmapToo);
  void SharePixmap();
  HRESULT FetchRows(const std::vector<xcb_rectangle_t>& bands);

  XcbConnection& connection;
  const xcb_rectangle_t area;
  const std::size_t pitch;  // bytes
  const std::size_t length;
  void* pixels = nullptr;          // `length` bytes, mapped
  xcb_shm_seg_t segment = 0;       // 0 if the memory is not shared
  xcb_pixmap_t pixmap = 0;         // 0 if the server shares none
  xcb_gcontext_t copyContext = 0;  // copies from the root window to the pixmap
};

}  // namespace quillmark::layer

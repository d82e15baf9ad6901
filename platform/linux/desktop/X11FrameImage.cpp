#include "desktop/X11FrameImage.h"

#include <sys/mman.h>

#include <algorithm>
#include <cstring>

#include "host/UniqueFd.h"

namespace quillmark::layer {
namespace {

constexpr std::uint32_t kAllPlanes = 0xFFFFFFFF;

// The rows touched by the rectangles, as bands of the area's full width without overlap.
std::vector<xcb_rectangle_t> WholeRows(std::span<const xcb_rectangle_t> rectangles,
                                       const xcb_rectangle_t& area) {
  std::vector<xcb_rectangle_t> bands;
  for (const xcb_rectangle_t& next : rectangles) {  // sorted by y, as the server keeps its regions
    const int bottom = next.y + next.height;
    if (!bands.empty() && next.y <= bands.back().y + bands.back().height) {
      xcb_rectangle_t& band = bands.back();
      band.height = static_cast<std::uint16_t>(std::max(band.y + band.height, bottom) - band.y);
    } else {
      bands.push_back({area.x, next.y, area.width, next.height});
    }
  }
  return bands;
}

}  // namespace

X11FrameImage::X11FrameImage(XcbConnection& toServer, const xcb_rectangle_t& ofArea)
    : connection(toServer),
      area(ofArea),
      pitch(std::size_t{ofArea.width} * 4),
      length(pitch * ofArea.height) {}

X11FrameImage::~X11FrameImage() {
  if (pixels != nullptr) munmap(pixels, length);
}

std::unique_ptr<X11FrameImage> X11FrameImage::Make(XcbConnection& connection, const xcb_rectangle_t& area,
                                                   X11Transport best) {
  std::unique_ptr<X11FrameImage> image(new X11FrameImage(connection, area));
  if (best != X11Transport::PlainImage) image->ShareMemory(best == X11Transport::SharedPixmap);
  if (image->pixels != nullptr) return image;
  void* const memory =
      mmap(nullptr, image->length, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return nullptr;
  image->pixels = memory;
  return image;
}

// The server allocates the memory: every local server of the last decade can, and nothing leaks when either
// side dies.
void X11FrameImage::ShareMemory(bool pixmapToo) {
  if (!connection.Has(xcb_shm_id)) return;
  const XcbReply<xcb_shm_query_version_reply_t> version(
      xcb_shm_query_version_reply(connection, xcb_shm_query_version(connection), nullptr));
  if (!version || (version->major_version == 1 && version->minor_version < 2)) return;
  const xcb_shm_seg_t asked = xcb_generate_id(connection);
  const XcbReply<xcb_shm_create_segment_reply_t> made(xcb_shm_create_segment_reply(
      connection,
      xcb_shm_create_segment(connection, asked, static_cast<std::uint32_t>(length), /*read_only=*/0),
      nullptr));
  if (!made || made->nfd != 1) return;
  const UniqueFd memory(*xcb_shm_create_segment_reply_fds(connection, made.get()));
  void* const mapped = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, memory.Get(), 0);
  if (mapped == MAP_FAILED) {
    xcb_shm_detach(connection, asked);
    return;
  }
  segment = asked;
  pixels = mapped;
  if (pixmapToo && version->shared_pixmaps && version->pixmap_format == XCB_IMAGE_FORMAT_Z_PIXMAP) {
    SharePixmap();
  }
}

void X11FrameImage::SharePixmap() {
  const xcb_pixmap_t shared = xcb_generate_id(connection);
  const auto made = xcb_shm_create_pixmap_checked(connection, shared, connection.Root(), area.width,
                                                  area.height, connection.RootDepth(), segment, 0);
  const XcbReply<xcb_generic_error_t> error(xcb_request_check(connection, made));
  if (error) return;
  pixmap = shared;
  copyContext = xcb_generate_id(connection);
  const std::uint32_t values[] = {XCB_SUBWINDOW_MODE_INCLUDE_INFERIORS, /*graphics exposures*/ 0};
  xcb_create_gc(connection, copyContext, pixmap, XCB_GC_SUBWINDOW_MODE | XCB_GC_GRAPHICS_EXPOSURES, values);
}

ImageView X11FrameImage::View() const {
  return {static_cast<const std::uint8_t*>(pixels), static_cast<std::uint32_t>(pitch)};
}

HRESULT X11FrameImage::Fetch(xcb_xfixes_region_t region, std::vector<RECT>& fetched) {
  if (pixmap != 0) {
    // The clip is in the pixmap's coordinates, the region in the root window's.
    xcb_xfixes_set_gc_clip_region(connection, copyContext, region, static_cast<std::int16_t>(-area.x),
                                  static_cast<std::int16_t>(-area.y));
    xcb_copy_area(connection, connection.Root(), pixmap, copyContext, area.x, area.y, 0, 0, area.width,
                  area.height);
  }
  // The reply follows the copy, so the pixels have arrived when it does.
  const auto asked = xcb_xfixes_fetch_region(connection, region);
  const XcbReply<xcb_xfixes_fetch_region_reply_t> damage(
      xcb_xfixes_fetch_region_reply(connection, asked, nullptr));
  if (!damage) return DXGI_ERROR_ACCESS_LOST;
  const std::span rectangles(
      xcb_xfixes_fetch_region_rectangles(damage.get()),
      static_cast<std::size_t>(xcb_xfixes_fetch_region_rectangles_length(damage.get())));
  if (rectangles.empty()) return S_FALSE;
  const auto add = [&](const xcb_rectangle_t& each) {
    const LONG left = each.x - area.x, top = each.y - area.y;
    fetched.push_back({left, top, left + each.width, top + each.height});
  };
  if (pixmap != 0) {
    std::ranges::for_each(rectangles, add);
    return S_OK;
  }
  const std::vector<xcb_rectangle_t> bands = WholeRows(rectangles, area);
  std::ranges::for_each(bands, add);
  return FetchRows(bands);
}

HRESULT X11FrameImage::FetchRows(const std::vector<xcb_rectangle_t>& bands) {
  const auto offsetOf = [this](const xcb_rectangle_t& band) {
    return static_cast<std::size_t>(band.y - area.y) * pitch;
  };
  bool complete = true;
  if (segment != 0) {
    std::vector<xcb_shm_get_image_cookie_t> asked;
    for (const xcb_rectangle_t& band : bands) {
      asked.push_back(xcb_shm_get_image(connection, connection.Root(), band.x, band.y, band.width,
                                        band.height, kAllPlanes, XCB_IMAGE_FORMAT_Z_PIXMAP, segment,
                                        static_cast<std::uint32_t>(offsetOf(band))));
    }
    for (const auto cookie : asked) {
      const XcbReply<xcb_shm_get_image_reply_t> got(xcb_shm_get_image_reply(connection, cookie, nullptr));
      complete = complete && got;
    }
  } else {
    std::vector<xcb_get_image_cookie_t> asked;
    for (const xcb_rectangle_t& band : bands) {
      asked.push_back(xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, connection.Root(), band.x, band.y,
                                    band.width, band.height, kAllPlanes));
    }
    for (std::size_t i = 0; i < bands.size(); ++i) {
      const XcbReply<xcb_get_image_reply_t> got(xcb_get_image_reply(connection, asked[i], nullptr));
      const std::size_t size = pitch * bands[i].height;
      complete = complete && got && static_cast<std::size_t>(xcb_get_image_data_length(got.get())) >= size;
      if (!complete) continue;
      std::memcpy(static_cast<std::uint8_t*>(pixels) + offsetOf(bands[i]), xcb_get_image_data(got.get()),
                  size);
    }
  }
  return complete ? S_OK : DXGI_ERROR_ACCESS_LOST;
}

}  // namespace quillmark::layer

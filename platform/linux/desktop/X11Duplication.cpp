#include "desktop/X11Duplication.h"

#include <poll.h>
#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <utility>
#include <vector>

#include "desktop/X11FrameImage.h"
#include "desktop/X11Monitors.h"
#include "desktop/XcbConnection.h"

namespace quillmark::layer {
namespace {

using Clock = std::chrono::steady_clock;

// The position is asked for while waiting for a frame, at most this often; nothing blocks on the reply. A
// server that reports the motion of devices is asked after a report. No event tells of a program that moves
// the pointer, so that server is asked at longer intervals too, and whenever a wait ends: the answer is there
// when the next one begins.
constexpr auto kPointerInterval = std::chrono::milliseconds(16);
constexpr auto kQuietPointerInterval = std::chrono::milliseconds(50);

class X11Duplication final : public Duplication {
 public:
  X11Duplication(std::unique_ptr<XcbConnection> itsConnection, const xcb_rectangle_t& itsArea)
      : connection(std::move(itsConnection)), area(itsArea) {}

  // S_OK, or why there are no frames.
  HRESULT Start(X11Transport best);

  std::uint32_t Width() const override { return area.width; }
  std::uint32_t Height() const override { return area.height; }
  HRESULT Acquire(std::uint32_t timeoutMs) override;
  HRESULT Release() override;
  HRESULT Map(ImageView& view) override;
  FrameFacts Facts() const override { return {!fetched.empty(), 0, fetched.size()}; }
  HRESULT Dirty(std::span<const RECT>& rects) override;

 private:
  HRESULT WaitForFrame(Clock::time_point deadline);
  HRESULT FetchDamage();
  void SelectRawMotion();
  bool IsRawMotion(const xcb_generic_event_t& event) const;
  void TakeEvents(bool fromServer);
  void TakePointer();
  void AskForPointer(Clock::time_point now);
  // When to ask for the pointer's position again.
  Clock::time_point NextPointerQuestion(bool waitEnds = false) const {
    const bool quiet = rawMotion && !deviceMoved && !waitEnds;
    return pointerQuestionTime + (quiet ? kQuietPointerInterval : kPointerInterval);
  }
  bool Contains(int x, int y) const;
  bool MonitorIsUnchanged();

  const std::unique_ptr<XcbConnection> connection;
  const xcb_rectangle_t area;  // root pixels
  std::uint16_t rootWidth = 0, rootHeight = 0;
  std::unique_ptr<X11FrameImage> image;
  std::vector<RECT> fetched;  // for the last frame, pixels of the image; none if only the pointer moved
  xcb_damage_damage_t damage = 0;
  xcb_xfixes_region_t wholeArea = 0, damaged = 0;
  std::uint8_t damageEvent = 0;  // first event number
  bool randr = false;

  bool started = false;  // the whole area has been fetched
  bool held = false;
  bool lost = false;
  bool damageReported = false;
  bool screenChanged = false;

  bool rawMotion = false;        // the server reports the motion of devices
  std::uint8_t inputOpcode = 0;  // of the extension that does
  bool deviceMoved = false;      // since the pointer's position was asked for
  bool pointerAsked = false;
  xcb_query_pointer_cookie_t pointerQuestion{};
  Clock::time_point pointerQuestionTime{};
  bool pointerKnown = false;
  bool pointerMoved = false;
  std::int16_t pointerX = 0, pointerY = 0;
};

HRESULT X11Duplication::Start(X11Transport best) {
  if (!connection->IsBgrx()) return DXGI_ERROR_UNSUPPORTED;
  if (!connection->Has(xcb_damage_id) || !connection->Has(xcb_xfixes_id)) return DXGI_ERROR_UNSUPPORTED;
  damageEvent = xcb_get_extension_data(*connection, &xcb_damage_id)->first_event;
  // Both extensions require a version query first.
  const auto damageVersion = xcb_damage_query_version(*connection, 1, 1);
  const auto fixesVersion = xcb_xfixes_query_version(*connection, 2, 0);
  const XcbReply<xcb_damage_query_version_reply_t> gotDamage(
      xcb_damage_query_version_reply(*connection, damageVersion, nullptr));
  const XcbReply<xcb_xfixes_query_version_reply_t> gotFixes(
      xcb_xfixes_query_version_reply(*connection, fixesVersion, nullptr));
  if (!gotDamage || !gotFixes || gotFixes->major_version < 2) return DXGI_ERROR_UNSUPPORTED;

  // Events are selected first, so that no change after reading the monitors is missed.
  randr = SelectMonitorEvents(*connection, 0);
  const auto layout = ReadMonitors(*connection, randr);
  if (!layout || area.x < 0 || area.y < 0 || area.x + area.width > layout->rootWidth ||
      area.y + area.height > layout->rootHeight) {
    return DXGI_ERROR_ACCESS_LOST;
  }
  rootWidth = layout->rootWidth;
  rootHeight = layout->rootHeight;

  SelectRawMotion();
  image = X11FrameImage::Make(*connection, area, best);
  if (!image) return E_OUTOFMEMORY;
  wholeArea = xcb_generate_id(*connection);
  damaged = xcb_generate_id(*connection);
  damage = xcb_generate_id(*connection);
  xcb_xfixes_create_region(*connection, wholeArea, 1, &area);
  xcb_xfixes_create_region(*connection, damaged, 0, nullptr);
  const auto created =
      xcb_damage_create_checked(*connection, damage, connection->Root(), XCB_DAMAGE_REPORT_LEVEL_NON_EMPTY);
  const XcbReply<xcb_generic_error_t> error(xcb_request_check(*connection, created));
  return error || connection->Lost() ? DXGI_ERROR_ACCESS_LOST : S_OK;
}

HRESULT X11Duplication::Acquire(std::uint32_t timeoutMs) {
  if (held) return DXGI_ERROR_INVALID_CALL;
  if (lost) return DXGI_ERROR_ACCESS_LOST;
  fetched.clear();
  const HRESULT result = WaitForFrame(Clock::now() + std::chrono::milliseconds(timeoutMs));
  held = result == S_OK;
  if (held) pointerMoved = false;  // this frame reports it
  lost = result == DXGI_ERROR_ACCESS_LOST;
  return result;
}

HRESULT X11Duplication::WaitForFrame(Clock::time_point deadline) {
  for (;;) {
    // Taking the pointer's reply may read more events into XCB's queue, where polling the descriptor would
    // not see them.
    TakeEvents(/*fromServer=*/true);
    TakePointer();
    TakeEvents(/*fromServer=*/false);
    if (screenChanged && !MonitorIsUnchanged()) lost = true;
    if (lost || connection->Lost()) return DXGI_ERROR_ACCESS_LOST;

    if (damageReported || !started) {
      const HRESULT result = FetchDamage();
      if (result != S_FALSE) return result;
      continue;  // the damage was elsewhere; events may have arrived meanwhile
    }
    if (pointerMoved) return S_OK;

    const auto now = Clock::now();
    const bool ends = now >= deadline;
    if (!pointerAsked && now >= NextPointerQuestion(ends)) AskForPointer(now);
    xcb_flush(*connection);
    if (ends) return DXGI_ERROR_WAIT_TIMEOUT;
    const auto wake = pointerAsked ? deadline : std::min(deadline, NextPointerQuestion());
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(wake - now).count();
    pollfd server{xcb_get_file_descriptor(*connection), POLLIN, 0};
    poll(&server, 1, static_cast<int>(std::min<std::int64_t>(wait, std::numeric_limits<int>::max())));
  }
}

// The damage is reset before it is copied: what is drawn in between is copied twice, never missed.
HRESULT X11Duplication::FetchDamage() {
  damageReported = false;
  xcb_damage_subtract(*connection, damage, XCB_NONE, damaged);
  if (started) {
    xcb_xfixes_intersect_region(*connection, damaged, wholeArea, damaged);
  }
  const HRESULT result = image->Fetch(started ? damaged : wholeArea, fetched);
  if (result == S_OK) started = true;
  return result;
}

void X11Duplication::TakeEvents(bool fromServer) {
  for (;;) {
    const XcbEvent event(fromServer ? xcb_poll_for_event(*connection)
                                    : xcb_poll_for_queued_event(*connection));
    if (!event) return;
    const int type = event->response_type & 0x7F;
    if (type == 0) {
      lost = true;  // an error: the server now refuses what it accepted at the start
    } else if (type == damageEvent + XCB_DAMAGE_NOTIFY) {
      damageReported = true;
    } else if (IsRawMotion(*event)) {
      deviceMoved = true;
    } else if (IsMonitorEvent(*connection, *event)) {
      screenChanged = true;
    }
  }
}

// Version 2.1 is the first to report motion while another program has grabbed the pointer.
void X11Duplication::SelectRawMotion() {
  if (!connection->Has(xcb_input_id)) return;
  const XcbReply<xcb_input_xi_query_version_reply_t> version(
      xcb_input_xi_query_version_reply(*connection, xcb_input_xi_query_version(*connection, 2, 1), nullptr));
  rawMotion =
      version && (version->major_version > 2 || (version->major_version == 2 && version->minor_version >= 1));
  if (!rawMotion) return;
  inputOpcode = xcb_get_extension_data(*connection, &xcb_input_id)->major_opcode;
  const struct {
    xcb_input_event_mask_t header;
    std::uint32_t events;
  } masters{{XCB_INPUT_DEVICE_ALL_MASTER, /*words*/ 1}, XCB_INPUT_XI_EVENT_MASK_RAW_MOTION};
  xcb_input_xi_select_events(*connection, connection->Root(), 1, &masters.header);
}

bool X11Duplication::IsRawMotion(const xcb_generic_event_t& event) const {
  const auto& generic = reinterpret_cast<const xcb_ge_generic_event_t&>(event);
  return rawMotion && (event.response_type & 0x7F) == XCB_GE_GENERIC && generic.extension == inputOpcode &&
         generic.event_type == XCB_INPUT_RAW_MOTION;
}

void X11Duplication::AskForPointer(Clock::time_point now) {
  pointerQuestion = xcb_query_pointer(*connection, connection->Root());
  pointerAsked = true;
  deviceMoved = false;
  pointerQuestionTime = now;
}

void X11Duplication::TakePointer() {
  void* answer = nullptr;
  xcb_generic_error_t* refusal = nullptr;
  if (!pointerAsked || !xcb_poll_for_reply(*connection, pointerQuestion.sequence, &answer, &refusal)) return;
  pointerAsked = false;
  const XcbReply<xcb_generic_error_t> error(refusal);
  const XcbReply<xcb_query_pointer_reply_t> pointer(static_cast<xcb_query_pointer_reply_t*>(answer));
  if (!pointer) return;
  const bool moved = pointerKnown && (pointer->root_x != pointerX || pointer->root_y != pointerY);
  // Leaving the monitor counts as motion on it.
  if (moved && (Contains(pointerX, pointerY) || Contains(pointer->root_x, pointer->root_y))) {
    pointerMoved = true;
  }
  pointerKnown = true;
  pointerX = pointer->root_x;
  pointerY = pointer->root_y;
}

bool X11Duplication::Contains(int x, int y) const {
  return x >= area.x && x < area.x + area.width && y >= area.y && y < area.y + area.height;
}

// Whether the root window's size and the monitor's rectangle are still the same.
bool X11Duplication::MonitorIsUnchanged() {
  screenChanged = false;
  const auto layout = ReadMonitors(*connection, randr);
  return layout && layout->rootWidth == rootWidth && layout->rootHeight == rootHeight &&
         std::ranges::any_of(layout->monitors, [&](const MonitorFacts& monitor) {
           const RECT& rect = monitor.rect;
           return rect.left + layout->rootOrigin.x == area.x && rect.top + layout->rootOrigin.y == area.y &&
                  rect.right - rect.left == area.width && rect.bottom - rect.top == area.height;
         });
}

HRESULT X11Duplication::Release() {
  if (!std::exchange(held, false)) return DXGI_ERROR_INVALID_CALL;
  return S_OK;
}

HRESULT X11Duplication::Map(ImageView& view) {
  if (!held) return DXGI_ERROR_INVALID_CALL;
  view = image->View();
  return S_OK;
}

HRESULT X11Duplication::Dirty(std::span<const RECT>& rects) {
  rects = fetched;
  return S_OK;
}

}  // namespace

HRESULT OpenX11Duplication(const MonitorFacts& monitor, POINT rootOrigin, std::unique_ptr<Duplication>& out,
                           X11Transport best) {
  const LONG x = monitor.rect.left + rootOrigin.x;
  const LONG y = monitor.rect.top + rootOrigin.y;
  const LONG width = monitor.rect.right - monitor.rect.left;
  const LONG height = monitor.rect.bottom - monitor.rect.top;
  constexpr LONG largest = std::numeric_limits<std::int16_t>::max();  // of an X window
  if (x < 0 || y < 0 || width < 1 || height < 1 || x > largest - width || y > largest - height) {
    return DXGI_ERROR_ACCESS_LOST;
  }
  const char* display = std::getenv("DISPLAY");
  auto connection = XcbConnection::Open(display != nullptr ? display : "");
  if (!connection) return DXGI_ERROR_ACCESS_LOST;
  const xcb_rectangle_t area{static_cast<std::int16_t>(x), static_cast<std::int16_t>(y),
                             static_cast<std::uint16_t>(width), static_cast<std::uint16_t>(height)};
  auto duplication = std::make_unique<X11Duplication>(std::move(connection), area);
  const HRESULT started = duplication->Start(best);
  if (SUCCEEDED(started)) out = std::move(duplication);
  return started;
}

}  // namespace quillmark::layer

#include "reasons/Reasons.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace quillmark::reasons {
namespace {

constexpr ReasonEntry kReasons[] = {
    {Reason::CommandNotRead, Stage::Command, "command-not-read",
     "The worker has not read the command that adds the spec.",
     "Start the worker in this session; `quillmarkctl ping` shows whether it is running.", "status"},
    {Reason::CommandOverrun, Stage::Command, "command-overrun",
     "More than 64 commands were unread, so the worker skipped all but the newest 64.",
     "Do not send while 64 commands are unread; `quillmarkctl` waits by itself.", "none"},
    {Reason::NotInStore, Stage::Command, "not-in-store",
     "The worker does not have the spec: it was never added, or was removed, cleared or replaced by one with "
     "the same name, or the worker was restarted.",
     "Add it again. A worker keeps no specs across restarts.", "none"},

    {Reason::ImagePath, Stage::Template, "image-path",
     "The image path is not valid UTF-16: it contains half of a surrogate pair.",
     "Convert the whole path; cutting it to 64 UTF-16 units can split a pair.", "none"},
    {Reason::ImageMissing, Stage::Template, "image-missing",
     "The image file cannot be opened: it does not exist, is a folder, or access is denied.",
     "Use an absolute path; relative paths start at the worker's working directory.",
     "explain, replay, lint"},
    {Reason::ImageNotAFile, Stage::Template, "image-not-a-file",
     "The image path names a pipe, a device or another special file.", "Save the image as a file.",
     "explain, replay, lint"},
    {Reason::ImageEmpty, Stage::Template, "image-empty", "The image file is empty.",
     "Finish writing the file before adding the spec: write it under another name, then rename it.",
     "explain, replay, lint"},
    {Reason::ImageUnreadable, Stage::Template, "image-unreadable", "Reading the image file failed.",
     "Copy the file to a local disk.", "explain, replay, lint"},
    {Reason::ImageTooLarge, Stage::Template, "image-too-large", "The image file is larger than 64 MiB.",
     "Crop the image; a template is rarely larger than a window.", "explain, replay, lint"},
    {Reason::ImageFormat, Stage::Template, "image-format", "The file is not in a known image format.",
     "Save the image as PNG.", "explain, replay, lint"},
    {Reason::ImageTooManyPixels, Stage::Template, "image-too-many-pixels",
     "The image has more than 2^26 pixels.", "Crop the image.", "explain, replay, lint"},
    {Reason::ImageDamaged, Stage::Template, "image-damaged",
     "The file starts like an image but cannot be decoded.",
     "Save it again, and add the spec only when the file is complete.", "explain, replay, lint"},
    {Reason::ImageDepth, Stage::Template, "image-depth", "The image does not have 8 bits per channel.",
     "Save it with 8 bits per channel.", "explain, replay, lint"},
    {Reason::ImageChannels, Stage::Template, "image-channels", "The image has two channels (grey and alpha).",
     "Save it as grey without alpha, or as colour.", "explain, replay, lint"},
    {Reason::ImageRefused, Stage::Template, "image-refused", "The image library rejected the file.",
     "Save the image as PNG. The worker's log has the error.", "explain, replay, lint"},

    {Reason::TargetEmpty, Stage::Target, "target-empty",
     "The spec names no target window, so it is never searched for.",
     "Give part of the window's title, or its program's name with .exe.", "replay"},
    {Reason::WindowNotFound, Stage::Target, "window-not-found",
     "No top-level window matches the target by title or program.",
     "Start the program, or correct the target. A target longer than 4 characters that ends in .exe or .EXE "
     "is a program's file name; any other is part of a title.",
     "explain --live, replay"},
    {Reason::WindowHidden, Stage::Target, "window-hidden",
     "The windows that match the target are not visible.", "Show the window.", "explain --live, replay"},
    {Reason::WindowMinimised, Stage::Target, "window-minimised",
     "The windows that match the target are minimised.",
     "Restore the window; its specs resume within a tick.", "explain --live, replay"},
    {Reason::WindowUnmeasured, Stage::Target, "window-unmeasured",
     "The window was found, but the system did not report its client area.",
     "Nothing if the window was closing; the next tick tries again.", "explain --live"},
    {Reason::ClientAreaEmpty, Stage::Target, "client-area-empty",
     "The target window's client area has no pixels.",
     "Enlarge the window, or correct the target: the largest matching window is used.",
     "explain --live, replay"},
    {Reason::NoMonitor, Stage::Target, "no-monitor", "The system reports no monitor for the window.",
     "Check that a display is connected and the session is on screen.", "explain --live"},

    {Reason::RegionOutsideTarget, Stage::Region, "region-outside-target",
     "The region lies outside the target's client area.",
     "Give the region relative to the client area's top-left corner, in pixels at scale 1.",
     "explain, replay, tune, bench"},
    {Reason::RegionOffMonitor, Stage::Region, "region-off-monitor",
     "No part of the region is on a monitor, or on the one that `mon=` selects.",
     "Move the window onto the screen, or correct `mon=`.", "explain, replay"},
    {Reason::RegionTooSmall, Stage::Region, "region-too-small",
     "The visible part of the region is smaller than the template.",
     "Enlarge the region: the template must fit after clipping to the client area and the monitor, at "
     "the window's scale.",
     "explain, replay, tune, bench"},

    {Reason::CaptureFailed, Stage::Frame, "capture-failed",
     "The monitor could not be captured, or its frame could not be cut.",
     "See the error in the worker's log; it retries at least once a second. Check whether the session is "
     "locked or remote.",
     "explain --live, replay"},
    {Reason::CaptureLost, Stage::Frame, "capture-lost",
     "The worker lost access to the monitor, for example through a mode change or a secure screen.",
     "Nothing. The worker opens the capture again after 200 ms, then at least once a second.",
     "explain --live"},
    {Reason::NoNewFrame, Stage::Frame, "no-new-frame",
     "The screen has not changed; a still monitor delivers no frames, so there are no hits.",
     "Nothing. Whatever was seen last is still there; silence does not mean that it is gone.",
     "explain --live, replay"},
    {Reason::BetweenFrames, Stage::Frame, "between-frames",
     "The image appeared and disappeared between two frames; the worker takes one every 20 to 80 ms.",
     "Use fewer specs or smaller regions, so that the worker keeps to 20 ms.", "replay"},
    {Reason::FrameDivisor, Stage::Frame, "frame-divisor",
     "The spec is compared on every n-th frame only, and this was not one of them.",
     "Drop the FPS suffix, or give a larger number.", "replay"},
    {Reason::Interval, Stage::Frame, "interval",
     "The spec's interval since its last evaluation on this monitor has not passed.",
     "Lower `ms` or raise `fps`; `fast` sets 20 ms and `strict` 200 ms unless you set one.", "replay"},

    {Reason::EvaluationFailed, Stage::Comparison, "evaluation-failed",
     "The image library failed during the comparison; the worker's log has the error.",
     "Report it with the template and a screenshot.", "explain, replay"},
    {Reason::InputsMissing, Stage::Comparison, "inputs-missing",
     "The region or the template lacks the plane that the mode compares.",
     "Report it with the template and a screenshot: an accepted spec has all planes.",
     "explain, replay, tune, bench"},
    {Reason::NoPlacement, Stage::Comparison, "no-placement",
     "After rounding, the region at the template's scale is smaller than the template.",
     "Enlarge the region by a pixel or two.", "explain, replay, tune, bench"},
    {Reason::Difference, Stage::Comparison, "difference",
     "No good match: the closest place is too different from the template.",
     "Check the place first: is it what you are looking for? If so, raise `sq=` or cut a new template.",
     "explain, replay, tune, bench"},
    {Reason::MinScore, Stage::Comparison, "min-score",
     "The best place's score (1 minus the difference) is below the spec's minimum.",
     "Lower the threshold: above 0.5 it is the minimum score.", "explain, replay, tune, bench"},
    {Reason::PlacementOutside, Stage::Comparison, "placement-outside",
     "The best place extends beyond the grey image of the region.",
     "Report it with the template and a screenshot: all planes of a region have the same size.",
     "explain, replay, tune, bench"},
    {Reason::FlatWhite, Stage::Comparison, "flat-white",
     "The template is blank white, and the best place is not.", "Cut a template that shows more than white.",
     "explain, replay, tune, bench"},
    {Reason::NoEdges, Stage::Comparison, "no-edges", "Edge detection returned no image for the best place.",
     "Report it with the template and a screenshot.", "explain, replay, tune, bench"},
    {Reason::Darkness, Stage::Comparison, "darkness",
     "The template is vivid and flat, and the best place is much darker.",
     "To match the dark state too, such as a disabled button, add a spec with a template of it.",
     "explain, replay, tune, bench"},
    {Reason::GreyCorrelation, Stage::Comparison, "grey-correlation",
     "The grey levels of the best place do not follow the template's.",
     "Cut a new template with less background.", "explain, replay, tune, bench"},
    {Reason::EdgeCorrelation, Stage::Comparison, "edge-correlation",
     "The edges of the best place, plain and dilated, do not line up with the template's.",
     "Lower `--edge-min` (its limit has a floor), or cut a new template at the size the window shows.",
     "explain, replay, tune, bench"},
    {Reason::EdgeDensity, Stage::Comparison, "edge-density",
     "The best place has clearly more or fewer edges than the template.",
     "Cut a new template; no option moves this limit.", "explain, replay, tune, bench"},
    {Reason::Chroma, Stage::Comparison, "chroma",
     "The spec looks for red, and the red-difference plane of the best place does not follow the template's.",
     "Take `red` out of the name, unless the object is red and has more than one colour.",
     "explain, replay, tune, bench"},
    {Reason::Colour, Stage::Comparison, "colour",
     "Mean colour, share of red and mean a* of the best place all differ from the template's.",
     "Cut a new template under the current light and theme, or take `red` out of the name.",
     "explain, replay, tune, bench"},

    {Reason::DuplicateNear, Stage::Delivery, "duplicate-near",
     "A hit of the same name at nearly the same place was just reported.",
     "Nothing. Hits repeat after 150 ms, or after 0.6 of the spec's interval.", "replay"},
    {Reason::DuplicateWeaker, Stage::Delivery, "duplicate-weaker",
     "A hit of the same name with a score at least 0.02 higher was reported less than 300 ms ago.",
     "Give objects that are visible at the same time different names.", "replay"},
    {Reason::WorkerEnded, Stage::Delivery, "worker-ended",
     "The worker ended after the decision and before the hit reached the ring.",
     "Start it again and send its specs again.", "none"},
    {Reason::RingUnavailable, Stage::Delivery, "ring-unavailable",
     "The worker could not set up the hit ring at start; its log says why.",
     "End the program that keeps a hit ring of another size open, then restart the worker.", "none"},
    {Reason::RingFull, Stage::Delivery, "ring-full",
     "64 records in the hit ring were unread, so the new hit was dropped and counted.",
     "Read the ring: run one controller, or `quillmarkctl watch`.", "status"},
};

constexpr std::string_view kStages[] = {
    "The command", "The template file", "The target window",         "The region",
    "The frame",   "The comparison",    "Delivery to the controller"};

constexpr bool InOrder() {
  for (std::size_t i = 0; i < std::size(kReasons); ++i) {
    if (static_cast<std::size_t>(kReasons[i].reason) != i) return false;
  }
  return static_cast<std::size_t>(Reason::RingFull) + 1 == std::size(kReasons);
}
static_assert(InOrder(), "one entry per reason, in the enumeration's order");

}  // namespace

std::span<const ReasonEntry> AllReasons() {
  return kReasons;
}

const ReasonEntry& EntryOf(Reason reason) {
  return kReasons[static_cast<std::size_t>(reason)];
}

std::optional<Reason> ReasonOfCode(std::string_view code) {
  const auto* entry = std::ranges::find(kReasons, code, &ReasonEntry::code);
  if (entry == std::end(kReasons)) return std::nullopt;
  return entry->reason;
}

std::string_view TitleOf(Stage stage) {
  return kStages[static_cast<std::size_t>(stage)];
}

}  // namespace quillmark::reasons

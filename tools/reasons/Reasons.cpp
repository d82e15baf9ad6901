#include "reasons/Reasons.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace quillmark::explain {
namespace {

constexpr ReasonEntry kReasons[] = {
    {Reason::CommandNotRead, Stage::Command, "command-not-read",
     "Nobody has read the spec's command from the command ring.",
     "Start the worker of this session; `quillmarkctl ping` says whether it lives.", "status"},
    {Reason::CommandOverrun, Stage::Command, "command-overrun",
     "More than 64 commands were unread, and the worker skipped all but the newest 64.",
     "Send no command while 64 are unread; `quillmarkctl` waits by itself.", "none"},
    {Reason::NotInStore, Stage::Command, "not-in-store",
     "The worker does not have the spec: it was never added, or was removed, cleared or replaced by another "
     "of its name, or the worker has restarted.",
     "Add it again. A worker keeps nothing from one start to the next.", "none"},

    {Reason::ImagePath, Stage::Template, "image-path",
     "The path of the image is no valid UTF-16: it holds half of a surrogate pair.",
     "Convert the path as a whole; a path cut to 64 units can lose such a half.", "none"},
    {Reason::ImageMissing, Stage::Template, "image-missing",
     "The image file cannot be opened: there is none, it is a folder, or the worker may not read it.",
     "Give an absolute path; a relative one starts at the worker's working directory.",
     "explain, replay, lint"},
    {Reason::ImageNotAFile, Stage::Template, "image-not-a-file",
     "The path leads to something that is no regular file, such as a pipe or a device.",
     "Save the image as a file.", "explain, replay, lint"},
    {Reason::ImageEmpty, Stage::Template, "image-empty", "The image file has no bytes.",
     "Write the file whole before the spec is added; best under another name, then rename it.",
     "explain, replay, lint"},
    {Reason::ImageUnreadable, Stage::Template, "image-unreadable", "Reading the image file failed.",
     "Copy the file to a local disk.", "explain, replay, lint"},
    {Reason::ImageTooLarge, Stage::Template, "image-too-large", "The image file has more than 64 MiB.",
     "Cut the image to what is looked for; a template is hardly ever larger than a window.",
     "explain, replay, lint"},
    {Reason::ImageFormat, Stage::Template, "image-format",
     "The file's first bytes are those of no known image format.", "Save the image as PNG.",
     "explain, replay, lint"},
    {Reason::ImageTooManyPixels, Stage::Template, "image-too-many-pixels",
     "The file announces a picture of more than 2^26 pixels.", "Cut the image to what is looked for.",
     "explain, replay, lint"},
    {Reason::ImageDamaged, Stage::Template, "image-damaged",
     "The file begins as an image but cannot be decoded.",
     "Save it again, and add the spec only after the file is complete.", "explain, replay, lint"},
    {Reason::ImageDepth, Stage::Template, "image-depth", "The image has another depth than 8 bits a channel.",
     "Save it with 8 bits a channel.", "explain, replay, lint"},
    {Reason::ImageChannels, Stage::Template, "image-channels", "The image has two channels, grey with alpha.",
     "Save it as grey without alpha, or as colour with or without it.", "explain, replay, lint"},
    {Reason::ImageRefused, Stage::Template, "image-refused",
     "The image library refused the file for a reason of its own, which the worker's log names.",
     "Save the image as PNG.", "explain, replay, lint"},

    {Reason::TargetEmpty, Stage::Target, "target-empty",
     "The spec names no target window, and a spec without one is never searched for.",
     "Give a part of the window's title, or its program's name with .exe.", "replay"},
    {Reason::WindowNotFound, Stage::Target, "window-not-found",
     "No top-level window has the target's text in its title, or belongs to the program it names.",
     "Start the program, or correct the target. A text of more than 4 units that ends in .exe or .EXE is a "
     "program's file name, any other a part of the title.",
     "explain --live, replay"},
    {Reason::WindowHidden, Stage::Target, "window-hidden", "The windows that fit the target are not visible.",
     "Show the window.", "explain --live, replay"},
    {Reason::WindowMinimised, Stage::Target, "window-minimised",
     "The windows that fit the target are minimised.",
     "Restore the window; its specs go on by themselves within a tick.", "explain --live, replay"},
    {Reason::WindowUnmeasured, Stage::Target, "window-unmeasured",
     "The window was found, but the system did not give its client area.",
     "Nothing, when the window was just closing; the next tick looks again.", "explain --live"},
    {Reason::ClientAreaEmpty, Stage::Target, "client-area-empty",
     "The target window's client area has no pixels.",
     "Enlarge the window, or correct the target: the largest window that fits is taken.",
     "explain --live, replay"},
    {Reason::NoMonitor, Stage::Target, "no-monitor", "The system knows no monitor for the window.",
     "Look whether a display is connected and the session is on the screen.", "explain --live"},

    {Reason::RegionOutsideTarget, Stage::Region, "region-outside-target",
     "No pixel of the region lies inside the target's client area.",
     "Give the region relative to the client area's top-left corner, in pixels at scale 1.",
     "explain, replay, tune, bench"},
    {Reason::RegionOffMonitor, Stage::Region, "region-off-monitor",
     "No monitor shows a pixel of the region, or the one that the spec is pinned to does not.",
     "Move the window onto the screen, or correct `mon=`.", "explain, replay"},
    {Reason::RegionTooSmall, Stage::Region, "region-too-small",
     "What can be seen of the region is smaller than the template.",
     "Enlarge the region: it must hold the template after it was cut to the client area and to the monitor, "
     "and at the window's scale.",
     "explain, replay, tune, bench"},

    {Reason::CaptureFailed, Stage::Frame, "capture-failed",
     "An error ended the monitor's turn: it cannot be captured, or its frame cannot be cut.",
     "The worker's log names the error; it tries again, at least once a second. Check whether the session is "
     "locked or remote.",
     "explain --live, replay"},
    {Reason::CaptureLost, Stage::Frame, "capture-lost",
     "The capture of the monitor lost its access, as a change of mode or a secure screen causes.",
     "Nothing. The worker opens it again after 200 ms, then at least once a second.", "explain --live"},
    {Reason::NoNewFrame, Stage::Frame, "no-new-frame",
     "The screen has not changed: a still monitor gives no frames, hence no hits.",
     "Nothing. What was seen last is still there; silence does not mean that it has gone.",
     "explain --live, replay"},
    {Reason::BetweenFrames, Stage::Frame, "between-frames",
     "The image came and went between two frames: the worker takes one every 20 to 80 ms.",
     "Use fewer specs or smaller regions, so that the worker keeps to 20 ms.", "replay"},
    {Reason::FrameDivisor, Stage::Frame, "frame-divisor",
     "The spec takes part in every n-th frame only, and this was another.",
     "Leave the suffix FPS out, or give a larger number.", "replay"},
    {Reason::Interval, Stage::Frame, "interval",
     "The spec was evaluated on this monitor less than its interval ago.",
     "Lower `ms` or raise `fps`; `fast` brings 20 ms and `strict` 200 ms unless one is set.", "replay"},

    {Reason::EvaluationFailed, Stage::Comparison, "evaluation-failed",
     "An error of the image library ended the comparison; the worker's log names it.",
     "Report it with the template and a screenshot.", "explain, replay"},
    {Reason::InputsMissing, Stage::Comparison, "inputs-missing",
     "The region or the template lacks the plane that the mode compares.",
     "Report it with the template and a screenshot: a spec that was accepted has them all.",
     "explain, replay, tune, bench"},
    {Reason::NoPlacement, Stage::Comparison, "no-placement",
     "Brought to the template's scale, the region is smaller than the template by a rounding.",
     "Enlarge the region by a pixel or two.", "explain, replay, tune, bench"},
    {Reason::Difference, Stage::Comparison, "difference",
     "Even at the best place the region differs too much from the template.",
     "Look at the place first: is it what you look for? Then raise `sq=`, or cut the template anew.",
     "explain, replay, tune, bench"},
    {Reason::MinScore, Stage::Comparison, "min-score",
     "The best place's similarity, 1 less the difference, is below the spec's least score.",
     "Lower the threshold: above 0.5 it is the least score.", "explain, replay, tune, bench"},
    {Reason::PlacementOutside, Stage::Comparison, "placement-outside",
     "The best place reaches beyond the grey image of the region.",
     "Report it with the template and a screenshot: all planes of a region have one size.",
     "explain, replay, tune, bench"},
    {Reason::FlatWhite, Stage::Comparison, "flat-white",
     "The template is blank white, and the best place is not blank.",
     "Cut a template that shows something beside the white.", "explain, replay, tune, bench"},
    {Reason::NoEdges, Stage::Comparison, "no-edges", "The edge detection gave no image for the best place.",
     "Report it with the template and a screenshot.", "explain, replay, tune, bench"},
    {Reason::Darkness, Stage::Comparison, "darkness",
     "The template is vivid and flat, and the best place is much darker.",
     "Cut the template from the darkened state, such as a disabled button, as a spec of its own.",
     "explain, replay, tune, bench"},
    {Reason::GreyCorrelation, Stage::Comparison, "grey-correlation",
     "The grey levels of the best place do not rise and fall with the template's.",
     "Cut the template anew, with less of the ground around what you look for.",
     "explain, replay, tune, bench"},
    {Reason::EdgeCorrelation, Stage::Comparison, "edge-correlation",
     "The edges of the best place, plain and dilated, lie elsewhere than the template's.",
     "Lower `--edge-min`, whose limit has a floor, or cut the template anew at the size in which the "
     "window shows it.",
     "explain, replay, tune, bench"},
    {Reason::EdgeDensity, Stage::Comparison, "edge-density",
     "The best place has clearly more or fewer edges than the template.",
     "Cut the template anew; no option moves this limit.", "explain, replay, tune, bench"},
    {Reason::Chroma, Stage::Comparison, "chroma",
     "The spec looks for red, and the red-difference plane of the best place does not follow the template's.",
     "Take `red` out of the name, unless the object is red and of more than one colour.",
     "explain, replay, tune, bench"},
    {Reason::Colour, Stage::Comparison, "colour",
     "Neither the mean colour nor the share of red nor the mean a* of the best place agrees.",
     "Cut the template anew under the light and theme of now, or take `red` out of the name.",
     "explain, replay, tune, bench"},

    {Reason::DuplicateNear, Stage::Delivery, "duplicate-near",
     "A hit of the same name at nearly the same place was reported a moment ago.",
     "Nothing. Hits repeat after 150 ms, or after 0.6 of the spec's interval.", "replay"},
    {Reason::DuplicateWeaker, Stage::Delivery, "duplicate-weaker",
     "A hit of the same name with a score higher by 0.02 or more was reported less than 300 ms ago.",
     "Give two things that are seen at once two specs of different names.", "replay"},
    {Reason::WorkerEnded, Stage::Delivery, "worker-ended",
     "The worker ended between the decision and the hit ring.", "Start it again and give it its specs.",
     "none"},
    {Reason::RingUnavailable, Stage::Delivery, "ring-unavailable",
     "The worker could not set up the hit ring when it started; its log says why.",
     "End the program that holds a hit ring of another size, then start the worker again.", "none"},
    {Reason::RingFull, Stage::Delivery, "ring-full",
     "64 records of the hit ring were unread, so the new hit was refused and counted.",
     "Read the ring: run one controller, or `quillmarkctl watch`.", "status"},
};

constexpr std::string_view kStages[] = {
    "The command", "The template's file", "The target window",        "The region",
    "The frame",   "The comparison",      "The way to the controller"};

constexpr bool InOrder() {
  for (std::size_t i = 0; i < std::size(kReasons); ++i) {
    if (static_cast<std::size_t>(kReasons[i].reason) != i) return false;
  }
  return static_cast<std::size_t>(Reason::RingFull) + 1 == std::size(kReasons);
}
static_assert(InOrder(), "one entry a reason, in the enumeration's order");

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

}  // namespace quillmark::explain

#include "advice/FindingCodes.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace quillmark::advice {
namespace {

using enum FindingCode;
using enum Severity;

constexpr FindingEntry kFindings[] = {
    {EntryAtFault, Topic::Texts, Error, "entry-at-fault", "An entry in the spec file is invalid.",
     "`apply` skips it; the version sent earlier stays active.", "Correct the line."},
    {TooLong, Topic::Texts, Error, "too-long",
     "A text is too long for its field: at most 16 UTF-16 units for the target, 32 for the name with "
     "options, 64 for the path; a hit carries 31 units of the name.",
     "The spec cannot be sent; a controller that truncates the text sends a different spec.",
     "Shorten the text; a character above U+FFFF takes two units."},
    {NameEmpty, Topic::Texts, Error, "name-empty", "There is no name before the options.",
     "Hits carry no name, and specs without a name replace each other.", "Put a name before the first `:`."},
    {NameT1, Topic::Texts, Note, "name-t1", "The spec is called T1.",
     "The worker suppresses repeats of this name for only 30 ms instead of 150 ms.",
     "Choose another name unless you want that."},
    {TargetEmpty, Topic::Texts, Error, "target-empty", "The spec names no target window.",
     "The worker keeps it but never searches for it.",
     "Give part of the window's title, or its program's file name with .exe."},
    {TargetExeCase, Topic::Texts, Warning, "target-exe-case",
     "The target ends in .exe in mixed case, or has nothing before it.",
     "It is taken as part of a window's title and matches no program.",
     "Write .exe in lower case, after the program's name."},
    {OptionIgnored, Topic::Texts, Warning, "option-ignored",
     "The worker does not know an option word or cannot read its number.",
     "The option is ignored without a message.",
     "Use msN, fpsN, sq=D, mode=gray, bgr, s, h or hs, mon=primary, mon=N, fast or strict; an upper-case "
     "suffix such as HS must stand alone after the name."},
    {OptionOverridden, Topic::Texts, Warning, "option-overridden",
     "A later option undoes the threshold or an earlier option.", "The later value applies.",
     "The threshold applies first, then the options from left to right: put the one you want last, or remove "
     "the other."},
    {RedInName, Topic::Texts, Warning, "red-in-name",
     "The letters `red` appear inside a word of the name or its options.",
     "The worker treats the template as a red object: colour decides instead of grey values and edges.",
     "Choose another name. To look for red on purpose, make it a word by itself."},

    {ImageRefused, Topic::File, Error, "image-refused", "The worker rejects the image file.",
     "The spec is not added; an older one of the same name stays.", "See the reason's entry in silence.md."},
    {LossyFile, Topic::File, Warning, "lossy-file", "The template is a JPEG or lossy WebP file.",
     "Its levels and edges differ from the screen's: differences grow and edges match less.",
     "Cut a new template from a PNG screenshot; converting this file to PNG does not help."},
    {CompressionTraces, Topic::File, Warning, "compression-traces",
     "The image shows lossy compression artefacts, although its file is lossless.",
     "Its levels and edges differ from the screen's: differences grow and edges match less.",
     "Cut a new template from a screenshot that was never saved as JPEG."},
    {AlphaUnused, Topic::File, Warning, "alpha-unused", "Some of the template's pixels are transparent.",
     "The search compares them like any other, by the colour stored under them; only the mean colour honours "
     "transparency.",
     "Cut a template without transparent parts, or fill them with the background it appears on."},

    {NeverOnItself, Topic::Template, Error, "never-on-itself", "The spec rejects its own template.",
     "It will almost never give a hit.", "Change the limit or mode that rejects it."},
    {BlankWhite, Topic::Template, Warning, "blank-white", "The template is blank white.",
     "Any blank white area is a hit.", "Cut a template that shows more than white."},
    {Flat, Topic::Template, Warning, "flat", "The template is almost uniform.",
     "Grey correlation and edges are not compared; plain areas of similar brightness are hits.",
     "Cut a larger template that includes edges or text."},
    {LowDetail, Topic::Template, Note, "low-detail", "Fewer than 1 % of the template's pixels are edges.",
     "Edges are not compared; only difference and grey correlation decide.",
     "Include more edges in the template, or less plain area."},
    {Tiny, Topic::Template, Warning, "tiny", "The template has too few pixels to compare edges.",
     "So few pixels match by chance, so only small differences are accepted, except in the hue modes.",
     "Cut a larger template that includes some of its fixed surroundings."},
    {MatchesPlain, Topic::Template, Warning, "matches-plain",
     "A plain area in the template's mean colour is a hit.", "Empty background of that colour is reported.",
     "Lower the maximum difference, remove the option that disables structure checks, or cut a template with "
     "more contrast."},
    {RedWithoutRed, Topic::Template, Warning, "red-without-red",
     "The spec looks for a red object, but fewer than 2 % of the template's pixels are red.",
     "Grey values and edges do not decide, and the red checks pass almost anywhere.",
     "Take `red` out of the name and the options."},

    {DifferenceLoose, Topic::Limits, Warning, "difference-loose", "The spec accepts differences above 0.25.",
     "Anything of similar brightness passes the search; only the later steps can reject it.",
     "Use a threshold of 0.1, or what `quillmarkctl tune` proposes; a threshold is a difference up to 0.5 "
     "and a score above."},
    {DifferenceTight, Topic::Limits, Warning, "difference-tight",
     "The spec accepts no difference above 0.001.",
     "One changed pixel, or rounding in the search, rejects the hit.",
     "Use a threshold from 0.02 to 0.1, or a minimum score from 0.9 to 0.98."},
    {ScoreWithoutEffect, Topic::Limits, Warning, "score-without-effect",
     "The threshold is a minimum score, but the maximum difference is already stricter.",
     "The threshold changes nothing: the differences it was meant to allow are rejected.",
     "To allow more, give the threshold as a difference up to 0.5, or use `sq=`; to allow less, give a "
     "higher score."},
    {EdgeMinWithoutEffect, Topic::Limits, Note, "edge-min-without-effect",
     "The minimum edge correlation is below the limit's floor, or this spec ignores edges.",
     "The number changes nothing.", "Leave it out, or choose a mode and a template that compare edges."},
    {StructureWaived, Topic::Limits, Note, "structure-waived",
     "`strict` replaces grey values and edges by colour checks, which reject nothing unless the spec is red.",
     "Only the difference decides, at most 0.08 unless a later option raises it.",
     "Leave `strict` out, or keep the difference small with `sq=`."},
    {HueLoose, Topic::Limits, Warning, "hue-loose",
     "A hue mode accepts large differences, whatever the threshold or `sq=` says, and compares nothing else.",
     "Areas that hardly resemble the template are hits.",
     "Use a threshold of 0.9 or more: the minimum score applies in these modes too. Or use mode=bgr; "
     "`strict` chooses hs, so write mode=bgr before it."},
    {HueBlind, Topic::Limits, Warning, "hue-blind", "A plain area of a very different hue is a hit.",
     "The hue modes compare how the hue varies but little of its level: all plain hues in one half of the "
     "colour circle look the same.",
     "Use mode=bgr, or a threshold of 0.9 or more where that helps."},
    {HueOfGrey, Topic::Limits, Warning, "hue-of-grey",
     "In a hue mode, more than half of the template's pixels are grey, black or white.",
     "Such pixels have no hue: only 0 or noise is compared there.",
     "Use mode=gray or mode=bgr, or crop the template to its coloured part."},
    {HueSeam, Topic::Limits, Warning, "hue-seam",
     "In a hue mode, the template has reds at both ends of the hue scale.",
     "Hues 0 and 179 count as opposites, so a slight change in red gives the maximum difference.",
     "Use mode=bgr, with red as a word of the name."},

    {RegionOutside, Topic::Region, Error, "region-outside",
     "The region lies outside the window's client area.", "The spec is never compared.",
     "Give the region relative to the client area's top-left corner."},
    {RegionTooSmall, Topic::Region, Error, "region-too-small",
     "After clipping to the client area, the region is smaller than the template.",
     "The spec is never compared.", "Enlarge the region, or cut a smaller template."},
    {RegionCut, Topic::Region, Note, "region-cut", "The region extends beyond the client area.",
     "It is clipped without a message.", "End the region at the window's edge, unless the window will grow."},
    {RegionTight, Topic::Region, Note, "region-tight",
     "The region is no wider or no taller than the template.",
     "A move by one pixel is missed; if the window is scaled or the screen's edge clips the region, nothing "
     "is found.",
     "Leave a few pixels around the template."},

    {NotOnPicture, Topic::Picture, Note, "not-on-picture", "The spec gives no hit on the screenshot.",
     "None if the object is not there.",
     "If it is there, run `quillmarkctl explain` with the same screenshot."},
    {SecondAccepted, Topic::Picture, Warning, "second-accepted",
     "A second place in the region would also be a hit.",
     "It is reported as soon as it matches better or the first one disappears.",
     "Narrow the region, lower the maximum difference below the second place's, or cut a template that "
     "occurs only once."},
    {SecondClose, Topic::Picture, Note, "second-close",
     "A second place in the region is within the maximum difference; only a later step rejects it.",
     "A slight change on screen can turn it into a hit.",
     "Narrow the region, or lower the maximum difference below the second place's."},

    {SameName, Topic::Several, Error, "same-name", "Two specs have the same name.",
     "The later one replaces the earlier one; options do not make a name unique.",
     "Give each its own name before the first `:`."},
    {MatchesOther, Topic::Several, Warning, "matches-other",
     "The spec is a hit on another spec's template, and their regions overlap.",
     "Where that object is shown, both are reported.",
     "Lower the maximum difference below theirs, separate the regions, or cut templates that include what "
     "differs."},
};

constexpr std::string_view kTopics[] = {"Texts and options", "The image file", "The template",
                                        "Mode and limits",   "The region",     "On a screenshot",
                                        "Several specs"};

constexpr bool InOrder() {
  for (std::size_t i = 0; i < std::size(kFindings); ++i) {
    if (static_cast<std::size_t>(kFindings[i].code) != i) return false;
  }
  return static_cast<std::size_t>(MatchesOther) + 1 == std::size(kFindings);
}
static_assert(InOrder(), "one entry per code, in the enumeration's order");

}  // namespace

std::span<const FindingEntry> AllFindings() {
  return kFindings;
}

const FindingEntry& EntryOf(FindingCode code) {
  return kFindings[static_cast<std::size_t>(code)];
}

std::optional<FindingCode> FindingOfId(std::string_view id) {
  const auto* entry = std::ranges::find(kFindings, id, &FindingEntry::id);
  if (entry == std::end(kFindings)) return std::nullopt;
  return entry->code;
}

std::string_view TitleOf(Topic topic) {
  return kTopics[static_cast<std::size_t>(topic)];
}

std::string_view WordOf(Severity severity) {
  return severity == Note ? "note" : severity == Warning ? "warning" : "error";
}

}  // namespace quillmark::advice

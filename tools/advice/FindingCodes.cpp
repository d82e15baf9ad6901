#include "advice/FindingCodes.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

namespace quillmark::advice {
namespace {

using enum FindingCode;
using enum Severity;

constexpr FindingEntry kFindings[] = {
    {EntryAtFault, Topic::Texts, Error, "entry-at-fault", "An entry of the file of specs is at fault.",
     "`apply` refuses it; what was sent for it before stays.", "Correct the line."},
    {TooLong, Topic::Texts, Error, "too-long",
     "A text does not fit its field: 16 UTF-16 units for the target, 32 for the name with its options, 64 "
     "for "
     "the path; a hit carries 31 units of the name alone.",
     "The spec cannot be sent, and a controller that cuts the text sends another spec.",
     "Shorten the text; a character beyond U+FFFF counts as two units."},
    {NameEmpty, Topic::Texts, Error, "name-empty", "There is no name before the options.",
     "Hits carry no name, and all specs without one replace each other.", "Put a name before the first `:`."},
    {NameT1, Topic::Texts, Note, "name-t1", "The spec is called T1.",
     "The worker holds back repetitions of this one name for 30 ms only, in place of 150 ms.",
     "Choose another name unless that is wanted."},
    {TargetEmpty, Topic::Texts, Error, "target-empty", "The spec names no target window.",
     "It is kept but never searched for.",
     "Give a part of the window's title, or its program's file name with .exe."},
    {TargetExeCase, Topic::Texts, Warning, "target-exe-case",
     "The target ends in .exe, but neither in .exe nor in .EXE letter by letter, or has nothing before it.",
     "It is taken for a part of a window's title, and no program is found by it.",
     "Write the ending .exe in small letters."},
    {OptionIgnored, Topic::Texts, Warning, "option-ignored",
     "An option word, or its number, means nothing to the worker.",
     "It is dropped without a message, and the spec runs as if it were not there.",
     "The words are msN, fpsN, sq=D, mode=gray, bgr, s, h or hs, mon=primary, mon=N, fast and strict; a "
     "suffix "
     "in upper case such as HS stands alone behind the name."},
    {OptionOverridden, Topic::Texts, Warning, "option-overridden",
     "A later option takes back what the threshold or an earlier option set.",
     "The spec runs with the later one's value.",
     "Options apply from left to right, all after the threshold: put last what shall hold, or leave the "
     "other "
     "out."},
    {RedInName, Topic::Texts, Warning, "red-in-name",
     "The letters `red` stand inside a word of the name or of its options.",
     "The spec is taken for one that looks for a red object: grey values and edges no longer decide, colour "
     "does.",
     "Choose another name. To look for red on purpose, write it as a word of its own."},

    {ImageRefused, Topic::File, Error, "image-refused", "The worker refuses the image file.",
     "The spec is not added; an older one of its name stays as it is.",
     "What the reason says in silence.md."},
    {LossyFile, Topic::File, Warning, "lossy-file",
     "The template comes from a file of a lossy format, JPEG or lossy WebP.",
     "Its levels and edges are not those of the screen: differences grow, and edges agree less.",
     "Cut the template anew from a screenshot in PNG; saving this one as PNG brings nothing back."},
    {CompressionTraces, Topic::File, Warning, "compression-traces",
     "The picture bears traces of a lossy compression, though its file is lossless.",
     "Its levels and edges are not those of the screen: differences grow, and edges agree less.",
     "Cut the template anew from a screenshot that was never saved as JPEG."},
    {AlphaUnused, Topic::File, Warning, "alpha-unused", "Some of the template's pixels are transparent.",
     "The search compares them like all others, by the colour that the file keeps under them; transparency "
     "counts for the mean colour alone.",
     "Cut a template without transparent parts, or fill them with the ground on which it will be seen."},

    {NeverOnItself, Topic::Template, Error, "never-on-itself",
     "The spec refuses the very picture of its template.", "It will hardly ever be a hit.",
     "Change the limit or the mode that refuses it."},
    {BlankWhite, Topic::Template, Warning, "blank-white", "The template is blank white.",
     "Every blank white place is a hit.", "Cut a template that shows something beside the white."},
    {Flat, Topic::Template, Warning, "flat", "The template is almost uniform.",
     "Neither grey correlation nor edges are compared, and plain places of about its level are hits.",
     "Cut the template larger, with edges or text in it."},
    {LowDetail, Topic::Template, Note, "low-detail", "Fewer than 1 % of the template's pixels are edges.",
     "Edges are not compared; difference and grey correlation decide alone.",
     "Cut the template so that it holds more edges, or a smaller plain part."},
    {Tiny, Topic::Template, Warning, "tiny", "The template has too few pixels for its edges to be compared.",
     "So few pixels agree by chance, so only small differences are accepted, except in the hue modes.",
     "Cut the template larger, by some of what always surrounds it."},
    {MatchesPlain, Topic::Template, Warning, "matches-plain",
     "A plain area of the template's mean colour is a hit.", "Empty ground of the right colour is reported.",
     "Narrow the difference, leave out what keeps structure from being compared, or cut a template with more "
     "contrast."},
    {RedWithoutRed, Topic::Template, Warning, "red-without-red",
     "The spec looks for a red object, but fewer than 2 % of the template's pixels are red.",
     "Grey values and edges do not decide, and the tests of red agree almost everywhere.",
     "Take `red` out of the name and the options."},

    {DifferenceLoose, Topic::Limits, Warning, "difference-loose", "The spec accepts differences above 0.25.",
     "Pictures that merely have a similar brightness pass the search; the later steps alone refuse them.",
     "Use a threshold of 0.1, or what `quillmarkctl tune` proposes; up to 0.5 a threshold is a difference, "
     "above it a score."},
    {DifferenceTight, Topic::Limits, Warning, "difference-tight",
     "The spec accepts no difference above 0.001.",
     "One changed pixel, or the rounding of the search itself, refuses the hit.",
     "Use a threshold from 0.02 to 0.1, or a least score from 0.9 to 0.98."},
    {ScoreWithoutEffect, Topic::Limits, Warning, "score-without-effect",
     "The threshold is a least score, and the largest difference is stricter than it already.",
     "The threshold changes nothing: differences that it was meant to admit are refused.",
     "To admit more, give the threshold as a difference of at most 0.5, or `sq=`; to admit less, a higher "
     "score."},
    {EdgeMinWithoutEffect, Topic::Limits, Note, "edge-min-without-effect",
     "The minimum edge correlation is below the limit's floor, or edges have no say in this spec.",
     "The number changes nothing.",
     "Leave it out, or choose a mode and a template in which edges are compared."},
    {StructureWaived, Topic::Limits, Note, "structure-waived",
     "`strict` makes colour decide in place of grey values and edges, but its colour tests refuse nothing "
     "without red.",
     "The difference decides alone, at most 0.08 unless a later word sets more.",
     "Leave `strict` out, or hold the difference narrow by `sq=`."},
    {HueLoose, Topic::Limits, Warning, "hue-loose",
     "A hue mode accepts large differences, whatever the threshold or `sq=` says, and compares nothing else.",
     "Pictures that have little to do with the template are hits.",
     "Give a threshold of 0.9 or more: a least score holds in these modes too. Or use mode=bgr; `strict` "
     "alone "
     "chooses hs, so write mode=bgr before it."},
    {HueBlind, Topic::Limits, Warning, "hue-blind", "A plain area of quite another hue is a hit.",
     "The hue modes compare how the hue varies, and of its level little more than the half of the colour "
     "circle: all plain hues of one half look alike.",
     "Use mode=bgr, or a threshold of 0.9 or more where that helps."},
    {HueOfGrey, Topic::Limits, Warning, "hue-of-grey",
     "In a hue mode, more than half of the template's pixels are grey, black or white.",
     "Such pixels have no hue: what is compared there is 0, or noise.",
     "Use mode=gray or mode=bgr, or cut the template down to its coloured part."},
    {HueSeam, Topic::Limits, Warning, "hue-seam",
     "In a hue mode, the template has reds on both ends of the hue scale.",
     "Hues 0 and 179 count as opposite, so a red that changes ever so slightly differs by all there is.",
     "Use mode=bgr, and red as a word of the name."},

    {RegionOutside, Topic::Region, Error, "region-outside",
     "The region lies outside the window's client area.", "The spec is never compared.",
     "Give the region relative to the client area's top-left corner."},
    {RegionTooSmall, Topic::Region, Error, "region-too-small",
     "What the client area leaves of the region is smaller than the template.", "The spec is never compared.",
     "Enlarge the region beyond the template, or cut the template smaller."},
    {RegionCut, Topic::Region, Note, "region-cut", "The region reaches beyond the client area.",
     "What lies beyond is cut off, without a message.",
     "Let the region end where the window does, unless the window will grow."},
    {RegionTight, Topic::Region, Note, "region-tight",
     "The region is no wider or no higher than the template.",
     "Something that moves by one pixel is missed, and so is everything when the window scales or the "
     "screen's "
     "edge cuts the region.",
     "Leave some pixels around the template."},

    {NotOnPicture, Topic::Picture, Note, "not-on-picture", "The spec is no hit on the given picture.",
     "Nothing, when what it looks for is not there.",
     "When it is there, ask `quillmarkctl explain` with the same picture."},
    {SecondAccepted, Topic::Picture, Warning, "second-accepted",
     "A second place in the region would be a hit as well.",
     "It is reported as soon as it is the better one, or the first one goes.",
     "Narrow the region, or the difference to below the second place's, or cut a template that occurs once."},
    {SecondClose, Topic::Picture, Note, "second-close",
     "A second place in the region lies within the largest difference; a later step alone refuses it.",
     "A slight change of the screen can make it a hit.",
     "Narrow the region, or the difference to below the second place's."},

    {SameName, Topic::Several, Error, "same-name", "Two specs have the same name.",
     "The later one replaces the earlier one; options do not make names differ.",
     "Give each its own name, also before the first `:`."},
    {MatchesOther, Topic::Several, Warning, "matches-other",
     "The spec is a hit on another one's template, and their regions overlap.",
     "Where the other one is shown, both are reported.",
     "Narrow the difference to below theirs, keep the regions apart, or cut templates that show where they "
     "differ."},
};

constexpr std::string_view kTopics[] = {"Texts and options", "The image file", "The template",
                                        "Mode and limits",   "The region",     "On a picture of the window",
                                        "Several specs"};

constexpr bool InOrder() {
  for (std::size_t i = 0; i < std::size(kFindings); ++i) {
    if (static_cast<std::size_t>(kFindings[i].code) != i) return false;
  }
  return static_cast<std::size_t>(MatchesOther) + 1 == std::size(kFindings);
}
static_assert(InOrder(), "one entry a code, in the enumeration's order");

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

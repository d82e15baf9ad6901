#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "client/Text.h"
#include "commandline/CommandLine.h"
#include "commandline/PartialSpec.h"
#include "commandline/SpecArguments.h"
#include "commands/Reports.h"
#include "explain/Explain.h"
#include "explain/LiveLook.h"
#include "explain/Reports.h"
#include "host/Files.h"
#include "host/Pick.h"
#include "host/Terminal.h"
#include "live/Piece.h"
#include "picture/PngFile.h"
#include "text/Places.h"
#include "text/Printable.h"

namespace quillmark::control {
namespace {

namespace fs = std::filesystem;
using live::Piece;

constexpr char CaptureNotes[] =
    "The area is saved as the worker would see it: if the system stretches the window, it is scaled back to "
    "the window's own pixels. The screenshot is taken once the screen has not changed for 0.15 s, after 2 s "
    "at the latest.\n"
    "The file's text entries Target, Program, Piece, Client area, Scale and Monitor record its origin.\n"
    "The resulting spec is then checked by lint and explain on the current desktop; docs/lint.md and "
    "docs/explain.md describe their output. Exit code 0 means that the file was saved, whatever they found; "
    "1 that drawing was cancelled.\n"
    "With --json: {\"type\":\"captured\", \"path\":TEXT, \"w\":N, \"h\":N, \"target\":TEXT, \"title\":TEXT, "
    "\"program\":TEXT, \"rect\":{\"x\":N, \"y\":N, \"w\":N, \"h\":N}, \"roi\":{...}, \"client\":{\"w\":N, "
    "\"h\":N}, \"scale\":N, \"monitor\":N, \"visibleShare\":N, \"command\":[TEXT, ...]}, rect and roi in "
    "pixels of the client area; then the output of lint and explain.";

struct CaptureOptions {
  std::string file, target, rect, name;
  bool pick = false, force = false;
  int margin = 16;
  double delaySeconds = 0.0;
};

// The spec's name; raises std::invalid_argument when the file's name cannot be one.
std::string SpecName(const CaptureOptions& options, const fs::path& file) {
  const std::string name = options.name.empty() ? Utf8Of(file.stem()) : options.name;
  const std::string base = name.substr(0, name.find(':'));
  (void)client::NonEmptyField("the spec's name '" + base + "'", base, client::HitNameUnits);
  if (options.name.empty() && base != name) {
    throw std::invalid_argument("the file's name contains ':', which starts the options; give --name");
  }
  return name;
}

std::string SizeArgument(int width, int height) {
  return std::to_string(width) + "x" + std::to_string(height);
}

std::string RectArgument(const cv::Rect& r) {
  return PointText(r.tl()) + "," + PointText(r.br() - r.tl());
}

std::string NumberText(double number) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", number);
  return text;
}

PngTexts TextsOf(const Piece& piece) {
  const live::DesktopMonitor& monitor = piece.monitor;
  return {
      {"Software", "quillmarkctl " QUILLMARK_VERSION},
      {"Target", client::ToUtf8(piece.target)},
      {"Program", client::ToUtf8(piece.window.program)},
      {"Piece", RectArgument(piece.rect)},
      {"Client area", SizeArgument(piece.client.width, piece.client.height)},
      {"Scale", NumberText(piece.scale)},
      {"Monitor", std::to_string(monitor.number) + ", " + SizeArgument(monitor.Width(), monitor.Height()) +
                      ", " + std::to_string(monitor.dpi) + " dpi"}};
}

// Whatever covers the area is in the picture.
void WarnIfCovered(const Piece& piece, Output& output) {
  if (piece.visible >= 1.0) return;
  std::string by;
  for (const live::DesktopWindow& cover : piece.covers)
    by += (by.empty() ? "\"" : ", \"") + Printable(cover.title) + "\"";
  output.Note("only " + std::to_string(static_cast<int>(piece.visible * 100.0)) +
              " % of the area is visible; it is covered by " + by);
}

// The target's client area, cut out of a picture of the desktop if it shows all of it.
std::optional<advice::WindowPicture> ClientAreaIn(const explain::Explanation& explanation) {
  if (!explanation.sight) return std::nullopt;
  const explain::Picture& picture = explanation.sight->picture;
  const cv::Rect area = ToCv(explanation.spec.targetRect) - picture.origin;
  if ((area & cv::Rect(cv::Point(), picture.bgra.size())) != area) return std::nullopt;
  return advice::WindowPicture{picture.bgra(area), explanation.spec.targetScaleX};
}

// Lints and explains the spec on the current desktop.
void Review(const explain::SpecRequest& request, Output& output) {
  const std::vector<explain::Explanation> explanations =
      explain::ExplainLive(explain::PrepareExplanation(request));
  std::optional<advice::WindowPicture> window;
  for (const explain::Explanation& explanation : explanations) {
    if (!window) window = ClientAreaIn(explanation);
  }
  PrintLint({{.request = request}}, window ? &*window : nullptr, {}, output);
  output.Blank();
  PrintExplanations(explanations, output);
}

void Delay(double seconds, Progress& bar) {
  using Millis = std::chrono::milliseconds;
  const auto whole = std::chrono::duration_cast<Millis>(std::chrono::duration<double>(seconds));
  const auto start = Clock::now();
  for (Millis waited{}; waited < whole; waited = std::chrono::duration_cast<Millis>(Clock::now() - start)) {
    bar.Show(waited.count(), whole.count());
    std::this_thread::sleep_for(std::min(whole - waited, Millis(100)));
  }
}

ExitCode Capture(const CaptureOptions& options, Output& output) {
  const fs::path file = fs::absolute(PathOf(options.file)).lexically_normal();
  const std::string name = SpecName(options, file);
  if (!options.force && fs::exists(file)) {
    throw std::invalid_argument(Utf8Of(file) + " already exists; use --force to replace it");
  }
  if (options.target.empty() && !options.pick)
    throw std::invalid_argument("give --target, or --pick to draw the area");
  live::PieceChoice choice;
  if (!options.target.empty()) choice.target = client::Field("--target", options.target, client::TargetUnits);
  if (!options.rect.empty()) choice.rect = ReadRectangle("--rect", options.rect);
  Delay(options.delaySeconds, output.Bar());
  if (options.pick) {
    choice.picked = host::PickRectangle(
        [&output] { output.Note("draw a rectangle with the mouse; Escape or the right button cancels"); });
    if (!choice.picked) return output.Fail(No, "cancelled");
  }
  // The terminal may be on the captured screen.
  const Piece piece = output.Bar().Aside([&] { return live::CutPiece(choice); });
  host::WriteFile(file, EncodePng(piece.bgr, kSmallPng, TextsOf(piece)));

  const cv::Rect all(cv::Point(), piece.client);
  const cv::Rect grown(piece.rect.x - options.margin, piece.rect.y - options.margin,
                       piece.rect.width + 2 * options.margin, piece.rect.height + 2 * options.margin);
  const cv::Rect roi = grown & all;
  const std::string path = Utf8Of(file), target = client::ToUtf8(piece.target);
  const std::vector<std::string> command{"quillmarkctl", "add",    "--target", target,  "--name",
                                         name,           "--path", path,       "--roi", RectArgument(roi)};
  std::string line;
  for (const std::string& word : command) line += (line.empty() ? "" : " ") + host::ShellQuoted(word);
  output.Print({{"type", "captured"},
                {"path", path},
                {"w", piece.bgr.cols},
                {"h", piece.bgr.rows},
                {"target", target},
                {"title", client::ToUtf8(piece.window.title)},
                {"program", client::ToUtf8(piece.window.program)},
                {"rect", explain::RectJson(piece.rect)},
                {"roi", explain::RectJson(roi)},
                {"client", {{"w", piece.client.width}, {"h", piece.client.height}}},
                {"scale", piece.scale},
                {"monitor", piece.monitor.number},
                {"visibleShare", piece.visible},
                {"command", command}},
               "Saved " + path + ": " + SizeArgument(piece.bgr.cols, piece.bgr.rows) + " pixels at " +
                   PointText(piece.rect.tl()) + " in \"" + Printable(piece.window.title) + "\".\n");
  WarnIfCovered(piece, output);
  Review({piece.target, WideText("name", name), WideText("path", path), roi}, output);
  if (output.IsJson()) return Yes;
  output.Print({}, "\nTo let the worker search for it there, within " + std::to_string(options.margin) +
                       " pixels, run\n\n  " + line + '\n');
  return Yes;
}

}  // namespace

void AddCapture(CommandLine& line) {
  const auto [command, options] = line.Add<CaptureOptions>(
      "capture", "Cuts a template out of a window and prints the command that adds it.", Capture);
  command.Add("FILE", &options.file, "PNG file to write; the spec is named after it", {.required = true});
  command.Add("--target", &options.target,
              "Window, as in a spec: part of its title, or its program's name with .exe");
  command.Add("--rect", &options.rect, "Area to cut out, in pixels of the client area (all of it)",
              {.value = "X,Y,W,H", .needs = {"--target"}, .excludes = {"--pick"}});
  command.Add("--pick", &options.pick, "Draw the area with the mouse (X11 only)");
  command.Add("--name", &options.name, "Name of the spec with its options (the file's name)");
  command.Add("--margin", &options.margin, "Pixels to add around the area for the search region (16)",
              {.value = "N", .within = {{0, 100000}}});
  command.Add("--delay", &options.delaySeconds, "Time to wait first, for example to open a menu (0)",
              {.value = "SECONDS", .within = {{0.0, 3600.0}}});
  command.Add("--force", &options.force, "Replace the file if it exists");
  command.notes = CaptureNotes;
}

}  // namespace quillmark::control

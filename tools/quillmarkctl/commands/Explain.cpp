#include "explain/Explain.h"

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "Files.h"
#include "commandline/CommandLine.h"
#include "commandline/PartialSpec.h"
#include "explain/LiveLook.h"
#include "output/Reports.h"

namespace quillmark::control {
namespace {

using explain::Explanation;

constexpr char Notes[] =
    "The picture is a screenshot of the window's client area or, with --client, of a monitor or any part of "
    "one that shows the client area at that place; without scaling. docs/explain.md describes the answer and "
    "its fields, docs/silence.md the reasons.\n"
    "Exit codes: 0 it would be a hit, each of several specs; 1 it would not; 2 wrong use or error.";

struct Options {
  SpecArguments spec;
  std::string image, client, html;
  double scale = 1.0;
  bool live = false;
};

// Where the picture shows the client area; all of it without an argument.
Rect ClientArea(const std::string& argument, cv::Size picture) {
  constexpr std::int32_t most = 1 << 20;
  if (argument.empty()) return {0, 0, picture.width, picture.height};
  const Rectangle client = ReadRectangle("--client", argument);
  for (const std::int32_t number : {client.x, client.y, client.width, client.height}) {
    if (number < -most || number > most)
      throw std::invalid_argument("--client: " + argument + " is no place on a screen");
  }
  return {client.x, client.y, client.x + client.width, client.y + client.height};
}

Explanation ExplainImage(Explanation explanation, const cv::Mat& picture, const Options& options,
                         const explain::Progress& progress) {
  TemplateSpec& spec = explanation.spec;
  spec.targetRect = ClientArea(options.client, picture.size());
  spec.targetScaleX = spec.targetScaleY = options.scale;
  spec.targetValid = true;
  if (!explanation.reason) explain::ExplainOn(explanation, {picture, {0, 0}}, progress);
  return explanation;
}

ExitCode Run(const Options& options, Output& output) {
  const std::vector<Command> commands = SpecCommands(options.spec);
  if (commands.empty()) throw std::invalid_argument("give a spec as for add, or --specs");
  const cv::Mat picture = options.live ? cv::Mat() : ReadScreenshot("--image", options.image);
  // The page takes about as long as all else.
  const std::size_t steps = commands.size() * explain::kLongSteps * (options.html.empty() ? 1 : 2);
  std::vector<Explanation> explanations;
  bool allHit = true;
  for (std::size_t i = 0; i < commands.size(); ++i) {
    const Explanation prepared = explain::PrepareExplanation(RequestOf(commands[i]));
    const auto show = [&](std::size_t done) { output.Bar().Show(i * explain::kLongSteps + done, steps); };
    const std::vector<Explanation> answers =
        options.live ? explain::ExplainLive(prepared)
                     : std::vector{ExplainImage(prepared, picture, options, show)};
    allHit = allHit && std::ranges::any_of(answers, &Explanation::IsHit);
    explanations.insert(explanations.end(), answers.begin(), answers.end());
    show(explain::kLongSteps);
  }
  if (!options.html.empty()) WriteFile(PathOf(options.html), explain::HtmlReport(explanations));
  PrintExplanations(explanations, output);
  return allHit ? Yes : No;
}

}  // namespace

void AddExplain(CommandLine& line) {
  const auto options = std::make_shared<Options>();
  CommandModel& command =
      line.Add("explain", "Says why a spec is, or is not, found in a picture of its window.",
               [options](Output& output) { return Run(*options, output); });
  AddSpecOptions(command, options->spec, SpecIs::Optional);
  AddSpecFileOptions(command, options->spec);
  command.Add("--client", &options->client, "Where the screenshot shows the window's client area (all of it)",
              {.value = "X,Y,W,H", .needs = {"--image"}});
  command.Add("--scale", &options->scale, "Desktop pixels for one pixel of the template (1)",
              {.value = "N", .within = {{0.25, 8.0}}, .needs = {"--image"}});
  command.Add("--html", &options->html, "Write the answer as a page with pictures, too", {.value = "FILE"});
  command.Add("--image", &options->image, "Screenshot to look in", {.value = "FILE"});
  command.Add("--live", &options->live, "Look at the desktop as it is now, as the worker does");
  command.oneOf = {"picture", "What to look at", {"--image", "--live"}};
  command.notes = Notes;
}

}  // namespace quillmark::control

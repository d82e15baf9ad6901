#include "explain/Explain.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "commandline/CommandLine.h"
#include "commandline/PartialSpec.h"
#include "commands/Reports.h"
#include "explain/LiveLook.h"
#include "host/Files.h"
#include "text/Printable.h"

namespace quillmark::control {
namespace {

using explain::Explanation;

constexpr char ExplainNotes[] =
    "The screenshot shows the window's client area or, with --client, a larger part of the screen with the "
    "client area at that position; it must not be scaled. docs/explain.md describes the output and its "
    "fields, docs/silence.md the reasons.\n"
    "Exit codes: 0 every spec would be a hit, 1 at least one would not, 2 usage error or failure.";

struct ExplainOptions {
  SpecArguments spec;
  std::string image, client, html;
  double scale = 1.0;
  bool live = false;
};

// Where the picture shows the client area: everywhere without an argument.
Rect ClientArea(const std::string& argument, cv::Size picture) {
  constexpr std::int32_t max = 1 << 20;
  if (argument.empty()) return {0, 0, picture.width, picture.height};
  const cv::Rect client = ReadRectangle("--client", argument);
  for (const std::int32_t number : {client.x, client.y, client.width, client.height}) {
    if (number < -max || number > max)
      throw std::invalid_argument("--client: " + argument + " is outside any screen");
  }
  return {client.x, client.y, client.x + client.width, client.y + client.height};
}

Explanation ExplainImage(Explanation explanation, const cv::Mat& picture, const ExplainOptions& options,
                         const explain::Progress& progress) {
  TemplateSpec& spec = explanation.spec;
  spec.targetRect = ClientArea(options.client, picture.size());
  spec.targetScaleX = spec.targetScaleY = options.scale;
  spec.targetValid = true;
  if (!explanation.reason) explain::ExplainOn(explanation, {picture, {0, 0}}, progress);
  return explanation;
}

ExitCode RunExplain(const ExplainOptions& options, Output& output) {
  const std::vector<Command> commands = SpecCommands(options.spec);
  if (commands.empty()) throw std::invalid_argument("give a spec as for add, or use --specs");
  const cv::Mat picture = options.live ? cv::Mat() : ReadScreenshot("--image", options.image);
  // Rendering the page takes about as long as everything else.
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
  if (!options.html.empty()) host::WriteFile(PathOf(options.html), explain::HtmlReport(explanations));
  PrintExplanations(explanations, output);
  return allHit ? Yes : No;
}

}  // namespace

void AddExplain(CommandLine& line) {
  const auto [command, options] = line.Add<ExplainOptions>(
      "explain", "Explains why a spec matches a screenshot of its window, or why not.", RunExplain);
  AddSpecOptions(command, options.spec, SpecIs::Optional);
  AddSpecFileOptions(command, options.spec);
  command.Add("--client", &options.client, "Position of the client area in the screenshot (all of it)",
              {.value = "X,Y,W,H", .needs = {"--image"}});
  command.Add("--scale", &options.scale, "Screenshot pixels per template pixel (1)",
              {.value = "N", .within = {{0.25, 8.0}}, .needs = {"--image"}});
  command.Add("--html", &options.html, "Also write the explanation as a page with pictures",
              {.value = "FILE"});
  command.Add("--image", &options.image, "Screenshot to search", {.value = "FILE"});
  command.Add("--live", &options.live, "Search the current desktop, as the worker does");
  command.oneOf = {"picture", "What to search", {"--image", "--live"}};
  command.notes = ExplainNotes;
}

}  // namespace quillmark::control

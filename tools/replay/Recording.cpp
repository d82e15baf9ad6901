#include "replay/Recording.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "client/Text.h"
#include "ipc/WireFormat.h"
#include "replay/JsonFields.h"
#include "text/Places.h"

namespace quillmark::replay {
namespace {

using Json = nlohmann::ordered_json;

constexpr char Format[] = "quillmark-recording";
constexpr std::int64_t Version = 1;
// 3000-01-01, UTC milliseconds.
constexpr std::int64_t LatestStart = 32'503'680'000'000;

constexpr std::size_t TitleUnits = 511;    // what the worker reads of a title
constexpr std::size_t ProgramUnits = 259;  // and of a path
constexpr std::size_t FileBytes = 1024;

// Of a monitor at template scale: more than real desktops need, but still fits into memory.
constexpr double MaxPixelsScaled = 1 << 28;

RecordedMonitor ReadMonitor(const JsonField& field) {
  field.Only({"id", "rect"});
  RecordedMonitor monitor{field.At("id").Name(64), field.At("rect").Rectangle(1)};
  if (const cv::Size size = ToCv(monitor.rect).size(); std::max(size.width, size.height) > MaxPixelsASide) {
    field.At("rect").Refuse("has a side of more than " + std::to_string(MaxPixelsASide) + " pixels");
  }
  return monitor;
}

std::vector<RecordedMonitor> ReadMonitors(const JsonField& field) {
  std::vector<RecordedMonitor> monitors;
  int primaries = 0;
  for (const JsonField& element : field.Elements(MaxMonitors)) {
    RecordedMonitor monitor = ReadMonitor(element);
    if (std::ranges::count(monitors, monitor.id, &RecordedMonitor::id) != 0) {
      element.At("id").Refuse("is the id of another monitor");
    }
    primaries += monitor.rect.left == 0 && monitor.rect.top == 0;
    monitors.push_back(std::move(monitor));
  }
  if (primaries != 1) field.Refuse("exactly one of them, the primary, must be at 0, 0");
  return monitors;
}

RecordedWindow ReadWindow(const JsonField& field, double largestMonitor) {
  field.Only({"title", "program", "client", "outer", "visible", "minimised", "scale"});
  RecordedWindow window;
  window.title = field.At("title").Text16(TitleUnits);
  if (const auto program = field.Find("program")) window.program = program->Text16(ProgramUnits);
  window.client = field.At("client").Rectangle(0);
  const auto outer = field.Find("outer");
  window.outer = outer ? outer->Rectangle(0) : window.client;
  if (const auto visible = field.Find("visible")) window.visible = visible->Boolean();
  if (const auto minimised = field.Find("minimised")) window.minimised = minimised->Boolean();
  if (const auto scale = field.Find("scale")) {
    window.scale = scale->Number(0.1, 10.0);
    if (largestMonitor / (window.scale * window.scale) > MaxPixelsScaled) {
      scale->Refuse("gives a monitor more than 2^28 pixels");
    }
  }
  return window;
}

// Reads `t`, which must be at least `min`; the next one must be later by `step`.
std::int64_t ReadTime(const JsonField& field, std::int64_t& min, std::int64_t step) {
  const JsonField time = field.At("t");
  const std::int64_t tMs = time.Integer(0, MaxMilliseconds);
  if (tMs < min) time.Refuse("is not after the element before it");
  min = tMs + step;
  return tMs;
}

std::vector<RecordedWindows> ReadWindows(const JsonField& field,
                                         const std::vector<RecordedMonitor>& monitors) {
  double largest = 0.0;
  for (const auto& [id, rect] : monitors) {
    largest = std::max(largest, 1.0 * (rect.right - rect.left) * (rect.bottom - rect.top));
  }
  std::vector<RecordedWindows> changes;
  std::int64_t min = 0;
  for (const JsonField& element : field.Elements(MaxChanges)) {
    element.Only({"t", "windows"});
    RecordedWindows change{ReadTime(element, min, 1), {}};
    for (const JsonField& window : element.At("windows").Elements(MaxWindows)) {
      change.windows.push_back(ReadWindow(window, largest));
    }
    changes.push_back(std::move(change));
  }
  return changes;
}

std::vector<RecordedFrame> ReadFrames(const JsonField& field, const std::vector<RecordedMonitor>& monitors) {
  std::vector<RecordedFrame> frames;
  std::int64_t min = 0;
  for (const JsonField& element : field.Elements(MaxFrames)) {
    element.Only({"t", "monitor", "file"});
    RecordedFrame frame;
    frame.tMs = ReadTime(element, min, 0);
    const std::string id = element.At("monitor").Text(64);
    const auto monitor = std::ranges::find(monitors, id, &RecordedMonitor::id);
    if (monitor == monitors.end()) element.At("monitor").Refuse("no monitor has the id '" + id + "'");
    frame.monitor = static_cast<std::size_t>(monitor - monitors.begin());
    frame.file = element.At("file").Name(FileBytes);
    frames.push_back(std::move(frame));
  }
  return frames;
}

RecordedSpec ReadSpec(const JsonField& field) {
  field.Only({"target", "name", "path", "roi", "edge-min", "threshold"});
  RecordedSpec spec;
  spec.target = field.At("target").Text16(std::size(CmdSlot{}.target));
  spec.name = field.At("name").Name16(std::size(CmdSlot{}.name));
  spec.path = field.At("path").Name(FileBytes);
  spec.roi = ToCv(field.At("roi").Rectangle(1));
  if (const auto edge = field.Find("edge-min")) spec.edgeMin = static_cast<float>(edge->Number(-1e6, 1e6));
  if (const auto limit = field.Find("threshold")) spec.threshold = static_cast<float>(limit->Number(0, 1));
  return spec;
}

Json ToJson(const Rect& rect) {
  return {rect.left, rect.top, rect.right - rect.left, rect.bottom - rect.top};
}

Json ToJson(const RecordedWindow& window) {
  Json json{{"title", client::ToUtf8(window.title)}};
  if (!window.program.empty()) json["program"] = client::ToUtf8(window.program);
  json["client"] = ToJson(window.client);
  json["outer"] = ToJson(window.outer);
  if (!window.visible) json["visible"] = false;
  if (window.minimised) json["minimised"] = true;
  if (window.scale != 1.0) json["scale"] = window.scale;
  return json;
}

Json ToJson(const RecordedSpec& spec) {
  Json json{{"target", client::ToUtf8(spec.target)},
            {"name", client::ToUtf8(spec.name)},
            {"path", spec.path},
            {"roi", {spec.roi.x, spec.roi.y, spec.roi.width, spec.roi.height}},
            {"edge-min", Shortest(spec.edgeMin)}};
  if (spec.threshold >= 0.0f) json["threshold"] = Shortest(spec.threshold);
  return json;
}

// One element per line, so that people can read and edit the file.
void AppendList(std::string& text, const char* name, const std::vector<Json>& elements) {
  text += ",\n  \"" + std::string(name) + "\": [";
  const char* separator = "\n    ";
  for (const Json& element : elements) {
    text += separator + element.dump(-1, ' ', false, Json::error_handler_t::replace);
    separator = ",\n    ";
  }
  text += elements.empty() ? "]" : "\n  ]";
}

}  // namespace

Recording ReadRecording(const std::filesystem::path& folder) {
  const JsonField file = JsonField::OfFile(folder / RecordingFile);
  file.Only({"format", "version", "start", "monitors", "windows", "frames", "specs"});
  if (file.At("format").Text(FileBytes) != Format) file.At("format").Refuse("must be " + std::string(Format));
  (void)file.At("version").Integer(Version, Version);
  Recording recording;
  recording.startMs = static_cast<std::uint64_t>(file.At("start").Integer(0, LatestStart));
  recording.monitors = ReadMonitors(file.At("monitors"));
  recording.windows = ReadWindows(file.At("windows"), recording.monitors);
  recording.frames = ReadFrames(file.At("frames"), recording.monitors);
  for (const JsonField& spec : file.At("specs").Elements(MaxSpecs)) {
    recording.specs.push_back(ReadSpec(spec));
  }
  return recording;
}

std::string TextOf(const Recording& recording) {
  std::string text = "{\n  \"format\": \"" + std::string(Format) +
                     "\",\n  \"version\": " + std::to_string(Version) +
                     ",\n  \"start\": " + std::to_string(recording.startMs);
  std::vector<Json> monitors, windows, frames, specs;
  for (const RecordedMonitor& monitor : recording.monitors) {
    monitors.push_back({{"id", monitor.id}, {"rect", ToJson(monitor.rect)}});
  }
  for (const RecordedWindows& change : recording.windows) {
    Json list = Json::array();
    for (const RecordedWindow& window : change.windows) list.push_back(ToJson(window));
    windows.push_back({{"t", change.tMs}, {"windows", std::move(list)}});
  }
  for (const RecordedFrame& frame : recording.frames) {
    frames.push_back(
        {{"t", frame.tMs}, {"monitor", recording.monitors[frame.monitor].id}, {"file", frame.file}});
  }
  for (const RecordedSpec& spec : recording.specs) specs.push_back(ToJson(spec));
  AppendList(text, "monitors", monitors);
  AppendList(text, "windows", windows);
  AppendList(text, "frames", frames);
  AppendList(text, "specs", specs);
  return text + "\n}\n";
}

}  // namespace quillmark::replay

#include "StoryPage.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <pugixml.hpp>
#include <sstream>

#include "StoryText.h"
#include "Words.h"

namespace vyhost {
namespace {

using Node = pugi::xml_node;

// The style has no "<", ">" or "&": XML and HTML disagree on how to write them here, and the page is read as both.
constexpr const char* kStyle = R"(
:root { --paper: #f6f6f3; --card: #ffffff; --ink: #26272b; --soft: #63666f; --line: #dcdcd6; --accent: #1f6f8b;
  --bad: #b3261e; --warn: #a15c00; --good: #2d6a4f; }
@media (prefers-color-scheme: dark) {
  :root { --paper: #17181b; --card: #212327; --ink: #e8e8e4; --soft: #a4a8b2; --line: #363940; --accent: #6fc0d8;
    --bad: #ff8a80; --warn: #f0b357; --good: #7fd1a8; }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--paper); color: var(--ink); font: 16px/1.5 system-ui, sans-serif; }
main { max-width: 1160px; margin: 0 auto; padding: 28px 20px 48px; }
h1 { margin: 0; font-size: 28px; letter-spacing: -0.02em; overflow-wrap: anywhere; }
h2 { margin: 36px 0 10px; font-size: 21px; }
h3 { margin: 0; font-size: 17px; }
p { margin: 4px 0; overflow-wrap: anywhere; }
.soft { color: var(--soft); font-size: 13px; }
section { background: var(--card); border: 1px solid var(--line); border-radius: 10px; padding: 16px 18px; margin: 12px 0; }
.findings { list-style: none; margin: 18px 0 0; padding: 0; display: flex; flex-wrap: wrap; gap: 8px; }
.findings li { border-left: 4px solid var(--bad); background: var(--card); padding: 6px 14px; border-radius: 4px;
  font-weight: 600; }
.findings .good { border-color: var(--good); }
.lane { display: grid; grid-template-columns: 190px 1fr; gap: 4px 14px; align-items: center; margin: 8px 0; font-size: 13px; }
.lane svg { display: block; width: 100%; height: 40px; background: var(--paper); border-radius: 4px; }
.axis { display: flex; justify-content: space-between; }
.frame { fill: var(--accent); }
.error { fill: var(--bad); }
.absorbed { fill: var(--warn); }
.chain { display: grid; grid-template-columns: repeat(auto-fill, minmax(200px, 1fr)); gap: 10px 24px; list-style: none;
  margin: 14px 0; padding: 0 16px 0 0; }
.chain li { position: relative; border: 1.5px solid var(--accent); border-radius: 8px; padding: 8px 12px; font-size: 13px;
  min-width: 0; overflow-wrap: anywhere; }
.chain li:not(:last-child)::after { content: "\2192"; position: absolute; right: -20px; top: 50%;
  transform: translateY(-50%); color: var(--soft); }
.chain b { display: block; }
.chain .off { border-style: dashed; border-color: var(--soft); }
.chain .out { border-color: var(--bad); border-style: dashed; }
.chain .out b { text-decoration: line-through; }
.chain .out span { color: var(--bad); }
.bar { display: block; width: 100%; height: 8px; margin: 6px 0 2px; background: var(--paper); border-radius: 4px; }
.bar .tail { fill: var(--accent); opacity: 0.35; }
.wide { overflow-x: auto; }
table { border-collapse: collapse; font-size: 13px; width: 100%; }
th, td { text-align: left; vertical-align: top; padding: 5px 14px 5px 0; border-bottom: 1px solid var(--line); }
th { color: var(--soft); font-weight: 600; }
td.n, th.n { text-align: right; white-space: nowrap; font-variant-numeric: tabular-nums; }
td.t { min-width: 15em; overflow-wrap: anywhere; }
details { margin-top: 12px; }
details:first-child { margin-top: 0; }
summary { cursor: pointer; color: var(--accent); font-weight: 600; font-size: 14px; }
@media (max-width: 640px) {
  main { padding: 18px 12px 32px; }
  section { padding: 12px; }
  .lane { grid-template-columns: 1fr; }
  .chain { grid-template-columns: 1fr; gap: 18px; padding: 0; }
  .chain li:not(:last-child)::after { content: "\2193"; right: 50%; top: auto; bottom: -17px; transform: none; font-size: 12px; }
}
)";

/// Pieces of the recording's length that can be told apart on the time line.
constexpr std::size_t kPieces = 300;

/// Appends an element with a text. An empty text becomes a dash, as HTML elements need content.
Node add(Node parent, const char* name, const std::string& text) {
  Node node = parent.append_child(name);
  node.text().set(text.empty() ? "\xE2\x80\x93" : printable(text).c_str());
  return node;
}

Node addClass(Node node, const char* name) {
  node.append_attribute("class") = name;
  return node;
}

void addRectangle(Node drawing, const char* kind, double x, double y, double width, double height) {
  Node rectangle = addClass(drawing.append_child("rect"), kind);
  const std::array<std::pair<const char*, double>, 4> sides = {
      {{"x", x}, {"y", y}, {"width", width}, {"height", height}}};
  for (const auto& [name, value] : sides) rectangle.append_attribute(name) = fmt::format("{:.2f}", value).c_str();
}

/// A drawing that fills its place, whatever that measures.
Node addDrawing(Node parent, std::size_t width, std::size_t height, const std::string& label) {
  Node drawing = parent.append_child("svg");
  drawing.append_attribute("xmlns") = "http://www.w3.org/2000/svg";
  drawing.append_attribute("viewBox") = fmt::format("0 0 {} {}", width, height).c_str();
  drawing.append_attribute("preserveAspectRatio") = "none";
  drawing.append_attribute("role") = "img";
  drawing.append_attribute("aria-label") = printable(label).c_str();
  return drawing;
}

class Table {
 public:
  /// Columns whose name begins with "#" hold numbers.
  Table(Node parent, const std::vector<std::string>& columns) {
    body_ = addClass(parent.append_child("div"), "wide").append_child("table").append_child("tbody");
    Node head = body_.append_child("tr");
    for (const std::string& column : columns) {
      areNumbers_.push_back(column.rfind('#', 0) == 0);
      Node cell = add(head, "th", column.substr(areNumbers_.back() ? 1 : 0));
      if (areNumbers_.back()) addClass(cell, "n");
    }
  }
  void row(const std::vector<std::string>& cells) {
    Node line = body_.append_child("tr");
    for (std::size_t i = 0; i < cells.size(); ++i) {
      Node cell = add(line, "td", cells[i]);
      if (areNumbers_[i])
        addClass(cell, "n");
      else if (i + 1 == cells.size())
        addClass(cell, "t");
    }
  }

 private:
  Node body_;
  std::vector<bool> areNumbers_;
};

class TimeLine {
 public:
  TimeLine(Node parent, Duration length) : parent_(parent), length_(std::max<Duration>(length, 1)) {}

  void addFrames(const std::string& name, const std::vector<FrameWalk>& frames) {
    std::array<Duration, kPieces> longest = {};
    std::array<bool, kPieces> hasFailed = {};
    Duration most = 1;
    for (const FrameWalk& frame : frames) {
      const std::size_t piece = pieceOf(frame.time);
      longest[piece] = std::max(longest[piece], frame.whole);
      hasFailed[piece] = hasFailed[piece] || frame.hasFailed;
      most = std::max(most, frame.whole);
    }
    const std::string label = fmt::format("{}: {} frames, the longest {}", name, frames.size(), milliseconds(most));
    Node drawing = addLane(label);
    for (std::size_t i = 0; i < kPieces; ++i) {
      if (longest[i] == 0) continue;
      const double height = 38 * static_cast<double>(longest[i]) / static_cast<double>(most);
      addRectangle(drawing, hasFailed[i] ? "error" : "frame", static_cast<double>(i), 40 - height, 0.9, height);
    }
  }

  void addTroubles(const std::string& name, const char* kind, const std::vector<Trouble>& troubles) {
    std::array<std::size_t, kPieces> counts = {};
    std::size_t most = 0, all = 0;
    for (const Trouble& trouble : troubles) {
      all += trouble.times.size();
      for (const Time time : trouble.times) most = std::max(most, ++counts[pieceOf(time)]);
    }
    if (all == 0) return;
    Node drawing = addLane(fmt::format("{}: {}", name, all));
    for (std::size_t i = 0; i < kPieces; ++i) {
      if (counts[i] == 0) continue;
      // One alone is to be seen as well.
      const double height = 12 + 26 * static_cast<double>(counts[i]) / static_cast<double>(most);
      addRectangle(drawing, kind, static_cast<double>(i), 40 - height, 1.6, height);
    }
  }

  void addAxis() {
    Node lane = addClass(parent_.append_child("div"), "lane");
    add(lane, "span", "time since the first call");
    Node axis = addClass(lane.append_child("div"), "axis soft");
    for (const unsigned quarter : {0U, 2U, 4U})
      add(axis, "span", fmt::format("{:.3f} s", static_cast<double>(length_) * quarter / 4e9));
  }

 private:
  std::size_t pieceOf(Time time) const {
    return std::min(kPieces - 1,
                    static_cast<std::size_t>(static_cast<double>(time) / static_cast<double>(length_) * kPieces));
  }
  Node addLane(const std::string& label) {
    Node lane = addClass(parent_.append_child("div"), "lane");
    add(lane, "span", label);
    return addDrawing(lane, kPieces, 40, label);
  }

  Node parent_;
  const Duration length_;
};

void addFilter(Node list, const FilterStory& filter, Duration longest) {
  Node item = list.append_child("li");
  add(item, "b", filter.name);
  std::string facts = filter.isOwn ? "the library's own" : "of the host";
  if (!filter.arguments.empty()) facts += fmt::format(", {}", fmt::join(filter.arguments, " "));
  if (filter.leftOut) {
    addClass(item, "out");
    const auto& [function, message, behind] = *filter.leftOut;
    add(item, "span",
        fmt::format("left out: {} failed: \"{}\"{}{}", function, message, behind.empty() ? "" : ", because of ",
                    behind));
    addClass(add(item, "div", facts), "soft");
    return;
  }
  if (!filter.startsEnabled.value_or(false)) {
    addClass(item, "off");
    facts += ", starts off";
  }
  addClass(add(item, "div", facts), "soft");
  std::vector<std::string> remarks;
  if (!filter.runs.empty()) {
    const Spread spread = Spread::of(filter.runs);
    Node bar = addClass(addDrawing(item, 100, 8, filter.name + ": " + milliseconds(spread.median)), "bar");
    const auto share = [longest](Duration duration) {
      return 100 * static_cast<double>(duration) / static_cast<double>(std::max<Duration>(longest, 1));
    };
    addRectangle(bar, "tail", 0, 0, share(spread.percentile95), 8);
    addRectangle(bar, "frame", 0, 0, share(spread.median), 8);
    remarks.push_back(milliseconds(spread.median));
    remarks.push_back("95 %: " + milliseconds(spread.percentile95));
  }
  if (filter.timesOff != 0) remarks.push_back(fmt::format("off for {} frames", filter.timesOff));
  if (filter.timesPassedOver != 0) remarks.push_back(fmt::format("not for {} frames", filter.timesPassedOver));
  if (filter.timesFailed != 0) remarks.push_back(fmt::format("failed for {} frames", filter.timesFailed));
  if (!remarks.empty()) addClass(add(item, "div", fmt::format("{}", fmt::join(remarks, ", "))), "soft");
}

void addSettings(Node section, const ProcessorStory& processor) {
  if (!processor.settings.empty()) {
    Node details = section.append_child("details");
    add(details, "summary", fmt::format("Settings published ({})", processor.settings.size()));
    Table table(details, {"Setting", "Type", "#Min", "#Max", "#Step", "#Value", "Description"});
    for (const Setting& each : processor.settings)
      table.row({each.key, each.type, each.min, each.max, each.step, each.value, each.description});
  }
  if (!processor.updates.empty()) {
    Node details = section.append_child("details");
    details.append_attribute("open") = "open";
    add(details, "summary", fmt::format("Settings set ({})", processor.updates.size()));
    Table table(details, {"#Time", "Setting", "#From", "#To", "Error"});
    for (const SettingsUpdate& update : processor.updates) {
      for (const SettingChange& change : update.changes)
        table.row({seconds(update.time), change.key, change.from, change.to, ""});
      if (update.changes.empty() || !update.error.empty())
        table.row({seconds(update.time), update.error.empty() ? "no change" : "", "", "", update.error});
    }
  }
  if (!processor.hardwareD2C.empty()) {
    Node details = section.append_child("details");
    details.append_attribute("open") = "open";
    add(details, "summary", fmt::format("Hardware D2C parameters ({})", processor.hardwareD2C.size()));
    Table table(details, {"#Time", "Values"});
    for (const HardwareD2CStory& parameters : processor.hardwareD2C) {
      std::vector<std::string> values;
      for (const auto& [name, value] : parameters.values) values.push_back(name + " " + value);
      if (!parameters.error.empty()) values.push_back("failed: " + parameters.error);
      table.row({seconds(parameters.time), fmt::format("{}", fmt::join(values, ", "))});
    }
  }
}

void addProcessor(Node parent, const ProcessorStory& processor) {
  Node section = parent.append_child("section");
  std::string title = sensorName(processor.sensor);
  if (processor.handle != 0) title += fmt::format(", processor:{}", processor.handle);
  add(section, "h3", title);
  std::string facts = processor.handle == 0 ? "not made: " + processor.error : "made at " + seconds(processor.made);
  if (processor.handle != 0)
    facts += processor.destroyed ? ", destroyed at " + seconds(*processor.destroyed) : ", never destroyed";
  addClass(add(section, "p", facts), "soft");
  std::vector<Duration> walks, library;
  for (const FrameWalk& walk : processor.frames) {
    walks.push_back(walk.whole);
    library.push_back(walk.library);
  }
  if (!walks.empty()) {
    std::string text = fmt::format("{} frames", walks.size());
    if (processor.framesPerSecond > 0) text += fmt::format(", {:.1f} a second", processor.framesPerSecond);
    text += fmt::format(". A frame takes {}, the library's own part (with recording) {}; both are medians.",
                        milliseconds(Spread::of(walks).median), milliseconds(Spread::of(library).median));
    add(section, "p", text);
  }
  Duration longest = 0;
  for (const FilterStory& filter : processor.filters) {
    longest = std::max(longest, Spread::of(filter.runs).percentile95);
  }
  Node list = addClass(section.append_child("ol"), "chain");
  for (const FilterStory& filter : processor.filters) addFilter(list, filter, longest);
  if (processor.filters.empty()) add(list, "li", "no filter was asked for");
  addSettings(section, processor);
}

void addTroubles(Node parent, const std::string& title, const std::vector<Trouble>& troubles) {
  if (troubles.empty()) return;
  add(parent, "h2", title);
  Table table(parent.append_child("section"), {"Function", "Of", "#Times", "#First", "#Last", "Words"});
  for (const Trouble& trouble : troubles) {
    const auto [first, last] = std::minmax_element(trouble.times.begin(), trouble.times.end());
    table.row({trouble.function, trouble.subject, std::to_string(trouble.times.size()), seconds(*first), seconds(*last),
               trouble.text});
  }
}

void addMoments(Node parent, const std::string& title, const std::vector<Moment>& moments) {
  if (moments.empty()) return;
  Node details = parent.append_child("section").append_child("details");
  add(details, "summary", fmt::format("{} ({} steps)", title, moments.size()));
  Table table(details, {"#Time", "Calls"});
  for (const Moment& moment : moments) table.row({seconds(moment.first), momentText(moment)});
}

void addHead(Node html, const std::string& title) {
  Node head = html.append_child("head");
  head.append_child("meta").append_attribute("charset") = "utf-8";
  Node viewport = head.append_child("meta");
  viewport.append_attribute("name") = "viewport";
  viewport.append_attribute("content") = "width=device-width, initial-scale=1";
  Node scheme = head.append_child("meta");
  scheme.append_attribute("name") = "color-scheme";
  scheme.append_attribute("content") = "light dark";
  add(head, "title", title);
  add(head, "style", "").text().set(kStyle);
}

void addIntroduction(Node body, const std::string& file, const Recording& recording, const Story& story) {
  add(body, "h1", file);
  const auto about = [&recording](const char* key) {
    const auto found = recording.about.find(key);
    return found != recording.about.end() ? found->second : std::string("unknown");
  };
  addClass(add(body, "p",
               fmt::format("Recorded {} in process {} by libvy_frame_processor {} (revision {}, {} bit) on {}.",
                           about("date"), about("process"), about("version"), about("commit"), about("pointer_bits"),
                           about("machine"))),
           "soft");
  addClass(
      add(body, "p",
          fmt::format("{} long; {} calls by the host, {} by the library, threads: {}. The end: {}.",
                      seconds(story.length), story.incomingCalls, story.hostCalls, story.threads, endOf(recording))),
      "soft");
  Node list = addClass(body.append_child("ul"), "findings");
  const std::vector<std::string> found = findings(recording, story);
  for (const std::string& finding : found) add(list, "li", finding);
  if (found.empty()) addClass(add(list, "li", "Nothing went wrong."), "good");
}

}  // namespace

std::string storyPage(const std::string& file, const Recording& recording, const Story& story) {
  pugi::xml_document page;
  page.append_child(pugi::node_doctype).set_value("html");
  Node html = page.append_child("html");
  html.append_attribute("xmlns") = "http://www.w3.org/1999/xhtml";
  html.append_attribute("lang") = "en";
  addHead(html, file);
  Node body = html.append_child("body").append_child("main");
  addIntroduction(body, file, recording, story);

  add(body, "h2", "Time line");
  TimeLine line(body.append_child("section"), story.length);
  for (const ContextStory& context : story.contexts) {
    for (const ProcessorStory& processor : context.processors) {
      if (processor.frames.empty()) continue;
      line.addFrames(fmt::format("{}, {}", cameraOf(context), sensorName(processor.sensor)), processor.frames);
    }
  }
  line.addTroubles("Errors handed to the caller", "error", story.errors);
  line.addTroubles("Failures absorbed", "absorbed", story.absorbed);
  line.addAxis();

  for (const ContextStory& context : story.contexts) {
    add(body, "h2", "Camera " + cameraOf(context));
    if (!context.error.empty()) add(body, "p", "no context: " + context.error);
    for (const ProcessorStory& processor : context.processors) addProcessor(body, processor);
  }
  addTroubles(body, "Errors handed to the caller", story.errors);
  addTroubles(body, "Failures of the host that the library absorbed", story.absorbed);
  if (!story.leftovers.empty()) {
    add(body, "h2", "Not given back as often as taken");
    Table table(body.append_child("section"), {"Object", "Name", "#References", "#First seen"});
    for (const Leftover& leftover : story.leftovers)
      table.row({leftover.handle, leftover.name, std::to_string(leftover.references), seconds(leftover.first)});
  }
  if (!story.unreturned.empty()) {
    add(body, "h2", "Calls that never returned");
    Table table(body.append_child("section"), {"Function", "Of", "#Thread", "#Time"});
    for (const UnreturnedCall& call : story.unreturned)
      table.row({call.function, call.subject, std::to_string(call.thread), seconds(call.time)});
  }
  add(body, "h2", "The host's calls");
  addMoments(body, story.lastSecond.empty() ? "All" : "The first second", story.firstSecond);
  addMoments(body, "The last second", story.lastSecond);
  addClass(add(body, "p", "Made by vyhost " VY_VERSION "."), "soft");

  std::ostringstream text;
  page.save(text, " ", pugi::format_default | pugi::format_no_declaration, pugi::encoding_utf8);
  return text.str();
}

}  // namespace vyhost

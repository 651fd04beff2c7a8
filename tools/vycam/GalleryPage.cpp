#include "GalleryPage.h"

#include <fmt/format.h>

#include <iterator>
#include <pugixml.hpp>
#include <sstream>

namespace vycam {
namespace {

using Node = pugi::xml_node;

// The style has no "<", ">" or "&": XML and HTML disagree on how to write them here, and the page is read as both.
constexpr const char* kStyle = R"(
:root { --paper: #f6f6f3; --card: #ffffff; --ink: #26272b; --soft: #6c6f78; --line: #dcdcd6; --accent: #1f6f8b; }
@media (prefers-color-scheme: dark) {
  :root { --paper: #17181b; --card: #212327; --ink: #e8e8e4; --soft: #9da1ab; --line: #363940; --accent: #6fc0d8; }
}
* { box-sizing: border-box; }
body { margin: 0; background: var(--paper); color: var(--ink); font: 16px/1.5 system-ui, sans-serif; }
main, header, footer { max-width: 1320px; margin: 0 auto; padding: 0 24px; }
header { padding-top: 40px; }
h1 { margin: 0; font-size: 32px; letter-spacing: -0.02em; }
header p { max-width: 46em; color: var(--soft); }
nav { position: sticky; top: 0; z-index: 1; background: var(--paper); border-bottom: 1px solid var(--line); }
nav div { max-width: 1320px; margin: 0 auto; padding: 10px 24px; display: flex; flex-wrap: wrap; gap: 6px 18px; }
nav a { color: var(--accent); text-decoration: none; font-weight: 600; }
nav a:hover { text-decoration: underline; }
h2 { margin: 48px 0 0; font-size: 26px; scroll-margin-top: 64px; }
.ids { margin: 2px 0 16px; color: var(--soft); font: 13px/1.6 ui-monospace, monospace; overflow-wrap: anywhere; }
section { background: var(--card); border: 1px solid var(--line); border-radius: 10px; padding: 18px 22px 22px;
  margin: 16px 0; }
h3 { margin: 0 0 10px; font-size: 18px; }
h3 span { margin-left: 10px; font-weight: 400; font-size: 14px; color: var(--soft); }
.chain { display: flex; flex-wrap: wrap; gap: 8px 24px; list-style: none; margin: 0 0 16px; padding: 0; }
.chain li { position: relative; border: 1.5px solid var(--accent); border-radius: 7px; padding: 5px 11px;
  font-size: 13px; font-weight: 600; line-height: 1.35; }
.chain li:not(:last-child)::after { content: "\2192"; position: absolute; right: -20px; top: 50%; transform: translateY(-50%);
  color: var(--soft); font-weight: 400; }
.chain small { display: block; font-weight: 400; color: var(--soft); }
.chain .off { border-style: dashed; border-color: var(--line); color: var(--soft); }
.figures { display: grid; grid-template-columns: repeat(auto-fit, minmax(min(270px, 100%), 1fr)); gap: 16px; }
.two { max-width: 850px; }
figure { margin: 0; }
figure img { display: block; width: 100%; height: auto; border-radius: 6px; border: 1px solid var(--line); }
figcaption { margin-top: 5px; font-size: 13px; color: var(--soft); }
figcaption b { color: var(--ink); }
.numbers { display: flex; flex-wrap: wrap; gap: 12px 36px; margin: 16px 0 0; }
.numbers div { font-size: 13px; color: var(--soft); }
.numbers b { display: block; font-size: 24px; line-height: 1.25; color: var(--ink); }
details { margin-top: 16px; }
summary { cursor: pointer; color: var(--accent); font-weight: 600; font-size: 14px; }
.wide { overflow-x: auto; }
table { border-collapse: collapse; margin-top: 8px; font-size: 13px; }
th, td { text-align: left; padding: 4px 14px 4px 0; border-bottom: 1px solid var(--line); white-space: nowrap; }
td:last-child { white-space: normal; min-width: 20em; }
td.n, th.n { text-align: right; font-variant-numeric: tabular-nums; }
pre { margin: 16px 0 0; padding: 8px 12px; border-radius: 6px; background: var(--paper); font: 13px/1.5 ui-monospace, monospace; }
@media (max-width: 640px) {
  main, header, footer, nav div { padding-left: 12px; padding-right: 12px; }
  section { padding: 14px 14px 16px; }
  h2 { scroll-margin-top: 120px; }
  .chain { flex-direction: column; gap: 20px; }
  .chain li:not(:last-child)::after { content: "\2193"; right: auto; left: 20px; top: 100%; transform: none; line-height: 20px; }
  .numbers div { flex: 1 1 40%; }
  tr { display: block; padding: 8px 0; border-bottom: 1px solid var(--line); }
  tr:first-child { display: none; }
  td { display: inline-block; padding: 0 12px 0 0; border: 0; }
  td:first-child { display: block; font-weight: 600; }
  td:last-child { display: block; min-width: 0; }
  td.n::before { content: attr(data-name) " "; color: var(--soft); }
}
footer { padding-top: 24px; padding-bottom: 48px; font-size: 13px; color: var(--soft); }
)";

/// Appends an element with a text. An empty text becomes a dash, as HTML elements need content.
Node add(Node parent, const char* name, const std::string& text) {
  Node node = parent.append_child(name);
  node.text().set(text.empty() ? "\xE2\x80\x93" : text.c_str());
  return node;
}

void setClass(Node node, const char* name) {
  node.append_attribute("class") = name;
}

/// Sensor names in words: "left infrared" rather than "ir-left".
std::string title(VYSensorType sensor) {
  switch (sensor) {
    case VY_SENSOR_DEPTH:
      return "Depth";
    case VY_SENSOR_COLOR:
      return "Colour";
    case VY_SENSOR_IR:
      return "Infrared";
    case VY_SENSOR_IR_LEFT:
      return "Left infrared";
    case VY_SENSOR_IR_RIGHT:
      return "Right infrared";
    default:
      return fmt::format("Sensor {}", static_cast<int>(sensor));
  }
}

void addChain(Node parent, const GalleryEntry& entry) {
  Node list = parent.append_child("ol");
  setClass(list, "chain");
  for (size_t i = 0; i < entry.chain.chain.size(); ++i) {
    const ChainLink& link = entry.chain.chain[i];
    Node item = add(list, "li", link.name);
    if (!link.enabled) {
      setClass(item, "off");
    }
    std::string details = fmt::format("{}", fmt::join(link.arguments, ", "));
    if (link.isWrapper()) {
      details = "wraps " + link.hostName;
    }
    for (const std::string& more : {std::string(link.enabled ? "" : "off"), entry.times.at(i)}) {
      details += (details.empty() || more.empty() ? "" : ", ") + more;
    }
    if (!details.empty()) {
      add(item, "small", details);
    }
  }
}

void addPictures(Node parent, const GalleryEntry& entry) {
  Node figures = parent.append_child("div");
  setClass(figures, entry.pictures.size() > 2 ? "figures" : "figures two");
  for (const GalleryPicture& picture : entry.pictures) {
    Node figure = figures.append_child("figure");
    Node link = figure.append_child("a");
    link.append_attribute("href") = picture.largeFile.c_str();
    Node image = link.append_child("img");
    image.append_attribute("src") = picture.file.c_str();
    image.append_attribute("alt") = fmt::format("{}: {}", picture.caption, picture.facts).c_str();
    image.append_attribute("loading") = "lazy";
    Node text = figure.append_child("figcaption");
    add(text, "b", picture.caption);
    text.append_child(pugi::node_pcdata).set_value((" " + picture.facts).c_str());
  }
}

void addNumbers(Node parent, const GalleryEntry& entry) {
  Node numbers = parent.append_child("div");
  setClass(numbers, "numbers");
  for (const GalleryNumber& number : entry.numbers) {
    Node cell = numbers.append_child("div");
    add(cell, "b", number.number);
    cell.append_child(pugi::node_pcdata).set_value(number.meaning.c_str());
  }
}

void addSchema(Node parent, const Schema& schema, bool isOpen) {
  Node details = parent.append_child("details");
  if (isOpen) {
    details.append_attribute("open") = "open";
  }
  add(details, "summary", fmt::format("Settings ({})", schema.size()));
  Node wrapper = details.append_child("div");
  setClass(wrapper, "wide");
  Node table = wrapper.append_child("table");
  Node body = table.append_child("tbody");
  const char* const headings[] = {"Setting", "Type", "Min", "Max", "Step", "Value", "Description"};
  const auto addLine = [&](const char* cell, const SchemaRow& row) {
    Node line = body.append_child("tr");
    const std::string* const texts[] = {&row.key,  &row.type,  &row.min,        &row.max,
                                        &row.step, &row.value, &row.description};
    for (size_t i = 0; i < std::size(texts); ++i) {
      Node node = add(line, cell, *texts[i]);
      if (texts[i] >= &row.min && texts[i] <= &row.value) {
        setClass(node, "n");
        node.append_attribute("data-name") = headings[i];
      }
    }
  };
  addLine("th", {headings[0], headings[1], headings[2], headings[3], headings[4], headings[5], headings[6]});
  for (const SchemaRow& row : schema) {
    addLine("td", row);
  }
}

void addEntry(Node parent, const GalleryEntry& entry) {
  Node section = parent.append_child("section");
  Node heading = add(section, "h3", title(entry.chain.sensor));
  add(heading, "span", fmt::format("sensor {}", sensorName(entry.chain.sensor)));
  addChain(section, entry);
  addPictures(section, entry);
  addNumbers(section, entry);
  setClass(add(section, "pre", entry.command), "wide");
  addSchema(section, entry.chain.schema, entry.chain.sensor == VY_SENSOR_DEPTH);
}

void addHead(Node html) {
  Node head = html.append_child("head");
  head.append_child("meta").append_attribute("charset") = "utf-8";
  Node viewport = head.append_child("meta");
  viewport.append_attribute("name") = "viewport";
  viewport.append_attribute("content") = "width=device-width, initial-scale=1";
  add(head, "title", "Camera families and their filter chains");
  add(head, "style", kStyle);
}

void addIntroduction(Node body, const std::vector<GalleryFamily>& families) {
  Node header = body.append_child("header");
  add(header, "h1", "Camera families and their filter chains");
  add(header, "p",
      "For every sensor of every camera family: the chain that the library builds, a frame as the camera sends it, the "
      "frame that comes out, and for depth what the camera would ideally have seen and how far the output is from it. "
      "Dashed boxes are filters that start switched off; times are of one frame on the machine that made this page. "
      "Warm "
      "colours are near (or a large error), cool colours far, dark is where nothing was measured. Pictures open "
      "large.");
  Node bar = body.append_child("nav").append_child("div");
  for (const GalleryFamily& family : families) {
    Node link = add(bar, "a", family.chains.family->name);
    link.append_attribute("href") = fmt::format("#{}", family.chains.family->name).c_str();
  }
}

}  // namespace

std::string galleryPage(const std::vector<GalleryFamily>& families, const std::string& revision) {
  pugi::xml_document page;
  page.append_child(pugi::node_doctype).set_value("html");
  Node html = page.append_child("html");
  html.append_attribute("xmlns") = "http://www.w3.org/1999/xhtml";
  html.append_attribute("lang") = "en";
  addHead(html);
  Node body = html.append_child("body");
  addIntroduction(body, families);
  Node content = body.append_child("main");
  for (const GalleryFamily& family : families) {
    add(content, "h2", family.chains.family->name).append_attribute("id") = family.chains.family->name;
    for (const std::string& way : family.chains.recognisedBy) {
      setClass(add(content, "p", way), "ids");
    }
    for (const GalleryEntry& entry : family.entries) {
      addEntry(content, entry);
    }
  }
  add(body, "footer", fmt::format("Made by vycam {} with the library of revision {}.", VYCAM_VERSION, revision));
  std::ostringstream text;
  page.save(text, " ", pugi::format_default | pugi::format_no_declaration, pugi::encoding_utf8);
  return text.str();
}

}  // namespace vycam

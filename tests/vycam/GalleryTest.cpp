// The page of the gallery: what stands where, and that its pictures and figures are those of the streams.
#include "GalleryPage.h"

#include <algorithm>
#include <cstdlib>
#include <pugixml.hpp>
#include <regex>

#include "vycam/VycamTest.h"

namespace {

using GalleryTest = VycamTest;

/// The texts and the attributes of a part of the page, in its order.
std::string flat(const pugi::xml_node& node) {
  std::string text;
  for (const pugi::xml_attribute& attribute : node.attributes()) {
    text += std::string(" ") + attribute.name() + "=" + attribute.value();
  }
  for (const pugi::xml_node& child : node.children()) {
    text += child.type() == pugi::node_pcdata ? std::string(" ") + child.value()
                                              : std::string("\n<") + child.name() + flat(child) + ">";
  }
  return text;
}

TEST_F(GalleryTest, ThePageShowsWhatItIsGiven) {
  vycam::GalleryFamily family;
  family.chains.family = &vycam::parseFamily("Corvid");
  family.chains.recognisedBy = {"one way", "another"};
  vycam::GalleryEntry depth;
  depth.chain = {
      VY_SENSOR_DEPTH,
      {{"A", "A", {"1", "2"}, true}, {"B", "Inner", {"3"}, true}, {"C", "Inner", {}, false}, {"D", "D", {}, false}},
      vycam::parseSchema("A#0, integer, 1, 9, 2, 5, less < more\nA#255, boolean, 0, 1, 1, 1, \n")};
  depth.times = {"1 ms", "", "2 ms", ""};
  depth.pictures = {{"Before", "raw facts", "r.png", "R.png"}, {"After", "output facts", "o.png", "O.png"}};
  depth.numbers = {{"91.3 %", "of all"}, {"", "nothing"}};
  depth.command = "vycam <run>";
  vycam::GalleryEntry other;
  other.pictures = depth.pictures;
  depth.pictures.push_back({"Truth", "to see", "t.png", "T.png"});
  family.entries = {depth};
  for (const VYSensorType sensor : vycam::allSensors()) {
    other.chain.sensor = sensor;
    if (sensor != VY_SENSOR_DEPTH) family.entries.push_back(other);
  }
  vycam::GalleryFamily second;
  second.chains.family = &vycam::parseFamily("Talon");
  pugi::xml_document page;
  const std::string text = vycam::galleryPage({family, second}, "f00d");
  EXPECT_EQ(text.rfind("<!DOCTYPE html>\n<html ", 0), 0U);
  ASSERT_TRUE(page.load_string(text.c_str()));
  page.child("html").child("head").remove_child("style");  // it would stand here as it stands in the code
  const std::string ours = std::regex_replace(flat(page), std::regex("vycam " VYCAM_VERSION), "vycam #");
  expectKept("page.txt", ours);
}

TEST_F(GalleryTest, EveryStreamIsShownWithItsOwnPicturesAndFigures) {
  std::string scene;
  unsigned least = 640;                             // pixels across a large picture
  if (std::getenv("VYFP_SWEEP_STEP") != nullptr) {  // a slow tool, or an emulator: the room at full size takes minutes
    vycam::GreyImage image{320, 240, {}};
    for (int i = 0; i < 320 * 240; ++i) image.pixels.push_back(static_cast<uint16_t>(700 + i % 320));
    write("scene.png", vycam::greyPng(image));
    scene = " --depth scene.png";
    least = 320;
  }
  const Outcome outcome = vycam("gallery --out page" + scene);
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(outcome.out, "36 streams of 10 families: open page/index.html\n");
  pugi::xml_document page;
  ASSERT_TRUE(page.load_file(path("page/index.html").c_str()));
  EXPECT_EQ(contentsOf(path("page/index.html")).find("http", contentsOf(path("page/index.html")).find("<body")),
            std::string::npos)
      << "the page asks for something from elsewhere";

  std::set<std::string> expected = {"page", "page/images", "page/index.html"};
  pugi::xml_node node = page.select_node("//main").node().first_child();
  for (const vycam::FamilyChains& family : vycam::chainsOf(vycam::Library(""), vycam::allFamilies())) {
    SCOPED_TRACE(family.family->name);
    ASSERT_EQ(flat(node), std::string(" id=") + family.family->name + " " + family.family->name);
    for (size_t i = 0; i < family.recognisedBy.size(); ++i) node = node.next_sibling();
    for (const vycam::SensorChain& chain : family.sensors) {
      node = node.next_sibling();
      EXPECT_EQ(node.select_nodes("ol/li").size(), chain.chain.size());
      EXPECT_EQ(node.select_nodes("details//tr").size(), chain.schema.size() + 1);
      std::vector<std::string> shown;
      const std::string stem = std::string("images/") + family.family->name + "-" + vycam::sensorName(chain.sensor);
      for (const char* role : {"-before", "-after", "-truth", "-error"}) {
        if (shown.size() < 2 || chain.sensor == VY_SENSOR_DEPTH) shown.push_back(stem + role);
      }
      const pugi::xpath_node_set images = node.select_nodes("div/figure/a/img");
      ASSERT_EQ(images.size(), shown.size());
      for (size_t i = 0; i < shown.size(); ++i) {
        EXPECT_EQ(images[i].node().attribute("src").value(), shown[i] + ".png");
        EXPECT_EQ(images[i].parent().attribute("href").value(), shown[i] + "-large.png");
        const unsigned large = png("page/" + shown[i] + "-large.png").width;
        EXPECT_GE(large, least) << shown[i];
        EXPECT_EQ(png("page/" + shown[i] + ".png").width, std::min(large, 480U)) << shown[i];
        for (const char* end : {".png", "-large.png"}) expected.insert("page/" + shown[i] + end);
      }
    }
    node = node.next_sibling();
  }
  EXPECT_TRUE(node.empty());
  std::set<std::string> written = files();
  written.erase("scene.png");
  EXPECT_EQ(written, expected);

  // Each command on the page makes the pictures that stand above it.
  for (const char* stem : {"Corvid-depth", "Halden-ir", "Talon-color"}) {
    const pugi::xml_node section =
        page.select_node((std::string("//section[div/figure/a/@href='images/") + stem + "-after-large.png']").c_str())
            .node();
    const std::string command = section.child_value("pre");
    ASSERT_EQ(command.rfind("vycam run --camera ", 0), 0U) << command;
    const Outcome made = vycam(command.substr(6));
    EXPECT_EQ(made.err, "");
    const std::string start = std::string("page/images/") + stem;
    for (const auto& [role, name] : {std::pair("-before", "/raw.png"),
                                     {"-after", "/output.png"},
                                     {"-truth", "/truth.png"},
                                     {"-error", "/error.png"}}) {
      EXPECT_EQ(contentsOf(path(start + role + "-large.png")), contentsOf(path(stem + std::string(name)))) << role;
    }
  }
}

}  // namespace

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
    if (std::string(attribute.name()) != "alt") text += std::string(" ") + attribute.name() + "=" + attribute.value();
  }
  for (const pugi::xml_node& child : node.children()) {
    text += child.type() == pugi::node_pcdata ? std::string(" ") + child.value()
                                              : std::string(" <") + child.name() + flat(child) + ">";
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
  pugi::xml_document page;
  const std::string text = vycam::galleryPage({family, family}, "f00d");
  EXPECT_EQ(text.rfind("<!DOCTYPE html>\n<html ", 0), 0U);
  ASSERT_TRUE(page.load_string(text.c_str()));
  EXPECT_EQ(flat(page.select_node("//nav").node()), " <div <a href=#Corvid Corvid> <a href=#Corvid Corvid>>");
  EXPECT_EQ(page.select_nodes("//main/h2[@id='Corvid'][.='Corvid']").size(), 2U);
  EXPECT_EQ(page.select_nodes("//main/h2[1]/following-sibling::p[@class='ids'][position() < 3]").size(), 2U);
  EXPECT_EQ(flat(page.select_node("//footer").node()),
            " Made by vycam " VYCAM_VERSION " with the library of revision f00d.");
  expectParts(
      flat(page.select_node("/html").node()),
      {" xmlns=http://www.w3.org/1999/xhtml lang=en <head <meta charset=utf-8> <meta name=viewport "
       "content=width=device-width, initial-scale=1> <title Camera families and their filter chains> <style \n:root {",
       "<body <header <h1 Camera families and their filter chains> <p For every sensor "});
  const pugi::xpath_node_set sections = page.select_nodes("//section");
  ASSERT_EQ(sections.size(), 12U);
  const std::string figures =
      " <figure <a href=R.png <img src=r.png loading=lazy>> <figcaption <b Before>  raw facts>>"
      " <figure <a href=O.png <img src=o.png loading=lazy>> <figcaption <b After>  output facts>>";
  const std::string header =
      "<tr <th Setting> <th Type> <th class=n data-name=Min Min> <th class=n data-name=Max Max>"
      " <th class=n data-name=Step Step> <th class=n data-name=Value Value> <th Description>>";
  EXPECT_EQ(
      flat(sections[0].node()),
      " <h3 Depth <span sensor depth>> <ol class=chain <li A <small 1, 2, 1 ms>> <li B <small wraps Inner>>"
      " <li class=off C <small wraps Inner, off, 2 ms>> <li class=off D <small off>>> <div class=figures" +
          figures +
          " <figure <a href=T.png <img src=t.png loading=lazy>> <figcaption <b Truth>  to see>>>"
          " <div class=numbers <div <b 91.3 %> of all> <div <b \xE2\x80\x93> nothing>> <pre class=wide vycam <run>>"
          " <details open=open <summary Settings (2)> <div class=wide <table <tbody " +
          header +
          " <tr <td A#0> <td integer> <td class=n data-name=Min 1> <td class=n data-name=Max 9>"
          " <td class=n data-name=Step 2> <td class=n data-name=Value 5> <td less < more>>"
          " <tr <td A#255> <td boolean> <td class=n data-name=Min 0> <td class=n data-name=Max 1>"
          " <td class=n data-name=Step 1> <td class=n data-name=Value 1> <td \xE2\x80\x93>>>>>>");
  const char* const names[] = {"Colour <span sensor color>", "Infrared <span sensor ir>",
                               "Left infrared <span sensor ir-left>", "Right infrared <span sensor ir-right>",
                               "Sensor 9 <span sensor 9>"};
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(flat(sections[1 + i].node()),
              std::string(" <h3 ") + names[i] + "> <ol class=chain> <div class=figures two" + figures +
                  "> <div class=numbers> <pre class=wide \xE2\x80\x93> <details <summary Settings (0)> <div class=wide"
                  " <table <tbody " +
                  header + ">>>>");
  }
  EXPECT_EQ(page.select_nodes("//img[@alt='Before: raw facts']").size(), 12U);
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
    const std::string numbers = flat(section.find_child_by_attribute("div", "class", "numbers"));
    if (stem == std::string("Corvid-depth")) {
      for (const auto& [pattern, caption] : {std::pair("valid +([0-9.]+ %)", "of the pixels measured"),
                                             {"output's pixels, ([0-9.]+ %)", "of those with the scene in range"},
                                             {"median error +([0-9]+ mm)", "median error against the scene"},
                                             {"within ([0-9]+ mm)", "error of 95 % at most"}}) {
        std::smatch told;
        ASSERT_TRUE(std::regex_search(made.out, told, std::regex(pattern)));
        expectParts(numbers, {"<b " + told.str(1) + "> " + caption + ">"});
      }
    }
    expectParts(numbers, {" ms> time of a frame, median> <div <b ", " ms> time of the first frame>"});
    EXPECT_NE(flat(section.child("ol")).find(" ms>"), std::string::npos) << "times of filters";
  }
}

TEST_F(GalleryTest, CamerasSeeTheGivenDepth) {
  write("it's a scene.png", vycam::greyPng(rampWithHole()));
  EXPECT_EQ(vycam("gallery --out page --depth \"it's a scene.png\"").err, "");
  const StoredPng truth = png("page/images/Vashti-depth-truth-large.png");
  EXPECT_EQ(truth.describe(), "340x74 RGB 8");
  expectParts(
      contentsOf(path("page/index.html")),
      {"vycam run --camera Vashti --sensor depth --frames 3 --depth 'it'\\''s a scene.png' --out Vashti-depth"});
}

}  // namespace

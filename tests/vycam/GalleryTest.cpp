// The page of the gallery: what stands where, and that its pictures and figures are those of the streams.
#include "GalleryPage.h"

#include <algorithm>
#include <pugixml.hpp>

#include "Stream.h"
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
  depth.rawFacts = "raw facts", depth.outputFacts = "output facts";
  depth.rawPicture = "r.png", depth.outputPicture = "o.png", depth.truthPicture = "t.png";
  depth.validShare = 0.9126, depth.medianError = 7;
  vycam::GalleryEntry blind = depth;
  blind.chain.chain.clear(), blind.chain.schema.clear();
  blind.medianError.reset();
  vycam::GalleryEntry other = blind;
  other.validShare.reset();
  other.truthPicture.clear();
  family.entries = {depth, blind};
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
  ASSERT_EQ(sections.size(), 14U);
  const std::string figures =
      " <figure <img src=r.png> <figcaption <b Before>  raw facts>> <figure <img src=o.png> <figcaption <b After>  "
      "output facts>>";
  const std::string truth = " <figure <img src=t.png> <figcaption <b Truth>  what there was to see>>>";
  const std::string header =
      "<tr <th Setting> <th Type> <th class=n Min> <th class=n Max> <th class=n Step> <th class=n Value> <th "
      "Description>>";
  EXPECT_EQ(
      flat(sections[0].node()),
      " <h3 Depth <span sensor depth>> <ol class=chain <li A <small 1, 2>> <li B <small wraps Inner>>"
      " <li class=off C <small wraps Inner, off>> <li class=off D <small off>>> <div class=figures" +
          figures + truth +
          " <div class=numbers <div <b 91.3 %> of the pixels measured> <div <b 7 mm> median error against the scene>>"
          " <details open=open <summary Settings (2)> <div class=wide <table <tbody " +
          header +
          " <tr <td A#0> <td integer> <td class=n 1> <td class=n 9> <td class=n 2> <td class=n 5> <td less < more>>"
          " <tr <td A#255> <td boolean> <td class=n 0> <td class=n 1> <td class=n 1> <td class=n 1> <td "
          "\xE2\x80\x93>>>>>>");
  EXPECT_NE(flat(sections[1].node()).find("<div <b \xE2\x80\x93> median error against the scene>"), std::string::npos);
  const char* const names[] = {"Colour <span sensor color>", "Infrared <span sensor ir>",
                               "Left infrared <span sensor ir-left>", "Right infrared <span sensor ir-right>",
                               "Sensor 9 <span sensor 9>"};
  for (size_t i = 0; i < 5; ++i) {
    EXPECT_EQ(flat(sections[2 + i].node()),
              std::string(" <h3 ") + names[i] + "> <ol class=chain> <div class=figures two" + figures +
                  "> <details <summary Settings (0)> <div class=wide <table <tbody " + header + ">>>>");
  }
  EXPECT_EQ(page.select_nodes("//img[@alt='Before: raw facts']").size(), 14U);
}

TEST_F(GalleryTest, EveryStreamIsShownWithItsOwnPicturesAndFigures) {
  const Outcome outcome = vycam("gallery --out page");
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
      for (const char* role : {"-before.png", "-after.png", "-truth.png"}) {
        if (role[1] != 't' || chain.sensor == VY_SENSOR_DEPTH) shown.push_back(stem + role);
      }
      const pugi::xpath_node_set images = node.select_nodes("div/figure/img");
      ASSERT_EQ(images.size(), shown.size());
      for (size_t i = 0; i < shown.size(); ++i) {
        EXPECT_EQ(images[i].node().attribute("src").value(), shown[i]);
        EXPECT_EQ(png("page/" + shown[i]).width, 480U) << shown[i];
        expected.insert("page/" + shown[i]);
      }
    }
    node = node.next_sibling();
  }
  EXPECT_TRUE(node.empty());
  EXPECT_EQ(files(), expected);

  vycam::Progress progress("", 1);
  const vycam::Library library("");
  for (const auto& [name, sensor] :
       {std::pair("Corvid", VY_SENSOR_DEPTH), {"Halden", VY_SENSOR_IR}, {"Talon", VY_SENSOR_COLOR}}) {
    vycam::StreamOptions options;
    options.family = &vycam::parseFamily(name);
    options.sensor = sensor;
    const vycam::StreamResult result = vycam::runStream(library, options, progress);
    const vycam::StreamPictures pictures = vycam::paint(result, *options.family);
    const std::string stem = std::string("images/") + name + "-" + vycam::sensorName(sensor);
    EXPECT_EQ(contentsOf(path("page/" + stem + "-before.png")), pictures.raw->png(480)) << name;
    EXPECT_EQ(contentsOf(path("page/" + stem + "-after.png")), pictures.output->png(480)) << name;
    const pugi::xml_node section =
        page.select_node(("//section[div/figure/img/@src='" + stem + "-after.png']").c_str()).node();
    const std::string figures = flat(section.find_child_by_attribute("div", "class", "numbers"));
    if (sensor != VY_SENSOR_DEPTH) {
      EXPECT_EQ(figures, "");
      continue;
    }
    EXPECT_EQ(contentsOf(path("page/" + stem + "-truth.png")), pictures.truth->png(480));
    char text[64];
    snprintf(text, sizeof text, "<b %.1f %%>", 100 * result.accuracy->validShare());
    expectParts(figures, {text, "<b " + std::to_string(*result.accuracy->medianError()) + " mm>"});
    expectParts(flat(section),
                {"<b Before>  1280x800, ", "disparity>", "<b After>  1280x800, 16-bit words, depth in mm>"});
  }
}

}  // namespace

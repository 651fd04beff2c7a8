// What `vyhost show` tells, compared with what a host did: each recording is made by a child process.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <pugixml.hpp>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "Story.h"
#include "StoryJson.h"
#include "StoryPage.h"
#include "StoryText.h"
#include "support/HostTest.h"

namespace {

using vyhost::FilterStory;
using vyhost::ProcessorStory;
using vyhost::Recording;
using vyhost::Story;
using vyhost::Trouble;

const std::string kInjected = injectedError("").message;

/// The recording of what `work` does, in a process of its own.
Recording record(const std::function<void()>& work) {
  std::string folder = (std::filesystem::temp_directory_path() / "vyhost-show-XXXXXX").string();
  EXPECT_NE(mkdtemp(folder.data()), nullptr);
  const std::string file = folder + "/r.mcap";
  const pid_t child = fork();
  if (child == 0) {
    setenv("VY_RECORDING", file.c_str(), 1);
    work();
    _exit(testing::Test::HasFailure() ? 1 : 0);
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0) << "the host's work in the child process";
  Recording recording = Recording::read(file);
  std::filesystem::remove_all(folder);
  return recording;
}

const ProcessorStory& onlyProcessor(const Story& story) {
  EXPECT_EQ(story.contexts.size(), 1U);
  EXPECT_EQ(story.contexts.at(0).processors.size(), 1U);
  return story.contexts[0].processors.at(0);
}

/// "NAME(ARGUMENTS) host on", one filter a line.
std::string chainText(const ProcessorStory& processor) {
  std::string text;
  for (const FilterStory& filter : processor.filters) {
    text += fmt::format("{}({}) {} {}\n", filter.name, fmt::join(filter.arguments, " "), filter.isOwn ? "own" : "host",
                        filter.leftOut                         ? "left out"
                        : filter.startsEnabled.value_or(false) ? "on"
                                                               : "off");
  }
  return text;
}

/// "FUNCTION(SUBJECT): TEXT, N times", one a line.
std::string troubleText(const std::vector<Trouble>& troubles) {
  std::string text;
  for (const Trouble& each : troubles)
    text += fmt::format("{}({}): {}, {} times\n", each.function, each.subject, each.text, each.times.size());
  return text;
}

std::string leftoverText(const Story& story) {
  std::string text;
  for (const vyhost::Leftover& each : story.leftovers)
    text += fmt::format("{} {} {}\n", each.handle, each.name, each.references);
  return text;
}

const FilterStory& filterNamed(const ProcessorStory& processor, const std::string& name) {
  for (const FilterStory& filter : processor.filters) {
    if (filter.name == name) return filter;
  }
  throw std::out_of_range("no filter " + name);
}

/// Lets the filters of a depth chain take any frame.
void letFramesPass() {
  for (const char* name : {"FrameUnpacker", "NoiseRemovalFilter", "DisparityTransform"}) definePassing(name);
}

/// A Halden's depth processor, destroyed with its context and device behind `work`.
void withDepthProcessor(const std::function<void(const Processor&)>& work) {
  const OpenDevice device = openDevice(kHalden);
  const Processor processor = makeProcessor(device.context, kDepth);
  work(processor);
}

TEST(ShowTest, KnowsEveryFamilyByItsDepthChain) {
  for (std::size_t i = 0; i < vysim_family_count(); ++i) {
    const vysim_family& family = *vysim_family_at(i);
    SCOPED_TRACE(family.name);
    const Recording recording = record([&family] {
      const std::uint8_t* list = nullptr;
      const int size = family.list_type < 0 ? 0 : vysim_device_list(family.list_type, &list);
      if (size != 0) vysim::call(vy_set_device_info_data, family.list_type, list, size);
      const OpenDevice device = openDevice(family.pids[0], family.vid);
      makeProcessor(device.context, kColor);
      makeProcessor(device.context, kDepth);
    });
    const Story story = tellStory(recording);
    ASSERT_EQ(story.contexts.size(), 1U);
    EXPECT_EQ(story.contexts[0].vid, family.vid);
    EXPECT_EQ(story.contexts[0].pid, family.pids[0]);
    EXPECT_EQ(story.contexts[0].families, std::vector<std::string>{family.name});
    EXPECT_EQ(story.contexts[0].processors.size(), 2U);
    EXPECT_EQ(vyhost::findings(recording, story), std::vector<std::string>());
    ASSERT_EQ(story.productLists.size(), family.list_type < 0 ? 0U : 1U);
    if (family.list_type < 0) continue;
    EXPECT_EQ(story.productLists[0].type, family.list_type);
    ASSERT_EQ(story.productLists[0].ids.size() * 4,
              static_cast<std::size_t>(vysim_device_list(family.list_type, nullptr)));
    EXPECT_EQ(story.productLists[0].ids[0], fmt::format("{:04x}:{:04x}", family.vid, family.pids[0]));
  }
}

TEST(ShowTest, TellsChainsAndWhatWasLeftOut) {
  const std::string whole =
      "FrameUnpacker() host on\nNoiseRemovalFilter(1000 256 800 600) host on\nDisparityTransform() host on\n"
      "HardwareD2CProcessor() own off\nFrameMirror() host off\nFrameFlip() host off\nFrameRotate() host on\n";
  EXPECT_EQ(chainText(onlyProcessor(tellStory(record([] { withDepthProcessor([](const Processor&) {}); })))), whole);

  const char* const noise = "NoiseRemovalFilter";
  const char* const d2c = "HardwareD2CProcessor";
  const struct {
    const char* function;  // its nth call fails
    std::uint64_t nth;
    const char* filter;   // is left out
    const char* failed;   // the call that the chain made
    const char* subject;  // of the host's failure
    const char* families;
  } cases[] = {
      // Without the arguments of NoiseRemovalFilter three families have these filters.
      {"vy_create_filter", 2, noise, "vy_create_filter", noise, "Mirel Halden NormalOpenNI"},
      {"vy_filter_update_config", 1, noise, "vy_filter_update_config", "filter:2 NoiseRemovalFilter", "Halden"},
      {"vy_filter_enable", 4, "FrameMirror", "vy_filter_enable", "filter:5 FrameMirror", "Halden"},
      {"vy_create_private_filter", 1, d2c, "priv_create_filter", "DepthResize", "Halden"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.function);
    const Story story = tellStory(record([&each] {
      vysim_fail_call(each.function, each.nth, VYSIM_FAULT_ERROR);
      withDepthProcessor([](const Processor&) {});
    }));
    EXPECT_EQ(story.filtersLeftOut(), 1U);
    const FilterStory& filter = filterNamed(onlyProcessor(story), each.filter);
    ASSERT_TRUE(filter.leftOut);
    EXPECT_EQ(filter.leftOut->function, each.failed);
    EXPECT_NE((filter.leftOut->message + filter.leftOut->behind).find(kInjected), std::string::npos);
    EXPECT_EQ(troubleText(story.absorbed),
              fmt::format("{}({}): {}, 1 times\n", each.function, each.subject, kInjected));
    EXPECT_EQ(troubleText(story.errors) + leftoverText(story), "");
    EXPECT_EQ(fmt::format("{}", fmt::join(story.contexts[0].families, " ")), each.families);
  }
}

/// Passes frames on, each after 20 milliseconds more than the one before.
struct Slow {
  int milliseconds = 0;
  static vy_frame_t* process(void* user, const vy_frame_t* frame, vy_error** error) {
    std::this_thread::sleep_for(std::chrono::milliseconds(static_cast<Slow*>(user)->milliseconds += 20));
    vy_frame_add_ref(frame, error);
    return const_cast<vy_frame_t*>(frame);
  }
};

TEST(ShowTest, TakesTheTimeOfFramesAndFilters) {
  constexpr std::uint64_t kMillisecond = 1000000;
  const Story story = tellStory(record([] {
    letFramesPass();
    Slow slow;
    vysim_filter_definition definition = {};
    definition.name = "DisparityTransform";
    definition.process = Slow::process;
    definition.user = &slow;
    defineFilter(definition);
    withDepthProcessor([](const Processor& processor) {
      for (const int format : {10, 10, 13}) {
        process(processor, makeFrame(format));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
    });
  }));
  const ProcessorStory& processor = onlyProcessor(story);
  ASSERT_EQ(processor.frames.size(), 3U);
  const FilterStory& slow = filterNamed(processor, "DisparityTransform");
  ASSERT_EQ(slow.runs.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_GE(slow.runs[i], 20 * (i + 1) * kMillisecond);
    EXPECT_GE(processor.frames[i].whole, slow.runs[i]);
    EXPECT_LE(processor.frames[i].library, processor.frames[i].whole - slow.runs[i]);
    EXPECT_GT(processor.frames[i].library, 0U);
  }
  const FilterStory& unpacker = filterNamed(processor, "FrameUnpacker");
  EXPECT_EQ(unpacker.runs.size(), 2U);
  EXPECT_EQ(unpacker.timesPassedOver, 1U);
  EXPECT_EQ(filterNamed(processor, "FrameMirror").timesOff, 3U);
  ASSERT_EQ(processor.formats.size(), 2U);
  EXPECT_EQ(processor.formats[0].format, 10);
  EXPECT_EQ(processor.formats[0].count, 2U);
  EXPECT_GE(processor.longestGap, 90 * kMillisecond);
  EXPECT_GT(processor.framesPerSecond, 0);
  EXPECT_LT(processor.framesPerSecond, 2 / 0.16);

  std::vector<vyhost::Duration> durations;
  for (vyhost::Duration i = 100; i > 0; --i) durations.push_back(i);
  const vyhost::Spread spread = vyhost::Spread::of(durations);
  EXPECT_EQ(spread.median, 50U);
  EXPECT_EQ(spread.percentile95, 95U);
  EXPECT_EQ(spread.largest, 100U);
}

/// Texts of a host that mean to do harm where they are shown.
Recording recordHostileNames() {
  return record([] {
    letFramesPass();
    definePassing("FrameMirror", "<b>&\x1b[2J\xff\xC2\x9B\"");
    withDepthProcessor([](const Processor& processor) {
      schemaOf(processor);
      process(processor, makeFrame());
      vysim_fail_call("vy_filter_process", 1, VYSIM_FAULT_ERROR);
      process(processor, makeFrame());
    });
  });
}

TEST(ShowTest, FoldsTextAndShowsNoControlCharacters) {
  const Recording recording = recordHostileNames();
  const Story story = tellStory(recording);
  for (const std::size_t width : {50U, 80U}) {
    const std::string text = storyText("a.mcap", recording, story, width);
    for (const std::string& line : splitLines(text)) EXPECT_LE(line.size(), width) << line;
    EXPECT_NE(text.find("<b>&\\x1b[2J\\xff"), std::string::npos);
    EXPECT_EQ(text.find_first_of("\x1b\xC2\xff"), std::string::npos);
  }
}

TEST(ShowTest, MakesAPageThatKeepsTextsAsTexts) {
  const Recording recording = recordHostileNames();
  const std::string page = storyPage("<i>.mcap", recording, tellStory(recording));
  pugi::xml_document document;
  ASSERT_TRUE(document.load_string(page.c_str()));
  EXPECT_EQ(page.find("<b>&"), std::string::npos);
  EXPECT_STREQ(document.select_node("//h1").node().text().get(), "<i>.mcap");
  // Nothing from elsewhere, and nothing that runs.
  EXPECT_TRUE(document.select_nodes("//script | //link | //img | //@src | //@href | //@onclick | //@style").empty());
  EXPECT_EQ(document.select_nodes("//ol[@class='chain']/li").size(), 7U);
  EXPECT_EQ(document.select_nodes("//*[@class='lane']//*[@class='error']").size(), 2U);  // the frame and its error
}

TEST(ShowTest, WritesJsonWithTheKeysOfTheManual) {
  const Recording recording = recordHostileNames();
  const nlohmann::json json = nlohmann::json::parse(storyJson("a.mcap", recording, tellStory(recording)));
  EXPECT_EQ(json["contexts"][0]["pid"], kHalden);
  EXPECT_EQ(json["contexts"][0]["processors"][0]["frames"], 2);
  EXPECT_EQ(json["contexts"][0]["processors"][0]["frames_failed"], 1);
  EXPECT_EQ(json["contexts"][0]["processors"][0]["chain"][1]["arguments"][3], "600");
  EXPECT_EQ(json["errors"][0]["text"], kInjected);
  std::ostringstream manual;
  manual << std::ifstream(VYHOST_SHOW_MANUAL).rdbuf();
  const std::function<void(const nlohmann::json&)> check = [&](const nlohmann::json& value) {
    for (const auto& [key, each] : value.items()) {
      EXPECT_TRUE(value.is_array() || manual.str().find("`" + key + "`") != std::string::npos) << key;
      if (each.is_structured() && key != "about") check(each);
    }
  };
  check(json);
}

}  // namespace

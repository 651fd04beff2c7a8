// Chains as the host's calls show them, and the commands that print chains and settings.
#include "Chain.h"

#include <gtest/gtest.h>

#include "vycam/VycamTest.h"

namespace {

using ChainTest = VycamTest;

TEST_F(ChainTest, CallsOfTheLibraryTellTheChain) {
  const vycam::Schema schema = vycam::parseSchema(
      "Public#0, integer, 0, 9, 1, 5, -\n"
      "Public#255, boolean, 0, 1, 1, 1, -\n"
      "OwnOne#255, boolean, 0, 1, 1, 1, -\n"
      "OwnTwo#0, integer, 0, 9, 1, 1, -\n"
      "OwnTwo#255, boolean, 0, 1, 1, 0, -\n");
  const std::vector<std::string> calls = {
      "vy_filter_enable(filter: Old#1, enable: true)",  // before the first filter
      "vy_create_filter(name: \"Public\")",
      "vy_filter_update_config(filter: Public#1, argc: 2, argv: [\"7\", \"\"])",
      "vy_filter_enable(filter: Public#1, enable: true)",
      "vy_create_filter(name: \"Missing\")",  // the host has none of that name: no other call follows
      "vy_create_private_filter(name: \"InnerOne\")",
      "vy_create_private_filter(name: \"Broken\")",
      "vy_delete_filter(filter: Broken#1)",
      "vy_create_private_filter(name: \"InnerTwo\")",
      "vy_filter_get_name(filter: InnerTwo#1)",
      "vy_create_filter(name: \"Failed\")",
      "vy_filter_update_config(filter: Failed#1, argc: 1, argv: [\"7\"])",
      "vy_delete_filter(filter: Failed#1)",
      "vy_create_filter(name: \"Last\")",
      "vy_filter_enable(filter: Last#1, enable: true)",
      "vy_filter_enable(filter: Last#1, enable: false)",
      "vy_create_private_filter(name: \"Unknown\")",  // the schema names no filter for it
  };
  const vycam::Chain chain = vycam::chainFromCalls(calls, schema);
  std::string text;
  for (const vycam::ChainLink& link : chain) text += vycam::describe(link) + (link.enabled ? " on\n" : " off\n");
  EXPECT_EQ(text,
            "Public(7, ) on\n"
            "OwnOne (wraps InnerOne) on\n"
            "OwnTwo (wraps InnerTwo) off\n"
            "Last off\n"
            "Unknown off\n");
  EXPECT_TRUE(vycam::chainFromCalls({}, schema).empty());
}

TEST_F(ChainTest, FamiliesAreListedForPeople) {
  const std::string pellan = vycam("families 3e71:0371", "COLUMNS=100 ").out;
  EXPECT_EQ(pellan.substr(0, pellan.find("  ir-left ")), R"(Pellan
  known by  3E71:416B (built in)
  known by  3E71:0371 3E71:0372 (the host's list of type 6)
  depth     1280x800, 16-bit, run-length compressed
            TiberonDecompress > NoiseRemovalFilter(40, 512, 1280, 800) > DisparityTransform
            > HardwareD2CProcessor (wraps DepthResize) [off] > FrameMirror [off] > FrameFlip [off]
            > FrameRotate
  color     1280x720, red, green, blue, 8 bits each
            FrameMirror [off] > FrameFlip [off] > FrameRotate
)");
  expectParts(vycam("families ostrel", "COLUMNS=40 ").out, {R"(Ostrel
  known by  3E71:4181 3E71:41AB (built
            in)
  depth     640x576, 16-bit
            little-endian words
            NoiseRemovalFilter(50, 10,
            640, 576) [off]
            > HardwareD2CProcessor
            (wraps DepthResize) [off]
            > FrameMirror [off]
)",
                                                            "\n\n[off] marks filters that start switched\noff; "});
  EXPECT_EQ(vycam("families").out.find("Talon\n  known by  "), 0U);
}

TEST_F(ChainTest, TextsFitTheTerminal) {
  for (const auto& [columns, width] : {std::pair("COLUMNS=40 ", 40U), {"COLUMNS=132 ", 132U}, {"COLUMNS= ", 80U}}) {
    size_t longest = 0;
    for (const char* arguments : {"families", "schema --camera Corvid --sensor depth", "--help", "run --help",
                                  "run --camera Vashti --sensor depth --size 64x48 --out made"}) {
      std::istringstream lines(vycam(arguments, columns).out);
      for (std::string line; std::getline(lines, line);) {
        const bool isOneWord = line.find(' ', line.find_first_not_of(' ')) == std::string::npos;
        EXPECT_TRUE(line.size() <= width || isOneWord) << arguments << ": " << line;
        longest = std::max(longest, line.size());
      }
    }
    EXPECT_GT(longest, width - 3) << "room is left";
  }
}

TEST_F(ChainTest, FamiliesAreListedForMachines) {
  const Outcome outcome = vycam("families --csv");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_EQ(outcome.out.rfind("family,recognised_by,sensor,sensor_type,position,filter,host_filter,enabled,"
                              "arguments,width,height,format,packing\nTalon,",
                              0),
            0U);
  const std::string ids = R"x(Pellan,"3E71:416B (built in); 3E71:0371 3E71:0372 (the host's list of type 6)",)x";
  const std::string stream = R"(,1280,800,25,"16-bit, run-length compressed")"
                             "\n";
  expectParts(outcome.out,
              {ids + "depth,3,1,TiberonDecompress,TiberonDecompress,1,\"\"" + stream + ids +
                   "depth,3,2,NoiseRemovalFilter,NoiseRemovalFilter,1,\"40 512 1280 800\"" + stream + ids +
                   "depth,3,3,DisparityTransform,DisparityTransform,1,\"\"" + stream + ids +
                   "depth,3,4,HardwareD2CProcessor,DepthResize,0,\"\"" + stream,
               ids + "9,9,3,FrameRotate,FrameRotate,1,\"\",1280,800,9,\"8-bit grey\"\nCorvid,\"3E71:414B 3E71:413A "
                     "(built in)\",depth,3,1,Corvid",
               "\nSorrel,", ",DisparityTransform,OpenNIDisparityTransform,1,\"\",1280,800,11,"});
  std::set<std::string> families, streams;
  std::istringstream lines(outcome.out.substr(outcome.out.find('\n') + 1));
  for (std::string line; std::getline(lines, line);) {
    families.insert(line.substr(0, line.find(',')));
    streams.insert(line.substr(0, line.find(',')) + line.substr(line.find("\",") + 1, 5));
  }
  EXPECT_EQ(families.size(), 10U);
  EXPECT_EQ(streams.size(), 36U);
}

TEST_F(ChainTest, SettingsAreListedForPeopleAndMachines) {
  const char* const raw =
      "FrameMirror#255, boolean, 0, 1, 1, 0, FrameMirror enable switch\n"
      "FrameFlip#255, boolean, 0, 1, 1, 0, FrameFlip enable switch\n"
      "FrameRotate#0, integer, 0, 270, 90, 0, angle to turn the image by, clockwise, in degrees\n";
  const char* const table =
      "SETTING          TYPE     MIN  MAX  STEP  VALUE  DESCRIPTION\n"
      "FrameMirror#255  boolean    0    1     1      0  FrameMirror enable switch\n"
      "FrameFlip#255    boolean    0    1     1      0  FrameFlip enable switch\n"
      "FrameRotate#0    integer    0  270    90      0  angle to turn the image by, clockwise, in degrees\n";
  const char* const folded =
      "SETTING          TYPE     MIN  MAX  STEP  VALUE  DESCRIPTION\n"
      "FrameMirror#255  boolean    0    1     1      0  FrameMirror enable switch\n"
      "FrameFlip#255    boolean    0    1     1      0  FrameFlip enable switch\n"
      "FrameRotate#0    integer    0  270    90      0  angle to turn the image\n"
      "                                                 by, clockwise, in degrees\n";
  const char* const below =
      "SETTING          TYPE     MIN  MAX  STEP  VALUE\n    DESCRIPTION\n"
      "FrameMirror#255  boolean    0    1     1      0\n    FrameMirror enable switch\n"
      "FrameFlip#255    boolean    0    1     1      0\n    FrameFlip enable switch\n"
      "FrameRotate#0    integer    0  270    90      0\n    angle to turn the image by, clockwise, in degrees\n";
  EXPECT_EQ(vycam("schema --camera talon --sensor colour --raw", "COLUMNS=40 ").out, raw);
  EXPECT_EQ(vycam("schema --camera talon --sensor colour", "COLUMNS=98 ").out, table);
  EXPECT_EQ(vycam("schema --camera talon --sensor colour", "COLUMNS=74 ").out, folded);
  EXPECT_EQ(vycam("schema --camera talon --sensor colour", "COLUMNS=70 ").out, below);
  // Narrower than the last word.
  EXPECT_EQ(vycam("schema --camera talon --sensor colour", "COLUMNS=5 ").out.find(" \n"), std::string::npos);
  EXPECT_EQ(vycam("schema --camera Corvid --sensor depth").out.find("A boolean item"), std::string::npos);
  expectParts(vycam("schema --camera SpecialOpenNI --sensor depth").out,
              {"\n\nA boolean item shows 0 for its range and value"});
}

}  // namespace

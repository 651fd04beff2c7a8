// The command from outside: arguments in, exit code, texts and files out.
#include <gtest/gtest.h>
#include <png.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

std::string contentsOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

struct Outcome {
  int exitCode = -1;
  std::string out, err;
};

class VycamTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "vycam-test-XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override { fs::remove_all(folder_); }

  Outcome vycam(const std::string& arguments) const {
    const std::string line = "cd '" + folder_.string() + "' && VYSIM_PRINT_REFUSALS=1 '" VYCAM_COMMAND "' " +
                             arguments + " 2>stderr.txt </dev/null";
    Outcome outcome;
    FILE* const pipe = popen(line.c_str(), "r");
    char buffer[4096];
    for (size_t size = 0; (size = fread(buffer, 1, sizeof buffer, pipe)) > 0;) outcome.out.append(buffer, size);
    const int status = pclose(pipe);
    outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.err = contentsOf(folder_ / "stderr.txt");
    fs::remove(folder_ / "stderr.txt");
    EXPECT_EQ(outcome.err.find("refused: "), std::string::npos) << outcome.err;
    return outcome;
  }

  /// Everything in the scratch folder, hidden files too.
  std::set<std::string> files() const {
    std::set<std::string> names;
    for (const auto& entry : fs::recursive_directory_iterator(folder_)) {
      names.insert(fs::relative(entry.path(), folder_).string());
    }
    return names;
  }

  void writePng(const char* name, png_uint_32 width, png_uint_32 height, png_uint_32 format) const {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = width;
    image.height = height;
    image.format = format;
    std::vector<png_uint_16> pixels(size_t{width} * height * 2);
    for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<png_uint_16>(1000 + 1500 * (i % width) / width);
    ASSERT_TRUE(png_image_write_to_file(&image, (folder_ / name).c_str(), 0, pixels.data(), 0, nullptr));
  }

  /// Decodes a whole PNG. Returns "WIDTHxHEIGHT 16-bit" or "WIDTHxHEIGHT 8-bit", or what is wrong with it.
  std::string decode(const fs::path& name) const {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, (folder_ / name).c_str())) return image.message;
    const bool isWide = (image.format & PNG_FORMAT_FLAG_LINEAR) != 0;
    image.format = PNG_FORMAT_RGBA;
    std::vector<png_byte> pixels(PNG_IMAGE_SIZE(image));
    if (!png_image_finish_read(&image, nullptr, pixels.data(), 0, nullptr)) return image.message;
    return std::to_string(image.width) + "x" + std::to_string(image.height) + (isWide ? " 16-bit" : " 8-bit");
  }

  fs::path folder_;
};

/// The number that `pattern` captures in a summary; -1 if it is not there.
double figure(const std::string& summary, const char* pattern) {
  std::smatch match;
  return std::regex_search(summary, match, std::regex(pattern)) ? std::stod(match[1]) : -1;
}

TEST_F(VycamTest, BadInputIsToldInOneLineAndLeavesNothingBehind) {
  writePng("bytes.png", 32, 32, PNG_FORMAT_GRAY);
  writePng("depth.png", 64, 48, PNG_FORMAT_LINEAR_Y);
  const std::string whole = contentsOf(folder_ / "depth.png");
  std::ofstream(folder_ / "cut.png", std::ios::binary) << whole.substr(0, whole.size() / 2);
  std::ofstream(folder_ / "text.png") << "not a picture";
  const std::set<std::string> before = files();

  const std::string run = "run --camera Corvid --sensor depth --frames 1 --out made/deeper ";
  const struct {
    std::string arguments;
    std::vector<std::string> said;  // what was wrong, what would be right
  } cases[] = {
      {"", {"ubcommand"}},
      {"run --camera Corvid --sensor depth", {"--out", "required"}},
      {"run --camera Raven --sensor depth --out made", {"\"Raven\"", "Corvid", "NormalOpenNI"}},
      {"run --camera Corvid --sensor left --out made", {"\"left\"", "ir-left"}},
      {"run --camera Halden --sensor ir-left --out made", {"Halden", "ir-left", "depth, color, ir"}},
      {"schema --camera Halden --sensor 5", {"\"5\"", "depth (3)"}},
      {run + "--set Nonsense#1=2", {"\"Nonsense#1\"", "NoiseRemovalFilter#0"}},
      {run + "--set FrameRotate#0", {"\"FrameRotate#0\"", "FILTER#ITEM=VALUE"}},
      {run + "--set FrameRotate#0=ninety", {"\"ninety\"", "FrameRotate#0", "number"}},
      {run + "--set FrameRotate#0=91", {"cannot apply the settings: ", "but is 91"}},
      {run + "--set FrameMirror#255=on", {"\"on\"", "0 (off) or 1 (on)"}},
      {run + "--d2c scale=0", {"scale=0", "above 0"}},
      {run + "--d2c scale=1,left=-4000", {"--d2c", "1 to 32767"}},
      {"run --camera Vashti --sensor depth --d2c scale=1 --out made", {"HardwareD2CProcessor", "Vashti"}},
      {run + "--size 640x0", {"\"640x0\"", "WIDTHxHEIGHT", "16 to 4096"}},
      {"run --camera Corvid --sensor depth --frames 0 --out made", {"--frames", "100000"}},
      {run + "--depth absent.png", {"absent.png", "No such file"}},
      {run + "--depth text.png", {"text.png", "not a PNG", "16-bit grey"}},
      {run + "--depth bytes.png", {"8-bit grey PNG of 32x32", "16-bit grey"}},
      {run + "--depth cut.png", {"cut.png", "cannot read"}},
      {"run --camera Corvid --sensor depth --frames 1 --out text.png", {"text.png", "not a folder"}},
      {"gallery --out text.png/below", {"text.png/below", "cannot write"}},
      {"gallery --out /proc/pictures", {"/proc/pictures", "cannot write"}},
      {"--library absent.so families", {"absent.so", "--library"}},
      {"--library libTavrixSDK.so families", {"vy_create_frame_processor_context"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("vycam " + c.arguments);
    const Outcome outcome = vycam(c.arguments);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.rfind("vycam: ", 0), 0U) << outcome.err;
    EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
    for (const std::string& part : c.said) {
      EXPECT_NE(outcome.err.find(part), std::string::npos) << "\"" << part << "\" is missing in: " << outcome.err;
    }
    EXPECT_EQ(files(), before);
  }
}

TEST_F(VycamTest, FamiliesCsvListsTenFamiliesWithNineColumns) {
  const Outcome outcome = vycam("families --csv");
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  std::istringstream lines(outcome.out);
  std::map<std::string, std::string> depthChains;  // by family; a switched-off filter is followed by "-"
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> cells;
    std::istringstream row(line);
    for (std::string cell; std::getline(row, cell, ',');) cells.push_back(cell);
    ASSERT_EQ(cells.size(), 9U) << line;
    if (cells[2] == "depth") depthChains[cells[0]] += cells[5] + (cells[7] == "1" ? " " : "- ");
  }
  EXPECT_EQ(depthChains.size(), 10U);
  EXPECT_EQ(depthChains["Sorrel"],
            "FrameUnpacker DisparityTransform HardwareD2CProcessor- FrameMirror- FrameFlip- FrameRotate ");
  EXPECT_NE(outcome.out.find(",DisparityTransform,OpenNIDisparityTransform,1,"), std::string::npos);
  EXPECT_NE(outcome.out.find(",HardwareD2CProcessor,DepthResize,0,"), std::string::npos);
}

TEST_F(VycamTest, RunWritesPicturesThatMatchTheScene) {
  writePng("depth.png", 320, 240, PNG_FORMAT_LINEAR_Y);
  const struct {
    const char* arguments;
    const char* output16;  // of the picture with numbers; null if there is none
  } cases[] = {
      {"--camera Corvid --sensor depth --clean", "1280x800 16-bit"},
      {"--camera NormalOpenNI --sensor depth --clean --depth depth.png", "320x240 16-bit"},
      {"--camera SpecialOpenNI --sensor 3 --clean --size 400x300 --set FrameRotate#0=90", "300x400 16-bit"},
      {"--camera Pellan --sensor depth --clean --size 320x200 --d2c scale=1.5,left=8,bottom=-4", "488x296 16-bit"},
      {"--camera halden --sensor ir --size 320x240", nullptr},
      {"--camera Talon --sensor colour --size 320x240", nullptr},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const Outcome outcome = vycam("run --frames 2 --out made " + std::string(c.arguments));
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    std::set<std::string> expected = {"depth.png", "made", "made/raw.png", "made/output.png"};
    if (c.output16 != nullptr) {
      expected.insert({"made/truth.png", "made/output16.png"});
      EXPECT_EQ(decode("made/output16.png"), c.output16);
      const double median = figure(outcome.out, "median error +([0-9]+) mm");
      EXPECT_TRUE(median >= 0 && median <= 10) << outcome.out;
      EXPECT_GE(figure(outcome.out, "valid +([0-9.]+) %"), 70) << outcome.out;
    }
    EXPECT_EQ(files(), expected);
    for (const char* name : {"made/raw.png", "made/output.png"}) {
      EXPECT_NE(decode(name).find(" 8-bit"), std::string::npos) << name << ": " << decode(name);
    }
    fs::remove_all(folder_ / "made");
  }
}

TEST_F(VycamTest, GalleryShowsEveryStreamWithPicturesThatExist) {
  const Outcome outcome = vycam("gallery --out page");
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  const std::string page = contentsOf(folder_ / "page/index.html");
  std::set<std::string> shown;
  for (size_t at = 0; (at = page.find("src=\"", at)) != std::string::npos; at += 5) {
    shown.insert("page/" + page.substr(at + 5, page.find('"', at + 5) - at - 5));
  }
  std::set<std::string> written = files();
  for (const char* other : {"page", "page/images", "page/index.html"}) EXPECT_EQ(written.erase(other), 1U) << other;
  EXPECT_EQ(shown, written);
  for (const std::string& name : written) EXPECT_NE(decode(name).find(" 8-bit"), std::string::npos) << name;

  EXPECT_EQ(written.size(), 36U * 2 + 10) << "two pictures a stream, and the truth of each depth stream";
  EXPECT_EQ(page.find("http", page.find("<body")), std::string::npos) << "the page asks for something from elsewhere";
}

}  // namespace

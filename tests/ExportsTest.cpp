// What the shared library exports, and what it needs.
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <iterator>
#include <set>
#include <sstream>
#include <string>

namespace {

using Names = std::set<std::string>;

std::string outputOf(const std::string& command) {
  std::string output;
  FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return output;
  std::array<char, 4096> buffer;
  while (fgets(buffer.data(), buffer.size(), pipe) != nullptr) output += buffer.data();
  EXPECT_EQ(pclose(pipe), 0) << command;
  return output;
}

/// The library's symbols: what nm prints behind the type letter.
Names symbols(const std::string& options) {
  std::istringstream lines(outputOf(VYFP_NM " --dynamic --demangle " + options + " \"" VYFP_LIBRARY "\""));
  Names names;
  for (std::string line; std::getline(lines, line);) {
    std::string name = line.substr(line.find_first_not_of(" 0123456789abcdef") + 2);
    const std::string longName = "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >";
    for (std::size_t at = name.find(longName); at != std::string::npos; at = name.find(longName)) {
      name.replace(at, longName.size(), "string");
    }
    names.insert(name);
  }
  return names;
}

TEST(ExportsTest, ExactlyTheInterfaceIsVisibleAndCarriesItsVersion) {
  const std::string version = "VY_FRAME_PROCESSOR_1";
  const Names functions = {
      "vy_create_frame_processor_context",
      "vy_destroy_frame_processor_context",
      "vy_create_frame_processor",
      "vy_destroy_frame_processor",
      "vy_frame_processor_process_frame",
      "vy_frame_processor_get_config_schema",
      "vy_frame_processor_update_config",
      "vy_frame_processor_set_hardware_d2c_params",
      "vy_set_device_info_data",
      "vy_get_commit_hash",
      "priv_create_filter(char const*, vy_error**)",
      "priv_create_private_filter(char const*, vy_error**)",
      "priv_filter_get_name(vy_filter_t const*, vy_error**)",
      "priv_delete_filter(vy_filter_t*, vy_error**)",
      "priv_filter_get_config_schema_list(vy_filter_t const*, vy_error**)",
      "priv_filter_delete_config_schema_list(vy_filter_config_schema_list_t*, vy_error**)",
      "priv_filter_update_config(vy_filter_t*, unsigned char, char const**, vy_error**)",
      "priv_filter_get_config_value(vy_filter_t const*, char const*, vy_error**)",
      "priv_filter_set_config_value(vy_filter_t*, char const*, double, vy_error**)",
      "priv_filter_reset(vy_filter_t*, vy_error**)",
      "priv_filter_enable(vy_filter_t*, bool, vy_error**)",
      "priv_filter_is_enabled(vy_filter_t const*, vy_error**)",
      "priv_filter_process(vy_filter_t*, vy_frame_t const*, vy_error**)",
      "priv_filter_config_schema_list_get_count(vy_filter_config_schema_list_t const*, vy_error**)",
      "priv_filter_config_schema_list_get_item(vy_filter_config_schema_list_t const*, unsigned int, vy_error**)",
      "priv_filter_set_hardware_d2c_params(vy_filter_t*, VYCameraIntrinsic, unsigned char, float, short, short, short, "
      "short, bool, bool, vy_error**)",
      "toLower(string const&)",
      "clearHeadAndTailSpace(string const&)",
      "cvt2Boolean(string const&, bool*)",
      "cvt2Int(string const&, int*)",
      "cvt2Float(string const&, float*)",
      "cvt2Double(string const&, double*)",
  };
  Names expected = {version};  // nm lists the version as a symbol, too
  for (const std::string& function : functions) expected.insert(function + "@@" + version);
  EXPECT_EQ(symbols("--defined-only"), expected);
}

TEST(ExportsTest, TheHostFunctionsUsedAreThoseOfItsInterface) {
  std::istringstream names(
      "vy_create_error vy_delete_error vy_device_get_device_info vy_device_info_get_vid vy_device_info_get_pid "
      "vy_delete_device_info vy_create_filter vy_create_private_filter vy_filter_get_name "
      "vy_filter_get_config_schema vy_delete_filter vy_filter_reset vy_filter_get_config_schema_list "
      "vy_delete_filter_config_schema_list vy_filter_config_schema_list_get_count "
      "vy_filter_config_schema_list_get_item vy_filter_update_config vy_filter_get_config_value "
      "vy_filter_set_config_value vy_filter_enable vy_filter_is_enabled vy_filter_process vy_frame_add_ref "
      "vy_delete_frame vy_frame_get_format vy_video_frame_get_pixel_type vy_video_frame_get_width "
      "vy_video_frame_get_height vy_create_frame_from_other_frame vy_frame_get_stream_profile "
      "vy_video_stream_profile_get_intrinsic vy_video_stream_profile_set_intrinsic "
      "vy_video_stream_profile_set_distortion vy_stream_profile_set_extrinsic_to_type vy_delete_stream_profile ");
  const Names expected{std::istream_iterator<std::string>(names), {}};
  Names used;
  for (const std::string& name : symbols("--undefined-only")) {
    if (name.compare(0, 2, "vy") == 0) used.insert(name);
  }
  EXPECT_EQ(used, expected);
}

TEST(ExportsTest, NothingButTheHostAndTheLanguageIsNeeded) {
  const std::string dynamic = outputOf(VYFP_READELF " --dynamic --wide \"" VYFP_LIBRARY "\"");
  EXPECT_NE(dynamic.find("Library soname: [libvy_frame_processor.so.1]"), std::string::npos);
  EXPECT_NE(dynamic.find("Shared library: [libTavrixSDK.so]"), std::string::npos);
  std::istringstream lines(dynamic);
  for (std::string line; std::getline(lines, line);) {
    if (line.find("(NEEDED)") == std::string::npos) continue;
    const std::string name = line.substr(line.find('[') + 1, line.find(".so") - line.find('[') - 1);
    // Sanitized builds need a sanitizer as well.
    const Names allowed = {"libTavrixSDK", "libstdc++", "libgcc_s", "libm",   "libc",
                           "libc++",       "libasan",   "libubsan", "libtsan"};
    EXPECT_TRUE(allowed.count(name) != 0 || name.find("ld-linux") == 0) << name;
  }
}

}  // namespace

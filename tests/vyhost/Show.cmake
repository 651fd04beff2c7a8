# Recordings are made in child processes, with the twin in place of the library, and read in the test.
find_package(pugixml REQUIRED)
add_executable(vyhost_show_tests
  ShowTest.cpp
  ${PROJECT_SOURCE_DIR}/recording/McapFile.cpp
  ${vyhost_dir}/CallLines.cpp
  ${vyhost_dir}/CameraFamilies.cpp
  ${vyhost_dir}/Compression.cpp
  ${vyhost_dir}/FilterNames.cpp
  ${vyhost_dir}/FunctionTable.cpp
  ${vyhost_dir}/McapContent.cpp
  ${vyhost_dir}/Recording.cpp
  ${vyhost_dir}/References.cpp
  ${vyhost_dir}/Story.cpp
  ${vyhost_dir}/StoryJson.cpp
  ${vyhost_dir}/StoryPage.cpp
  ${vyhost_dir}/StoryText.cpp
  ${vyhost_dir}/Words.cpp)
target_include_directories(vyhost_show_tests PRIVATE
  ${PROJECT_SOURCE_DIR}/tests ${vyhost_dir} ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/include)
target_compile_definitions(vyhost_show_tests PRIVATE
  VY_VERSION="${PROJECT_VERSION}" VYHOST_SHOW_MANUAL="${PROJECT_SOURCE_DIR}/docs/show.md")
target_link_libraries(vyhost_show_tests PRIVATE
  vyfp_test_support vy_frame_processor_recording TavrixSDK::TavrixSDK nlohmann_json::nlohmann_json fmt::fmt
  pugixml::pugixml PkgConfig::COMPRESSION GTest::gtest_main vyfp_test_flags)
gtest_discover_tests(vyhost_show_tests TEST_PREFIX vyhost. PROPERTIES LABELS unit)

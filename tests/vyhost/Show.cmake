# Recordings are made in child processes, with the twin in place of the library, and read in the test.
add_executable(vyhost_show_tests ShowTest.cpp)
target_include_directories(vyhost_show_tests PRIVATE ${PROJECT_SOURCE_DIR}/tests)
target_compile_definitions(vyhost_show_tests PRIVATE VYHOST_SHOW_MANUAL="${PROJECT_SOURCE_DIR}/docs/show.md")
target_link_libraries(vyhost_show_tests PRIVATE
  vyhost_parts vyfp_test_support vy_frame_processor_recording TavrixSDK::TavrixSDK GTest::gtest_main vyfp_test_flags)
target_precompile_headers(vyhost_show_tests REUSE_FROM vyfp_test_support)
gtest_discover_tests(vyhost_show_tests TEST_PREFIX vyhost. PROPERTIES LABELS unit)

# Replays: sessions are recorded with the twin, then fed to the library, and to copies of it with a fault each.
add_executable(vyhost_sessions Sessions.cpp)
target_include_directories(vyhost_sessions PRIVATE ${PROJECT_SOURCE_DIR})
target_link_libraries(vyhost_sessions PRIVATE
  vy_frame_processor_recording vyfp_test_support Threads::Threads vyfp_test_flags)

set(faulty_dir ${CMAKE_CURRENT_BINARY_DIR}/faulty)
set(faulty_libraries)

# The library with `was` in one source replaced by `becomes`.
function(add_faulty_library name source was becomes)
  set(original ${PROJECT_SOURCE_DIR}/src/${source})
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${original})
  file(READ ${original} text)
  string(REPLACE "${was}" "${becomes}" changed "${text}")
  if(changed STREQUAL text)
    message(FATAL_ERROR "the faulty library ${name}: src/${source} has no \"${was}\" any more; put the fault elsewhere")
  endif()
  file(CONFIGURE OUTPUT ${faulty_dir}/${name}/${source} CONTENT "${changed}" @ONLY)
  set(objects $<TARGET_OBJECTS:vy_frame_processor_objects>)
  add_library(faulty_${name} SHARED ${faulty_dir}/${name}/${source} $<FILTER:${objects},EXCLUDE,/${source}>)
  target_include_directories(faulty_${name} PRIVATE
    $<TARGET_PROPERTY:vy_frame_processor_objects,INCLUDE_DIRECTORIES>)
  target_link_libraries(faulty_${name} PRIVATE TavrixSDK::TavrixSDK vyfp_test_flags)
  target_link_options(faulty_${name} PRIVATE LINKER:--version-script=${PROJECT_SOURCE_DIR}/src/vy_frame_processor.map)
  set_target_properties(faulty_${name} PROPERTIES
    LIBRARY_OUTPUT_DIRECTORY ${faulty_dir} CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
  set(faulty_libraries ${faulty_libraries} faulty_${name} PARENT_SCOPE)
endfunction()

add_faulty_library(SwappedIds api/FrameProcessorContext.cpp
  "slot.call(vy_device_info_get_pid, info)" "(slot.call(vy_device_info_get_vid, info), slot.call(vy_device_info_get_pid, info))")
add_faulty_library(KeptDeviceInfo api/FrameProcessorContext.cpp
  "if (deviceInfo_ != nullptr) HostErrorSlot().call(vy_delete_device_info, deviceInfo_);" "")
add_faulty_library(SwappedPair processor/FrameLoop.cpp
  "const int format = static_cast<int>(slot.call(vy_frame_get_format, input));"
  "slot.call(vy_video_frame_get_pixel_type, input); const int format = static_cast<int>(slot.call(vy_frame_get_format, input));")
add_faulty_library(KeptFrame processor/FrameLoop.cpp
  "slot.call(vy_delete_frame, walk.current);" "")
add_faulty_library(FirstFrameAgain processor/FrameLoop.cpp
  "link.filter(), current)" "link.filter(), input)")
add_faulty_library(SwallowedError processor/FrameLoop.cpp
  "if (walk.failed) *error = slot.release();" "if (walk.failed) slot.clear();")
add_faulty_library(SwitchedOff processor/FrameProcessor.cpp
  "link.config().enabled == 1)" "link.config().enabled == 2)")
add_faulty_library(NoSlot processor/ConfigCommands.cpp
  "std::strtod(value, nullptr), error)" "std::strtod(value, nullptr), nullptr)")
add_faulty_library(SecondLookup processor/ConfigCommands.cpp
  "const auto [filter, config] =" "getFilter(key.filterName); const auto [filter, config] =")
add_faulty_library(OtherException processor/ConfigCommands.cpp
  "std::stoi(line.substr(nameEnd + 1, keyEnd - nameEnd - 1))" "line.at(line.size())")
add_faulty_library(OtherTypeName processor/ConfigSchema.cpp
  "\"integer\", " "\"whole\", ")
add_faulty_library(OtherStream d2c/HardwareD2CProcessor.cpp
  "static_cast<VYStreamType>(2)" "static_cast<VYStreamType>(1)")
add_faulty_library(OtherErrorText privfilter/PrivateFilterCWrapper.cpp
  "filter is nullptr" "filter is null")
add_faulty_library(Crash processor/FrameProcessor.cpp
  "return configSchema_.c_str();" "__builtin_trap();")
add_faulty_library(Hang processor/FrameProcessor.cpp
  "return configSchema_.c_str();" "for (volatile bool isLong = true; isLong;) {} return configSchema_.c_str();")

add_executable(vyhost_replay_test ReplayTest.cpp ../support/CommandTest.cpp)
target_include_directories(vyhost_replay_test PRIVATE ${PROJECT_SOURCE_DIR}/tests)
target_compile_definitions(vyhost_replay_test PRIVATE
  SESSIONS="$<TARGET_FILE:vyhost_sessions>" VYHOST="$<TARGET_FILE:vyhost>" FAULTY_DIR="${faulty_dir}"
  RECORDINGS="${CMAKE_CURRENT_SOURCE_DIR}/recordings" STORIES="${CMAKE_CURRENT_SOURCE_DIR}/stories")
target_link_libraries(vyhost_replay_test PRIVATE vyfp_test_flags GTest::gtest_main)
add_dependencies(vyhost_replay_test vyhost vy_frame_processor vyhost_sessions ${faulty_libraries})
target_precompile_headers(vyhost_replay_test REUSE_FROM vyfp_test_support)
gtest_discover_tests(vyhost_replay_test TEST_PREFIX vyhost. DISCOVERY_TIMEOUT 60 PROPERTIES LABELS unit TIMEOUT 300)

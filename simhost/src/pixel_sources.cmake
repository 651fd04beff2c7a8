# Pixel functions, the scene and the cameras.

# The pixel functions are objects of their own, as tests link them too: the host itself does not show them.
add_library(simhost_pixel OBJECT
  src/pixel/correction.cpp
  src/pixel/disparity.cpp
  src/pixel/geometry.cpp
  src/pixel/offset.cpp
  src/pixel/packing.cpp
  src/pixel/runLength.cpp
  src/pixel/speckle.cpp)
target_include_directories(simhost_pixel PUBLIC ${CMAKE_CURRENT_SOURCE_DIR}/src)
target_compile_options(simhost_pixel PRIVATE $<$<NOT:$<CONFIG:Debug>>:-O3>)
target_link_libraries(simhost_pixel PRIVATE vyfp::flags)
set_target_properties(simhost_pixel PROPERTIES POSITION_INDEPENDENT_CODE ON)

set(PIXEL_SOURCES
  $<TARGET_OBJECTS:simhost_pixel>
  src/camera/camera.cpp
  src/camera/cameraApi.cpp
  src/camera/families.cpp
  src/camera/infraredPicture.cpp
  src/camera/measurement.cpp
  src/scene/imageScene.cpp
  src/scene/roomLayout.cpp
  src/scene/roomPaint.cpp
  src/scene/roomScene.cpp
  src/scene/roomTrace.cpp
  src/scene/sensorNoise.cpp)

# Lets loops with square roots and comparisons be vectorised; results stay the same to the bit.
set_source_files_properties(src/scene/roomPaint.cpp src/scene/roomTrace.cpp PROPERTIES
  COMPILE_OPTIONS "-fno-math-errno;-fno-trapping-math")

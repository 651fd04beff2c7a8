#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "tavrix_sim.hpp"

using vysim::call;
using vysim::Camera;
using vysim::Device;
using vysim::DeviceInfo;
using vysim::Error;
using vysim::ErrorSlot;
using vysim::Filter;
using vysim::Frame;
using vysim::SchemaList;
using vysim::StreamProfile;

// Exception types.
constexpr int kInternal = 1, kOutOfMemory = 2, kDeadObject = 3, kInvalidValue = 4, kWrongObject = 5, kNotFound = 6,
              kUnsuitableFrame = 7, kInjected = 8;

/// 16-bit pixels, row by row.
using Image = std::vector<uint16_t>;

inline Filter makeFilter(const std::string& name) {
  const bool isPrivate = name == "DepthResize" || name == "OpenNIDisparityTransform";
  return Filter(call(isPrivate ? vy_create_private_filter : vy_create_filter, name.c_str()));
}

inline std::vector<std::string> wordsOf(const std::string& text) {
  std::istringstream words(text);
  return {std::istream_iterator<std::string>(words), {}};
}

/// A filter with settings like "MinDepth=5 MaxDepth=7".
inline Filter configured(const std::string& name, const std::string& settings) {
  Filter filter = makeFilter(name);
  for (const std::string& word : wordsOf(settings)) {
    const size_t sign = word.find('=');
    call(vy_filter_set_config_value, filter.get(), word.substr(0, sign).c_str(), std::stod(word.substr(sign + 1)));
  }
  return filter;
}

inline Frame process(const Filter& filter, const Frame& frame) {
  return Frame(call(vy_filter_process, filter.get(), frame.get()));
}

inline Frame makeFrame(VYFormat format = VY_FORMAT_Y16, VYPixelType type = VY_PIXEL_DISPARITY, uint32_t width = 6,
                       uint32_t height = 4) {
  return Frame(call(vysim_create_frame, width, height, format, type));
}

inline std::vector<uint8_t> bytesOf(const Frame& frame) {
  const uint8_t* const data = call(vysim_frame_get_data, frame.get());
  return {data, data + call(vysim_frame_get_size, frame.get())};
}

/// The pixels of a Y16 frame.
inline Image pixelsOf(const Frame& frame) {
  EXPECT_EQ(call(vy_frame_get_format, frame.get()), VY_FORMAT_Y16);
  const std::vector<uint8_t> bytes = bytesOf(frame);
  Image pixels(bytes.size() / 2);
  std::memcpy(pixels.data(), bytes.data(), bytes.size());
  return pixels;
}

inline void setPixels(const Frame& frame, const Image& pixels) {
  ASSERT_EQ(call(vysim_frame_get_size, frame.get()), pixels.size() * 2);
  std::memcpy(call(vysim_frame_get_data, frame.get()), pixels.data(), pixels.size() * 2);
}

/// Opens a camera that looks at a depth image.
inline Camera openCamera(const char* family, uint32_t width, uint32_t height, const Image& depth, uint32_t depthWidth,
                         bool clean = true) {
  const auto depthHeight = static_cast<uint32_t>(depth.size() / depthWidth);
  const vysim_camera_options options{width, height, clean, depth.data(), depthWidth, depthHeight, 0};
  return Camera(call(vysim_open_camera, family, &options));
}

/// Opens a camera that looks at the room.
inline Camera openCamera(const char* family, uint32_t width, uint32_t height, bool clean = true) {
  const vysim_camera_options options{width, height, clean, nullptr, 0, 0, 0};
  return Camera(call(vysim_open_camera, family, &options));
}

inline Frame nextFrame(const Camera& camera, VYSensorType sensor = VY_SENSOR_DEPTH) {
  return Frame(call(vysim_camera_next_frame, camera.get(), sensor));
}

inline Image truthOf(const Camera& camera, const Frame& frame) {
  Image truth(size_t{call(vy_video_frame_get_width, frame.get())} * call(vy_video_frame_get_height, frame.get()));
  call(vysim_camera_get_truth, camera.get(), frame.get(), truth.data());
  return truth;
}

/// The host alone. Fails a test that leaves objects behind.
class SimulatedHost : public testing::Test {
 protected:
  SimulatedHost() {
    vysim::onRefusal = [](const Error& error) { ADD_FAILURE() << error.function << ": " << error.message; };
    vysim_reset();
  }
  ~SimulatedHost() override {
    vysim_reset();
    for (int kind = 0; kind < VYSIM_KIND_COUNT; ++kind) {
      EXPECT_EQ(vysim_live_count(static_cast<vysim_kind>(kind)), 0U) << vysim_kind_name(static_cast<vysim_kind>(kind));
    }
  }
};

#include "api/ArgumentText.h"

#include <fmt/format.h>

#include <cstring>
#include <vector>

#include "core/Object.h"
#include "filters/Filter.h"

namespace tavrix {
namespace {

/// Copies the floats that a packed record begins with, as no reference may be bound to them.
std::vector<float> floatsOf(const void* record, size_t count) {
  std::vector<float> values(count);
  std::memcpy(values.data(), record, count * sizeof(float));
  return values;
}

}  // namespace

std::string describeHandle(const void* handle) {
  if (handle == nullptr) return "null";
  const auto* header = static_cast<const ObjectHeader*>(handle);
  if (header->mark != ObjectHeader::kMark) return "no object";
  const uint32_t serial = header->serial.load(std::memory_order_relaxed);
  if (!header->isAlive()) return fmt::format("{}#{} (dead)", kindName(header->kind), serial);
  if (header->kind == Kind::filter) {
    return fmt::format("{}#{}", resolve<FilterObject>(static_cast<const vy_filter_t*>(handle), "").filter->name(),
                       serial);
  }
  return fmt::format("{}#{}", kindName(header->kind), serial);
}

void appendArgument(std::string& text, const char* name, const std::string& value) {
  text += fmt::format("{}{}: {}", text.empty() ? "" : ", ", name, value);
}

std::string describe(const char* value) {
  return value != nullptr ? fmt::format("\"{}\"", value) : "null";
}
std::string describe(bool value) {
  return value ? "true" : "false";
}
std::string describe(int value) {
  return fmt::format("{}", value);
}
std::string describe(uint32_t value) {
  return fmt::format("{}", value);
}
std::string describe(double value) {
  return fmt::format("{}", value);
}

std::string describe(const TextList& value) {
  if (value.texts == nullptr) return "null";
  std::string text = "[";
  for (size_t i = 0; i < value.count; ++i) text += (i == 0 ? "" : ", ") + describe(value.texts[i]);
  return text + "]";
}

std::string describe(const VYCameraIntrinsic& value) {
  const int width = value.width;
  const int height = value.height;
  return fmt::format("{{{}, {}, {}}}", fmt::join(floatsOf(&value, 4), ", "), width, height);
}

std::string describe(const VYCameraDistortion& value) {
  const int model = value.model;
  return fmt::format("{{{}, {}}}", fmt::join(floatsOf(&value, 8), ", "), model);
}

std::string describe(const VYExtrinsic& value) {
  return fmt::format("{{{}}}", fmt::join(floatsOf(&value, 12), ", "));
}

}  // namespace tavrix

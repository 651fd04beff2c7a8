#include "ReplayValues.h"

#include <fmt/format.h>

#include <cmath>
#include <cstring>

namespace vyhost {
namespace {

using nlohmann::json;
using recording::Kind;

/// More texts than a processor has settings: one that reads on finds empty texts.
constexpr std::size_t kSpareTexts = 1024;

float floatOf(const json& value) {
  return static_cast<float>(realOf(value));
}

/// The same for all that compare equal, and for nothing else.
json plainNumber(double value) {
  if (std::isfinite(value) && !(value == 0 && std::signbit(value))) return value;
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return fmt::format("f64:{:016x}", bits);
}

}  // namespace

void* Handles::find(Kind kind, std::uint64_t number) {
  if (number == 0) return nullptr;
  void*& object = of(kind).byNumber[number];
  if (object == nullptr) {
    lastAddress_ += 2;
    object = reinterpret_cast<void*>(lastAddress_);  // NOLINT(performance-no-int-to-ptr): there is no object
    of(kind).numbers[object] = number;
  }
  return object;
}

void* Handles::makeUnknown(Kind kind) {
  return find(kind, ++lastUnknown_);
}

std::uint64_t Handles::numberOf(Kind kind, const void* object) {
  if (object == nullptr) return 0;
  const auto [place, isNew] = of(kind).numbers.try_emplace(object, lastUnknown_ + 1);
  if (isNew) ++lastUnknown_;
  return place->second;
}

void Handles::bind(Kind kind, std::uint64_t number, void* object) {
  of(kind).byNumber[number] = object;
  of(kind).numbers[object] = number;
}

bool Handles::knows(Kind kind, std::uint64_t number) const {
  return number == 0 || of(kind).byNumber.count(number) != 0;
}

json Values::write(const char* text) {
  if (text == nullptr) return nullptr;
  std::string characters;
  for (; *text != '\0'; ++text) {
    const auto byte = static_cast<unsigned char>(*text);
    if (byte < 0x80) {
      characters += *text;
    } else {
      characters += static_cast<char>(0xC0U | (byte >> 6U));
      characters += static_cast<char>(0x80U | (byte & 0x3FU));
    }
  }
  return characters;
}

json Values::write(float value) {
  return plainNumber(static_cast<double>(value));
}

json Values::write(double value) {
  return plainNumber(value);
}

json Values::write(const VYCameraIntrinsic& value) {
  return {write(+value.fx), write(+value.fy), write(+value.cx), write(+value.cy), +value.width, +value.height};
}

json Values::write(const VYCameraDistortion& value) {
  return {write(+value.k1), write(+value.k2), write(+value.k3), write(+value.k4), write(+value.k5),
          write(+value.k6), write(+value.p1), write(+value.p2), +value.model};
}

json Values::write(const VYExtrinsic& value) {
  float floats[12];
  static_assert(sizeof floats == sizeof value, "nothing but floats");
  std::memcpy(floats, &value, sizeof floats);
  json all = json::array();
  for (const float each : floats) all.push_back(write(each));
  return all;
}

json Values::write(const VYFilterConfigSchemaItem& value) {
  const char* const name = value.name;
  const char* const description = value.desc;
  return {write(name),       static_cast<int>(value.type), write(+value.min),
          write(+value.max), write(+value.step),           write(+value.def),
          write(description)};
}

json Values::writeAll(vy_filter_t* filter, std::uint8_t argc, const char** argv) {
  json texts;
  if (argv != nullptr) {
    texts = json::array();
    for (unsigned i = 0; i < argc; ++i) texts.push_back(write(argv[i]));
  }
  json all = json::array();
  all.push_back(write(filter));
  all.push_back(argc);
  all.push_back(std::move(texts));
  return all;
}

const char* Values::readText(const json& value) {
  return value.is_null() ? nullptr : texts_.insert(bytesOf(value)).first->c_str();
}

const char** Values::readTexts(const json& value) {
  if (value.is_null()) return nullptr;
  std::vector<const char*>& texts = textArrays_.emplace_back();
  for (const json& each : value) texts.push_back(readText(each));
  texts.resize(texts.size() + kSpareTexts, "");
  return texts.data();
}

const std::uint8_t* Values::readBytes(const json& value) {
  if (value.is_null()) return nullptr;
  const auto& digits = value.get_ref<const std::string&>();
  std::vector<std::uint8_t>& bytes = byteArrays_.emplace_back(digits.size() / 2 + 1);
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes[i / 2] = static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16));
  }
  return bytes.data();
}

VYCameraIntrinsic Values::readRecord(const json& value, const VYCameraIntrinsic* /*tag*/) {
  return {floatOf(value[0]),
          floatOf(value[1]),
          floatOf(value[2]),
          floatOf(value[3]),
          value[4].get<std::int16_t>(),
          value[5].get<std::int16_t>()};
}

VYCameraDistortion Values::readRecord(const json& value, const VYCameraDistortion* /*tag*/) {
  return {floatOf(value[0]), floatOf(value[1]), floatOf(value[2]), floatOf(value[3]),           floatOf(value[4]),
          floatOf(value[5]), floatOf(value[6]), floatOf(value[7]), value[8].get<std::int32_t>()};
}

VYExtrinsic Values::readRecord(const json& value, const VYExtrinsic* /*tag*/) {
  float floats[12];
  for (std::size_t i = 0; i < 12; ++i) floats[i] = floatOf(value[i]);
  VYExtrinsic record = {};
  std::memcpy(&record, floats, sizeof record);
  return record;
}

VYFilterConfigSchemaItem Values::readRecord(const json& value, const VYFilterConfigSchemaItem* /*tag*/) {
  VYFilterConfigSchemaItem item = {};
  item.name = readText(value[0]);
  item.type = read<VYFilterConfigValueType>(value[1]);
  item.min = realOf(value[2]);
  item.max = realOf(value[3]);
  item.step = realOf(value[4]);
  item.def = realOf(value[5]);
  item.desc = readText(value[6]);
  return item;
}

json canonical(ValueKind kind, const json& value) {
  // Which of a record's members are floating-point numbers.
  std::size_t first = 0;
  std::size_t end = 0;
  switch (kind) {
    case ValueKind::real32:
      return Values::write(floatOf(value));
    case ValueKind::real64:
      return Values::write(realOf(value));
    case ValueKind::intrinsic:
      end = 4;
      break;
    case ValueKind::distortion:
      end = 8;
      break;
    case ValueKind::extrinsic:
      end = 12;
      break;
    case ValueKind::schemaItem:
      first = 2;
      end = 6;
      break;
    default:
      return value;
  }
  json record = value;
  for (std::size_t i = first; i < end; ++i) {
    record[i] = kind == ValueKind::schemaItem ? Values::write(realOf(value[i])) : Values::write(floatOf(value[i]));
  }
  return record;
}

}  // namespace vyhost

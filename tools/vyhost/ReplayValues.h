#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "FunctionTable.h"
#include "Recording.h"
#include "recording/HandleNumbers.h"

namespace vyhost {

/// The objects of a replay by their recorded numbers, both ways. Those of the host are made up: odd addresses, which no
/// object of the library can have, with nothing behind them.
class Handles {
 public:
  /// The object of a number; a new one if there is none yet. Null for 0.
  void* find(recording::Kind kind, std::uint64_t number);
  /// An object that the recording does not have.
  void* makeUnknown(recording::Kind kind);
  /// The number of an object; one from kUnknown on if the recording does not have it.
  std::uint64_t numberOf(recording::Kind kind, const void* object);
  /// Gives an object of the library its recorded number.
  void bind(recording::Kind kind, std::uint64_t number, void* object);
  /// Whether a number has come up in the replay.
  bool knows(recording::Kind kind, std::uint64_t number) const;

  static constexpr std::uint64_t kUnknown = 1ULL << 60U;

 private:
  struct Objects {
    std::unordered_map<std::uint64_t, void*> byNumber;
    std::unordered_map<const void*, std::uint64_t> numbers;
  };

  const Objects& of(recording::Kind kind) const { return kinds_[static_cast<std::size_t>(kind)]; }
  Objects& of(recording::Kind kind) { return kinds_[static_cast<std::size_t>(kind)]; }

  std::array<Objects, static_cast<std::size_t>(recording::Kind::count)> kinds_;
  std::uintptr_t lastAddress_ = 0x10001;
  std::uint64_t lastUnknown_ = kUnknown;
};

template <typename Type>
constexpr bool isHandleType = std::is_pointer_v<Type>&& std::is_class_v<std::remove_cv_t<std::remove_pointer_t<Type>>>;

/// Values as the functions take them, made from recorded ones, and the other way round. What it makes lives as long as
/// it does.
class Values {
 public:
  explicit Values(Handles& handles) : handles_(handles) {}

  template <typename Type>
  Type read(const nlohmann::json& value) {
    if constexpr (std::is_same_v<Type, bool>)
      return value.get<bool>();
    else if constexpr (std::is_integral_v<Type> || std::is_enum_v<Type>)
      return static_cast<Type>(value.get<std::int64_t>());
    else if constexpr (std::is_floating_point_v<Type>)
      return static_cast<Type>(realOf(value));
    else if constexpr (std::is_same_v<Type, const char*>)
      return readText(value);
    else if constexpr (std::is_same_v<Type, const char**>)
      return readTexts(value);
    else if constexpr (std::is_same_v<Type, const std::uint8_t*>)
      return readBytes(value);
    else if constexpr (isHandleType<Type>)
      return static_cast<Type>(handles_.find(recording::kindOf(Type()), value.get<std::uint64_t>()));
    else
      return readRecord(value, static_cast<const Type*>(nullptr));
  }

  static nlohmann::json write(const char* text);
  static nlohmann::json write(float value);
  static nlohmann::json write(double value);
  static nlohmann::json write(const VYCameraIntrinsic& value);
  static nlohmann::json write(const VYCameraDistortion& value);
  static nlohmann::json write(const VYExtrinsic& value);
  static nlohmann::json write(const VYFilterConfigSchemaItem& value);
  template <typename Type, std::enable_if_t<std::is_integral_v<Type> || std::is_enum_v<Type>, int> = 0>
  static nlohmann::json write(Type value) {
    if constexpr (std::is_same_v<Type, bool>)
      return value;
    else
      return static_cast<std::int64_t>(value);
  }
  template <typename Object, std::enable_if_t<std::is_class_v<Object>, int> = 0>
  nlohmann::json write(Object* handle) {
    return handles_.numberOf(recording::kindOf(handle), handle);
  }

  /// The arguments of a call, as a recording has them.
  template <typename... Types>
  nlohmann::json writeAll(Types... values) {
    nlohmann::json all = nlohmann::json::array();
    (all.push_back(write(values)), ...);
    return all;
  }
  nlohmann::json writeAll(vy_filter_t* filter, std::uint8_t argc, const char** argv);

  Handles& handles() { return handles_; }

 private:
  const char* readText(const nlohmann::json& value);
  const char** readTexts(const nlohmann::json& value);
  const std::uint8_t* readBytes(const nlohmann::json& value);
  static VYCameraIntrinsic readRecord(const nlohmann::json& value, const VYCameraIntrinsic* tag);
  static VYCameraDistortion readRecord(const nlohmann::json& value, const VYCameraDistortion* tag);
  static VYExtrinsic readRecord(const nlohmann::json& value, const VYExtrinsic* tag);
  VYFilterConfigSchemaItem readRecord(const nlohmann::json& value, const VYFilterConfigSchemaItem* tag);

  Handles& handles_;
  std::unordered_set<std::string> texts_;
  std::deque<std::vector<const char*>> textArrays_;
  std::deque<std::vector<std::uint8_t>> byteArrays_;
};

/// A recorded value in the words of Values::write(): equal to what that makes of the same value, to the last bit.
nlohmann::json canonical(ValueKind kind, const nlohmann::json& value);

}  // namespace vyhost

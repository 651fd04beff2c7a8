#pragma once

#include <TavrixSDK.h>
#include <vy_frame_processor.h>

#include <cstdint>
#include <unordered_map>

namespace recording {

/// Kinds of objects behind handles; each kind is numbered on its own.
enum class Kind { device, deviceInfo, filter, schemaList, frame, profile, error, context, processor, count };

constexpr Kind kindOf(const vy_device_t*) {
  return Kind::device;
}
constexpr Kind kindOf(const vy_device_info_t*) {
  return Kind::deviceInfo;
}
constexpr Kind kindOf(const vy_filter_t*) {
  return Kind::filter;
}
constexpr Kind kindOf(const vy_filter_config_schema_list_t*) {
  return Kind::schemaList;
}
constexpr Kind kindOf(const vy_frame_t*) {
  return Kind::frame;
}
constexpr Kind kindOf(const vy_stream_profile_t*) {
  return Kind::profile;
}
constexpr Kind kindOf(const vy_error*) {
  return Kind::error;
}
constexpr Kind kindOf(const vy_frame_processor_context_t*) {
  return Kind::context;
}
constexpr Kind kindOf(const vy_frame_processor_t*) {
  return Kind::processor;
}

/// Running numbers for objects, from 1, in place of their addresses. An address is used again for other objects, so a
/// number lasts as long as the references that were seen. Not safe from several threads at once.
class HandleNumbers {
 public:
  /// The object's number; 0 for null. An object that was not seen before gets one, without a reference.
  std::uint64_t find(Kind kind, const void* object);
  /// As find(), with one reference more.
  std::uint64_t retain(Kind kind, const void* object);
  /// As retain(), for what a call returns: an object that has no reference left, or whose kind is never returned twice,
  /// is another one at its address.
  std::uint64_t receive(Kind kind, const void* object);
  /// Takes a reference away; with the last one the number is forgotten.
  void release(Kind kind, const void* object);
  /// Puts back what release() took, under the same number unless the address has another object now.
  void restore(Kind kind, const void* object, std::uint64_t number);
  /// Whether the object has a number.
  bool knows(Kind kind, const void* object) const;

 private:
  struct Entry {
    std::uint64_t number;
    std::uint64_t references;
  };
  struct Numbers {
    std::unordered_map<const void*, Entry> entries;
    std::uint64_t last = 0;
  };

  Numbers& of(Kind kind) { return kinds_[static_cast<std::size_t>(kind)]; }

  Numbers kinds_[static_cast<std::size_t>(Kind::count)];
};

}  // namespace recording

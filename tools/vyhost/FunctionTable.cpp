#include "FunctionTable.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

#include "recording/Functions.h"

namespace vyhost {
namespace {

template <typename Type>
constexpr ValueKind kindOf() {
  using Pointed = std::remove_cv_t<std::remove_pointer_t<Type>>;
  if constexpr (std::is_void_v<Type>)
    return ValueKind::none;
  else if constexpr (std::is_same_v<Type, bool>)
    return ValueKind::boolean;
  else if constexpr (std::is_integral_v<Type> || std::is_enum_v<Type>)
    return ValueKind::integer;
  else if constexpr (std::is_same_v<Type, float>)
    return ValueKind::real32;
  else if constexpr (std::is_same_v<Type, double>)
    return ValueKind::real64;
  else if constexpr (std::is_same_v<Type, const char*>)
    return ValueKind::text;
  else if constexpr (std::is_same_v<Type, const char**>)
    return ValueKind::texts;
  else if constexpr (std::is_same_v<Type, const std::uint8_t*>)
    return ValueKind::bytes;
  else if constexpr (std::is_same_v<Type, VYCameraIntrinsic>)
    return ValueKind::intrinsic;
  else if constexpr (std::is_same_v<Type, VYCameraDistortion>)
    return ValueKind::distortion;
  else if constexpr (std::is_same_v<Type, VYExtrinsic>)
    return ValueKind::extrinsic;
  else if constexpr (std::is_same_v<Type, VYFilterConfigSchemaItem>)
    return ValueKind::schemaItem;
  else if constexpr (std::is_same_v<Pointed, vy_device_t>)
    return ValueKind::device;
  else if constexpr (std::is_same_v<Pointed, vy_device_info_t>)
    return ValueKind::deviceInfo;
  else if constexpr (std::is_same_v<Pointed, vy_filter_t>)
    return ValueKind::filter;
  else if constexpr (std::is_same_v<Pointed, vy_filter_config_schema_list_t>)
    return ValueKind::schemaList;
  else if constexpr (std::is_same_v<Pointed, vy_frame_t>)
    return ValueKind::frame;
  else if constexpr (std::is_same_v<Pointed, vy_stream_profile_t>)
    return ValueKind::profile;
  else if constexpr (std::is_same_v<Pointed, vy_error>)
    return ValueKind::error;
  else if constexpr (std::is_same_v<Pointed, vy_frame_processor_context_t>)
    return ValueKind::context;
  else {
    static_assert(std::is_same_v<Pointed, vy_frame_processor_t>, "a type that the table has not had before");
    return ValueKind::processor;
  }
}

enum class Effect { none, adds, releases };

template <typename Result, typename... Types>
FunctionInfo describe(std::string_view name, bool isHost, bool hasErrorSlot, Effect effect,
                      std::string_view argumentNames, Result (*)(Types...)) {
  FunctionInfo info{name, isHost, hasErrorSlot, effect == Effect::adds, effect == Effect::releases, kindOf<Result>(),
                    {}};
  for (const ValueKind kind : std::initializer_list<ValueKind>{kindOf<Types>()...}) {
    const std::size_t comma = argumentNames.find(',');
    info.arguments.push_back({argumentNames.substr(0, comma), kind});
    argumentNames.remove_prefix(comma == std::string_view::npos ? argumentNames.size() : comma + 1);
  }
  return info;
}

}  // namespace

const std::vector<FunctionInfo>& functions() {
#define VY_DESCRIBE(isHost, hasSlot, result, name, parameters, effect, names) \
  describe(#name, isHost, hasSlot, Effect::effect, names, static_cast<result(*) parameters>(nullptr)),
#define VY_HOST(result, name, parameters, arguments, names, effect) \
  VY_DESCRIBE(true, true, result, name, parameters, effect, names)
#define VY_BARE_HOST(result, name, parameters, arguments, names, effect) \
  VY_DESCRIBE(true, false, result, name, parameters, effect, names)
#define VY_LIBRARY(result, name, parameters, arguments, names, effect) \
  VY_DESCRIBE(false, true, result, name, parameters, effect, names)
#define VY_BARE_LIBRARY(result, name, parameters, arguments, names, effect) \
  VY_DESCRIBE(false, false, result, name, parameters, effect, names)
  static const std::vector<FunctionInfo> all = {
      VY_HOST_FUNCTIONS(VY_HOST) VY_BARE_HOST_FUNCTIONS(VY_BARE_HOST) VY_LIBRARY_FUNCTIONS(VY_LIBRARY)
          VY_BARE_LIBRARY_FUNCTIONS(VY_BARE_LIBRARY) VY_PRIVATE_FILTER_FUNCTIONS(VY_LIBRARY)};
  return all;
}

const FunctionInfo* findFunction(std::string_view name) {
  const auto& all = functions();
  const auto found =
      std::find_if(all.begin(), all.end(), [name](const FunctionInfo& each) { return each.name == name; });
  return found != all.end() ? &*found : nullptr;
}

const char* handleName(ValueKind kind) {
  switch (kind) {
    case ValueKind::device:
      return "device";
    case ValueKind::deviceInfo:
      return "device info";
    case ValueKind::filter:
      return "filter";
    case ValueKind::schemaList:
      return "schema list";
    case ValueKind::frame:
      return "frame";
    case ValueKind::profile:
      return "profile";
    case ValueKind::error:
      return "error";
    case ValueKind::context:
      return "context";
    case ValueKind::processor:
      return "processor";
    default:
      return "value";
  }
}

}  // namespace vyhost

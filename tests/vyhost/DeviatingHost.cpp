// A host that deviates on purpose from what the library takes for granted: the simulated host behind a layer of
// functions that do as they are told by VYHOST_DEVIATION, and leave alone what they are not told of.
#include <TavrixSDK.h>
#include <dlfcn.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <map>

namespace {

bool deviates(const char* way) {
  const char* const wanted = std::getenv("VYHOST_DEVIATION");
  return wanted != nullptr && std::strcmp(wanted, way) == 0;
}

/// The simulated host's function of this name.
template <typename Function>
Function* simulated(const char* name, Function*) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}
#define VY_SIMULATED(name) simulated(#name, &::name)

bool isNamed(const char* name, const char* wanted) {
  return name != nullptr && std::strcmp(name, wanted) == 0;
}

VYFilterConfigSchemaItem simulatedItem(const vy_filter_config_schema_list_t* list, uint32_t index, vy_error** error) {
  return VY_SIMULATED(vy_filter_config_schema_list_get_item)(list, index, error);
}

/// Texts that errors do not copy.
std::map<const vy_error*, const char*>& lentTexts() {
  static std::map<const vy_error*, const char*> texts;
  return texts;
}

}  // namespace

extern "C" {

vy_filter_t* vy_create_filter(const char* name, vy_error** error) {
  const auto create = VY_SIMULATED(vy_create_filter);
  const bool isConcerned = isNamed(name, "NoiseRemovalFilter");
  if (isConcerned && deviates("filter missing")) return create("NoSuchFilter", error);
  if (isConcerned && deviates("filter behind the other door")) return create("DepthResize", error);
  if (isConcerned && deviates("null without an error")) return nullptr;
  if (isNamed(name, "NoSuchFilter") && deviates("unknown filter made")) return create("FrameFlip", error);
  if (isNamed(name, "FrameMirror") && deviates("one object for all")) {
    static vy_filter_t* const only = create(name, error);
    return only;
  }
  if (*error != nullptr && isNamed(name, "NoSuchFilter") && deviates("older error deleted")) vy_delete_error(*error);
  return create(name, error);
}

vy_filter_t* vy_create_private_filter(const char* name, vy_error** error) {
  if (isNamed(name, "NoiseRemovalFilter") && deviates("filter behind the other door"))
    return VY_SIMULATED(vy_create_filter)(name, error);
  return VY_SIMULATED(vy_create_private_filter)(name, error);
}

const char* vy_filter_get_name(const vy_filter_t* filter, vy_error** error) {
  const char* const name = VY_SIMULATED(vy_filter_get_name)(filter, error);
  if (isNamed(name, "NoiseRemovalFilter") && deviates("name with #")) return "Noise#Filter";
  if (isNamed(name, "OpenNIDisparityTransform") && deviates("other name")) return "DisparityTransform";
  return name;
}

uint32_t vy_filter_config_schema_list_get_count(const vy_filter_config_schema_list_t* list, vy_error** error) {
  const uint32_t count = VY_SIMULATED(vy_filter_config_schema_list_get_count)(list, error);
  return deviates("item missing") && count > 9 ? 9 : count;
}

VYFilterConfigSchemaItem vy_filter_config_schema_list_get_item(const vy_filter_config_schema_list_t* list,
                                                               uint32_t index, vy_error** error) {
  VYFilterConfigSchemaItem item = simulatedItem(list, index, error);
  if (deviates("null description")) item.desc = nullptr;
  if (deviates("item name with comma")) item.name = "Speckle,Size";
  if (deviates("range upside down")) item.min = item.max + 1;
  if (deviates("nothing past the end") && *error != nullptr) {
    VY_SIMULATED(vy_delete_error)(*error);
    *error = nullptr;
  }
  return item;
}

void vy_filter_update_config(vy_filter_t* filter, uint8_t argc, const char** argv, vy_error** error) {
  if (argc == 4 && deviates("arguments refused")) --argc;
  VY_SIMULATED(vy_filter_update_config)(filter, argc, argv, error);
  const bool isResize = argc == 7 && *error == nullptr;
  // What a reader does that takes the separator from the locale.
  if (isResize && deviates("locale counts"))
    VY_SIMULATED(vy_filter_set_config_value)(filter, "Scale", std::strtod(argv[2], nullptr), error);
}

void vy_filter_set_config_value(vy_filter_t* filter, const char* item, double value, vy_error** error) {
  if (deviates("value not kept")) value = 0;
  if (value == 270 && deviates("value refused")) value = -1;
  VY_SIMULATED(vy_filter_set_config_value)(filter, item, value, error);
}

void vy_filter_enable(vy_filter_t* filter, bool enable, vy_error** error) {
  VY_SIMULATED(vy_filter_enable)(filter, (enable || deviates("always on")) && !deviates("always off"), error);
}

bool vy_filter_is_enabled(const vy_filter_t* filter, vy_error** error) {
  if (filter == nullptr && deviates("crash on null")) std::abort();
  return VY_SIMULATED(vy_filter_is_enabled)(filter, error);
}

void vy_filter_reset(vy_filter_t* filter, vy_error** error) {
  if (deviates("call never returns"))
    for (;;) pause();
  if (deviates("host exits")) std::_Exit(0);
  VY_SIMULATED(vy_filter_reset)(filter, error);
}

vy_error* vy_create_error(int status, const char* message, const char* function, const char* args, int exception_type) {
  vy_error* const error = VY_SIMULATED(vy_create_error)(status, message, function, args, exception_type);
  if (deviates("error text not kept")) lentTexts()[error] = message;
  return error;
}

const char* vy_error_get_message(const vy_error* error) {
  const auto lent = lentTexts().find(error);
  return lent != lentTexts().end() ? lent->second : VY_SIMULATED(vy_error_get_message)(error);
}

}  // extern "C"

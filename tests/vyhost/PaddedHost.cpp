// A host that was built without packing its records: the simulated host behind a function that returns schema items as
// a compiler lays them out by itself.
#include <TavrixSDK.h>
#include <dlfcn.h>

struct PaddedItem {
  const char* name;
  VYFilterConfigValueType type;
  double min, max, step, def;
  const char* desc;
};

extern "C" {

// The header declares the function with its right result.
PaddedItem paddedItem(const vy_filter_config_schema_list_t* list, uint32_t index,
                      vy_error** error) __asm__("vy_filter_config_schema_list_get_item");

PaddedItem paddedItem(const vy_filter_config_schema_list_t* list, uint32_t index, vy_error** error) {
  using GetItem = VYFilterConfigSchemaItem (*)(const vy_filter_config_schema_list_t*, uint32_t, vy_error**);
  const auto get = reinterpret_cast<GetItem>(dlsym(RTLD_NEXT, "vy_filter_config_schema_list_get_item"));
  const VYFilterConfigSchemaItem item = get(list, index, error);
  return {item.name, item.type, item.min, item.max, item.step, item.def, item.desc};
}

}  // extern "C"

// A host that deviates on purpose from what the library takes for granted: the simulated host behind a layer of
// functions that do as they are told by VYHOST_DEVIATION, and leave alone what they are not told of.
#include <TavrixSDK.h>
#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>

namespace {

bool deviates(const char* way) {
  const char* const wanted = std::getenv("VYHOST_DEVIATION");
  return wanted != nullptr && std::strcmp(wanted, way) == 0;
}

/// What VYHOST_DEVIATION says behind "WHAT: "; null if it is about something else.
const char* told(const char* what) {
  const char* const wanted = std::getenv("VYHOST_DEVIATION");
  const std::size_t size = std::strlen(what);
  return wanted != nullptr && std::strncmp(wanted, what, size) == 0 && std::strncmp(wanted + size, ": ", 2) == 0
             ? wanted + size + 2
             : nullptr;
}

void replaceText(const char*& text, const char* what) {
  const char* const other = told(what);
  static const std::string endless(1 << 16, 'x');
  if (other == nullptr) return;
  text = std::strcmp(other, "null") == 0         ? nullptr
         : std::strcmp(other, "unreadable") == 0 ? reinterpret_cast<const char*>(std::uintptr_t{8})
         : std::strcmp(other, "endless") == 0    ? endless.c_str()
         : std::strcmp(other, "long") == 0       ? endless.c_str() + 1
                                                 : other;
}

template <typename Number>
void replaceNumber(Number& number, const char* what) {
  if (const char* const other = told(what)) number = static_cast<Number>(std::strtod(other, nullptr));
}

/// A host that cannot be used at all.
void crashIfTold() {
  if (deviates("crash everywhere")) std::abort();
}

[[maybe_unused]] const bool isLoaded = [] {
  if (deviates("crash on loading")) std::abort();
  return true;
}();

bool isFirstThread() {
  return ::gettid() == ::getpid();
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

/// The name of an item that lives until the next call.
char* briefName = nullptr;
constexpr std::size_t kPage = 4096;
bool lastSwitch = false;

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
  crashIfTold();
  const bool isConcerned = isNamed(name, "NoiseRemovalFilter");
  if (isConcerned && deviates("filter missing")) return create("NoSuchFilter", error);
  if (isConcerned && deviates("filter behind the other door")) return create("DepthResize", error);
  if ((isConcerned || isNamed(name, "NoSuchFilter")) && deviates("null without an error")) return nullptr;
  if (*error != nullptr && deviates("older error left")) return nullptr;
  if (isNamed(name, "NoSuchFilter") && deviates("unknown filter made")) return create("FrameFlip", error);
  if (isNamed(name, "FrameMirror") && deviates("one object for all")) {
    static vy_filter_t* const only = create(name, error);
    return only;
  }
  if (*error != nullptr && isNamed(name, "NoSuchFilter") && deviates("older error deleted")) vy_delete_error(*error);
  return create(name, error);
}

vy_filter_t* vy_create_private_filter(const char* name, vy_error** error) {
  crashIfTold();
  if (isNamed(name, "NoiseRemovalFilter") && deviates("filter behind the other door"))
    return VY_SIMULATED(vy_create_filter)(name, error);
  return VY_SIMULATED(vy_create_private_filter)(name, error);
}

const char* vy_filter_get_name(const vy_filter_t* filter, vy_error** error) {
  const char* name = VY_SIMULATED(vy_filter_get_name)(filter, error);
  if (deviates("slow name")) usleep(1);
  if (isNamed(name, "OpenNIDisparityTransform") && deviates("other name")) return "DisparityTransform";
  if (isNamed(name, "NoiseRemovalFilter")) replaceText(name, "name");
  return name;
}

vy_filter_config_schema_list_t* vy_filter_get_config_schema_list(const vy_filter_t* filter, vy_error** error) {
  return deviates("no list") ? nullptr : VY_SIMULATED(vy_filter_get_config_schema_list)(filter, error);
}

uint32_t vy_filter_config_schema_list_get_count(const vy_filter_config_schema_list_t* list, vy_error** error) {
  const uint32_t count = VY_SIMULATED(vy_filter_config_schema_list_get_count)(list, error);
  return deviates("item too many") ? count + 1 : deviates("item missing") && count > 9 ? 9 : count;
}

VYFilterConfigSchemaItem vy_filter_config_schema_list_get_item(const vy_filter_config_schema_list_t* list,
                                                               uint32_t index, vy_error** error) {
  VYFilterConfigSchemaItem item = simulatedItem(list, index, error);
  // Out of a packed record, which nothing may refer into.
  const char *name = item.name, *description = item.desc;
  double min = item.min, max = item.max, step = item.step, def = item.def;
  int type = item.type;
  replaceText(name, "item name");
  replaceText(description, "description");
  replaceNumber(min, "min");
  replaceNumber(max, "max");
  replaceNumber(step, "step");
  replaceNumber(def, "default");
  replaceNumber(type, "type");
  if ((deviates("brief name") || deviates("vanishing name")) && name != nullptr) {
    briefName = static_cast<char*>(mmap(nullptr, kPage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    name = std::strcpy(briefName, name);
  }
  item = {name, static_cast<VYFilterConfigValueType>(type), min, max, step, def, description};
  if (deviates("nothing past the end") && *error != nullptr) {
    VY_SIMULATED(vy_delete_error)(*error);
    *error = nullptr;
  }
  return item;
}

void vy_filter_update_config(vy_filter_t* filter, uint8_t argc, const char** argv, vy_error** error) {
  if (argc == 4 && (deviates("arguments refused") || told("error text") != nullptr)) --argc;
  VY_SIMULATED(vy_filter_update_config)(filter, argc, argv, error);
  const bool isResize = argc == 7 && *error == nullptr;
  // What a reader does that takes the separator from the locale.
  if (isResize && deviates("locale counts"))
    VY_SIMULATED(vy_filter_set_config_value)(filter, "Scale", std::strtod(argv[2], nullptr), error);
}

double vy_filter_get_config_value(const vy_filter_t* filter, const char* item, vy_error** error) {
  double value = VY_SIMULATED(vy_filter_get_config_value)(filter, item, error);
  if (isNamed(item, "MaxSpeckleSize")) replaceNumber(value, "value");
  if (value == 0) replaceNumber(value, "smallest value");
  if (value == 10000) replaceNumber(value, "largest value");
  if (deviates("brief name")) briefName[0] = '?';
  if (deviates("vanishing name")) munmap(briefName, kPage);
  return value;
}

void vy_filter_set_config_value(vy_filter_t* filter, const char* item, double value, vy_error** error) {
  if (deviates("value not kept")) value = 0;
  if (value == 270 && deviates("value refused")) value = -1;
  VY_SIMULATED(vy_filter_set_config_value)(filter, item, value, error);
}

void vy_filter_enable(vy_filter_t* filter, bool enable, vy_error** error) {
  lastSwitch = enable;
  VY_SIMULATED(vy_filter_enable)(filter, (enable || deviates("always on")) && !deviates("always off"), error);
}

bool vy_filter_is_enabled(const vy_filter_t* filter, vy_error** error) {
  if (filter == nullptr && deviates("crash on null")) std::abort();
  if (!isFirstThread() && deviates("second thread crashes")) std::abort();
  if (deviates("slot cleared")) *error = nullptr;
  if (deviates("one switch for all")) return lastSwitch;
  const bool isWrong = deviates(isFirstThread() ? "first thread disturbed" : "second thread disturbed");
  return VY_SIMULATED(vy_filter_is_enabled)(filter, error) != isWrong;
}

void vy_filter_reset(vy_filter_t* filter, vy_error** error) {
  if (isNamed(VY_SIMULATED(vy_filter_get_name)(filter, error), "FrameFlip")) {
    if (deviates("call never returns"))
      for (;;) pause();
    if (deviates("host prints")) {
      std::fputs("printed", stderr);
      std::puts("printed");
      std::fflush(stdout);
    }
    if (deviates("host exits")) std::_Exit(3);
    if (deviates("exception")) throw std::range_error("far");
    if (deviates("foreign exception")) throw 7;
  }
  VY_SIMULATED(vy_filter_reset)(filter, error);
}

vy_error* vy_create_error(int status, const char* message, const char* function, const char* args, int exception_type) {
  crashIfTold();
  if (deviates("no error made")) return nullptr;
  const bool isMixed = deviates("fields mixed");
  vy_error* const error = VY_SIMULATED(vy_create_error)(status + (isMixed ? 1 : 0), message, isMixed ? args : function,
                                                        isMixed ? function : args, exception_type - (isMixed ? 4 : 0));
  if (deviates("error text not kept")) lentTexts()[error] = message;
  return error;
}

const char* vy_error_get_message(const vy_error* error) {
  const auto lent = lentTexts().find(error);
  const char* text = lent != lentTexts().end() ? lent->second : VY_SIMULATED(vy_error_get_message)(error);
  replaceText(text, "error text");
  if (deviates("crash on reading errors")) std::abort();
  return text;
}

void vy_delete_error(vy_error* error) {
  crashIfTold();
  VY_SIMULATED(vy_delete_error)(error);
}

}  // extern "C"

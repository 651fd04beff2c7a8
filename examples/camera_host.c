// A small host of libvy_frame_processor. It opens a depth camera, sends frames through the library, changes a setting,
// runs into an error and goes on, and gives everything back. Build and run it with CMake or with make:
//
//   cmake -S . -B build && cmake --build build && build/camera_host
//   make && ./camera_host
//
// The camera is a virtual one, from tavrix_sim.h. A host with real cameras has its own device and frames in those
// places (the functions named vysim_), and the rest as it stands here.
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <tavrix_sim.h>
#include <vy_frame_processor.h>

// ---- Errors ---------------------------------------------------------------------------------------------------------

// Every call has an error slot as its last argument, which must hold null before the call, so it is looked at after
// each. True when the call left it null; otherwise shows the error, deletes it and empties the slot for the next call.
static bool worked(const char* doing, vy_error** error) {
  if (*error == NULL) return true;
  fprintf(stderr, "cannot %s: %s (%s)\n", doing, vy_error_get_message(*error), vy_error_get_function(*error));
  vy_delete_error(*error);
  *error = NULL;
  return false;
}

// ---- Settings -------------------------------------------------------------------------------------------------------

enum { MAX_SETTINGS = 255 };

// The settings of a chain: a key and a value for each line of its schema, in the order of the lines.
typedef struct Settings {
  char* text;  // the schema, cut into the texts that the two lists point at
  const char* keys[MAX_SETTINGS];
  const char* values[MAX_SETTINGS];
  size_t count;
} Settings;

// A line reads "FrameRotate#0, integer, 0, 270, 90, 0, description": the key comes first, the value sixth.
static void read_line(Settings* settings, char* line) {
  char* column[6] = {line};
  for (size_t i = 1; i < 6; ++i) {
    char* const end = strstr(column[i - 1], ", ");
    if (end == NULL) return;
    *end = '\0';
    column[i] = end + 2;
  }
  char* const end = strstr(column[5], ", ");
  if (end != NULL) *end = '\0';
  settings->keys[settings->count] = column[0];
  settings->values[settings->count] = column[5];
  ++settings->count;
}

static bool read_settings(Settings* settings, vy_frame_processor_t* processor) {
  vy_error* error = NULL;
  const char* const schema = vy_frame_processor_get_config_schema(processor, &error);
  // A sensor that the library has no chain for gives a processor that ends up here.
  if (!worked("read the settings", &error)) return false;

  settings->count = 0;
  settings->text = malloc(strlen(schema) + 1);  // the schema itself belongs to the processor
  if (settings->text == NULL) return false;
  strcpy(settings->text, schema);
  for (char* line = settings->text; *line != '\0' && settings->count < MAX_SETTINGS;) {
    char* const end = strchr(line, '\n');
    if (end != NULL) *end = '\0';
    read_line(settings, line);
    if (end == NULL) break;
    line = end + 1;
  }
  return true;
}

// Values go to the library all at once, so that one of them is changed by sending the others along as they were.
static bool change_setting(Settings* settings, vy_frame_processor_t* processor, const char* key, const char* value) {
  for (size_t i = 0; i < settings->count; ++i) {
    if (strcmp(settings->keys[i], key) != 0) continue;
    const char* const former = settings->values[i];
    vy_error* error = NULL;
    settings->values[i] = value;
    vy_frame_processor_update_config(processor, (uint8_t)settings->count, settings->values, &error);
    if (worked("change a setting", &error)) return true;
    // The filter has refused the value and keeps its own. Lines before this one are set, lines after it are not.
    settings->values[i] = former;
    vy_frame_processor_update_config(processor, (uint8_t)settings->count, settings->values, &error);
    worked("go back to the former settings", &error);
    return false;
  }
  fprintf(stderr, "this chain has no setting %s\n", key);
  return false;
}

// ---- Frames ---------------------------------------------------------------------------------------------------------

static void show(const vy_frame_t* frame) {
  vy_error* error = NULL;
  const uint32_t width = vy_video_frame_get_width(frame, &error);
  if (!worked("ask for a frame's width", &error)) return;
  const uint32_t height = vy_video_frame_get_height(frame, &error);
  if (!worked("ask for a frame's height", &error)) return;
  const uint8_t* const pixels = vysim_frame_get_data(frame, &error);
  if (!worked("ask for a frame's pixels", &error)) return;
  const uint8_t* const middle = pixels + 2 * ((size_t)(height / 2) * width + width / 2);  // 16 bits, low byte first
  printf("%u x %u pixels, %d mm in the middle\n", (unsigned)width, (unsigned)height, middle[0] | middle[1] << 8);
}

static bool give_back(const vy_frame_t* frame) {
  vy_error* error = NULL;
  vy_delete_frame(frame, &error);
  return worked("give a frame back", &error);
}

// Takes frames from the camera, as the stream of a real one would bring them. True when all came through.
static bool stream(vysim_camera* camera, vy_frame_processor_t* processor, int count) {
  for (int i = 0; i < count; ++i) {
    vy_error* error = NULL;
    vy_frame_t* const raw = vysim_camera_next_frame(camera, VY_SENSOR_DEPTH, &error);
    if (!worked("get a frame", &error)) return false;

    vy_frame_t* const depth = vy_frame_processor_process_frame(processor, raw, &error);
    // There may be a frame and an error, or neither: both have to be looked at, each for itself.
    bool ok = worked("process a frame", &error);
    if (depth != NULL) {
      if (ok) show(depth);
      ok = give_back(depth) && ok;  // the result is ours: one reference
    }
    ok = give_back(raw) && ok;  // the library has only borrowed it
    if (!ok) return false;
  }
  return true;
}

static bool use_processor(vysim_camera* camera, vy_frame_processor_t* processor) {
  Settings settings = {0};
  bool ok = read_settings(&settings, processor);
  if (ok) {
    printf("%u settings\n", (unsigned)settings.count);
    ok = stream(camera, processor, 2);

    printf("turned by 90 degrees:\n");
    ok = change_setting(&settings, processor, "FrameRotate#0", "90") && stream(camera, processor, 2) && ok;

    printf("turned by 45 degrees, which the filter refuses:\n");
    ok = !change_setting(&settings, processor, "FrameRotate#0", "45") && stream(camera, processor, 1) && ok;
  }
  free(settings.text);
  return ok;
}

// ---- The camera -----------------------------------------------------------------------------------------------------

// Some families are recognised by product ids that the host knows. It hands them over once, before cameras open.
static bool hand_over_product_ids(void) {
  static const int list_types[] = {0, 3, 6};
  vy_error* error = NULL;
  for (size_t i = 0; i < sizeof list_types / sizeof *list_types; ++i) {
    const uint8_t* ids = NULL;
    const int size = vysim_device_list(list_types[i], &ids);
    vy_set_device_info_data(list_types[i], ids, size, &error);
    if (!worked("hand over the product ids", &error)) return false;
  }
  return true;
}

// One context for the camera, one processor for each of its streams; here, depth is the only one.
static bool use_camera(vysim_camera* camera) {
  vy_error* error = NULL;
  bool ok = false;
  vy_device_t* const device = vysim_camera_get_device(camera, &error);
  if (!worked("get the camera's device", &error)) return false;
  vy_frame_processor_context_t* const context = vy_create_frame_processor_context(device, &error);
  if (!worked("make a context", &error)) return false;
  vy_frame_processor_t* const processor = vy_create_frame_processor(context, VY_SENSOR_DEPTH, &error);
  if (worked("make a processor", &error)) {
    ok = use_processor(camera, processor);
    vy_destroy_frame_processor(processor, &error);  // before the context
    ok = worked("destroy the processor", &error) && ok;
  }
  vy_destroy_frame_processor_context(context, &error);
  return worked("destroy the context", &error) && ok;
}

int main(int argc, char** argv) {
  const char* const family = argc > 1 ? argv[1] : "Corvid";
  printf("library of revision %s, camera %s\n", vy_get_commit_hash(), family);
  if (!hand_over_product_ids()) return EXIT_FAILURE;

  vy_error* error = NULL;
  vysim_camera* const camera = vysim_open_camera(family, NULL, &error);
  if (!worked("open the camera", &error)) return EXIT_FAILURE;
  const bool ok = use_camera(camera);
  vysim_close_camera(camera, &error);
  return worked("close the camera", &error) && ok ? EXIT_SUCCESS : EXIT_FAILURE;
}

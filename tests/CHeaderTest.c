// The public header in a C99 program: creates, configures, processes, destroys. Exits 0 when all of it works.
#include <stdio.h>
#include <tavrix_sim.h>
#include <vy_frame_processor.h>

static vy_error* error = NULL;

static int failed(const char* step, int worked) {
  if (worked && error == NULL) return 0;
  fprintf(stderr, "%s failed: %s\n", step, vy_error_get_message(error));
  vy_delete_error(error);
  return 1;
}

int main(void) {
  const VYCameraIntrinsic intrinsic = {600, 600, 320, 200, 640, 400};
  const uint8_t list[] = {0x71, 0x3E, 0x51, 0x03};
  const char* values[16];
  size_t count = 0;

  vy_set_device_info_data(0, list, (int)sizeof list, &error);
  if (failed("vy_set_device_info_data", 1)) return 1;
  vysim_camera* camera = vysim_open_camera("Halden", NULL, &error);
  if (failed("vysim_open_camera", camera != NULL)) return 1;
  vy_frame_processor_context_t* context =
      vy_create_frame_processor_context(vysim_camera_get_device(camera, &error), &error);
  if (failed("vy_create_frame_processor_context", context != NULL)) return 1;
  vy_frame_processor_t* processor = vy_create_frame_processor(context, VY_SENSOR_COLOR, &error);
  if (failed("vy_create_frame_processor", processor != NULL)) return 1;

  const char* schema = vy_frame_processor_get_config_schema(processor, &error);
  if (failed("vy_frame_processor_get_config_schema", schema != NULL)) return 1;
  for (const char* c = schema; *c != '\0'; ++c) {
    if (*c == '\n') values[count++] = "0";
  }
  vy_frame_processor_update_config(processor, (uint8_t)count, values, &error);
  if (failed("vy_frame_processor_update_config", count == 3)) return 1;
  vy_frame_processor_set_hardware_d2c_params(processor, intrinsic, 0, 1.0F, 0, 0, 0, 0, true, false, &error);
  if (failed("vy_frame_processor_set_hardware_d2c_params", 1)) return 1;

  vy_frame_t* input = vysim_camera_next_frame(camera, VY_SENSOR_COLOR, &error);
  if (failed("vysim_camera_next_frame", input != NULL)) return 1;
  vy_frame_t* output = vy_frame_processor_process_frame(processor, input, &error);
  if (failed("vy_frame_processor_process_frame", output != NULL)) return 1;
  vy_delete_frame(output, &error);
  vy_delete_frame(input, &error);
  vy_destroy_frame_processor(processor, &error);
  vy_destroy_frame_processor_context(context, &error);
  vysim_close_camera(camera, &error);
  if (failed("giving everything back", vysim_live_count(VYSIM_FRAME) == 0 && vysim_live_count(VYSIM_FILTER) == 0)) {
    return 1;
  }
  return vy_get_commit_hash()[0] != '\0' ? 0 : 1;
}

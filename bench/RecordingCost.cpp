// Frames of a Corvid through the library, on a host whose filters do nothing. Counted for different numbers of frames,
// with the library and with its recording twin, it tells what the recording of a frame takes.
#include <vy_frame_processor.h>

#include <cstdio>
#include <cstdlib>

#include "TrivialHost.h"

int main(int argc, char** argv) {
  char* end = nullptr;
  const unsigned long frames = argc == 2 ? std::strtoul(argv[1], &end, 10) : 0;
  if (frames == 0 || *end != '\0') {
    std::fputs("usage: vyfp_recording_cost FRAMES\n", stderr);
    return 2;
  }
  makeHostTrivial();
  const vysim_family& family = *vysim_find_family("Corvid");
  const vysim::Device device(vysim_create_device(family.vid, family.pids[0]));
  const vysim::Owner<vy_destroy_frame_processor_context> context(
      vysim::call(vy_create_frame_processor_context, device.get()));
  const vysim::Owner<vy_destroy_frame_processor> processor(
      vysim::call(vy_create_frame_processor, context.get(), VY_SENSOR_DEPTH));
  const vysim::Frame frame = makeSmallFrame(depthStream(family));
  for (unsigned long i = 0; i < frames; ++i) {
    const vysim::Frame output(vysim::call(vy_frame_processor_process_frame, processor.get(), frame.get()));
  }
  return 0;
}

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
  vy_device_t* const device = vysim_create_device(family.vid, family.pids[0]);
  vy_frame_processor_context_t* const context = vy_create_frame_processor_context(device, MustSucceed());
  vy_frame_processor_t* const processor = vy_create_frame_processor(context, VY_SENSOR_DEPTH, MustSucceed());
  {
    const FrameOwner frame = makeSmallFrame(depthStream(family));
    for (unsigned long i = 0; i < frames; ++i) {
      vy_delete_frame(vy_frame_processor_process_frame(processor, frame.get(), MustSucceed()), MustSucceed());
    }
  }
  vy_destroy_frame_processor(processor, MustSucceed());
  vy_destroy_frame_processor_context(context, MustSucceed());
  vysim_delete_device(device, MustSucceed());
  return 0;
}

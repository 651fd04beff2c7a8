#pragma once

#include <TavrixSDK.h>
#include <tavrix_sim.h>

#include <cstddef>
#include <memory>

/// Ends the program, with the error's text, when a call failed that must not.
void demand(vy_error* error);

/// A slot for calls that must succeed: `f(frame, MustSucceed())`.
class MustSucceed {
 public:
  MustSucceed() = default;
  MustSucceed(const MustSucceed&) = delete;
  MustSucceed& operator=(const MustSucceed&) = delete;
  ~MustSucceed() { demand(error_); }
  operator vy_error**() { return &error_; }

 private:
  vy_error* error_ = nullptr;
};

/// Makes the simulated host's filters do nothing: under their names, with their items, they pass frames on. Also hands
/// the library the host's product-id lists, and has objects of all kinds made once, so that the host reuses memory.
void makeHostTrivial();

struct FrameDeleter {
  void operator()(vy_frame_t* frame) const { vy_delete_frame(frame, MustSucceed()); }
};
using FrameOwner = std::unique_ptr<vy_frame_t, FrameDeleter>;

/// The depth stream of a family; every family has one.
const vysim_stream& depthStream(const vysim_family& family);
/// A frame of a few pixels, such as that stream delivers.
FrameOwner makeSmallFrame(const vysim_stream& stream);

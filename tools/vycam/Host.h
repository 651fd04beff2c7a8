// The host's conventions in C++: error slots become exceptions, references are given back by themselves.
#pragma once

#include <TavrixSDK.h>
#include <tavrix_sim.h>

#include <memory>
#include <string_view>
#include <type_traits>

namespace vycam {

/// The error slot of one call; deletes the error it was given.
class ErrorSlot {
 public:
  ErrorSlot() = default;
  ErrorSlot(const ErrorSlot&) = delete;
  ErrorSlot& operator=(const ErrorSlot&) = delete;
  ~ErrorSlot() { vy_delete_error(error_); }

  vy_error** address() { return &error_; }
  bool isSet() const { return error_ != nullptr; }
  /// Throws a Failure with the error's text if there is an error. `doing` says what was tried, as in "open the camera".
  void check(std::string_view doing) const;

 private:
  vy_error* error_ = nullptr;
};

/// Calls a function of the host or of the library with an error slot at the end; an error becomes a Failure.
template <class Function, class... Arguments>
auto call(std::string_view doing, Function function, Arguments... arguments) {
  ErrorSlot slot;
  if constexpr (std::is_void_v<decltype(function(arguments..., slot.address()))>) {
    function(arguments..., slot.address());
    slot.check(doing);
  } else {
    auto result = function(arguments..., slot.address());
    slot.check(doing);
    return result;
  }
}

/// Gives an object back; an error on the way is nobody's concern any more.
template <auto Delete>
struct HostDelete {
  template <class Object>
  void operator()(Object* object) const {
    ErrorSlot slot;
    Delete(object, slot.address());
  }
};

using Frame = std::unique_ptr<vy_frame_t, HostDelete<vy_delete_frame>>;
using Filter = std::unique_ptr<vy_filter_t, HostDelete<vy_delete_filter>>;
using StreamProfile = std::unique_ptr<vy_stream_profile_t, HostDelete<vy_delete_stream_profile>>;
using Device = std::unique_ptr<vy_device_t, HostDelete<vysim_delete_device>>;
using Camera = std::unique_ptr<vysim_camera, HostDelete<vysim_close_camera>>;

}  // namespace vycam

// Calls and owners as in tavrix_sim.hpp; an error of a call becomes a Failure.
#pragma once

#include <fmt/format.h>
#include <tavrix_sim.hpp>

#include <string_view>

#include "Failure.h"

namespace vycam {

using vysim::Camera;
using vysim::Device;
using vysim::ErrorSlot;
using vysim::Filter;
using vysim::Frame;
using vysim::StreamProfile;

/// Calls a function of the host or of the library. `doing` says what was tried, as in "open the camera".
template <class Function, class... Arguments>
auto call(std::string_view doing, Function function, Arguments... arguments) {
  try {
    return vysim::call(function, arguments...);
  } catch (const vysim::CallFailed& failed) {
    throw Failure(
        fmt::format("cannot {}: {} (reported by {})", doing, failed.error().message, failed.error().function));
  }
}

}  // namespace vycam

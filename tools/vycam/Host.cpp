#include "Host.h"

#include <fmt/format.h>

#include "Failure.h"

namespace vycam {

void ErrorSlot::check(std::string_view doing) const {
  if (error_ == nullptr) {
    return;
  }
  throw Failure(fmt::format("cannot {}: {} (reported by {})", doing, vy_error_get_message(error_),
                            vy_error_get_function(error_)));
}

}  // namespace vycam

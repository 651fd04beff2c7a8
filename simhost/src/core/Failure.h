#pragma once

#include <stdexcept>
#include <string>

namespace tavrix {

/// Numbers of vy_error_get_exception_type(). The frame processor library uses 4 and 9 too.
enum class ExceptionType : int {
  internal = 1,         ///< a fault of the simulated host itself
  outOfMemory = 2,      ///< no memory left
  deadObject = 3,       ///< a handle whose object was deleted before
  invalidValue = 4,     ///< a null pointer, or a value that makes no sense
  wrongObject = 5,      ///< a handle of another kind
  notFound = 6,         ///< no filter, item, sensor or family of that name or number
  unsuitableFrame = 7,  ///< a frame of a format, pixel type or size that the filter cannot work on
  injected = 8,         ///< ordered by vysim_fail_call()
  unsupported = 9       ///< an operation that the object does not offer
};

/// A call that cannot be carried out. The exported functions turn it into an error object.
class Failure : public std::runtime_error {
 public:
  Failure(ExceptionType type, const std::string& message) : std::runtime_error(message), type_(type) {}
  ExceptionType type() const { return type_; }

 private:
  ExceptionType type_;
};

/// A call that was handed what nobody may hand over: a null pointer, a handle of no living object of its kind, an index
/// past the end. It is counted, as the mistake is the caller's whatever the object's state.
class Refusal : public Failure {
 public:
  using Failure::Failure;
};

}  // namespace tavrix

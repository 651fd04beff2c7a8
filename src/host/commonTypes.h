#pragma once

#include <TavrixSDK.h>
#include <vy_frame_processor.h>

#include <string>

/// Numbers of the host's error objects that the library's own errors carry.
constexpr int kErrorStatus = 1;
constexpr int kExceptionInvalidArgument = 4;
constexpr int kExceptionUnsupported = 9;

/// Makes a host error object without argument text and stores it in `*error`. The slot must not be null; an error in it
/// is overwritten, not deleted.
void create_error(vy_error** error, int status, const char* message, const char* function, int exception_type);

/// create_error() with the numbers that nearly all of the library's errors carry.
void reportInvalidArgument(vy_error** error, const char* message, const char* function);

/// Returns whether an argument is valid; reports `message` under the name of `function` if it is not.
inline bool checkArgument(bool isValid, const char* message, const char* function, vy_error** error) {
  if (!isValid) reportInvalidArgument(error, message, function);
  return isValid;
}

// Text conversions, exported with C++ linkage. They depend on the C library's numeric locale and throw nothing but
// std::bad_alloc. Those that return bool say whether the text was accepted; `out` is stored on success only, except
// where noted.

/// A copy with "A" to "Z" in lower case; every other byte as it is.
VY_FRAME_PROCESSOR_API std::string toLower(const std::string& text);

/// A copy without the spaces (character 32 only) at both ends.
VY_FRAME_PROCESSOR_API std::string clearHeadAndTailSpace(const std::string& text);

/// Accepts "true" or "false" in any case, after any white space and before anything; or a lone "0" or "1" among spaces.
VY_FRAME_PROCESSOR_API bool cvt2Boolean(const std::string& text, bool* out);

/// Decimal integer, saturated to the range of int. A single character must be a digit; a longer text is always accepted
/// and converts as far as it is a number (0 when it is none).
VY_FRAME_PROCESSOR_API bool cvt2Int(const std::string& text, int* out);

/// A number with nothing but spaces after it. For any text that is not empty, `out` receives what could be converted.
VY_FRAME_PROCESSOR_API bool cvt2Float(const std::string& text, float* out);
VY_FRAME_PROCESSOR_API bool cvt2Double(const std::string& text, double* out);

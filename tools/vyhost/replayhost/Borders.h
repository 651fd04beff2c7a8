// The functions of both borders as pointers: what vyhost and its two small libraries hand to each other.
#pragma once

#include "recording/Functions.h"

#define VY_UNPACK(...) __VA_ARGS__
#define VY_POINTER(result, name, parameters, arguments, names, effect) \
  result (*name)(VY_UNPACK parameters, vy_error * *error);
#define VY_BARE_POINTER(result, name, parameters, arguments, names, effect) result(*name) parameters;

namespace vyhost {

/// Where the functions of the replaying host lead.
struct HostFunctions {
  VY_HOST_FUNCTIONS(VY_POINTER)
  VY_BARE_HOST_FUNCTIONS(VY_BARE_POINTER)
};

/// The functions of the library under test.
struct LibraryFunctions {
  VY_LIBRARY_FUNCTIONS(VY_POINTER)
  VY_BARE_LIBRARY_FUNCTIONS(VY_BARE_POINTER)
  VY_PRIVATE_FILTER_FUNCTIONS(VY_POINTER)
};

}  // namespace vyhost

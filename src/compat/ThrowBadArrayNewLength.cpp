// Containers call this function of the C++ library when a size overflows. Compilers before GCC 11 had no such call, and
// the C++ library of their time lacks the function: so the library carries one of its own.
#include <new>

namespace std {  // NOLINT(cert-dcl58-cpp): the function's own place

[[noreturn]] void __throw_bad_array_new_length() {  // NOLINT(bugprone-reserved-identifier): and name
  throw bad_array_new_length();
}

}  // namespace std

// Containers call this function of the C++ library when a size overflows. Compilers before GCC 11 had no such call, and
// the C++ library of their time lacks the function: so the library carries one of its own.
#include <new>

namespace std {

[[noreturn]] void __throw_bad_array_new_length() {
  throw bad_array_new_length();
}

}  // namespace std

// Stands in for the C library's header of this name. The counts of std::shared_ptr ask the variable that it declares,
// which the C library has since 2.32 only, whether they can do without atomic operations. Answered here, once and for
// all: the library runs with older C libraries, and cameras deliver frames on threads anyway.
#pragma once

constexpr char __libc_single_threaded = 0;

// Finds the functions of the library under test: loaded behind it, this library refers to them by name, so that the
// loader resolves also those with C++ linkage.
#include "tools/vyhost/replayhost/Borders.h"

extern "C" vyhost::LibraryFunctions vyhost_library_functions() {
#define VY_TAKE(result, name, parameters, arguments, names, effect) functions.name = &name;
  vyhost::LibraryFunctions functions = {};
  VY_LIBRARY_FUNCTIONS(VY_TAKE)
  VY_BARE_LIBRARY_FUNCTIONS(VY_TAKE)
  VY_PRIVATE_FILTER_FUNCTIONS(VY_TAKE)
  return functions;
}

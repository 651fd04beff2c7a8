// A libTavrixSDK.so that does nothing itself: each function leads to where vyhost wants it.
#include "tools/vyhost/replayhost/Borders.h"

namespace {

vyhost::HostFunctions functions;

}  // namespace

extern "C" vyhost::HostFunctions* vyhost_host_functions() {
  return &functions;
}

#define VY_FORWARD(result, name, parameters, arguments, names, effect) \
  extern "C" result name(VY_UNPACK parameters, vy_error** error) {     \
    return functions.name(VY_UNPACK arguments, error);                 \
  }
VY_HOST_FUNCTIONS(VY_FORWARD)

#define VY_FORWARD_BARE(result, name, parameters, arguments, names, effect) \
  extern "C" result name parameters {                                       \
    return functions.name arguments;                                        \
  }
VY_BARE_HOST_FUNCTIONS(VY_FORWARD_BARE)

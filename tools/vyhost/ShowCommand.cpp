#include "Commands.h"

namespace vyhost {

void addShowCommand(CLI::App& /*program*/, int& /*exitCode*/) {}

}  // namespace vyhost

#include "Commands.h"

namespace vyhost {

void addCheckCommand(CLI::App& /*program*/, int& /*exitCode*/) {}

}  // namespace vyhost

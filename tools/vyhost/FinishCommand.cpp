#include "Commands.h"

namespace vyhost {

void addFinishCommand(CLI::App& /*program*/, int& /*exitCode*/) {}

}  // namespace vyhost

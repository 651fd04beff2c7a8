#include "Commands.h"

namespace vyhost {

void addReplayCommand(CLI::App& /*program*/, int& /*exitCode*/) {}

}  // namespace vyhost

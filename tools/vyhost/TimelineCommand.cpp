#include "Commands.h"

namespace vyhost {

void addTimelineCommand(CLI::App& /*program*/, int& /*exitCode*/) {}

}  // namespace vyhost

#include "Commands.h"

namespace vyhost {

void addRecordCommand(CLI::App& /*program*/, int& /*exitCode*/) {}

}  // namespace vyhost

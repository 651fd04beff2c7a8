#pragma once

#include <CLI/CLI.hpp>

namespace vyhost {

/// Each adds its command to the program. What a command returns as the program's exit code goes into `exitCode`.
void addRecordCommand(CLI::App& program, int& exitCode);
void addShowCommand(CLI::App& program, int& exitCode);
void addTimelineCommand(CLI::App& program, int& exitCode);
void addFinishCommand(CLI::App& program, int& exitCode);
void addReplayCommand(CLI::App& program, int& exitCode);
void addCheckCommand(CLI::App& program, int& exitCode);

}  // namespace vyhost

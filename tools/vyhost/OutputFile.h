#pragma once

#include <string>
#include <string_view>

namespace vyhost {

/// Writes a file under another name beside it and then renames it: whoever looks finds the old content or all of the
/// new. Throws Failure if that cannot be done, and leaves nothing behind then.
void writeFile(const std::string& path, std::string_view content);

/// The exit code of the program, once all that it has printed is out: the given one, or kCannot, which is told, where
/// the standard output takes nothing.
int endOutput(int exitCode);

}  // namespace vyhost

// Texts for people: folded to their terminal, and out before the program says that it is done.
#pragma once

#include <cstddef>
#include <string>

namespace vycam {

/// The columns of the terminal behind a file descriptor; where there is none, as COLUMNS says, or 80.
size_t terminalWidth(int descriptor);

/// So many columns a text needs beside something else; with fewer it stands below.
constexpr size_t kLeastColumns = 24;

/// A line and its end, folded at spaces to `width` columns, what is continued behind `indent` spaces. A word that is
/// longer than a line stays whole.
std::string folded(std::string line, size_t width, size_t indent);

/// Prints that for the terminal behind the standard output.
void printFolded(const std::string& line, size_t indent);

/// Sends out what was printed; a standard output that takes nothing is a Failure.
void flushOutput();

}  // namespace vycam

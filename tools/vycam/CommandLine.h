// The words around the command line: help that fits the terminal, and what is wrong with what was typed.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace vycam {

/// The help of the command that was typed, folded.
std::string helpText(const CLI::App& app, size_t width);

/// What is wrong, in one line. A word that nobody knows comes first: with it, other words may seem to be missing.
std::string complaint(const CLI::App& app, const CLI::ParseError& error);

}  // namespace vycam

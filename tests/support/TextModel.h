#pragma once

#include <string>

// Counterparts of the library's text functions, by way of streams.

std::string lowered(std::string text);
std::string trimmed(std::string text);
/// Stores a value where cvt2Boolean() stores one.
bool booleanOf(const std::string& text, bool* out);

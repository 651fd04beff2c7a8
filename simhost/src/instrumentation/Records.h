#pragma once

#include <string>

/// The texts of the calls made while recording. Everything here is locked.
namespace tavrix::records {

void add(std::string text);
void clear();
size_t count();
const char* at(size_t index);

}  // namespace tavrix::records

#pragma once

#include <string>

namespace tavrix {

/** The texts of the calls made while recording. Everything here is locked. */
namespace records {

void add(std::string text);
void clear();
size_t count();
const char* at(size_t index);

}  // namespace records
}  // namespace tavrix

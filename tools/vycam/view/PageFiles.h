// The files of the viewer's page, which lie in the program.
#pragma once

#include <string_view>

namespace vycam {

struct PageFile {
  std::string_view name;
  std::string_view content;
};

/// The file of that name, or null.
const PageFile* findPageFile(std::string_view name);

/// What a file of that name holds, by its ending: "text/css; charset=utf-8".
std::string_view contentType(std::string_view name);

}  // namespace vycam

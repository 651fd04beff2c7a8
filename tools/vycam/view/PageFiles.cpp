#include "view/PageFiles.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace vycam {

// Made by EmbedPage.cmake.
const std::vector<PageFile>& pageFiles();

const PageFile* findPageFile(std::string_view name) {
  const std::vector<PageFile>& files = pageFiles();
  const auto found = std::find_if(files.begin(), files.end(), [&](const PageFile& file) { return file.name == name; });
  return found == files.end() ? nullptr : &*found;
}

std::string_view contentType(std::string_view name) {
  constexpr std::pair<std::string_view, std::string_view> kTypes[] = {{".html", "text/html; charset=utf-8"},
                                                                      {".css", "text/css; charset=utf-8"},
                                                                      {".js", "text/javascript; charset=utf-8"},
                                                                      {".png", "image/png"}};
  for (const auto& [ending, type] : kTypes) {
    if (name.size() > ending.size() && name.substr(name.size() - ending.size()) == ending) {
      return type;
    }
  }
  return "application/octet-stream";
}

}  // namespace vycam

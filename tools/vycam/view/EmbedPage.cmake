# Writes a C++ source that holds files:
#   cmake -DOUTPUT=PageData.cpp -DFILES="a.html;b.css" -P EmbedPage.cmake
set(arrays "")
set(rows "")
set(index 0)
foreach(file IN LISTS FILES)
  file(READ ${file} bytes HEX)
  string(REGEX REPLACE "(................................................................)" "\\1\n" bytes "${bytes}")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," bytes "${bytes}")
  get_filename_component(name ${file} NAME)
  string(APPEND arrays "constexpr char kFile${index}[] = {\n${bytes}'\\0'};\n")
  string(APPEND rows "      {\"${name}\", {kFile${index}, sizeof kFile${index} - 1}},\n")
  math(EXPR index "${index} + 1")
endforeach()
file(WRITE ${OUTPUT} "#include <vector>

#include \"view/PageFiles.h\"

namespace vycam {
namespace {

${arrays}
}  // namespace

const std::vector<PageFile>& pageFiles();

const std::vector<PageFile>& pageFiles() {
  static const std::vector<PageFile> files = {
${rows}  };
  return files;
}

}  // namespace vycam
")

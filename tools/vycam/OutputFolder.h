// A folder that receives all files of a command or none.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vycam {

/// Files are written into a hidden folder inside the output folder and moved into place at the end. Without commit(),
/// everything that was made disappears again, the output folder itself included if it was not there before.
class OutputFolder {
 public:
  /// Makes the folder if it is missing. One that cannot be written is a Failure.
  explicit OutputFolder(const std::string& path);
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;
  ~OutputFolder();

  /// Writes the file `name`, which may lie in a subfolder.
  void write(const std::string& name, const std::string& bytes);
  /// Moves all files into place; those of the same names that lie there are replaced.
  void commit();

  const std::filesystem::path& path() const { return path_; }
  const std::vector<std::string>& names() const { return names_; }

 private:
  std::filesystem::path path_;
  std::filesystem::path staging_;
  std::filesystem::path topmostMade_;  // empty: the folder was there before
  std::vector<std::string> names_;
};

}  // namespace vycam

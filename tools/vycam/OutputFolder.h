// A folder that receives all files of a command or none.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vycam {

/// Writes files into a hidden folder inside the output folder; commit() moves them into place. Without commit(), the
/// destructor removes everything that was made, including the output folder itself if it was missing before.
class OutputFolder {
 public:
  /// Makes the folder if it is missing. A folder that cannot be written to is a Failure.
  explicit OutputFolder(const std::string& path);
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;
  ~OutputFolder();

  /// Writes the file `name`, which may lie in a subfolder.
  void write(const std::string& name, const std::string& bytes);
  /// Moves all files into place. Existing files of the same names are replaced.
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

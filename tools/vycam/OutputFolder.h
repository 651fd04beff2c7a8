// A folder that receives all files of a command or none.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace vycam {

/// Writes files into a hidden folder inside the output folder; prepare(), then commit() moves them into place. Without
/// commit(), the destructor removes everything that was made, folders included.
class OutputFolder {
 public:
  /// Makes the folder if it is missing. A folder that cannot be written to is a Failure.
  explicit OutputFolder(const std::string& path);
  OutputFolder(const OutputFolder&) = delete;
  OutputFolder& operator=(const OutputFolder&) = delete;
  ~OutputFolder();

  /// Writes the file `name`, which may lie in a subfolder.
  void write(const std::string& name, const std::string& bytes);
  /// Makes the subfolders that the files go to. A file that something else is in the way of is a Failure.
  void prepare();
  /// Moves all files into place, which replaces files of the same names, or none of them. What was printed before goes
  /// out first: a standard output that takes nothing is a Failure, too.
  void commit();

  const std::filesystem::path& path() const { return path_; }
  const std::vector<std::string>& names() const { return names_; }

 private:
  std::filesystem::path path_;
  std::filesystem::path staging_;
  std::vector<std::filesystem::path> made_;  // the topmost of each branch of folders that were missing
  std::vector<std::string> names_;
};

}  // namespace vycam

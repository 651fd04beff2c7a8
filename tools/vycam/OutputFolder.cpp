#include "OutputFolder.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>

#include "Failure.h"

namespace vycam {
namespace {

namespace fs = std::filesystem;

/// The topmost folder of `path` that is missing; empty if none is.
fs::path firstMissing(const fs::path& path) {
  fs::path walked;
  for (const fs::path& part : fs::absolute(path).lexically_normal()) {
    walked /= part;
    std::error_code ignored;
    if (!part.empty() && !fs::exists(walked, ignored)) {
      return walked;
    }
  }
  return {};
}

[[noreturn]] void refuse(const fs::path& path, const std::string& reason) {
  throw Failure(
      fmt::format("cannot write into {}: {}; give a folder that can be written with --out", path.string(), reason));
}

}  // namespace

OutputFolder::OutputFolder(const std::string& path) : path_(path) {
  std::error_code error;
  if (path.empty()) {
    throw Failure("--out is empty; give a folder to write into");
  }
  if (fs::exists(path_, error) && !fs::is_directory(path_, error)) {
    refuse(path_, "it is not a folder");
  }
  topmostMade_ = firstMissing(path_);
  fs::create_directories(path_, error);
  std::string pattern = (path_ / ".vycam-XXXXXX").string();
  if (error || mkdtemp(pattern.data()) == nullptr) {
    const std::string reason = error ? error.message() : std::generic_category().message(errno);
    if (!topmostMade_.empty()) {
      fs::remove_all(topmostMade_, error);
    }
    refuse(path_, reason);
  }
  staging_ = pattern;
}

OutputFolder::~OutputFolder() {
  std::error_code ignored;
  fs::remove_all(staging_, ignored);
  if (!topmostMade_.empty()) {
    fs::remove_all(topmostMade_, ignored);
  }
}

void OutputFolder::write(const std::string& name, const std::string& bytes) {
  const fs::path file = staging_ / name;
  std::error_code error;
  fs::create_directories(file.parent_path(), error);
  if (error) {
    refuse(path_, error.message());
  }
  std::ofstream stream(file, std::ios::binary);
  stream << bytes;
  stream.close();
  if (!stream) {
    refuse(path_, std::generic_category().message(errno));
  }
  names_.push_back(name);
}

void OutputFolder::commit() {
  // Folders are made and checked before the first file is moved.
  for (const std::string& name : names_) {
    const fs::path target = path_ / name;
    std::error_code error;
    fs::create_directories(target.parent_path(), error);
    if (error || fs::is_directory(target, error)) {
      refuse(target, "something else of that name is in the way");
    }
  }
  for (const std::string& name : names_) {
    std::error_code error;
    fs::rename(staging_ / name, path_ / name, error);
    if (error) {
      refuse(path_ / name, error.message());
    }
  }
  topmostMade_.clear();
}

}  // namespace vycam

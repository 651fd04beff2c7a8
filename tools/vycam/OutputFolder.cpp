#include "OutputFolder.h"

#include <fmt/format.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <system_error>

#include "Failure.h"
#include "Terminal.h"

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

void removeAll(const std::vector<fs::path>& paths) {
  std::error_code ignored;
  for (const fs::path& path : paths) {
    fs::remove_all(path, ignored);
  }
}

/// Makes a folder. The topmost one that was missing is added to `made`.
std::error_code makeFolders(const fs::path& path, std::vector<fs::path>& made) {
  const fs::path missing = firstMissing(path);
  if (!missing.empty()) {
    made.push_back(missing);
  }
  std::error_code error;
  fs::create_directories(path, error);
  return error;
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
  error = makeFolders(path_, made_);
  std::string pattern = (path_ / ".vycam-XXXXXX").string();
  if (error || mkdtemp(pattern.data()) == nullptr) {
    const std::string reason = error ? error.message() : std::generic_category().message(errno);
    removeAll(made_);
    refuse(path_, reason);
  }
  staging_ = pattern;
}

OutputFolder::~OutputFolder() {
  std::error_code ignored;
  fs::remove_all(staging_, ignored);
  removeAll(made_);
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

void OutputFolder::prepare() {
  for (const std::string& name : names_) {
    const fs::path target = path_ / name;
    std::error_code error = makeFolders(target.parent_path(), made_);
    if (error || fs::is_directory(target, error)) {
      refuse(target, "something else of that name is in the way");
    }
  }
}

void OutputFolder::commit() {
  flushOutput();
  // What a file replaces is kept until all are in place. Where links are not to be had, it is lost.
  const auto kept = [&](const std::string& name) { return staging_ / (name + ".replaced"); };
  std::error_code error;
  size_t placed = 0;
  for (; placed < names_.size() && !error; ++placed) {
    const std::string& name = names_[placed];
    std::error_code ignored;
    fs::create_hard_link(path_ / name, kept(name), ignored);
    fs::rename(staging_ / name, path_ / name, error);
  }
  if (error) {
    const fs::path failed = path_ / names_[--placed];
    while (placed-- > 0) {
      std::error_code ignored;
      fs::remove(path_ / names_[placed], ignored);
      fs::rename(kept(names_[placed]), path_ / names_[placed], ignored);
    }
    refuse(failed, error.message());
  }
  made_.clear();
}

}  // namespace vycam

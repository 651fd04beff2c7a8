#include "support/CommandTest.h"

#include <stdlib.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

std::string contentsOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void CommandTest::SetUp() {
  std::string pattern = (fs::temp_directory_path() / "command-test-XXXXXX").string();
  ASSERT_NE(mkdtemp(pattern.data()), nullptr);
  folder_ = fs::canonical(pattern);
}

Outcome CommandTest::shell(const std::string& line) const {
  // Beside the folder, so that tests see in it what the command makes and no more.
  const fs::path errors = folder_.string() + ".stderr";
  const std::string whole = "cd '" + folder_.string() + "' && { " + line + "; } 2>'" + errors.string() + "' </dev/null";
  Outcome outcome;
  FILE* const pipe = popen(whole.c_str(), "r");
  char buffer[4096];
  for (size_t size = 0; (size = fread(buffer, 1, sizeof buffer, pipe)) > 0;) outcome.out.append(buffer, size);
  const int status = pclose(pipe);
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.err = contentsOf(errors);
  fs::remove(errors);
  return outcome;
}

void CommandTest::write(const std::string& name, std::string_view content) const {
  std::ofstream(folder_ / name, std::ios::binary) << content;
}

std::set<std::string> CommandTest::files() const {
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(folder_)) {
    names.insert(fs::relative(entry.path(), folder_).string());
  }
  return names;
}

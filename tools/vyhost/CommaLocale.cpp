#include "CommaLocale.h"

#include <fcntl.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <clocale>
#include <filesystem>
#include <system_error>

namespace vyhost {
namespace {

constexpr const char* kName = "de_DE.UTF-8";

void compile(const std::string& folder) {
  std::string place = folder + "/" + kName;
  std::string words[] = {"localedef", "-i", "de_DE", "-f", "UTF-8", place};
  char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(),
                       words[4].data(), words[5].data(), nullptr};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO})
    posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  if (posix_spawnp(&child, arguments[0], &actions, nullptr, arguments, environ) == 0) waitpid(child, nullptr, 0);
  posix_spawn_file_actions_destroy(&actions);
}

}  // namespace

CommaLocale::CommaLocale() {
  const bool isInstalled = set();
  std::setlocale(LC_NUMERIC, "C");
  if (isInstalled) return;
  std::error_code unknown;
  std::string pattern = (std::filesystem::temp_directory_path(unknown) / "vyhost-locale-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) return;
  folder_ = pattern;
  compile(folder_);
  setenv("LOCPATH", folder_.c_str(), 1);
}

CommaLocale::~CommaLocale() {
  if (folder_.empty()) return;
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

bool CommaLocale::set() {
  return std::setlocale(LC_NUMERIC, kName) != nullptr;
}

}  // namespace vyhost

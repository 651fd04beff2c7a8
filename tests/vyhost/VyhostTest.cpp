#include "vyhost/VyhostTest.h"

#include <fmt/format.h>
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

std::string textOf(const vyhost::Recording& recording) {
  std::string text = recording.note + "\n";
  for (const auto& [key, value] : recording.about) text += key + " " + value + "\n";
  for (const vyhost::Call& call : recording.calls) {
    text += fmt::format("{} {} thread {} {}-{} {} -> {} e {} {} x '{}' in {}:", call.number, call.function->name,
                        call.thread, call.beginTime, call.endTime, call.arguments.dump(), call.result.dump(),
                        call.errorBefore.value_or(99), call.errorAfter.value_or(99), call.exception,
                        call.parent.value_or(99));
    for (const std::size_t child : call.children) text += fmt::format(" {}", child);
    if (call.newError) text += " " + call.newError->message + " in " + call.newError->function;
    text += "\n";
  }
  for (const vyhost::Event& event : recording.events)
    text += fmt::format("{}{} ", event.isReturn ? "-" : "+", event.call);
  return text;
}

void VyhostTest::SetUp() {
  std::string pattern = (fs::temp_directory_path() / "vyhost-test-XXXXXX").string();
  ASSERT_NE(mkdtemp(pattern.data()), nullptr);
  folder_ = fs::canonical(pattern);
}

Outcome VyhostTest::vyhost(const std::string& arguments) const {
  // Beside the folder, so that tests see in it what the command makes and no more.
  const fs::path errors = folder_.string() + ".stderr";
  const std::string line =
      fmt::format("cd '{}' && {} {} 2>'{}' </dev/null", folder_.string(), VYHOST_COMMAND, arguments, errors.string());
  Outcome outcome;
  FILE* const pipe = popen(line.c_str(), "r");
  char buffer[4096];
  for (size_t size = 0; (size = fread(buffer, 1, sizeof buffer, pipe)) > 0;) outcome.out.append(buffer, size);
  const int status = pclose(pipe);
  outcome.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  outcome.err = contentsOf(errors);
  fs::remove(errors);
  return outcome;
}

void VyhostTest::write(const std::string& name, std::string_view content) const {
  std::ofstream(folder_ / name, std::ios::binary) << content;
}

std::string VyhostTest::makeRecording(const std::string& name) const {
  const Outcome outcome = vyhost("record --out " + name + " -- '" VYHOST_SMALL_PROGRAM "'");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  return contentsOf(folder_ / name);
}

vyhost::Recording VyhostTest::read(std::string_view content) const {
  // Some file systems wait for the disk when a file is written anew.
  fs::remove(folder_ / "read.mcap");
  write("read.mcap", content);
  return vyhost::Recording::read(path("read.mcap"));
}

#include "vyhost/VyhostTest.h"

#include <fmt/format.h>

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

std::string VyhostTest::makeRecording(const std::string& name) const {
  const Outcome outcome = vyhost("record --out " + name + " -- '" VYHOST_SMALL_PROGRAM "'");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  return contentsOf(folder_ / name);
}

vyhost::Recording VyhostTest::read(std::string_view content) const {
  // Some file systems wait for the disk when a file is written anew.
  std::filesystem::remove(folder_ / "read.mcap");
  write("read.mcap", content);
  return vyhost::Recording::read(path("read.mcap"));
}

#include "HostUnderTest.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <array>

namespace vyhost {
namespace {

void* load(const std::string& path) {
  void* const library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) throw Broken(dlerror());
  return library;
}

/// Whether a byte can be read: the system tells without a signal.
bool isReadable(const char* byte) {
  static const std::array<int, 2> ends = [] {
    std::array<int, 2> made{};
    if (pipe2(made.data(), O_CLOEXEC) != 0) throw NotTried("no pipe left");
    return made;
  }();
  if (write(ends[1], byte, 1) != 1) return false;
  char copy = 0;
  return read(ends[0], &copy, 1) == 1;
}

}  // namespace

HostUnderTest::HostUnderTest(Trial& trialToTell, const std::string& path)
    : library_(load(path)), path_(path), trial(trialToTell) {}

void* HostUnderTest::find(const char* name) const {
  return dlsym(library_, name);
}

bool HostUnderTest::hasItself(const char* name) const {
  void* const address = find(name);
  Dl_info place{};
  return address != nullptr && dladdr(address, &place) != 0 && place.dli_fname == path_;
}

SeenError HostUnderTest::take(vy_error* error) const {
  if (error == nullptr) return {};
  SeenError seen{true, "an error without a text"};
  if (vy_error_get_message.isThere()) {
    const std::optional<std::string> message = readText(vy_error_get_message(error), "the message of an error");
    if (message.has_value() && !message->empty()) seen.text = *message;
  }
  if (vy_delete_error.isThere()) vy_delete_error(error);
  return seen;
}

std::optional<std::string> readText(const char* text, const std::string& what) {
  constexpr std::size_t kLongest = std::size_t{1} << 16;
  if (text == nullptr) return {};
  std::string copy;
  // An address of a text that ends within a page says no more about the next page.
  for (; copy.size() < kLongest; copy += *text, ++text) {
    if (!isReadable(text)) throw Broken(fmt::format("{} lies at an address that cannot be read", what));
    if (*text == '\0') return copy;
  }
  throw Broken(fmt::format("{} has no end within {} bytes", what, kLongest));
}

}  // namespace vyhost

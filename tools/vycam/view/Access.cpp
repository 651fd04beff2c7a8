#include "view/Access.h"

#include <fmt/format.h>
#include <sys/random.h>

#include <array>
#include <cstdint>

#include "Failure.h"

namespace vycam {
namespace {

constexpr std::string_view kScheme = "http://";
constexpr int kDefaultPort = 80;  // browsers leave it out

}  // namespace

std::string makeToken() {
  std::array<uint8_t, 16> bytes{};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size())) {
    throw Failure("the system gives no random numbers, so the viewer's address would not be secret");
  }
  std::string token;
  for (const uint8_t byte : bytes) {
    token += fmt::format("{:02x}", byte);
  }
  return token;
}

bool isSameSecret(std::string_view given, std::string_view secret) {
  if (given.size() != secret.size()) {
    return false;
  }
  int difference = 0;
  for (size_t i = 0; i < secret.size(); ++i) {
    difference |= given[i] ^ secret[i];
  }
  return difference == 0;
}

bool isAllowedHost(std::string_view host, int port) {
  const std::string suffix = port == kDefaultPort ? "" : fmt::format(":{}", port);
  return host == "127.0.0.1" + suffix || host == "localhost" + suffix;
}

bool isAllowedOrigin(std::string_view origin, int port) {
  return origin.substr(0, kScheme.size()) == kScheme && isAllowedHost(origin.substr(kScheme.size()), port);
}

std::optional<std::string_view> pathBehindToken(std::string_view path, std::string_view token) {
  const size_t length = token.size() + 2;
  if (path.size() < length || path.front() != '/' || path[length - 1] != '/' ||
      !isSameSecret(path.substr(1, token.size()), token)) {
    return std::nullopt;
  }
  return path.substr(length);
}

}  // namespace vycam

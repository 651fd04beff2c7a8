// Who may come in: what a request has to carry besides having reached the loopback address.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace vycam {

/// 128 random bits as 32 hexadecimal digits.
std::string makeToken();

/// Compares in a time that does not tell how many letters agree.
bool isSameSecret(std::string_view given, std::string_view secret);

/// True for a `Host` header that names this server: 127.0.0.1:PORT or localhost:PORT, or without the port where it is
/// the one that browsers leave out. A page of another site that had its own name point at the loopback address would
/// send that name.
bool isAllowedHost(std::string_view host, int port);

/// True for an `Origin` header of this server's own pages.
bool isAllowedOrigin(std::string_view origin, int port);

/// What follows "/TOKEN/" in a path; none if the path does not begin so.
std::optional<std::string_view> pathBehindToken(std::string_view path, std::string_view token);

}  // namespace vycam

// What both kinds of the server's connections need, those that take files and those that have become WebSockets.
#pragma once

#include <libwebsockets.h>

#include <cstddef>
#include <functional>
#include <string>

namespace vycam {

/// Has the loop's thread do something. May be called by any thread.
using Post = std::function<void(std::function<void()> task)>;

constexpr size_t kPiece = 262144;  ///< bytes handed to a socket at a time
constexpr unsigned kOk = 200, kForbidden = 403, kNotFound = 404, kWrongMethod = 405, kConflict = 409, kBusy = 503;

/// A header of the request; empty if it has none.
std::string headerOf(lws* connection, lws_token_indexes token);

/// Answers with this status. Returns what ends the connection.
int refuse(lws* connection, unsigned status);

}  // namespace vycam

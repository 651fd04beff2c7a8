#include "view/Connection.h"

namespace vycam {

std::string headerOf(lws* connection, lws_token_indexes token) {
  const int length = lws_hdr_total_length(connection, token);
  if (length <= 0) {
    return {};
  }
  std::string value(static_cast<size_t>(length) + 1, '\0');  // the copy ends with a zero byte
  const int copied = lws_hdr_copy(connection, value.data(), length + 1, token);
  value.resize(copied < 0 ? 0 : static_cast<size_t>(copied));
  return value;
}

int refuse(lws* connection, unsigned status) {
  lws_return_http_status(connection, status, nullptr);
  return -1;
}

}  // namespace vycam

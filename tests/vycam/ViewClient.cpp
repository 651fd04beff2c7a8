#include "vycam/ViewClient.h"

#include <arpa/inet.h>
#include <libwebsockets.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

namespace {

int onLwsEvent(lws* connection, lws_callback_reasons reason, void* /*user*/, void* in, size_t size) {
  auto* const client = static_cast<ViewClient*>(lws_context_user(lws_get_context(connection)));
  return client->onEvent(connection, reason, in, size);
}

const lws_protocols kProtocols[] = {{"vycam", onLwsEvent, 0, 65536, 0, nullptr, 0},
                                    {nullptr, nullptr, 0, 0, 0, nullptr, 0}};

}  // namespace

ViewClient::ViewClient(int port, const std::string& token) {
  lws_set_log_level(0, nullptr);
  lws_context_creation_info info{};
  info.port = CONTEXT_PORT_NO_LISTEN;
  info.protocols = kProtocols;
  info.user = this;
  info.gid = static_cast<decltype(info.gid)>(-1);
  info.uid = static_cast<decltype(info.uid)>(-1);
  context_ = lws_create_context(&info);
  const std::string path = "/" + token + "/live", host = "127.0.0.1:" + std::to_string(port);
  lws_client_connect_info connect{};
  connect.context = context_;
  connect.address = "127.0.0.1";
  connect.port = port;
  connect.path = path.c_str();
  connect.host = host.c_str();
  connect.origin = host.c_str();  // the library puts the scheme before it
  connect.protocol = kProtocols[0].name;
  if (lws_client_connect_via_info(&connect) == nullptr) isClosed_ = true;
  while (connection_ == nullptr && !isClosed_) lws_service(context_, 0);
}

ViewClient::~ViewClient() {
  lws_context_destroy(context_);
}

void ViewClient::send(const std::string& bytes, bool isBinary) {
  if (isClosed_) return;
  outgoing_ = Message{!isBinary, bytes};
  lws_callback_on_writable(connection_);
  while (outgoing_ && !isClosed_) lws_service(context_, 0);
}

std::optional<ViewClient::Message> ViewClient::next() {
  while (messages_.empty() && !isClosed_) lws_service(context_, 0);
  if (messages_.empty()) return std::nullopt;
  Message message = std::move(messages_.front());
  messages_.pop_front();
  return message;
}

nlohmann::json ViewClient::nextText(const std::string& type) {
  while (const std::optional<Message> message = next()) {
    if (!message->isText) continue;
    nlohmann::json text = nlohmann::json::parse(message->bytes);
    if (text["type"] == type) return text;
  }
  return nullptr;
}

std::string ViewClient::nextFrame() {
  while (const std::optional<Message> message = next()) {
    if (!message->isText) return message->bytes;
  }
  return {};
}

int ViewClient::onEvent(lws* connection, int reason, void* in, size_t size) {
  const char* const bytes = static_cast<const char*>(in);
  switch (reason) {
    case LWS_CALLBACK_CLIENT_ESTABLISHED:
      connection_ = connection;
      return 0;
    case LWS_CALLBACK_CLIENT_RECEIVE:
      incoming_.append(bytes, size);
      if (lws_is_final_fragment(connection) == 0 || lws_remaining_packet_payload(connection) != 0) return 0;
      messages_.push_back({lws_frame_is_binary(connection) == 0, std::move(incoming_)});
      incoming_.clear();
      return 0;
    case LWS_CALLBACK_CLIENT_WRITEABLE: {
      if (!outgoing_) return 0;
      std::vector<unsigned char> copy(LWS_PRE);
      copy.insert(copy.end(), outgoing_->bytes.begin(), outgoing_->bytes.end());
      const lws_write_protocol kind = outgoing_->isText ? LWS_WRITE_TEXT : LWS_WRITE_BINARY;
      const int written = lws_write(connection, copy.data() + LWS_PRE, outgoing_->bytes.size(), kind);
      outgoing_.reset();
      return written < 0 ? -1 : 0;
    }
    case LWS_CALLBACK_WS_PEER_INITIATED_CLOSE:
      if (size >= 2) {
        closeCode_ = static_cast<unsigned char>(bytes[0]) << 8 | static_cast<unsigned char>(bytes[1]);
        closeReason_.assign(bytes + 2, size - 2);
      }
      return 0;
    case LWS_CALLBACK_CLIENT_CONNECTION_ERROR:
    case LWS_CALLBACK_CLIENT_CLOSED:
      isClosed_ = true;
      return 0;
    default:
      return 0;
  }
}

OpenConnection::OpenConnection(int port, const char* address) : socket_(::socket(AF_INET, SOCK_STREAM, 0)) {
  sockaddr_in place{};
  place.sin_family = AF_INET;
  place.sin_port = htons(static_cast<uint16_t>(port));
  inet_pton(AF_INET, address, &place.sin_addr);
  if (connect(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0) {
    throw std::runtime_error("nobody listens");
  }
}

OpenConnection::~OpenConnection() {
  close(socket_);
}

void OpenConnection::send(const std::string& request) const {
  ::send(socket_, request.data(), request.size(), MSG_NOSIGNAL);
}

std::string OpenConnection::answer() const {
  std::string answer;
  std::vector<char> buffer(65536);
  const auto isWhole = [&answer] {
    const size_t body = answer.find("\r\n\r\n"), length = answer.find("content-length: ");
    if (body == std::string::npos) return false;
    const bool isOpenSocket = answer.compare(0, 12, "HTTP/1.1 101") == 0;
    return isOpenSocket || (length < body && answer.size() >= body + 4 + std::stoul(answer.substr(length + 16)));
  };
  ssize_t size = 0;
  while (!isWhole() && (size = recv(socket_, buffer.data(), buffer.size(), 0)) > 0) {
    answer.append(buffer.data(), static_cast<size_t>(size));
  }
  return answer;
}

std::string answerTo(int port, const std::string& request) {
  const OpenConnection connection(port);
  connection.send(request);
  return connection.answer();
}

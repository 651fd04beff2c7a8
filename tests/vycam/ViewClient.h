// A client of the viewer's server: a WebSocket that is read when a test asks for the next message, and plain requests.
#pragma once

#include <deque>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

struct lws;
struct lws_context;

class ViewClient {
 public:
  struct Message {
    bool isText = false;
    std::string bytes;
  };

  /// Connects to "/TOKEN/live"; the origin is the server's own.
  ViewClient(int port, const std::string& token);
  ViewClient(const ViewClient&) = delete;
  ViewClient& operator=(const ViewClient&) = delete;
  ~ViewClient();

  void send(const nlohmann::json& message) { send(message.dump(), false); }
  /// Waits until the message is out, or the connection is closed.
  void send(const std::string& bytes, bool isBinary);

  /// The next message; none once the connection is closed.
  std::optional<Message> next();
  /// The next text of that type, whatever comes before; null once the connection is closed.
  nlohmann::json nextText(const std::string& type);
  /// The bytes of the next frame; empty once the connection is closed.
  std::string nextFrame();

  /// What the server said when it closed the connection; 0 if it said nothing.
  int closeCode() const { return closeCode_; }
  const std::string& closeReason() const { return closeReason_; }

  /// Called by libwebsockets.
  int onEvent(lws* connection, int reason, void* in, size_t size);

 private:
  lws_context* context_ = nullptr;
  lws* connection_ = nullptr;
  bool isClosed_ = false;
  std::optional<Message> outgoing_;
  std::string incoming_;
  std::deque<Message> messages_;
  int closeCode_ = 0;
  std::string closeReason_;
};

/// A connection that says what it is told to; throws if nobody listens.
class OpenConnection {
 public:
  explicit OpenConnection(int port, const char* address = "127.0.0.1");
  OpenConnection(const OpenConnection&) = delete;
  OpenConnection& operator=(const OpenConnection&) = delete;
  ~OpenConnection();
  void send(const std::string& request) const;
  /// What the server says, until it has said all or closes the connection.
  std::string answer() const;

 private:
  int socket_;
};

/// What the server answers to these bytes.
std::string answerTo(int port, const std::string& request);

// The viewer's server: the page's files, one WebSocket for each client, snapshots. All of it on one thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <vector>

#include "view/LiveCameras.h"
#include "view/Messages.h"
#include "view/Outbox.h"

struct lws;
struct lws_context;

namespace vycam {

struct ServerOptions {
  int port = 0;  ///< 0 = a free one
  size_t mostConnections = 64;
  size_t mostClients = 16;
  unsigned mostMessages = 200;  ///< of one client within a second
  /// A client that takes nothing for so long, while something waits for it, loses its connection.
  std::chrono::milliseconds patience{10000};
  /// The time that patience and message rates go by.
  std::function<std::chrono::steady_clock::time_point()> clock = std::chrono::steady_clock::now;
};

class Server {
 public:
  /// Listens, and starts the streams of `cameras`, which must outlive the server. A port that cannot be had is a
  /// Failure.
  Server(LiveCameras& cameras, ServerOptions options);
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server();

  int port() const { return port_; }
  const std::string& token() const { return token_; }
  /// "http://127.0.0.1:PORT/TOKEN/"
  std::string address() const;

  /// Called by libwebsockets for everything that happens; `reason` is an lws_callback_reasons.
  int onEvent(lws* connection, int reason, void* in, size_t size);

 private:
  using Time = std::chrono::steady_clock::time_point;

  /// A page with an open WebSocket.
  struct Client {
    uint64_t id = 0;
    lws* connection = nullptr;
    std::string received;  ///< of a message that has not come to its end
    Outbox outbox;
    std::map<unsigned, Roles> watched;
    std::optional<Time> waitsSince;  ///< while something waits: since when it has taken nothing
    Time secondBegan;
    unsigned messagesInSecond = 0;
  };

  /// A file on its way to a browser.
  struct Download {
    uint64_t id = 0;
    std::string name;
    std::string made;            ///< a snapshot's bytes
    std::string_view remaining;  ///< of these, or of a page's file
    bool isReady = false;        ///< for the body, or for the refusal
    std::optional<std::string> failure;
  };

  void listen();
  void startStreams();
  void run();
  /// Has the loop's thread do something. May be called by any thread.
  void post(std::function<void()> task);
  void runTasks();

  // HTTP
  bool isAllowed(lws* connection) const;
  int answerRequest(lws* connection, std::string_view path);
  int beginSnapshot(lws* connection, std::string_view path);
  void finishSnapshot(uint64_t id, Snapshot snapshot);
  int writeHeaders(lws* connection, const Download& download);
  int writeBody(lws* connection);

  // WebSocket
  int greet(lws* connection);
  int receive(lws* connection, std::string_view piece);
  void obey(Client& client, const ClientMessage& message);
  int write(lws* connection);
  void wantToWrite(Client& client);
  void push(Client& client, std::string text);
  void dropIdleClients();
  void updateWatched();
  LiveStream& streamOf(unsigned index) const;
  void checkCamera(unsigned index) const;
  /// Answers a client's request from any thread.
  LiveStream::Answer answerTo(const Client& client, uint64_t request);

  LiveCameras& cameras_;
  const ServerOptions options_;
  const std::string token_;
  int port_ = 0;
  lws_context* context_ = nullptr;
  std::thread thread_;

  std::mutex mutex_;  // for what follows
  bool isEnding_ = false;
  std::vector<std::function<void()>> tasks_;

  // The loop's thread alone uses what follows.
  std::unordered_set<lws*> connections_;
  std::map<lws*, Client> clients_;
  std::map<lws*, Download> downloads_;
  uint64_t lastId_ = 0;
  std::vector<uint8_t> buffer_;
};

}  // namespace vycam

// The viewer's server: the page's files, one WebSocket for each client, snapshots. All of it on one thread.
#pragma once

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <vector>

#include "view/Clients.h"
#include "view/Downloads.h"
#include "view/LiveCameras.h"

namespace vycam {

struct ServerOptions {
  int port = 0;  ///< 0 = a free one
  size_t mostConnections = 64;
  ClientLimits clients;
};

class Server {
 public:
  /// Listens, and starts the streams of `cameras`, which must outlive the server and serve no other one. A port that
  /// cannot be had is a Failure.
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
  void listen();
  void startStreams();
  void run();
  /// Has the loop's thread do something. May be called by any thread.
  void post(std::function<void()> task);
  void runTasks();
  bool isAllowed(lws* connection) const;
  int answerRequest(lws* connection, std::string_view path);

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
  Clients clients_;
  std::optional<Downloads> downloads_;  // from the moment on that the port is known
};

}  // namespace vycam

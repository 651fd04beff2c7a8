// The pages with an open WebSocket: what they wish, and what they are told. The loop's thread alone uses them.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "view/ClientMessage.h"
#include "view/Connection.h"
#include "view/LiveCameras.h"
#include "view/Outbox.h"

namespace vycam {

struct ClientLimits {
  size_t mostClients = 16;
  unsigned mostMessages = 200;  ///< of one client within a second
  /// A client that takes nothing for so long, while something waits for it, loses its connection.
  std::chrono::milliseconds patience{10000};
  /// The time that patience and message rates go by.
  std::function<std::chrono::steady_clock::time_point()> clock = std::chrono::steady_clock::now;
};

class Clients {
 public:
  /// `cameras` must outlive this.
  Clients(LiveCameras& cameras, ClientLimits limits, Post post);

  bool isFull() const { return clients_.size() >= limits_.mostClients; }

  // What these return ends the connection if it is not 0.

  int greet(lws* connection);
  int receive(lws* connection, std::string_view piece);
  /// The connection takes more.
  int write(lws* connection);

  /// The connection is no more.
  void forget(lws* connection);

  /// The stream has a new frame.
  void offer(const LiveStream& stream);
  void tell(const std::string& text);
  /// To those that watch the stream.
  void tellStats(unsigned stream, const StreamStats& stats);

  /// Ends the connections of those that take nothing.
  void dropIdle();
  /// Does so each second, also while no stream has anything to tell.
  int look(lws* connection);

 private:
  using Time = std::chrono::steady_clock::time_point;

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

  void obey(Client& client, const ClientMessage& message);
  void watch(Client& client, const std::map<unsigned, Roles>& roles);
  void orderFault(const FailWish& wish);
  void wantToWrite(Client& client);
  void push(Client& client, std::string text);
  void updateWatched();
  LiveStream& streamOf(unsigned index) const;
  void checkCamera(unsigned index) const;
  /// Answers a client's request from any thread.
  LiveStream::Answer answerTo(const Client& client, uint64_t request);

  LiveCameras& cameras_;
  const ClientLimits limits_;
  const Post post_;
  std::map<lws*, Client> clients_;
  uint64_t lastId_ = 0;
  uint64_t orders_ = 0;  // of calls to fail
  const uint64_t doneBefore_ = vysim_fail_count();
  std::vector<uint8_t> buffer_;
};

}  // namespace vycam

#include "view/Clients.h"

#include <fmt/format.h>
#include <poll.h>

#include <algorithm>
#include <utility>
#include <variant>

#include "Failure.h"

namespace vycam {
namespace {

constexpr size_t kMostWaitingTexts = 512;  // of one client
constexpr uint64_t kMostOrders = 100;      // of calls to fail
constexpr size_t kLongestReason = 120;     // a close frame holds no more

bool takesMore(lws* connection) {
  pollfd state{lws_get_socket_fd(connection), POLLOUT, 0};
  return poll(&state, 1, 0) > 0;
}

}  // namespace

Clients::Clients(LiveCameras& cameras, ClientLimits limits, Post post)
    : cameras_(cameras), limits_(std::move(limits)), post_(std::move(post)), buffer_(LWS_PRE + kPiece) {}

void Clients::forget(lws* connection) {
  clients_.erase(connection);
  updateWatched();
}

int Clients::greet(lws* connection) {
  lws_set_timer_usecs(connection, LWS_USEC_PER_SEC);
  Client& client = clients_[connection];
  client.id = ++lastId_;
  client.connection = connection;
  client.secondBegan = limits_.clock();
  push(client, cameras_.hello());
  return 0;
}

int Clients::receive(lws* connection, std::string_view piece) {
  const auto found = clients_.find(connection);
  if (found == clients_.end()) {
    return -1;
  }
  Client& client = found->second;
  const auto end = [&](std::string_view reason) {
    size_t size = std::min(reason.size(), kLongestReason);
    while (size < reason.size() && (static_cast<unsigned char>(reason[size]) & 0xC0U) == 0x80U) {
      --size;  // a letter of several bytes stays whole
    }
    std::string text(reason.substr(0, size));
    lws_close_reason(connection, LWS_CLOSE_STATUS_POLICY_VIOLATION, reinterpret_cast<unsigned char*>(text.data()),
                     text.size());
    return -1;
  };
  if (lws_frame_is_binary(connection) != 0) {
    return end("messages to the server are texts");
  }
  if (client.received.size() + piece.size() > kLargestClientMessage) {
    return end(fmt::format("a message has more than {} bytes", kLargestClientMessage));
  }
  client.received += piece;
  if (lws_is_final_fragment(connection) == 0 || lws_remaining_packet_payload(connection) != 0) {
    return 0;
  }
  const Time now = limits_.clock();
  if (now - client.secondBegan >= std::chrono::seconds(1)) {
    client.secondBegan = now;
    client.messagesInSecond = 0;
  }
  if (++client.messagesInSecond > limits_.mostMessages) {
    return end(fmt::format("more than {} messages in a second", limits_.mostMessages));
  }
  try {
    obey(client, parseClientMessage(std::exchange(client.received, {})));
  } catch (const BadMessage& offence) {
    return end(offence.what());
  }
  return 0;
}

LiveStream& Clients::streamOf(unsigned index) const {
  if (index >= cameras_.streams().size()) {
    throw Failure(fmt::format("there is no stream {}; there are {}", index, cameras_.streams().size()));
  }
  return *cameras_.streams()[index];
}

void Clients::checkCamera(unsigned index) const {
  if (index >= cameras_.cameraCount()) {
    throw BadMessage(fmt::format("there is no camera {}", index));
  }
}

LiveStream::Answer Clients::answerTo(const Client& client, uint64_t request) {
  return [this, id = client.id, request](const std::optional<std::string>& refusal) {
    post_([this, id, text = answerText(request, refusal)] {
      for (auto& [connection, each] : clients_) {
        if (each.id == id) {
          push(each, text);
        }
      }
    });
  };
}

void Clients::obey(Client& client, const ClientMessage& message) {
  const uint64_t request = message.request.value_or(0);
  try {
    if (const auto* const watch = std::get_if<WatchWish>(&message.wish)) {
      this->watch(client, watch->roles);
    } else if (const auto* const set = std::get_if<SetWish>(&message.wish)) {
      streamOf(set->stream).set(set->settings, answerTo(client, request));
    } else if (const auto* const reset = std::get_if<ResetWish>(&message.wish)) {
      streamOf(reset->stream).reset(answerTo(client, request));
    } else if (const auto* const align = std::get_if<AlignWish>(&message.wish)) {
      streamOf(align->stream).align(align->isOn, align->parameters, answerTo(client, request));
    } else if (const auto* const pause = std::get_if<PauseWish>(&message.wish)) {
      checkCamera(pause->camera);
      cameras_.pause(pause->camera, pause->isOn);
      tell(cameraText(pause->camera, pause->isOn));
    } else if (const auto* const step = std::get_if<StepWish>(&message.wish)) {
      checkCamera(step->camera);
      cameras_.step(step->camera);
    } else if (const auto* const fail = std::get_if<FailWish>(&message.wish)) {
      orderFault(*fail);
      push(client, answerText(request, std::nullopt));
    }
  } catch (const Failure& refusal) {
    push(client, answerText(request, refusal.what()));
  }
}

void Clients::watch(Client& client, const std::map<unsigned, Roles>& roles) {
  for (const auto& [stream, wanted] : roles) {
    if (stream >= cameras_.streams().size()) {
      throw BadMessage(fmt::format("there is no stream {}", stream));
    }
  }
  client.watched = roles;
  client.outbox.watch(roles);
  updateWatched();
  for (const auto& [stream, wanted] : roles) {
    if (const std::shared_ptr<const LiveFrame> frame = streamOf(stream).newest()) {
      client.outbox.offer(frame);
    }
  }
  wantToWrite(client);
}

void Clients::orderFault(const FailWish& wish) {
  const std::vector<std::string>& functions = faultFunctions();
  if (std::find(functions.begin(), functions.end(), wish.function) == functions.end()) {
    throw Failure(fmt::format("no fault can be ordered for \"{}\"", wish.function));
  }
  if (orders_ - (vysim_fail_count() - doneBefore_) >= kMostOrders) {
    throw Failure(fmt::format("{} calls are to fail already; more can be ordered when some of them have", kMostOrders));
  }
  ++orders_;
  vysim_fail_call(wish.function.c_str(), wish.nth, wish.fault);
}

void Clients::offer(const LiveStream& stream) {
  for (auto& [connection, client] : clients_) {
    client.outbox.offer(stream.newest());
    wantToWrite(client);
  }
}

void Clients::tell(const std::string& text) {
  for (auto& [connection, client] : clients_) {
    push(client, text);
  }
}

void Clients::tellStats(unsigned stream, const StreamStats& stats) {
  for (auto& [connection, client] : clients_) {
    if (client.watched.count(stream) != 0) {
      push(client, statsText(stream, stats, client.outbox.droppedOf(stream)));
    }
  }
}

void Clients::push(Client& client, std::string text) {
  client.outbox.push(std::move(text));
  wantToWrite(client);
}

void Clients::wantToWrite(Client& client) {
  if (client.outbox.isEmpty()) {
    client.waitsSince.reset();
    return;
  }
  if (!client.waitsSince) {
    client.waitsSince = limits_.clock();
  }
  lws_callback_on_writable(client.connection);
}

int Clients::write(lws* connection) {
  const auto found = clients_.find(connection);
  if (found == clients_.end()) {
    return -1;
  }
  Client& client = found->second;
  client.waitsSince.reset();  // it takes something now
  do {
    const std::optional<Outbox::Piece> piece = client.outbox.next(buffer_.data() + LWS_PRE, kPiece);
    if (!piece) {
      return 0;
    }
    const int kind = lws_write_ws_flags(piece->isText ? LWS_WRITE_TEXT : LWS_WRITE_BINARY, piece->isFirst ? 1 : 0,
                                        piece->isLast ? 1 : 0);
    if (lws_write(connection, buffer_.data() + LWS_PRE, piece->size, static_cast<lws_write_protocol>(kind)) < 0) {
      return -1;
    }
  } while (lws_send_pipe_choked(connection) == 0);
  wantToWrite(client);
  return 0;
}

int Clients::look(lws* connection) {
  dropIdle();
  lws_set_timer_usecs(connection, LWS_USEC_PER_SEC);
  return 0;
}

void Clients::dropIdle() {
  const Time now = limits_.clock();
  for (auto& [connection, client] : clients_) {
    // Where the socket takes more, it is this program that has stood still, as on a busy or suspended machine.
    const bool isSilent = client.waitsSince && now - *client.waitsSince > limits_.patience;
    if ((isSilent || client.outbox.waitingTexts() > kMostWaitingTexts) && !takesMore(connection)) {
      lws_set_timeout(connection, PENDING_TIMEOUT_CLOSE_SEND, LWS_TO_KILL_ASYNC);
    }
  }
}

/// Tells the streams what clients watch, all of them together.
void Clients::updateWatched() {
  std::map<unsigned, Roles> all;
  for (const auto& [connection, client] : clients_) {
    for (const auto& [stream, roles] : client.watched) {
      all[stream] |= roles;
    }
  }
  for (const auto& stream : cameras_.streams()) {
    const auto found = all.find(stream->facts().id);
    stream->watch(found == all.end() ? std::nullopt : std::optional<Roles>(found->second));
  }
}

}  // namespace vycam

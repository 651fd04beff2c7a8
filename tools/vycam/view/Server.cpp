#include "view/Server.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <libwebsockets.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <system_error>
#include <utility>

#include "Failure.h"
#include "Selection.h"
#include "view/Access.h"
#include "view/PageFiles.h"

namespace vycam {
namespace {

constexpr const char* kLoopback = "127.0.0.1";
constexpr const char* kSubprotocol = "vycam";
constexpr std::string_view kSocketPath = "live";
constexpr std::string_view kSnapshotFolder = "snapshot/";
constexpr std::string_view kSnapshotFiles[] = {"picture.png", "numbers.png", "cloud.ply"};
constexpr size_t kPiece = 262144;          // bytes handed to a socket at a time
constexpr size_t kMostWaitingTexts = 512;  // of one client
constexpr int kDownloadSeconds = 60;
constexpr unsigned kForbidden = 403, kNotFound = 404, kWrongMethod = 405, kConflict = 409;

/// Headers of every answer, but for the content policy.
constexpr std::pair<const char*, const char*> kHeaders[] = {{"x-content-type-options:", "nosniff"},
                                                            {"referrer-policy:", "no-referrer"},
                                                            {"cache-control:", "no-store"},
                                                            {"cross-origin-resource-policy:", "same-origin"}};

int onLwsEvent(lws* connection, lws_callback_reasons reason, void* /*user*/, void* in, size_t size) {
  lws_context* const context = lws_get_context(connection);
  auto* const server = context == nullptr ? nullptr : static_cast<Server*>(lws_context_user(context));
  return server == nullptr ? 0 : server->onEvent(connection, reason, in, size);
}

const lws_protocols kProtocols[] = {{"http", onLwsEvent, 0, 0, 0, nullptr, 0},
                                    {kSubprotocol, onLwsEvent, 0, kLargestClientMessage, 0, nullptr, 0},
                                    {nullptr, nullptr, 0, 0, 0, nullptr, 0}};

std::string header(lws* connection, lws_token_indexes token) {
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

/// Why nobody can listen there; empty if one can. libwebsockets does not tell, and loses memory where it cannot.
std::string obstacleAt(int port) {
  const int probe = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const int on = 1;
  setsockopt(probe, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const bool isFree =
      bind(probe, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 && ::listen(probe, 1) == 0;
  const int error = errno;
  close(probe);
  return isFree ? "" : std::generic_category().message(error);
}

}  // namespace

Server::Server(LiveCameras& cameras, ServerOptions options)
    : cameras_(cameras), options_(std::move(options)), token_(makeToken()), buffer_(LWS_PRE + kPiece) {
  listen();
  startStreams();
  thread_ = std::thread([this] { run(); });
}

Server::~Server() {
  for (const auto& stream : cameras_.streams()) {
    stream->stop();
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isEnding_ = true;
  }
  lws_cancel_service(context_);
  thread_.join();
  lws_context_destroy(context_);
}

std::string Server::address() const {
  return fmt::format("http://{}:{}/{}/", kLoopback, port_, token_);
}

void Server::listen() {
  const auto fail = [this](const std::string& reason) {
    throw Failure(fmt::format("cannot listen on {} port {}: {}; --port N names another one, and 0 takes a free one",
                              kLoopback, options_.port, reason));
  };
  const std::string obstacle = obstacleAt(options_.port);
  if (!obstacle.empty()) {
    fail(obstacle);
  }
  lws_set_log_level(0, nullptr);
  lws_context_creation_info info{};
  info.port = options_.port;
  info.iface = kLoopback;
  info.protocols = kProtocols;
  info.user = this;
  // The process keeps its ids. Their types differ from version to version.
  info.gid = static_cast<decltype(info.gid)>(-1);
  info.uid = static_cast<decltype(info.uid)>(-1);
  info.options = LWS_SERVER_OPTION_FAIL_UPON_UNABLE_TO_BIND | LWS_SERVER_OPTION_DISABLE_IPV6;
  info.timeout_secs = 10;
  context_ = lws_create_context(&info);
  lws_vhost* const host = context_ == nullptr ? nullptr : lws_get_vhost_by_name(context_, "default");
  if (host == nullptr) {
    fail("the server could not be made");
  }
  port_ = lws_get_vhost_listen_port(host);
}

void Server::startStreams() {
  const double clockCost = measureClockCost();
  for (const auto& each : cameras_.streams()) {
    LiveStream* const stream = each.get();
    const unsigned id = stream->facts().id;
    StreamListener listener;
    listener.onFrame = [this, stream] {
      post([this, stream] {
        for (auto& [connection, client] : clients_) {
          client.outbox.offer(stream->newest());
          wantToWrite(client);
        }
      });
    };
    listener.onState = [this, stream](const StreamState& state) {
      post([this, text = stateText(stream->facts(), state)] {
        for (auto& [connection, client] : clients_) {
          push(client, text);
        }
      });
    };
    listener.onStats = [this, id](const StreamStats& stats) {
      post([this, id, stats] {
        for (auto& [connection, client] : clients_) {
          if (client.watched.count(id) != 0) {
            push(client, statsText(id, stats, client.outbox.droppedOf(id)));
          }
        }
      });
    };
    stream->start(std::move(listener), clockCost);
  }
}

void Server::run() {
  vysim_ignore_thread(true);
  for (;;) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (isEnding_) {
        return;
      }
    }
    lws_service(context_, 0);
  }
}

void Server::post(std::function<void()> task) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  lws_cancel_service(context_);
}

void Server::runTasks() {
  std::vector<std::function<void()>> tasks;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    tasks.swap(tasks_);
  }
  for (const std::function<void()>& task : tasks) {
    task();
  }
  dropIdleClients();
}

int Server::onEvent(lws* connection, int reason, void* in, size_t size) {
  const std::string_view text(static_cast<const char*>(in), in == nullptr ? 0 : size);
  switch (reason) {
    case LWS_CALLBACK_FILTER_NETWORK_CONNECTION:
      return connections_.size() >= options_.mostConnections ? -1 : 0;
    case LWS_CALLBACK_SERVER_NEW_CLIENT_INSTANTIATED:
      connections_.insert(connection);
      return 0;
    case LWS_CALLBACK_WSI_DESTROY:
      connections_.erase(connection);
      downloads_.erase(connection);
      return 0;
    case LWS_CALLBACK_EVENT_WAIT_CANCELLED:
      runTasks();
      return 0;
    case LWS_CALLBACK_HTTP:
      return answerRequest(connection, text);
    case LWS_CALLBACK_HTTP_WRITEABLE:
      return writeBody(connection);
    case LWS_CALLBACK_CLOSED_HTTP:
      downloads_.erase(connection);
      return 0;
    case LWS_CALLBACK_HTTP_CONFIRM_UPGRADE:  // there is another one to HTTP 2
      return static_cast<const char*>(in) == std::string_view("websocket") ? 0 : -1;
    case LWS_CALLBACK_FILTER_PROTOCOL_CONNECTION:
      return isAllowed(connection) && clients_.size() < options_.mostClients ? 0 : refuse(connection, kForbidden);
    case LWS_CALLBACK_ESTABLISHED:
      return greet(connection);
    case LWS_CALLBACK_RECEIVE:
      return receive(connection, text);
    case LWS_CALLBACK_SERVER_WRITEABLE:
      return write(connection);
    case LWS_CALLBACK_CLOSED:
      clients_.erase(connection);
      updateWatched();
      return 0;
    default:
      return 0;
  }
}

// ---- HTTP -----------------------------------------------------------------------------------------------------------

/// Whether a WebSocket may be opened.
bool Server::isAllowed(lws* connection) const {
  const std::string path = header(connection, WSI_TOKEN_GET_URI);
  return lws_get_protocol(connection)->name == std::string_view(kSubprotocol) &&
         isAllowedHost(header(connection, WSI_TOKEN_HOST), port_) &&
         isAllowedOrigin(header(connection, WSI_TOKEN_ORIGIN), port_) && pathBehindToken(path, token_) == kSocketPath;
}

int Server::answerRequest(lws* connection, std::string_view path) {
  if (!isAllowedHost(header(connection, WSI_TOKEN_HOST), port_)) {
    return refuse(connection, kForbidden);
  }
  const std::optional<std::string_view> rest = pathBehindToken(path, token_);
  if (!rest) {
    return refuse(connection, kNotFound);
  }
  if (lws_hdr_total_length(connection, WSI_TOKEN_GET_URI) == 0) {
    return refuse(connection, kWrongMethod);
  }
  if (rest->substr(0, kSnapshotFolder.size()) == kSnapshotFolder) {
    return beginSnapshot(connection, rest->substr(kSnapshotFolder.size()));
  }
  const PageFile* const file = findPageFile(rest->empty() ? "index.html" : *rest);
  if (file == nullptr) {
    return refuse(connection, kNotFound);
  }
  Download& download = downloads_[connection];
  download = {};
  download.name = file->name;
  download.remaining = file->content;
  download.isReady = true;
  return writeHeaders(connection, download);
}

int Server::beginSnapshot(lws* connection, std::string_view path) {
  const size_t slash = path.find('/');
  const std::string number(path.substr(0, slash));
  const std::string name(slash == std::string_view::npos ? std::string_view() : path.substr(slash + 1));
  const auto& streams = cameras_.streams();
  const auto stream = std::find_if(streams.begin(), streams.end(),
                                   [&](const auto& each) { return std::to_string(each->facts().id) == number; });
  if (stream == streams.end() ||
      std::find(std::begin(kSnapshotFiles), std::end(kSnapshotFiles), name) == std::end(kSnapshotFiles)) {
    return refuse(connection, kNotFound);
  }
  Download& download = downloads_[connection];
  download = {};
  download.id = ++lastId_;
  download.name =
      fmt::format("{}-{}-{}", (*stream)->facts().family->name, sensorName((*stream)->facts().stream.sensor), name);
  lws_set_timeout(connection, PENDING_TIMEOUT_HTTP_CONTENT, kDownloadSeconds);
  (*stream)->takeSnapshot(name, [this, id = download.id](Snapshot snapshot) {
    post([this, id, snapshot = std::move(snapshot)]() mutable { finishSnapshot(id, std::move(snapshot)); });
  });
  return 0;
}

void Server::finishSnapshot(uint64_t id, Snapshot snapshot) {
  const auto found =
      std::find_if(downloads_.begin(), downloads_.end(), [id](const auto& entry) { return entry.second.id == id; });
  if (found == downloads_.end()) {
    return;  // the browser has gone
  }
  Download& download = found->second;
  download.made = std::move(snapshot.bytes);
  download.remaining = download.made;
  download.failure = std::move(snapshot.failure);
  download.isReady = true;
  lws_callback_on_writable(found->first);
}

int Server::writeHeaders(lws* connection, const Download& download) {
  std::array<unsigned char, LWS_PRE + 2048> bytes{};
  unsigned char* const begin = bytes.data() + LWS_PRE;
  unsigned char* const end = bytes.data() + bytes.size();
  unsigned char* at = begin;
  const auto add = [&](const char* name, const std::string& value) {
    return lws_add_http_header_by_name(connection, reinterpret_cast<const unsigned char*>(name),
                                       reinterpret_cast<const unsigned char*>(value.data()),
                                       static_cast<int>(value.size()), &at, end) == 0;
  };
  bool isWritten =
      lws_add_http_common_headers(connection, HTTP_STATUS_OK, std::string(contentType(download.name)).c_str(),
                                  download.remaining.size(), &at, end) == 0;
  for (const auto& [name, value] : kHeaders) {
    isWritten = isWritten && add(name, value);
  }
  isWritten = isWritten &&
              add("content-security-policy:",
                  fmt::format("default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
                              "connect-src 'self' ws://127.0.0.1:{0} ws://localhost:{0}; base-uri 'none'; "
                              "form-action 'none'; frame-ancestors 'none'",
                              port_));
  if (download.id != 0) {
    isWritten = isWritten && add("content-disposition:", fmt::format("attachment; filename=\"{}\"", download.name));
  }
  if (!isWritten || lws_finalize_write_http_header(connection, begin, &at, end) != 0) {
    return -1;
  }
  lws_set_timeout(connection, PENDING_TIMEOUT_HTTP_CONTENT, kDownloadSeconds);
  lws_callback_on_writable(connection);
  return 0;
}

int Server::writeBody(lws* connection) {
  const auto found = downloads_.find(connection);
  if (found == downloads_.end() || !found->second.isReady) {
    return 0;
  }
  Download& download = found->second;
  if (download.failure) {
    lws_return_http_status(connection, kConflict, nullptr);
    return -1;
  }
  if (download.id != 0) {  // a snapshot's headers have waited for it
    const int result = writeHeaders(connection, download);
    download.id = 0;
    return result;
  }
  const size_t size = std::min(download.remaining.size(), kPiece);
  std::copy_n(download.remaining.data(), size, buffer_.begin() + LWS_PRE);
  download.remaining.remove_prefix(size);
  const bool isLast = download.remaining.empty();
  const int written =
      lws_write(connection, buffer_.data() + LWS_PRE, size, isLast ? LWS_WRITE_HTTP_FINAL : LWS_WRITE_HTTP);
  if (written < 0 || static_cast<size_t>(written) != size) {
    return -1;
  }
  if (!isLast) {
    lws_callback_on_writable(connection);
    return 0;
  }
  downloads_.erase(found);
  return lws_http_transaction_completed(connection) != 0 ? -1 : 0;
}

// ---- WebSocket ------------------------------------------------------------------------------------------------------

int Server::greet(lws* connection) {
  Client& client = clients_[connection];
  client.id = ++lastId_;
  client.connection = connection;
  client.secondBegan = options_.clock();
  push(client, cameras_.hello());
  return 0;
}

int Server::receive(lws* connection, std::string_view piece) {
  const auto found = clients_.find(connection);
  if (found == clients_.end()) {
    return -1;
  }
  Client& client = found->second;
  const auto end = [&](std::string_view reason) {
    std::string text(reason.substr(0, 120));  // a close frame holds no more
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
  const Time now = options_.clock();
  if (now - client.secondBegan >= std::chrono::seconds(1)) {
    client.secondBegan = now;
    client.messagesInSecond = 0;
  }
  if (++client.messagesInSecond > options_.mostMessages) {
    return end(fmt::format("more than {} messages in a second", options_.mostMessages));
  }
  try {
    obey(client, parseClientMessage(std::exchange(client.received, {})));
  } catch (const BadMessage& offence) {
    return end(offence.what());
  }
  return 0;
}

LiveStream& Server::streamOf(unsigned index) const {
  if (index >= cameras_.streams().size()) {
    throw Failure(fmt::format("there is no stream {}; there are {}", index, cameras_.streams().size()));
  }
  return *cameras_.streams()[index];
}

void Server::checkCamera(unsigned index) const {
  if (index >= cameras_.cameraCount()) {
    throw BadMessage(fmt::format("there is no camera {}", index));
  }
}

LiveStream::Answer Server::answerTo(const Client& client, uint64_t request) {
  return [this, id = client.id, request](const std::optional<std::string>& refusal) {
    post([this, id, text = answerText(request, refusal)] {
      for (auto& [connection, each] : clients_) {
        if (each.id == id) {
          push(each, text);
        }
      }
    });
  };
}

void Server::obey(Client& client, const ClientMessage& message) {
  const uint64_t request = message.request.value_or(0);
  try {
    if (const auto* const watch = std::get_if<WatchWish>(&message.wish)) {
      for (const auto& [stream, roles] : watch->roles) {
        if (stream >= cameras_.streams().size()) {
          throw BadMessage(fmt::format("there is no stream {}", stream));
        }
      }
      client.watched = watch->roles;
      client.outbox.watch(watch->roles);
      updateWatched();
      for (const auto& [stream, roles] : watch->roles) {
        if (const std::shared_ptr<const LiveFrame> frame = streamOf(stream).newest()) {
          client.outbox.offer(frame);
        }
      }
      wantToWrite(client);
    } else if (const auto* const set = std::get_if<SetWish>(&message.wish)) {
      streamOf(set->stream).set(set->settings, answerTo(client, request));
    } else if (const auto* const reset = std::get_if<ResetWish>(&message.wish)) {
      streamOf(reset->stream).reset(answerTo(client, request));
    } else if (const auto* const align = std::get_if<AlignWish>(&message.wish)) {
      streamOf(align->stream).align(align->isOn, align->parameters, answerTo(client, request));
    } else if (const auto* const pause = std::get_if<PauseWish>(&message.wish)) {
      checkCamera(pause->camera);
      cameras_.pause(pause->camera, pause->isOn);
      for (auto& [connection, each] : clients_) {
        push(each, cameraText(pause->camera, pause->isOn));
      }
    } else if (const auto* const step = std::get_if<StepWish>(&message.wish)) {
      checkCamera(step->camera);
      cameras_.step(step->camera);
    } else if (const auto* const fail = std::get_if<FailWish>(&message.wish)) {
      const std::vector<std::string>& functions = faultFunctions();
      if (std::find(functions.begin(), functions.end(), fail->function) == functions.end()) {
        throw Failure(fmt::format("no fault can be ordered for \"{}\"", fail->function));
      }
      vysim_fail_call(fail->function.c_str(), fail->nth, fail->fault);
      push(client, answerText(request, std::nullopt));
    }
  } catch (const Failure& refusal) {
    push(client, answerText(request, refusal.what()));
  }
}

void Server::push(Client& client, std::string text) {
  client.outbox.push(std::move(text));
  wantToWrite(client);
}

void Server::wantToWrite(Client& client) {
  if (client.outbox.isEmpty()) {
    client.waitsSince.reset();
    return;
  }
  if (!client.waitsSince) {
    client.waitsSince = options_.clock();
  }
  lws_callback_on_writable(client.connection);
}

int Server::write(lws* connection) {
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

void Server::dropIdleClients() {
  const Time now = options_.clock();
  for (auto& [connection, client] : clients_) {
    const bool isSilent = client.waitsSince && now - *client.waitsSince > options_.patience;
    if (isSilent || client.outbox.waitingTexts() > kMostWaitingTexts) {
      lws_set_timeout(connection, PENDING_TIMEOUT_CLOSE_SEND, LWS_TO_KILL_ASYNC);
    }
  }
}

/// Tells the streams what clients watch, all of them together.
void Server::updateWatched() {
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

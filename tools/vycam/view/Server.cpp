#include "view/Server.h"

#include <arpa/inet.h>
#include <fmt/format.h>
#include <libwebsockets.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "Failure.h"
#include "view/Access.h"

namespace vycam {
namespace {

constexpr const char* kLoopback = "127.0.0.1";
constexpr const char* kSubprotocol = "vycam";
constexpr std::string_view kSocketPath = "live";

int onLwsEvent(lws* connection, lws_callback_reasons reason, void* /*user*/, void* in, size_t size) {
  lws_context* const context = lws_get_context(connection);
  auto* const server = context == nullptr ? nullptr : static_cast<Server*>(lws_context_user(context));
  return server == nullptr ? 0 : server->onEvent(connection, reason, in, size);
}

const lws_protocols kProtocols[] = {{"http", onLwsEvent, 0, 0, 0, nullptr, 0},
                                    {kSubprotocol, onLwsEvent, 0, kLargestClientMessage, 0, nullptr, 0},
                                    {nullptr, nullptr, 0, 0, 0, nullptr, 0}};

// Headers of every answer, but for the content policy. Each points at the next.
const lws_protocol_vhost_options kNoForeignUse{nullptr, nullptr, "cross-origin-resource-policy:", "same-origin"};
const lws_protocol_vhost_options kNoCache{&kNoForeignUse, nullptr, "cache-control:", "no-store"};
const lws_protocol_vhost_options kNoReferrer{&kNoCache, nullptr, "referrer-policy:", "no-referrer"};
const lws_protocol_vhost_options kHeaders{&kNoReferrer, nullptr, "x-content-type-options:", "nosniff"};

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
    : cameras_(cameras),
      options_(std::move(options)),
      token_(makeToken()),
      clients_(cameras, options_.clients, [this](std::function<void()> task) { post(std::move(task)); }) {
  listen();
  downloads_.emplace(
      cameras_, [this](std::function<void()> task) { post(std::move(task)); }, port_);
  startStreams();
  thread_ = std::thread([this] { run(); });
}

Server::~Server() {
  for (const auto& stream : cameras_.streams()) {
    stream->end();
  }
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
  info.headers = &kHeaders;
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
    listener.onFrame = [this, stream] { post([this, stream] { clients_.offer(*stream); }); };
    listener.onState = [this, stream](const StreamState& state) {
      post([this, text = stateText(stream->facts(), state)] { clients_.tell(text); });
    };
    listener.onStats = [this, id](const StreamStats& stats) {
      post([this, id, stats] { clients_.tellStats(id, stats); });
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
  clients_.dropIdle();
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
      if (downloads_) {  // there is none before the server listens
        downloads_->forget(connection);
      }
      return 0;
    case LWS_CALLBACK_EVENT_WAIT_CANCELLED:
      runTasks();
      return 0;
    case LWS_CALLBACK_HTTP:
      return answerRequest(connection, text);
    case LWS_CALLBACK_HTTP_WRITEABLE:
      return downloads_->write(connection);
    case LWS_CALLBACK_CLOSED_HTTP:
      downloads_->forget(connection);
      return 0;
    case LWS_CALLBACK_HTTP_CONFIRM_UPGRADE:  // there is another one to HTTP 2
      return static_cast<const char*>(in) == std::string_view("websocket") ? 0 : -1;
    case LWS_CALLBACK_FILTER_PROTOCOL_CONNECTION:
      return isAllowed(connection) && !clients_.isFull() ? 0 : refuse(connection, kForbidden);
    case LWS_CALLBACK_ESTABLISHED:
      return clients_.greet(connection);
    case LWS_CALLBACK_RECEIVE:
      return clients_.receive(connection, text);
    case LWS_CALLBACK_SERVER_WRITEABLE:
      return clients_.write(connection);
    case LWS_CALLBACK_TIMER:
      return clients_.look(connection);
    case LWS_CALLBACK_CLOSED:
      clients_.forget(connection);
      return 0;
    default:
      return 0;
  }
}

/// Whether a WebSocket may be opened.
bool Server::isAllowed(lws* connection) const {
  const std::string path = headerOf(connection, WSI_TOKEN_GET_URI);
  return lws_get_protocol(connection)->name == std::string_view(kSubprotocol) &&
         isAllowedHost(headerOf(connection, WSI_TOKEN_HOST), port_) &&
         isAllowedOrigin(headerOf(connection, WSI_TOKEN_ORIGIN), port_) && pathBehindToken(path, token_) == kSocketPath;
}

int Server::answerRequest(lws* connection, std::string_view path) {
  if (!isAllowedHost(headerOf(connection, WSI_TOKEN_HOST), port_)) {
    return refuse(connection, kForbidden);
  }
  const std::optional<std::string_view> rest = pathBehindToken(path, token_);
  if (!rest) {
    return refuse(connection, kNotFound);
  }
  if (lws_hdr_total_length(connection, WSI_TOKEN_GET_URI) == 0) {
    return refuse(connection, kWrongMethod);
  }
  return downloads_->begin(connection, *rest);
}

}  // namespace vycam

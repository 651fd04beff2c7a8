#include "view/Downloads.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <utility>

#include "Selection.h"
#include "view/PageFiles.h"

namespace vycam {
namespace {

constexpr std::string_view kSnapshotFolder = "snapshot/";
constexpr std::string_view kSnapshotFiles[] = {"picture.png", "numbers.png", "cloud.ply"};
constexpr int kLongestSeconds = 60;
constexpr unsigned kMostSnapshots = 16;  // being made at a time

}  // namespace

Downloads::Downloads(LiveCameras& cameras, Post post, int port)
    : cameras_(cameras), post_(std::move(post)), port_(port), buffer_(LWS_PRE + kPiece) {}

int Downloads::begin(lws* connection, std::string_view path) {
  if (path.substr(0, kSnapshotFolder.size()) == kSnapshotFolder) {
    return beginSnapshot(connection, path.substr(kSnapshotFolder.size()));
  }
  const PageFile* const file = findPageFile(path.empty() ? "index.html" : path);
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

int Downloads::beginSnapshot(lws* connection, std::string_view path) {
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
  if (snapshots_ == kMostSnapshots) {
    return refuse(connection, kBusy);
  }
  ++snapshots_;
  Download& download = downloads_[connection];
  download = {};
  download.id = ++lastId_;
  download.name =
      fmt::format("{}-{}-{}", (*stream)->facts().family->name, sensorName((*stream)->facts().stream.sensor), name);
  lws_set_timeout(connection, PENDING_TIMEOUT_HTTP_CONTENT, kLongestSeconds);
  (*stream)->takeSnapshot(name, [this, id = download.id](Snapshot snapshot) {
    post_([this, id, snapshot = std::move(snapshot)]() mutable { finishSnapshot(id, std::move(snapshot)); });
  });
  return 0;
}

void Downloads::finishSnapshot(uint64_t id, Snapshot snapshot) {
  --snapshots_;
  const auto found =
      std::find_if(downloads_.begin(), downloads_.end(), [id](const auto& entry) { return entry.second.id == id; });
  if (found == downloads_.end()) {
    return;  // the browser has gone
  }
  Download& download = found->second;
  download.isFailure = snapshot.failure.has_value();
  download.made = download.isFailure ? *snapshot.failure + "\n" : std::move(snapshot.bytes);
  download.remaining = download.made;
  download.isReady = true;
  lws_callback_on_writable(found->first);
}

int Downloads::writeHeaders(lws* connection, const Download& download) {
  std::array<unsigned char, LWS_PRE + 2048> bytes{};
  unsigned char* const begin = bytes.data() + LWS_PRE;
  unsigned char* const end = bytes.data() + bytes.size();
  unsigned char* at = begin;
  const auto add = [&](const char* name, const std::string& value) {
    return lws_add_http_header_by_name(connection, reinterpret_cast<const unsigned char*>(name),
                                       reinterpret_cast<const unsigned char*>(value.data()),
                                       static_cast<int>(value.size()), &at, end) == 0;
  };
  const std::string type(download.isFailure ? "text/plain; charset=utf-8" : contentType(download.name));
  bool isWritten = lws_add_http_common_headers(connection, download.isFailure ? kConflict : kOk, type.c_str(),
                                               download.remaining.size(), &at, end) == 0;
  isWritten = isWritten &&
              add("content-security-policy:",
                  fmt::format("default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob: data:; "
                              "connect-src 'self' ws://127.0.0.1:{0} ws://localhost:{0}; base-uri 'none'; "
                              "form-action 'none'; frame-ancestors 'none'",
                              port_));
  if (download.id != 0 && !download.isFailure) {
    isWritten = isWritten && add("content-disposition:", fmt::format("attachment; filename=\"{}\"", download.name));
  }
  if (!isWritten || lws_finalize_write_http_header(connection, begin, &at, end) != 0) {
    return -1;
  }
  lws_set_timeout(connection, PENDING_TIMEOUT_HTTP_CONTENT, kLongestSeconds);
  lws_callback_on_writable(connection);
  return 0;
}

int Downloads::write(lws* connection) {
  const auto found = downloads_.find(connection);
  if (found == downloads_.end() || !found->second.isReady) {
    return 0;
  }
  Download& download = found->second;
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

}  // namespace vycam

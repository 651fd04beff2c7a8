// The files that browsers take: those of the page, and snapshots. The loop's thread alone uses them.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "view/Connection.h"
#include "view/LiveCameras.h"

namespace vycam {

class Downloads {
 public:
  /// `cameras` must outlive this; `port` is the server's.
  Downloads(LiveCameras& cameras, Post post, int port);

  // What these return ends the connection if it is not 0.

  /// Answers a request for the file at `path`, which begins behind the token.
  int begin(lws* connection, std::string_view path);
  /// The connection takes more.
  int write(lws* connection);

  /// The connection is no more.
  void forget(lws* connection) { downloads_.erase(connection); }

 private:
  /// A file on its way to a browser.
  struct Download {
    uint64_t id = 0;  ///< of a snapshot whose headers are not written; else 0
    std::string name;
    std::string made;            ///< a snapshot's bytes, or why there are none
    std::string_view remaining;  ///< of these, or of a page's file
    bool isReady = false;        ///< for the body
    bool isFailure = false;      ///< the body says why there is no snapshot
  };

  int beginSnapshot(lws* connection, std::string_view path);
  void finishSnapshot(uint64_t id, Snapshot snapshot);
  int writeHeaders(lws* connection, const Download& download);

  LiveCameras& cameras_;
  const Post post_;
  const int port_;
  std::map<lws*, Download> downloads_;
  uint64_t lastId_ = 0;
  unsigned snapshots_ = 0;  // being made, also for browsers that have gone
  std::vector<uint8_t> buffer_;
};

}  // namespace vycam

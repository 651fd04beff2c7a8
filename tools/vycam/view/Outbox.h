// What waits for one client: texts, and of each stream that it watches the newest frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "view/FrameMessage.h"

namespace vycam {

class Outbox {
 public:
  /// The roles that the client watches of each stream. What waits and shows none of that is dropped, uncounted.
  void watch(const std::map<unsigned, Roles>& roles);

  void push(std::string text);
  /// Takes a stream's newest frame in, if the client watches the stream and has not seen this frame. A frame that
  /// waited is dropped, and so are those that came in between and were never offered.
  void offer(const std::shared_ptr<const LiveFrame>& frame);

  uint32_t droppedOf(unsigned stream) const;
  size_t waitingTexts() const { return texts_.size(); }
  bool isEmpty() const;

  /// A piece of a message; messages follow one another, texts first.
  struct Piece {
    size_t size = 0;
    bool isText = false, isFirst = false, isLast = false;
  };
  /// Copies the next piece of at most `most` bytes; none if nothing waits.
  std::optional<Piece> next(uint8_t* to, size_t most);

 private:
  struct Watched {
    Roles roles = 0;
    uint64_t offered = 0;  ///< sequence number of the newest frame that came
    uint32_t dropped = 0;
    std::shared_ptr<const LiveFrame> waiting;
  };

  /// Begins with the waiting frame of the stream whose turn it is. There must be one.
  void beginFrame();

  std::deque<std::string> texts_;
  size_t textOffset_ = 0;  // of what is sent next of the first text
  std::map<unsigned, Watched> streams_;
  unsigned lastStream_ = 0;
  std::optional<FrameMessage> sending_;
  size_t sent_ = 0;  // bytes of that message
};

}  // namespace vycam

#include "view/Outbox.h"

#include <algorithm>
#include <utility>

namespace vycam {
namespace {

bool hasAnyOf(const LiveFrame& frame, Roles roles) {
  return std::any_of(frame.planes.begin(), frame.planes.end(),
                     [roles](const Plane& plane) { return (roles & bitOf(plane.role)) != 0; });
}

}  // namespace

void Outbox::watch(const std::map<unsigned, Roles>& roles) {
  std::map<unsigned, Watched> streams;
  for (const auto& [stream, wanted] : roles) {
    Watched& watched = streams[stream] = std::move(streams_[stream]);
    watched.roles = wanted;
    if (watched.waiting != nullptr && !hasAnyOf(*watched.waiting, wanted)) {
      watched.waiting = nullptr;
    }
  }
  streams_ = std::move(streams);
}

void Outbox::push(std::string text) {
  texts_.push_back(std::move(text));
}

void Outbox::offer(const std::shared_ptr<const LiveFrame>& frame) {
  const auto found = streams_.find(frame->stream);
  if (found == streams_.end() || found->second.offered >= frame->sequence) {
    return;
  }
  Watched& watched = found->second;
  if (!hasAnyOf(*frame, watched.roles)) {
    watched.offered = frame->sequence;
    return;
  }
  if (watched.offered != 0) {
    watched.dropped += static_cast<uint32_t>(frame->sequence - watched.offered - 1);
  }
  watched.dropped += watched.waiting != nullptr ? 1 : 0;
  watched.offered = frame->sequence;
  watched.waiting = frame;
}

uint32_t Outbox::droppedOf(unsigned stream) const {
  const auto found = streams_.find(stream);
  return found == streams_.end() ? 0 : found->second.dropped;
}

bool Outbox::isEmpty() const {
  return texts_.empty() && !sending_ && std::all_of(streams_.begin(), streams_.end(), [](const auto& entry) {
           return entry.second.waiting == nullptr;
         });
}

void Outbox::beginFrame() {
  const auto waits = [](const auto& entry) { return entry.second.waiting != nullptr; };
  auto next = std::find_if(streams_.upper_bound(lastStream_), streams_.end(), waits);
  if (next == streams_.end()) {
    next = std::find_if(streams_.begin(), streams_.end(), waits);
  }
  Watched& watched = next->second;
  lastStream_ = next->first;
  sending_.emplace(std::exchange(watched.waiting, nullptr), watched.roles, watched.dropped);
  sent_ = 0;
}

std::optional<Outbox::Piece> Outbox::next(uint8_t* to, size_t most) {
  if (isEmpty()) {
    return std::nullopt;
  }
  Piece piece;
  if (!sending_ && !texts_.empty()) {
    const std::string& text = texts_.front();
    piece.isText = true;
    piece.isFirst = textOffset_ == 0;
    piece.size = std::min(most, text.size() - textOffset_);
    std::copy_n(text.begin() + static_cast<std::ptrdiff_t>(textOffset_), piece.size, to);
    textOffset_ += piece.size;
    piece.isLast = textOffset_ == text.size();
    if (piece.isLast) {
      texts_.pop_front();
      textOffset_ = 0;
    }
    return piece;
  }
  if (!sending_) {
    beginFrame();
  }
  piece.isFirst = sent_ == 0;
  piece.size = sending_->read(to, most);
  sent_ += piece.size;
  piece.isLast = sent_ == sending_->size();
  if (piece.isLast) {
    sending_.reset();
  }
  return piece;
}

}  // namespace vycam

#pragma once

#include <atomic>
#include <mutex>
#include <utility>

/// A list that only grows, for readers on any thread: a walk takes no lock, sees every element whose append() returned
/// before the walk began, and never sees a half-made one. Elements stay where they are until the list dies.
template <typename Element>
class AppendOnlyList {
 public:
  AppendOnlyList() = default;
  AppendOnlyList(const AppendOnlyList&) = delete;
  AppendOnlyList& operator=(const AppendOnlyList&) = delete;
  ~AppendOnlyList() {
    for (Node* node = first_.load(std::memory_order_relaxed); node != nullptr;) {
      delete std::exchange(node, node->next.load(std::memory_order_relaxed));
    }
  }

  void append(Element element) {
    auto* const node = new Node{std::move(element), {nullptr}};
    const std::lock_guard<std::mutex> lock(appendMutex_);
    end_->store(node, std::memory_order_release);  // publishes the finished node
    end_ = &node->next;
  }

  /// The first element that `matches`, in the order of appending, or null.
  template <typename Predicate>
  const Element* find(Predicate matches) const {
    for (const Node* node = first_.load(std::memory_order_acquire); node != nullptr;
         node = node->next.load(std::memory_order_acquire)) {
      if (matches(node->element)) return &node->element;
    }
    return nullptr;
  }

 private:
  struct Node {
    Element element;
    std::atomic<Node*> next;
  };

  std::atomic<Node*> first_{nullptr};
  std::mutex appendMutex_;             ///< among appending threads only
  std::atomic<Node*>* end_ = &first_;  ///< where the next node goes
};

#include "instrumentation/Records.h"

#include <deque>
#include <mutex>

namespace tavrix::records {
namespace {

struct Records {
  std::mutex mutex;
  std::deque<std::string> texts;  // a deque, so that texts given out stay where they are while it grows
};

Records& all() {
  static auto* const instance = new Records;
  return *instance;
}

}  // namespace

void add(std::string text) {
  Records& records = all();
  const std::lock_guard<std::mutex> lock(records.mutex);
  records.texts.push_back(std::move(text));
}

void clear() {
  Records& records = all();
  const std::lock_guard<std::mutex> lock(records.mutex);
  records.texts.clear();
}

size_t count() {
  Records& records = all();
  const std::lock_guard<std::mutex> lock(records.mutex);
  return records.texts.size();
}

const char* at(size_t index) {
  Records& records = all();
  const std::lock_guard<std::mutex> lock(records.mutex);
  return index < records.texts.size() ? records.texts[index].c_str() : nullptr;
}

}  // namespace tavrix::records

// What the library shares among threads, alone. The host of this program keeps no order among them: it has neither
// locks nor atomics. So the thread sanitizer misses each lock and each order of memory accesses that the library lacks.
#include <chrono>
#include <future>
#include <set>
#include <string>

#include "d2c/HardwareD2CProcessor.h"
#include "privfilter/AppendOnlyList.h"
#include "privfilter/FilterFactory.h"
#include "processor/FrameProcessor.h"
#include "support/AllThreads.h"
#include "support/HostTest.h"

// ---- The host's functions, in place of the simulated host's ------------------------------------

struct vy_filter_t {
  std::string name;
};
struct vy_filter_config_schema_list_t {};

namespace {

thread_local int switched = 0;  ///< of items and switches
thread_local int listsDeleted = 0;
thread_local std::string arguments;                    ///< of the last configuration
thread_local std::function<void(const char*)> inHost;  ///< called by some functions, with their names

}  // namespace

vy_filter_t* vy_create_filter(const char* name, vy_error** /*error*/) {
  return new vy_filter_t{name};
}
vy_filter_t* vy_create_private_filter(const char* name, vy_error** /*error*/) {
  if (inHost) inHost(__func__);
  return new vy_filter_t{name};
}
void vy_delete_filter(vy_filter_t* filter, vy_error** /*error*/) {
  delete filter;
}
const char* vy_filter_get_name(const vy_filter_t* filter, vy_error** /*error*/) {
  if (inHost) inHost(__func__);
  return filter->name.c_str();
}
vy_filter_config_schema_list_t* vy_filter_get_config_schema_list(const vy_filter_t* /*filter*/, vy_error** /*error*/) {
  if (inHost) inHost(__func__);
  return new vy_filter_config_schema_list_t;
}
void vy_delete_filter_config_schema_list(vy_filter_config_schema_list_t* list, vy_error** /*error*/) {
  if (inHost) inHost(__func__);
  ++listsDeleted;
  delete list;
}
std::uint32_t vy_filter_config_schema_list_get_count(const vy_filter_config_schema_list_t* /*list*/,
                                                     vy_error** /*error*/) {
  if (inHost) inHost(__func__);
  return 1;
}
VYFilterConfigSchemaItem vy_filter_config_schema_list_get_item(const vy_filter_config_schema_list_t* /*list*/,
                                                               std::uint32_t /*index*/, vy_error** /*error*/) {
  if (inHost) inHost(__func__);
  return {};
}
void vy_filter_update_config(vy_filter_t* /*filter*/, std::uint8_t argc, const char** argv, vy_error** /*error*/) {
  arguments.clear();
  for (int i = 0; i < argc; ++i) arguments += std::string(argv[i]) + " ";
}
void vy_filter_enable(vy_filter_t* /*filter*/, bool /*enable*/, vy_error** /*error*/) {
  ++switched;
}
std::uint32_t vy_video_frame_get_width(const vy_frame_t* /*frame*/, vy_error** /*error*/) {
  return 8;
}
std::uint32_t vy_video_frame_get_height(const vy_frame_t* /*frame*/, vy_error** /*error*/) {
  return 4;
}
/// Gives no frame and an error, with which the hardware D2C filter ends.
vy_frame_t* vy_filter_process(vy_filter_t* /*filter*/, const vy_frame_t* /*frame*/, vy_error** error) {
  *error = vy_create_error(1, "no frame", __func__, "", 1);
  return nullptr;
}

// ---- Tests --------------------------------------------------------------------------------------

namespace {

constexpr int kRounds = 100;

bool isAppender(int thread) {
  return thread % 2 == 0;
}

/// What is appended: plain memory, which a reader must find finished.
struct Note {
  int thread;
  int number;
  std::string text;  ///< made of both
};

std::string textOf(int thread, int number) {
  return "a text that is too long to lie in the string itself, of thread " + std::to_string(thread) + ", number " +
         std::to_string(number);
}

TEST(ThreadOrderTest, ReadersOfAListSeeWholeElementsInOrder) {
  AppendOnlyList<Note> list;
  onAllThreads([&](int thread) {
    const Note* first = nullptr;
    for (int number = 0; number < kRounds && isAppender(thread); ++number) {
      list.append({thread, number, textOf(thread, number)});
      const auto isIt = [&](const Note& note) { return note.thread == thread && note.number == number; };
      ASSERT_NE(list.find(isIt), nullptr) << "what was appended is there";
    }
    for (int seen = 0; seen < kRounds * kThreads / 2; std::this_thread::yield()) {
      int next[kThreads] = {};  // number of each thread
      seen = 0;
      const Note* const none = list.find([&](const Note& note) {
        EXPECT_EQ(note.number, next[note.thread]++);
        EXPECT_EQ(note.text, textOf(note.thread, note.number));
        if (++seen > 1) return false;
        EXPECT_TRUE(first == nullptr || first == &note) << "elements stay where they are";
        first = &note;
        return false;
      });
      EXPECT_EQ(none, nullptr);
    }
  });
}

TEST(ThreadOrderTest, FiltersAreFoundWhileOthersAreMade) {
  const auto registry = FilterFactory::getInstance();
  vy_filter_t foreign = {"OpenNIDisparityTransform"};
  onAllThreads([&](int thread) {
    vy_error* error = nullptr;
    for (int round = 0; round < kRounds; ++round) {
      if (!isAppender(thread)) {  // asks every filter
        EXPECT_EQ(registry->getPrivateFilter(&foreign, &error), nullptr);
        continue;
      }
      const auto filter = registry->createFilter("DisparityTransform");
      EXPECT_EQ(registry->getPrivateFilter(filter->get_filter(&error), &error), filter);
    }
  });
}

TEST(ThreadOrderTest, ThereIsOneRegistryAtATime) {
  onAllThreads([](int /*thread*/) {
    for (int round = 0; round < kRounds; ++round) {
      const auto registry = FilterFactory::getInstance();
      EXPECT_EQ(FilterFactory::getInstance(), registry);
    }
  });
}

// Each thread does one thing only, so that a lock that is missing there is missing altogether.
TEST(ThreadOrderTest, SchemaListsComeAndGoOnAllThreads) {
  const auto registry = FilterFactory::getInstance();
  vy_error* error = nullptr;
  struct Task {
    vy_filter_t* filter;
    std::vector<vy_filter_config_schema_list_t*> lists;
  };
  std::vector<Task> tasks(kThreads);
  for (Task& task : tasks) {
    task.filter = registry->createFilter("DisparityTransform")->get_filter(&error);
    for (int i = 0; i < kRounds; ++i) {
      task.lists.push_back(registry->getPrivateFilterConfigSchemaList(task.filter, &error));
    }
  }
  onAllThreads([&](int thread) {
    Task& task = tasks[static_cast<std::size_t>(thread)];
    vy_error* slot = nullptr;
    for (std::size_t i = 0; i < kRounds; ++i) {
      if (thread % 4 == 0) task.lists.push_back(registry->getPrivateFilterConfigSchemaList(task.filter, &slot));
      if (thread % 4 == 1) {
        EXPECT_EQ(registry->getPrivateFilterConfigSchemaListCount(task.lists[i], &slot), 1U);
      }
      if (thread % 4 == 2) registry->deleteFilterConfigSchemaList(task.lists[i], &slot);
      if (thread % 4 == 3) registry->deletePrivateFilter(task.filter, &slot);
    }
    EXPECT_EQ(listsDeleted, thread % 4 < 2 ? 0 : kRounds);
  });
  for (std::size_t thread = 0; thread < kThreads; ++thread) {
    if (thread % 4 >= 2) continue;
    for (auto* const list : tasks[thread].lists) {
      EXPECT_EQ(registry->getPrivateFilterConfigSchemaListCount(list, &error), 1U) << thread;
      registry->deleteFilterConfigSchemaList(list, &error);
    }
  }
}

// A host may do in a call what it likes, which includes calling the library on another thread and waiting for it.
TEST(ThreadOrderTest, NoLockIsHeldWhileTheHostIsCalled) {
  const auto registry = FilterFactory::getInstance();
  vy_error* error = nullptr;
  std::vector<std::future<void>> calls;
  std::set<std::string> functions;
  inHost = [&](const char* function) {
    functions.insert(function);
    calls.push_back(std::async(std::launch::async, [] {
      vy_error* slot = nullptr;
      const auto sameRegistry = FilterFactory::getInstance();
      vy_filter_t* const filter = sameRegistry->createFilter("HardwareD2CProcessor")->get_filter(&slot);
      auto* const list = sameRegistry->getPrivateFilterConfigSchemaList(filter, &slot);
      sameRegistry->deleteFilterConfigSchemaList(list, &slot);
    }));
    EXPECT_EQ(calls.back().wait_for(std::chrono::seconds(10)), std::future_status::ready)
        << function << ": a lock is held";
  };
  vy_filter_t* const filter = registry->createFilter("DisparityTransform")->get_filter(&error);
  auto* const list = registry->getPrivateFilterConfigSchemaList(filter, &error);
  registry->getPrivateFilterConfigSchemaListCount(list, &error);
  registry->getPrivateFilterConfigSchemaListItem(list, 0, &error);
  registry->deleteFilterConfigSchemaList(list, &error);
  registry->getPrivateFilterConfigSchemaList(filter, &error);
  registry->deletePrivateFilter(filter, &error);
  inHost = nullptr;
  EXPECT_EQ(functions,
            (std::set<std::string>{"vy_create_private_filter", "vy_delete_filter_config_schema_list",
                                   "vy_filter_config_schema_list_get_count", "vy_filter_config_schema_list_get_item",
                                   "vy_filter_get_config_schema_list", "vy_filter_get_name"}));
}

// The thread that sets parameters knows that no frame is under way. That of the frames knows no more than what the
// filter itself tells it.
TEST(ThreadOrderTest, TheNextFrameHasTheParametersOfAnotherThread) {
  HardwareD2CProcessor filter;
  std::atomic<int> framesDone{0};
  std::atomic<int> setsDone{0};
  std::thread setter([&] {
    for (int round = 1; round <= kRounds; ++round) {
      while (framesDone.load(std::memory_order_acquire) < round) std::this_thread::yield();
      filter.set_hardware_d2c_params({}, 0, 1, static_cast<std::int16_t>(round), 0, 0, 0, true, false, nullptr);
      setsDone.store(round, std::memory_order_relaxed);
    }
  });
  const auto processFrame = [&] {
    int frame = 0;
    ErrorSlot error;
    filter.filter_process(reinterpret_cast<const vy_frame_t*>(&frame), error);
  };
  for (int round = 1; round <= kRounds; ++round) {
    processFrame();
    framesDone.store(round, std::memory_order_release);
    while (setsDone.load(std::memory_order_relaxed) < round) std::this_thread::yield();
  }
  processFrame();
  setter.join();
  EXPECT_EQ(arguments, std::to_string(8 + kRounds) + " 4 1.000000000 " + std::to_string(kRounds) + " 0 0 0 ");
}

TEST(ThreadOrderTest, OneProcessorTakesCommandsOnAllThreads) {
  FilterConfig record;
  record.kind = FilterConfig::kHostFilter;
  record.exposedItems = {FilterConfig::kSwitchItem};
  std::vector<FilterConfig> chain;
  for (const char* const name : {"First", "Second", "Third"}) {
    record.name = name;
    chain.push_back(record);
  }
  BasicFrameProcessor processor(nullptr, chain);
  const std::string schema = processor.getConfigSchema(nullptr);
  onAllThreads([&](int /*thread*/) {
    const char* values[] = {"1", "1", "1"};
    switched = 0;
    for (int round = 0; round < kRounds; ++round) {
      vy_error* error = nullptr;
      processor.updateConfig(0, values, &error);
      EXPECT_EQ(processor.getConfigSchema(nullptr), schema);
    }
    EXPECT_EQ(switched, 3 * kRounds);
  });
}

}  // namespace

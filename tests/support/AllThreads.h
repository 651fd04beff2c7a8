#pragma once

#include <atomic>
#include <thread>
#include <vector>

constexpr int kThreads = 8;

/// Runs `work(number)` on all threads, which start together.
template <typename Work>
void onAllThreads(Work work) {
  std::atomic<int> waiting{kThreads};
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) {
    threads.emplace_back([&, number] {
      for (--waiting; waiting > 0;) std::this_thread::yield();
      work(number);
    });
  }
  for (std::thread& thread : threads) thread.join();
}

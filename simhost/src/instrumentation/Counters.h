#pragma once

#include <chrono>
#include <cstdint>

#include "tavrix_sim.h"

namespace tavrix {

/// How often each function was called. Everything here is locked.
namespace callCounts {

void add(const char* function, bool canFail);
/// How often a function was called; null: any function that can fail.
uint64_t of(const char* function);
void clear();

}  // namespace callCounts

/// How often each function has refused a call, see Refusal. Everything here is locked.
namespace refusals {

void add(const char* function);
/// How often a function did; null: all of them.
uint64_t of(const char* function);
/// The name of a function that did, in alphabetical order; null past the end.
const char* functionAt(size_t index);
void clear();

}  // namespace refusals

/// Time spent in host functions: a table that all threads share, and one for each thread that wants its own. All
/// functions concern the table of the calling thread. Everything here is locked.
namespace timing {

void giveOwnTable(bool own);
void start();
void stop();
bool isOn();
void clear();
void addCall(std::chrono::nanoseconds duration);
void addFilterRun(const char* filter, std::chrono::nanoseconds duration);
void total(uint64_t* calls, uint64_t* nanoseconds);
size_t filterCount();
vysim_filter_time filterAt(size_t index);

}  // namespace timing
}  // namespace tavrix

#pragma once

#include <cstdint>
#include <optional>

#include "tavrix_sim.h"

/// Orders to let calls go wrong. Everything here is locked.
namespace tavrix::faults {

void order(const char* function, uint64_t nth, vysim_fault fault);
/// The fault of a call that is just made, if it is to have one. Counts the call for every waiting order.
std::optional<vysim_fault> onCall(const char* function, bool canFail);
void clear();
void clearDoneCount();
uint64_t doneCount();

}  // namespace tavrix::faults

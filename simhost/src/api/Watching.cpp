// Exported functions of records, counts, times and faults.
#include "core/Object.h"
#include "filters/Catalogue.h"
#include "instrumentation/Counters.h"
#include "instrumentation/Faults.h"
#include "instrumentation/Records.h"
#include "instrumentation/Watch.h"
#include "tavrix_sim.h"

using tavrix::Watch;

extern "C" {

void vysim_record_start(void) {
  tavrix::records::clear();
  Watch::switchOn(Watch::kRecord);
}

void vysim_record_stop(void) {
  Watch::switchOff(Watch::kRecord);
}

size_t vysim_record_count(void) {
  return tavrix::records::count();
}

const char* vysim_record_at(size_t index) {
  return tavrix::records::at(index);
}

size_t vysim_live_count(vysim_kind kind) {
  return kind < VYSIM_KIND_COUNT ? tavrix::Graveyard::of(static_cast<tavrix::Kind>(kind)).liveCount() : 0;
}

const char* vysim_kind_name(vysim_kind kind) {
  return kind < VYSIM_KIND_COUNT ? tavrix::kindName(static_cast<tavrix::Kind>(kind)) : "unknown";
}

uint64_t vysim_refused_count(const char* function) {
  return tavrix::refusals::of(function);
}

const char* vysim_refused_function_at(size_t index) {
  return tavrix::refusals::functionAt(index);
}

void vysim_timing_start(void) {
  tavrix::timing::start();
}

void vysim_timing_stop(void) {
  tavrix::timing::stop();
}

size_t vysim_timing_filter_count(void) {
  return tavrix::timing::filterCount();
}

vysim_filter_time vysim_timing_filter_at(size_t index) {
  return tavrix::timing::filterAt(index);
}

void vysim_timing_total(uint64_t* calls, uint64_t* nanoseconds) {
  tavrix::timing::total(calls, nanoseconds);
}

void vysim_timing_own(bool own) {
  tavrix::timing::giveOwnTable(own);
}

void vysim_ignore_thread(bool ignored) {
  Watch::ignoreThread(ignored);
}

void vysim_fail_call(const char* function, uint64_t nth, vysim_fault fault) {
  tavrix::faults::order(function, nth, fault);
}

void vysim_fail_clear(void) {
  tavrix::faults::clear();
}

uint64_t vysim_fail_count(void) {
  return tavrix::faults::doneCount();
}

uint64_t vysim_call_count(const char* function) {
  return tavrix::callCounts::of(function);
}

void vysim_count_calls(bool on) {
  on ? Watch::switchOn(Watch::kCount) : Watch::switchOff(Watch::kCount);
}

void vysim_reset(void) {
  vysim_record_stop();
  vysim_timing_stop();
  vysim_count_calls(false);
  vysim_fail_clear();
  tavrix::records::clear();
  tavrix::timing::clear();
  tavrix::callCounts::clear();
  tavrix::refusals::clear();
  tavrix::faults::clearDoneCount();
  tavrix::catalogue::dropDefinitions();
  for (int kind = 0; kind < static_cast<int>(tavrix::Kind::count); ++kind) {
    tavrix::Graveyard::of(static_cast<tavrix::Kind>(kind)).restartSerials();
  }
}

}  // extern "C"

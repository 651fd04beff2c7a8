#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

/// Something that the library does, and its floor, which makes the same host calls.
class Work {
 public:
  Work() = default;
  Work(const Work&) = delete;
  Work& operator=(const Work&) = delete;
  virtual ~Work() = default;

  virtual void library(std::size_t times) = 0;
  virtual void floor(std::size_t times) = 0;
};

struct Case {
  std::string name;
  std::function<std::unique_ptr<Work>()> make;
  bool isTimed = true;  ///< false for a case that costs more each time
};

/// All cases, in the order of the table.
std::vector<Case> allCases();

/// Ends the program unless library and floor make the same host calls in the same order.
void demandSameHostCalls(const Case& each, Work& work);

/// Has callgrind count each case, and prints a line `case<tab>side<tab>times<tab>allocations` for each of its dumps,
/// which carry `case/side` as their trigger.
void count(const std::vector<Case>& cases);

#include "api/Call.h"

#include <fmt/core.h>

#include <cstdio>
#include <cstdlib>

#include "core/Failure.h"
#include "core/HostError.h"
#include "instrumentation/Counters.h"

namespace tavrix {
namespace {

/// For programs that do not ask for the count themselves.
bool printsRefusals() {
  return std::getenv("VYSIM_PRINT_REFUSALS") != nullptr;
}

}  // namespace

void storeError(vy_error** slot, const char* function, const std::string& arguments, int exceptionType,
                const char* message) noexcept {
  if (slot != nullptr) *slot = Ref<HostError>::make(1, message, function, arguments, exceptionType).detach();
}

void storeCurrentException(vy_error** slot, const char* function, const ArgumentText& text) noexcept {
  const auto store = [&](ExceptionType type, const char* message) {
    if (slot != nullptr) storeError(slot, function, text(), static_cast<int>(type), message);
  };
  try {
    throw;
  } catch (const Refusal& refusal) {
    refusals::add(function);
    if (printsRefusals()) fmt::print(stderr, "refused: {}({}): {}\n", function, text(), refusal.what());
    store(refusal.type(), refusal.what());
  } catch (const Failure& failure) {
    store(failure.type(), failure.what());
  } catch (const std::bad_alloc&) {
    store(ExceptionType::outOfMemory, "out of memory");
  } catch (const std::exception& fault) {
    store(ExceptionType::internal, fault.what());
  } catch (...) {
    store(ExceptionType::internal, "something that is no exception of the simulated host was thrown");
  }
}

void storeInjectedError(vy_error** slot, const char* function, const ArgumentText& text) noexcept {
  if (slot != nullptr) storeError(slot, function, text(), static_cast<int>(ExceptionType::injected), "injected fault");
}

InjectedErrorAtEnd::~InjectedErrorAtEnd() {
  if (ownError == nullptr) {
    storeInjectedError(slot_, function_, text_);
  } else if (slot_ != nullptr) {
    *slot_ = ownError;
  } else {
    Ref<HostError>::adopt(ownError).reset();
  }
}

}  // namespace tavrix

// A host's library, loaded, with a member for each function that the frame processing library imports from it.
#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

#include "Trial.h"
#include "recording/Functions.h"

namespace vyhost {

/// Ends a check: the host did what leaves nothing to go on with.
class Broken : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Ends a check that lacks what it needs.
class NotTried : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A function of the host, which may be missing. Calling it makes it the trial's step.
template <typename Signature>
class HostFunction {
 public:
  HostFunction(Trial& trial, const char* name, void* address)
      : trial_(trial), name_(name), address_(reinterpret_cast<Signature*>(address)) {}

  const char* name() const { return name_; }
  bool isThere() const { return address_ != nullptr; }
  /// Throws NotTried if the function is missing.
  Signature* address() const {
    if (!isThere()) throw NotTried(fmt::format("the host has no {}", name_));
    trial_.at(name_);
    return address_;
  }
  template <typename... Arguments>
  auto operator()(Arguments... arguments) const {
    return address()(arguments...);
  }

 private:
  Trial& trial_;
  const char* name_;
  Signature* address_;
};

/// What an error said, read with the functions of the host that it has.
struct SeenError {
  bool isSet = false;
  std::string text;
};

/// The result of a call and the error that it left.
template <typename Result>
struct Answer {
  Result result;
  SeenError error;
};

/// The library in a check's own process. It stays loaded until that process ends.
class HostUnderTest {
 private:
  // Before the functions, which are looked up with it.
  void* const library_;
  const std::string path_;

 public:
  Trial& trial;

  /// Throws Broken with the loader's reason.
  HostUnderTest(Trial& trialToTell, const std::string& path);

#define VY_MEMBER(result, name, parameters, arguments, names, effect) \
  const HostFunction<decltype(::name)> name{trial, #name, find(#name)};
  VY_HOST_FUNCTIONS(VY_MEMBER)
  VY_BARE_HOST_FUNCTIONS(VY_MEMBER)
#undef VY_MEMBER
#define VY_MEMBER(name)                       \
  const HostFunction<decltype(::name)> name { \
    trial, #name, find(#name)                 \
  }
  VY_MEMBER(vy_error_get_status);
  VY_MEMBER(vy_error_get_message);
  VY_MEMBER(vy_error_get_function);
  VY_MEMBER(vy_error_get_args);
  VY_MEMBER(vy_error_get_exception_type);
#undef VY_MEMBER

  /// Null for a name that the library does not have.
  void* find(const char* name) const;
  /// Whether the library has a function, not only one of those that it was linked against.
  bool hasItself(const char* name) const;

  /// Calls with a slot of its own, whose error is read and deleted.
  template <typename Signature, typename... Arguments>
  auto ask(const HostFunction<Signature>& function, Arguments... arguments) const {
    vy_error* slot = nullptr;
    if constexpr (std::is_void_v<decltype(function(arguments..., &slot))>) {
      function(arguments..., &slot);
      return Answer<std::nullptr_t>{nullptr, take(slot)};
    } else {
      auto result = function(arguments..., &slot);
      return Answer<decltype(result)>{result, take(slot)};
    }
  }

  /// A call that has to succeed: throws Broken when it leaves an error.
  template <typename Signature, typename... Arguments>
  auto must(const HostFunction<Signature>& function, Arguments... arguments) const {
    const auto answer = ask(function, arguments...);
    if (answer.error.isSet) throw Broken(fmt::format("{} failed: {}", function.name(), answer.error.text));
    return answer.result;
  }

  /// Reads an error and deletes it.
  SeenError take(vy_error* error) const;
};

/// A text of the host's, copied; nothing for null. Throws Broken for an address that cannot be read or has no end.
std::optional<std::string> readText(const char* text, const std::string& what);

}  // namespace vyhost

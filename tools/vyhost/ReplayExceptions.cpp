#include "ReplayExceptions.h"

#include <cxxabi.h>

#include <exception>
#include <new>
#include <typeinfo>
#include <utility>

namespace vyhost {
namespace {

/// An exception of the host's whose type is unknown here.
struct HostException : std::exception {
  explicit HostException(std::string type) : typeName(std::move(type)) {}
  const char* what() const noexcept override { return "an exception of the recorded host"; }
  std::string typeName;
};

}  // namespace

[[noreturn]] void throwLike(const std::string& type) {
  if (type == typeid(std::bad_alloc).name()) throw std::bad_alloc();
  throw HostException(type);
}

std::string currentException() {
  try {
    throw;
  } catch (const HostException& exception) {
    return exception.typeName;
  } catch (...) {
    const std::type_info* const type = abi::__cxa_current_exception_type();
    return type != nullptr ? type->name() : "unknown";
  }
}

}  // namespace vyhost

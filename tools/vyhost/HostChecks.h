// What the frame processing library takes for granted of a host's library, as tables of checks.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "CheckReport.h"
#include "HostUnderTest.h"
#include "KnownFilters.h"

namespace vyhost {

/// A check of the host as a whole.
struct HostCheck {
  std::string_view name;
  std::string_view tried;  ///< the report's text when all is well
  Verdict ifDead;          ///< what it is when the host crashes or hangs
  void (*run)(const HostUnderTest& host);
};

/// A check that is made once for each filter that it applies to.
struct FilterCheck {
  std::string_view name;
  std::string_view tried;
  Verdict ifDead;
  bool (*applies)(const KnownFilter& filter);
  void (*run)(const HostUnderTest& host, const KnownFilter& filter);
};

/// A call with a handle or a text that is none: it must end in an error.
struct BadCall {
  std::string_view call;
  Verdict ifDead;  ///< fail where the library can come to make the call
  SeenError (*run)(const HostUnderTest& host);
};

extern const std::vector<HostCheck> kErrorChecks;
extern const std::vector<FilterCheck> kFilterChecks;
extern const std::vector<HostCheck> kUseChecks;
extern const std::vector<BadCall> kBadCalls;

/// A new filter of the catalogue. Throws NotTried where the host does not make it, which a check of its own tells.
vy_filter_t* makeFilter(const HostUnderTest& host, const KnownFilter& known);
vy_filter_t* makeFilter(const HostUnderTest& host, std::string_view name);
/// Gives a filter its initial arguments. Throws Broken if it does not take them.
void configure(const HostUnderTest& host, vy_filter_t* filter, std::vector<const char*> arguments);

/// Loads a library in processes of its own and makes all checks, or those of one name. Throws Failure if the library
/// cannot be loaded.
CheckReport checkHost(const std::string& path, std::chrono::milliseconds limit, const std::string& only);

}  // namespace vyhost

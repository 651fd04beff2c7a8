#pragma once

#include <string>
#include <vector>

#include "support/HostTest.h"

/// The function and exception type of an error; empty for none.
struct ErrorOrigin {
  std::string function;
  int type = 0;

  bool isSet() const { return !function.empty(); }
};

/// A filter of a chain as the host sees it.
struct ModelLink {
  std::string label;  ///< of the host filter in records: "FrameMirror#3"
  bool enabled;
  bool isConfigured = false;    ///< when it is made
  std::vector<int> items = {};  ///< that it publishes; 255 is its switch
  bool keepsList = false;       ///< a list that it gave out with an error, which was not taken

  std::string hostName() const { return label.substr(0, label.find('#')); }
  bool isResize() const { return hostName() == "DepthResize"; }
  /// One of the library's own filters; its handle is that of the host filter inside.
  bool isOwn() const { return isResize() || hostName() == "OpenNIDisparityTransform"; }
  /// Under which name the chain knows it.
  std::string name() const {
    if (!isOwn()) return hostName();
    return isResize() ? "HardwareD2CProcessor" : "DisparityTransform";
  }
};

/// A chain as a call finds it, and the host filters inside all of the registry's filters, oldest first.
struct ModelChain {
  std::vector<ModelLink> links;
  std::vector<std::string> registry;
  std::size_t filtersMade = 0;  ///< by the host
  bool resizeIsConfigured = false;
};

/// What the models of the library's rules have in common: host calls, of which the nth goes wrong.
class HostModel {
 public:
  std::string calls;  ///< one a line, in the form of canonicalCalls()
  Refusals refused;   ///< calls on objects that are dead or null

 protected:
  /// What a call gave.
  struct Outcome {
    bool done;
    ErrorOrigin error;
    explicit operator bool() const { return done && !error.isSet(); }
  };

  HostModel(const ModelChain& chain, std::uint64_t failing, vysim_fault fault)
      : registry_(chain.registry), failing_(failing), fault_(fault) {}

  /// A host call. `refusal` is the exception type with which the host refuses its arguments, 0 for good ones.
  Outcome call(const std::string& function, const std::string& object, int refusal = 0);
  /// One whose error lands in a slot.
  Outcome call(const std::string& function, const std::string& object, ErrorOrigin& slot, int refusal = 0);
  /// The registry's search for the filter behind a handle.
  bool find(const ModelLink& link, ErrorOrigin& slot);

  std::vector<std::string> registry_;

 private:
  const std::uint64_t failing_;
  const vysim_fault fault_;
  std::uint64_t callCount_ = 0;
};

/// Exception types of the simulated host.
constexpr int kDeadObject = 3;
constexpr int kInvalidValue = 4;
constexpr int kInjected = 8;

/// Recorded calls in the form in which they are compared: frames are numbered as they appear; calls on error objects
/// are left out, and so are all arguments but the first, the frame of a filter's work and the index of a list's item.
std::string canonicalCalls(const std::vector<std::string>& records);

#pragma once

#include <string>
#include <vector>

#include "support/HostTest.h"

/// A filter of a chain as the host sees it.
struct ModelLink {
  std::string label;  ///< of the host filter in records: "FrameMirror#3"
  bool enabled;

  std::string hostName() const { return label.substr(0, label.find('#')); }
  bool isResize() const { return hostName() == "DepthResize"; }
  /// One of the library's own filters; its handle is that of the host filter inside.
  bool isOwn() const { return isResize() || hostName() == "OpenNIDisparityTransform"; }
};

/// The chain that a frame goes through, and the host filters inside all of the registry's filters, oldest first.
struct ModelChain {
  std::vector<ModelLink> links;
  std::vector<std::string> registry;
  bool resizeIsConfigured = false;
};

/// The function and exception type of an error; empty for none.
struct ErrorOrigin {
  std::string function;
  int type = 0;

  bool isSet() const { return !function.empty(); }
};

/// The rules for one frame, written a second time: which host calls are made, which frame and error come out, and how
/// many references remain, when the nth host call fails. Every filter makes a new frame of any input.
class FrameModel {
 public:
  static constexpr int kNone = -1;  ///< no frame
  static constexpr int kCopy = 0;   ///< the copy of the input; filters count from 1

  FrameModel(const ModelChain& chain, const Frame& input, std::uint64_t failing, vysim_fault fault);

  std::string calls;  ///< one a line, in the form of canonicalCalls()
  int result = kNone;
  ErrorOrigin error;
  int inputReferences = 0;  ///< gained on the input; negative for lost
  int resultReferences = 0;
  Refusals refused;       ///< calls on objects that are dead or null
  long framesLeft = 0;    ///< that nobody will release
  long profilesLeft = 0;  ///< whose handle nobody will give back

 private:
  struct Outcome {
    bool done;
    ErrorOrigin error;
    explicit operator bool() const { return done && !error.isSet(); }
  };
  struct Product {
    int maker;
    int references;
  };

  Outcome call(const std::string& function, const std::string& object, int refusal = 0);
  Outcome call(const std::string& function, const std::string& object, ErrorOrigin& slot, int refusal = 0);
  std::string frameName(int frame) const { return frame == kNone ? "null" : "frame#" + std::to_string(frame); }
  int makeFrame(int maker);

  bool find(const ModelLink& link, ErrorOrigin& slot);
  bool isEnabled(const ModelLink& link, ErrorOrigin& slot);
  bool admitsInput(const ModelLink& link, ErrorOrigin& slot);
  int process(const ModelLink& link, int maker, int frame, ErrorOrigin& slot);
  int processByOwn(const ModelLink& link, int maker, int frame, ErrorOrigin& slot);
  void stamp(int frame, ErrorOrigin& slot);
  void release(int frame, ErrorOrigin& slot);
  void run();

  const ModelChain& chain_;
  const int format_, pixelType_;
  const std::uint64_t failing_;
  const vysim_fault fault_;
  std::uint64_t callCount_ = 0;
  std::vector<Product> frames_;  ///< the input is the first
};

/// Recorded calls in the form in which they are compared: frames are numbered as they appear, and arguments that are no
/// objects, and calls on error objects, are left out.
std::string canonicalCalls(const std::vector<std::string>& records);

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
  /// The library's own filters go by the handle of the host filter inside them.
  bool isOwn() const { return isResize() || hostName() == "OpenNIDisparityTransform"; }
};

/// What a frame finds: the chain of its processor, and all host filters inside the registry's filters, oldest first.
struct ModelChain {
  std::vector<ModelLink> links;
  std::vector<std::string> registry;
  bool resizeIsConfigured = false;
};

/// Where an error object comes from, told by the function and the host's exception type; empty for none.
struct ErrorOrigin {
  std::string function;
  int type = 0;

  bool isSet() const { return !function.empty(); }
};

/// The rules for one frame, written a second time and without memory to manage: which host calls are made, which frame
/// and which error come out, and who holds references in the end, when the nth call of the host goes wrong. Every
/// filter is taken for one that makes a new frame of whatever it is given.
class FrameModel {
 public:
  static constexpr int kNone = -1;  ///< no frame
  static constexpr int kCopy = 0;   ///< the copy of the input; else the number of the filter in the chain, from 1

  FrameModel(const ModelChain& chain, const Frame& input, std::uint64_t failing, vysim_fault fault);

  std::string calls;  ///< one a line, in the form of canonicalCalls()
  int result = kNone;
  ErrorOrigin error;
  int inputReferences = 0;  ///< more or (negative) fewer on the input than before
  int resultReferences = 0;
  long framesLeft = 0;    ///< that nobody will release
  long profilesLeft = 0;  ///< the same

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

/// Recorded calls in the form in which they are compared: frames by order of appearance, other arguments than objects
/// and the handling of error objects left out.
std::string canonicalCalls(const std::vector<std::string>& records);

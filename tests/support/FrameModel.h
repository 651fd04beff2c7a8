#pragma once

#include <string>
#include <vector>

#include "support/HostModel.h"

/// The rules for one frame, written a second time: which host calls are made, which frame and error come out, and how
/// many references remain, when the nth host call fails. Every filter makes a new frame of any input.
class FrameModel : public HostModel {
 public:
  static constexpr int kNone = -1;  ///< no frame
  static constexpr int kCopy = 0;   ///< the copy of the input; filters count from 1

  FrameModel(const ModelChain& chain, const Frame& input, std::uint64_t failing, vysim_fault fault);

  int result = kNone;
  ErrorOrigin error;
  int inputReferences = 0;  ///< gained on the input; negative for lost
  int resultReferences = 0;
  long framesLeft = 0;    ///< that nobody will release
  long profilesLeft = 0;  ///< whose handle nobody will give back

 private:
  struct Product {
    int maker;
    int references;
  };

  std::string frameName(int frame) const { return frame == kNone ? "null" : "frame#" + std::to_string(frame); }
  int makeFrame(int maker);

  bool isEnabled(const ModelLink& link, ErrorOrigin& slot);
  bool admitsInput(const ModelLink& link, ErrorOrigin& slot);
  int process(const ModelLink& link, int maker, int frame, ErrorOrigin& slot);
  int processByOwn(const ModelLink& link, int maker, int frame, ErrorOrigin& slot);
  void stamp(int frame, ErrorOrigin& slot);
  void release(int frame, ErrorOrigin& slot);
  void run();

  const ModelChain& chain_;
  const int format_, pixelType_;
  std::vector<Product> frames_;  ///< the input is the first
};

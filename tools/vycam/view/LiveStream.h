// A stream that runs: a thread takes the camera's frames, sends them through the chain and keeps the newest.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Host.h"
#include "Processor.h"
#include "Timing.h"
#include "view/FrameMessage.h"
#include "view/Plane.h"
#include "view/ServerMessage.h"
#include "view/Snapshot.h"
#include "view/StreamState.h"

namespace vycam {

/// What a stream tells while it runs, each call on the stream's thread.
struct StreamListener {
  std::function<void()> onFrame;  ///< newest() has changed
  std::function<void(const StreamState&)> onState;
  std::function<void(const StreamStats&)> onStats;
};

class LiveStream {
 public:
  /// Both are called on the stream's thread. Without a refusal the request is done.
  using Answer = std::function<void(const std::optional<std::string>& refusal)>;
  using SnapshotAnswer = std::function<void(Snapshot)>;

  /// `camera` must outlive the stream.
  LiveStream(StreamFacts facts, vysim_camera* camera, Processor processor);
  LiveStream(const LiveStream&) = delete;
  LiveStream& operator=(const LiveStream&) = delete;
  ~LiveStream() { stop(); }

  const StreamFacts& facts() const { return facts_; }
  StreamState state() const;
  /// Null before the first frame.
  std::shared_ptr<const LiveFrame> newest() const;

  /// `nanosecondsPerCall` is what the host's clock costs, see Timing.
  void start(StreamListener listener, double nanosecondsPerCall);
  /// Has the thread end soon. Requests that wait stay without an answer.
  void end();
  /// Ends the thread. It cannot be started again.
  void stop();

  /// The planes that somebody watches; none: nobody watches, and the stream rests.
  void watch(std::optional<Roles> roles);
  void pause(bool isPaused);
  /// Takes one frame although the stream is paused.
  void step();

  void set(std::vector<std::string> settings, Answer answer);
  void reset(Answer answer);
  void align(bool isOn, std::string parameters, Answer answer);
  /// `name` is "picture.png", "numbers.png" or "cloud.ply".
  void takeSnapshot(std::string name, SnapshotAnswer answer);

 private:
  using Clock = std::chrono::steady_clock;

  /// What the thread has to do next.
  struct Work {
    bool isEnd = false;
    bool takesFrame = false;
    std::vector<std::function<void()>> requests;
  };

  void ask(std::function<void()> request);
  Work awaitWork();
  bool isEnding() const;
  void run();
  bool isDepth() const { return facts_.stream.sensor == VY_SENSOR_DEPTH; }

  // All that follows runs on the stream's thread.
  void takeFrame();
  /// Sends the newest raw frame through the chain, and shows what comes out.
  void processFrame();
  void show();
  /// Sets what `wish` makes of the state, or nothing.
  void change(const std::function<StreamState()>& wish, const Answer& answer);
  void send(const StreamState& state);
  void tellStats();
  std::optional<StreamError> errorOfOutput();
  const vy_frame_t* truth();

  const StreamFacts facts_;
  vysim_camera* const camera_;
  Processor processor_;
  StreamListener listener_;
  double nanosecondsPerCall_ = 0;
  std::thread thread_;

  mutable std::mutex mutex_;  // for what follows
  std::condition_variable wake_;
  bool isEnding_ = false;
  bool isPaused_ = false;
  unsigned steps_ = 0;
  std::optional<Roles> watched_;
  std::vector<std::function<void()>> requests_;
  StreamState state_;
  std::shared_ptr<const LiveFrame> newest_;

  // The stream's thread alone uses what follows.
  std::shared_ptr<vy_frame_t> raw_, output_, truth_;
  uint64_t sequence_ = 0;
  std::optional<uint32_t> lastNumber_;  // of the frame before; none after a rest
  StreamStats stats_;
  std::optional<Timing> timing_;
  double cameraMilliseconds_ = 0;  // since the last stats
  unsigned cameraFrames_ = 0;
  std::deque<Clock::time_point> shownAt_;
  Clock::time_point lastStats_;
};

}  // namespace vycam

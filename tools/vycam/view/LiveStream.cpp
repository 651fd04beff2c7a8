#include "view/LiveStream.h"

#include <time.h>

#include <exception>
#include <utility>

#include "Accuracy.h"
#include "Failure.h"
#include "FrameView.h"
#include "VirtualCamera.h"

namespace vycam {
namespace {

constexpr std::chrono::milliseconds kStatsInterval{500};
constexpr std::chrono::seconds kRateInterval{1};
constexpr std::chrono::hours kLongRest{1};
constexpr unsigned kMostSteps = 100;

/// While it lives, the calls of this thread are those of a chain: timed, and reached by orders to fail.
class ChainCalls {
 public:
  ChainCalls() { vysim_ignore_thread(false); }
  ChainCalls(const ChainCalls&) = delete;
  ChainCalls& operator=(const ChainCalls&) = delete;
  ~ChainCalls() { vysim_ignore_thread(true); }
};

double processorMilliseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

}  // namespace

LiveStream::LiveStream(StreamFacts facts, vysim_camera* camera, Processor processor)
    : facts_(std::move(facts)), camera_(camera), processor_(std::move(processor)), state_(startOf(facts_)) {}

StreamState LiveStream::state() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return state_;
}

std::shared_ptr<const LiveFrame> LiveStream::newest() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return newest_;
}

void LiveStream::start(StreamListener listener, double nanosecondsPerCall) {
  listener_ = std::move(listener);
  nanosecondsPerCall_ = nanosecondsPerCall;
  thread_ = std::thread([this] { run(); });
}

void LiveStream::end() {
  const std::lock_guard<std::mutex> lock(mutex_);
  isEnding_ = true;
  wake_.notify_one();
}

void LiveStream::stop() {
  end();
  if (thread_.joinable()) {
    thread_.join();
  }
}

void LiveStream::watch(std::optional<Roles> roles) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (watched_ == roles) {
    return;
  }
  watched_ = roles;
  if (isPaused_ && roles) {
    requests_.emplace_back([] {});  // whatever is asked of a stream that rests makes it show its frame again
  }
  wake_.notify_one();
}

void LiveStream::pause(bool isPaused) {
  const std::lock_guard<std::mutex> lock(mutex_);
  isPaused_ = isPaused;
  steps_ = 0;
  if (isPaused && watched_) {
    requests_.emplace_back([] {});  // as in watch(), for a stream that has not shown anything yet
  }
  wake_.notify_one();
}

void LiveStream::step() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (isPaused_ && steps_ < kMostSteps) {
    ++steps_;
  }
  wake_.notify_one();
}

void LiveStream::ask(std::function<void()> request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  requests_.push_back(std::move(request));
  wake_.notify_one();
}

void LiveStream::set(std::vector<std::string> settings, Answer answer) {
  ask([this, settings = std::move(settings), answer = std::move(answer)] {
    change([&] { return withSettings(facts_, state(), settings); }, answer);
  });
}

void LiveStream::reset(Answer answer) {
  ask([this, answer = std::move(answer)] { change([this] { return startOf(facts_); }, answer); });
}

void LiveStream::align(bool isOn, std::string parameters, Answer answer) {
  ask([this, isOn, parameters = std::move(parameters), answer = std::move(answer)] {
    change([&] { return withAlignment(facts_, state(), isOn, parameters); }, answer);
  });
}

void LiveStream::takeSnapshot(std::string name, SnapshotAnswer answer) {
  ask([this, name = std::move(name), answer = std::move(answer)] {
    Snapshot snapshot;
    try {
      if (output_ == nullptr) {
        takeFrame();
      }
      snapshot.bytes = makeSnapshot(name, facts_, raw_, output_, isDepth() ? greyPixels(truth()) : GreyImage());
    } catch (const std::exception& failure) {
      snapshot.failure = failure.what();
    }
    answer(std::move(snapshot));
  });
}

bool LiveStream::isEnding() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return isEnding_;
}

LiveStream::Work LiveStream::awaitWork() {
  std::unique_lock<std::mutex> lock(mutex_);
  const auto runs = [this] { return !isPaused_ && watched_; };
  const auto hasWork = [&] { return isEnding_ || steps_ > 0 || !requests_.empty() || runs(); };
  if (!hasWork()) {
    lastNumber_.reset();  // what the camera takes during a rest is not lost
    // Also a rest without an end has one, as wait() is of a newer C++ library than dpkg-shlibdeps notes.
    wake_.wait_until(lock, watched_ ? lastStats_ + kStatsInterval : Clock::now() + kLongRest, hasWork);
  }
  Work work;
  work.isEnd = isEnding_;
  work.takesFrame = steps_ > 0 || runs();
  steps_ -= steps_ > 0 ? 1 : 0;
  work.requests.swap(requests_);
  return work;
}

void LiveStream::run() {
  vysim_timing_own(true);
  vysim_ignore_thread(true);
  timing_.emplace(nanosecondsPerCall_);
  for (;;) {
    const Work work = awaitWork();
    if (work.isEnd) {
      timing_.reset();
      return;
    }
    for (const std::function<void()>& request : work.requests) {
      request();
      if (isEnding()) {
        break;
      }
    }
    try {
      if (work.takesFrame || (raw_ == nullptr && !work.requests.empty())) {
        takeFrame();
      } else if (!work.requests.empty()) {
        processFrame();
      }
    } catch (const std::exception& failure) {
      ++stats_.failed;
      stats_.lastError = failure.what();
    }
    const bool isAwaited = !work.takesFrame && !work.requests.empty();  // what was asked for shows at once
    if (isAwaited || Clock::now() - lastStats_ >= kStatsInterval) {
      tellStats();
    }
  }
}

void LiveStream::takeFrame() {
  const double begin = processorMilliseconds();
  Frame frame = nextFrame(camera_, facts_.stream.sensor);
  cameraMilliseconds_ += processorMilliseconds() - begin;
  ++cameraFrames_;
  raw_ = std::move(frame);
  const uint32_t number = call("read a frame's number", vysim_frame_get_number, raw_.get());
  stats_.lost += lastNumber_ ? number - *lastNumber_ - 1 : 0;
  lastNumber_ = number;
  processFrame();
}

void LiveStream::processFrame() {
  timing_->beginFrame();
  Frame output;
  {
    const ChainCalls calls;
    output = processor_.process(raw_.get());
  }
  timing_->endFrame();
  output_ = std::move(output);
  truth_ = nullptr;
  show();
}

void LiveStream::show() {
  Roles roles = 0;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    roles = watched_.value_or(0);
  }
  auto frame = std::make_shared<LiveFrame>();
  frame->stream = static_cast<uint16_t>(facts_.id);
  frame->number = call("read a frame's number", vysim_frame_get_number, raw_.get());
  frame->microseconds = call("read a frame's time", vysim_frame_get_time, raw_.get());
  frame->sequence = ++sequence_;
  stats_.frame = frame->number;
  if ((roles & bitOf(Role::before)) != 0) {
    frame->planes.push_back(planeOf(Role::before, plainFrame(raw_, facts_.chain)));
  }
  if ((roles & bitOf(Role::after)) != 0) {
    frame->planes.push_back(planeOf(Role::after, plainFrame(output_, facts_.chain)));
  }
  if ((roles & bitOf(Role::truth)) != 0 && isDepth()) {
    truth();
    frame->planes.push_back(planeOf(Role::truth, truth_));
    frame->planes.back().intrinsic = intrinsicOf(output_.get());
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    newest_ = std::move(frame);
  }
  shownAt_.push_back(Clock::now());
  listener_.onFrame();
}

void LiveStream::change(const std::function<StreamState()>& wish, const Answer& answer) {
  const StreamState old = state();
  StreamState wanted;
  try {
    wanted = wish();
  } catch (const Failure& refusal) {
    answer(refusal.what());
    return;
  }
  try {
    send(wanted);
  } catch (const Failure& refusal) {
    // The library sets value after value and stops at the first that the host refuses, so the old ones are sent again.
    try {
      send(old);
    } catch (const Failure&) {
      // An ordered fault may strike here as well; the refusal below is what the client has to know.
    }
    answer(refusal.what());
    return;
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    state_ = wanted;
  }
  listener_.onState(wanted);
  answer(std::nullopt);
}

void LiveStream::send(const StreamState& state) {
  std::vector<std::string> settings;
  for (size_t i = 0; i < facts_.schema.size(); ++i) {
    settings.push_back(facts_.schema[i].key + "=" + state.values[i]);
  }
  std::optional<VYCameraIntrinsic> aligned;
  if (state.alignment.isOn) {
    aligned = scaledIntrinsic(facts_.intrinsic, facts_.stream.width, facts_.stream.height, state.alignment.parameters);
  }
  const ChainCalls calls;
  if (aligned) {
    processor_.setHardwareD2C(*aligned, state.alignment.parameters);
  }
  processor_.apply(settings);
}

const vy_frame_t* LiveStream::truth() {
  if (truth_ == nullptr) {
    const FrameFacts facts = factsOf(output_.get());
    Frame frame(call("make a frame", vysim_create_frame, facts.width, facts.height, VY_FORMAT_Y16, VY_PIXEL_DEPTH));
    uint8_t* const pixels = call("read a frame", vysim_frame_get_data, frame.get());
    call("ask the camera for the true depth", vysim_camera_get_truth, camera_, output_.get(),
         reinterpret_cast<uint16_t*>(pixels));
    truth_ = std::move(frame);
  }
  return truth_.get();
}

std::optional<StreamError> LiveStream::errorOfOutput() {
  if (!isDepth() || output_ == nullptr) {
    return std::nullopt;
  }
  const FrameFacts facts = factsOf(output_.get());
  if (facts.pixelType != VY_PIXEL_DEPTH || facts.format != VY_FORMAT_Y16) {
    return std::nullopt;
  }
  Accuracy accuracy;
  const GreyImage measured = greyPixels(output_.get());
  accuracy.add(measured.pixels, greyPixels(truth()).pixels);
  return StreamError{accuracy.medianError(), accuracy.percentileError(95), accuracy.validShare(),
                     accuracy.validShareOfScene(), measured.pixels.size()};
}

void LiveStream::tellStats() {
  lastStats_ = Clock::now();
  const TimeReport report = timing_->report();
  if (report.frames > 0) {  // else those of the frame that still shows stay
    stats_.times.chain = report.total;
    stats_.times.library = report.library;
    stats_.times.filters.clear();
    for (const FilterTime& filter : report.byFilter) {
      stats_.times.filters[filter.name] = filter.milliseconds;
    }
    timing_.emplace(nanosecondsPerCall_);
    try {
      stats_.error = errorOfOutput();
    } catch (const std::exception&) {
      stats_.error.reset();  // there may be no memory for the truth of a large output
    }
  }
  if (cameraFrames_ > 0) {
    stats_.times.camera = cameraMilliseconds_ / cameraFrames_;
    cameraMilliseconds_ = 0;
    cameraFrames_ = 0;
  }
  while (!shownAt_.empty() && lastStats_ - shownAt_.front() > kRateInterval) {
    shownAt_.pop_front();
  }
  stats_.rate = 0;
  if (shownAt_.size() > 1) {
    const std::chrono::duration<double> span = shownAt_.back() - shownAt_.front();
    stats_.rate = static_cast<double>(shownAt_.size() - 1) / span.count();
  }
  listener_.onStats(stats_);
}

}  // namespace vycam

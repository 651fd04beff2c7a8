#include "view/LiveStream.h"

#include <fmt/format.h>
#include <time.h>

#include <algorithm>
#include <utility>

#include "Accuracy.h"
#include "FrameView.h"
#include "Picture.h"
#include "PointCloud.h"
#include "Stream.h"

namespace vycam {
namespace {

constexpr std::chrono::milliseconds kStatsInterval{500};
constexpr std::chrono::seconds kRateInterval{1};
constexpr std::chrono::hours kLongRest{1};

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

/// Shares a frame that has plain pixels, or unpacks it.
std::shared_ptr<vy_frame_t> plainFrame(const std::shared_ptr<vy_frame_t>& frame, const Chain& chain) {
  return isPlain(factsOf(frame.get()).format) ? frame : decodeForView(frame.get(), chain);
}

PixelKind kindOf(const FrameFacts& facts) {
  switch (facts.pixelType) {
    case VY_PIXEL_DEPTH:
      return PixelKind::depth;
    case VY_PIXEL_DISPARITY:
      return PixelKind::disparity;
    case VY_PIXEL_INTENSITY:
      return facts.format == VY_FORMAT_Y8 ? PixelKind::smallBrightness : PixelKind::brightness;
    case VY_PIXEL_COLOR:
      return PixelKind::colours;
  }
  throw Failure("a frame has unknown pixels");
}

size_t bytesPerPixel(PixelKind kind) {
  return kind == PixelKind::colours ? 3 : kind == PixelKind::smallBrightness ? 1 : 2;
}

VYCameraIntrinsic intrinsicOf(const vy_frame_t* frame) {
  const StreamProfile profile(call("read a frame's profile", vy_frame_get_stream_profile, frame));
  return call("read a frame's intrinsics", vy_video_stream_profile_get_intrinsic, profile.get());
}

Plane planeOf(Role role, std::shared_ptr<const vy_frame_t> frame) {
  const FrameFacts facts = factsOf(frame.get());
  Plane plane;
  plane.role = role;
  plane.kind = kindOf(facts);
  plane.width = facts.width;
  plane.height = facts.height;
  plane.intrinsic = intrinsicOf(frame.get());
  plane.pixels = call("read a frame", vysim_frame_get_data, frame.get());
  plane.size = size_t{facts.width} * facts.height * bytesPerPixel(plane.kind);
  if (call("read a frame", vysim_frame_get_size, frame.get()) < plane.size) {
    throw Failure(fmt::format("a frame ({}) has fewer bytes than its pixels need", facts.describe()));
  }
  plane.frame = std::move(frame);
  return plane;
}

}  // namespace

LiveStream::LiveStream(StreamFacts facts, vysim_camera* camera, Processor processor)
    : facts_(std::move(facts)), camera_(camera), processor_(std::move(processor)) {
  for (const SchemaRow& row : facts_.schema) {
    state_.values.push_back(row.value);
  }
}

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

void LiveStream::stop() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    isEnding_ = true;
  }
  wake_.notify_one();
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
  wake_.notify_one();
}

void LiveStream::step() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (isPaused_) {
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
    StreamState wanted = state();
    try {
      const std::vector<std::string> values = valuesFor(facts_.schema, settings);
      for (const std::string& setting : settings) {
        const SchemaRow* const row = findRow(facts_.schema, setting.substr(0, setting.find('=')));
        const auto index = static_cast<size_t>(row - facts_.schema.data());
        wanted.values[index] = values[index];
        if (row->key == kAlignmentSwitch) {
          wanted.alignment.isOn = values[index] == "1";
        }
      }
    } catch (const Failure& failure) {
      answer(failure.what());
      return;
    }
    change(wanted, answer);
  });
}

void LiveStream::reset(Answer answer) {
  ask([this, answer = std::move(answer)] {
    StreamState wanted;
    for (const SchemaRow& row : facts_.schema) {
      wanted.values.push_back(row.value);
    }
    change(wanted, answer);
  });
}

void LiveStream::align(bool isOn, std::string parameters, Answer answer) {
  ask([this, isOn, parameters = std::move(parameters), answer = std::move(answer)] {
    if (!facts_.canAlign) {
      answer("the chain of this stream has no HardwareD2CProcessor");
      return;
    }
    StreamState wanted = state();
    try {
      wanted.alignment = {isOn, parseHardwareD2C(parameters)};
    } catch (const Failure& failure) {
      answer(failure.what());
      return;
    }
    const SchemaRow* const row = findRow(facts_.schema, kAlignmentSwitch);
    wanted.values[static_cast<size_t>(row - facts_.schema.data())] = isOn ? "1" : "0";
    change(wanted, answer);
  });
}

void LiveStream::takeSnapshot(std::string name, SnapshotAnswer answer) {
  ask([this, name = std::move(name), answer = std::move(answer)] {
    Snapshot snapshot;
    try {
      snapshot.bytes = makeFile(name);
    } catch (const std::exception& failure) {
      snapshot.failure = failure.what();
    }
    answer(std::move(snapshot));
  });
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
  Frame frame(call("get a frame from the camera", vysim_camera_next_frame, camera_, facts_.stream.sensor));
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
  if ((roles & bitOf(Role::truth)) != 0 && facts_.stream.sensor == VY_SENSOR_DEPTH) {
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

// The library sets value after value and stops at the first that the host refuses, so the old ones are sent again.
void LiveStream::change(const StreamState& wanted, const Answer& answer) {
  const StreamState old = state();
  try {
    send(wanted);
  } catch (const Failure& refusal) {
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
  if (facts_.stream.sensor != VY_SENSOR_DEPTH || output_ == nullptr) {
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
    stats_.error = errorOfOutput();
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

std::string LiveStream::paintedOutput() {
  StreamResult result;
  result.rawFacts = factsOf(raw_.get());
  result.raw = decodeForView(raw_.get(), facts_.chain);
  result.output = decodeForView(output_.get(), facts_.chain);
  result.outputFacts = factsOf(result.output.get());
  if (facts_.stream.sensor == VY_SENSOR_DEPTH) {
    result.truth = greyPixels(truth());
  }
  return paint(result, *facts_.family).output->png();
}

std::string LiveStream::makeFile(const std::string& name) {
  if (output_ == nullptr) {
    takeFrame();
  }
  if (output_ == nullptr) {
    throw Failure("there is no frame yet");
  }
  if (name == "picture.png") {
    return paintedOutput();
  }
  const std::shared_ptr<vy_frame_t> plain = plainFrame(output_, facts_.chain);
  const FrameFacts facts = factsOf(plain.get());
  if (name == "numbers.png") {
    return greyPng(greyPixels(plain.get()));
  }
  if (facts.pixelType != VY_PIXEL_DEPTH) {
    throw Failure(fmt::format("points need a depth image in millimetres; this one is {}", facts.describe()));
  }
  return plyOf(pointsOf(greyPixels(plain.get()), intrinsicOf(plain.get())));
}

}  // namespace vycam

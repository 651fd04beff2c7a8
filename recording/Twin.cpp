// The layer on both borders of the library: a wrapper for each function of the table, which writes down the call before
// it is made and when it returns. Host functions are reached through the linker's --wrap; the library's own exported
// functions stand behind these under names with "inner_" in front (RenameExports.cmake).
#include <cxxabi.h>

#include <cstring>
#include <exception>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>

#include "recording/Recorder.h"

namespace recording {
namespace {

/// Set while the calling thread is in the library's own code, neither before it nor in a host function.
thread_local bool isInLibrary = false;
/// Set while the calling thread makes a call for the recording's sake.
thread_local bool isQuiet = false;

// ---- Values ---------------------------------------------------------------------------------------------------------

/// Texts of an argument vector.
struct Texts {
  const char** first;
  std::size_t count;
};

/// Bytes of a data argument.
struct Bytes {
  const std::uint8_t* data;
  int size;
};

/// Appends values of every kind that the table has.
class ValueWriter {
 public:
  ValueWriter(JsonText& to, HandleNumbers& numbers, bool areTextsSound = true)
      : to_(to), numbers_(numbers), areTextsSound_(areTextsSound) {}

  /// A text at hand is read only if it can be relied on: what a call that failed returns may be anything.
  void put(const char* value) { to_.text(areTextsSound_ ? value : nullptr); }
  void put(bool value) { to_.boolean(value); }
  void put(float value) { to_.real(value); }
  void put(double value) { to_.real(value); }

  template <typename Integer, std::enable_if_t<std::is_integral_v<Integer> || std::is_enum_v<Integer>, int> = 0>
  void put(Integer value) {
    to_.integer(static_cast<std::int64_t>(value));
  }

  /// A handle.
  template <typename Object, std::enable_if_t<std::is_class_v<Object>, int> = 0>
  void put(Object* handle) {
    to_.integer(static_cast<std::int64_t>(numbers_.find(kindOf(handle), handle)));
  }

  void put(const VYCameraIntrinsic& value) {
    putArray(+value.fx, +value.fy, +value.cx, +value.cy, +value.width, +value.height);
  }
  void put(const VYCameraDistortion& value) {
    putArray(+value.k1, +value.k2, +value.k3, +value.k4, +value.k5, +value.k6, +value.p1, +value.p2, +value.model);
  }
  void put(const VYExtrinsic& value) {
    float floats[12];
    static_assert(sizeof floats == sizeof value, "nothing but floats");
    std::memcpy(floats, &value, sizeof floats);
    to_.raw("[");
    for (const float& each : floats) to_.raw(&each == floats ? "" : ",").real(each);
    to_.raw("]");
  }
  void put(const VYFilterConfigSchemaItem& value) {
    const char* const name = value.name;
    const char* const description = value.desc;
    putArray(name, static_cast<int>(value.type), +value.min, +value.max, +value.step, +value.def, description);
  }

  void put(const Texts& texts) {
    if (texts.first == nullptr) {
      to_.raw("null");
      return;
    }
    to_.raw("[");
    for (std::size_t i = 0; i < texts.count; ++i) to_.raw(i == 0 ? "" : ",").text(texts.first[i]);
    to_.raw("]");
  }
  void put(const Bytes& bytes) {
    if (bytes.data == nullptr) {
      to_.raw("null");
    } else {
      to_.bytes(bytes.data, bytes.size > 0 ? static_cast<std::size_t>(bytes.size) : 0);
    }
  }

  template <typename... Values>
  void putArray(Values... values) {
    const char* separator = "";
    to_.raw("[");
    ((to_.raw(separator), put(values), separator = ","), ...);
    static_cast<void>(separator);
    to_.raw("]");
  }

 private:
  JsonText& to_;
  HandleNumbers& numbers_;
  const bool areTextsSound_;
};

// ---- Arguments whose extent another one tells -----------------------------------------------------------------------

/// How many values a processor reads from a command, whatever its count argument says: one a line of its schema.
std::size_t countSettings(vy_frame_processor_t* processor);

/// The arguments of a call as they are written: those whose extent another one tells, in one piece with it.
template <typename... Arguments>
std::tuple<Arguments...> recordable(Arguments... arguments) {
  return {arguments...};
}
std::tuple<vy_frame_processor_t*, int, Texts> recordable(vy_frame_processor_t* processor, std::uint8_t argc,
                                                         const char** argv) {
  return {processor, argc, {argv, countSettings(processor)}};
}
std::tuple<vy_filter_t*, int, Texts> recordable(vy_filter_t* filter, std::uint8_t argc, const char** argv) {
  return {filter, argc, {argv, argc}};
}
std::tuple<int, Bytes, int> recordable(int type, const std::uint8_t* data, int size) {
  return {type, {data, size}, size};
}

// ---- References -----------------------------------------------------------------------------------------------------

template <typename Object>
constexpr bool isFrame = std::is_same_v<std::remove_cv_t<Object>, vy_frame_t>;

/// Calls `act` for the first argument if it is a handle.
template <typename Act, typename First, typename... Rest>
void withFirst(const Act& act, First first, Rest...) {
  if constexpr (std::is_pointer_v<First> && std::is_class_v<std::remove_pointer_t<First>>) act(kindOf(first), first);
}
template <typename Act>
void withFirst(const Act&) {}

/// Calls `act` for each frame among the arguments.
template <typename Act, typename... Arguments>
void withFrames(const Act& act, Arguments... arguments) {
  const auto one = [&act](auto argument) {
    using Argument = decltype(argument);
    if constexpr (std::is_pointer_v<Argument>) {
      if constexpr (isFrame<std::remove_pointer_t<Argument>>) act(Kind::frame, argument);
    }
    static_cast<void>(argument);
  };
  (one(arguments), ...);
  static_cast<void>(one);
}

// ---- One call -------------------------------------------------------------------------------------------------------

/// A call under way: writes its first record when it is made, its second when it is told how the call ended.
template <typename Arguments>
class Call {
 public:
  Call(Recorder& recorder, Function function, Effect effect, bool isLibrary, vy_error** slot, Arguments arguments)
      : recorder_(recorder),
        function_(function),
        effect_(effect),
        isOutermost_(isLibrary && !isInLibrary),
        slot_(slot),
        before_(slot != nullptr ? *slot : nullptr),
        arguments_(arguments) {
    number_ = recorder_.nextCall();
    recorder_.write(function_, false, number_, [this](JsonText& to, HandleNumbers& numbers) {
      to.raw(",\"t\":").integer(threadNumber()).raw(",\"a\":");
      std::apply([&](auto... each) { ValueWriter(to, numbers).putArray(each...); }, arguments_);
      putSlot(to, numbers, before_);
      prepare(numbers);
    });
  }

  template <typename... Result>
  void returned(Result... result) {
    vy_error* const after = slot_ != nullptr ? *slot_ : nullptr;
    const bool isNew = after != nullptr && after != before_;
    const ErrorText error = isNew ? ErrorText::of(after) : ErrorText();
    recorder_.write(function_, true, number_, [&](JsonText& to, HandleNumbers& numbers) {
      if (isNew && !isLibrary()) settleFailure(numbers);
      // An error that the library hands out was seen when the host made it.
      const bool isUnknown = isNew && !numbers.knows(Kind::error, after);
      // Beside an older error the library reads what it gets, so a replay needs it.
      [[maybe_unused]] const bool areTextsSound = !isNew;
      (putResult(to, numbers, result, areTextsSound), ...);
      putSlot(to, numbers, after);
      if (isUnknown) putError(to, error);
      settle(numbers, after);
    });
  }

  /// The call has ended by an exception, or by what unwinds a thread that ends.
  void threw(const char* type) {
    recorder_.write(function_, true, number_, [&](JsonText& to, HandleNumbers& numbers) {
      to.raw(",\"x\":").text(type);
      settle(numbers, slot_ != nullptr ? *slot_ : nullptr);
    });
  }

 private:
  bool isLibrary() const { return function_ >= Function::vy_create_frame_processor_context; }

  void putSlot(JsonText& to, HandleNumbers& numbers, const vy_error* error) const {
    to.raw(",\"e\":");
    if (slot_ == nullptr) {
      to.raw("null");
    } else {
      ValueWriter(to, numbers).put(error);
    }
  }

  static void putError(JsonText& to, const ErrorText& error) {
    to.raw(",\"error\":{\"status\":").integer(error.status).raw(",\"message\":").text(error.message);
    to.raw(",\"function\":").text(error.function).raw(",\"args\":").text(error.arguments);
    to.raw(",\"exception_type\":").integer(error.exceptionType).raw("}");
  }

  /// What the call returns counts as one reference, unless a call within this one has counted it.
  template <typename Result>
  void putResult(JsonText& to, HandleNumbers& numbers, Result result, bool areTextsSound) {
    constexpr bool isHandle = std::is_pointer_v<Result> && std::is_class_v<std::remove_pointer_t<Result>>;
    if constexpr (isHandle) {
      const Kind kind = kindOf(result);
      if (!isLibrary() || kind == Kind::context || kind == Kind::processor) numbers.receive(kind, result);
    }
    to.raw(",\"r\":");
    ValueWriter(to, numbers, areTextsSound).put(result);
    // A frame is the caller's from here on.
    if constexpr (isHandle) {
      if (isOutermost_ && kindOf(result) == Kind::frame) numbers.release(Kind::frame, result);
    }
  }

  void prepare(HandleNumbers& numbers) {
    std::apply(
        [&](auto... each) {
          if (effect_ == Effect::adds)
            withFirst([&](Kind kind, const void* object) { numbers.retain(kind, object); }, each...);
          // Before the call: once it has returned, the address may be another object's.
          if (effect_ == Effect::releases) {
            withFirst(
                [&](Kind kind, const void* object) {
                  released_ = numbers.find(kind, object);
                  numbers.release(kind, object);
                },
                each...);
          }
          if (isOutermost_) withFrames([&](Kind kind, const void* object) { numbers.retain(kind, object); }, each...);
        },
        arguments_);
  }

  /// A call that failed took no reference and gave none.
  void settleFailure(HandleNumbers& numbers) {
    std::apply(
        [&](auto... each) {
          withFirst(
              [&](Kind kind, const void* object) {
                if (effect_ == Effect::adds) numbers.release(kind, object);
                if (effect_ == Effect::releases) numbers.restore(kind, object, released_);
              },
              each...);
        },
        arguments_);
  }

  void settle(HandleNumbers& numbers, const vy_error* after) {
    if (!isOutermost_) return;
    std::apply(
        [&](auto... each) {
          withFrames([&](Kind kind, const void* object) { numbers.release(kind, object); }, each...);
        },
        arguments_);
    // The caller deletes them, unseen.
    numbers.release(Kind::error, before_);
    numbers.release(Kind::error, after);
  }

  Recorder& recorder_;
  const Function function_;
  const Effect effect_;
  const bool isOutermost_;
  vy_error** const slot_;
  vy_error* const before_;
  const Arguments arguments_;
  std::uint64_t number_ = 0;
  std::uint64_t released_ = 0;
};

/// Remembers for the time of a call whose code the thread is in.
class Place {
 public:
  explicit Place(bool isLibrary) : former_(isInLibrary) { isInLibrary = isLibrary; }
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;
  ~Place() { isInLibrary = former_; }

 private:
  const bool former_;
};

const char* nameOfException() {
  const std::type_info* const type = abi::__cxa_current_exception_type();
  return type != nullptr ? type->name() : "unknown";
}

/// Makes a call through `work`, recorded if there is a recording.
template <typename Result, typename Work, typename... Arguments>
Result recorded(Function function, Effect effect, bool isLibrary, vy_error** slot, const Work& work,
                Arguments... arguments) {
  Recorder* const recorder = isQuiet ? nullptr : Recorder::active();
  if (recorder == nullptr) return work();
  Call call(*recorder, function, effect, isLibrary, slot, recordable(arguments...));
  const auto workInPlace = [&] {
    const Place here(isLibrary);
    return work();
  };
  try {
    if constexpr (std::is_void_v<Result>) {
      workInPlace();
      call.returned();
    } else {
      const Result result = workInPlace();
      call.returned(result);
      return result;
    }
  } catch (const abi::__forced_unwind&) {
    call.threw("a thread that ends");
    throw;
  } catch (...) {
    call.threw(nameOfException());
    throw;
  }
}

}  // namespace
}  // namespace recording

// ---- The wrappers ---------------------------------------------------------------------------------------------------

#define VY_UNPACK(...) __VA_ARGS__

#define VY_WRAP_HOST(result, name, parameters, arguments, names, effect)                 \
  extern "C" result __real_##name(VY_UNPACK parameters, vy_error** error);               \
  extern "C" result __wrap_##name(VY_UNPACK parameters, vy_error** error) {              \
    return recording::recorded<result>(                                                  \
        recording::Function::name, recording::Effect::effect, false, error,              \
        [&] { return __real_##name(VY_UNPACK arguments, error); }, VY_UNPACK arguments); \
  }
VY_HOST_FUNCTIONS(VY_WRAP_HOST)

#define VY_WRAP_BARE_HOST(result, name, parameters, arguments, names, effect)                                          \
  extern "C" result __real_##name parameters;                                                                          \
  extern "C" result __wrap_##name parameters {                                                                         \
    return recording::recorded<result>(                                                                                \
        recording::Function::name, recording::Effect::effect, false, nullptr, [&] { return __real_##name arguments; }, \
        VY_UNPACK arguments);                                                                                          \
  }
VY_BARE_HOST_FUNCTIONS(VY_WRAP_BARE_HOST)

#define VY_WRAP_LIBRARY(result, name, parameters, arguments, names, effect)             \
  extern "C" result inner_##name(VY_UNPACK parameters, vy_error** error);               \
  result name(VY_UNPACK parameters, vy_error** error) {                                 \
    return recording::recorded<result>(                                                 \
        recording::Function::name, recording::Effect::effect, true, error,              \
        [&] { return inner_##name(VY_UNPACK arguments, error); }, VY_UNPACK arguments); \
  }
VY_LIBRARY_FUNCTIONS(VY_WRAP_LIBRARY)

#define VY_WRAP_BARE_LIBRARY(result, name, parameters, arguments, names, effect)                            \
  extern "C" result inner_##name parameters;                                                                \
  result name parameters {                                                                                  \
    return recording::recorded<result>(recording::Function::name, recording::Effect::effect, true, nullptr, \
                                       [] { return inner_##name arguments; });                              \
  }
VY_BARE_LIBRARY_FUNCTIONS(VY_WRAP_BARE_LIBRARY)

#define VY_WRAP_PRIVATE(result, name, parameters, arguments, names, effect)             \
  result inner_##name(VY_UNPACK parameters, vy_error** error);                          \
  result name(VY_UNPACK parameters, vy_error** error) {                                 \
    return recording::recorded<result>(                                                 \
        recording::Function::name, recording::Effect::effect, true, error,              \
        [&] { return inner_##name(VY_UNPACK arguments, error); }, VY_UNPACK arguments); \
  }
VY_PRIVATE_FILTER_FUNCTIONS(VY_WRAP_PRIVATE)

namespace recording {
namespace {

std::size_t countSettings(vy_frame_processor_t* processor) {
  if (processor == nullptr) return 0;
  isQuiet = true;
  vy_error* error = nullptr;
  const char* line = nullptr;
  try {
    line = inner_vy_frame_processor_get_config_schema(processor, &error);
    if (error != nullptr) vy_delete_error(error);
  } catch (...) {  // a host's, which the call itself will meet again
  }
  isQuiet = false;
  // As many as ConfigCommands.cpp finds keys.
  std::size_t count = 0;
  while (line != nullptr && *line != '\0') {
    const std::size_t keyEnd = std::strcspn(line, "#,\n");
    if (line[keyEnd] == '#') ++count;
    line = std::strchr(line, '\n');
    if (line != nullptr) ++line;
  }
  return count;
}

}  // namespace
}  // namespace recording

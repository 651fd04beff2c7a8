// What happened in a recording, apart from how it is shown.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Recording.h"

namespace vyhost {

/// Nanoseconds since the first call.
using Time = std::uint64_t;
using Duration = std::uint64_t;

/// Of some durations.
struct Spread {
  Duration median = 0, percentile95 = 0, largest = 0;

  /// All zero for none.
  static Spread of(std::vector<Duration> durations);
};

/// A host's refusal, in its words.
struct Refusal {
  std::string function;  ///< that failed
  std::string message;   ///< what its error says
  std::string behind;    ///< of a call within it: what failed there, and the words; empty if nothing did
};

/// A filter that was asked for when a chain was built.
struct FilterStory {
  std::uint64_t handle = 0;  ///< 0 if it was not made
  std::string name;          ///< asked for
  bool isOwn = false;        ///< the library's, not the host's
  std::vector<std::string> arguments;
  std::optional<bool> startsEnabled;
  std::optional<Refusal> leftOut;  ///< why it is not in the chain
  // Frames that reached it.
  std::vector<Duration> runs;
  std::size_t timesOff = 0;         ///< found switched off
  std::size_t timesPassedOver = 0;  ///< not for frames of this format
  std::size_t timesFailed = 0;      ///< among the runs
};

/// A line of a processor's schema text.
struct Setting {
  std::string key, type, min, max, step;
  std::string value;  ///< when the schema was made
  std::string description;
};

struct SettingChange {
  std::string key;  ///< "#2" by position if the schema was never read
  std::string from, to;
};

/// A configuration command.
struct SettingsUpdate {
  Time time = 0;
  std::vector<SettingChange> changes;  ///< values that differ from the ones before
  std::size_t unchanged = 0;
  std::string error;  ///< that ended it; what comes behind has not been applied and is not among the changes
};

/// Hardware D2C parameters that were handed over.
struct HardwareD2CStory {
  Time time = 0;
  std::vector<std::pair<std::string, std::string>> values;  ///< by name
  std::string error;
};

/// One frame on its way through a chain.
struct FrameWalk {
  Time time = 0;
  Duration whole = 0;
  Duration library = 0;  ///< without the host calls within, but with what recording them costs
  bool hasFailed = false;
};

struct FormatCount {
  int format = 0, pixelType = 0;
  std::size_t count = 0;
};

struct ProcessorStory {
  std::uint64_t handle = 0;  ///< 0 if it was not made
  int sensor = 0;
  Time made = 0;
  std::optional<Time> destroyed;
  std::string error;                 ///< why it was not made
  std::vector<FilterStory> filters;  ///< in the order in which they were asked for
  bool hasReadSchema = false;        ///< the host asked for the schema; otherwise it is not in the recording
  std::vector<Setting> settings;
  std::vector<SettingsUpdate> updates;
  std::vector<HardwareD2CStory> hardwareD2C;
  std::vector<FrameWalk> frames;     ///< that came back
  std::vector<FormatCount> formats;  ///< of frames that went in, as far as a filter wanted to know
  double framesPerSecond = 0;        ///< 0 for fewer than two frames
  Duration longestGap = 0;           ///< between two frames that went in
};

/// A device, as one context sees it.
struct ContextStory {
  std::uint64_t handle = 0;  ///< 0 if it was not made
  std::uint64_t device = 0;
  std::optional<int> vid, pid;
  std::vector<std::string> families;  ///< that have such a depth chain; none if there was none
  Time made = 0;
  std::optional<Time> destroyed;
  std::string error;  ///< why it was not made
  std::vector<ProcessorStory> processors;
};

/// A list of products that the host put in place of one of the library's.
struct ProductList {
  Time time = 0;
  int type = 0;
  std::vector<std::string> ids;  ///< "3e71:0351"
};

/// The same thing going wrong once or often.
struct Trouble {
  std::string function;  ///< that reported it
  std::string subject;   ///< of which object: "filter:3 NoiseRemovalFilter"
  std::string text;
  std::vector<Time> times;
};

/// An object with references that were not given back, or given back too often.
struct Leftover {
  std::string handle;  ///< "filter:3"
  std::string name;    ///< of a filter
  int references = 0;  ///< negative: given back too often
  Time first = 0;      ///< when it was first taken, or given back
};

struct UnreturnedCall {
  std::size_t call = 0;  ///< position in the recording
  unsigned thread = 0;
  Time time = 0;
  std::string function, subject;
  bool isHost = false;
};

/// Calls of the host that follow each other and are alike.
struct Moment {
  Time first = 0, last = 0;  ///< when they began
  std::string function;
  std::vector<std::string> subjects;
  std::size_t count = 0;
  std::string outcome;  ///< error, exception, "never returned"; empty if all was well
};

struct Story {
  Duration length = 0;
  std::size_t calls = 0;
  std::size_t hostCalls = 0;      ///< that the library made
  std::size_t incomingCalls = 0;  ///< that the host made
  std::size_t threads = 0;
  std::vector<ProductList> productLists;
  std::vector<ContextStory> contexts;
  std::vector<Trouble> errors;    ///< handed to the caller
  std::vector<Trouble> absorbed;  ///< of the host, deleted within the library
  std::vector<Leftover> leftovers;
  std::vector<UnreturnedCall> unreturned;
  std::vector<Moment> firstSecond, lastSecond;  ///< the last begins where the first ends, if they meet

  std::size_t filtersLeftOut() const;
};

Story tellStory(const Recording& recording);

}  // namespace vyhost

#include "StoryText.h"

#include <fmt/format.h>

#include <algorithm>

#include "Words.h"

namespace vyhost {
namespace {

/// Collects lines and folds them at spaces, what is continued a little further in.
class Sheet {
 public:
  explicit Sheet(std::size_t width) : width_(width) {}

  void line(std::size_t indent, const std::string& text) {
    std::string rest = printable(text);
    std::size_t margin = indent;
    while (true) {
      const std::size_t room = width_ > margin + kLeast ? width_ - margin : kLeast;
      const std::size_t cut = cutAt(rest, room);
      text_ += std::string(margin, ' ') + rest.substr(0, cut) + "\n";
      const std::size_t next = rest.find_first_not_of(' ', cut);
      if (next == std::string::npos) return;
      rest.erase(0, next);
      margin = indent + 4;
    }
  }
  void heading(const std::string& text) {
    gap();
    line(0, text);
  }
  void gap() {
    if (!text_.empty()) text_ += "\n";
  }

  const std::string& get() const { return text_; }

 private:
  static constexpr std::size_t kLeast = 20;  ///< characters in a line, however deep it begins

  /// How many bytes go into a line: to the last space that fits, or all that fits.
  static std::size_t cutAt(const std::string& text, std::size_t room) {
    std::size_t characters = 0, lastSpace = std::string::npos;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const bool isContinued = (static_cast<unsigned char>(text[i]) & 0xC0U) == 0x80;
      if (isContinued) continue;
      if (characters == room) {
        if (text[i] == ' ') return i;
        return lastSpace != std::string::npos ? lastSpace : i;
      }
      // Leading spaces are no place to fold.
      if (text[i] == ' ' && i > 0 && text.find_first_not_of(' ') < i) lastSpace = i;
      ++characters;
    }
    return text.size();
  }

  std::size_t width_;
  std::string text_;
};

std::string count(std::size_t number, const std::string& one, const std::string& many = {}) {
  return fmt::format("{} {}", number, number == 1 ? one : many.empty() ? one + "s" : many);
}

std::string whenText(const std::vector<Time>& times) {
  if (times.size() == 1) return "once, at " + seconds(times.front());
  const auto [first, last] = std::minmax_element(times.begin(), times.end());
  return fmt::format("{} times, from {} to {}", times.size(), seconds(*first), seconds(*last));
}

std::string lifeText(Time made, const std::optional<Time>& destroyed) {
  return destroyed ? fmt::format("from {} to {}", seconds(made), seconds(*destroyed))
                   : fmt::format("from {}, never destroyed", seconds(made));
}

void addChain(Sheet& sheet, const ProcessorStory& processor) {
  sheet.line(4, processor.filters.empty() ? "Chain: no filter was asked for" : "Chain");
  std::size_t width = 0;
  for (const FilterStory& filter : processor.filters) width = std::max(width, filter.name.size());
  std::size_t number = 0;
  for (const FilterStory& filter : processor.filters) {
    const std::string place = filter.leftOut ? "--" : fmt::format("{:>2}", ++number);
    std::string text = fmt::format("{} {:<{}}  {:<7}", place, filter.name, width, filter.isOwn ? "library" : "host");
    if (filter.leftOut) {
      text += fmt::format("  LEFT OUT: {} failed: \"{}\"", filter.leftOut->function, filter.leftOut->message);
      if (!filter.leftOut->behind.empty()) text += fmt::format(", because of {}", filter.leftOut->behind);
    } else {
      text += filter.startsEnabled.value_or(false) ? "  on" : "  off";
    }
    if (!filter.arguments.empty()) text += fmt::format("  arguments {}", fmt::join(filter.arguments, " "));
    sheet.line(6, text);
  }
}

void addTimes(Sheet& sheet, const ProcessorStory& processor) {
  const std::size_t frames = processor.frames.size();
  if (frames == 0) {
    sheet.line(4, "Frames: none");
    return;
  }
  const auto failed = static_cast<std::size_t>(
      std::count_if(processor.frames.begin(), processor.frames.end(), [](const auto& each) { return each.hasFailed; }));
  std::string text = "Frames: " + std::to_string(frames);
  if (processor.framesPerSecond > 0) {
    text +=
        fmt::format(", {:.1f} a second, longest gap {}", processor.framesPerSecond, milliseconds(processor.longestGap));
  }
  if (failed != 0) text += fmt::format(", {} with an error or without a result", failed);
  for (const FormatCount& format : processor.formats)
    text += fmt::format("; {} of format {}, pixel type {}", format.count, format.format, format.pixelType);
  sheet.line(4, text);

  std::vector<Duration> walks, library;
  for (const FrameWalk& walk : processor.frames) {
    walks.push_back(walk.whole);
    library.push_back(walk.library);
  }
  std::size_t width = std::string("library (with recording)").size();
  for (const FilterStory& filter : processor.filters) width = std::max(width, filter.name.size());
  const auto row = [&](const std::string& name, const std::vector<Duration>& durations, const std::string& remark) {
    const Spread spread = Spread::of(durations);
    const auto figure = [](Duration duration) { return fmt::format("{:.3f}", static_cast<double>(duration) / 1e6); };
    std::string line = fmt::format("{:<{}}", name, width);
    if (durations.empty()) {
      line += fmt::format("{:>9}{:>9}{:>9}", "-", "-", "-");
    } else {
      line +=
          fmt::format("{:>9}{:>9}{:>9}", figure(spread.median), figure(spread.percentile95), figure(spread.largest));
    }
    sheet.line(6, remark.empty() ? line : line + "  " + remark);
  };
  sheet.line(4, "Time a frame, in milliseconds");
  sheet.line(6, fmt::format("{:<{}}{:>9}{:>9}{:>9}", "", width, "median", "95 %", "largest"));
  for (const FilterStory& filter : processor.filters) {
    if (filter.leftOut) continue;
    std::vector<std::string> remarks;
    if (filter.timesOff != 0) remarks.push_back(fmt::format("off for {}", filter.timesOff));
    if (filter.timesPassedOver != 0) remarks.push_back(fmt::format("not for {}", filter.timesPassedOver));
    if (filter.timesFailed != 0) remarks.push_back(fmt::format("failed for {}", filter.timesFailed));
    row(filter.name, filter.runs, fmt::format("{}", fmt::join(remarks, ", ")));
  }
  row("the whole chain", walks, "");
  row("library (with recording)", library, "");
}

void addSettings(Sheet& sheet, const ProcessorStory& processor) {
  if (!processor.hasReadSchema) {
    sheet.line(4, "Settings: the host did not ask for the schema");
  } else if (processor.settings.empty()) {
    sheet.line(4, "Settings: none published");
  } else {
    sheet.line(4, "Settings published");
    std::size_t width = 0;
    for (const Setting& setting : processor.settings) width = std::max(width, setting.key.size());
    for (const Setting& setting : processor.settings) {
      sheet.line(6, fmt::format("{:<{}}  {} ({} {} to {}, step {})  {}", setting.key, width, setting.value,
                                setting.type, setting.min, setting.max, setting.step, setting.description));
    }
  }
  for (const SettingsUpdate& update : processor.updates) {
    std::vector<std::string> changes;
    for (const SettingChange& change : update.changes) {
      const std::string from = change.from.empty() ? std::string() : change.from + " ";
      changes.push_back(fmt::format("{}: {}-> {}", change.key, from, change.to));
    }
    std::string text = fmt::format("Settings set at {}: ", seconds(update.time));
    text += changes.empty() ? "no change" : fmt::format("{}", fmt::join(changes, "; "));
    if (!update.error.empty()) text += fmt::format("; then it failed: \"{}\"", update.error);
    sheet.line(4, text);
  }
  for (const HardwareD2CStory& parameters : processor.hardwareD2C) {
    std::vector<std::string> values;
    for (const auto& [name, value] : parameters.values) values.push_back(name + " " + value);
    std::string text = fmt::format("Hardware D2C set at {}: {}", seconds(parameters.time), fmt::join(values, ", "));
    if (!parameters.error.empty()) text += fmt::format("; it failed: \"{}\"", parameters.error);
    sheet.line(4, text);
  }
}

void addContext(Sheet& sheet, const ContextStory& context) {
  sheet.heading(fmt::format("Camera {}", cameraOf(context)));
  if (context.handle == 0) {
    sheet.line(2, fmt::format("no context at {}: \"{}\"", seconds(context.made), context.error));
    return;
  }
  sheet.line(2, fmt::format("context:{}, device:{}, {}", context.handle, context.device,
                            lifeText(context.made, context.destroyed)));
  for (const ProcessorStory& processor : context.processors) {
    if (processor.handle == 0) {
      sheet.line(2, fmt::format("{} sensor: no processor at {}: \"{}\"", sensorName(processor.sensor),
                                seconds(processor.made), processor.error));
      if (!processor.filters.empty()) addChain(sheet, processor);
      continue;
    }
    sheet.line(2, fmt::format("{} sensor, processor:{}, {}", sensorName(processor.sensor), processor.handle,
                              lifeText(processor.made, processor.destroyed)));
    addChain(sheet, processor);
    addTimes(sheet, processor);
    addSettings(sheet, processor);
  }
}

void addTroubles(Sheet& sheet, const std::string& heading, const std::vector<Trouble>& troubles) {
  if (troubles.empty()) return;
  sheet.heading(heading);
  for (const Trouble& trouble : troubles) {
    const std::string subject = trouble.subject.empty() ? std::string() : "(" + trouble.subject + ")";
    sheet.line(2, fmt::format("{}{}: \"{}\", {}", trouble.function, subject, trouble.text, whenText(trouble.times)));
  }
}

void addMoments(Sheet& sheet, const std::string& heading, const std::vector<Moment>& moments) {
  if (moments.empty()) return;
  sheet.heading(heading);
  // Both ends tell the most.
  constexpr std::size_t kShown = 30;
  for (std::size_t i = 0; i < moments.size(); ++i) {
    if (moments.size() > kShown && i == kShown / 2) {
      sheet.line(2, fmt::format("... {} more, see --calls ...", moments.size() - kShown));
      i = moments.size() - kShown / 2;
    }
    sheet.line(2, fmt::format("{}  {}", seconds(moments[i].first), momentText(moments[i])));
  }
}

}  // namespace

std::vector<std::string> findings(const Recording& recording, const Story& story) {
  std::vector<std::string> found;
  const auto add = [&found](std::size_t number, const std::string& text) {
    if (number != 0) found.push_back(text);
  };
  const auto occurrences = [](const std::vector<Trouble>& troubles) {
    std::size_t number = 0;
    for (const Trouble& trouble : troubles) number += trouble.times.size();
    return number;
  };
  add(story.filtersLeftOut(),
      count(story.filtersLeftOut(), "filter was left out of its chain", "filters were left out of their chains"));
  add(story.errors.size(),
      count(occurrences(story.errors), "error was handed to the caller", "errors were handed to the caller"));
  add(story.absorbed.size(),
      count(occurrences(story.absorbed), "failure of the host was absorbed", "failures of the host were absorbed"));
  add(story.leftovers.size(), count(story.leftovers.size(), "object was not given back as often as it was taken",
                                    "objects were not given back as often as they were taken"));
  add(story.unreturned.size(), count(story.unreturned.size(), "call never returned", "calls never returned"));
  add(recording.damagedRecords,
      count(recording.damagedRecords, "record is damaged and was left out", "records are damaged and were left out"));
  return found;
}

std::string endOf(const Recording& recording) {
  if (!recording.note.empty()) return recording.note;
  return recording.isFinished ? "the file is complete"
                              : "the file just ends, as it does in every recording that was "
                                "not finished with vyhost finish";
}

std::string cameraOf(const ContextStory& context) {
  const auto id = [](const std::optional<int>& number) {
    return number ? fmt::format("0x{:04X}", *number & 0xFFFF) : std::string("unknown");
  };
  return fmt::format("{}:{}{}{}", id(context.vid), id(context.pid), context.families.empty() ? "" : ", ",
                     fmt::join(context.families, " or "));
}

std::string momentText(const Moment& moment) {
  std::string text = fmt::format("{}({})", moment.function, fmt::join(moment.subjects, ", "));
  if (moment.count > 1) text += fmt::format(", {} times until {}", moment.count, seconds(moment.last));
  if (!moment.outcome.empty()) text += ": " + moment.outcome;
  return text;
}

std::string storyText(const std::string& file, const Recording& recording, const Story& story, std::size_t width) {
  Sheet sheet(width);
  const auto about = [&recording](const char* key) {
    const auto found = recording.about.find(key);
    return found != recording.about.end() ? found->second : std::string("unknown");
  };
  sheet.heading("Recording " + file);
  sheet.line(2, fmt::format("made     {} by process {}", about("date"), about("process")));
  sheet.line(2, fmt::format("with     libvy_frame_processor {}, revision {}, {} bit, on {}", about("version"),
                            about("commit"), about("pointer_bits"), about("machine")));
  sheet.line(2, fmt::format("length   {}; {} by the host, {} by the library, {}", seconds(story.length),
                            count(story.incomingCalls, "call"), story.hostCalls, count(story.threads, "thread")));
  sheet.line(2, "end      " + endOf(recording));

  const std::vector<std::string> found = findings(recording, story);
  sheet.heading(found.empty() ? "Nothing went wrong." : "What to look at");
  for (const std::string& finding : found) sheet.line(2, finding);

  if (!story.productLists.empty()) sheet.heading("Product lists that the host set");
  for (const ProductList& list : story.productLists)
    sheet.line(2, fmt::format("type {} at {}: {}", list.type, seconds(list.time), fmt::join(list.ids, " ")));
  for (const ContextStory& context : story.contexts) addContext(sheet, context);
  addTroubles(sheet, "Errors handed to the caller", story.errors);
  addTroubles(sheet, "Failures of the host that the library absorbed", story.absorbed);
  if (!story.leftovers.empty()) sheet.heading("Not given back as often as taken, at the end of the recording");
  for (const Leftover& leftover : story.leftovers) {
    const std::string name = leftover.name.empty() ? std::string() : " " + leftover.name;
    const auto number = static_cast<std::size_t>(std::abs(leftover.references));
    sheet.line(2, fmt::format("{}{}: {} too {}, first seen at {}", leftover.handle, name, count(number, "reference"),
                              leftover.references > 0 ? "many" : "few", seconds(leftover.first)));
  }
  if (!story.unreturned.empty()) sheet.heading("Calls that never returned");
  for (const UnreturnedCall& call : story.unreturned) {
    sheet.line(2, fmt::format("{}({}), a function of the {}, on thread {} at {}", call.function, call.subject,
                              call.isHost ? "host" : "library", call.thread, seconds(call.time)));
  }
  const bool isShort = story.lastSecond.empty();
  addMoments(sheet, isShort ? "The host's calls" : "The first second of the host's calls", story.firstSecond);
  addMoments(sheet, "The last second of the host's calls", story.lastSecond);
  return sheet.get();
}

}  // namespace vyhost

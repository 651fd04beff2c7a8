#include "Recording.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "Failure.h"
#include "McapContent.h"
#include "recording/McapFile.h"

namespace vyhost {
namespace {

using nlohmann::json;

bool isNumber(const json& value) {
  if (value.is_number()) return true;
  if (!value.is_string()) return false;
  const auto& text = value.get_ref<const std::string&>();
  const std::size_t size = text.rfind("f32:", 0) == 0 ? 12 : 20;
  return text.size() == size && (size == 12 || text.rfind("f64:", 0) == 0) &&
         text.find_first_not_of("0123456789abcdef", 4) == std::string::npos;
}

bool areNumbers(const json& value, std::size_t count) {
  return value.is_array() && value.size() == count && std::all_of(value.begin(), value.end(), isNumber);
}

bool isText(const json& value) {
  return value.is_string() || value.is_null();
}

/// Whether a value is what the table of functions says: who uses it need not look again.
bool fits(ValueKind kind, const json& value) {
  switch (kind) {
    case ValueKind::none:
      return value.is_null();
    case ValueKind::boolean:
      return value.is_boolean();
    case ValueKind::integer:
      return value.is_number_integer();
    case ValueKind::real32:
    case ValueKind::real64:
      return isNumber(value);
    case ValueKind::text:
    case ValueKind::bytes:
      return isText(value);
    case ValueKind::texts:
      return value.is_null() || (value.is_array() && std::all_of(value.begin(), value.end(), isText));
    case ValueKind::intrinsic:
      return areNumbers(value, 6);
    case ValueKind::distortion:
      return areNumbers(value, 9);
    case ValueKind::extrinsic:
      return areNumbers(value, 12);
    case ValueKind::schemaItem:
      return value.is_array() && value.size() == 7 && isText(value[0]) && value[1].is_number_integer() &&
             std::all_of(value.begin() + 2, value.begin() + 6, isNumber) && isText(value[6]);
    default:
      return value.is_number_unsigned();
  }
}

/// The object of a payload whose checksum is right; otherwise discarded.
json parse(std::string_view payload) {
  constexpr std::string_view kBefore = ",\"crc\":\"";
  constexpr std::size_t kSize = kBefore.size() + 10;
  if (payload.size() < kSize) return json::value_t::discarded;
  const std::string_view body = payload.substr(0, payload.size() - kSize);
  const std::string right = fmt::format("{}{:08x}\"}}", kBefore, recording::crc32(body.data(), body.size()));
  if (payload.substr(body.size()) != right) return json::value_t::discarded;
  return json::parse(payload, nullptr, false);
}

/// Builds the calls from their records.
class Reader {
 public:
  explicit Reader(Recording& to) : to_(to) {}

  /// False if the record is damaged.
  bool read(const FunctionInfo& function, bool isReturn, const McapMessage& message) {
    const json payload = parse(message.payload);
    if (!payload.is_object()) return false;
    try {
      const auto number = payload.at("n").get<std::uint64_t>();
      if (static_cast<std::uint32_t>(number) != message.sequence) return false;
      return isReturn ? end(function, number, message.time, payload) : begin(function, number, message.time, payload);
    } catch (const json::exception&) {
      return false;  // what is missing or is of another type
    }
  }

 private:
  static std::optional<std::uint64_t> slotOf(const json& payload) {
    const json& error = payload.at("e");
    if (error.is_null()) return std::nullopt;
    return error.get<std::uint64_t>();
  }

  bool begin(const FunctionInfo& function, std::uint64_t number, std::uint64_t time, const json& payload) {
    Call call;
    call.number = number;
    call.function = &function;
    call.thread = payload.at("t").get<unsigned>();
    call.beginTime = time;
    call.arguments = payload.at("a");
    call.errorBefore = slotOf(payload);
    if (!call.arguments.is_array() || call.arguments.size() != function.arguments.size()) return false;
    for (std::size_t i = 0; i < function.arguments.size(); ++i) {
      if (!fits(function.arguments[i].kind, call.arguments[i])) return false;
    }
    const std::size_t position = to_.calls.size();
    if (!positions_.emplace(number, position).second) return false;
    std::vector<std::size_t>& within = open_[call.thread];
    // A host function makes no call of another one through the library: the record of its return is missing.
    while (function.isHost && !within.empty() && to_.calls[within.back()].function->isHost) within.pop_back();
    if (!within.empty()) {
      call.parent = within.back();
      to_.calls[within.back()].children.push_back(position);
    }
    within.push_back(position);
    to_.calls.push_back(std::move(call));
    to_.events.push_back({position, false});
    return true;
  }

  bool end(const FunctionInfo& function, std::uint64_t number, std::uint64_t time, const json& payload) {
    if (payload.contains("a")) return false;  // a call under the name of a return
    const auto found = positions_.find(number);
    if (found == positions_.end()) return true;  // its beginning was damaged, and is counted
    Call& call = to_.calls[found->second];
    if (call.function != &function || call.hasReturned()) return false;
    std::optional<ErrorText> newError;
    if (payload.contains("error")) newError = errorOf(payload["error"]);
    if (payload.contains("x")) {
      call.exception = payload["x"].get<std::string>();
    } else {
      const json result = payload.value("r", json());
      if (!fits(function.result, result)) return false;
      call.errorAfter = slotOf(payload);
      call.result = result;
    }
    call.newError = newError;
    call.endTime = time;
    to_.events.push_back({found->second, true});
    // With those whose own return is missing.
    std::vector<std::size_t>& within = open_[call.thread];
    const auto own = std::find(within.begin(), within.end(), found->second);
    within.erase(own, within.end());
    return true;
  }

  static ErrorText errorOf(const json& error) {
    const auto text = [&error](const char* key) { return bytesOf(error.at(key)); };
    ErrorText result;
    result.status = error.at("status").get<int>();
    result.exceptionType = error.at("exception_type").get<int>();
    result.message = text("message");
    result.function = text("function");
    result.arguments = text("args");
    return result;
  }

  Recording& to_;
  std::unordered_map<std::uint64_t, std::size_t> positions_;     ///< of calls, by number
  std::unordered_map<unsigned, std::vector<std::size_t>> open_;  ///< by thread: calls that have not returned
};

/// What the messages of a channel are.
struct Topic {
  const FunctionInfo* function;
  bool isReturn;
};

}  // namespace

Recording Recording::read(const std::string& path) {
  return read(McapContent(path), path);
}

Recording Recording::read(const McapContent& content, const std::string& path, std::vector<McapMessage>* intact) {
  Recording recording;
  recording.isFinished = content.isFinished;
  recording.damagedRecords = content.damagedRecords;
  const auto about = std::find_if(content.metadata.begin(), content.metadata.end(),
                                  [](const McapMetadata& each) { return each.name == "recording"; });
  if (about == content.metadata.end()) {
    throw Failure(content.isFinished || !content.messages.empty()
                      ? path + " is an MCAP file, but no recording of the library's calls"
                      : path + " breaks off before the recording begins");
  }
  recording.about = about->entries;

  std::map<std::uint16_t, Topic> topics;
  for (const auto& [id, channel] : content.channels) {
    const std::string_view topic = channel.topic;
    const bool isReturn = topic.rfind("return/", 0) == 0;
    if (!isReturn && topic.rfind("call/", 0) != 0) continue;
    const std::string_view name = topic.substr(topic.find('/') + 1);
    const FunctionInfo* const function = findFunction(name);
    if (function == nullptr) {
      throw Failure(fmt::format("{} has calls of {}, which vyhost {} does not know; take the vyhost of version {}",
                                path, name, VY_VERSION, recording.about["version"]));
    }
    topics[id] = {function, isReturn};
  }

  Reader reader(recording);
  for (const McapMessage& message : content.messages) {
    const auto topic = topics.find(message.channel);
    if (topic != topics.end()) {
      if (!reader.read(*topic->second.function, topic->second.isReturn, message)) {
        ++recording.damagedRecords;
        continue;
      }
    } else if (content.channels.at(message.channel).topic == "note") {
      const json note = json::parse(message.payload, nullptr, false);
      if (note.is_object() && note.contains("note")) recording.note = bytesOf(note["note"]);
    }
    if (intact != nullptr) intact->push_back(message);
  }
  return recording;
}

std::string bytesOf(const nlohmann::json& text) {
  std::string bytes;
  if (!text.is_string()) return bytes;
  const auto& characters = text.get_ref<const std::string&>();
  for (std::size_t i = 0; i < characters.size(); ++i) {
    const auto first = static_cast<unsigned char>(characters[i]);
    // U+0080 to U+00FF are two bytes of UTF-8, of which the first tells the uppermost bits.
    if ((first == 0xC2 || first == 0xC3) && i + 1 < characters.size()) {
      const auto second = static_cast<unsigned char>(characters[++i]);
      bytes += static_cast<char>(((first & 0x03) << 6) | (second & 0x3F));
    } else {
      bytes += characters[i];
    }
  }
  return bytes;
}

double realOf(const nlohmann::json& number) {
  if (!number.is_string()) return number.get<double>();
  const auto& text = number.get_ref<const std::string&>();
  const std::uint64_t bits = std::stoull(text.substr(4), nullptr, 16);
  if (text[1] == '6') {
    double value = 0;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
  const auto narrow = static_cast<std::uint32_t>(bits);
  float value = 0;
  std::memcpy(&value, &narrow, sizeof value);
  return static_cast<double>(value);
}

}  // namespace vyhost

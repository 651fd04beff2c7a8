#include "view/ClientMessage.h"

#include <fmt/format.h>

#include <algorithm>
#include <nlohmann/json.hpp>

namespace vycam {
namespace {

using Json = nlohmann::json;

constexpr std::pair<const char*, Role> kRoles[] = {
    {"before", Role::before}, {"after", Role::after}, {"truth", Role::truth}};

constexpr unsigned kMostStreams = 0xFFFF;
constexpr uint64_t kLargestNth = 1000000;

const Json& member(const Json& object, const char* name) {
  const auto found = object.find(name);
  if (found == object.end()) {
    throw BadMessage(fmt::format("\"{}\" is missing", name));
  }
  return *found;
}

uint64_t wholeNumber(const Json& object, const char* name, uint64_t most) {
  const Json& number = member(object, name);
  if (!number.is_number_unsigned() || number.get<uint64_t>() > most) {
    throw BadMessage(fmt::format("\"{}\" is no whole number from 0 to {}", name, most));
  }
  return number.get<uint64_t>();
}

unsigned index(const Json& object, const char* name) {
  return static_cast<unsigned>(wholeNumber(object, name, kMostStreams));
}

bool truthValue(const Json& object, const char* name) {
  const Json& value = member(object, name);
  if (!value.is_boolean()) {
    throw BadMessage(fmt::format("\"{}\" is neither true nor false", name));
  }
  return value.get<bool>();
}

std::string text(const Json& object, const char* name) {
  const Json& value = member(object, name);
  if (!value.is_string()) {
    throw BadMessage(fmt::format("\"{}\" is no text", name));
  }
  return value.get<std::string>();
}

const Json& objectMember(const Json& object, const char* name) {
  const Json& value = member(object, name);
  if (!value.is_object()) {
    throw BadMessage(fmt::format("\"{}\" is no object", name));
  }
  return value;
}

template <class Value, size_t kCount>
Value named(const std::pair<const char*, Value> (&names)[kCount], const Json& name) {
  const auto* const found = std::find_if(std::begin(names), std::end(names), [&](const auto& entry) {
    return name.is_string() && name.get_ref<const std::string&>() == entry.first;
  });
  if (found == std::end(names)) {
    throw BadMessage(fmt::format("{} is not known", name.is_structured() ? "what is no text" : name.dump()));
  }
  return found->second;
}

unsigned streamIndex(const std::string& key) {
  const bool isNumber = !key.empty() && key.size() <= 5 &&
                        std::all_of(key.begin(), key.end(), [](char letter) { return letter >= '0' && letter <= '9'; });
  if (!isNumber) {
    throw BadMessage("a key of \"streams\" is no stream's number");
  }
  return static_cast<unsigned>(std::stoul(key));
}

WatchWish readWatch(const Json& message) {
  WatchWish wish;
  for (const auto& [key, names] : objectMember(message, "streams").items()) {
    if (!names.is_array()) {
      throw BadMessage("a stream's planes are no list");
    }
    Roles& roles = wish.roles[streamIndex(key)];
    for (const Json& name : names) {
      roles |= bitOf(named(kRoles, name));
    }
  }
  return wish;
}

SetWish readSet(const Json& message) {
  SetWish wish{index(message, "stream"), {}};
  for (const auto& [key, value] : objectMember(message, "values").items()) {
    if (!value.is_string()) {
      throw BadMessage("a value is no text");
    }
    wish.settings.push_back(key + "=" + value.get<std::string>());
  }
  return wish;
}

AlignWish readAlign(const Json& message) {
  AlignWish wish{index(message, "stream"), truthValue(message, "on"), ""};
  for (const char* const name : {"scale", "left", "top", "right", "bottom"}) {
    const Json& number = member(message, name);
    if (!number.is_number()) {
      throw BadMessage(fmt::format("\"{}\" is no number", name));
    }
    wish.parameters += fmt::format("{}={},", name, number.dump());
  }
  wish.parameters += fmt::format("apply={}", truthValue(message, "apply") ? 1 : 0);
  return wish;
}

FailWish readFail(const Json& message) {
  return {text(message, "function"), wholeNumber(message, "nth", kLargestNth),
          named(kFaultKinds, member(message, "kind"))};
}

}  // namespace

ClientMessage parseClientMessage(std::string_view text) {
  const Json message = Json::parse(text, nullptr, false);
  if (!message.is_object()) {
    throw BadMessage("the message is no JSON object");
  }
  const Json& type = member(message, "type");
  ClientMessage read;
  if (message.contains("request")) {
    read.request = wholeNumber(message, "request", UINT32_MAX);
  }
  if (type == "watch") {
    read.wish = readWatch(message);
  } else if (type == "set") {
    read.wish = readSet(message);
  } else if (type == "reset") {
    read.wish = ResetWish{index(message, "stream")};
  } else if (type == "d2c") {
    read.wish = readAlign(message);
  } else if (type == "pause") {
    read.wish = PauseWish{index(message, "camera"), truthValue(message, "on")};
  } else if (type == "step") {
    read.wish = StepWish{index(message, "camera")};
  } else if (type == "fail") {
    read.wish = readFail(message);
  } else {
    throw BadMessage("\"type\" is not known");
  }
  const bool isAnswered = type == "set" || type == "reset" || type == "d2c" || type == "fail";
  if (isAnswered && !read.request) {
    throw BadMessage("\"request\" is missing");
  }
  return read;
}

}  // namespace vycam

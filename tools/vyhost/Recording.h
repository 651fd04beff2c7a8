#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "FunctionTable.h"

namespace vyhost {

class McapContent;
struct McapMessage;

/// What an error said when it was first seen.
struct ErrorText {
  int status = 0;
  std::string message, function, arguments;
  int exceptionType = 0;
};

/// One recorded call. Numbers of handles are by kind; 0 is a null handle.
struct Call {
  std::uint64_t number = 0;
  const FunctionInfo* function = nullptr;
  unsigned thread = 0;
  std::uint64_t beginTime = 0;  ///< nanoseconds since 1970
  std::uint64_t endTime = 0;    ///< 0 if it never returned
  nlohmann::json arguments;     ///< an array, in the order of function->arguments
  nlohmann::json result;        ///< null for a function without one
  /// The error in the slot, before and after; nothing for a function without a slot or a null slot.
  std::optional<std::uint64_t> errorBefore, errorAfter;
  std::optional<ErrorText> newError;  ///< of errorAfter, if this call showed it first
  std::string exception;              ///< the type of an exception that left the call; empty if none did
  std::optional<std::size_t> parent;  ///< position of the call it was made within, on its thread
  std::vector<std::size_t> children;  ///< positions, in order

  bool hasReturned() const { return endTime != 0; }
};

/// A record in the file: a call that begins, or one that returns.
struct Event {
  std::size_t call;  ///< position in Recording::calls
  bool isReturn;
};

/// A recording, whole or as far as it can be read.
struct Recording {
  std::map<std::string, std::string> about;  ///< version, commit, machine, pointer_bits, process, date
  std::vector<Call> calls;                   ///< in the order in which they began
  std::vector<Event> events;                 ///< in the order of the file
  std::string note;                          ///< why the recording ended, if it says so
  bool isFinished = false;                   ///< the file has its end; otherwise it breaks off, maybe within a record
  std::size_t damagedRecords = 0;            ///< records left out as their checksum is wrong

  /// Reads a file, chunked or not. Throws Failure with one line that says what is wrong and what would be right.
  static Recording read(const std::string& path);
  /// The same of a file that has been read; `intact`, if not null, gets those of its messages that are not damaged.
  static Recording read(const McapContent& content, const std::string& path,
                        std::vector<McapMessage>* intact = nullptr);
};

/// A text as it was recorded: JSON has every byte as the character of its number.
std::string bytesOf(const nlohmann::json& text);
/// A number as it was recorded, also one that JSON has no number for.
double realOf(const nlohmann::json& number);

}  // namespace vyhost

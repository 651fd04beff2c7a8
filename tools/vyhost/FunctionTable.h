#pragma once

#include <string_view>
#include <vector>

namespace vyhost {

/// What an argument or a result is, and so how a recording writes it.
enum class ValueKind {
  none,
  boolean,
  integer,
  real32,
  real64,
  text,
  texts,
  bytes,
  intrinsic,
  distortion,
  extrinsic,
  schemaItem,
  // Handles: running numbers by kind.
  device,
  deviceInfo,
  filter,
  schemaList,
  frame,
  profile,
  error,
  context,
  processor,
};

/// Whether values of a kind are handles.
constexpr bool isHandle(ValueKind kind) {
  return kind >= ValueKind::device;
}
/// "filter", "schema list" and so on.
const char* handleName(ValueKind kind);

struct Argument {
  std::string_view name;
  ValueKind kind;
};

/// A function of the library's two borders.
struct FunctionInfo {
  std::string_view name;
  bool isHost;        ///< the library calls it; otherwise it is the library's own
  bool hasErrorSlot;  ///< as its last argument, which is not among `arguments`
  bool takesReference;
  bool givesReference;
  ValueKind result;
  std::vector<Argument> arguments;
};

/// All of them, in the order of recording/Functions.h.
const std::vector<FunctionInfo>& functions();
/// Null for a name that is none of them.
const FunctionInfo* findFunction(std::string_view name);

}  // namespace vyhost

#include "Recording.h"

#include "Failure.h"

namespace vyhost {

Recording Recording::read(const std::string& path) {
  throw Failure("cannot read " + path);
}

}  // namespace vyhost

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Story.h"

namespace vyhost {

/// What deserves a look, a sentence each; none if all went well.
std::vector<std::string> findings(const Recording& recording, const Story& story);
/// A file's end, in words.
std::string endOf(const Recording& recording);
/// "0x3E71:0x4171, Corvid"
std::string cameraOf(const ContextStory& context);
/// "FrameMirror, switched off" and so on, of one moment.
std::string momentText(const Moment& moment);

/// A story for a person, folded to a width.
std::string storyText(const std::string& file, const Recording& recording, const Story& story, std::size_t width);

}  // namespace vyhost

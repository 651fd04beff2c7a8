#include "StoryPage.h"
namespace vyhost {
std::string storyPage(const std::string&, const Recording&, const Story&) {
  return {};
}
}  // namespace vyhost

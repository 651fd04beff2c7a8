#include "support/TextModel.h"

#include <cctype>
#include <sstream>

std::string lowered(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));  // of the C locale
  return text;
}

std::string trimmed(std::string text) {
  while (!text.empty() && text.front() == ' ') text.erase(0, 1);
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

bool booleanOf(const std::string& text, bool* out) {
  bool word = false;
  const bool isWord = !(std::istringstream(lowered(text)) >> std::boolalpha >> word).fail();
  const std::string digit = trimmed(text);
  if (!isWord && digit != "0" && digit != "1") return false;
  *out = isWord ? word : digit == "1";
  return true;
}

#pragma once

#include <sstream>
#include <string>
#include <vector>

/// A line of a schema text: "FrameRotate#0, integer, 0, 270, 90, 0, description".
struct Setting {
  std::string key;    ///< the first column
  std::string value;  ///< the sixth

  std::string filter() const { return key.substr(0, key.rfind('#')); }
  std::string item() const { return key.substr(key.rfind('#') + 1); }
  bool isSwitch() const { return item() == "255"; }
};

inline std::vector<std::string> splitLines(const std::string& text) {
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

inline std::vector<Setting> settingsOf(const std::string& schema) {
  std::vector<Setting> settings;
  for (const std::string& line : splitLines(schema)) {
    std::size_t value = 0;
    for (int column = 1; column < 6; ++column) value = line.find(", ", value) + 2;
    settings.push_back({line.substr(0, line.find(", ")), line.substr(value, line.find(", ", value) - value)});
  }
  return settings;
}

/// Texts in the form in which a configuration command takes them.
inline std::vector<const char*> pointersTo(const std::vector<std::string>& texts) {
  std::vector<const char*> pointers;
  for (const std::string& text : texts) pointers.push_back(text.c_str());
  return pointers;
}

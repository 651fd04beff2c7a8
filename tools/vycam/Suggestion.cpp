#include "Suggestion.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace vycam {
namespace {

/// How many letters have to be put in, taken out or changed to make one word of the other, whatever their case.
size_t distance(const std::string& from, const std::string& to) {
  std::vector<size_t> row(to.size() + 1);  // the distances of what was read of `from` to each beginning of `to`
  std::iota(row.begin(), row.end(), 0U);
  for (size_t i = 0; i < from.size(); ++i) {
    size_t diagonal = std::exchange(row[0], i + 1);
    for (size_t k = 0; k < to.size(); ++k) {
      const bool isSame =
          std::tolower(static_cast<unsigned char>(from[i])) == std::tolower(static_cast<unsigned char>(to[k]));
      const size_t changed = diagonal + (isSame ? 0 : 1);
      diagonal = row[k + 1];
      row[k + 1] = std::min({changed, row[k] + 1, diagonal + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string didYouMean(const std::string& word, const std::vector<std::string>& names) {
  const auto nearest = std::min_element(
      names.begin(), names.end(), [&](const auto& a, const auto& b) { return distance(word, a) < distance(word, b); });
  const bool isNear = nearest != names.end() && distance(word, *nearest) <= std::max<size_t>(1, word.size() / 3);
  return isNear ? fmt::format(" (did you mean {}?)", *nearest) : std::string();
}

}  // namespace vycam

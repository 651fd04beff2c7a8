#include "Accuracy.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace vycam {

void Accuracy::add(const std::vector<uint16_t>& measured, const std::vector<uint16_t>& truth) {
  const size_t count = std::min(measured.size(), truth.size());
  pixels_ += measured.size();
  for (size_t i = 0; i < count; ++i) {
    valid_ += measured[i] != 0 ? 1 : 0;
    true_ += truth[i] != 0 ? 1 : 0;
    if (measured[i] != 0 && truth[i] != 0) {
      ++errorCounts_[static_cast<size_t>(std::abs(measured[i] - truth[i]))];
      ++compared_;
    }
  }
}

double Accuracy::validShare() const {
  return pixels_ == 0 ? 0 : static_cast<double>(valid_) / static_cast<double>(pixels_);
}

double Accuracy::validShareOfScene() const {
  return true_ == 0 ? 0 : static_cast<double>(compared_) / static_cast<double>(true_);
}

std::optional<int> Accuracy::percentileError(unsigned percent) const {
  uint64_t seen = 0;
  for (size_t error = 0; error < errorCounts_.size(); ++error) {
    seen += errorCounts_[error];
    if (seen > 0 && seen * 100 >= compared_ * percent) {
      return static_cast<int>(error);
    }
  }
  return std::nullopt;
}

}  // namespace vycam

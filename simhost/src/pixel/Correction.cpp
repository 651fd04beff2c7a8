#include "pixel/Correction.h"

#include <algorithm>
#include <cmath>

namespace tavrix::pixel {

void CorrectionTable::build(double scale, double offset) {
  if (!table_.empty() && scale == scale_ && offset == offset_) return;
  table_.resize(65536);
  table_[0] = 0;
  for (size_t measured = 1; measured < table_.size(); ++measured) {
    const double corrected = std::floor(static_cast<double>(measured) * scale + offset + 0.5);
    table_[measured] = static_cast<uint16_t>(std::clamp(corrected, 0.0, 65535.0));
  }
  scale_ = scale;
  offset_ = offset;
}

void CorrectionTable::apply(const uint16_t* measured, uint16_t* corrected, size_t count) const {
  const uint16_t* table = table_.data();
  for (size_t i = 0; i < count; ++i) corrected[i] = table[measured[i]];
}

}  // namespace tavrix::pixel

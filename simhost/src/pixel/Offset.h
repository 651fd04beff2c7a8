#pragma once

#include <cstdint>

namespace tavrix::pixel {

// The raster offset: the camera reads its image out `shift` pixels late, so every pixel stands that many places later.
// What leaves a row on the right comes back on the left of the next row. Input and output must not overlap.

/// Makes the fault: raw[i] = image[i - shift]; the first pixels become 0.
void applyRasterOffset(const uint16_t* image, uint16_t* raw, uint32_t width, uint32_t height, uint32_t shift);
/// Repairs it: image[i] = raw[i + shift]; the last pixels, which were never read out, become 0.
void repairRasterOffset(const uint16_t* raw, uint16_t* image, uint32_t width, uint32_t height, uint32_t shift);

}  // namespace tavrix::pixel

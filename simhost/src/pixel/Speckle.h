#pragma once

#include <cstdint>
#include <vector>

namespace tavrix::pixel {

/// Memory that removeSpeckles() reuses from one image to the next.
struct SpeckleScratch {
  struct Run {
    uint32_t begin, end;  ///< pixels of the image, counted row by row
    uint32_t parent;      ///< an earlier run of the same island; the run itself where it is the island's first
    uint32_t size;        ///< pixels of the island, kept in its first run
  };
  std::vector<Run> runs;
};

/// Sets small islands to 0. An island is a set of pixels that are not 0, connected left, right, up and down between
/// neighbours whose values differ by no more than `maxDifference`; it is small with `maxSize` pixels or less.
void removeSpeckles(uint16_t* pixels, uint32_t width, uint32_t height, uint32_t maxSize, uint16_t maxDifference,
                    SpeckleScratch& scratch);

}  // namespace tavrix::pixel

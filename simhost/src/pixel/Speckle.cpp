#include "pixel/Speckle.h"

#include <algorithm>
#include <cstdlib>

namespace tavrix::pixel {
namespace {

using Run = SpeckleScratch::Run;

bool belongTogether(int a, int b, int maxDifference) {
  return std::abs(a - b) <= maxDifference;
}

/// Appends the runs of a row: stretches of pixels that belong together, left to right.
void findRuns(const uint16_t* pixels, uint32_t begin, uint32_t end, int maxDifference, std::vector<Run>& runs) {
  uint32_t i = begin;
  while (i < end) {
    if (pixels[i] == 0) {
      ++i;
      continue;
    }
    const uint32_t start = i++;
    while (i < end && pixels[i] != 0 && belongTogether(pixels[i], pixels[i - 1], maxDifference)) ++i;
    runs.push_back({start, i, static_cast<uint32_t>(runs.size()), i - start});
  }
}

uint32_t findFirst(std::vector<Run>& runs, uint32_t run) {
  while (runs[run].parent != run) {
    runs[run].parent = runs[runs[run].parent].parent;
    run = runs[run].parent;
  }
  return run;
}

void unite(std::vector<Run>& runs, uint32_t a, uint32_t b) {
  const uint32_t first = std::min(a, b);
  const uint32_t second = std::max(a, b);
  runs[second].parent = first;
  runs[first].size += runs[second].size;
}

/// Whether a pixel of a run belongs together with the pixel above it, in a run of the row above.
bool touch(const uint16_t* pixels, const Run& above, const Run& run, uint32_t width, int maxDifference) {
  const uint32_t begin = std::max(above.begin + width, run.begin);
  const uint32_t end = std::min(above.end + width, run.end);
  for (uint32_t i = begin; i < end; ++i) {
    if (belongTogether(pixels[i], pixels[i - width], maxDifference)) return true;
  }
  return false;
}

/// Unites the runs of a row, from index `row` on, with those of the row above, from index `above` to `row`.
void uniteRows(const uint16_t* pixels, std::vector<Run>& runs, uint32_t above, uint32_t row, uint32_t width,
               int maxDifference) {
  const uint32_t aboveEnd = row;
  const auto rowEnd = static_cast<uint32_t>(runs.size());
  while (above < aboveEnd && row < rowEnd) {
    const uint32_t firstAbove = findFirst(runs, above);
    const uint32_t firstOfRow = findFirst(runs, row);
    if (firstAbove != firstOfRow && touch(pixels, runs[above], runs[row], width, maxDifference)) {
      unite(runs, firstAbove, firstOfRow);
    }
    // The run that ends first overlaps no further run.
    if (runs[above].end + width < runs[row].end) {
      ++above;
    } else {
      ++row;
    }
  }
}

}  // namespace

void removeSpeckles(uint16_t* pixels, uint32_t width, uint32_t height, uint32_t maxSize, uint16_t maxDifference,
                    SpeckleScratch& scratch) {
  if (maxSize == 0) return;
  std::vector<Run>& runs = scratch.runs;
  runs.clear();
  uint32_t above = 0;
  for (uint32_t y = 0; y < height; ++y) {
    const auto row = static_cast<uint32_t>(runs.size());
    findRuns(pixels, y * width, (y + 1) * width, maxDifference, runs);
    uniteRows(pixels, runs, above, row, width, maxDifference);
    above = row;
  }
  // The parent of a run comes before it and already points at the island's first run, so one step leads there.
  for (Run& run : runs) {
    run.parent = runs[run.parent].parent;
    if (runs[run.parent].size <= maxSize) std::fill(pixels + run.begin, pixels + run.end, uint16_t{0});
  }
}

}  // namespace tavrix::pixel

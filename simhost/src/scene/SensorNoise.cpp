#include "scene/SensorNoise.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "scene/Hash.h"
#include "scene/WideVectors.h"

namespace tavrix {
namespace {

enum Purpose : uint32_t { kStep = 100, kPatch, kPatchEdge, kSpeckle, kSpeckleShape };

/// Clears what the right lens of a pair does not see. The right image shows a pixel further left, by its disparity. The
/// pixel is hidden where a pixel that was right of it, being nearer, shows in the same place or further left.
void clearHidden(uint16_t* row, uint32_t width, int subPixelBits) {
  int leftmost = INT_MAX;
  for (uint32_t x = width; x-- > 0;) {
    const int inRightImage = (static_cast<int>(x) << subPixelBits) - row[x];
    const bool isHidden = inRightImage >= leftmost;
    const int kept = row[x] == 0 ? INT_MAX : inRightImage;
    leftmost = kept < leftmost ? kept : leftmost;
    row[x] = isHidden ? uint16_t{0} : row[x];
  }
}

/// Clears the rim of sharp edges, where a time-of-flight pixel sees two distances at once.
void clearEdges(uint16_t* row, uint32_t width) {
  int before = row[0];
  for (uint32_t x = 0; x + 1 < width; ++x) {
    const int here = row[x];
    const int limit = here / 12;
    if (std::abs(here - before) > limit || std::abs(here - row[x + 1]) > limit) row[x] = 0;
    before = here;
  }
}

/// Raises one pixel in four by a step, and lowers another.
TAVRIX_WIDE void addSteps(uint16_t* row, uint32_t width, uint32_t seed, int largest) {
  for (uint32_t x = 0; x < width; ++x) {
    const uint32_t bits = hash(x + seed) & 3;
    const int step = bits == 0 ? 1 : bits == 1 ? -1 : 0;
    const int value = row[x] + step;
    const int kept = value < 1 ? 1 : value > largest ? largest : value;
    row[x] = row[x] == 0 ? uint16_t{0} : static_cast<uint16_t>(kept);
  }
}

struct Image {
  uint16_t* pixels;
  uint32_t width, height;

  uint16_t& at(uint32_t x, uint32_t y) const { return pixels[static_cast<size_t>(y) * width + x]; }
};

/// Clears a round patch with a ragged rim.
void clearPatch(const Image& image, uint32_t centreX, uint32_t centreY, uint32_t radius, uint32_t seed) {
  const uint32_t right = std::min(centreX + radius, image.width - 1);
  const uint32_t bottom = std::min(centreY + radius, image.height - 1);
  for (uint32_t y = centreY > radius ? centreY - radius : 0; y <= bottom; ++y) {
    for (uint32_t x = centreX > radius ? centreX - radius : 0; x <= right; ++x) {
      const uint32_t dx = x > centreX ? x - centreX : centreX - x;
      const uint32_t dy = y > centreY ? y - centreY : centreY - y;
      const uint32_t rim = hash(x / 2, y / 2, kPatchEdge + seed) % (radius * radius / 2 + 1);
      if (dx * dx + dy * dy + rim < radius * radius) image.at(x, y) = 0;
    }
  }
}

/// A few patches without a measurement, as from dark or shiny spots; each stays for some frames.
void clearPatches(const Image& image, uint32_t frameNumber) {
  constexpr uint32_t kCell = 150;
  const uint32_t epoch = frameNumber / 8;
  const uint32_t largest = 3 + image.width / 110;
  for (uint32_t y = 0; y < image.height; y += kCell) {
    for (uint32_t x = 0; x < image.width; x += kCell) {
      const uint32_t bits = hash(x + epoch * 7919, y, kPatch);
      if (bits % 4 != 0) continue;
      const uint32_t centreX = x + (bits >> 4) % kCell;
      const uint32_t centreY = y + (bits >> 12) % kCell;
      clearPatch(image, centreX, centreY, 2 + (bits >> 24) % largest, epoch);
    }
  }
}

/// A connected shape of at most `pixels` pixels in a square of 5 x 5. Bit y * 5 + x is set for a pixel of the shape.
uint32_t speckleShape(uint32_t pixels, uint32_t seed) {
  constexpr uint32_t kSide = 5;
  uint32_t x = kSide / 2;
  uint32_t y = kSide / 2;
  uint32_t shape = 0;
  for (uint32_t step = 0; step < pixels; ++step) {  // each pixel is beside the one before
    shape |= 1U << (y * kSide + x);
    const uint32_t way = hash(step, seed, kSpeckleShape) & 3;
    if (way == 0 && x + 1 < kSide) ++x;
    if (way == 1 && x > 0) --x;
    if (way == 2 && y + 1 < kSide) ++y;
    if (way == 3 && y > 0) --y;
  }
  return shape;
}

/// A value for a speckle that differs enough from all pixels that the speckle could touch; 0 where there is none.
int speckleValue(const Image& image, uint32_t left, uint32_t top, const SensorNoise& noise, uint32_t bits) {
  int lowest = INT_MAX;
  int highest = 0;
  for (uint32_t y = top - 1; y <= top + 5; ++y) {
    for (uint32_t x = left - 1; x <= left + 5; ++x) {
      const int value = image.at(x, y);
      if (value != 0) lowest = std::min(lowest, value);
      highest = std::max(highest, value);
    }
  }
  if (highest == 0) return 0;
  constexpr int kSpread = 4;  // of the values inside a speckle
  const int distance = noise.speckleDifference + 1 + static_cast<int>(bits % 200);
  const int above = highest + distance;
  const int below = lowest - distance - kSpread;
  const bool fitsAbove = above + kSpread <= noise.largestRaw;
  if (below >= 1 && (!fitsAbove || (bits & 1024) != 0)) return below;
  return fitsAbove ? above : 0;
}

void addSpeckles(const Image& image, uint32_t frameNumber, const SensorNoise& noise) {
  constexpr uint32_t kCell = 44;  // speckles of neighbouring cells do not touch
  if (noise.largestSpeckle == 0) return;
  for (uint32_t y = 2; y + kCell <= image.height; y += kCell) {
    for (uint32_t x = 2; x + kCell <= image.width; x += kCell) {
      const uint32_t bits = hash(x + frameNumber * 7919, y, kSpeckle);
      if (bits % 8 >= 3) continue;
      const uint32_t left = x + (bits >> 3) % (kCell - 8);
      const uint32_t top = y + (bits >> 9) % (kCell - 8);
      const int value = speckleValue(image, left, top, noise, bits >> 15);
      if (value == 0) continue;
      const uint32_t shape = speckleShape(1 + (bits >> 20) % noise.largestSpeckle, bits);
      for (uint32_t i = 0; i < 25; ++i) {
        uint16_t& pixel = image.at(left + i % 5, top + i / 5);
        // A pair may match wrongly where one lens sees nothing; a time-of-flight pixel without light has no distance.
        if ((shape >> i & 1) == 0 || (pixel == 0 && !noise.isStereo)) continue;
        pixel = static_cast<uint16_t>(value + static_cast<int>(hash(i + bits) & 3));
      }
    }
  }
}

}  // namespace

void addSensorNoise(uint16_t* raw, uint32_t width, uint32_t height, uint32_t frameNumber, const SensorNoise& noise) {
  if (width == 0 || height == 0) return;
  const Image image{raw, width, height};
  for (uint32_t y = 0; y < height; ++y) {
    uint16_t* row = raw + static_cast<size_t>(y) * width;
    if (noise.isStereo) {
      clearHidden(row, width, noise.subPixelBits);
    } else {
      clearEdges(row, width);
    }
    addSteps(row, width, hash(frameNumber, y, kStep), noise.largestRaw);
  }
  clearPatches(image, frameNumber);
  addSpeckles(image, frameNumber, noise);
}

}  // namespace tavrix

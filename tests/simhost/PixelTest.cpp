// Packing, run-length code, speckles, geometry, against slow and obvious ways to the same results. What the other pixel
// functions do is in FilterSettingsTest.cpp.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "pixel/Geometry.h"
#include "pixel/Offset.h"
#include "pixel/Packing.h"
#include "pixel/RunLength.h"
#include "pixel/Speckle.h"

namespace tavrix::pixel {
namespace {

using Image = std::vector<uint16_t>;

struct Size {
  uint32_t width, height;
};
constexpr Size kSizes[] = {{1, 1}, {1, 9}, {3, 2}, {7, 5}, {8, 3}, {17, 4}, {37, 41}, {64, 33}, {0, 4}, {4, 0}};

Image randomImage(Size size, unsigned seed, unsigned largest = 65535) {
  std::mt19937 random(seed);
  Image image(size_t{size.width} * size.height);
  for (uint16_t& pixel : image) pixel = static_cast<uint16_t>(random() % (largest + 1));
  return image;
}

// ---- Packing ----

bool bitAt(const std::vector<uint8_t>& bytes, size_t bit, BitOrder order) {
  const size_t inByte = order == BitOrder::msbFirst ? 7 - bit % 8 : bit % 8;
  return (bytes.at(bit / 8) >> inByte & 1) != 0;
}

uint16_t packedPixel(const std::vector<uint8_t>& row, Packing packing, uint32_t x) {
  if (packing.order == BitOrder::mipi) {
    const size_t group = size_t{x} / 4 * 5;
    return static_cast<uint16_t>(row.at(group + x % 4) << 2 | (row.at(group + 4) >> 2 * (x % 4) & 3));
  }
  unsigned value = 0;
  const auto bits = static_cast<size_t>(packing.bits);
  for (size_t i = 0; i < bits; ++i) {
    const size_t place = packing.order == BitOrder::msbFirst ? bits - 1 - i : i;
    value |= static_cast<unsigned>(bitAt(row, x * bits + i, packing.order)) << place;
  }
  return static_cast<uint16_t>(value);
}

TEST(Packing, StandsInTheBytesAsDescribedAndComesBackClamped) {
  const auto msb = BitOrder::msbFirst;
  const auto lsb = BitOrder::lsbFirst;
  const Packing packings[] = {{10, msb}, {11, msb}, {12, msb}, {14, msb}, {10, lsb},
                              {11, lsb}, {12, lsb}, {14, lsb}, {13, msb}, {10, BitOrder::mipi}};
  for (const Packing packing : packings) {
    for (const Size size : kSizes) {
      SCOPED_TRACE(std::to_string(packing.bits) + " bits, order " + std::to_string(static_cast<int>(packing.order)) +
                   ", " + std::to_string(size.width) + " x " + std::to_string(size.height));
      const unsigned largest = (1u << packing.bits) - 1;
      const Image image = randomImage(size, 1, largest + largest / 4);
      const size_t rowBytes = packedRowBytes(packing, size.width);
      std::vector<uint8_t> bytes(rowBytes * size.height, 0xA5);
      packRows(packing, image.data(), bytes.data(), size.width, size.height);

      Image expected = image;
      for (uint16_t& pixel : expected) pixel = static_cast<uint16_t>(std::min<unsigned>(pixel, largest));
      Image byDescription;
      for (uint32_t y = 0; y < size.height; ++y) {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(y * rowBytes);
        const std::vector<uint8_t> row(begin, begin + static_cast<std::ptrdiff_t>(rowBytes));
        for (uint32_t x = 0; x < size.width; ++x) byDescription.push_back(packedPixel(row, packing, x));
      }
      EXPECT_EQ(byDescription, expected);

      Image unpacked(image.size(), 0xFFFF);
      unpackRows(packing, bytes.data(), unpacked.data(), size.width, size.height);
      EXPECT_EQ(unpacked, expected);
    }
  }
}

// ---- Run-length code ----

TEST(RunLength, BringsBackWhatWasCompressed) {
  for (const size_t count : {size_t{0}, size_t{1}, size_t{2}, size_t{5}, size_t{1000}, size_t{70000}}) {
    for (const unsigned largest : {0u, 1u, 3u, 65535u}) {
      const Image image = randomImage({static_cast<uint32_t>(count), 1}, 2, largest);
      const std::vector<uint8_t> bytes = compressRuns(image.data(), count);
      Image back(count, 0xFFFF);
      EXPECT_EQ(decompressRuns(bytes.data(), bytes.size(), back.data(), count), "");
      EXPECT_EQ(back, image);
      EXPECT_LE(bytes.size(), (count + count / 0x7FFF + 1) * 2);
    }
  }
}

TEST(RunLength, FindsRunsOfSevenWhereverTheyBegin) {
  for (uint16_t before = 0; before < 6; ++before) {
    Image image;
    for (uint16_t i = 0; i < before; ++i) image.push_back(i);
    image.insert(image.end(), 7, 77);
    const size_t words = (before == 0 ? 0u : 1u + before) + 2u;
    EXPECT_EQ(compressRuns(image.data(), image.size()).size(), words * 2) << before;
  }
}

TEST(RunLength, TellsEveryDamageAndStaysInside) {
  const Image image = {5, 5, 5, 5, 5, 5, 5, 1, 2, 3, 9, 9, 9, 9, 9, 9, 9};
  const std::vector<uint8_t> whole = compressRuns(image.data(), image.size());
  Image back(image.size());
  const auto fault = [&](const std::vector<uint8_t>& bytes) {
    return decompressRuns(bytes.data(), bytes.size(), back.data(), back.size());
  };
  for (size_t size = 0; size < whole.size(); ++size) {
    EXPECT_NE(fault({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}), "") << size;
  }
  std::vector<uint8_t> longer = whole;
  longer.push_back(0);
  EXPECT_NE(fault(longer).find("left over"), std::string::npos);
  EXPECT_NE(fault({18, 0, 7, 0}).find("18 pixels where 17"), std::string::npos);
  EXPECT_NE(fault({0, 0, 7, 0}).find("no pixels"), std::string::npos);

  std::mt19937 random(3);
  for (int trial = 0; trial < 2000; ++trial) {  // the sanitizers watch this
    std::vector<uint8_t> noise(random() % 40);
    for (uint8_t& byte : noise) byte = static_cast<uint8_t>(random() % 12);
    fault(noise);
  }
}

// ---- Speckles ----

Image withoutSpeckles(Image image, Size size, uint32_t maxSize, int maxDifference) {
  std::vector<bool> seen(image.size());
  Image result = image;
  for (uint32_t start = 0; start < image.size(); ++start) {
    if (seen[start] || image[start] == 0) continue;
    std::vector<uint32_t> island = {start};
    seen[start] = true;
    for (size_t i = 0; i < island.size(); ++i) {
      const uint32_t at = island[i];
      const auto visit = [&](bool exists, uint32_t next) {
        if (!exists || seen[next] || image[next] == 0 || std::abs(image[next] - image[at]) > maxDifference) return;
        seen[next] = true;
        island.push_back(next);
      };
      visit(at % size.width > 0, at - 1);
      visit(at % size.width + 1 < size.width, at + 1);
      visit(at >= size.width, at - size.width);
      visit(at + size.width < image.size(), at + size.width);
    }
    if (island.size() > maxSize) continue;
    for (const uint32_t pixel : island) result[pixel] = 0;
  }
  return result;
}

TEST(Speckle, EqualsAFloodFill) {
  SpeckleScratch scratch;
  for (const Size size : kSizes) {
    for (unsigned trial = 0; trial < 60; ++trial) {
      const unsigned largest = trial % 3 == 0 ? 1 : 2 + trial % 7;
      const Image image = randomImage(size, trial, largest);
      const uint32_t maxSize = trial % 13;
      const int maxDifference = static_cast<int>(trial % 4);
      Image cleaned = image;
      removeSpeckles(cleaned.data(), size.width, size.height, maxSize, static_cast<uint16_t>(maxDifference), scratch);
      EXPECT_EQ(cleaned, withoutSpeckles(image, size, maxSize, maxDifference))
          << size.width << " x " << size.height << ", trial " << trial;
    }
  }
}

// ---- Geometry ----

// The buffers are as large as the images, so the sanitizers see what goes beyond.
TEST(Geometry, TurnedForthAndBackAnImageIsItself) {
  for (const Size size : kSizes) {
    for (const uint32_t bytes : {1u, 2u, 3u}) {
      std::vector<uint8_t> input(size_t{size.width} * size.height * bytes), there(input.size()), back(input.size());
      for (size_t i = 0; i < input.size(); ++i) input[i] = static_cast<uint8_t>(i * 151 >> 3);
      for (const int degrees : {0, 90, 180, 270}) {
        const Size turned = degrees % 180 == 0 ? size : Size{size.height, size.width};
        rotate(input.data(), there.data(), size.width, size.height, bytes, degrees);
        rotate(there.data(), back.data(), turned.width, turned.height, bytes, (360 - degrees) % 360);
        EXPECT_EQ(back, input) << size.width << " x " << size.height << ", " << bytes << " bytes, by " << degrees;
      }
      mirror(input.data(), there.data(), size.width, size.height, bytes);
      flip(there.data(), back.data(), size.width, size.height, bytes);
      rotate(back.data(), there.data(), size.width, size.height, bytes, 180);
      EXPECT_EQ(there, input) << size.width << " x " << size.height << ", " << bytes << " bytes";
    }
  }
}

// ---- Offset ----

TEST(RasterOffset, MovesPixelsAlongTheRowsAndLeavesNothingOld) {
  const std::pair<uint32_t, Image> cases[] = {
      {0, {1, 2, 3, 4, 5, 6}}, {5, {0, 0, 0, 0, 0, 1}}, {6, {0, 0, 0, 0, 0, 0}}, {9, {0, 0, 0, 0, 0, 0}}};
  for (const auto& [shift, moved] : cases) {
    const Image image = {1, 2, 3, 4, 5, 6};
    Image raw(6, 77), repaired(6, 77);
    applyRasterOffset(image.data(), raw.data(), 3, 2, shift);
    EXPECT_EQ(raw, moved);
    repairRasterOffset(raw.data(), repaired.data(), 3, 2, shift);
    for (uint32_t i = 0; i < 6; ++i) EXPECT_EQ(repaired[i], i + shift < 6 ? image[i] : 0) << shift;
  }
}

}  // namespace
}  // namespace tavrix::pixel

// The command from outside, and PNG files as they are stored.
#pragma once

#include <png.h>

#include <string>
#include <vector>

#include "Failure.h"
#include "Image.h"
#include "support/CommandTest.h"

/// The rows have packed pixels; words begin with their high byte.
struct StoredPng {
  png_uint_32 width = 0, height = 0;
  int bitDepth = 16, colourType = PNG_COLOR_TYPE_GRAY, interlace = PNG_INTERLACE_NONE;
  std::vector<std::vector<png_byte>> rows;

  /// A pixel of an 8-bit RGB picture, 0xRRGGBB.
  unsigned colour(size_t x, size_t y) const {
    const png_byte* const at = &rows[y][3 * x];
    return static_cast<unsigned>(at[0] << 16 | at[1] << 8 | at[2]);
  }
  /// "64x48 RGB" or "64x48 grey 16"
  std::string describe() const;
  /// FNV-1a over the rows.
  uint64_t checksum() const;
};

StoredPng storedPng(const vycam::GreyImage& image);
void writePng(const std::string& path, const StoredPng& png);
StoredPng readPng(const std::string& path);

/// 24 x 16 millimetres that rise from left to right, with a hole of 4 x 4 at the upper left.
vycam::GreyImage rampWithHole();

/// What the function's Failure says; "accepted" if there is none.
template <typename Function>
std::string refusal(const Function& function) {
  try {
    function();
  } catch (const vycam::Failure& failure) {
    return failure.what();
  }
  return "accepted";
}

/// A file of tests/vycam/kept.
std::string kept(const std::string& name);
/// Fails where the text is not the kept one; with VYCAM_KEEP in the environment, it is from then on.
void expectKept(const std::string& name, const std::string& text);

/// Fails for each part that the text lacks.
void expectParts(const std::string& text, const std::vector<std::string>& parts);

class VycamTest : public CommandTest {
 protected:
  /// Runs the command in the scratch folder, behind `preparation` in the same shell. Fails when the command calls the
  /// host with what is not there.
  Outcome vycam(const std::string& arguments, const std::string& preparation = "") const {
    Outcome outcome = shell(preparation + "VYSIM_PRINT_REFUSALS=1 '" VYCAM_COMMAND "' " + arguments);
    EXPECT_EQ(outcome.err.find("refused: "), std::string::npos) << outcome.err;
    return outcome;
  }
  StoredPng png(const std::string& name) const { return readPng(path(name)); }
};

// Pictures for people: numbers as colours, with a scale that shows which colour means which number.
#pragma once

#include <gd.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ColourMap.h"
#include "Image.h"

namespace vycam {

/// Gives each number its place on the palette. Disparities are placed by their reciprocals, from the largest to the
/// smallest, so that they have the colours of the depths they stand for.
struct Scale {
  double low = 1;
  double high = 2;
  bool isReciprocal = false;
  Palette palette = Palette::WarmToCool;
  std::string title;  ///< "depth in mm"
  int missing = 0;    ///< stands for "no measurement"; -1: nothing does

  /// 0 to 1 for a number between the ends.
  double placeOf(double number) const;
  double numberAt(double place) const;
};

/// A scale that covers all but the outermost hundredth of the numbers in these images.
Scale scaleFor(const std::vector<const GreyImage*>& images, const std::string& title);

class Picture {
 public:
  /// Numbers as colours; the scale stands below.
  static Picture ofNumbers(const GreyImage& image, const Scale& scale);
  /// Three bytes per pixel, without a scale.
  static Picture ofColours(uint32_t width, uint32_t height, const std::vector<uint8_t>& rgb);

  /// Three bytes per pixel.
  std::vector<uint8_t> rgb() const;

  /// The bytes of a PNG file, with the image (not the scale) reduced to `maxWidth` where it is wider; 0 = never
  /// reduced.
  std::string png(int maxWidth = 0) const;

 private:
  struct Destroy {
    void operator()(gdImagePtr image) const { gdImageDestroy(image); }
  };
  using GdImage = std::unique_ptr<gdImage, Destroy>;

  static GdImage makeImage(int width, int height);
  static void drawScale(gdImage* canvas, int top, const Scale& scale);

  GdImage image_;
  bool hasScale_ = false;
  Scale scale_;
};

}  // namespace vycam

#include "Picture.h"

#include <fmt/format.h>
#include <gdfontmb.h>
#include <gdfonts.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "Failure.h"

namespace vycam {
namespace {

// The scale below a picture, in pixels.
constexpr int kScaleHeight = 58;
constexpr int kScaleMargin = 14;
constexpr int kTitleTop = 6;
constexpr int kBarTop = 23;
constexpr int kBarHeight = 12;
constexpr int kTickLength = 4;
constexpr int kLabelTop = kBarTop + kBarHeight + kTickLength + 1;
constexpr int kTickDistance = 64;     // at least: a label of six digits fits
constexpr int kSmallestCanvas = 340;  // the longest of the texts on a scale fit

constexpr Colour kPaper{250, 250, 248};
constexpr Colour kInk{40, 40, 44};

constexpr double kOutermostShare = 0.01;

constexpr int kCompression = 4;  // of 9; a higher level takes several times as long and saves a few percent

int gdColour(Colour colour) {
  return gdTrueColor(colour.red, colour.green, colour.blue);
}

void drawText(gdImage* canvas, gdFontPtr font, int x, int y, const std::string& text) {
  std::vector<unsigned char> bytes(text.begin(), text.end());
  bytes.push_back(0);
  gdImageString(canvas, font, x, y, bytes.data(), gdColour(kInk));
}

int textWidth(gdFontPtr font, const std::string& text) {
  return font->w * static_cast<int>(text.size());
}

/// The smallest of 1, 2, 5, 10, 20, 50, ... that is not below `least`.
double roundStep(double least) {
  double step = 1;
  for (;;) {
    for (const double factor : {1.0, 2.0, 5.0}) {
      if (step * factor >= least) {
        return step * factor;
      }
    }
    step *= 10;
  }
}

/// Round numbers for the ticks of a scale, from left to right, their places at least `distance` apart.
std::vector<double> tickNumbers(const Scale& scale, double distance) {
  std::vector<double> ticks;
  double place = 0;
  for (;;) {
    // The more the numbers change over the distance, the rounder the next one can be.
    const double here = scale.numberAt(place);
    const double step = roundStep(std::fabs(scale.numberAt(place + distance) - here));
    const double tick = scale.isReciprocal ? std::floor(here / step) * step : std::ceil(here / step) * step;
    if (!(tick >= scale.low && tick <= scale.high)) {
      return ticks;
    }
    ticks.push_back(tick);
    place = scale.placeOf(tick) + distance;
  }
}

}  // namespace

double Scale::placeOf(double number) const {
  if (isReciprocal) {
    return number > 0 ? (1 / number - 1 / high) / (1 / low - 1 / high) : 1;
  }
  return (number - low) / (high - low);
}

double Scale::numberAt(double place) const {
  return isReciprocal ? 1 / (1 / high + place * (1 / low - 1 / high)) : low + place * (high - low);
}

Scale scaleFor(const std::vector<const GreyImage*>& images, const std::string& title) {
  std::vector<uint64_t> counts(0x10000);
  uint64_t all = 0;
  for (const GreyImage* image : images) {
    for (const uint16_t pixel : image->pixels) {
      ++counts[pixel];
    }
  }
  counts[0] = 0;  // no measurement, or black: neither may stretch the scale
  for (const uint64_t count : counts) {
    all += count;
  }
  Scale scale;
  scale.title = title;
  if (all == 0) {
    return scale;
  }
  const auto outermost = static_cast<uint64_t>(static_cast<double>(all) * kOutermostShare);
  const auto end = [&](auto first, auto last) {
    uint64_t seen = 0;
    return std::find_if(first, last, [&](uint64_t count) { return (seen += count) > outermost; }) - first;
  };
  scale.low = static_cast<double>(end(counts.begin(), counts.end()));
  scale.high = static_cast<double>(0xFFFF - end(counts.rbegin(), counts.rend()));
  scale.high = std::max(scale.high, scale.low + 1);
  return scale;
}

Picture::GdImage Picture::makeImage(int width, int height) {
  GdImage image(gdImageCreateTrueColor(width, height));
  if (image == nullptr) {
    throw Failure(fmt::format("no memory for a picture of {}x{}", width, height));
  }
  return image;
}

Picture Picture::ofNumbers(const GreyImage& image, const Scale& scale) {
  std::vector<int> colours(0x10000);
  for (size_t number = 0; number < colours.size(); ++number) {
    colours[number] = gdColour(colourAt(scale.palette, scale.placeOf(static_cast<double>(number))));
  }
  if (scale.missing >= 0) {
    colours[static_cast<size_t>(scale.missing)] = gdColour(kNoMeasurement);
  }
  Picture picture;
  picture.image_ = makeImage(static_cast<int>(image.width), static_cast<int>(image.height));
  picture.hasScale_ = true;
  picture.scale_ = scale;
  for (size_t y = 0; y < image.height; ++y) {
    for (size_t x = 0; x < image.width; ++x) {
      picture.image_->tpixels[y][x] = colours[image.pixels[y * image.width + x]];
    }
  }
  return picture;
}

Picture Picture::ofColours(uint32_t width, uint32_t height, const std::vector<uint8_t>& rgb) {
  Picture picture;
  picture.image_ = makeImage(static_cast<int>(width), static_cast<int>(height));
  for (size_t y = 0; y < height; ++y) {
    for (size_t x = 0; x < width; ++x) {
      const uint8_t* const pixel = &rgb[(y * width + x) * 3];
      picture.image_->tpixels[y][x] = gdColour({pixel[0], pixel[1], pixel[2]});
    }
  }
  return picture;
}

std::vector<uint8_t> Picture::rgb() const {
  std::vector<uint8_t> bytes;
  for (int y = 0; y < gdImageSY(image_.get()); ++y) {
    for (int x = 0; x < gdImageSX(image_.get()); ++x) {
      const int colour = image_->tpixels[y][x];
      for (const int channel : {gdTrueColorGetRed(colour), gdTrueColorGetGreen(colour), gdTrueColorGetBlue(colour)}) {
        bytes.push_back(static_cast<uint8_t>(channel));
      }
    }
  }
  return bytes;
}

void Picture::drawScale(gdImage* canvas, int top, const Scale& scale) {
  const int width = gdImageSX(canvas);
  const int left = kScaleMargin;
  const int right = width - kScaleMargin - 1;
  drawText(canvas, gdFontGetMediumBold(), left, top + kTitleTop, scale.title);
  if (scale.missing >= 0) {
    const std::string text = "no measurement";
    const int x = right - textWidth(gdFontGetSmall(), text);
    drawText(canvas, gdFontGetSmall(), x, top + kTitleTop, text);
    gdImageFilledRectangle(canvas, x - 16, top + kTitleTop + 2, x - 5, top + kTitleTop + 11, gdColour(kNoMeasurement));
  }
  for (int x = left; x <= right; ++x) {
    const int colour = gdColour(colourAt(scale.palette, static_cast<double>(x - left) / (right - left)));
    gdImageLine(canvas, x, top + kBarTop, x, top + kBarTop + kBarHeight - 1, colour);
  }
  const double barWidth = right - left;
  for (const double number : tickNumbers(scale, kTickDistance / barWidth)) {
    const int x = left + static_cast<int>(std::lround(scale.placeOf(number) * barWidth));
    gdImageLine(canvas, x, top + kBarTop + kBarHeight, x, top + kBarTop + kBarHeight + kTickLength - 1, gdColour(kInk));
    const std::string label = fmt::format("{:.0f}", number);
    const int labelWidth = textWidth(gdFontGetSmall(), label);
    drawText(canvas, gdFontGetSmall(), std::clamp(x - labelWidth / 2, 2, width - 2 - labelWidth), top + kLabelTop,
             label);
  }
}

std::string Picture::png(int maxWidth) const {
  const int imageWidth = gdImageSX(image_.get());
  const int imageHeight = gdImageSY(image_.get());
  const bool isReduced = maxWidth > 0 && imageWidth > maxWidth;
  const int shownWidth = isReduced ? maxWidth : imageWidth;
  const int shownHeight = isReduced ? std::max(1, imageHeight * maxWidth / imageWidth) : imageHeight;
  const int width = hasScale_ ? std::max(shownWidth, kSmallestCanvas) : shownWidth;
  const GdImage canvas = makeImage(width, shownHeight + (hasScale_ ? kScaleHeight : 0));
  gdImageFilledRectangle(canvas.get(), 0, 0, width - 1, gdImageSY(canvas.get()) - 1, gdColour(kPaper));
  const int left = (width - shownWidth) / 2;
  if (isReduced) {
    gdImageCopyResampled(canvas.get(), image_.get(), left, 0, 0, 0, shownWidth, shownHeight, imageWidth, imageHeight);
  } else {
    gdImageCopy(canvas.get(), image_.get(), left, 0, 0, 0, imageWidth, imageHeight);
  }
  if (hasScale_) {
    drawScale(canvas.get(), shownHeight, scale_);
  }
  int size = 0;
  const std::unique_ptr<void, void (*)(void*)> bytes(gdImagePngPtrEx(canvas.get(), &size, kCompression), gdFree);
  if (bytes == nullptr) {
    throw Failure(fmt::format("no memory for a picture of {}x{}", width, gdImageSY(canvas.get())));
  }
  return {static_cast<const char*>(bytes.get()), static_cast<size_t>(size)};
}

}  // namespace vycam

#include "camera/Families.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace tavrix {
namespace {

constexpr uint16_t kVendor = 0x3E71;

// Product ids. The host has lists of those of the first three families, without 416B.
constexpr uint16_t kTalonIds[] = {0x0351, 0x0355};
constexpr uint16_t kMirelIds[] = {0x0361, 0x0362};
constexpr uint16_t kPellanIds[] = {0x0371, 0x0372, 0x416B};
constexpr uint16_t kCorvidIds[] = {0x414B, 0x413A};
constexpr uint16_t kHaldenIds[] = {0x41A1};
constexpr uint16_t kOstrelIds[] = {0x4181, 0x41AB};
constexpr uint16_t kVashtiIds[] = {0x41F7};
constexpr uint16_t kSorrelIds[] = {0x41B5, 0x41F3};
constexpr uint16_t kSpecialOpenNiIds[] = {0x4166, 0x4148, 0x4177, 0x4149, 0x41BC, 0x41DF,
                                          0x41E7, 0x4113, 0x41BE, 0x41A7, 0x4196};
constexpr uint16_t kNormalOpenNiIds[] = {0x417D, 0x41AD, 0x4119, 0x419F, 0x4110};

constexpr uint8_t kTalonList[] = {0x71, 0x3E, 0x51, 0x03, 0x71, 0x3E, 0x55, 0x03};
constexpr uint8_t kMirelList[] = {0x71, 0x3E, 0x61, 0x03, 0x71, 0x3E, 0x62, 0x03};
constexpr uint8_t kPellanList[] = {0x71, 0x3E, 0x71, 0x03, 0x71, 0x3E, 0x72, 0x03};

constexpr char kMsb10[] = "10-bit packed, most significant bit first";
constexpr char kMsb11[] = "11-bit packed, most significant bit first";
constexpr char kMsb12[] = "12-bit packed, most significant bit first";
constexpr char kLsb14[] = "14-bit packed, least significant bit first";
constexpr char kMipi10[] = "10-bit, four high bytes and one of low bits";
constexpr char kRunLength[] = "16-bit, run-length compressed";
constexpr char kWords[] = "16-bit little-endian words";
constexpr char kLateWords[] = "16-bit little-endian words, read out 8 pixels late";
constexpr char kGrey[] = "8-bit grey";
constexpr char kRgb[] = "red, green, blue, 8 bits each";

constexpr auto kDisparity = VY_PIXEL_DISPARITY;
constexpr auto kDepth = VY_PIXEL_DEPTH;
constexpr auto kIntensity = VY_PIXEL_INTENSITY;
constexpr auto kColor = VY_PIXEL_COLOR;

const vysim_stream kTalonStreams[] = {
    {VY_SENSOR_DEPTH, 848, 480, VY_FORMAT_Y14, kDisparity, kLsb14},
    {VY_SENSOR_COLOR, 1280, 720, VY_FORMAT_RGB, kColor, kRgb},
    {VY_SENSOR_IR_LEFT, 848, 480, VY_FORMAT_Y10, kIntensity, kMsb10},
    {VY_SENSOR_IR_RIGHT, 848, 480, VY_FORMAT_Y10, kIntensity, kMsb10},
};
const vysim_stream kMirelStreams[] = {
    {VY_SENSOR_DEPTH, 1280, 960, VY_FORMAT_Y12, kDisparity, kMsb12},
    {VY_SENSOR_COLOR, 1280, 960, VY_FORMAT_RGB, kColor, kRgb},
    {VY_SENSOR_IR_LEFT, 1280, 960, VY_FORMAT_Y10_MIPI, kIntensity, kMipi10},
    {VY_SENSOR_IR_RIGHT, 1280, 960, VY_FORMAT_Y10_MIPI, kIntensity, kMipi10},
};
const vysim_stream kPellanStreams[] = {
    {VY_SENSOR_DEPTH, 1280, 800, VY_FORMAT_RLE, kDisparity, kRunLength},
    {VY_SENSOR_COLOR, 1280, 720, VY_FORMAT_RGB, kColor, kRgb},
    {VY_SENSOR_IR_LEFT, 1280, 800, VY_FORMAT_Y8, kIntensity, kGrey},
    {VY_SENSOR_IR_RIGHT, 1280, 800, VY_FORMAT_Y8, kIntensity, kGrey},
    {VY_SENSOR_9, 1280, 800, VY_FORMAT_Y8, kIntensity, kGrey},
};
const vysim_stream kCorvidStreams[] = {
    {VY_SENSOR_DEPTH, 1280, 800, VY_FORMAT_Y16, kDisparity, kLateWords},
    {VY_SENSOR_COLOR, 1280, 720, VY_FORMAT_RGB, kColor, kRgb},
    {VY_SENSOR_IR, 1280, 800, VY_FORMAT_Y10, kIntensity, kMsb10},
    {VY_SENSOR_IR_LEFT, 1280, 800, VY_FORMAT_Y10, kIntensity, kMsb10},
    {VY_SENSOR_IR_RIGHT, 1280, 800, VY_FORMAT_Y10, kIntensity, kMsb10},
};
const vysim_stream kHaldenStreams[] = {
    {VY_SENSOR_DEPTH, 800, 600, VY_FORMAT_Y11, kDisparity, kMsb11},
    {VY_SENSOR_COLOR, 640, 480, VY_FORMAT_RGB, kColor, kRgb},
    {VY_SENSOR_IR, 800, 600, VY_FORMAT_Y10, kIntensity, kMsb10},
};
const vysim_stream kTimeOfFlightStreams[] = {
    {VY_SENSOR_DEPTH, 640, 576, VY_FORMAT_Y16, kDepth, kWords},
    {VY_SENSOR_COLOR, 1280, 720, VY_FORMAT_RGB, kColor, kRgb},
    {VY_SENSOR_IR, 640, 576, VY_FORMAT_Y8, kIntensity, kGrey},
};
const vysim_stream kSorrelStreams[] = {
    {VY_SENSOR_DEPTH, 640, 480, VY_FORMAT_Y10_MIPI, kDisparity, kMipi10},
    {VY_SENSOR_COLOR, 640, 480, VY_FORMAT_RGB, kColor, kRgb},
    {VY_SENSOR_IR, 640, 480, VY_FORMAT_Y8, kIntensity, kGrey},
};
const vysim_stream kSpecialOpenNiStreams[] = {
    {VY_SENSOR_DEPTH, 1280, 800, VY_FORMAT_Y11, kDisparity, kMsb11},
    {VY_SENSOR_COLOR, 1280, 720, VY_FORMAT_RGB, kColor, kRgb},
    {VY_SENSOR_IR, 1280, 800, VY_FORMAT_Y10, kIntensity, kMsb10},
};
const vysim_stream kNormalOpenNiStreams[] = {
    {VY_SENSOR_DEPTH, 1280, 800, VY_FORMAT_Y12, kDisparity, kMsb12},
    {VY_SENSOR_COLOR, 1280, 720, VY_FORMAT_RGB, kColor, kRgb},
    {VY_SENSOR_IR, 1280, 800, VY_FORMAT_Y10_MIPI, kIntensity, kMipi10},
};

constexpr int kNoList = -1;

/// See vysim_family.
struct Optics {
  float focalLengthPx, baselineMm;
  int subPixelBits;
};

template <size_t kIds, size_t kStreams>
vysim_family shown(const char* name, const uint16_t (&ids)[kIds], int listType, const vysim_stream (&streams)[kStreams],
                   const Optics& optics) {
  return {name,
          kVendor,
          ids,
          kIds,
          listType,
          streams,
          kStreams,
          optics.focalLengthPx,
          optics.baselineMm,
          optics.subPixelBits};
}

std::vector<Family> makeFamilies() {
  const auto msb = pixel::BitOrder::msbFirst;
  const auto lsb = pixel::BitOrder::lsbFirst;
  const auto mipi = pixel::BitOrder::mipi;
  // Focal length, baseline and fraction bits are such that the disparity of half a metre, the nearest depth of
  // interest, just fits the bits of a pixel. The numbers behind them stand in the order of Family's members.
  return {
      {shown("Talon", kTalonIds, 0, kTalonStreams, {430, 50, 8}), lsb, 16383, 25, 256, 0.985, 12, 0},
      {shown("Mirel", kMirelIds, 3, kMirelStreams, {920, 55, 5}), msb, 4095, 25, 512, 1, 0, 0},
      {shown("Pellan", kPellanIds, 6, kPellanStreams, {910, 50, 5}), msb, 65535, 25, 512, 1, 0, 0},
      {shown("Corvid", kCorvidIds, kNoList, kCorvidStreams, {910, 40, 7}), msb, 65535, 25, 256, 1, 0, 8, true},
      {shown("Halden", kHaldenIds, kNoList, kHaldenStreams, {570, 50, 5}), msb, 2047, 25, 256, 1, 0, 0, true},
      {shown("Ostrel", kOstrelIds, kNoList, kTimeOfFlightStreams, {505, 0, 0}), msb, 65535, 12, 10, 1, 0, 0},
      {shown("Vashti", kVashtiIds, kNoList, kTimeOfFlightStreams, {505, 0, 0}), msb, 65535, 12, 10, 1, 0, 0},
      {shown("Sorrel", kSorrelIds, kNoList, kSorrelStreams, {460, 65, 4}), mipi, 1023, 0, 0, 1, 0, 0, true},
      {shown("SpecialOpenNI", kSpecialOpenNiIds, kNoList, kSpecialOpenNiStreams, {910, 65, 4}), msb, 2047, 25, 256, 1,
       0, 0},
      {shown("NormalOpenNI", kNormalOpenNiIds, kNoList, kNormalOpenNiStreams, {910, 65, 5}), msb, 4095, 25, 256, 1, 0,
       0},
  };
}

bool equalIgnoringCase(const std::string& a, const std::string& b) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [&](char x, char y) { return lower(x) == lower(y); });
}

}  // namespace

const std::vector<Family>& families() {
  static const std::vector<Family> all = makeFamilies();
  return all;
}

const Family* findFamily(const std::string& name) {
  for (const Family& family : families()) {
    if (equalIgnoringCase(name, family.shown.name)) return &family;
  }
  return nullptr;
}

std::string familyNames() {
  std::string names;
  for (const Family& family : families()) names += (names.empty() ? "" : ", ") + std::string(family.shown.name);
  return names;
}

const DeviceList* findDeviceList(int type) {
  static constexpr DeviceList kLists[] = {
      {0, kTalonList, sizeof kTalonList}, {3, kMirelList, sizeof kMirelList}, {6, kPellanList, sizeof kPellanList}};
  const auto* const list =
      std::find_if(std::begin(kLists), std::end(kLists), [type](const DeviceList& each) { return each.type == type; });
  return list != std::end(kLists) ? list : nullptr;
}

}  // namespace tavrix

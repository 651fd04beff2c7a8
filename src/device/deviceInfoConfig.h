#pragma once

#include <cstdint>
#include <vector>

/// Which camera belongs to which family, by USB vendor and product id.
namespace deviceInfoConfig {

/// One camera of a list that the host fills.
struct DeviceIdentifier {
  std::uint16_t vendorId;
  std::uint16_t productId;
};
static_assert(sizeof(DeviceIdentifier) == 4, "a record of the host's list data is 4 bytes");

/// The camera maker's vendor id; the fixed lists speak of this vendor's products only.
inline constexpr unsigned kMakerVendorId = 0x3E71;

inline constexpr std::uint16_t HaldenDevPids[] = {0x41A1};
/// 0x416B of the maker is a Pellan camera: that pair is tested before the fixed lists.
inline constexpr std::uint16_t CorvidDevPids[] = {0x414B, 0x413A, 0x416B};
inline constexpr std::uint16_t SorrelDevPids[] = {0x41B5, 0x41F3};
inline constexpr std::uint16_t OstrelDevPids[] = {0x4181, 0x41AB};
inline constexpr std::uint16_t VashtiDevPids[] = {0x41F7};
inline constexpr std::uint16_t SpecialOpenNIDevPids[] = {0x4166, 0x4148, 0x4177, 0x4149, 0x41BC, 0x41DF,
                                                         0x41E7, 0x4113, 0x41BE, 0x41A7, 0x4196};
inline constexpr std::uint16_t NormalOpenNIDevPids[] = {0x417D, 0x41AD, 0x4119, 0x419F, 0x4110};

inline constexpr std::uint16_t kFixedPellanPid = 0x416B;

// Lists that the host fills at run time, empty until then. Unguarded: the host does not replace one while a context is
// being made.
extern std::vector<DeviceIdentifier> TalonDevPids;
extern std::vector<DeviceIdentifier> MirelDevPids;
extern std::vector<DeviceIdentifier> PellanDevPids;

/// Replaces the list that stands for `type` with the records in `data`: `size` bytes, 4 a record, vendor id and product
/// id as 16-bit little-endian values; the bytes of an incomplete last record are ignored. A type without a list does
/// nothing. A negative size throws std::length_error and changes nothing.
void replaceList(int type, const std::uint8_t* data, int size);

/// Whether a list holds this camera. Ids above 16 bits never match.
bool isDeviceInContainer(const std::vector<DeviceIdentifier>& list, unsigned vid, unsigned pid);

}  // namespace deviceInfoConfig

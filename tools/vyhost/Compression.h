#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vyhost {

/// What an MCAP chunk holds: `compression` is "", "zstd" or "lz4" (its frame format). Nothing if that is another one,
/// or if the bytes are damaged or are not `size` bytes when decompressed.
std::optional<std::string> decompress(std::string_view compression, std::string_view bytes, std::uint64_t size);

/// A zstd frame.
std::string compressZstd(std::string_view bytes);

}  // namespace vyhost

#include "Compression.h"

#include <lz4frame.h>
#include <zstd.h>

#include <memory>
#include <stdexcept>

namespace vyhost {
namespace {

/// Repeats `step`, which reads from the input's rest and writes into the buffer, as long as it does one or the other.
/// The result grows with what is really there: a damaged file may promise any size.
template <typename Step>
std::optional<std::string> decompressBy(const Step& step, std::string_view input, std::uint64_t size) {
  std::string output;
  std::string buffer(1 << 16, '\0');
  for (;;) {
    std::size_t read = input.size();
    std::size_t written = buffer.size();
    if (!step(input.data(), read, buffer.data(), written)) return std::nullopt;
    input.remove_prefix(read);
    output.append(buffer, 0, written);
    if (output.size() > size) return std::nullopt;
    if (read == 0 && written == 0) break;
  }
  if (output.size() != size || !input.empty()) return std::nullopt;
  return output;
}

std::optional<std::string> decompressZstd(std::string_view bytes, std::uint64_t size) {
  const std::unique_ptr<ZSTD_DCtx, decltype(&ZSTD_freeDCtx)> context(ZSTD_createDCtx(), ZSTD_freeDCtx);
  const auto step = [&context](const char* from, std::size_t& read, char* to, std::size_t& written) {
    ZSTD_inBuffer input{from, read, 0};
    ZSTD_outBuffer output{to, written, 0};
    const std::size_t status = ZSTD_decompressStream(context.get(), &output, &input);
    read = input.pos;
    written = output.pos;
    return ZSTD_isError(status) == 0;
  };
  return decompressBy(step, bytes, size);
}

std::optional<std::string> decompressLz4(std::string_view bytes, std::uint64_t size) {
  LZ4F_dctx* made = nullptr;
  if (LZ4F_isError(LZ4F_createDecompressionContext(&made, LZ4F_VERSION)) != 0) throw std::bad_alloc();
  const std::unique_ptr<LZ4F_dctx, decltype(&LZ4F_freeDecompressionContext)> context(made,
                                                                                     LZ4F_freeDecompressionContext);
  const auto step = [&context](const char* from, std::size_t& read, char* to, std::size_t& written) {
    return LZ4F_isError(LZ4F_decompress(context.get(), to, &written, from, &read, nullptr)) == 0;
  };
  return decompressBy(step, bytes, size);
}

}  // namespace

std::optional<std::string> decompress(std::string_view compression, std::string_view bytes, std::uint64_t size) {
  if (compression == "zstd") return decompressZstd(bytes, size);
  if (compression == "lz4") return decompressLz4(bytes, size);
  if (!compression.empty() || bytes.size() != size) return std::nullopt;
  return std::string(bytes);
}

std::string compressZstd(std::string_view bytes) {
  std::string frame(ZSTD_compressBound(bytes.size()), '\0');
  const std::size_t size = ZSTD_compress(frame.data(), frame.size(), bytes.data(), bytes.size(), ZSTD_CLEVEL_DEFAULT);
  if (ZSTD_isError(size) != 0) throw std::runtime_error(ZSTD_getErrorName(size));
  frame.resize(size);
  return frame;
}

}  // namespace vyhost

// Arbitrary bytes, of any length, as a television's EDID: the base block
// decoder gets the first 128 (padded with zeros), the extension decoder
// exactly the rest, and the vendor block decoder the input taken as one data
// block. Every buffer is a heap copy of exactly the size passed, so that
// AddressSanitizer reports any read past what was given.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "edid_decode_encode.h"
#include "edid_decode_encode_internal.h"
#include "utility.h"

namespace {

std::unique_ptr<uint8_t[]> Copy(const uint8_t *data, size_t size) {
  auto copy = std::make_unique<uint8_t[]>(size == 0 ? 1 : size);
  if (size != 0) memcpy(copy.get(), data, size);
  return copy;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  constexpr size_t kBlock = 128;
  // The trace lines have their own formatting paths: run them for half the inputs.
  debug_enable(size > 0 && (data[size - 1] & 1) != 0);

  edid_t edid;
  if (!edid_prepare(&edid)) __builtin_trap();
  uint8_t base[kBlock] = {};
  memcpy(base, data, size < kBlock ? size : kBlock);
  decode_edid_block_0(base, &edid);
  const size_t rest = size > kBlock ? size - kBlock : 0;
  const auto extension = Copy(data + (size > kBlock ? kBlock : size), rest);
  decode_edid_extensions(extension.get(), static_cast<uint32_t>(rest), &edid);
  if (size > 0) {
    const size_t block_size = 1 + (data[0] & 0x1F);
    if (block_size <= size) _decode_edid_vendor_block(Copy(data, block_size).get(), &edid);
  }
  if (!edid_destroy(&edid)) __builtin_trap();
  debug_enable(false);
  return 0;
}

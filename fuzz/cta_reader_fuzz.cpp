// Arbitrary bytes, of any length, as an EDID for the CTA-861 block reader.
// The buffer is a heap copy of exactly the size passed, so that
// AddressSanitizer reports any read past what was given. The record's
// counts must stay within its arrays.
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "cta_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  auto copy = std::make_unique<uint8_t[]>(size == 0 ? 1 : size);
  if (size != 0) memcpy(copy.get(), data, size);
  cta_info_t info;
  const uint8_t read = cta_read_edid(copy.get(), static_cast<uint32_t>(size), &info);
  if (read > 1 || info.extensions_read > CTA_MAX_EXTENSIONS || info.svd_count > CTA_MAX_SVDS ||
      info.sad_count > CTA_MAX_SADS || info.hdr_dynamic_count > CTA_MAX_HDR_DYNAMIC ||
      info.ycbcr420_count > CTA_MAX_SVDS || info.ycbcr420_map_count > CTA_MAX_SVDS ||
      (read == 1) != (info.extensions_read > 0))
    __builtin_trap();
  const uint32_t kept = info.block_count < CTA_MAX_BLOCKS ? info.block_count : CTA_MAX_BLOCKS;
  for (uint32_t i = 0; i < kept; ++i) {
    const cta_block_t &b = info.blocks[i];
    if (b.payload_size > b.length || b.truncated != (b.payload_size < b.length) || b.offset < 4 ||
        b.offset > 126)
      __builtin_trap();
  }
  return 0;
}

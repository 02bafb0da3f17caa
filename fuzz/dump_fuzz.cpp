// Arbitrary bytes through the text dump: whatever the decoders make of them
// is printed in both forms, and print_edid gets the bytes as given (rounded
// down to whole blocks, in a heap copy of exactly that size).
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "edid_composer.h"
#include "edid_decode_encode.h"
#include "utility.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  constexpr size_t kBlock = 128;
  debug_enable(size > 0 && (data[size - 1] & 1) != 0);

  const size_t whole = size / kBlock * kBlock;
  auto copy = std::make_unique<uint8_t[]>(whole == 0 ? 1 : whole);
  if (whole != 0) memcpy(copy.get(), data, whole);
  print_edid(copy.get(), static_cast<uint32_t>(whole), 0, "full");
  print_edid(copy.get(), static_cast<uint32_t>(whole), 1, "summary");

  // The printers also meet records whose decoding stopped half-way.
  edid_t edid;
  if (!edid_prepare(&edid)) __builtin_trap();
  uint8_t base[kBlock] = {};
  memcpy(base, data, size < kBlock ? size : kBlock);
  decode_edid_block_0(base, &edid);
  if (whole > kBlock)
    decode_edid_extensions(copy.get() + kBlock, static_cast<uint32_t>(whole - kBlock), &edid);
  edid.valid = 1;
  print_edid_struct(&edid, 0, "partial");
  print_edid_struct(&edid, 1, "partial");
  if (!edid_destroy(&edid)) __builtin_trap();
  debug_enable(false);
  return 0;
}

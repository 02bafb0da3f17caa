// The EDID composer: the selection stages, the population of the new record,
// the composition entry points, and the raw EDID dump driver.
#include "edid_composer.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "diagnostics.h"
#include "edid_composer_internal.h"
#include "linked_list.h"
#include "scope_guard.h"
#include "typed_list.h"
#include "utility.h"

// ===========================================================================
// Raw EDID dump
// ===========================================================================

namespace {

// VESA E-EDID: the base block and each extension are 128 bytes.
constexpr uint32_t kEdidBlockSize = 128;
constexpr uint32_t kEdidTwoBlocks = 2 * kEdidBlockSize;

constexpr const char kPrintEdid[] = "print_edid";

}  // namespace

extern "C" {

// Decodes edid_bytes of raw EDID into a temporary record and prints it. Only
// a size that is not a whole number of blocks is refused; bytes that were
// not given (a size of 0) read as 0, so the header check refuses them.
void print_edid(const uint8_t *edid_block, uint32_t edid_bytes, uint8_t summary,
                const char *title) {
  if (edid_block == nullptr) {
    LOG_ERROR("\"edid_block\" memory block parameter is NULL. Exiting. edid_block:%p",
              static_cast<const void *>(edid_block));
    return;
  }
  if (edid_bytes % kEdidBlockSize != 0) {
    LOG_ERROR("Edid size is not an valid value. edid_bytes=%d Range=(%d-%d)",
              static_cast<int32_t>(edid_bytes), static_cast<int32_t>(kEdidBlockSize),
              static_cast<int32_t>(kEdidTwoBlocks));
    return;
  }
  edid_t edid;
  if (!edid_prepare(&edid)) {
    LOG_ERROR("Failed preparing edid.");
    return;
  }
  const edc::scope_exit release_edid([&edid]() noexcept {
    if (!edid_destroy(&edid)) LOG_ERROR_AS(kPrintEdid, "Failed cleaning up edid.");
  });
  std::array<uint8_t, kEdidBlockSize> base{};
  memcpy(base.data(), edid_block, edid_bytes < kEdidBlockSize ? edid_bytes : kEdidBlockSize);
  if (!decode_edid_block_0(base.data(), &edid)) {
    LOG_ERROR("Failed decoding EDID block 0.");
  } else if (edid_bytes >= kEdidTwoBlocks &&
             !decode_edid_extensions(edid_block + kEdidBlockSize, edid_bytes - kEdidBlockSize,
                                     &edid)) {
    LOG_ERROR("Failed decoding EDID block 1.");
  } else if (!print_edid_struct(&edid, summary, title)) {
    LOG_WARNING("Failed printing edid.");
  }
}

}  // extern "C"

// ===========================================================================
// Composition (selection stages, population, entry points)
// ===========================================================================

// The modern profile's own steps on arbitrary bytes: a "composed" EDID that
// the composer never wrote, a television's EDID and a device. Whatever they
// hold, compose_profile_apply must not crash, read out of bounds or hang; when
// it gives true, both blocks have valid checksums and every data block ends
// inside the extension, at the detailed-timing offset.
//
// Input: 256 bytes taken as the composed EDID (their checksums are set
// first, so that they pass the profile's check), 20 bytes of device
// capabilities, then the television's EDID, of whatever length.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "compose_profile.h"
#include "cta_reader.h"

namespace {

void SetChecksum(uint8_t *block) {
  uint8_t sum = 0;
  for (size_t i = 0; i < 127; ++i) sum = static_cast<uint8_t>(sum + block[i]);
  block[127] = static_cast<uint8_t>(0x100 - sum);
}

uint8_t BlockSum(const uint8_t *block) {
  uint8_t sum = 0;
  for (size_t i = 0; i < 128; ++i) sum = static_cast<uint8_t>(sum + block[i]);
  return sum;
}

bool BlocksEndAtDetailedTimings(const uint8_t *extension) {
  const size_t end = extension[2];
  size_t at = 4;
  while (at < end) at += 1 + (extension[at] & 0x1F);
  return at == end && end <= 127;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  constexpr size_t kEdid = 256, kDevice = 20;
  if (size < kEdid + kDevice) return 0;
  uint8_t edid[kEdid];
  memcpy(edid, data, kEdid);
  SetChecksum(edid);
  SetChecksum(edid + 128);
  const uint8_t *d = data + kEdid;
  compose_profile_t device;
  compose_profile_defaults(&device);
  device.enabled = true;
  device.max_tmds_rate_mhz = static_cast<uint16_t>(d[0] * 3);
  device.scdc = d[1] & 1;
  device.ycbcr420 = d[1] & 2;
  device.dc_30bit_420 = d[1] & 4;
  device.dc_36bit_420 = d[1] & 8;
  device.dc_48bit_420 = d[1] & 16;
  device.vendor_hdr = d[1] & 32;
  device.rgb_quantization_selectable = d[1] & 64;
  device.static_metadata_type1 = d[1] & 128;
  device.eotfs = d[2];
  device.colorimetry = static_cast<uint16_t>(d[3] | d[4] << 8);
  device.vic_count = static_cast<uint8_t>(std::min<size_t>(d[5], 14));
  memcpy(device.vics, d + 6, 14);
  const uint8_t *tv = data + kEdid + kDevice;
  const auto tv_size = static_cast<uint32_t>(size - kEdid - kDevice);
  uint8_t spa_offset = 0;
  if (compose_profile_apply(tv_size != 0 ? tv : nullptr, tv_size, edid, &device, &spa_offset)) {
    if (BlockSum(edid) != 0 || BlockSum(edid + 128) != 0) __builtin_trap();
    if (!BlocksEndAtDetailedTimings(edid + 128)) __builtin_trap();
    cta_info_t info;
    cta_read_edid(edid, kEdid, &info);
  }
  return 0;
}

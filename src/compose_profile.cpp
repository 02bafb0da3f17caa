// The modern composition profile (see include/compose_profile.h for the
// rules). A stage of its own after compose_edid: it reads the composed 256
// bytes and the television's modern record (cta_reader.h), decides what the
// device adds or corrects, one small function per rule, and writes the
// extension again from a plain description of its blocks. The default path
// never reaches this file.
#include "compose_profile.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <span>

#include "bits.h"
#include "cta_reader.h"
#include "cta_video_formats.h"
#include "diagnostics.h"
#include "edid_decode_encode_internal.h"
#include "edid_layout.h"

namespace {

using namespace edc::layout;
using edc::bit_range;
using edc::has_bit;
using edc::put_bit;
using edc::put_bits;

constexpr size_t kEdidSize = 2 * kBlockSize;
constexpr size_t kExtension = kBlockSize;
// Bytes 4..126 of the extension hold the data blocks and the descriptors.
constexpr size_t kExtensionRoom = kChecksum - kCeaDataBlocks;
constexpr size_t kMaxVideoDescriptors = 31;  // a block's length field
constexpr size_t kMaxPayload = kMaxBlockLength;

// HDMI 2.0b: a TMDS character rate above 340 MHz needs SCDC and scrambling;
// 600 MHz is the highest rate of TMDS signalling.
constexpr uint32_t kHdmi14RateMhz = 340;
constexpr uint32_t kMaxRateMhz = 600;
// CTA-861-H section 7.5.11 with HDMI 2.0b section 7.1: YCbCr 4:2:0 is
// defined for the formats whose RGB pixel clock is 590 MHz or more (the 4K
// 50/60 Hz family), carried at half that TMDS rate.
constexpr uint32_t kMin420ClockKhz = 590000;

// Extension byte 3 (CTA-861-H section 7.5): bit 7 underscan, 6 basic audio,
// 5 YCbCr 4:4:4, 4 YCbCr 4:2:2, 3-0 the number of native detailed timings.
constexpr unsigned kBasicAudioBit = 6;

// Extended tags and vendor OUIs of the blocks the profile writes.
constexpr uint8_t kExtVideoCapability = CTA_EXT_VIDEO_CAPABILITY;
constexpr uint8_t kExtVendorVideo = CTA_EXT_VENDOR_VIDEO;
constexpr uint8_t kExtColorimetry = CTA_EXT_COLORIMETRY;
constexpr uint8_t kExtHdrStatic = CTA_EXT_HDR_STATIC;
constexpr uint8_t kExt420Video = CTA_EXT_YCBCR420_VIDEO;
constexpr uint8_t kExt420Map = CTA_EXT_YCBCR420_MAP;

// HDMI Forum VSDB (HDMI 2.0b section 10.3.2), payload after the OUI:
// version, Max_TMDS_Character_Rate (x 5 MHz), SCDC_Present .. 3D_OSD
// (byte 6 of the block), Max_FRL_Rate / UHD_VIC / DC_48/36/30bit_420.
constexpr uint8_t kHfVersion = 1;
constexpr unsigned kScdcPresentBit = 7;
constexpr unsigned kUhdVicBit = 3, kDc48Bit420 = 2, kDc36Bit420 = 1, kDc30Bit420 = 0;

// HDMI VSDB payload (HDMI 1.4b section 8.3.2), offsets after the header.
constexpr size_t kVsdbTmds = 6;
constexpr size_t kVsdbPresenceByte = 7;
constexpr unsigned kLatencyBit = 7, kInterlacedLatencyBit = 6, kHdmiVideoBit = 5;

// Colorimetry payload byte 2 (after the extended tag): bits 7-6 are
// colorimetries (ST 2113 RGB, ICtCp), 5-4 reserved, 3-0 MD3-MD0.
constexpr uint16_t kColorimetryDefined = 0xC0FF;

// The bits of a short audio descriptor's third byte that CTA-861-H defines
// for the formats whose third byte is a value (section 7.5.2).
struct audio_third_byte {
  uint8_t format;
  uint8_t bits;
  const char *meaning;  // for the reader: what the bits say
};
constexpr std::array<audio_third_byte, 3> kAudioThirdBytes = {{
    {10, 0x03, "E-AC-3: Joint Object Coding, with ACMOD 28"},
    {11, 0x02, "DTS-HD: DTS:X"},
    {12, 0x03, "MAT: Dolby TrueHD with Atmos, hash calculation not required"},
}};

// The sRGB primaries and white (IEC 61966-2-1) in the base block's 10-bit
// units (x 1024): red, green, blue, white, x then y.
constexpr std::array<uint16_t, 8> kSrgbChromaticity = {655, 338, 307, 614, 154, 61, 320, 337};
constexpr int kChromaticityTolerance = 0;  // edid-decode accepts only these codes

// ---------------------------------------------------------------------------
// What the profile writes: the extension as a list of blocks and descriptors.

struct block {
  uint8_t size = 0;  // with the header byte
  std::array<uint8_t, 1 + kMaxPayload> bytes{};
};

// A video format the profile appends, in the device's priority.
struct added_format {
  uint8_t vic;
  bool in_video_block;  // else in the 4:2:0 video block
  bool also_420;        // a capability-map bit
  bool equivalent;      // the CTA equivalent of an HDMI VIC: never dropped
};

struct descriptor {
  std::array<uint8_t, kDescriptorSize> bytes;
  bool timing;
};

// Everything the profile decides, before the bytes are written.
struct plan {
  // From the composed EDID.
  block speaker, audio, hdmi, colorimetry;
  std::array<block, 8> others{};
  size_t other_count = 0;
  std::array<uint8_t, kMaxSvds> svds{};  // composed VICs, each once
  size_t svd_count = 0;
  std::array<descriptor, 6> descriptors{};
  size_t descriptor_count = 0;
  uint8_t support = 0;
  // Decided by the rules.
  std::array<added_format, COMPOSE_PROFILE_MAX_VICS + 4> added{};
  size_t added_count = 0;
  uint32_t rate_mhz = 0;
  bool forum = false;  // write an HDMI Forum VSDB
  uint8_t dc_420 = 0;  // DC_48/36/30bit_420 bits, both sides
  bool with_colorimetry = false;
  bool with_hdr = false;
  block hdr;
  bool with_dolby = false, with_hdr10plus = false;
  block dolby, hdr10plus;
  uint8_t video_capability = 0;
};

void append(block &b, uint8_t byte) {
  if (b.size < b.bytes.size()) b.bytes[b.size++] = byte;
}

void start_block(block &b, uint32_t tag) {
  b.size = 0;
  append(b, put_bits(tag, 7, 5));
}

// Sets the header's length from the bytes appended.
void finish_block(block &b) {
  b.bytes[0] = static_cast<uint8_t>(b.bytes[0] | put_bits(b.size - 1u, 4, 0));
}

void copy_block(block &b, std::span<const uint8_t> bytes) {
  b.size = static_cast<uint8_t>(std::min(bytes.size(), b.bytes.size()));
  std::copy_n(bytes.begin(), b.size, b.bytes.begin());
}

// Removes items[index] of the first count items.
template <typename T, size_t N>
void erase_at(std::array<T, N> &items, size_t &count, size_t index) {
  const auto at = items.begin() + static_cast<std::ptrdiff_t>(index);
  std::copy(at + 1, items.begin() + static_cast<std::ptrdiff_t>(count), at);
  --count;
}

bool contains(std::span<const uint8_t> vics, uint32_t vic) {
  return std::find(vics.begin(), vics.end(), vic) != vics.end();
}

// ---------------------------------------------------------------------------
// Reading the composed extension.

// The VIC of a short video descriptor (CTA-861-H section 7.5.1): codes 129
// to 192 are VICs 1 to 64 marked native.
uint8_t svd_vic(uint8_t code) {
  return code >= 129 && code <= 192 ? static_cast<uint8_t>(code & 0x7F) : code;
}

// The composed blocks by kind, the video descriptors each once and the
// descriptors after the blocks. False when the extension is not one the
// composer writes (tag, revision, blocks ending at the detailed timings).
bool read_composed(const uint8_t *edid, plan &p, std::array<uint8_t, kMaxSvds> &kept_index,
                   size_t &composed_svds) {
  const uint8_t *ext = edid + kExtension;
  if (ext[kCeaTag] != kCeaExtensionTag || edid[kExtensionCount] != 1) return false;
  const size_t dtd_offset = ext[kCeaDtdOffset];
  if (dtd_offset < kCeaDataBlocks || dtd_offset > kChecksum) return false;
  p.support = ext[kCeaSupport];
  composed_svds = 0;
  for (size_t at = kCeaDataBlocks; at < dtd_offset;) {
    const uint32_t tag = bit_range(ext[at], 7, 5);
    const size_t length = bit_range(ext[at], 4, 0);
    if (at + 1 + length > dtd_offset) return false;
    const std::span<const uint8_t> whole(ext + at, 1 + length);
    const uint8_t *payload = ext + at + 1;
    if (tag == kTagVideo) {
      for (size_t i = 0; i < length && composed_svds < kept_index.size(); ++i) {
        const uint8_t vic = svd_vic(payload[i]);
        // kept_index: where each composed descriptor's VIC now stands
        const auto kept = std::find(p.svds.begin(), p.svds.begin() + p.svd_count, vic);
        const auto index = static_cast<size_t>(kept - p.svds.begin());
        if (index == p.svd_count && p.svd_count < kMaxVideoDescriptors) p.svds[p.svd_count++] = vic;
        kept_index[composed_svds++] = static_cast<uint8_t>(index);
      }
    } else if (tag == kTagSpeakerAllocation) {
      copy_block(p.speaker, whole);
    } else if (tag == kTagAudio) {
      copy_block(p.audio, whole);
    } else if (tag == kTagVendorSpecific && length >= kVsdbOuiLength && payload[0] == 0x03 &&
               payload[1] == 0x0C && payload[2] == 0x00 && p.hdmi.size == 0) {
      copy_block(p.hdmi, whole);
    } else if (tag == kTagExtended && length >= 1 && payload[0] == kExtendedTagColorimetry) {
      copy_block(p.colorimetry, whole);
    } else if (p.other_count < p.others.size()) {
      copy_block(p.others[p.other_count++], whole);
    } else {
      return false;
    }
    at += 1 + length;
  }
  for (size_t at = dtd_offset; at + kDescriptorSize <= kChecksum; at += kDescriptorSize) {
    if (std::all_of(ext + at, ext + at + kDescriptorSize, [](uint8_t b) { return b == 0; })) break;
    if (p.descriptor_count == p.descriptors.size()) break;
    descriptor &d = p.descriptors[p.descriptor_count++];
    std::copy_n(ext + at, kDescriptorSize, d.bytes.begin());
    d.timing = ext[at] != 0 || ext[at + 1] != 0;
  }
  return true;
}

// ---------------------------------------------------------------------------
// The HDMI VSDB: its HDMI VICs, and its 3D entries kept pointing at the same
// formats once repeated video descriptors are gone.

struct hdmi_video_fields {
  size_t video_byte = 0;  // offset in the block of the HDMI video byte; 0: none
  size_t vic_count = 0;
  size_t length_3d = 0;
};

hdmi_video_fields find_hdmi_video(const block &hdmi) {
  hdmi_video_fields fields;
  if (hdmi.size <= 1 + kVsdbPresenceByte) return fields;
  const uint8_t presence = hdmi.bytes[1 + kVsdbPresenceByte];
  size_t at = 1 + kVsdbPresenceByte + 1;
  if (has_bit(presence, kLatencyBit)) at += 2;
  if (has_bit(presence, kInterlacedLatencyBit)) at += 2;
  if (!has_bit(presence, kHdmiVideoBit) || at + 1 >= hdmi.size) return fields;
  const uint8_t lengths = hdmi.bytes[at + 1];
  const size_t vics = bit_range(lengths, 7, 5), length_3d = bit_range(lengths, 4, 0);
  if (at + 2 + vics + length_3d != hdmi.size) return fields;
  fields.video_byte = at;
  fields.vic_count = vics;
  fields.length_3d = length_3d;
  return fields;
}

// HDMI_VIC_LEN and HDMI_3D_LEN from fields, and the header's length, once
// the block changed size.
void write_hdmi_lengths(block &hdmi, const hdmi_video_fields &fields) {
  hdmi.bytes[fields.video_byte + 1] =
      static_cast<uint8_t>(put_bits(static_cast<uint32_t>(fields.vic_count), 7, 5) |
                           put_bits(static_cast<uint32_t>(fields.length_3d), 4, 0));
  hdmi.bytes[0] = static_cast<uint8_t>(put_bits(kTagVendorSpecific, 7, 5) |
                                       put_bits(hdmi.size - 1u, 4, 0));
}

// 2D_VIC_order entries (bits 7-4) name video descriptors by position; a
// repeated descriptor that went takes its first occurrence's position. Only
// the per-format entries the composer writes (3D_Multi_present 0) are read.
void renumber_3d_entries(block &hdmi, hdmi_video_fields &fields,
                         std::span<const uint8_t> kept_index) {
  if (fields.video_byte == 0 || fields.length_3d == 0) return;
  if (bit_range(hdmi.bytes[fields.video_byte], 6, 5) != 0) return;
  const size_t start = fields.video_byte + 2 + fields.vic_count;
  std::array<uint8_t, kMaxPayload> entries{};
  size_t count = 0;
  for (size_t at = start; at < hdmi.size;) {
    const uint8_t entry = hdmi.bytes[at];
    const bool detail = bit_range(entry, 3, 0) >= 8;
    const size_t size = detail ? 2 : 1;
    if (at + size > hdmi.size) return;
    const size_t order = bit_range(entry, 7, 4);
    const uint8_t renumbered =
        order < kept_index.size()
            ? static_cast<uint8_t>(put_bits(kept_index[order], 7, 4) | bit_range(entry, 3, 0))
            : entry;
    bool repeat = false;
    for (size_t i = 0; i < count;) {
      const bool with_detail = bit_range(entries[i], 3, 0) >= 8;
      if (entries[i] == renumbered) repeat = true;
      i += with_detail ? 2 : 1;
    }
    if (!repeat && renumbered >> 4 < 16) {
      entries[count++] = renumbered;
      if (detail) entries[count++] = hdmi.bytes[at + 1];
    }
    at += size;
  }
  std::copy_n(entries.begin(), count, hdmi.bytes.begin() + static_cast<long>(start));
  hdmi.size = static_cast<uint8_t>(start + count);
  fields.length_3d = count;
  write_hdmi_lengths(hdmi, fields);
}

// HDMI 2.0b section 10.3.2: Max_TMDS_Clock of the HDMI VSDB stays at 340 MHz
// or less; the HDMI Forum VSDB carries the higher rate.
void cap_hdmi_tmds_clock(block &hdmi) {
  if (hdmi.size <= 1 + kVsdbTmds) return;
  uint8_t &clock = hdmi.bytes[1 + kVsdbTmds];
  clock = std::min<uint8_t>(clock, kHdmi14RateMhz / kTmdsClockUnitMhz);
}

// Drops HDMI VICs from the end of the HDMI VSDB's list while their CTA
// equivalents cannot all be listed (a video block already full).
void drop_hdmi_vic(block &hdmi, hdmi_video_fields &fields) {
  if (fields.vic_count == 0) return;
  const size_t last = fields.video_byte + 2 + fields.vic_count - 1;
  std::copy(hdmi.bytes.begin() + static_cast<long>(last) + 1,
            hdmi.bytes.begin() + hdmi.size, hdmi.bytes.begin() + static_cast<long>(last));
  --hdmi.size;
  --fields.vic_count;
  write_hdmi_lengths(hdmi, fields);
}

// ---------------------------------------------------------------------------
// The rules.

// Step 1: the TMDS character rate both the device and the television take.
uint32_t effective_rate_mhz(const compose_profile_t &device, const cta_info_t &tv) {
  uint32_t device_rate = std::min<uint32_t>(device.max_tmds_rate_mhz, kMaxRateMhz);
  if (!device.scdc) device_rate = std::min(device_rate, kHdmi14RateMhz);
  uint32_t tv_rate = kHdmi14RateMhz;
  if (tv.hf_vsdb.present && tv.hf_vsdb.max_tmds_character_rate_mhz > kHdmi14RateMhz)
    tv_rate = tv.hf_vsdb.max_tmds_character_rate_mhz;
  return std::min(device_rate, tv_rate);
}

bool television_420(const cta_info_t &tv, uint32_t vic) {
  return contains({tv.ycbcr420_vics, std::min<size_t>(tv.ycbcr420_count, CTA_MAX_SVDS)}, vic) ||
         contains({tv.ycbcr420_map_vics, std::min<size_t>(tv.ycbcr420_map_count, CTA_MAX_SVDS)},
                  vic);
}

// A format whose horizontal rate the range-limits descriptor can hold.
bool fits_range_limits(const cta_video_format_t &format) {
  constexpr uint32_t kMaxRangeKhz = 255;
  return format.pixel_clock_khz <= kMaxRangeKhz * format.h_total;
}

// Step 2: the device's priority list against the television's formats.
void offer_priority_formats(const compose_profile_t &device, const cta_info_t &tv, plan &p) {
  const std::span<const uint8_t> tv_svds(tv.svd_vics, std::min<size_t>(tv.svd_count, CTA_MAX_SVDS));
  const bool forum = tv.hf_vsdb.present;
  const uint32_t rate_khz = p.rate_mhz * 1000;
  for (size_t i = 0; i < std::min<size_t>(device.vic_count, COMPOSE_PROFILE_MAX_VICS); ++i) {
    const uint8_t vic = device.vics[i];
    const cta_video_format_t *format = cta_video_format_find(vic);
    if (format == nullptr || vic <= 64 || !fits_range_limits(*format)) continue;
    if (contains({p.svds.data(), p.svd_count}, vic)) continue;
    bool repeat = false;
    for (size_t j = 0; j < p.added_count; ++j) repeat = repeat || p.added[j].vic == vic;
    if (repeat) continue;
    const uint32_t clock = format->pixel_clock_khz;
    const bool as_420 = forum && device.ycbcr420 && clock >= kMin420ClockKhz &&
                        clock / 2 <= rate_khz && television_420(tv, vic);
    if (p.added_count == p.added.size()) break;
    if (contains(tv_svds, vic) && clock <= rate_khz) {
      p.added[p.added_count++] = {vic, true, as_420, false};
      LOG_TRACE("\tModern profile: VIC %d appended%s", vic, as_420 ? ", also YCbCr 4:2:0" : "");
    } else if (as_420) {
      p.added[p.added_count++] = {vic, false, true, false};
      LOG_TRACE("\tModern profile: VIC %d offered as YCbCr 4:2:0 only", vic);
    }
  }
}

// Step 2, last: every HDMI VIC with its CTA equivalent in the video block.
void list_hdmi_vic_equivalents(plan &p, hdmi_video_fields &fields) {
  for (size_t i = 0; i < fields.vic_count; ++i) {
    const auto vic = static_cast<uint8_t>(
        cta_hdmi_vic_to_vic(p.hdmi.bytes[fields.video_byte + 2 + i]));
    if (vic == 0 || contains({p.svds.data(), p.svd_count}, vic)) continue;
    bool listed = false;
    for (size_t j = 0; j < p.added_count; ++j) {
      if (p.added[j].vic != vic) continue;
      listed = true;
      p.added[j].equivalent = true;
      if (!p.added[j].in_video_block) p.added[j] = {vic, true, p.added[j].also_420, true};
    }
    if (!listed && p.added_count < p.added.size()) p.added[p.added_count++] = {vic, true, false, true};
  }
}

size_t video_block_count(const plan &p) {
  size_t count = p.svd_count;
  for (size_t i = 0; i < p.added_count; ++i) count += p.added[i].in_video_block ? 1 : 0;
  return count;
}

// Removes the lowest-priority appended format that may go; false when none.
bool drop_lowest_format(plan &p, bool video_block_only) {
  for (size_t i = p.added_count; i-- > 0;) {
    const added_format &format = p.added[i];
    if (format.equivalent || (video_block_only && !format.in_video_block)) continue;
    LOG_TRACE("\tModern profile: no room for VIC %d; dropped", format.vic);
    erase_at(p.added, p.added_count, i);
    return true;
  }
  return false;
}

// The video block holds 31 descriptors: appended formats go first, then
// HDMI VICs whose equivalents cannot be listed.
void keep_video_block_within_31(plan &p, hdmi_video_fields &fields) {
  while (video_block_count(p) > kMaxVideoDescriptors && drop_lowest_format(p, true)) {
  }
  while (video_block_count(p) > kMaxVideoDescriptors && fields.vic_count > 0) {
    const uint8_t hdmi_vic = p.hdmi.bytes[fields.video_byte + 2 + fields.vic_count - 1];
    const auto vic = static_cast<uint8_t>(cta_hdmi_vic_to_vic(hdmi_vic));
    LOG_TRACE("\tModern profile: no room for VIC %d; HDMI VIC %d dropped", vic, hdmi_vic);
    drop_hdmi_vic(p.hdmi, fields);
    for (size_t i = 0; i < p.added_count; ++i) {
      if (p.added[i].vic == vic && p.added[i].equivalent) {
        erase_at(p.added, p.added_count, i);
        break;
      }
    }
  }
}

bool offers_420(const plan &p) {
  for (size_t i = 0; i < p.added_count; ++i)
    if (p.added[i].also_420) return true;
  return false;
}

// Step 4: HDMI Forum VSDB, version 1, the rate both sides take.
block hdmi_forum_vsdb(const plan &p, bool uhd_vic) {
  block b;
  start_block(b, kTagVendorSpecific);
  for (uint8_t byte : {0xD8, 0x5D, 0xC4}) append(b, byte);  // OUI C4-5D-D8
  append(b, kHfVersion);
  const bool above_340 = p.rate_mhz > kHdmi14RateMhz;
  append(b, above_340 ? static_cast<uint8_t>(p.rate_mhz / kTmdsClockUnitMhz) : 0);
  append(b, put_bit(above_340, kScdcPresentBit));
  // the 4:2:0 deep colour bits only with a 4:2:0 format offered
  append(b, static_cast<uint8_t>(put_bit(uhd_vic, kUhdVicBit) | (offers_420(p) ? p.dc_420 : 0)));
  finish_block(b);
  return b;
}

uint8_t deep_colour_420(const compose_profile_t &device, const cta_hf_vsdb_t &tv) {
  return static_cast<uint8_t>(put_bit(device.dc_48bit_420 && tv.dc_48bit_420, kDc48Bit420) |
                              put_bit(device.dc_36bit_420 && tv.dc_36bit_420, kDc36Bit420) |
                              put_bit(device.dc_30bit_420 && tv.dc_30bit_420, kDc30Bit420));
}

// UHD_VIC: HDMI VICs in the HDMI VSDB and every one's CTA equivalent listed.
bool uhd_vic_consistent(const plan &p, const hdmi_video_fields &fields) {
  if (fields.vic_count == 0) return false;
  for (size_t i = 0; i < fields.vic_count; ++i) {
    const uint32_t vic = cta_hdmi_vic_to_vic(p.hdmi.bytes[fields.video_byte + 2 + i]);
    bool listed = contains({p.svds.data(), p.svd_count}, vic);
    for (size_t j = 0; j < p.added_count; ++j)
      listed = listed || (p.added[j].vic == vic && p.added[j].in_video_block);
    if (!listed) return false;
  }
  return true;
}

// Step 5: the composed xvYCC bits, plus what both sides pass; MD0-MD3 0.
void intersect_colorimetry(const compose_profile_t &device, const cta_info_t &tv, plan &p) {
  uint16_t flags = p.colorimetry.size >= 3 ? p.colorimetry.bytes[2] : 0;
  if (tv.colorimetry.present) flags |= tv.colorimetry.flags & device.colorimetry;
  flags &= kColorimetryDefined;
  p.with_colorimetry = flags != 0;
  if (!p.with_colorimetry) return;
  start_block(p.colorimetry, kTagExtended);
  append(p.colorimetry, kExtColorimetry);
  append(p.colorimetry, static_cast<uint8_t>(flags & 0xFFu));
  append(p.colorimetry, static_cast<uint8_t>((flags >> 8) & 0xC0u));
  finish_block(p.colorimetry);
}

// Step 6: HDR static metadata where both sides pass PQ or HLG.
void intersect_hdr_static(const compose_profile_t &device, const cta_info_t &tv, plan &p) {
  const cta_hdr_static_t &hdr = tv.hdr_static;
  const uint8_t eotfs =
      hdr.eotfs & device.eotfs & (CTA_EOTF_SDR | CTA_EOTF_PQ | CTA_EOTF_HLG);
  p.with_hdr = hdr.present && (eotfs & (CTA_EOTF_PQ | CTA_EOTF_HLG)) != 0;
  if (!p.with_hdr) return;
  start_block(p.hdr, kTagExtended);
  append(p.hdr, kExtHdrStatic);
  append(p.hdr, eotfs);
  append(p.hdr, put_bit(device.static_metadata_type1 && has_bit(hdr.descriptors, 0), 0));
  if (hdr.has_max_luminance) append(p.hdr, hdr.max_luminance_cv);
  if (hdr.has_max_frame_average) append(p.hdr, hdr.max_frame_average_cv);
  if (hdr.has_min_luminance) append(p.hdr, hdr.min_luminance_cv);
  finish_block(p.hdr);
}

// Step 7: the video capability block: QS as the device has it, QY as the
// television gives it. The scan behaviours are the television's where it
// gives them; an IT or CE behaviour of 0 ("not supported") or an IT one that
// contradicts the extension's underscan bit (byte 3 bit 7) reads "supports
// both over- and underscan", and S_PT equal to both of them reads 0 ("no
// data": as S_IT and S_CE), as CTA-861-H section 7.5.6 asks.
uint8_t video_capability(const compose_profile_t &device, const cta_info_t &tv, uint8_t support) {
  constexpr uint8_t kAlwaysOverscanned = 1, kAlwaysUnderscanned = 2, kBoth = 3;
  const cta_video_capability_t &vc = tv.video_capability;
  const bool underscan = has_bit(support, 7);
  uint8_t pt = vc.present ? vc.s_pt : 0, it = vc.present ? vc.s_it : 0,
          ce = vc.present ? vc.s_ce : 0;
  if (it == 0 || it == (underscan ? kAlwaysOverscanned : kAlwaysUnderscanned)) it = kBoth;
  if (ce == 0) ce = kBoth;
  if (pt == it && pt == ce) pt = 0;
  return static_cast<uint8_t>(put_bit(vc.present && vc.qy, 7) |
                              put_bit(device.rgb_quantization_selectable, 6) |
                              put_bits(pt, 5, 4) | put_bits(it, 3, 2) | put_bits(ce, 1, 0));
}

// Step 9: the television's Dolby Vision and HDR10+ blocks, copied whole.
void pass_vendor_hdr(const compose_profile_t &device, const cta_info_t &tv, plan &p) {
  if (!device.vendor_hdr || !p.with_hdr || (p.hdr.bytes[2] & CTA_EOTF_PQ) == 0) return;
  const uint32_t blocks = std::min<uint32_t>(tv.block_count, CTA_MAX_BLOCKS);
  for (uint32_t i = 0; i < blocks; ++i) {
    const cta_block_t &b = tv.blocks[i];
    if (b.tag != CTA_TAG_EXTENDED || b.extended_tag != kExtVendorVideo || !b.has_oui ||
        b.truncated || b.payload_size != b.length)
      continue;
    block *target = nullptr;
    bool *with = nullptr;
    if (b.oui == CTA_OUI_DOLBY) target = &p.dolby, with = &p.with_dolby;
    if (b.oui == CTA_OUI_HDR10_PLUS) target = &p.hdr10plus, with = &p.with_hdr10plus;
    if (target == nullptr || *with) continue;
    start_block(*target, kTagExtended);
    for (size_t j = 0; j < b.payload_size; ++j) append(*target, b.payload[j]);
    finish_block(*target);
    *with = true;
  }
}

// Step 10: the third byte of E-AC-3, DTS-HD and MAT as the television gives
// it, where it takes the same format.
void keep_audio_third_bytes(const cta_info_t &tv, plan &p) {
  for (size_t at = 1; at + kSadSize <= p.audio.size; at += kSadSize) {
    const uint8_t format = static_cast<uint8_t>(bit_range(p.audio.bytes[at], 6, 3));
    for (const audio_third_byte &rule : kAudioThirdBytes) {
      if (rule.format != format) continue;
      for (uint32_t i = 0; i < std::min<uint32_t>(tv.sad_count, CTA_MAX_SADS); ++i) {
        if (tv.sads[i].format != format) continue;
        uint8_t &third = p.audio.bytes[at + 2];
        third = static_cast<uint8_t>((third & ~rule.bits) | (tv.sads[i].byte3 & rule.bits));
        break;
      }
    }
  }
}

// ---------------------------------------------------------------------------
// Writing the extension.

struct writer {
  uint8_t *ext;
  size_t at = kCeaDataBlocks;
  void put(const block &b) {
    std::copy_n(b.bytes.begin(), b.size, ext + at);
    at += b.size;
  }
};

block video_block(const plan &p) {
  block b;
  start_block(b, kTagVideo);
  // no native bit: the native detailed timing says it
  for (size_t i = 0; i < p.svd_count; ++i) append(b, p.svds[i]);
  for (size_t i = 0; i < p.added_count; ++i)
    if (p.added[i].in_video_block) append(b, p.added[i].vic);
  finish_block(b);
  return b;
}

block ycbcr420_video_block(const plan &p) {
  block b;
  start_block(b, kTagExtended);
  append(b, kExt420Video);
  for (size_t i = 0; i < p.added_count; ++i)
    if (!p.added[i].in_video_block) append(b, p.added[i].vic);
  finish_block(b);
  if (b.size == 2) b.size = 0;
  return b;
}

// The capability map from the final video block order, as long as its last
// set bit needs; none when no bit is set.
block ycbcr420_map(const plan &p) {
  block b;
  std::array<uint8_t, 4> bits{};
  size_t index = p.svd_count, length = 0;
  for (size_t i = 0; i < p.added_count; ++i) {
    if (!p.added[i].in_video_block) continue;
    if (p.added[i].also_420 && index / 8 < bits.size()) {
      bits[index / 8] = static_cast<uint8_t>(bits[index / 8] | (1u << (index % 8)));
      length = index / 8 + 1;
    }
    ++index;
  }
  if (length == 0) return b;
  start_block(b, kTagExtended);
  append(b, kExt420Map);
  for (size_t i = 0; i < length; ++i) append(b, bits[i]);
  finish_block(b);
  return b;
}

block video_capability_block(const plan &p) {
  block b;
  start_block(b, kTagExtended);
  append(b, kExtVideoCapability);
  append(b, p.video_capability);
  finish_block(b);
  return b;
}

// The blocks in their order (step 12), with the bytes they take.
struct layout {
  std::array<block, 20> blocks{};
  size_t count = 0;
  size_t hdmi_index = SIZE_MAX;
  size_t bytes = 0;
};

layout lay_out(const plan &p, const hdmi_video_fields &fields) {
  layout l;
  const auto add = [&l](const block &b) {
    if (b.size == 0 || l.count == l.blocks.size()) return;
    l.blocks[l.count++] = b;
    l.bytes += b.size;
  };
  add(p.speaker);
  add(video_block(p));
  add(p.audio);
  if (p.hdmi.size != 0) l.hdmi_index = l.count;
  add(p.hdmi);
  if (p.forum) add(hdmi_forum_vsdb(p, uhd_vic_consistent(p, fields)));
  if (p.with_colorimetry) add(p.colorimetry);
  if (p.with_hdr) add(p.hdr);
  add(video_capability_block(p));
  add(ycbcr420_video_block(p));
  add(ycbcr420_map(p));
  if (p.with_dolby) add(p.dolby);
  if (p.with_hdr10plus) add(p.hdr10plus);
  for (size_t i = 0; i < p.other_count; ++i) add(p.others[i]);
  l.bytes += p.descriptor_count * kDescriptorSize;
  return l;
}

// Step 12: the optional blocks in the order they go when there is no room.
struct droppable_block {
  bool plan::*with;
  const char *name;
};
constexpr std::array<droppable_block, 4> kBlockDropOrder = {{
    {&plan::with_hdr10plus, "the HDR10+ block"},
    {&plan::with_dolby, "the Dolby Vision block"},
    {&plan::with_hdr, "the HDR static metadata block"},
    {&plan::with_colorimetry, "the colorimetry block"},
}};

bool drop_block(plan &p) {
  for (const droppable_block &block : kBlockDropOrder) {
    if (!(p.*block.with)) continue;
    LOG_TRACE("\tModern profile: no room for %s; dropped", block.name);
    p.*block.with = false;
    return true;
  }
  return false;
}

void drop_descriptor(plan &p, size_t index, const char *name) {
  LOG_TRACE("\tModern profile: no room for %s; dropped", name);
  erase_at(p.descriptors, p.descriptor_count, index);
}

// Step 12: one item at a time until the extension holds everything.
bool make_room(plan &p, const hdmi_video_fields &fields, layout &l) {
  for (l = lay_out(p, fields); l.bytes > kExtensionRoom; l = lay_out(p, fields)) {
    size_t timing = 0;
    while (timing < p.descriptor_count && !p.descriptors[timing].timing) ++timing;
    if (timing < p.descriptor_count)
      drop_descriptor(p, timing, "the extension's detailed timing");
    else if (drop_lowest_format(p, false) || drop_block(p))
      continue;
    else if (p.descriptor_count > 0)
      drop_descriptor(p, p.descriptor_count - 1, "the extension's last descriptor");
    else
      return false;
  }
  return true;
}

// ---------------------------------------------------------------------------
// The base block and the detailed timings (step 11).

// A timing's figures for the range-limits descriptor.
struct timing_rates {
  double field_hz;
  double line_khz;
  double clock_mhz;
};

struct range {
  double min_v = 1e9, max_v = 0, min_h = 1e9, max_h = 0, max_clock = 0;
  void cover(const timing_rates &t) {
    min_v = std::min(min_v, t.field_hz);
    max_v = std::max(max_v, t.field_hz);
    min_h = std::min(min_h, t.line_khz);
    max_h = std::max(max_h, t.line_khz);
    max_clock = std::max(max_clock, t.clock_mhz);
  }
  // A format at its rate and at 1000/1001 (or 1001/1000) of it.
  void cover_both(const timing_rates &t) {
    constexpr double kNtsc = 1000.0 / 1001.0;
    cover({t.field_hz * kNtsc, t.line_khz * kNtsc, t.clock_mhz * kNtsc});
    cover({t.field_hz / kNtsc, t.line_khz / kNtsc, t.clock_mhz / kNtsc});
  }
};

// The established timings (VESA DMT figures): byte 0x23 bits 7-0, 0x24 bits
// 7-0, 0x25 bit 7.
constexpr std::array<timing_rates, 17> kEstablished = {{
    {70.087, 31.469, 28.322},  {87.849, 39.444, 35.5},  {59.940, 31.469, 25.175},
    {66.667, 35.0, 30.24},     {72.809, 37.861, 31.5},  {75.0, 37.5, 31.5},
    {56.25, 35.156, 36.0},     {60.317, 37.879, 40.0},  {72.188, 48.077, 50.0},
    {75.0, 46.875, 49.5},      {74.551, 49.726, 57.284}, {86.957, 35.522, 44.9},
    {60.004, 48.363, 65.0},    {70.069, 56.476, 75.0},  {75.029, 60.023, 78.75},
    {75.025, 79.976, 135.0},   {75.062, 68.681, 100.0},
}};

// VESA GTF with its default parameters (C' 30, M' 300, 8-pixel cells, one
// line of front porch, 550 us of vertical sync and back porch): the figures
// of a standard timing, which the DMT versions of the common ones stay
// within a few percent of.
timing_rates gtf(double width, double height, double field_hz) {
  constexpr double kMinSyncPorchUs = 550.0, kMinPorch = 1.0, kCell = 8.0;
  constexpr double kC = 30.0, kM = 300.0;
  const double h_pixels = std::round(width / kCell) * kCell;
  const double period_estimate =
      (1e6 / field_hz - kMinSyncPorchUs) / (height + kMinPorch);  // us
  const double sync_porch = std::round(kMinSyncPorchUs / period_estimate);
  const double total_lines = height + sync_porch + kMinPorch;
  const double field_estimate = 1e6 / period_estimate / total_lines;
  const double period = period_estimate * field_estimate / field_hz;
  const double duty = kC - kM * period / 1000.0;
  const double blank = std::round(h_pixels * duty / (100.0 - duty) / (2 * kCell)) * 2 * kCell;
  return {field_hz, 1000.0 / period, (h_pixels + blank) / period};
}

void cover_standard_timings(const uint8_t *base, range &r) {
  constexpr double kMargin = 0.03;
  for (size_t i = 0; i < kStandardTimingSlots; ++i) {
    const uint8_t first = base[kStandardTimings + 2 * i], second = base[kStandardTimings + 2 * i + 1];
    if ((first == kUnusedStandardTiming && second == kUnusedStandardTiming) || first == 0) continue;
    const double width = (first + kStandardTimingWidthBias) * kStandardTimingWidthUnit;
    const double rate = bit_range(second, 5, 0) + kStandardTimingRefreshBias;
    // Aspect code 0 is 16:10 in E-EDID 1.3 and 1:1 before it: both are covered.
    static constexpr std::array<double, 5> kHeightPerWidth = {10.0 / 16, 3.0 / 4, 4.0 / 5,
                                                              9.0 / 16, 1.0};
    const uint32_t aspect = bit_range(second, 7, 6);
    for (const uint32_t code : {aspect, aspect == 0 ? 4u : aspect}) {
      const timing_rates t = gtf(width, std::round(width * kHeightPerWidth[code]), rate);
      r.cover({rate - 1, t.line_khz * (1 - kMargin), t.clock_mhz * (1 - kMargin)});
      r.cover({rate + 1, t.line_khz * (1 + kMargin), t.clock_mhz * (1 + kMargin)});
    }
  }
}

bool is_detailed_timing(const uint8_t *d) {
  return d[0] != 0 || d[1] != 0;
}

timing_rates detailed_timing_rates(const uint8_t *d) {
  const double clock_khz = (d[0] | d[1] << 8) * 10.0;
  const uint32_t h_total = (d[2] | bit_range(d[4], 7, 4) << 8) + (d[3] | bit_range(d[4], 3, 0) << 8);
  const uint32_t v_active = d[5] | bit_range(d[7], 7, 4) << 8;
  const uint32_t v_total = v_active + (d[6] | bit_range(d[7], 3, 0) << 8);
  const bool interlaced = has_bit(d[17], 7);
  if (h_total == 0 || v_total == 0) return {0, 0, 0};
  const double line_khz = clock_khz / h_total;
  const double field_hz = line_khz * 1000.0 / (interlaced ? v_total + 0.5 : v_total);
  return {field_hz, line_khz, clock_khz / 1000.0};
}

void cover_vic(uint32_t vic, range &r) {
  const cta_video_format_t *f = cta_video_format_find(vic);
  if (f == nullptr || f->h_total == 0) return;
  const double line_khz = static_cast<double>(f->pixel_clock_khz) / f->h_total;
  r.cover_both({f->field_rate_mhz / 1000.0, line_khz, f->pixel_clock_khz / 1000.0});
}

// The range-limits descriptor (E-EDID 1.3 section 3.10.3.3) widened to
// cover every timing the EDID offers.
void cover_every_timing(uint8_t *edid, const plan &p, const hdmi_video_fields &fields) {
  range r;
  const uint8_t *base = edid;
  for (size_t bit = 0; bit < kEstablished.size(); ++bit) {
    const size_t byte = kEstablishedTimings1 + bit / 8;
    if (has_bit(base[byte], 7 - bit % 8)) r.cover(kEstablished[bit]);
  }
  cover_standard_timings(base, r);
  for (size_t slot = 0; slot < kDescriptorSlots; ++slot) {
    const uint8_t *d = base + kDescriptors + slot * kDescriptorSize;
    if (is_detailed_timing(d)) r.cover(detailed_timing_rates(d));
  }
  for (size_t i = 0; i < p.descriptor_count; ++i)
    if (p.descriptors[i].timing) r.cover(detailed_timing_rates(p.descriptors[i].bytes.data()));
  for (size_t i = 0; i < p.svd_count; ++i) cover_vic(p.svds[i], r);
  for (size_t i = 0; i < p.added_count; ++i) cover_vic(p.added[i].vic, r);
  for (size_t i = 0; i < fields.vic_count; ++i)
    cover_vic(cta_hdmi_vic_to_vic(p.hdmi.bytes[fields.video_byte + 2 + i]), r);
  for (size_t slot = 0; slot < kDescriptorSlots; ++slot) {
    uint8_t *d = edid + kDescriptors + slot * kDescriptorSize;
    if (is_detailed_timing(d) || d[kDescriptorTag] != kTagRangeLimits) continue;
    const auto widen_down = [](uint8_t &field, double value) {
      field = static_cast<uint8_t>(std::clamp(std::min<double>(field, std::floor(value)), 1.0, 255.0));
    };
    const auto widen_up = [](uint8_t &field, double value) {
      field = static_cast<uint8_t>(std::clamp(std::max<double>(field, std::ceil(value)), 1.0, 255.0));
    };
    if (r.max_v == 0) return;
    widen_down(d[5], r.min_v);
    widen_up(d[6], r.max_v);
    widen_down(d[7], r.min_h);
    widen_up(d[8], r.max_h);
    widen_up(d[9], r.max_clock / kRangeClockUnitMhz);
  }
}

// Image size (bytes 12-14 of a detailed timing) equal to the screen size.
void set_image_size(uint8_t *d, uint32_t width_mm, uint32_t height_mm) {
  d[12] = static_cast<uint8_t>(width_mm & 0xFF);
  d[13] = static_cast<uint8_t>(height_mm & 0xFF);
  d[14] = static_cast<uint8_t>(put_bits(width_mm >> 8, 7, 4) | put_bits(height_mm >> 8, 3, 0));
}

void match_image_sizes_to_screen(uint8_t *edid, plan &p) {
  const uint32_t width_mm = edid[kHorizontalSize] * 10u, height_mm = edid[kVerticalSize] * 10u;
  for (size_t slot = 0; slot < kDescriptorSlots; ++slot) {
    uint8_t *d = edid + kDescriptors + slot * kDescriptorSize;
    if (is_detailed_timing(d)) set_image_size(d, width_mm, height_mm);
  }
  for (size_t i = 0; i < p.descriptor_count; ++i)
    if (p.descriptors[i].timing) set_image_size(p.descriptors[i].bytes.data(), width_mm, height_mm);
}

// Byte 0x18 bit 2: sRGB only with sRGB's chromaticity (bytes 0x19-0x22).
void claim_srgb_only_with_its_chromaticity(uint8_t *edid) {
  const uint8_t low_rg = edid[kChromaLowRedGreen], low_bw = edid[kChromaLowBlueWhite];
  const std::array<uint32_t, 8> coded = {
      edid[kChromaHigh] << 2 | bit_range(low_rg, 7, 6),
      edid[kChromaHigh + 1] << 2 | bit_range(low_rg, 5, 4),
      edid[kChromaHigh + 2] << 2 | bit_range(low_rg, 3, 2),
      edid[kChromaHigh + 3] << 2 | bit_range(low_rg, 1, 0),
      edid[kChromaHigh + 4] << 2 | bit_range(low_bw, 7, 6),
      edid[kChromaHigh + 5] << 2 | bit_range(low_bw, 5, 4),
      edid[kChromaHigh + 6] << 2 | bit_range(low_bw, 3, 2),
      edid[kChromaHigh + 7] << 2 | bit_range(low_bw, 1, 0),
  };
  bool srgb = true;
  for (size_t i = 0; i < coded.size(); ++i)
    srgb = srgb && std::abs(static_cast<int>(coded[i]) - kSrgbChromaticity[i]) <= kChromaticityTolerance;
  if (!srgb) edid[kFeatures] = static_cast<uint8_t>(edid[kFeatures] & ~put_bit(1, 2));
}

// 640x480 at 60 Hz stays offered (byte 0x23 bit 5).
void keep_640x480(uint8_t *edid) {
  edid[kEstablishedTimings1] = static_cast<uint8_t>(edid[kEstablishedTimings1] | put_bit(1, 5));
}

void write_extension(uint8_t *edid, const plan &p, const layout &l, uint8_t *spa_offset) {
  uint8_t *ext = edid + kExtension;
  std::fill(ext + kCeaDataBlocks, ext + kBlockSize, 0);
  writer w{ext};
  for (size_t i = 0; i < l.count; ++i) {
    if (i == l.hdmi_index && spa_offset != nullptr)
      *spa_offset = static_cast<uint8_t>(kExtension + w.at + 1 + kVsdbOuiLength);
    w.put(l.blocks[i]);
  }
  ext[kCeaDtdOffset] = static_cast<uint8_t>(w.at);
  for (size_t i = 0; i < p.descriptor_count; ++i) {
    std::copy_n(p.descriptors[i].bytes.begin(), kDescriptorSize, ext + w.at);
    w.at += kDescriptorSize;
  }
  const bool audio = p.audio.size != 0;
  // One native detailed timing: the preferred one of the base block.
  ext[kCeaSupport] = static_cast<uint8_t>((p.support & 0xB0u) | put_bit(audio, kBasicAudioBit) | 1u);
  ext[kChecksum] = _calculate_checksum(ext);
  edid[kChecksum] = _calculate_checksum(edid);
}

// The composer writes the base block's extension count and checksum right
// after its display descriptors; without a product name (or range limits)
// they land at the start of a descriptor slot instead of bytes 0x7E-0x7F.
// Such a slot becomes a dummy descriptor (tag 0x10, E-EDID 1.3 section
// 3.10.3.11) and the count moves to 0x7E.
void place_extension_count(uint8_t *edid) {
  if (edid[kExtensionCount] == 1 || edid[kExtension + kCeaTag] != kCeaExtensionTag) return;
  constexpr size_t kComposedTimings = 2;  // the two leading detailed timings
  for (size_t slot = kComposedTimings; slot < kDescriptorSlots; ++slot) {
    uint8_t *d = edid + kDescriptors + slot * kDescriptorSize;
    const bool written = d[0] == 0 && d[1] == 0 && d[2] == 0 &&
                         (d[kDescriptorTag] == kTagProductName || d[kDescriptorTag] == kTagRangeLimits);
    if (written) continue;
    if (d[0] != 1) return;  // not the composer's count: leave the block as it is
    for (size_t rest = slot; rest < kDescriptorSlots; ++rest) {
      uint8_t *dummy = edid + kDescriptors + rest * kDescriptorSize;
      std::fill(dummy, dummy + kDescriptorSize, 0);
      dummy[kDescriptorTag] = kTagDummy;
    }
    edid[kExtensionCount] = 1;
    edid[kChecksum] = _calculate_checksum(edid);
    return;
  }
}

// E-EDID 1.3 asks for a product name descriptor; a configuration without
// monitor_name gets one in a dummy slot, holding the manufacturer ID (bytes
// 0x08-0x09: three letters of five bits, 1 for 'A').
void name_the_product(uint8_t *edid) {
  uint8_t *free_slot = nullptr;
  for (size_t slot = 0; slot < kDescriptorSlots; ++slot) {
    uint8_t *d = edid + kDescriptors + slot * kDescriptorSize;
    if (is_detailed_timing(d)) continue;
    if (d[kDescriptorTag] == kTagProductName) return;
    if (d[kDescriptorTag] == kTagDummy && free_slot == nullptr) free_slot = d;
  }
  if (free_slot == nullptr) return;
  const uint32_t id = edid[kManufacturerId] << 8 | edid[kManufacturerId + 1];
  std::fill(free_slot, free_slot + kDescriptorSize, 0);
  free_slot[kDescriptorTag] = kTagProductName;
  uint8_t *text = free_slot + kDescriptorText;
  for (unsigned i = 0; i < 3; ++i)
    text[i] = static_cast<uint8_t>(kLetterBase + bit_range(id, 14 - 5 * i, 10 - 5 * i));
  text[3] = '\n';
  std::fill(text + 4, text + kDescriptorTextSize, ' ');
  edid[kChecksum] = _calculate_checksum(edid);
}

bool is_composed_edid(const uint8_t *edid) {
  static constexpr std::array<uint8_t, 8> kHeaderBytes = {0x00, 0xFF, 0xFF, 0xFF,
                                                          0xFF, 0xFF, 0xFF, 0x00};
  return std::equal(kHeaderBytes.begin(), kHeaderBytes.end(), edid) &&
         _calculate_checksum(edid) == edid[kChecksum] &&
         _calculate_checksum(edid + kExtension) == edid[kExtension + kChecksum];
}

}  // namespace

extern "C" {

bool compose_profile_apply(const uint8_t *edid_block, uint32_t edid_bytes, uint8_t *new_edid,
                           const compose_profile_t *profile, uint8_t *spa_offset) {
  if (new_edid == nullptr || profile == nullptr) return false;
  std::array<uint8_t, kEdidSize> result;
  std::copy_n(new_edid, kEdidSize, result.begin());
  place_extension_count(result.data());
  if (!is_composed_edid(result.data())) return false;
  name_the_product(result.data());
  cta_info_t tv;
  cta_read_edid(edid_block, edid_block != nullptr ? edid_bytes : 0, &tv);
  plan p;
  std::array<uint8_t, kMaxSvds> kept_index{};
  size_t composed_svds = 0;
  if (!read_composed(result.data(), p, kept_index, composed_svds)) return false;
  LOG_TRACE("Modern profile:");

  hdmi_video_fields fields = find_hdmi_video(p.hdmi);
  renumber_3d_entries(p.hdmi, fields, {kept_index.data(), composed_svds});
  cap_hdmi_tmds_clock(p.hdmi);
  p.rate_mhz = effective_rate_mhz(*profile, tv);
  offer_priority_formats(*profile, tv, p);
  list_hdmi_vic_equivalents(p, fields);
  keep_video_block_within_31(p, fields);
  p.forum = tv.hf_vsdb.present && p.hdmi.size != 0;
  p.dc_420 = deep_colour_420(*profile, tv.hf_vsdb);
  intersect_colorimetry(*profile, tv, p);
  intersect_hdr_static(*profile, tv, p);
  p.video_capability = video_capability(*profile, tv, p.support);
  pass_vendor_hdr(*profile, tv, p);
  keep_audio_third_bytes(tv, p);

  layout l;
  if (!make_room(p, fields, l)) return false;
  match_image_sizes_to_screen(result.data(), p);
  cover_every_timing(result.data(), p, fields);
  claim_srgb_only_with_its_chromaticity(result.data());
  keep_640x480(result.data());
  uint8_t offset = 0;
  write_extension(result.data(), p, l, &offset);
  std::copy(result.begin(), result.end(), new_edid);
  if (spa_offset != nullptr && offset != 0) *spa_offset = offset;
  return true;
}

bool compose_edid_profile(const uint8_t *edid_block, int32_t edid_bytes, uint8_t *new_edid_block,
                          uint32_t new_size, composer_cfg_t *cfg,
                          const compose_profile_t *profile) {
  compose_profile_t read;
  if (profile == nullptr) {
    compose_profile_read(&read);
    profile = &read;
  }
  if (!compose_edid(edid_block, edid_bytes, new_edid_block, new_size, cfg)) return false;
  if (!profile->enabled) return true;
  const uint32_t given =
      edid_block != nullptr && edid_bytes > 0 ? static_cast<uint32_t>(edid_bytes) : 0;
  if (!compose_profile_apply(edid_block, given, new_edid_block, profile, cfg->spa_offset)) {
    LOG_ERROR("The composed EDID could not be read for the modern profile.");
    return false;
  }
  return true;
}

}  // extern "C"

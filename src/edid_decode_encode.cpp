// The EDID record and its codec: lifecycle of edid_t, decoding of the VESA
// E-EDID 1.3 base block and of the CEA-861 extension (with the HDMI 1.4b
// vendor-specific data block), encoding of a record into 256 bytes, and the
// text dump of a decoded record.
#include "edid_decode_encode.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <span>

#include "bits.h"
#include "diagnostics.h"
#include "edid_decode_encode_internal.h"
#include "edid_layout.h"
#include "linked_list.h"
#include "timing_text.h"
#include "typed_list.h"
#include "utility.h"

using namespace edc::layout;  // NOLINT: the byte formats' offsets, read field by field
using edc::as_int;
using edc::bit_range;
using edc::has_bit;
using edc::put_bit;
using edc::put_bits;

// ===========================================================================
// Record lifecycle
// ===========================================================================

// The C layout of the record and its elements, as C callers compile it (LP64:
// 32-bit fields 4-aligned, list heads 8-aligned). A change here breaks every
// program built against the installed header. The record holds list heads
// (pointers): its own size and offsets are checked for LP64 only, not for a
// 32-bit target such as WebAssembly.
static_assert(sizeof(physical_address_t) == 4);
static_assert(sizeof(std_timing_t) == 12);
static_assert(sizeof(short_video_desc_t) == 12 && offsetof(short_video_desc_t, vic) == 4 &&
              offsetof(short_video_desc_t, stereo) == 8);
static_assert(sizeof(short_audio_desc_t) == 28 && offsetof(short_audio_desc_t, profile) == 24);
static_assert(sizeof(detailed_timing_t) == 60 && offsetof(detailed_timing_t, pixel_clock) == 4 &&
              offsetof(detailed_timing_t, h_border) == 24 &&
              offsetof(detailed_timing_t, v_active) == 28 &&
              offsetof(detailed_timing_t, v_border) == 44 &&
              offsetof(detailed_timing_t, progressive) == 56 &&
              offsetof(detailed_timing_t, v_sync_positive) == 59);
#if UINTPTR_MAX == UINT64_MAX
static_assert(sizeof(edid_t) == 320);
static_assert(offsetof(edid_t, manufacturer_id) == 1 && offsetof(edid_t, product_id) == 8 &&
              offsetof(edid_t, year) == 20 && offsetof(edid_t, gamma) == 32 &&
              offsetof(edid_t, red_x) == 44 && offsetof(edid_t, manufacturer_timings) == 84);
static_assert(offsetof(edid_t, std_timings) == 88 && offsetof(edid_t, dtd_list) == 112 &&
              offsetof(edid_t, video_list) == 200 && offsetof(edid_t, audio_list) == 224);
static_assert(offsetof(edid_t, monitor_serial) == 136 && offsetof(edid_t, monitor_name) == 164 &&
              offsetof(edid_t, max_pixel_clock) == 184 && offsetof(edid_t, num_extensions) == 188);
static_assert(offsetof(edid_t, speaker) == 248 && offsetof(edid_t, address) == 252 &&
              offsetof(edid_t, max_tmds_clock) == 264 && offsetof(edid_t, video_latency) == 274 &&
              offsetof(edid_t, present_3d) == 282 && offsetof(edid_t, hdmi_vic) == 288 &&
              offsetof(edid_t, xvycc709) == 317);
#endif

namespace {

// The record's four lists, in the order that every check and step takes
// them, with the names each message gives them.
struct record_list {
  ll_list_t edid_t::*list;
  edc::list_type type;
  const char *already_initialised;  // edid_prepare
  const char *not_initialised;      // edid_destroy
  const char *delete_failed;        // edid_destroy
  const char *still_initialised;    // edid_destroy
  const char *decode_refused;       // decode_edid_block_0
};

constexpr std::array<record_list, 4> kRecordLists = {{
    {&edid_t::std_timings, edc::list_type_of<std_timing_t>,
     "standard_timing_list has already been initialized.",
     "List is not initialized. List:standard_timing_list.",
     "Failed deleting list: standard_timing_list.",
     "Deleted list believes it is still initialized: standard_timing_list.",
     "standard_timing_list: List not initialized."},
    {&edid_t::dtd_list, edc::list_type_of<detailed_timing_t>,
     "detailed_timing_list has already been initialized.",
     "List is not initialized. List:detailed_timing_list.",
     "Failed deleting list: detailed_timing_list.",
     "Deleted list believes it is still initialized: detailed_timing_list.",
     "detailed_timing_list: List not initialized."},
    {&edid_t::video_list, edc::list_type_of<short_video_desc_t>,
     "short_video_description_list has already been initialized.",
     "List is not initialized. List:short_video_description_timing_list.",
     "Failed deleting list: short_video_description_list.",
     "Deleted list believes it is still initialized: short_video_description_list.",
     "short_video_description_list: List not initialized."},
    {&edid_t::audio_list, edc::list_type_of<short_audio_desc_t>,
     "short_audio_description_list has already been initialized.",
     "List is not initialized. List:short_audio_description_timing_list.",
     "Failed deleting list: short_audio_description_list.",
     "Deleted list believes it is still initialized: short_audio_description_list.",
     "short_audio_description_list: List not initialized."},
}};

// The codec's check of pointer arguments, in argument order: reports the
// first NULL one as func's error "Function called with <name> set to NULL."
// and gives false.
struct named_pointer {
  const void *pointer;
  const char *name;
};
[[gnu::cold]] void report_missing(const char *func, const char *name) {
  LOG_ERROR_AS(func, "Function called with %s set to NULL.", name);
}
// Inlined, so that on the decoding path it is a compare per argument.
[[gnu::always_inline]] inline bool arguments_present(
    const char *func, std::initializer_list<named_pointer> arguments) {
  for (const named_pointer &argument : arguments) {
    if (argument.pointer == nullptr) {
      report_missing(func, argument.name);
      return false;
    }
  }
  return true;
}

}  // namespace

extern "C" {

uint8_t edid_prepare(edid_t *edid) {
  // Zeroing first abandons whatever the lists held.
  memset(edid, 0, sizeof *edid);
  for (const auto &l : kRecordLists) {
    if (ll_is_initialized(&(edid->*l.list))) {
      LOG_ERROR("%s", l.already_initialised);
      return 0;
    }
  }
  for (const auto &l : kRecordLists) {
    if (!edc::init_list(&(edid->*l.list), l.type)) {
      LOG_ERROR("Failed initailzing list.");
      return 0;
    }
  }
  edid->valid = 0;
  return 1;
}

uint8_t edid_destroy(edid_t *edid) {
  for (const auto &l : kRecordLists) {
    if (!ll_is_initialized(&(edid->*l.list))) {
      LOG_ERROR("%s", l.not_initialised);
      return 0;
    }
  }
  for (const auto &l : kRecordLists) {
    if (!ll_delete_list(&(edid->*l.list))) {
      LOG_ERROR("%s", l.delete_failed);
      return 0;
    }
  }
  for (const auto &l : kRecordLists) {
    if (ll_is_initialized(&(edid->*l.list))) LOG_BUG("%s", l.still_initialised);
  }
  return 1;
}

}  // extern "C"

// ===========================================================================
// Base block decoding (VESA E-EDID 1.3)
// ===========================================================================

namespace {

// The record keeps a text descriptor's 13 bytes and a terminator.
constexpr size_t kTextFieldSize = kDescriptorTextSize + 1;
static_assert(sizeof(edid_t::monitor_name) == kTextFieldSize &&
              sizeof(edid_t::monitor_serial) == kTextFieldSize &&
              sizeof(edid_t::monitor_data) == kTextFieldSize);

constexpr const char kDecodeEdidDtd[] = "_decode_edid_dtd";

// A one-bit flag of the record and its bit in a byte of the formats. The
// decoder reads a byte's flags and the encoder writes them from one table,
// so the two agree by construction.
struct flag_bit {
  uint8_t edid_t::*field;
  unsigned bit;
};

void decode_flags(uint8_t byte, std::span<const flag_bit> flags, edid_t *edid) {
  for (const flag_bit &flag : flags) edid->*flag.field = has_bit(byte, flag.bit);
}

uint8_t encode_flags(const edid_t *edid, std::span<const flag_bit> flags) {
  uint8_t byte = 0;
  for (const flag_bit &flag : flags) byte |= put_bit(edid->*flag.field, flag.bit);
  return byte;
}

// byte 0x18, feature support: bit 7 stand-by, 6 suspend, 5 active-off,
// 2 standard sRGB colour space, 1 preferred timing mode. Bits 4-3, the
// display type, are not kept; bit 0, default GTF, is read as a flag but
// written as the record holds it (encode_display_parameters).
constexpr flag_bit kFeatureFlags[] = {{&edid_t::standby, 7},
                                      {&edid_t::suspend, 6},
                                      {&edid_t::active_off, 5},
                                      {&edid_t::standard_colorspace, 2},
                                      {&edid_t::preferred_timing, 1}};
constexpr unsigned kGtfBit = 0;

uint32_t read_le16(const uint8_t *bytes) {
  return static_cast<uint32_t>(bytes[0]) | static_cast<uint32_t>(bytes[1]) << 8;
}

uint32_t read_le32(const uint8_t *bytes) {
  return read_le16(bytes) | read_le16(bytes + 2) << 16;
}

uint64_t read_header(const uint8_t *block) {
  uint64_t value = 0;
  for (size_t i = 0; i < kHeaderSize; ++i) value |= static_cast<uint64_t>(block[i]) << (8 * i);
  return value;
}

// Letter codes 1..26 stand for A..Z; other codes are kept as code + 0x40 too.
void decode_vendor_product(const uint8_t *block, edid_t *edid) {
  const uint8_t high = block[kManufacturerId];
  const uint8_t low = block[kManufacturerId + 1];
  const uint32_t codes[3] = {bit_range(high, 6, 2),
                             bit_range(low, 7, 5) | bit_range(high, 1, 0) << 3,
                             bit_range(low, 4, 0)};
  for (size_t i = 0; i < 3; ++i)
    edid->manufacturer_id[i] = static_cast<char>(codes[i] + kLetterBase);
  edid->manufacturer_id[3] = '\0';
  edid->product_id = read_le16(block + kProductCode);
  edid->serial = read_le32(block + kSerialNumber);
  edid->week = block[kWeek];
  edid->year = block[kYear] + kYearBase;
}

void decode_display_parameters(const uint8_t *block, edid_t *edid) {
  edid->h_size_cm = block[kHorizontalSize];
  edid->v_size_cm = block[kVerticalSize];
  edid->gamma = block[kGamma];
  decode_flags(block[kFeatures], kFeatureFlags, edid);
  edid->gtf = has_bit(block[kFeatures], kGtfBit);
}

// Each coordinate is 10 bits: its high byte times 4 plus its two low bits.
void decode_chromaticity(const uint8_t *block, edid_t *edid) {
  uint32_t *const coordinates[8] = {&edid->red_x,  &edid->red_y,  &edid->green_x, &edid->green_y,
                                    &edid->blue_x, &edid->blue_y, &edid->white_x, &edid->white_y};
  for (unsigned i = 0; i < 8; ++i) {
    const uint8_t low_byte = block[i < 4 ? kChromaLowRedGreen : kChromaLowBlueWhite];
    const unsigned shift = 6 - 2 * (i % 4);  // x then y, red/blue at bits 7-6
    *coordinates[i] =
        static_cast<uint32_t>(block[kChromaHigh + i]) << 2 | bit_range(low_byte, shift + 1, shift);
  }
}

void decode_timing_bitmaps(const uint8_t *block, edid_t *edid) {
  edid->established_timings_1 = block[kEstablishedTimings1];
  edid->established_timings_2 = block[kEstablishedTimings2];
  edid->manufacturer_timings = block[kManufacturerTimings];
}

// Copies a text descriptor's 13 bytes and ends the text at its line feed.
void decode_descriptor_text(const uint8_t *dtd, char (&field)[kTextFieldSize]) {
  memcpy(field, dtd + kDescriptorText, kDescriptorTextSize);
  _replace_all_chars(field, static_cast<int32_t>(kTextFieldSize), '\n', '\0');
  field[kTextFieldSize - 1] = '\0';
}

// A descriptor whose pixel clock is 0: bytes 2 and 4 must be 0, byte 3 is
// the tag.
uint8_t decode_display_descriptor(const uint8_t *dtd, edid_t *edid) {
  if (dtd[2] != 0 || dtd[4] != 0) {
    LOG_ERROR_AS(kDecodeEdidDtd,
                 "Malformed DTD: The DTD's pixel clock is 0 indicating that the byte 0x2 and byte "
                 "0x4 should be zero, but they are not. Byte2:0x%02X Byte4:0x%02X",
                 static_cast<unsigned>(dtd[2]), static_cast<unsigned>(dtd[4]));
    return 0;
  }
  switch (const uint8_t tag = dtd[kDescriptorTag]) {
    case kTagSerialNumber:
      decode_descriptor_text(dtd, edid->monitor_serial);
      break;
    case kTagDataString:
      decode_descriptor_text(dtd, edid->monitor_data);
      break;
    case kTagRangeLimits:
      edid->min_v_rate = dtd[5];
      edid->max_v_rate = dtd[6];
      edid->min_h_rate = dtd[7];
      edid->max_h_rate = dtd[8];
      edid->max_pixel_clock = dtd[9] * kRangeClockUnitMhz;
      break;
    case kTagProductName:
      decode_descriptor_text(dtd, edid->monitor_name);
      break;
    case kTagColorPoint:
      LOG_WARNING_AS(kDecodeEdidDtd, "Additional monitor color point specified. Ignoring.");
      break;
    case kTagStandardTimings:
      LOG_WARNING_AS(kDecodeEdidDtd, "Additional standard timings specified. Ignoring.");
      break;
    case kTagDummy:
    case kTagNone:
      break;
    default:
      LOG_WARNING_AS(kDecodeEdidDtd, "Unknown data tag within DTD timing. Ignoring. tag=0x%x",
                     static_cast<unsigned>(tag));
      break;
  }
  return 1;
}

// Detailed timing descriptor (E-EDID 1.3 section 3.10.2): the 12-bit sizes
// take their high nibbles from bytes 4, 7 and 14, the sync fields their high
// bits from byte 11; byte 17 holds the flags.
void fill_detailed_timing(const uint8_t *dtd, uint32_t pixel_clock, detailed_timing_t &timing) {
  timing.pixel_clock = pixel_clock;
  timing.h_active = dtd[2] + (bit_range(dtd[4], 7, 4) << 8);
  timing.h_blanking = dtd[3] + (bit_range(dtd[4], 3, 0) << 8);
  timing.v_active = dtd[5] + (bit_range(dtd[7], 7, 4) << 8);
  timing.v_blanking = dtd[6] + (bit_range(dtd[7], 3, 0) << 8);
  timing.h_sync_offset = dtd[8] + (bit_range(dtd[11], 7, 6) << 8);
  timing.h_sync_width = dtd[9] + (bit_range(dtd[11], 5, 4) << 8);
  timing.v_sync_offset = bit_range(dtd[10], 7, 4) + (bit_range(dtd[11], 3, 2) << 4);
  timing.v_sync_width = bit_range(dtd[10], 3, 0) + (bit_range(dtd[11], 1, 0) << 4);
  timing.h_image_size = dtd[12] + (bit_range(dtd[14], 7, 4) << 8);
  timing.v_image_size = dtd[13] + (bit_range(dtd[14], 3, 0) << 8);
  timing.h_border = dtd[15];
  timing.v_border = dtd[16];
  // byte 17: bit 7 interlaced, bits 6-5 stereo, bits 4-3 sync type (3 digital
  // separate), bit 2 vertical and bit 1 horizontal polarity
  const uint8_t flags = dtd[17];
  timing.progressive = !has_bit(flags, 7);
  timing.stereo = bit_range(flags, 6, 5) != 0;
  timing.h_sync_positive = has_bit(flags, 1);
  timing.v_sync_positive = has_bit(flags, 2);
  const uint32_t sync_type = bit_range(flags, 4, 3);
  if (sync_type != 3)
    LOG_TRACE_AS(kDecodeEdidDtd, "Detailed timing is not set to digital. Val:0x%x Continuing.",
                 sync_type);
  timing.valid = 1;
}

// The 18 bytes of a descriptor as "0x.. 0x.. ...", for the failure report.
void format_descriptor_bytes(const uint8_t *dtd, char (&text)[kDescriptorSize * 5]) {
  size_t used = 0;
  for (size_t i = 0; i < kDescriptorSize; ++i)
    used += static_cast<size_t>(snprintf(text + used, sizeof text - used, "%s0x%x",
                                         i == 0 ? "" : " ", static_cast<unsigned>(dtd[i])));
}

}  // namespace

extern "C" {

uint8_t _calculate_checksum(const uint8_t *edid_block) {
  if (!arguments_present(__func__, {{edid_block, "edid_block"}})) return 0;
  uint32_t sum = 0;
  for (size_t i = 0; i < kChecksum; ++i) sum += edid_block[i];
  return static_cast<uint8_t>(0u - sum);
}

void _replace_all_chars(char *string, int32_t length, uint8_t find, uint8_t replace) {
  if (string == nullptr) {
    LOG_ERROR("String parameter is NULL.");
    return;
  }
  for (int32_t i = 0; i < length; ++i) {
    if (static_cast<uint8_t>(string[i]) == find) string[i] = static_cast<char>(replace);
  }
}

uint8_t _decode_edid_standard_timing(uint8_t byte1, uint8_t byte2, edid_t *edid) {
  if (!arguments_present(__func__, {{edid, "edid"}})) return 0;
  if (byte1 == kUnusedStandardTiming && byte2 == kUnusedStandardTiming) return 1;
  // first byte: (width / 8) - 31; second byte: bits 7-6 aspect, 5-0 rate - 60
  const auto fill = [&](std_timing_t &timing) {
    timing.h_active = (byte1 + kStandardTimingWidthBias) * kStandardTimingWidthUnit;
    timing.aspect_ratio = bit_range(byte2, 7, 6);
    timing.refresh_rate = bit_range(byte2, 5, 0) + kStandardTimingRefreshBias;
  };
  return edc::append_filled<std_timing_t>(&edid->std_timings, EDC_HERE, fill) != nullptr;
}

uint8_t _decode_edid_dtd(const uint8_t *dtd, edid_t *edid) {
  if (!arguments_present(__func__, {{dtd, "dtd"}, {edid, "edid"}})) return 0;
  // bytes 0-1, pixel clock in 10 kHz units; 0 marks a display descriptor
  const uint32_t pixel_clock = read_le16(dtd) * kPixelClockUnitHz;
  if (pixel_clock == 0) return decode_display_descriptor(dtd, edid);

  static constexpr edc::insertion_messages kMessages = {"Failed creating an entry.",
                                                        "Failed adding entry to the back.",
                                                        "Failed deleting unused entry."};
  const auto fill = [&](detailed_timing_t &timing) {
    fill_detailed_timing(dtd, pixel_clock, timing);
  };
  const detailed_timing_t *added =
      edc::append_filled<detailed_timing_t>(&edid->dtd_list, EDC_HERE, fill, kMessages);
  if (added == nullptr) return 0;
  LOG_TRACE("Added DTD: WxH=%dx%d%s pixel:%d", as_int(added->h_active), as_int(added->v_active),
            added->progressive ? "p" : "i", as_int(added->pixel_clock));
  return 1;
}

uint8_t decode_edid_block_0(const uint8_t *edid_block, edid_t *edid) {
  if (!arguments_present(__func__, {{edid_block, "edid_block"}, {edid, "edid"}})) return 0;
  for (const auto &l : kRecordLists) {
    if (!ll_is_initialized(&(edid->*l.list))) {
      LOG_ERROR("%s", l.decode_refused);
      return 0;
    }
  }
  const uint64_t header = read_header(edid_block);
  if (header != kHeader) {
    LOG_ERROR("Failed verifying the header. Expected:%16llx Received:%16llx",
              static_cast<unsigned long long>(kHeader), static_cast<unsigned long long>(header));
    return 0;
  }
  // A recognised header makes the record valid, whatever the checksum says.
  edid->valid = 1;
  edid->checksum = edid_block[kChecksum];
  const uint8_t calculated = _calculate_checksum(edid_block);
  if (calculated != edid_block[kChecksum]) {
    LOG_ERROR("Edid failed the checksum. Calculated:0x%02X Received:0x%02X",
              static_cast<unsigned>(calculated), static_cast<unsigned>(edid_block[kChecksum]));
    return 0;
  }
  decode_vendor_product(edid_block, edid);

  edid->version = edid_block[kVersion];
  edid->revision = edid_block[kRevision];
  if (edid->version != 1 || edid->revision < 3) {
    LOG_ERROR("Failed EDID Version/Revision check. Expected:%d.%d Recieved:%d.%d", 1, 3,
              as_int(edid->version), as_int(edid->revision));
    return 0;
  }
  edid->digital = has_bit(edid_block[kVideoInput], 7);
  if (!edid->digital) LOG_WARNING("EDID inappropriately set to analog. Continuing.");
  decode_display_parameters(edid_block, edid);
  decode_chromaticity(edid_block, edid);
  decode_timing_bitmaps(edid_block, edid);

  for (size_t slot = 0; slot < kStandardTimingSlots; ++slot) {
    const uint8_t *pair = edid_block + kStandardTimings + 2 * slot;
    if (!_decode_edid_standard_timing(pair[0], pair[1], edid)) {
      LOG_ERROR("Failed decoding #%d standard timing. Val1:0x%x Val2:0x%x", as_int(slot + 1),
                static_cast<unsigned>(pair[0]), static_cast<unsigned>(pair[1]));
      return 0;
    }
  }
  for (size_t slot = 0; slot < kDescriptorSlots; ++slot) {
    const uint8_t *dtd = edid_block + kDescriptors + kDescriptorSize * slot;
    if (!_decode_edid_dtd(dtd, edid)) {
      char bytes[kDescriptorSize * 5];
      format_descriptor_bytes(dtd, bytes);
      LOG_ERROR("Failed decoding #%d DTD. %s", as_int(slot), bytes);
      return 0;
    }
  }
  edid->num_extensions = edid_block[kExtensionCount];
  return 1;
}

}  // extern "C"

// ===========================================================================
// CEA-861 extension decoding
// ===========================================================================

namespace {

constexpr const char kDecodeExtensions[] = "decode_edid_extensions";
constexpr const char kDecodeVendorBlock[] = "_decode_edid_vendor_block";

// The largest offset d (byte 2) that the decoder accepts.
constexpr uint32_t kMaxDtdOffset = 110;

// byte 3: bit 7 underscan, 6 basic audio, 5 YCbCr 4:4:4, 4 YCbCr 4:2:2 (bits
// 3-0, the number of native formats, are not kept)
constexpr flag_bit kSupportFlags[] = {{&edid_t::underscan, 7},
                                      {&edid_t::basic_audio, 6},
                                      {&edid_t::ycbcr444, 5},
                                      {&edid_t::ycbcr422, 4}};

uint32_t block_tag(uint8_t header) {
  return bit_range(header, 7, 5);
}
uint32_t block_length(uint8_t header) {
  return bit_range(header, 4, 0);
}

// Bytes from a data block's header up to a bound (the end of the extension,
// or of the block itself). Fields that the block announces but that lie
// beyond the bound read as 0, so no read leaves the bytes the caller gave.
struct byte_view {
  std::span<const uint8_t> bytes;

  uint8_t operator[](size_t i) const { return i < bytes.size() ? bytes[i] : 0; }
  bool contains(size_t i) const { return i < bytes.size(); }
};

// HDMI vendor block byte 6: bit 7 Supports_AI, 6 DC_48bit, 5 DC_36bit,
// 4 DC_30bit, 3 DC_Y444. Bit 0, DVI_Dual, is read as a flag but written as
// the record holds it (encode_hdmi_vsdb).
constexpr flag_bit kVsdbFlagBits[] = {{&edid_t::supports_ai, 7},
                                      {&edid_t::dc_48bit, 6},
                                      {&edid_t::dc_36bit, 5},
                                      {&edid_t::dc_30bit, 4},
                                      {&edid_t::dc_y444, 3}};
constexpr unsigned kDviDualBit = 0;
// Byte 8: bit 7 Latency_Fields_Present and 6 I_Latency_Fields_Present (not
// kept: the record's latencies say it), 5 HDMI_Video_present, 3-1 CNC3..CNC1.
// Bit 0, CNC0, is read as a flag but written as the record holds it.
constexpr unsigned kLatencyPresentBit = 7;
constexpr unsigned kInterlacedLatencyPresentBit = 6;
constexpr flag_bit kVsdbPresenceBits[] = {
    {&edid_t::hdmi_video_present, 5}, {&edid_t::cnc3, 3}, {&edid_t::cnc2, 2}, {&edid_t::cnc1, 1}};
constexpr unsigned kCnc0Bit = 0;
// The HDMI video byte: bit 7 3D_present, 6-5 3D_Multi_present, 4-3
// Image_Size; the next byte: bits 7-5 HDMI_VIC_LEN, 4-0 HDMI_3D_LEN.
static_assert(sizeof(edid_t::hdmi_vic) / sizeof(edid_t::hdmi_vic[0]) == kMaxHdmiVics);

// 3D_Structure_ALL bit i (HDMI 1.4b table 8-19) as a stereo bit.
// clang-format off
constexpr std::array<uint32_t, 16> _3d_struct_all_array = {
    EDID_STEREO_FP, EDID_STEREO_FA, EDID_STEREO_LA, EDID_STEREO_SSF,
    EDID_STEREO_LD, EDID_STEREO_LDG, EDID_STEREO_TBH, 0,
    EDID_STEREO_SSH, 0, 0, 0,
    0, 0, 0, EDID_STEREO_SSH};
// clang-format on

// A per-format 3D_Structure value (HDMI 1.4b table 8-21) as a stereo bit: the
// same as the bits of 3D_Structure_ALL, except that 15 is reserved (bit 15
// of 3D_Structure_ALL is side-by-side half with quincunx sub-sampling, which
// a per-format entry gives as structure 8 with its 3D_Detail). 0 for the
// reserved values 7 and 9 to 15.
constexpr std::array<uint32_t, 16> kStereoFor3dStructure = [] {
  std::array<uint32_t, 16> table = _3d_struct_all_array;
  table[15] = 0;
  return table;
}();

// Latencies are stored as (ms / 2) + 1, 0 meaning none given.
uint16_t decode_latency(uint8_t stored) {
  return stored == 0 ? 0 : static_cast<uint16_t>((stored - 1) * 2);
}

void decode_hdmi_address_and_flags(byte_view block, uint32_t length, edid_t *edid) {
  edid->address.a = static_cast<uint8_t>(bit_range(block[kVsdbAddress], 7, 4));
  edid->address.b = static_cast<uint8_t>(bit_range(block[kVsdbAddress], 3, 0));
  edid->address.c = static_cast<uint8_t>(bit_range(block[kVsdbAddress + 1], 7, 4));
  edid->address.d = static_cast<uint8_t>(bit_range(block[kVsdbAddress + 1], 3, 0));
  if (length > kVsdbFlags - 1) {
    decode_flags(block[kVsdbFlags], kVsdbFlagBits, edid);
    edid->dvi_dual = has_bit(block[kVsdbFlags], kDviDualBit);
  }
  if (length > kVsdbTmdsClock - 1) edid->max_tmds_clock = block[kVsdbTmdsClock] * kTmdsClockUnitMhz;
}

// Byte 8 and the latencies that it announces; returns the offset of the HDMI
// video byte that would follow them.
size_t decode_hdmi_presence_and_latency(byte_view block, uint32_t length, edid_t *edid) {
  size_t video = kVsdbLatency;
  if (length < kVsdbPresence) return video;
  const uint8_t presence = block[kVsdbPresence];
  decode_flags(presence, kVsdbPresenceBits, edid);
  edid->cnc0 = has_bit(presence, kCnc0Bit);
  const bool latency = has_bit(presence, kLatencyPresentBit);
  if (latency) {
    edid->video_latency = decode_latency(block[video]);
    edid->audio_latency = decode_latency(block[video + 1]);
    video += 2;
  }
  // The interlaced pair counts only after the progressive one.
  if (latency && has_bit(presence, kInterlacedLatencyPresentBit)) {
    edid->interlaced_video_latency = decode_latency(block[video]);
    edid->interlaced_audio_latency = decode_latency(block[video + 1]);
    video += 2;
  } else {
    edid->interlaced_video_latency = edid->video_latency;
    edid->interlaced_audio_latency = edid->audio_latency;
  }
  return video;
}

// 3D_Structure_ALL and 3D_MASK: the structures given for all of the first 16
// video formats that the mask selects.
void apply_3d_structure_all(uint32_t structure_all, uint32_t mask, edid_t *edid) {
  uint32_t stereo = 0;
  for (unsigned bit = 0; bit < _3d_struct_all_array.size(); ++bit)
    if (has_bit(structure_all, bit)) stereo |= _3d_struct_all_array[bit];
  // The list is verified once and then walked: a fetch by index for each of
  // the 16 formats would walk it again each time.
  int32_t i = 0;
  for (short_video_desc_t *format : edc::elements<short_video_desc_t>(&edid->video_list)) {
    if (i >= kMax3dFormats) break;
    if (has_bit(mask, static_cast<unsigned>(i++))) format->stereo |= stereo;
  }
}

// The per-format 3D entries in [begin, end): bits 7-4 2D_VIC_order, 3-0
// 3D_Structure. The walk ends early at the view's end, so that no entry is
// made up from bytes that were not given.
void apply_3d_entries(byte_view block, size_t begin, size_t end, edid_t *edid) {
  const int32_t formats = ll_size(&edid->video_list);
  for (size_t j = begin; j < end && block.contains(j);) {
    const auto order = static_cast<int32_t>(bit_range(block[j], 7, 4));
    const uint32_t structure = bit_range(block[j], 3, 0);
    const size_t entry_size = structure == k3dStructureWithDetail ? 2 : 1;
    if (order > formats) {
      LOG_WARNING_AS(kDecodeVendorBlock, "Index out of range. index:%d Len:%d", order, formats);
      j += entry_size;
      continue;
    }
    auto *format = edc::element_at<short_video_desc_t>(&edid->video_list, order);
    if (format == nullptr) {
      LOG_ERROR_AS(kDecodeVendorBlock,
                   "The Vendor Specific Data Block (VSDB) 3D description references an index (%d) "
                   "that doesn't exist. Continuing. List len:%d",
                   order, formats);
      j += 1;
      continue;
    }
    const uint32_t stereo = kStereoFor3dStructure[structure];
    if (stereo == 0) {
      LOG_ERROR_AS(kDecodeVendorBlock, "It should not arrive here.");
      j += 1;
      continue;
    }
    format->stereo |= stereo;
    j += entry_size;
  }
}

// The HDMI video byte at offset video and what follows it: image size, HDMI
// VICs and 3D. The HDMI VICs and the 3D fields are read as far as their own
// lengths say, not checked against the block's length.
void decode_hdmi_video(byte_view block, size_t video, edid_t *edid) {
  const uint8_t video_byte = block[video];
  edid->present_3d = has_bit(video_byte, 7);
  const uint32_t multi_3d = bit_range(video_byte, 6, 5);
  edid->image_size = static_cast<uint8_t>(bit_range(video_byte, 4, 3));
  const uint8_t lengths = block[video + 1];
  edid->hdmi_vic_len = static_cast<uint8_t>(bit_range(lengths, 7, 5));
  const uint32_t length_3d = bit_range(lengths, 4, 0);
  if (debug_enabled()) {
    LOG_TRACE_AS(kDecodeVendorBlock, " start parsing 3D and 4Kx2K stuff %s",
                 edid->hdmi_video_present ? "true" : "false");
    LOG_TRACE_AS(kDecodeVendorBlock, " 3D_present %d", as_int(edid->present_3d));
    LOG_TRACE_AS(kDecodeVendorBlock, " 3D_multi_present %d", as_int(multi_3d));
    LOG_TRACE_AS(kDecodeVendorBlock, " image_size %d", as_int(edid->image_size));
    LOG_TRACE_AS(kDecodeVendorBlock, " 3D_len %d", as_int(length_3d));
    LOG_TRACE_AS(kDecodeVendorBlock, " 4k_2k_vic_len %d", as_int(edid->hdmi_vic_len));
  }
  size_t at = video + 2;
  for (uint32_t i = 0; i < edid->hdmi_vic_len && i < kMaxHdmiVics; ++i)
    edid->hdmi_vic[i] = bit_range(block[at + i], 6, 0);
  at += edid->hdmi_vic_len;
  if (length_3d == 0 || !edid->present_3d) return;

  // 3D_Multi_present 1: 3D_Structure_ALL for every format; 2: with 3D_MASK;
  // 0 and 3: neither. HDMI_3D_LEN counts these bytes too.
  uint32_t structure_all = 0;
  uint32_t mask = 0;
  size_t read = 0;
  if (multi_3d == 1 || multi_3d == 2) {
    structure_all = static_cast<uint32_t>(block[at]) << 8 | block[at + 1];
    mask = 0xFFFF;
    read = 2;
  }
  if (multi_3d == 2) {
    mask = static_cast<uint32_t>(block[at + 2]) << 8 | block[at + 3];
    read = 4;
  }
  apply_3d_structure_all(structure_all, mask, edid);
  apply_3d_entries(block, at + read, at + length_3d, edid);
}

uint8_t decode_vendor_block(byte_view block, edid_t *edid) {
  const uint8_t header = block[0];
  if (block_tag(header) != kTagVendorSpecific) {
    LOG_ERROR_AS(kDecodeVendorBlock,
                 "Failed decoding the vendor block. Tag is not correct. Expected=0x3 Received=0x%X",
                 block_tag(header));
    return 0;
  }
  const uint32_t length = block_length(header);
  if (length < kVsdbOuiLength) {
    LOG_ERROR_AS(kDecodeVendorBlock,
                 "Failed decoding the vendor block. Length not long enough to contain the "
                 "vendor's id. Length=%d",
                 as_int(length));
    return 0;
  }
  const uint32_t oui = block[kVsdbOui] | block[kVsdbOui + 1] << 8 | block[kVsdbOui + 2] << 16;
  if (oui != kHdmiOui) {
    LOG_TRACE_AS(kDecodeVendorBlock, "Unrecognized vendor block. Ignoring. Vendor=0x%X", oui);
    return 1;
  }
  if (length < kVsdbMinHdmiLength) {
    LOG_ERROR_AS(kDecodeVendorBlock,
                 "Failed decoding the hdmi block. The length is required to be at least 5 bytes "
                 "long. Length=%d",
                 as_int(length));
    return 0;
  }
  decode_hdmi_address_and_flags(block, length, edid);
  edid->hdmi_vsdb_present = 1;
  const size_t video = decode_hdmi_presence_and_latency(block, length, edid);
  if (length < video || !edid->hdmi_video_present) return 1;
  decode_hdmi_video(block, video, edid);
  return 1;
}

// Three bytes per descriptor; a length that is not a multiple of 3 takes the
// last descriptor's missing bytes from what follows the block.
bool decode_audio_block(byte_view block, uint32_t length, edid_t *edid) {
  LOG_TRACE_AS(kDecodeExtensions, "Audio Data Block. Len=%d", as_int(length));
  for (uint32_t k = 0; k < length; k += 3) {
    const uint8_t b1 = block[k + 1];
    const uint8_t b2 = block[k + 2];
    const uint8_t b3 = block[k + 3];
    short_audio_desc_t audio;
    if (!decode_edid_short_audio(b1, b2, b3, &audio)) {
      // The labels stand in the opposite order to the values.
      LOG_WARNING_AS(kDecodeExtensions,
                     "Failed to decode audio format. Index:%d byte3:0x%02X byte2:0x%02X "
                     "byte1:0x%02X",
                     as_int(k), static_cast<unsigned>(b1), static_cast<unsigned>(b2),
                     static_cast<unsigned>(b3));
      continue;
    }
    if (edc::append_copy(&edid->audio_list, audio, EDC_HERE_AS(kDecodeExtensions)) == nullptr)
      return false;
  }
  return true;
}

// Short video descriptors (CTA-861 section 7.5.1): bit 7 native, 6-0 VIC.
bool decode_video_block(byte_view block, uint32_t length, edid_t *edid) {
  static constexpr edc::insertion_messages kMessages = {"Failed creating new entry.",
                                                        "Failed adding entry to the back.",
                                                        "Failed deleting unused entry."};
  LOG_TRACE_AS(kDecodeExtensions, "Video Data Block. Len=%d", as_int(length));
  for (uint32_t i = 1; i <= length; ++i) {
    const auto fill = [&](short_video_desc_t &format) {
      format.native = has_bit(block[i], kSvdNativeBit);
      format.vic = bit_range(block[i], 6, 0);
    };
    if (edc::append_filled<short_video_desc_t>(&edid->video_list, EDC_HERE_AS(kDecodeExtensions),
                                               fill, kMessages) == nullptr)
      return false;
  }
  return true;
}

// Speaker allocation (CTA-861 section 7.5.3): three payload bytes.
void decode_speaker_block(byte_view block, uint32_t length, edid_t *edid) {
  LOG_TRACE_AS(kDecodeExtensions, "Speaker Allocation Data Block. Len=%d", as_int(length));
  if (length != sizeof edid->speaker) {
    LOG_WARNING_AS(kDecodeExtensions,
                   "Speaker allocation block is longer than expected. Expected=3 Actual=%d "
                   "Continuing...",
                   as_int(length));
    return;
  }
  for (size_t i = 0; i < sizeof edid->speaker; ++i) edid->speaker[i] = block[1 + i];
}

// Extended tag blocks: byte 1 is the extended tag code.
void decode_extended_block(byte_view block, uint32_t length, edid_t *edid) {
  const uint8_t extended_tag = block[1];
  if (extended_tag == kExtendedTagColorimetry) {
    edid->xvycc601 = has_bit(block[2], 0);
    edid->xvycc709 = has_bit(block[2], 1);
    return;
  }
  LOG_TRACE_AS(kDecodeExtensions, "Extended Data block. Ignoring. ExtTag:0x%x Len=%d",
               static_cast<unsigned>(extended_tag), as_int(length));
}

// One data block; false when decoding must stop (a list operation failed).
bool decode_data_block(byte_view block, edid_t *edid) {
  const uint32_t length = block_length(block[0]);
  const int32_t len = as_int(length);
  switch (block_tag(block[0])) {
    case kTagReserved:
      LOG_TRACE_AS(kDecodeExtensions, "Reserved code. Len=%d", len);
      return true;
    case kTagAudio:
      return decode_audio_block(block, length, edid);
    case kTagVideo:
      return decode_video_block(block, length, edid);
    case kTagVendorSpecific:
      LOG_TRACE_AS(kDecodeExtensions, "Vendor Specific Data Block. Len=%d", len);
      decode_vendor_block(block, edid);
      return true;
    case kTagSpeakerAllocation:
      decode_speaker_block(block, length, edid);
      return true;
    case kTagVesaDtc:
      LOG_TRACE_AS(kDecodeExtensions, "VESA DTC Data Block. Ignoring. Len=%d", len);
      return true;
    case kTagReserved6:
      LOG_TRACE_AS(kDecodeExtensions, "Reserved Code:6. Ignoring. Len=%d", len);
      return true;
    default:
      decode_extended_block(block, length, edid);
      return true;
  }
}

}  // namespace

extern "C" {

uint8_t decode_edid_short_audio(uint8_t b1, int32_t b2, uint8_t b3, short_audio_desc_t *audio) {
  if (audio == nullptr) {
    LOG_ERROR("Function called with \"audio\" parameter set to NULL. audio=%p",
              static_cast<void *>(audio));
    return 0;
  }
  *audio = short_audio_desc_t{};
  audio->format = bit_range(b1, 6, 3);
  audio->channels = bit_range(b1, 2, 0) + 1;
  audio->sample_rates = bit_range(static_cast<uint32_t>(b2), 6, 0);
  const uint32_t format = audio->format;
  if (format == 0) {
    LOG_ERROR("Unrecognized audio type found in audio format. Expected:1-15 Received:%d",
              as_int(format));
    return 0;
  }
  if (format == kAudioLpcm) {
    audio->bit_depths = bit_range(b3, 2, 0);
  } else if (format <= kAudioLastBitRate) {
    audio->max_bitrate = b3 * kAudioBitRateUnitKhz;
  } else if (format <= kAudioLastValue) {
    audio->format_value = b3;
  } else if (format == kAudioWmaPro) {
    audio->profile = bit_range(b3, 2, 0);
  } else if (format == kAudioExtension) {
    // The extension type code in byte 3 bits 7-3.
    const uint32_t code = bit_range(b3, 7, 3);
    audio->format = code >= 1 && code <= kAudioLastExtensionCode ? kAudioExtensionBase + code : 0;
  }
  return 1;
}

uint8_t _decode_edid_vendor_block(const uint8_t *vendor_block, edid_t *edid) {
  if (!arguments_present(__func__, {{vendor_block, "vendor_block"}, {edid, "edid"}})) return 0;
  // Called on its own, only the block's own 1 + L bytes are known to be there.
  const size_t size = 1 + block_length(vendor_block[0]);
  return decode_vendor_block(byte_view{{vendor_block, size}}, edid);
}

uint8_t decode_edid_extensions(const uint8_t *edid_extension, uint32_t edid_bytes, edid_t *edid) {
  if (!arguments_present(__func__, {{edid_extension, "edid_extension"}, {edid, "edid"}})) return 0;
  // The block as decoded: bytes the caller did not give read as 0, so a
  // missing or short extension fails the tag check (or the checksum).
  std::array<uint8_t, kBlockSize> block{};
  memcpy(block.data(), edid_extension, edid_bytes < kBlockSize ? edid_bytes : kBlockSize);
  if (block[kCeaTag] != kCeaExtensionTag) {
    LOG_ERROR("The extension is not a CEA extension. Expected=0x2 Received=0x%X",
              static_cast<unsigned>(block[kCeaTag]));
    return 0;
  }
  if (block[kCeaRevision] != kCeaRevision3) {
    LOG_ERROR("Extension is the wrong version. Expected=0x3 Received=0x%X",
              static_cast<unsigned>(block[kCeaRevision]));
    return 0;
  }
  const uint8_t calculated = _calculate_checksum(block.data());
  if (calculated != block[kChecksum]) {
    LOG_ERROR("Edid failed the checksum. Calculated:0x%02X Received:0x%02X",
              static_cast<unsigned>(calculated), static_cast<unsigned>(block[kChecksum]));
    return 0;
  }
  const uint32_t dtd_offset = block[kCeaDtdOffset];
  if (dtd_offset > kMaxDtdOffset) {
    LOG_ERROR("EDID DTD offset value is larger than the block. Offset:%d\n", as_int(dtd_offset));
    return 0;
  }
  decode_flags(block[kCeaSupport], kSupportFlags, edid);

  // Detailed timings first, over the bytes given: with more than one
  // extension the last ones may lie in the next block. Failures are reported
  // by _decode_edid_dtd and do not stop the extension.
  for (uint32_t at = dtd_offset; at + kDescriptorSize < edid_bytes; at += kDescriptorSize)
    _decode_edid_dtd(edid_extension + at, edid);

  // The data block collection, bytes 4 to d - 1; an offset below 4 leaves it
  // empty. Each block must end inside it.
  const int32_t collection =
      static_cast<int32_t>(dtd_offset) - static_cast<int32_t>(kCeaDataBlocks);
  for (int32_t i = 0; i < collection;) {
    const size_t at = kCeaDataBlocks + static_cast<size_t>(i);
    const auto length = static_cast<int32_t>(block_length(block[at]));
    if (i + length >= collection) {
      LOG_ERROR(
          "Malformed EDID: The CEA extension data block specifies a tag with a length whose "
          "total bytes exceeds the length of the CEA extension's data block. Tag:%d Len:%d "
          "Current Byte:%d Data Block Len:%d",
          as_int(block_tag(block[at])), length, i, collection);
      return 0;
    }
    // A block may read on past its end (short audio descriptors, HDMI VICs
    // and 3D fields, an empty extended tag block), but not past the extension.
    if (!decode_data_block(byte_view{{block.data() + at, kBlockSize - at}}, edid)) return 0;
    i += length + 1;
  }
  return 1;
}

}  // extern "C"

// ===========================================================================
// Encoding
// ===========================================================================

extern "C" {

// The five mandatory HDMI 1.4b 3D formats. A sink that sets 3D_present in its
// HDMI vendor block supports these structures implicitly, so the encoder
// strips them from the per-format 3D entries it writes and the text dump
// lists them on their own.
constexpr short_video_desc_t _3d_man_modes[5] = {
    {0, 32, EDID_STEREO_FP | EDID_STEREO_TBH},  // 1920x1080p24
    {0, 4, EDID_STEREO_FP | EDID_STEREO_TBH},   // 1280x720p60
    {0, 5, EDID_STEREO_SSH},                    // 1920x1080i60
    {0, 19, EDID_STEREO_FP | EDID_STEREO_TBH},  // 1280x720p50
    {0, 20, EDID_STEREO_SSH},                   // 1920x1080i50
};

}  // extern "C"

namespace {

constexpr const char kEncodeEdid[] = "encode_edid";

// The encoder writes exactly one base block and one CEA-861 extension.
constexpr int32_t kEncodedSize = 2 * static_cast<int32_t>(kBlockSize);

// VESA E-EDID 1.3 base block, as the encoder fills it (offsets above).
// byte 0x14, video input definition: always digital (bit 7)
constexpr uint8_t kDigitalInput = 0x80;
// bytes 0x15-0x16: a record without a screen size gets a 16:9 one
constexpr uint8_t kDefaultWidthCm = 160;
constexpr uint8_t kDefaultHeightCm = 90;
// byte 0x18 bits 4-3, display type: 01 RGB colour
constexpr uint32_t kRgbColourDisplay = 1;
// The two detailed timings of the base block, at 0x36 and 0x48; the display
// descriptors follow from 0x5A at a running position.
constexpr size_t kBaseDtds = 2;
// Text descriptors: 13 characters from byte 5, a line feed after the text,
// blanks after that.
constexpr uint8_t kTextEnd = 0x0A;
constexpr uint8_t kTextPad = 0x20;
// Range limits descriptor (E-EDID 1.3 section 3.10.3.3): byte 10, no
// secondary timing formula; bytes 11-17, a line feed and blanks.
constexpr uint8_t kNoSecondaryTiming = 0x00;
// The number of extensions announced at the running position.
constexpr uint8_t kOneExtension = 1;

// CEA-861 extension, as the encoder fills it.
// byte 3: bit 7 underscan; bits 6-4 basic audio, YCbCr 4:4:4 and 4:2:2,
// always claimed; bits 3-0 the number of detailed timings written in both
// blocks (native formats)
constexpr uint32_t kAlwaysSupported = 0x7;
constexpr uint32_t kTimingsWritten = kBaseDtds + 1;
// The extension's one detailed timing is always VIC 1, 640x480p.
constexpr uint32_t kExtensionDtdVic = 1;
// Byte 0x7F of the extension is its checksum: nothing else goes there.
constexpr size_t kExtensionContentEnd = kBlockSize + kChecksum;

// Video data block: an empty list offers VIC 1.
constexpr uint8_t kDefaultSvd = 1;
// Audio data block: an empty list offers 2-channel LPCM at 32, 44.1 and
// 48 kHz, 16 and 24 bits.
constexpr short_audio_desc_t kDefaultSad = {kAudioLpcm, 2, 0x07, 0x05, 0, 0, 0};
// Colorimetry data block: byte 2 bit 0 xvYCC601, bit 1 xvYCC709; byte 3
// metadata profile MD0.
constexpr uint8_t kColorimetryMd0 = 0x01;
constexpr uint32_t kColorimetryLength = 3;

// HDMI vendor block, as written: the IEEE OUI, least significant byte first.
constexpr std::array<uint8_t, 3> kHdmiOuiBytes = {0x03, 0x0C, 0x00};
static_assert((kHdmiOuiBytes[0] | kHdmiOuiBytes[1] << 8 | kHdmiOuiBytes[2] << 16) == kHdmiOui);

// The record's latency for "not supported", written as byte 255.
constexpr uint16_t kLatencyNotSupported = 65535;

// The per-format 3D entries written for each stereo bit, in the order they
// are written: 3D_Structure (HDMI 1.4b table 8-21) and the trace label.
// Side-by-side (half) carries a 3D_Detail byte (0: any subsampling).
struct structure_3d {
  uint32_t stereo;
  uint8_t structure;
  const char *label;
};
constexpr std::array<structure_3d, 8> k3dEntryOrder = {{
    {EDID_STEREO_FP, 0, "FP"},
    {EDID_STEREO_FA, 1, "FA"},
    {EDID_STEREO_LA, 2, "LA"},
    {EDID_STEREO_SSF, 3, "SBSF"},
    {EDID_STEREO_LD, 4, "LD"},
    {EDID_STEREO_LDG, 5, "LDGD"},
    {EDID_STEREO_SSH, 8, "SBSH"},
    {EDID_STEREO_TBH, 6, "TBH"},
}};
constexpr uint8_t k3dDetailAny = 0x00;
static_assert(
    [] {
      for (const structure_3d &entry : k3dEntryOrder)
        if (kStereoFor3dStructure[entry.structure] != entry.stereo) return false;
      return true;
    }(),
    "the encoder writes each stereo bit as the structure the decoder reads back");

// The largest extension the rules below can make: speaker, 32 video and 10
// audio descriptors, a full vendor block, colorimetry and one detailed
// timing all fit in front of the checksum. Only the serial number
// descriptor may find no room.
static_assert(kCeaDataBlocks + (1 + 3) + (1 + kMaxSvds) + (1 + kMaxSads * kSadSize) +
                  (1 + kMaxBlockLength) + (1 + kColorimetryLength) + kDescriptorSize <=
              kChecksum);

// The output as it is laid down: a running position in the caller's 256
// bytes. Callers check the room for what they write; put() never writes
// past the end whatever they do.
struct edid_writer {
  std::span<uint8_t> out;
  size_t at = 0;

  void put(uint8_t byte) {
    if (at < out.size()) out[at] = byte;
    ++at;
  }
  uint8_t *here() { return out.data() + at; }
};

uint8_t low_byte(uint32_t value) {
  return static_cast<uint8_t>(value & 0xFF);
}

uint8_t data_block_header(uint32_t tag, uint32_t length) {
  return put_bits(tag, 7, 5) | put_bits(length, 4, 0);
}

// The length of the text that a display descriptor holds: at most 13
// characters, trailing blanks and NULs trimmed down to the first. 0 when no
// descriptor is written: the text starts with a blank or is shorter than 2
// characters. Reads at most 13 bytes of text.
size_t display_text_length(const char *text) {
  if (strnlen(text, 2) < 2 || text[0] == ' ') return 0;
  size_t length = strnlen(text, kDescriptorTextSize);
  while (length > 1 && (text[length - 1] == ' ' || text[length - 1] == '\0')) --length;
  return length;
}

// bytes 0x08-0x13: three 5-bit letter codes big-endian, product code and
// serial number little-endian, week, year - 1990, version and revision.
void encode_vendor_product(const edid_t *edid, uint8_t *block) {
  int codes[3];
  for (size_t i = 0; i < 3; ++i) {
    const int c = static_cast<unsigned char>(edid->manufacturer_id[i]);
    codes[i] = (c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c) - kLetterBase;
  }
  block[kManufacturerId] = static_cast<uint8_t>(codes[0] * 4 + codes[1] / 8);
  block[kManufacturerId + 1] = static_cast<uint8_t>(codes[1] * 32 + codes[2]);
  block[kProductCode] = low_byte(edid->product_id);
  block[kProductCode + 1] = low_byte(edid->product_id >> 8);
  for (size_t i = 0; i < 4; ++i) block[kSerialNumber + i] = low_byte(edid->serial >> (8 * i));
  block[kWeek] = edid->week;
  block[kYear] = low_byte(edid->year - kYearBase);
  block[kVersion] = edid->version;
  block[kRevision] = edid->revision;
}

void encode_display_parameters(const edid_t *edid, uint8_t *block) {
  block[kVideoInput] = kDigitalInput;
  const bool sized = edid->h_size_cm != 0 && edid->v_size_cm != 0;
  block[kHorizontalSize] = sized ? edid->h_size_cm : kDefaultWidthCm;
  block[kVerticalSize] = sized ? edid->v_size_cm : kDefaultHeightCm;
  block[kGamma] = low_byte(edid->gamma);
  // gtf is ORed in as the record holds it, not taken as a flag: a record
  // whose gtf holds 2 sets bit 1 (preferred timing) and not bit 0. The byte
  // has always been written so; keep it.
  block[kFeatures] =
      encode_flags(edid, kFeatureFlags) | put_bits(kRgbColourDisplay, 4, 3) | edid->gtf;
}

// The inverse of decode_chromaticity: two low bits of each coordinate in
// bytes 0x19-0x1A, the high eight in 0x1B-0x22.
void encode_chromaticity(const edid_t *edid, uint8_t *block) {
  const uint32_t coordinates[8] = {edid->red_x,  edid->red_y,  edid->green_x, edid->green_y,
                                   edid->blue_x, edid->blue_y, edid->white_x, edid->white_y};
  for (unsigned i = 0; i < 8; ++i) {
    const unsigned shift = 6 - 2 * (i % 4);
    block[i < 4 ? kChromaLowRedGreen : kChromaLowBlueWhite] |=
        put_bits(coordinates[i], shift + 1, shift);
    block[kChromaHigh + i] = low_byte(coordinates[i] >> 2);
  }
}

void encode_timing_bitmaps(const edid_t *edid, uint8_t *block) {
  block[kEstablishedTimings1] = low_byte(edid->established_timings_1);
  block[kEstablishedTimings2] = low_byte(edid->established_timings_2);
  block[kManufacturerTimings] = low_byte(edid->manufacturer_timings);
}

// The first eight standard timings, unused slots 01 01 after them. A timing
// that cannot be read leaves its slot 00 00 and fails the encoding, which
// goes on.
bool encode_standard_timings(edid_t *edid, uint8_t *block) {
  bool ok = true;
  const int32_t count = ll_size(&edid->std_timings);
  for (int32_t slot = 0; slot < static_cast<int32_t>(kStandardTimingSlots); ++slot) {
    uint8_t *pair = block + kStandardTimings + 2 * slot;
    if (slot >= count) {
      pair[0] = pair[1] = kUnusedStandardTiming;
      continue;
    }
    const auto *timing = edc::element_at<std_timing_t>(&edid->std_timings, slot);
    if (timing == nullptr) {
      LOG_ERROR_AS(kEncodeEdid, "Failed to locate index #%d in the list.", slot);
      ok = false;
      continue;
    }
    pair[0] = low_byte(timing->h_active / kStandardTimingWidthUnit - kStandardTimingWidthBias);
    pair[1] =
        low_byte((timing->refresh_rate - kStandardTimingRefreshBias) | timing->aspect_ratio << 6);
  }
  return ok;
}

bool encode_base_dtds(edid_t *edid, uint8_t *block) {
  const int32_t count = ll_size(&edid->dtd_list);
  if (count < static_cast<int32_t>(kBaseDtds)) {
    LOG_ERROR_AS(kEncodeEdid, "The function expects there to be at least 2 DTDs. Total DTDs:%d",
                 count);
    return false;
  }
  for (int32_t i = 0; i < static_cast<int32_t>(kBaseDtds); ++i) {
    auto *timing = edc::element_at<detailed_timing_t>(&edid->dtd_list, i);
    if (timing == nullptr) {
      LOG_ERROR_AS(kEncodeEdid, "Failed to locate index #%d in the list.", i);
      return false;
    }
    if (!_encode_edid_dtd(block + kDescriptors + kDescriptorSize * i, timing)) {
      LOG_ERROR_AS(kEncodeEdid, "Failed encoding DTD. index:%d Len:%d", i, count);
      return false;
    }
  }
  return true;
}

// Monitor name and, when every limit is given, range limits, from 0x5A on;
// returns the position after them.
size_t encode_display_descriptors(const edid_t *edid, uint8_t *block) {
  size_t at = kDescriptors + kBaseDtds * kDescriptorSize;
  at += static_cast<size_t>(
      _encode_string(block + at, static_cast<int8_t>(kTagProductName), edid->monitor_name));
  if (edid->max_v_rate == 0 || edid->min_v_rate == 0 || edid->max_h_rate == 0 ||
      edid->min_h_rate == 0 || edid->max_pixel_clock == 0)
    return at;
  // All 18 bytes are written: a 13-character name left its line feed on the first.
  uint8_t *limits = block + at;
  memset(limits, 0, kDescriptorText);
  limits[kDescriptorTag] = kTagRangeLimits;
  limits[5] = edid->min_v_rate;
  limits[6] = edid->max_v_rate;
  limits[7] = edid->min_h_rate;
  limits[8] = edid->max_h_rate;
  limits[9] = low_byte(edid->max_pixel_clock / kRangeClockUnitMhz);
  limits[10] = kNoSecondaryTiming;
  limits[11] = kTextEnd;
  memset(limits + 12, kTextPad, kDescriptorSize - 12);
  return at + kDescriptorSize;
}

// Speaker allocation data block: the three payload bytes as they stand.
void encode_speaker_block(const edid_t *edid, edid_writer &out) {
  out.put(data_block_header(kTagSpeakerAllocation, sizeof edid->speaker));
  for (uint8_t byte : edid->speaker) out.put(byte);
}

// Video data block: the first 32 formats. A length field of 32 keeps only
// its low 5 bits (0).
bool encode_video_block(edid_t *edid, bool native_bit, edid_writer &out) {
  const int32_t requested = ll_size(&edid->video_list);
  if (requested > kMaxSvds - 1)
    LOG_WARNING_AS(kEncodeEdid,
                   "Requested too many short video descriptions. Truncating to the maximum "
                   "allowed. Max:%d Requested:%d",
                   kMaxSvds, requested);
  const int32_t count = requested > kMaxSvds ? kMaxSvds : requested;
  out.put(data_block_header(kTagVideo, static_cast<uint32_t>(count == 0 ? 1 : count)));
  const size_t first = out.at;
  if (count == 0) out.put(kDefaultSvd);
  for (int32_t i = 0; i < count; ++i) {
    const auto *svd = edc::element_at<short_video_desc_t>(&edid->video_list, i);
    if (svd == nullptr) {
      LOG_ERROR_AS(kEncodeEdid, "Failed trying to obtain index #%d list.", i);
      return false;
    }
    out.put(low_byte(svd->vic) | put_bit(svd->native && native_bit, kSvdNativeBit));
  }
  if (native_bit) out.out[first] |= put_bit(1, kSvdNativeBit);
  return true;
}

// Audio data block: the first 10 formats, or the default one. Extension
// types are rewritten to 15 in the record by _encode_edid_short_audio.
bool encode_audio_block(edid_t *edid, edid_writer &out) {
  const int32_t requested = ll_size(&edid->audio_list);
  if (requested > kMaxSads)
    LOG_WARNING_AS(kEncodeEdid,
                   "Requested too many short audio descriptions. Truncating to the maximum "
                   "allowed. Max:%d Requested:%d",
                   kMaxSads, requested);
  const int32_t count = requested > kMaxSads ? kMaxSads : requested;
  out.put(data_block_header(kTagAudio, kSadSize * static_cast<uint32_t>(count == 0 ? 1 : count)));
  if (count == 0) {
    short_audio_desc_t audio = kDefaultSad;
    if (!_encode_edid_short_audio(out.here(), &audio)) {
      LOG_ERROR_AS(kEncodeEdid, "Failed encoding short audio. Type:%d", as_int(audio.format));
      return false;
    }
    out.at += kSadSize;
    return true;
  }
  for (int32_t i = 0; i < count; ++i) {
    auto *audio = edc::element_at<short_audio_desc_t>(&edid->audio_list, i);
    if (audio == nullptr) {
      LOG_ERROR_AS(kEncodeEdid, "Failed trying to access index #%d in the list.", i);
      return false;
    }
    if (!_encode_edid_short_audio(out.here(), audio)) {
      LOG_ERROR_AS(kEncodeEdid, "Failed encoding short audio. Index:%d Type:%d", i,
                   as_int(audio->format));
      return false;
    }
    out.at += kSadSize;
  }
  return true;
}

// Removes from a format's stereo mask the structures that 3D_present
// already implies for its VIC.
void strip_mandatory_3d(short_video_desc_t *svd) {
  for (const short_video_desc_t &mandatory : _3d_man_modes) {
    if (mandatory.vic == svd->vic) {
      svd->stereo &= ~mandatory.stereo;
      return;
    }
  }
}

// The per-format 3D entries of the first 16 formats: 2D_VIC_order in bits
// 7-4, 3D_Structure in bits 3-0. The mandatory structures are stripped from
// the caller's record first. An entry that would take the vendor block past
// the 31 bytes its length field can hold is not written, nor any after it.
bool encode_3d_entries(edid_t *edid, size_t vsdb, edid_writer &out) {
  const int32_t formats = ll_size(&edid->video_list);
  bool full = false;
  for (int32_t i = 0; i < formats && i < kMax3dFormats; ++i) {
    auto *svd = edc::element_at<short_video_desc_t>(&edid->video_list, i);
    if (svd == nullptr) {
      LOG_ERROR_AS(kEncodeEdid, "Failed trying to obtain index #%d list.", i);
      return false;
    }
    strip_mandatory_3d(svd);
    for (const structure_3d &entry : k3dEntryOrder) {
      if ((svd->stereo & entry.stereo) == 0 || full) continue;
      const bool detail = entry.structure == k3dStructureWithDetail;
      const size_t size = detail ? 2 : 1;
      if (out.at + size - vsdb - 1 > kMaxBlockLength) {
        LOG_WARNING_AS(kEncodeEdid,
                       "The HDMI vendor block can not hold all 3D entries. Dropping them from "
                       "order[%d] on. Max len:%d",
                       i, as_int(kMaxBlockLength));
        full = true;
        continue;
      }
      const auto order = static_cast<uint8_t>(put_bits(static_cast<uint32_t>(i), 7, 4) |
                                              put_bits(entry.structure, 3, 0));
      out.put(order);
      if (detail) {
        out.put(k3dDetailAny);
        LOG_TRACE_AS(kEncodeEdid, "order[%d] %s, %02x, %02x", i, entry.label,
                     static_cast<unsigned>(order), static_cast<unsigned>(k3dDetailAny));
      } else {
        LOG_TRACE_AS(kEncodeEdid, "order[%d] %s, %02x", i, entry.label,
                     static_cast<unsigned>(order));
      }
    }
  }
  return true;
}

// HDMI video byte, HDMI_VIC_LEN and HDMI_3D_LEN, the HDMI VICs and the 3D
// entries. The length byte is written last.
bool encode_hdmi_video(edid_t *edid, size_t vsdb, edid_writer &out) {
  out.put(put_bit(edid->present_3d, 7) | put_bits(edid->image_size, 4, 3));
  const size_t lengths = out.at;
  out.put(0);
  const uint32_t vics = edid->hdmi_vic_len < kMaxHdmiVics ? edid->hdmi_vic_len : kMaxHdmiVics;
  for (uint32_t i = 0; i < vics; ++i) out.put(low_byte(edid->hdmi_vic[i]));
  const size_t start_3d = out.at;
  if (edid->present_3d && !encode_3d_entries(edid, vsdb, out)) return false;
  const auto length_3d = static_cast<uint32_t>(out.at - start_3d);
  out.out[lengths] = put_bits(vics, 7, 5) | put_bits(length_3d, 4, 0);
  return true;
}

// HDMI vendor-specific data block (offsets kVsdb* from its header byte).
bool encode_hdmi_vsdb(edid_t *edid, uint8_t *spa_offset, edid_writer &out) {
  const size_t vsdb = out.at;
  out.put(0);
  for (uint8_t byte : kHdmiOuiBytes) out.put(byte);
  if (spa_offset != nullptr) *spa_offset = static_cast<uint8_t>(out.at);
  const physical_address_t &address = edid->address;
  out.put(low_byte(static_cast<uint32_t>(address.a) << 4) | put_bits(address.b, 3, 0));
  out.put(low_byte(static_cast<uint32_t>(address.c) << 4) | put_bits(address.d, 3, 0));
  // dvi_dual here and cnc0 below are ORed in at bit 0 as the record holds
  // them, not taken as flags: a dvi_dual of 2 sets the reserved bit 1, a cnc0
  // of 2 sets CNC1. The bytes have always been written so; keep it.
  out.put(encode_flags(edid, kVsdbFlagBits) | edid->dvi_dual);
  out.put(low_byte(edid->max_tmds_clock / kTmdsClockUnitMhz));
  const bool interlaced_latency =
      edid->interlaced_video_latency != 0 || edid->interlaced_audio_latency != 0;
  const bool latency = edid->video_latency != 0 || edid->audio_latency != 0 || interlaced_latency;
  out.put(put_bit(latency, kLatencyPresentBit) |
          put_bit(interlaced_latency, kInterlacedLatencyPresentBit) |
          encode_flags(edid, kVsdbPresenceBits) | edid->cnc0);
  if (latency) {
    out.put(encode_edid_latency_value(edid->video_latency));
    out.put(encode_edid_latency_value(edid->audio_latency));
  }
  if (interlaced_latency) {
    out.put(encode_edid_latency_value(edid->interlaced_video_latency));
    out.put(encode_edid_latency_value(edid->interlaced_audio_latency));
  }
  if (edid->hdmi_video_present && !encode_hdmi_video(edid, vsdb, out)) return false;
  out.out[vsdb] = data_block_header(kTagVendorSpecific, static_cast<uint32_t>(out.at - vsdb - 1));
  return true;
}

void encode_colorimetry_block(const edid_t *edid, edid_writer &out) {
  if (!edid->xvycc601 && !edid->xvycc709) return;
  out.put(data_block_header(kTagExtended, kColorimetryLength));
  out.put(kExtendedTagColorimetry);
  // Written as xvycc709 x 2 + xvycc601, not as two flags: an xvycc601 of 2
  // reads back as xvYCC709. The byte has always been written so; keep it.
  out.put(low_byte(edid->xvycc709 * 2u + edid->xvycc601));
  out.put(kColorimetryMd0);
}

// The extension's detailed timing (VIC 1) and serial number descriptor at
// the offset in byte 2, the support byte and the checksum.
bool encode_extension_end(edid_t *edid, edid_writer &out) {
  uint8_t *extension = out.out.data() + kBlockSize;
  extension[kCeaDtdOffset] = static_cast<uint8_t>(out.at - kBlockSize);
  const int32_t dtds = ll_size(&edid->dtd_list);
  if (dtds > static_cast<int32_t>(kBaseDtds)) {
    LOG_BUG_AS(kEncodeEdid, "This function is only designed to handle up to 2 DTDs. num of dtds:%d",
               dtds);
    return false;
  }
  detailed_timing_t timing;
  if (!convert_vic_to_dtd(kExtensionDtdVic, &timing)) {
    LOG_ERROR_AS(kEncodeEdid, "Failed converting vic to dtd.");
    return false;
  }
  if (!_encode_edid_dtd(out.here(), &timing)) {
    LOG_ERROR_AS(kEncodeEdid, "Failed encoding DTD. Failing.");
    return false;
  }
  out.at += kDescriptorSize;
  // A 13-character text puts its line feed on the byte after the
  // descriptor, as it does in the base block; here no later write covers it
  // unless it falls on the checksum, so it stays in the padding (where a
  // decoder that reads every slot sees the start of a 0.1 MHz timing).
  if (display_text_length(edid->monitor_serial) != 0) {
    if (out.at + kDescriptorSize <= kExtensionContentEnd) {
      out.at += static_cast<size_t>(
          _encode_string(out.here(), static_cast<int8_t>(kTagSerialNumber), edid->monitor_serial));
    } else {
      LOG_WARNING_AS(kEncodeEdid,
                     "No room for the serial number descriptor in the CEA extension. Skipping it. "
                     "Offset:%d",
                     as_int(out.at - kBlockSize));
    }
  }
  extension[kCeaSupport] = put_bit(edid->underscan, 7) | put_bits(kAlwaysSupported, 6, 4) |
                           put_bits(kTimingsWritten, 3, 0);
  extension[kChecksum] = _calculate_checksum(extension);
  return true;
}

}  // namespace

extern "C" {

uint8_t encode_edid_latency_value(uint16_t latency) {
  if (latency == kLatencyNotSupported) return kLatencyNotSupportedByte;
  if (latency > kMaxLatencyMs) {
    LOG_TRACE("latency = %d exceed 500ms", as_int(latency));
    latency = kMaxLatencyMs;
  }
  return static_cast<uint8_t>(latency / 2 + 1);
}

int32_t _encode_string(uint8_t *block, int8_t tag, const char *string) {
  if (!arguments_present(__func__, {{block, "block"}, {string, "string"}})) return 0;
  const size_t length = display_text_length(string);
  if (length == 0) return 0;
  memset(block, 0, kDescriptorText);
  block[kDescriptorTag] = static_cast<uint8_t>(tag);
  memset(block + kDescriptorText, kTextPad, kDescriptorTextSize);
  memcpy(block + kDescriptorText, string, length);
  // With 13 characters this is the first byte after the descriptor.
  block[kDescriptorText + length] = kTextEnd;
  return static_cast<int32_t>(kDescriptorSize);
}

uint8_t _encode_edid_dtd(uint8_t *dtd_block, detailed_timing_t *timing) {
  if (dtd_block == nullptr || timing == nullptr) {
    LOG_ERROR("Function called with dtd_block set to NULL.");
    return 0;
  }
  if (timing->valid != 1) {
    LOG_ERROR("Called encode DTD with an invalid timing structure.");
    return 0;
  }
  // 25.175 MHz (VIC 1) is the lowest clock a detailed timing may carry.
  if (timing->pixel_clock < 25175000) {
    LOG_ERROR("Called encode DTD with an invalid pixel clock:%d", as_int(timing->pixel_clock));
    return 0;
  }
  const uint64_t clock =
      (static_cast<uint64_t>(timing->pixel_clock) + kPixelClockUnitHz / 2) / kPixelClockUnitHz;
  const detailed_timing_t &t = *timing;
  // The inverse of fill_detailed_timing: low bytes first, the high bits of
  // the 12-bit sizes in bytes 4, 7 and 14, of the sync fields in byte 11.
  dtd_block[0] = low_byte(static_cast<uint32_t>(clock));
  dtd_block[1] = low_byte(static_cast<uint32_t>(clock >> 8));
  dtd_block[2] = low_byte(t.h_active);
  dtd_block[3] = low_byte(t.h_blanking);
  dtd_block[4] = put_bits(t.h_active >> 8, 7, 4) | put_bits(t.h_blanking >> 8, 3, 0);
  dtd_block[5] = low_byte(t.v_active);
  dtd_block[6] = low_byte(t.v_blanking);
  dtd_block[7] = put_bits(t.v_active >> 8, 7, 4) | put_bits(t.v_blanking >> 8, 3, 0);
  dtd_block[8] = low_byte(t.h_sync_offset);
  dtd_block[9] = low_byte(t.h_sync_width);
  dtd_block[10] = put_bits(t.v_sync_offset, 7, 4) | put_bits(t.v_sync_width, 3, 0);
  dtd_block[11] = put_bits(t.h_sync_offset >> 8, 7, 6) | put_bits(t.h_sync_width >> 8, 5, 4) |
                  put_bits(t.v_sync_offset >> 4, 3, 2) | put_bits(t.v_sync_width >> 4, 1, 0);
  dtd_block[12] = low_byte(t.h_image_size);
  dtd_block[13] = low_byte(t.v_image_size);
  dtd_block[14] = put_bits(t.h_image_size >> 8, 7, 4) | put_bits(t.v_image_size >> 8, 3, 0);
  dtd_block[15] = t.h_border;
  dtd_block[16] = t.v_border;
  // byte 17: bit 7 interlaced, bits 4-3 digital separate sync, bit 2
  // vertical and bit 1 horizontal polarity; no stereo
  dtd_block[17] = put_bit(t.progressive != 1, 7) | put_bits(3, 4, 3) |
                  put_bit(t.v_sync_positive, 2) | put_bit(t.h_sync_positive, 1);
  return 1;
}

uint8_t _encode_edid_short_audio(uint8_t *cea_block, short_audio_desc_t *audio) {
  if (!arguments_present(__func__, {{cea_block, "cea_block"}, {audio, "audio"}})) return 0;
  const uint32_t format = audio->format;
  if (format == 0 || format == kAudioExtension) {
    LOG_ERROR("Audio type is not recognied. Type:%d", as_int(format));
    return 0;
  }
  if (format > kAudioLastExtensionType) {
    LOG_ERROR("Invalid extended audio type:%d", as_int(format));
    return 0;
  }
  // Extension types are written as format 15 with their code in byte 3, and
  // the caller's record says 15 afterwards.
  if (format > kAudioExtension) audio->format = kAudioExtension;
  cea_block[0] = put_bits(audio->format, 6, 3) | put_bits(audio->channels - 1, 2, 0);
  cea_block[1] = put_bits(audio->sample_rates, 6, 0);
  uint8_t byte3 = 0;
  if (format == kAudioLpcm)
    byte3 = put_bits(audio->bit_depths, 2, 0);
  else if (format <= kAudioLastBitRate)
    byte3 = low_byte(audio->max_bitrate / kAudioBitRateUnitKhz);
  else if (format <= kAudioLastValue)
    byte3 = low_byte(audio->format_value);
  else if (format == kAudioWmaPro)
    byte3 = low_byte(audio->profile);
  else
    byte3 = put_bits(format - kAudioExtensionBase, 7, 3);
  cea_block[2] = byte3;
  return 1;
}

uint8_t encode_edid(uint8_t *edid_blocks, int32_t size, edid_t *edid, uint8_t *spa_offset,
                    platform_values_t *platform_values) {
  if (!arguments_present(__func__, {{edid_blocks, "edid_blocks"}, {edid, "edid"}})) return 0;
  if (size != kEncodedSize) {
    LOG_ERROR("Function called with an unsupported block size. val:%d expected:%d", size,
              kEncodedSize);
    return 0;
  }
  // Without platform values no format is marked native.
  const bool native_bit = platform_values != nullptr && platform_values->native_bit != 0;
  memset(edid_blocks, 0, kEncodedSize);

  uint8_t *base = edid_blocks;
  for (size_t i = 0; i < kHeaderSize; ++i)
    base[i] = low_byte(static_cast<uint32_t>(kHeader >> (8 * i)));
  encode_vendor_product(edid, base);
  encode_display_parameters(edid, base);
  encode_chromaticity(edid, base);
  encode_timing_bitmaps(edid, base);
  const bool standard_timings_ok = encode_standard_timings(edid, base);
  if (!encode_base_dtds(edid, base)) return 0;
  // The extension count and the checksum follow the descriptors that were
  // written, wherever that is; with both descriptors they are bytes 0x7E
  // and 0x7F.
  const size_t at = encode_display_descriptors(edid, base);
  base[at] = kOneExtension;
  base[at + 1] = _calculate_checksum(base);

  uint8_t *extension = edid_blocks + kBlockSize;
  extension[kCeaTag] = kCeaExtensionTag;
  extension[kCeaRevision] = kCeaRevision3;
  edid_writer out{{edid_blocks, static_cast<size_t>(kEncodedSize)}, kBlockSize + kCeaDataBlocks};
  encode_speaker_block(edid, out);
  if (!encode_video_block(edid, native_bit, out)) return 0;
  if (!encode_audio_block(edid, out)) return 0;
  if (!encode_hdmi_vsdb(edid, spa_offset, out)) return 0;
  encode_colorimetry_block(edid, out);
  if (!encode_extension_end(edid, out)) return 0;
  return standard_timings_ok ? 1 : 0;
}

}  // extern "C"

// ===========================================================================
// Text dump
// ===========================================================================

// Two forms of one decoded record: a summary of what matters for composing
// an HDMI EDID (identity, video formats, 4Kx2K and 3D modes, audio,
// physical address) and a full dump of every decoded field. Column
// alignment is part of the text: log readers and scripts match these lines.

namespace {

constexpr const char kPrintEdidStruct[] = "print_edid_struct";

const char *yes_no(uint32_t flag, const char *yes, const char *no) {
  return flag ? yes : no;
}

// One of the record's lists, with the name its reports give it.
template <typename T>
struct dump_list {
  ll_list_t edid_t::*member;
  const char *name;
};
constexpr dump_list<short_video_desc_t> kVideoList = {&edid_t::video_list, "&edid->video_list"};
constexpr dump_list<short_audio_desc_t> kAudioList = {&edid_t::audio_list, "&edid->audio_list"};
constexpr dump_list<std_timing_t> kStdTimings = {&edid_t::std_timings, "&edid->std_timings"};
constexpr dump_list<detailed_timing_t> kDtdList = {&edid_t::dtd_list, "&edid->dtd_list"};

// The walk of one of the record's lists, checked before anything of it is
// printed: a list of another element type is reported and walked all the same.
template <typename T>
edc::elements<T> walk(edid_t *edid, const dump_list<T> &list) {
  return edc::checked_elements<T>(&(edid->*list.member), list.name, EDC_HERE_AS(kPrintEdidStruct));
}

// A video format line: indent, VIC, its name, the 3D structure names and
// "Native" (or nothing).
void print_video_format(const char *indent, uint32_t vic, uint32_t stereo, const char *native) {
  printf("%s%d\t%s ", indent, as_int(vic), short_video_timing_string(vic));
  print_stereo_type(stereo);
  printf(" %s\n", native);
}

// The five formats that an HDMI 1.4b sink setting 3D_present supports.
void print_mandatory_3d_rows(const char *indent) {
  for (const short_video_desc_t &mode : _3d_man_modes) {
    printf("%s%d\t%s ", indent, as_int(mode.vic), short_video_timing_string(mode.vic));
    print_stereo_type(mode.stereo);
    printf("\n");
  }
}

void print_video_formats(const edc::elements<short_video_desc_t> &formats, const char *indent) {
  for (const short_video_desc_t *svd : formats)
    print_video_format(indent, svd->vic, svd->stereo, yes_no(svd->native, "Native", ""));
}

void print_audio_formats(const edc::elements<short_audio_desc_t> &formats, const char *indent) {
  for (short_audio_desc_t *sad : formats) {
    printf("%s", indent);
    print_audio_structure(sad);
  }
}

// The record's HDMI VICs, as many as HDMI_VIC_LEN says and the record holds.
void print_hdmi_vics(const edid_t &edid, const char *indent) {
  const uint32_t count = edid.hdmi_vic_len < kMaxHdmiVics ? edid.hdmi_vic_len : kMaxHdmiVics;
  for (uint32_t i = 0; i < count; ++i)
    printf("%s%d\t%s\n", indent, as_int(edid.hdmi_vic[i]),
           hdmi_vic_string(as_int(edid.hdmi_vic[i])));
}

void print_summary(edid_t *edid) {
  printf("\tManufacter   : %s\n", edid->manufacturer_id);
  if (edid->monitor_name[0] != '\0') printf("\tMonitor Name : \"%s\"\n", edid->monitor_name);
  printf("\tSerial Number: %d\n", as_int(edid->serial));
  if (edid->monitor_serial[0] != '\0') printf("\tSerial String: \"%s\"\n", edid->monitor_serial);
  if (edid->monitor_data[0] != '\0') printf("\tData String  : \"%s\"\n", edid->monitor_data);

  const auto video = walk(edid, kVideoList);
  printf("\n\tVics:\n");
  print_video_formats(video, "\t  ");
  if (edid->hdmi_vic_len != 0) {
    printf("\n\t4k x 2k Modes:\n");
    print_hdmi_vics(*edid, "\t  ");
  }
  if (edid->present_3d) {
    printf("\n\tMandatory 3D modes:\n");
    print_mandatory_3d_rows("\t  ");
  }
  const auto audio = walk(edid, kAudioList);
  if (audio.size() > 0) {
    printf("\n\tAudio:\n");
    print_audio_formats(audio, "\t  ");
  }
  const physical_address_t &a = edid->address;
  printf("\n\tAddress=%d.%d.%d.%d\n", a.a, a.b, a.c, a.d);
}

void print_identity(const edid_t &edid) {
  printf("Version.Revision    = %d.%d\n", edid.version, edid.revision);
  printf("Manufacture Name    = %s\n", edid.manufacturer_id);
  if (edid.monitor_name[0] != '\0') printf("Monitor name        = \"%s\"\n", edid.monitor_name);
  printf("Serial Number       = 0x%x\n", edid.serial);
  if (edid.monitor_serial[0] != '\0') printf("Serial String       = \"%s\"\n", edid.monitor_serial);
  if (edid.monitor_data[0] != '\0') printf("Monitor data        = \"%s\"\n", edid.monitor_data);
  printf("Product Code        = 0x%x\n", edid.product_id);
  printf("Week of manufacture = %u\n", static_cast<unsigned>(edid.week));
  printf("Year of manufacture = %u\n", edid.year);
}

// Gamma is stored as gamma x 100 - 100; the hundredths are not zero-padded,
// so a stored 5 (gamma 1.05) reads 1.5.
void print_display_parameters(const edid_t &edid) {
  const uint32_t gamma = edid.gamma + 100;
  printf("Gamma               = %d.%d\n", as_int(gamma / 100), as_int(gamma % 100));
  if (edid.h_size_cm == 0 || edid.v_size_cm == 0) {
    printf("Horizontal/Vertical image sizes are set to 0.\n");
  } else {
    printf("Horizontal size     = %d cm (%d in)\n", edid.h_size_cm, edid.h_size_cm * 50 / 127);
    printf("Vertical size       = %d cm (%d in)\n", edid.v_size_cm, edid.v_size_cm * 50 / 127);
  }
  printf("\nPower Management\n");
  printf("\tStand-by              = %s\n", yes_no(edid.standby, "supported", "unsupported"));
  printf("\tSuspend               = %s\n", yes_no(edid.suspend, "supported", "unsupported"));
  printf("\tActive-off            = %s\n", yes_no(edid.active_off, "supported", "unsupported"));
  printf("\tStandard colorspace   = %s\n", yes_no(edid.standard_colorspace, "true", "false"));
  printf("\tPreferred timing mode = %s\n", yes_no(edid.preferred_timing, "true", "false"));
  printf("\tGTF                   = %s\n", yes_no(edid.gtf, "supported", "unsupported"));
}

// The chromaticity coordinates are decoded but not shown.
void print_timing_bitmaps(const edid_t &edid) {
  printf("\nColorimetry:\n");
  print_est_man_type(as_int(edid.established_timings_1), est_timing_1_string,
                     "Established Timings 1");
  print_est_man_type(as_int(edid.established_timings_2), est_timing_2_string,
                     "Established Timings 2");
  print_est_man_type(as_int(edid.manufacturer_timings), man_timing_string, "Manufacturer Timings");
}

// Height of a standard timing from its aspect code, truncated; -1 for a
// code outside them.
int64_t std_timing_height(const std_timing_t &timing) {
  if (timing.aspect_ratio >= std::size(kAspectHeightPerWidth)) return -1;
  const aspect_fraction &f = kAspectHeightPerWidth[timing.aspect_ratio];
  return timing.h_active * f.numerator / f.denominator;
}

void print_standard_timings(edid_t *edid) {
  const auto timings = walk(edid, kStdTimings);
  printf("\nStandard Timings: - %d timings\n", timings.size());
  for (const std_timing_t *timing : timings) {
    printf("\t%dx", as_int(timing->h_active));
    const int64_t height = std_timing_height(*timing);
    if (height >= 0) printf("%d", as_int(static_cast<uint32_t>(height)));
    printf("p%d\n", as_int(timing->refresh_rate));
  }
}

// Entries keep their list position as number, so a skipped (invalid) entry
// leaves a gap in the numbering.
void print_detailed_timings(edid_t *edid) {
  const auto timings = walk(edid, kDtdList);
  printf("\nDetailed Timing Descriptions: - %d timings\n", timings.size());
  int32_t number = 0;
  for (const detailed_timing_t *t : timings) {
    const int32_t index = number++;
    if (!t->valid) continue;
    const uint32_t refresh = calculate_refresh_rate(t->pixel_clock, t->h_active, t->h_blanking,
                                                    t->v_active, t->v_blanking);
    // v_active is one field's lines for an interlaced timing.
    const uint32_t frame_lines = t->progressive ? t->v_active : t->v_active * 2;
    printf("Timing %d: %dx%d%s%d\n", index, as_int(t->h_active), as_int(frame_lines),
           t->progressive ? "p" : "i", as_int(refresh));
    edc::timing_lines fields;
    edc::describe_timing(*t, refresh, fields);
    for (const auto &line : fields) printf("%s\n", line.data());
  }
}

// Printed whether or not the base block had a range limits descriptor.
void print_monitor_limits(const edid_t &edid) {
  printf("\nMonitor Limits:\n");
  printf("\tMin Vertical Rate:   %d Hz\n", edid.min_v_rate);
  printf("\tMax Vertical Rate:   %d Hz\n", edid.max_v_rate);
  printf("\tMin Horizontal Rate: %d KHz\n", edid.min_h_rate);
  printf("\tMax Horizontal Rate: %d KHz\n", edid.max_h_rate);
  printf("\tMax Pixel Clock:     %d MHz\n", as_int(edid.max_pixel_clock));
  printf("Number of extension blocks = %d\n", edid.num_extensions);
}

void print_extension_formats(edid_t *edid) {
  const auto video = walk(edid, kVideoList);
  printf("\nShort Video Codes: Num:%d\n", video.size());
  print_video_formats(video, "\t");
  if (edid->present_3d) {
    printf("\nMandatory 3D modes: Num:%d\n",
           as_int(static_cast<uint32_t>(std::size(_3d_man_modes))));
    print_mandatory_3d_rows("\t");
  }
  if (edid->hdmi_vic_len != 0) {
    printf("\n4k x 2k Modes: Num:%d\n", edid->hdmi_vic_len);
    print_hdmi_vics(*edid, "\t");
  }
  const auto audio = walk(edid, kAudioList);
  printf("\nShort Audio Codes: Num:%d\n", audio.size());
  print_audio_formats(audio, "\t");
  printf("\nSpeaker config    = ");
  print_speaker(edid->speaker[0], edid->speaker[1], edid->speaker[2]);
}

// Underscan and basic audio come from the CEA extension header but are shown
// only with the HDMI vendor block.
void print_hdmi_block(const edid_t &edid) {
  if (edid.hdmi_vsdb_present) {
    const physical_address_t &a = edid.address;
    printf("Address           = %d.%d.%d.%d\n", a.a, a.b, a.c, a.d);
    printf("Supports AI       = %s\n", yes_no(edid.supports_ai, "true", "false"));
    printf("Bits per pixel    = %s%s%s%s\n", yes_no(edid.dc_48bit, "48bits ", ""),
           yes_no(edid.dc_36bit, "36bits ", ""), yes_no(edid.dc_30bit, "30bits ", ""),
           yes_no(edid.dc_y444, "Y444 ", ""));
    printf("Supports Dual DVI = %s\n", yes_no(edid.dvi_dual, "true", "false"));
    printf("Max TMDS Clock    = %d\n", as_int(edid.max_tmds_clock));
    printf("CNC0              = %d\n", edid.cnc0);
    printf("CNC1              = %d\n", edid.cnc1);
    printf("CNC2              = %d\n", edid.cnc2);
    printf("CNC3              = %d\n", edid.cnc3);
    printf("Underscan support = %s\n", yes_no(edid.underscan, "true", "false"));
    printf("Basic audio       = %s\n", yes_no(edid.basic_audio, "true", "false"));
  }
  if (edid.xvycc601 || edid.xvycc709)
    printf("Additional Colorimetry: %s%s\n", yes_no(edid.xvycc601, "xvYCC601 ", ""),
           yes_no(edid.xvycc709, "xvYCC709 ", ""));
}

void print_full(edid_t *edid) {
  print_identity(*edid);
  print_display_parameters(*edid);
  print_timing_bitmaps(*edid);
  print_standard_timings(edid);
  print_detailed_timings(edid);
  print_monitor_limits(*edid);
  print_extension_formats(edid);
  print_hdmi_block(*edid);
}

}  // namespace

extern "C" {

// The full form shows the decoded fields only of a record whose base block
// header was recognised; the summary is printed whatever the record holds.
uint8_t print_edid_struct(edid_t *edid, uint8_t summary, const char *title) {
  if (edid == nullptr) {
    LOG_BUG("\"edid\" parameter is NULL. edid:%p", static_cast<void *>(edid));
    return 0;
  }
  printf("%s\n", title != nullptr ? title : "");
  if (summary)
    print_summary(edid);
  else if (edid->valid)
    print_full(edid);
  return 1;
}

}  // extern "C"

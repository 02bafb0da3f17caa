// Building EDID blocks from their fields for tests, and a prepared record
// that cleans up after itself. Blocks come out with valid checksums; tests
// that want a broken one change the bytes afterwards (and call FixChecksum
// when only the change itself should count).
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "edid_decode_encode.h"

namespace edc_test {

using Bytes = std::vector<uint8_t>;

// Appends each of parts to bytes.
Bytes Cat(std::initializer_list<Bytes> parts);

// Sets byte 127 of the 128-byte block at offset so that the block sums to 0.
void FixChecksum(Bytes &bytes, size_t offset = 0);

// An 18-byte detailed timing descriptor (VESA E-EDID 1.3 section 3.10.2).
struct TimingFields {
  uint32_t pixel_clock_hz = 148500000;  // stored in units of 10 kHz
  uint32_t h_active = 1920, h_blanking = 280, v_active = 1080, v_blanking = 45;
  uint32_t h_sync_offset = 88, h_sync_width = 44, v_sync_offset = 4, v_sync_width = 5;
  uint32_t h_image_mm = 1600, v_image_mm = 900;
  uint8_t h_border = 0, v_border = 0;
  bool interlaced = false, h_sync_positive = true, v_sync_positive = true;
  uint8_t stereo = 0;     // byte 17 bits 6-5
  uint8_t sync_type = 3;  // byte 17 bits 4-3; 3 is digital separate
};
Bytes Dtd(const TimingFields &timing);

// A display descriptor (pixel clock 0) with its tag and the 13 bytes 5-17.
Bytes DisplayDescriptor(uint8_t tag, const Bytes &payload = Bytes(13, 0));
// A text descriptor: the text, a line feed when it is shorter than 13, then blanks.
Bytes TextDescriptor(uint8_t tag, const std::string &text);
Bytes RangeLimits(uint8_t min_v_hz, uint8_t max_v_hz, uint8_t min_h_khz, uint8_t max_h_khz,
                  uint8_t max_clock_10mhz);

// A base block; every field is stored as given (letters as 5-bit codes).
struct BaseFields {
  std::string manufacturer = "SAM";
  uint16_t product = 0x0C4D;
  uint32_t serial = 0x01000E00;
  uint8_t week = 12, year_since_1990 = 22, version = 1, revision = 3;
  uint8_t video_input = 0x80, h_cm = 160, v_cm = 90, gamma = 120, features = 0x0A;
  std::array<uint8_t, 10> chromaticity = {};  // bytes 0x19-0x22
  uint8_t established_1 = 0, established_2 = 0, manufacturer_timings = 0;
  std::array<std::pair<uint8_t, uint8_t>, 8> standard_timings = {
      {{1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}, {1, 1}}};
  std::array<Bytes, 4> descriptors = {DisplayDescriptor(0x10), DisplayDescriptor(0x10),
                                      DisplayDescriptor(0x10), DisplayDescriptor(0x10)};
  uint8_t extensions = 1;
};
Bytes BaseBlock(const BaseFields &fields = {});

// CEA-861 data blocks: header (tag, payload length) and payload.
Bytes DataBlock(uint8_t tag, const Bytes &payload);
Bytes ShortAudio(uint8_t format, uint8_t channels, uint8_t rates, uint8_t byte3);
Bytes ExtendedBlock(uint8_t extended_tag, const Bytes &payload);

// HDMI vendor-specific data block (HDMI 1.4b section 8.3.2). The block ends
// after byte 8 unless it needs more; declared_length, when set, replaces the
// header's length field and nothing else.
struct HdmiVsdbFields {
  std::array<uint8_t, 4> address = {1, 0, 0, 0};
  uint8_t flags = 0;      // byte 6: AI, DC_48, DC_36, DC_30, DC_Y444, -, -, DVI_Dual
  uint8_t tmds_5mhz = 0;  // byte 7
  uint8_t cnc = 0;        // byte 8 bits 3-0
  std::optional<std::pair<uint8_t, uint8_t>> latency{}, interlaced_latency{};  // as stored
  bool hdmi_video = false;
  bool present_3d = false;
  uint8_t multi_3d = 0, image_size = 0;
  Bytes hdmi_vics{};
  Bytes fields_3d{};  // 3D_Structure_ALL, 3D_MASK and per-format entries, counted by HDMI_3D_LEN
  std::optional<uint8_t> declared_length{};
};
Bytes HdmiVsdb(const HdmiVsdbFields &fields = {});

// A CEA-861 extension: data blocks from byte 4, then the timings at d.
struct CeaFields {
  uint8_t tag = 0x02, revision = 3, support = 0;
  std::vector<Bytes> data_blocks{};
  std::optional<uint8_t> dtd_offset{};  // default: right after the data blocks
  std::vector<Bytes> dtds{};
};
Bytes CeaExtension(const CeaFields &fields = {});

// One row of the corpus manifest (tests/corpus/MANIFEST.tsv).
struct CorpusEntry {
  std::string file;  // name in tests/corpus/edid/
  int blocks = 0;
  std::string edid_class;        // odd, hdmi3d, multi, tv, monitor-cea, base
  std::vector<std::string> odd;  // reasons for the odd class
  std::string cea;               // the cea column: "svds=12 dtds=2 ..."
  bool IsOdd(const std::string &reason) const;
};
std::vector<CorpusEntry> ReadCorpusManifest();

// Fills a record from text, one field a line: "week 12", "speaker 0x4F 1 0",
// "monitor_name \"EDC  \"" (quotes keep blanks; a text fills its whole
// array when it is that long). List elements take the element's fields in
// declaration order: "std_timing", "dtd", "svd", "sad". "clear svd" empties
// a list; "33x svd 0 1 0" repeats a line. False for a line it does not know.
bool ApplyRecordLine(const std::string &line, edid_t *edid);
// The record as such lines, every field (or only those not all zero) and
// every element of the lists that are initialised ("manufacturer_id SAM",
// "svd 1 16 0"), for comparing two records.
std::vector<std::string> RecordLines(edid_t *edid, bool set_fields_only = false);

// A prepared edid_t, destroyed with the object.
struct PreparedEdid {
  PreparedEdid();
  ~PreparedEdid();
  PreparedEdid(const PreparedEdid &) = delete;
  PreparedEdid &operator=(const PreparedEdid &) = delete;
  edid_t edid;
};

// The elements of a record list, copied out in order.
template <typename T>
std::vector<T> Elements(ll_list_t *list) {
  std::vector<T> out;
  for (int32_t i = 0; i < ll_size(list); ++i) {
    void *data = nullptr;
    if (ll_entry_at(list, i, &data)) out.push_back(*static_cast<T *>(data));
  }
  return out;
}

}  // namespace edc_test

#include "edid_builder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <sstream>

#include "capture.h"

namespace edc_test {

Bytes Cat(std::initializer_list<Bytes> parts) {
  Bytes out;
  for (const Bytes &part : parts) out.insert(out.end(), part.begin(), part.end());
  return out;
}

void FixChecksum(Bytes &bytes, size_t offset) {
  ASSERT_GE(bytes.size(), offset + 128);
  uint8_t sum = 0;
  for (size_t i = offset; i < offset + 127; ++i) sum = static_cast<uint8_t>(sum + bytes[i]);
  bytes[offset + 127] = static_cast<uint8_t>(0x100 - sum);
}

Bytes Dtd(const TimingFields &t) {
  const uint32_t clock = t.pixel_clock_hz / 10000;
  auto lo = [](uint32_t v) { return static_cast<uint8_t>(v & 0xFF); };
  auto hi4 = [](uint32_t a, uint32_t b) { return static_cast<uint8_t>((a >> 8) << 4 | (b >> 8)); };
  return {lo(clock),
          lo(clock >> 8),
          lo(t.h_active),
          lo(t.h_blanking),
          hi4(t.h_active, t.h_blanking),
          lo(t.v_active),
          lo(t.v_blanking),
          hi4(t.v_active, t.v_blanking),
          lo(t.h_sync_offset),
          lo(t.h_sync_width),
          static_cast<uint8_t>((t.v_sync_offset & 0xF) << 4 | (t.v_sync_width & 0xF)),
          static_cast<uint8_t>((t.h_sync_offset >> 8) << 6 | (t.h_sync_width >> 8) << 4 |
                               (t.v_sync_offset >> 4) << 2 | (t.v_sync_width >> 4)),
          lo(t.h_image_mm),
          lo(t.v_image_mm),
          hi4(t.h_image_mm, t.v_image_mm),
          t.h_border,
          t.v_border,
          static_cast<uint8_t>((t.interlaced ? 0x80 : 0) | (t.stereo & 3) << 5 |
                               (t.sync_type & 3) << 3 | (t.v_sync_positive ? 4 : 0) |
                               (t.h_sync_positive ? 2 : 0))};
}

Bytes DisplayDescriptor(uint8_t tag, const Bytes &payload) {
  Bytes out = {0, 0, 0, tag, 0};
  out.insert(out.end(), payload.begin(), payload.end());
  out.resize(18, 0);
  return out;
}

Bytes TextDescriptor(uint8_t tag, const std::string &text) {
  Bytes payload(text.begin(), text.end());
  if (payload.size() < 13) payload.push_back('\n');
  payload.resize(13, ' ');
  return DisplayDescriptor(tag, payload);
}

Bytes RangeLimits(uint8_t min_v_hz, uint8_t max_v_hz, uint8_t min_h_khz, uint8_t max_h_khz,
                  uint8_t max_clock_10mhz) {
  return DisplayDescriptor(0xFD, {min_v_hz, max_v_hz, min_h_khz, max_h_khz, max_clock_10mhz, 0,
                                  '\n', ' ', ' ', ' ', ' ', ' ', ' '});
}

Bytes BaseBlock(const BaseFields &f) {
  Bytes b = {0x00, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00};
  uint32_t letters = 0;
  for (char c : f.manufacturer.substr(0, 3)) letters = letters << 5 | ((c - '@') & 31);
  b.insert(b.end(), {static_cast<uint8_t>(letters >> 8), static_cast<uint8_t>(letters),
                     static_cast<uint8_t>(f.product), static_cast<uint8_t>(f.product >> 8)});
  for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(f.serial >> (8 * i)));
  b.insert(b.end(), {f.week, f.year_since_1990, f.version, f.revision, f.video_input, f.h_cm,
                     f.v_cm, f.gamma, f.features});
  b.insert(b.end(), f.chromaticity.begin(), f.chromaticity.end());
  b.insert(b.end(), {f.established_1, f.established_2, f.manufacturer_timings});
  for (const auto &[first, second] : f.standard_timings) b.insert(b.end(), {first, second});
  for (const Bytes &d : f.descriptors) b.insert(b.end(), d.begin(), d.end());
  b.insert(b.end(), {f.extensions, 0});
  EXPECT_EQ(b.size(), 128u);
  FixChecksum(b);
  return b;
}

Bytes DataBlock(uint8_t tag, const Bytes &payload) {
  Bytes out = {static_cast<uint8_t>(tag << 5 | (payload.size() & 31))};
  out.insert(out.end(), payload.begin(), payload.end());
  return out;
}

Bytes ShortAudio(uint8_t format, uint8_t channels, uint8_t rates, uint8_t byte3) {
  return {static_cast<uint8_t>((format & 15) << 3 | ((channels - 1) & 7)), rates, byte3};
}

Bytes ExtendedBlock(uint8_t extended_tag, const Bytes &payload) {
  return DataBlock(7, Cat({{extended_tag}, payload}));
}

Bytes HdmiVsdb(const HdmiVsdbFields &f) {
  Bytes p = {0x03,
             0x0C,
             0x00,
             static_cast<uint8_t>(f.address[0] << 4 | f.address[1]),
             static_cast<uint8_t>(f.address[2] << 4 | f.address[3]),
             f.flags,
             f.tmds_5mhz,
             static_cast<uint8_t>((f.latency ? 0x80 : 0) | (f.interlaced_latency ? 0x40 : 0) |
                                  (f.hdmi_video ? 0x20 : 0) | (f.cnc & 15))};
  for (const auto &pair : {f.latency, f.interlaced_latency})
    if (pair) p.insert(p.end(), {pair->first, pair->second});
  if (f.hdmi_video) {
    p.push_back(static_cast<uint8_t>((f.present_3d ? 0x80 : 0) | (f.multi_3d & 3) << 5 |
                                     (f.image_size & 3) << 3));
    p.push_back(static_cast<uint8_t>(f.hdmi_vics.size() << 5 | (f.fields_3d.size() & 31)));
    p.insert(p.end(), f.hdmi_vics.begin(), f.hdmi_vics.end());
    p.insert(p.end(), f.fields_3d.begin(), f.fields_3d.end());
  }
  Bytes out = DataBlock(3, p);
  if (f.declared_length) out[0] = static_cast<uint8_t>(3 << 5 | (*f.declared_length & 31));
  return out;
}

Bytes CeaExtension(const CeaFields &f) {
  Bytes b = {f.tag, f.revision, 0, f.support};
  for (const Bytes &block : f.data_blocks) b.insert(b.end(), block.begin(), block.end());
  b[2] = f.dtd_offset.value_or(static_cast<uint8_t>(b.size()));
  b.resize(std::max<size_t>(b.size(), b[2]), 0);
  for (const Bytes &dtd : f.dtds) b.insert(b.end(), dtd.begin(), dtd.end());
  EXPECT_LE(b.size(), 127u) << "extension overflows its block";
  b.resize(128, 0);
  FixChecksum(b);
  return b;
}

bool CorpusEntry::IsOdd(const std::string &reason) const {
  return std::find(odd.begin(), odd.end(), reason) != odd.end();
}

std::vector<CorpusEntry> ReadCorpusManifest() {
  std::vector<CorpusEntry> entries;
  std::ifstream in(CorpusDir() + "/MANIFEST.tsv");
  std::string line;
  std::getline(in, line);  // the header
  while (std::getline(in, line)) {
    std::vector<std::string> columns;
    std::stringstream row(line);
    for (std::string column; std::getline(row, column, '\t');) columns.push_back(column);
    if (columns.size() < 11) continue;
    CorpusEntry entry{columns[0], std::stoi(columns[2]), columns[4], {}, columns[7]};
    std::stringstream reasons(columns[10]);
    for (std::string reason; std::getline(reasons, reason, ',');)
      if (reason != "-") entry.odd.push_back(reason);
    entries.push_back(entry);
  }
  EXPECT_GT(entries.size(), 1000u) << "corpus manifest missing or short";
  return entries;
}

PreparedEdid::PreparedEdid() {
  memset(&edid, 0, sizeof edid);
  EXPECT_EQ(edid_prepare(&edid), 1);
}

PreparedEdid::~PreparedEdid() {
  if (ll_is_initialized(&edid.std_timings)) edid_destroy(&edid);
}

}  // namespace edc_test

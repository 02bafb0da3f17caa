#include "edid_builder.h"

#include <gtest/gtest.h>

#include <bit>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <span>
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

namespace edc_test {
namespace {

// A field of a record or element: where it lies, the size of one value, how
// many values (arrays), and whether it is text.
struct FieldRef {
  const char *name;
  size_t offset, size, count = 1;
  bool text = false;
};
#define EDC_FIELD(t, f) \
  { #f, offsetof(t, f), sizeof(t::f) }
#define EDC_FIELDS(t, a, b, c) EDC_FIELD(t, a), EDC_FIELD(t, b), EDC_FIELD(t, c)
#define EDC_FIELDS6(t, a, b, c, d, e, f) EDC_FIELDS(t, a, b, c), EDC_FIELDS(t, d, e, f)
#define EDC_TEXT(f) \
  { #f, offsetof(edid_t, f), 1, sizeof(edid_t::f), true }

// clang-format off
const FieldRef kEdidFields[] = {
    EDC_FIELDS6(edid_t, valid, product_id, serial, week, year, version),
    EDC_FIELDS6(edid_t, revision, digital, h_size_cm, v_size_cm, gamma, standby),
    EDC_FIELDS6(edid_t, suspend, active_off, standard_colorspace, preferred_timing, gtf, red_x),
    EDC_FIELDS6(edid_t, red_y, green_x, green_y, blue_x, blue_y, white_x),
    EDC_FIELDS6(edid_t, white_y, established_timings_1, established_timings_2, manufacturer_timings,
                min_v_rate, max_v_rate),
    EDC_FIELDS6(edid_t, min_h_rate, max_h_rate, max_pixel_clock, num_extensions, checksum,
                underscan),
    EDC_FIELDS6(edid_t, basic_audio, ycbcr444, ycbcr422, hdmi_vsdb_present, dc_48bit, dc_36bit),
    EDC_FIELDS6(edid_t, dc_30bit, dc_y444, dvi_dual, max_tmds_clock, supports_ai, cnc0),
    EDC_FIELDS6(edid_t, cnc1, cnc2, cnc3, hdmi_video_present, video_latency, audio_latency),
    EDC_FIELDS6(edid_t, interlaced_video_latency, interlaced_audio_latency, present_3d, image_size,
                hdmi_vic_len, xvycc601),
    EDC_FIELD(edid_t, xvycc709), {"speaker", offsetof(edid_t, speaker), 1, 3},
    {"address", offsetof(edid_t, address), 1, 4}, {"hdmi_vic", offsetof(edid_t, hdmi_vic), 4, 7},
    EDC_TEXT(manufacturer_id), EDC_TEXT(monitor_serial), EDC_TEXT(monitor_data),
    EDC_TEXT(monitor_name)};
const FieldRef kStdFields[] = {EDC_FIELDS(std_timing_t, h_active, aspect_ratio, refresh_rate)};
const FieldRef kDtdFields[] = {
    EDC_FIELDS6(detailed_timing_t, valid, pixel_clock, h_active, h_blanking, h_sync_offset,
                h_sync_width),
    EDC_FIELDS6(detailed_timing_t, h_border, v_active, v_blanking, v_sync_offset, v_sync_width,
                v_border),
    EDC_FIELDS6(detailed_timing_t, h_image_size, v_image_size, progressive, stereo, h_sync_positive,
                v_sync_positive)};
const FieldRef kSvdFields[] = {EDC_FIELDS(short_video_desc_t, native, vic, stereo)};
const FieldRef kSadFields[] = {
    EDC_FIELDS6(short_audio_desc_t, format, channels, sample_rates, bit_depths, max_bitrate,
                format_value),
    EDC_FIELD(short_audio_desc_t, profile)};
// clang-format on

struct ListRef {
  const char *name;
  ll_list_t edid_t::*list;
  const char *type;
  size_t size;
  std::span<const FieldRef> fields;
};
const ListRef kLists[] = {
    {"std_timing", &edid_t::std_timings, "std_timing_t", sizeof(std_timing_t), kStdFields},
    {"dtd", &edid_t::dtd_list, "detailed_timing_t", sizeof(detailed_timing_t), kDtdFields},
    {"svd", &edid_t::video_list, "short_video_desc_t", sizeof(short_video_desc_t), kSvdFields},
    {"sad", &edid_t::audio_list, "short_audio_desc_t", sizeof(short_audio_desc_t), kSadFields}};

// Stores the values of text (numbers; a text field takes the whole text,
// quotes keeping its blanks) into the fields, in order (little-endian host).
static_assert(std::endian::native == std::endian::little);
void Store(void *base, std::span<const FieldRef> fields, const std::string &text) {
  std::istringstream in(text);
  for (const FieldRef &f : fields) {
    uint8_t *at = static_cast<uint8_t *>(base) + f.offset;
    const bool quoted = text.size() >= 2 && text[0] == '"';
    const std::string value = quoted ? text.substr(1, text.size() - 2) : text;
    if (f.text) memset(at, 0, f.count), memcpy(at, value.data(), std::min(value.size(), f.count));
    std::string word;
    for (size_t i = 0; !f.text && i < f.count && in >> word; ++i) {
      const uint64_t number = std::stoul(word, nullptr, 0);
      memcpy(at + i * f.size, &number, f.size);
    }
  }
}

std::string Load(const void *base, std::span<const FieldRef> fields) {
  std::string text;
  for (const FieldRef &f : fields) {
    const auto *at = static_cast<const char *>(base) + f.offset;
    if (f.text) text += " \"" + std::string(at, strnlen(at, f.count)) + "\"";
    for (size_t i = 0; !f.text && i < f.count; ++i) {
      uint64_t number = 0;
      memcpy(&number, at + i * f.size, f.size);
      text += " " + std::to_string(number);
    }
  }
  return text;
}

}  // namespace

std::vector<std::string> RecordLines(edid_t *edid, bool set_fields_only) {
  std::vector<std::string> lines;
  for (const FieldRef &f : kEdidFields) {
    const std::string values = Load(edid, {&f, 1});
    if (!set_fields_only || values.find_first_not_of(" 0\"") != std::string::npos)
      lines.push_back(f.name + values);
  }
  for (const ListRef &l : kLists) {
    for (int32_t i = 0; ll_is_initialized(&(edid->*l.list)) && i < ll_size(&(edid->*l.list)); ++i) {
      void *data = nullptr;
      if (ll_entry_at(&(edid->*l.list), i, &data)) lines.push_back(l.name + Load(data, l.fields));
    }
  }
  return lines;
}

bool ApplyRecordLine(const std::string &line, edid_t *edid) {
  std::istringstream in(line);
  std::string key, rest;
  in >> key;
  const int repeat = isdigit(key[0]) && key.back() == 'x' ? std::stoi(key) : 1;
  if (repeat != 1 || key == "1x") in >> key;
  std::getline(in >> std::ws, rest);
  bool known = false;
  for (const ListRef &l : kLists) {
    ll_list_t *list = &(edid->*l.list);
    if (key == "clear" && rest == l.name) known = ll_delete_list(list) && ll_init(list, l.type);
    for (int n = 0; key == l.name && n < repeat; ++n) {
      ll_entry_t *entry = nullptr;
      void *data = nullptr;
      known = ll_create_entry(static_cast<int32_t>(l.size), &entry, &data, l.type);
      if (known) Store(data, l.fields, rest);
      known = known && ll_add_entry_to_back(list, entry);
    }
  }
  for (const FieldRef &f : kEdidFields) {
    if (key == f.name) Store(edid, {&f, 1}, rest);
    known = known || key == f.name;
  }
  return known;
}

}  // namespace edc_test

#include "edid_builder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <cstddef>
#include <cstring>
#include <span>
#include <sstream>

#include "typed_list.h"

namespace edc_test {

PreparedEdid::PreparedEdid() {
  memset(&edid, 0, sizeof edid);
  EXPECT_EQ(edid_prepare(&edid), 1);
}

PreparedEdid::~PreparedEdid() {
  if (ll_is_initialized(&edid.std_timings)) edid_destroy(&edid);
}

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
  for (const ListRef &l : kLists)
    if (ll_is_initialized(&(edid->*l.list)))
      for (const uint8_t *data : edc::elements<uint8_t>(&(edid->*l.list)))
        lines.push_back(l.name + Load(data, l.fields));
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

#include <bit>
#include <cctype>
#include <cstddef>
#include <span>

#include "config_store.h"
#include "edc_test.h"
#include "typed_list.h"

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
#define EDC_ARRAY(t, f, n) \
  { #f, offsetof(t, f), sizeof(t::f) / n, n }
#define EDC_TEXT(t, f) \
  { #f, offsetof(t, f), 1, sizeof(t::f), true }

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
    EDC_FIELD(edid_t, xvycc709), EDC_ARRAY(edid_t, speaker, 3), EDC_ARRAY(edid_t, address, 4),
    EDC_ARRAY(edid_t, hdmi_vic, 7), EDC_TEXT(edid_t, manufacturer_id),
    EDC_TEXT(edid_t, monitor_serial), EDC_TEXT(edid_t, monitor_data), EDC_TEXT(edid_t, monitor_name)};
const FieldRef kPlatformFields[] = {
    EDC_FIELDS6(platform_values_t, native_refresh_rate, current_mode_set_to_priority,
                geometry_limit, audio_pass_through, underscan, is_tv),
    EDC_FIELDS6(platform_values_t, dc_30bit, dc_36bit, tmds_override, supports_ai, speaker_entry,
                xvycc601),
    EDC_FIELDS6(platform_values_t, xvycc709, native_bit, product_id, serial, week, year),
    EDC_FIELDS6(platform_values_t, cnc0, cnc1, cnc2, cnc3, established_timings_1,
                established_timings_2),
    EDC_FIELD(platform_values_t, manufacturer_timings),
    EDC_ARRAY(platform_values_t, priority_4k_x_2k, 7),
    EDC_ARRAY(platform_values_t, addition_4k_x_2k, 7), EDC_TEXT(platform_values_t, manufacturer_id),
    EDC_TEXT(platform_values_t, monitor_name), EDC_TEXT(platform_values_t, monitor_serial)};
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

// A list of a record: its name in lines, where it lies, its element type
// and size, and the element's fields (none: the list's text form).
struct ListRef {
  const char *name;
  size_t offset;
  const char *type;
  size_t size;
  std::span<const FieldRef> fields;
};
#define EDC_LIST(name, t, list, element, fields) \
  { name, offsetof(t, list), #element, sizeof(element), fields }
const ListRef kEdidLists[] = {EDC_LIST("std_timing", edid_t, std_timings, std_timing_t, kStdFields),
                              EDC_LIST("dtd", edid_t, dtd_list, detailed_timing_t, kDtdFields),
                              EDC_LIST("svd", edid_t, video_list, short_video_desc_t, kSvdFields),
                              EDC_LIST("sad", edid_t, audio_list, short_audio_desc_t, kSadFields)};
const ListRef kPlatformLists[] = {
    EDC_LIST("std_timing", platform_values_t, std_timings, std_timing_t, {}),
    EDC_LIST("audio_list", platform_values_t, audio_list, int, {}),
    EDC_LIST("video_50_priority", platform_values_t, video_50_priority, short_video_desc_t, {}),
    EDC_LIST("video_50_additional", platform_values_t, video_50_additional, short_video_desc_t, {}),
    EDC_LIST("video_60_priority", platform_values_t, video_60_priority, short_video_desc_t, {}),
    EDC_LIST("video_60_additional", platform_values_t, video_60_additional, short_video_desc_t,
             {})};

ll_list_t *ListIn(void *record, const ListRef &l) {
  return reinterpret_cast<ll_list_t *>(static_cast<char *>(record) + l.offset);
}

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

// The fields of an element without the leading blank and the trailing zeros.
std::string Short(const void *base, std::span<const FieldRef> fields) {
  std::string text = Load(base, fields).substr(1);
  while (text.size() > 2 && text.ends_with(" 0")) text.resize(text.size() - 2);
  return text;
}

template <typename T>
void Append(ll_list_t *list, const T &element) {
  EXPECT_NE(edc::append_copy(list, element, EDC_HERE), nullptr);
}

bool Apply(void *record, std::span<const FieldRef> fields, std::span<const ListRef> lists,
           const std::string &line) {
  std::istringstream in(line);
  std::string key, rest;
  in >> key;
  const int repeat = isdigit(key[0]) && key.back() == 'x' ? std::stoi(key) : 1;
  if (repeat != 1 || key == "1x") in >> key;
  std::getline(in >> std::ws, rest);
  bool known = false;
  for (const ListRef &l : lists) {
    ll_list_t *list = ListIn(record, l);
    if (key == "clear" && rest == l.name) known = ll_delete_list(list) && ll_init(list, l.type);
    for (int n = 0; key == l.name && n < repeat; ++n) {
      ll_entry_t *entry = nullptr;
      void *data = nullptr;
      const auto size = static_cast<int32_t>(l.size);
      known = l.fields.empty() || ll_create_entry(size, &entry, &data, l.type);
      if (l.fields.empty()) Add(list, rest);  // a list in its text form
      if (data != nullptr) Store(data, l.fields, rest);
      known = known && (data == nullptr || ll_add_entry_to_back(list, entry));
    }
  }
  for (const FieldRef &f : fields) {
    if (key == f.name) Store(record, {&f, 1}, rest);
    known = known || key == f.name;
  }
  return known;
}

}  // namespace

bool ApplyRecordLine(const std::string &line, edid_t *edid) {
  return Apply(edid, kEdidFields, kEdidLists, line);
}

bool ApplyRecordLine(const std::string &line, platform_values_t *values) {
  return Apply(values, kPlatformFields, kPlatformLists, line);
}

std::vector<std::string> RecordLines(edid_t *edid, bool set_fields_only) {
  std::vector<std::string> lines;
  for (const FieldRef &f : kEdidFields) {
    const std::string values = Load(edid, {&f, 1});
    if (!set_fields_only || values.find_first_not_of(" 0\"") != std::string::npos)
      lines.push_back(f.name + values);
  }
  for (const ListRef &l : kEdidLists)
    if (ll_is_initialized(ListIn(edid, l)))
      for (const uint8_t *data : edc::elements<uint8_t>(ListIn(edid, l)))
        lines.push_back(l.name + Load(data, l.fields));
  return lines;
}

void Add(ll_list_t *list, const std::string &text) {
  const auto is = [&](const char *type) { return ll_verify_list_type(list, type) == 1; };
  std::istringstream in(text);
  std_timing_t timing{};
  for (std::string one; is("short_audio_desc_t") && std::getline(in, one, ',');)
    Append(list, AudioDesc(one));
  for (std::string one; is("std_timing_t") && std::getline(in, one, ',');)
    Store(&timing, kStdFields, one), Append(list, timing);
  for (std::string word; in >> word;) {  // the other forms: one word an element
    short_video_desc_t mode{};
    detailed_timing_t timing{};
    mode.native = word.back() == '*';
    mode.vic = std::stoul(word);
    if (const size_t slash = word.find('/'); slash != std::string::npos)
      mode.stereo = std::stoul(word.substr(slash + 1), nullptr, 16);
    if (is("short_video_desc_t")) Append(list, mode);
    if (is("int")) Append(list, static_cast<int32_t>(std::stoul(word, nullptr, 0)));
    if (is("detailed_timing_t")) {
      EXPECT_TRUE(convert_vic_to_dtd(mode.vic, &timing)) << word;
      Append(list, timing);
    }
  }
}

std::string Text(ll_list_t *list) {
  const bool modes = ll_verify_list_type(list, "short_video_desc_t");
  const bool numbers = ll_verify_list_type(list, "int");
  std::span<const FieldRef> fields = kSadFields;
  for (const ListRef &l : kEdidLists)
    fields = ll_verify_list_type(list, l.type) ? l.fields : fields;
  std::string text;
  for (const uint8_t *data : edc::elements<uint8_t>(list)) {
    const auto *mode = reinterpret_cast<const short_video_desc_t *>(data);
    text += text.empty() ? "" : modes || numbers ? " " : ", ";
    if (modes)
      text += std::to_string(mode->vic) + (mode->stereo != 0 ? Format("/%02X", mode->stereo) : "") +
              (mode->native ? "*" : "");
    else
      text +=
          numbers ? std::to_string(*reinterpret_cast<const int32_t *>(data)) : Short(data, fields);
  }
  return text;
}

short_audio_desc_t AudioDesc(const std::string &text) {
  short_audio_desc_t audio{};
  Store(&audio, kSadFields, text);
  return audio;
}

std::string AudioText(const short_audio_desc_t &audio) {
  return Short(&audio, kSadFields);
}

composer_cfg_t CorpusSettings() {
  return {{1920, 1080, 0, 60}, 0xFFFFFFFF, 1, 1, {20, 40, 0, 0}, nullptr, 1};
}

void DecodeComposed(const std::vector<uint8_t> &bytes, edid_t *edid) {
  ASSERT_EQ(bytes.size(), 256u);
  for (size_t block : {0, 128})
    EXPECT_EQ(std::accumulate(bytes.begin() + block, bytes.begin() + block + 128, 0) % 256, 0);
  Capture([&] {
    EXPECT_TRUE(decode_edid_block_0(bytes.data(), edid));
    EXPECT_TRUE(decode_edid_extensions(bytes.data() + 128, 128, edid));
  });
}

std::string CorpusEdid::FirstOdd(const std::string &reasons) const {
  std::istringstream in(reasons);
  std::string reason;
  while (in >> reason && odd.find("," + reason + ",") == std::string::npos) reason.clear();
  return reason;
}

Bytes CorpusBytes(const std::string &name) {
  return ReadFile(CorpusDir() + "/edid/" + name);
}

const std::vector<CorpusEdid> &Corpus() {
  static const std::vector<CorpusEdid> corpus = [] {
    std::vector<CorpusEdid> all;
    for (const auto &row : ReadRows("../corpus/MANIFEST.tsv"))  // with its heading, "file ..."
      if (row.size() > 10 && row[0] != "file") {
        const std::string path = CorpusDir() + "/edid/" + row[0];
        all.push_back({row[0], path, std::stoi(row[2]), "," + row[10] + ",", ReadFile(path)});
      }
    EXPECT_GT(all.size(), 1000u) << "corpus manifest missing or short";
    return all;
  }();
  return corpus;
}

const std::vector<std::string> &EdidDecodeTexts() {
  static const std::vector<std::string> texts = [] {
    std::vector<std::string> files;
    for (const CorpusEdid &c : Corpus()) files.push_back(c.file);
    return RunForEach(CorpusDir() + "/edid", files, "edid-decode \"$f\" 2>/dev/null");
  }();
  return texts;
}

std::string XxdText(const Bytes &bytes) {
  std::string text;
  for (size_t at = 0; at < bytes.size(); ++at)
    text += Format((at + 1) % 30 == 0 || at + 1 == bytes.size() ? "%02x\n" : "%02x", bytes[at]);
  return text;
}

}  // namespace edc_test

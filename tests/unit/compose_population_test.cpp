// The new EDID record as _populate_new_edid fills it (identity and fixed
// values, physical address, deep colour, TMDS clock, latencies, 3D,
// tri-states, padding and timings), and the composition entry points: their
// argument checks, a caller's own platform record, a television's EDID that
// is missing, short or broken. Expected values are worked out from the rules.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <functional>
#include <numeric>
#include <regex>
#include <span>
#include <sstream>

#include "capture.h"
#include "compose_records.h"
#include "config_store.h"
#include "edid_builder.h"
#include "edid_composer_internal.h"
#include "typed_list.h"

using namespace edc_test;  // NOLINT: record and line helpers throughout
using testing::Contains;

// Every call of the host's configuration functions is counted (the test
// binary is linked with --wrap for each of them).
namespace {
int g_host_calls = 0;
}
extern "C" {
// clang-format off
#define EDC_COUNTED(name, params, args)          \
  int32_t __real_##name params;                  \
  int32_t __wrap_##name params {                 \
    ++g_host_calls;                              \
    return __real_##name args;                   \
  }
EDC_COUNTED(config_get_int, (uint32_t h, const char *p, int32_t *v), (h, p, v))
EDC_COUNTED(config_get_str, (uint32_t h, const char *p, char *b, uint32_t s), (h, p, b, s))
EDC_COUNTED(config_node_find, (uint32_t h, const char *p, uint32_t *n), (h, p, n))
EDC_COUNTED(config_node_first_child, (uint32_t n, uint32_t *c), (n, c))
EDC_COUNTED(config_node_next_sibling, (uint32_t n, uint32_t *s), (n, s))
EDC_COUNTED(config_node_get_name, (uint32_t n, char *b, uint32_t s), (n, b, s))
EDC_COUNTED(config_node_get_int, (uint32_t n, int32_t *v), (n, v))
EDC_COUNTED(config_node_get_str, (uint32_t n, char *b, uint32_t s), (n, b, s))
#undef EDC_COUNTED
// clang-format on
}

namespace {

// The detailed timings of a record, as edid_builder writes them.
std::vector<std::string> TimingLines(edid_t *edid) {
  std::vector<std::string> lines = RecordLines(edid);
  std::erase_if(lines, [](const std::string &line) { return !line.starts_with("dtd "); });
  return lines;
}

// The platform record's number fields that the cases set.
#define EDC_NUMBER(field) \
  { #field, offsetof(platform_values_t, field) }
// clang-format off
const std::pair<std::string, size_t> kPlatformNumbers[] = {
    EDC_NUMBER(is_tv), EDC_NUMBER(dc_30bit), EDC_NUMBER(dc_36bit), EDC_NUMBER(tmds_override),
    EDC_NUMBER(underscan), EDC_NUMBER(speaker_entry), EDC_NUMBER(product_id), EDC_NUMBER(serial),
    EDC_NUMBER(week), EDC_NUMBER(year), EDC_NUMBER(established_timings_1),
    EDC_NUMBER(established_timings_2), EDC_NUMBER(manufacturer_timings), EDC_NUMBER(supports_ai),
    EDC_NUMBER(cnc0), EDC_NUMBER(cnc1), EDC_NUMBER(cnc2), EDC_NUMBER(cnc3), EDC_NUMBER(xvycc601),
    EDC_NUMBER(xvycc709)};
// clang-format on
#undef EDC_NUMBER

// "field value" into the platform record; "std_timing h aspect rate" appends one.
void SetPlatform(platform_values_t *v, const std::string &line) {
  std::istringstream in(line);
  std::string field, value;
  in >> field >> std::ws;
  std::getline(in, value);
  for (const auto &[name, offset] : kPlatformNumbers)
    if (field == name) {
      const auto number = static_cast<uint32_t>(std::stoul(value, nullptr, 0));
      memcpy(reinterpret_cast<char *>(v) + offset, &number, 4);
      return;
    }
  const std::pair<const char *, std::span<char>> texts[] = {{"manufacturer_id", v->manufacturer_id},
                                                            {"monitor_name", v->monitor_name},
                                                            {"monitor_serial", v->monitor_serial}};
  for (const auto &[name, text] : texts)
    if (field == name) {
      ASSERT_LT(value.size(), text.size());
      memcpy(text.data(), value.c_str(), value.size() + 1);
      return;
    }
  ASSERT_EQ(field, "std_timing");
  std_timing_t timing{};
  std::istringstream(value) >> timing.h_active >> timing.aspect_ratio >> timing.refresh_rate;
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  ASSERT_TRUE(ll_create_entry(sizeof timing, &entry, &data, "std_timing_t"));
  memcpy(data, &timing, sizeof timing);
  ASSERT_TRUE(ll_add_entry_to_back(&v->std_timings, entry));
}

TEST(Population, FillsTheNewRecordByTheRules) {
  const auto cases = ReadCases("compose_population.txt");
  ASSERT_EQ(cases.size(), 55u);
  for (const auto &c : cases) {
    SCOPED_TRACE(c.title);
    PreparedEdid sink, composed;
    PreparedPlatform platform;
    ll_list_t selected{};
    ll_init(&selected, "short_video_desc_t");
    AddModes(&selected, c.Get("modes"));
    std::array<uint32_t, 4> latency{};
    std::istringstream(c.Get("latency")) >> latency[0] >> latency[1] >> latency[2] >> latency[3];
    std::vector<std::string> says, never, record;
    for (const auto &[key, value] : c.lines) {
      if (key == "platform") SetPlatform(&platform.values, value);
      EXPECT_TRUE(key != "sink" || ApplyRecordLine(value, &sink.edid)) << value;
      EXPECT_TRUE(key != "composed" || ApplyRecordLine(value, &composed.edid)) << value;
      if (key == "says" || key == "never")
        (key == "says" ? says : never)
            .push_back(
                std::regex_replace(ExpectedLine(value), std::regex("%p"), Format("%p", &selected)));
      if (key == "record") record.push_back(value);
    }
    const auto sink_before = RecordLines(&sink.edid);
    uint8_t result = 2;
    std::vector<std::string> lines;
    {
      DebugOn debug;
      lines = Lines([&] {
        result = _populate_new_edid(
            &composed.edid, &selected, &sink.edid, static_cast<uint8_t>(std::stoi(c.Get("port"))),
            std::stoi(c.Get("3d")), c.Get("latency") == "null" ? nullptr : latency.data(),
            &platform.values);
      });
    }
    EXPECT_EQ(std::to_string(result), c.Get("result") == "-" ? "1" : c.Get("result"));
    EXPECT_EQ(RecordLines(&sink.edid), sink_before);  // read only
    const auto fields = RecordLines(&composed.edid);
    for (const auto &[key, expected] : c.lines) {  // "expect name value": the line of that name
      const std::string &value = expected;
      const auto field = std::ranges::find_if(fields, [&](const std::string &line) {
        return line.substr(0, line.find(' ')) == value.substr(0, value.find(' '));
      });
      EXPECT_EQ(key != "expect" || field == fields.end() ? value : *field, value);
    }
    EXPECT_EQ(record.empty() ? record : RecordLines(&composed.edid, true), record);
    const auto optional = [&](const std::string &key, const std::string &actual) {
      EXPECT_EQ(c.Get(key) == "-" ? "-" : actual, c.Get(key)) << key;
    };
    optional("video", Modes(&composed.edid.video_list));
    optional("selected", Modes(&selected));
    PreparedEdid expected;
    AddTimings(&expected.edid, c.Get("timings") == "-" ? "" : c.Get("timings"));
    optional("timings", TimingLines(&composed.edid) == TimingLines(&expected.edid)
                            ? c.Get("timings")
                            : "other timings");
    EXPECT_EQ(FirstMissing(lines, says), "");
    for (const auto &line : never) EXPECT_THAT(lines, testing::Not(Contains(line)));
    ll_delete_list(&selected);
  }
}

// ---------------------------------------------------------------------------
// The entry points

std::string AddressText(const physical_address_t &a) {
  return Format("%d.%d.%d.%d", a.a, a.b, a.c, a.d);
}

TEST(Compose, ChecksItsArgumentsAndGoesOnWithoutAUsableTelevisionEdid) {
  SampleConfig config;
  const Bytes tv = CorpusBytes("hdmi3d-000ee288edb2.bin"),
              three = CorpusBytes("multi-070277a3592b.bin");
  Bytes bad_sum = tv, out(256);
  bad_sum[127] ^= 1;
  const Bytes base_only(tv.begin(), tv.begin() + 128);  // announces an extension
  composer_cfg_t cfg = CorpusSettings();
  uint8_t spa_offset = 0;
  cfg.spa_offset = &spa_offset;
  const auto E = [](const std::string &m) { return Error("compose_edid_internal", m); };
  const auto T = [](const std::string &m) { return Trace("compose_edid_internal", m); };
  const std::string size =
      "New EDID size is not an valid value. Unable to proceed. edid_bytes=%d Expected=256";
  const std::string ignored =
      "Edid is not an valid value. edid_bytes=%d Range=(128-256) Skipping edid reading and "
      "proceeding with creation.";
  const struct {
    const uint8_t *edid;
    int32_t bytes;
    uint8_t *out;
    uint32_t size;
    composer_cfg_t *cfg;
    std::string line, address;  // a line printed (debug on); the new address, "" for no EDID
  } cases[] = {
      {tv.data(), 256, nullptr, 127, nullptr,
       E(Format("\"new_edid_block\" memory block parameter is NULL. Unable to proceed. "
                "new_edid_block:%p",
                nullptr)),
       ""},
      {tv.data(), 256, out.data(), 127, nullptr, E(Format(size.c_str(), 127)), ""},
      {tv.data(), 256, out.data(), 257, &cfg, E(Format(size.c_str(), 257)), ""},
      {tv.data(), 256, out.data(), 0, &cfg, E(Format(size.c_str(), 0)), ""},
      {tv.data(), 256, out.data(), 256, nullptr,
       E(Format("cfg is NULL. Unable to proceed. cfg : %p.", nullptr)), ""},
      {tv.data(), 256, out.data(), 128, &cfg, E("Failed encoding the new edid."), ""},
      {nullptr, 256, out.data(), 256, &cfg,
       T(Format("\"edid_block\" memory block parameter is NULL. Skipping edid reading and "
                "proceeding with creation. edid_block:%p",
                nullptr)),
       "15.15.15.15"},
      {tv.data(), 100, out.data(), 256, &cfg, T(Format(ignored.c_str(), 100)), "15.15.15.15"},
      {tv.data(), 0, out.data(), 256, &cfg, T(Format(ignored.c_str(), 0)), "15.15.15.15"},
      {bad_sum.data(), 256, out.data(), 256, &cfg,
       E("Failed decoding the edid block 0. Continuing."), "15.15.15.15"},
      {base_only.data(), 128, out.data(), 256, &cfg, T("Decode EDID Block 1"), "15.15.15.15"},
      {tv.data(), 256, out.data(), 256, &cfg, T("Decode EDID Block 1"), "1.3.2.0"},
      {three.data(), 384, out.data(), 256, &cfg, T("Decode EDID Block 1"), "2.2.0.0"},
      {three.data(), 256, out.data(), 256, &cfg, T("Decode EDID Block 1"), "2.2.0.0"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.line);
    g_host_calls = 0;
    bool result = !c.address.empty();
    std::vector<std::string> lines;
    {
      DebugOn debug;
      lines = Lines([&] { result = compose_edid(c.edid, c.bytes, c.out, c.size, c.cfg); });
    }
    EXPECT_EQ(result, !c.address.empty());
    EXPECT_THAT(lines, Contains(c.line));
    EXPECT_EQ(g_host_calls == 0, c.address.empty() && c.size != 128);  // refused at once
    if (c.address.empty()) continue;
    PreparedEdid composed;
    DecodeComposed(out, &composed.edid);
    EXPECT_EQ(AddressText(composed.edid.address), c.address);
    ASSERT_GT(spa_offset, 128);  // where the address bytes lie
    EXPECT_EQ(composed.edid.address.a * 16 + composed.edid.address.b, out[spa_offset]);
    EXPECT_EQ(composed.edid.address.c * 16 + composed.edid.address.d, out[spa_offset + 1]);
  }
}

// A platform record's lists and every other byte of it.
std::string Snapshot(platform_values_t *v) {
  std::string text(reinterpret_cast<const char *>(v), sizeof *v);
  for (ll_list_t *list : {&v->video_50_priority, &v->video_50_additional, &v->video_60_priority,
                          &v->video_60_additional})
    text += "|" + Modes(list);
  for (const int32_t *value : edc::elements<int32_t>(&v->audio_list))
    text += "|" + std::to_string(*value);
  for (const std_timing_t *t : edc::elements<std_timing_t>(&v->std_timings))
    text += Format("|%u %u %u", t->h_active, t->aspect_ratio, t->refresh_rate);
  return text;
}

TEST(Compose, ACallersPlatformRecordIsUsedAsItIsAndNoKeyIsRead) {
  SampleConfig config;  // there, and not to be read
  const Bytes tv = CorpusBytes("hdmi3d-000ee288edb2.bin");
  composer_cfg_t cfg = CorpusSettings();
  Bytes out(256);
  PreparedPlatform platform;
  platform_values_t &v = platform.values;
  v.native_refresh_rate = 60;
  v.current_mode_set_to_priority = 1;
  v.native_bit = 1;
  v.is_tv = 1;
  v.product_id = 0x4242;
  v.speaker_entry = 1;
  memcpy(v.manufacturer_id, "ABC", 3);
  memcpy(v.monitor_name, "Caller", 6);
  AddModes(&v.video_60_priority, "4/05 16 2");
  AddModes(&v.video_60_additional, "4/05");
  v.priority_4k_x_2k[0] = 2;
  AddNumbers(&v.audio_list, "0x070709");
  const std::string before = Snapshot(&v);

  g_host_calls = 0;
  bool result = false;
  CaptureStdout([&] { result = compose_edid_internal(tv.data(), 256, out.data(), 256, &cfg, &v); });
  EXPECT_TRUE(result);
  EXPECT_EQ(g_host_calls, 0);
  EXPECT_EQ(Snapshot(&v), before);
  PreparedEdid composed;
  DecodeComposed(out, &composed.edid);
  EXPECT_EQ(composed.edid.product_id, 0x4242u);
  EXPECT_STREQ(composed.edid.manufacturer_id, "ABC");
  EXPECT_EQ(AddressText(composed.edid.address), "2.0.0.0");
  // The television declares 16, 4 and 2, and the 4Kx2K mode 2; 16 is the
  // current mode; no 3D setting, so no 3D structures are written.
  EXPECT_EQ(Modes(&composed.edid.video_list), "16* 4 2 1");
  EXPECT_EQ(composed.edid.hdmi_vic_len, 1);
  EXPECT_EQ(composed.edid.hdmi_vic[0], 2u);

  g_host_calls = 0;  // without a record of its own, the composer reads the configuration
  CaptureStdout([&] { result = compose_edid(tv.data(), 256, out.data(), 256, &cfg); });
  EXPECT_TRUE(result);
  EXPECT_GT(g_host_calls, 26);

  platform_values_t stale{};  // a record never initialised is refused
  g_host_calls = 0;
  EXPECT_THAT(
      Lines([&] { result = compose_edid_internal(tv.data(), 256, out.data(), 256, &cfg, &stale); }),
      Contains(Error("compose_edid_internal",
                     "The passed in platform_values has not been initialized.")));
  EXPECT_FALSE(result);
  EXPECT_EQ(g_host_calls, 0);
}

}  // namespace

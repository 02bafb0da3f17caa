// The new EDID record as _populate_new_edid fills it (identity and fixed
// values, physical address, deep colour, TMDS clock, latencies, 3D,
// tri-states, padding and timings), and the composition entry points: their
// argument checks, a caller's own platform record, a television's EDID that
// is missing, short or broken. Expected values are worked out from the rules.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <regex>
#include <sstream>

#include "capture.h"
#include "corpus.h"
#include "edid_composer_internal.h"
#include "records.h"
#include "scenario.h"
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

TEST(Population, FillsTheNewRecordByTheRules) {
  const auto cases = ReadCases("compose_population.txt");
  ASSERT_EQ(cases.size(), 55u);
  for (const auto &c : cases) {
    SCOPED_TRACE(c.title);
    PreparedEdid sink, composed;
    PreparedPlatform platform;
    ll_list_t selected{};
    ll_init(&selected, "short_video_desc_t");
    Add(&selected, c.Value("modes"));
    std::array<uint32_t, 4> latency{};
    std::istringstream(c.Value("latency")) >> latency[0] >> latency[1] >> latency[2] >> latency[3];
    std::vector<std::string> says, never, record;
    for (const Line &l : c.lines) {
      EXPECT_TRUE(l[0] != "platform" || ApplyRecordLine(l[1], &platform.values)) << l[1];
      EXPECT_TRUE(l[0] != "sink" || ApplyRecordLine(l[1], &sink.edid)) << l[1];
      EXPECT_TRUE(l[0] != "composed" || ApplyRecordLine(l[1], &composed.edid)) << l[1];
      if (l[0] == "says" || l[0] == "never")
        (l[0] == "says" ? says : never)
            .push_back(
                std::regex_replace(ExpectedLine(l[1]), std::regex("%p"), Format("%p", &selected)));
      if (l[0] == "record") record.push_back(l[1]);
    }
    const auto sink_before = RecordLines(&sink.edid);
    uint8_t result = 2;
    std::vector<std::string> lines;
    {
      DebugOn debug;
      lines = Lines([&] {
        result = _populate_new_edid(
            &composed.edid, &selected, &sink.edid, static_cast<uint8_t>(std::stoi(c.Value("port"))),
            std::stoi(c.Value("3d")), c.Value("latency") == "null" ? nullptr : latency.data(),
            &platform.values);
      });
    }
    EXPECT_EQ(std::to_string(result), c.Has("result") ? c.Value("result") : "1");
    EXPECT_EQ(RecordLines(&sink.edid), sink_before);  // read only
    const auto fields = RecordLines(&composed.edid);
    for (const Line &l : c.lines) {  // "expect name value": the line of that name
      const std::string &value = l[1];
      const auto field = std::ranges::find_if(fields, [&](const std::string &line) {
        return line.substr(0, line.find(' ')) == value.substr(0, value.find(' '));
      });
      EXPECT_EQ(l[0] != "expect" || field == fields.end() ? value : *field, value);
    }
    EXPECT_EQ(record.empty() ? record : RecordLines(&composed.edid, true), record);
    const auto optional = [&](const std::string &key, const std::string &actual) {
      EXPECT_EQ(c.Has(key) ? actual : "", c.Value(key)) << key;
    };
    optional("video", Text(&composed.edid.video_list));
    optional("selected", Text(&selected));
    PreparedEdid expected;
    Add(&expected.edid.dtd_list, c.Value("timings"));
    optional("timings", TimingLines(&composed.edid) == TimingLines(&expected.edid)
                            ? c.Value("timings")
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
  const Bytes tv = CorpusBytes("hdmi3d-000ee288edb2.bin");
  std::map<std::string, Bytes> edids = {{"tv", tv},
                                        {"three", CorpusBytes("multi-070277a3592b.bin")},
                                        {"bad_sum", tv},
                                        {"base_only", Bytes(tv.begin(), tv.begin() + 128)}};
  edids["bad_sum"][127] ^= 1;
  Bytes out(256);
  composer_cfg_t cfg = CorpusSettings();
  uint8_t spa_offset = 0;
  cfg.spa_offset = &spa_offset;
  const auto rows = ReadRows("compose_arguments.tsv");
  ASSERT_EQ(rows.size(), 14u);
  for (const Line &row : rows) {
    SCOPED_TRACE(row.text);
    const bool composes = row[6] != "-";
    const auto size = static_cast<uint32_t>(std::stoul(row[3]));
    g_host_calls = 0;
    bool result = !composes;
    std::vector<std::string> lines;
    {
      DebugOn debug;
      lines = Lines([&] {
        result = compose_edid(row[0] == "NULL" ? nullptr : edids[row[0]].data(), std::stoi(row[1]),
                              row[2] == "NULL" ? nullptr : out.data(), size,
                              row[4] == "NULL" ? nullptr : &cfg);
      });
    }
    EXPECT_EQ(result, composes);
    EXPECT_THAT(lines, Contains(std::regex_replace(ExpectedLine(row[5]), std::regex("%p"),
                                                   Format("%p", nullptr))));
    EXPECT_EQ(g_host_calls == 0, !composes && size != 128);  // refused at once
    if (!composes) continue;
    PreparedEdid composed;
    DecodeComposed(out, &composed.edid);
    EXPECT_EQ(AddressText(composed.edid.address), row[6]);
    ASSERT_GT(spa_offset, 128);  // where the address bytes lie
    EXPECT_EQ(composed.edid.address.a * 16 + composed.edid.address.b, out[spa_offset]);
    EXPECT_EQ(composed.edid.address.c * 16 + composed.edid.address.d, out[spa_offset + 1]);
  }
}

// A platform record's lists and every other byte of it.
std::string Snapshot(platform_values_t *v) {
  std::string text(reinterpret_cast<const char *>(v), sizeof *v);
  for (ll_list_t *list : {&v->video_50_priority, &v->video_50_additional, &v->video_60_priority,
                          &v->video_60_additional, &v->audio_list, &v->std_timings})
    text += "|" + Text(list);
  return text;
}

TEST(Compose, ACallersPlatformRecordIsUsedAsItIsAndNoKeyIsRead) {
  SampleConfig config;  // there, and not to be read
  const Bytes tv = CorpusBytes("hdmi3d-000ee288edb2.bin");
  composer_cfg_t cfg = CorpusSettings();
  Bytes out(256);
  PreparedPlatform platform;
  platform_values_t &v = platform.values;
  for (const char *line :
       {"native_refresh_rate 60", "current_mode_set_to_priority 1", "native_bit 1", "is_tv 1",
        "product_id 0x4242", "speaker_entry 1", "manufacturer_id ABC", "monitor_name Caller",
        "video_60_priority 4/05 16 2", "video_60_additional 4/05", "priority_4k_x_2k 2",
        "audio_list 0x070709"})
    EXPECT_TRUE(ApplyRecordLine(line, &v)) << line;
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
  EXPECT_EQ(Text(&composed.edid.video_list), "16* 4 2 1");
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

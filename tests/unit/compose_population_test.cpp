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
#include <functional>
#include <numeric>

#include "capture.h"
#include "compose_records.h"
#include "config_store.h"
#include "edid_builder.h"
#include "edid_composer_internal.h"

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

// One population: the records it reads, then the call.
struct Population {
  PreparedEdid sink, composed;
  PreparedPlatform platform;
  ll_list_t selected{};
  std::array<uint32_t, 4> latency{};
  uint8_t port = 1;
  int32_t setting_3d = 0;
  uint8_t result = 0;
  std::vector<std::string> lines;

  explicit Population(const std::string &modes = "16 4 3 1") {
    ll_init(&selected, "short_video_desc_t");
    AddModes(&selected, modes);
  }
  ~Population() { ll_delete_list(&selected); }
  edid_t &Run(bool debug = false, uint32_t *latencies = nullptr) {
    if (debug) debug_enable(true);
    lines = Lines([&] {
      result =
          _populate_new_edid(&composed.edid, &selected, &sink.edid, port, setting_3d,
                             latencies != nullptr ? latencies : latency.data(), &platform.values);
    });
    debug_enable(false);
    EXPECT_EQ(result, 1);
    return composed.edid;
  }
};

TEST(Population, FillsIdentityFixedValuesAndDefaultsWithoutATelevision) {
  Population p("16 4/05");
  platform_values_t &v = p.platform.values;
  v.product_id = 0x1234;
  v.serial = 0xFFFFFFFF;
  v.week = 300;  // a caller's record: the low 8 bits
  v.year = 2024;
  memcpy(v.manufacturer_id, "EDC", 3);
  memcpy(v.monitor_name, "ABCDEFGHIJKLM", 13);  // as long as it can be
  memcpy(v.monitor_serial, "SN-1", 4);
  v.established_timings_1 = 0x81;
  v.established_timings_2 = 0x0F;
  v.manufacturer_timings = 0x80;
  v.underscan = 5;
  v.speaker_entry = 0x030201;
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  for (std_timing_t timing : {std_timing_t{1920, 3, 60}, std_timing_t{1280, 1, 75}}) {
    ASSERT_TRUE(ll_create_entry(sizeof timing, &entry, &data, "std_timing_t"));
    memcpy(data, &timing, sizeof timing);
    ASSERT_TRUE(ll_add_entry_to_back(&v.std_timings, entry));
  }
  edid_t &composed = p.Run();
  const std::vector<std::string> expected = {
      "product_id 4660",
      "serial 4294967295",
      "week 44",
      "year 2024",
      "version 1",
      "revision 3",
      "digital 1",
      "h_size_cm 160",
      "v_size_cm 90",
      "gamma 120",
      "standard_colorspace 1",
      "preferred_timing 1",
      "red_x 640",
      "red_y 348",
      "green_x 287",
      "green_y 609",
      "blue_x 159",
      "blue_y 72",
      "white_x 290",
      "white_y 305",
      "established_timings_1 161",
      "established_timings_2 15",
      "manufacturer_timings 128",
      "min_v_rate 49",
      "max_v_rate 61",
      "min_h_rate 15",
      "max_h_rate 70",
      "max_pixel_clock 150",
      "underscan 1",
      "basic_audio 1",
      "ycbcr444 1",
      "ycbcr422 1",
      "hdmi_vsdb_present 1",
      "speaker 1 2 3",
      "address 15 15 15 15",
      "manufacturer_id \"EDC\"",
      "monitor_serial \"SN-1\"",
      "monitor_name \"ABCDEFGHIJKLM\"",
      "std_timing 1920 3 60",
      "std_timing 1280 1 75",
      "dtd 1 148500000 1920 280 88 44 0 1080 45 4 5 0 708 398 1 0 1 1",
      "dtd 1 74250000 1280 370 110 40 0 720 30 5 5 0 708 398 1 0 1 1",
      "svd 0 16 0",
      "svd 0 4 5",
      "svd 0 1 0",
      "svd 0 1 0"};
  EXPECT_EQ(RecordLines(&composed, true), expected);
  const std::string padding =
      "The number of video formats to be encoded is less than 4! Padding until 4 is reached. "
      "Check the platform configuration file is correct. Number in the video list:";
  EXPECT_EQ(p.lines, (std::vector<std::string>{Error("_populate_new_edid", padding + "2"),
                                               Error("_populate_new_edid", padding + "3")}));
  EXPECT_EQ(Modes(&p.selected), "16 4/05 1 1");  // padded in place
}

TEST(Population, CopiesTheTelevisionsChromaticityAndLeavesItsRecordAlone) {
  Population p;
  for (const char *line : {"valid 1", "red_x 1", "red_y 2", "green_x 3", "green_y 4", "blue_x 5",
                           "blue_y 6", "white_x 7", "white_y 1023", "svd 1 16 1", "sad 1 2 7 7"})
    ApplyRecordLine(line, &p.sink.edid);
  const auto before = RecordLines(&p.sink.edid);
  edid_t &composed = p.Run();
  EXPECT_EQ(
      std::vector<uint32_t>({composed.red_x, composed.red_y, composed.green_x, composed.green_y,
                             composed.blue_x, composed.blue_y, composed.white_x, composed.white_y}),
      std::vector<uint32_t>({1, 2, 3, 4, 5, 6, 7, 1023}));
  EXPECT_EQ(RecordLines(&p.sink.edid), before);
}

TEST(Population, PhysicalAddressTakesTheFirstFreeNibbleBelowTheTelevision) {
  using Address = std::array<uint8_t, 4>;
  const struct {
    int32_t is_tv;
    uint8_t vsdb;
    Address sink;
    uint8_t port;
    Address address;
    std::string trace;
  } cases[] = {
      {1, 1, {1, 2, 0, 0}, 2, {2, 0, 0, 0}, "\tIs a TV. Using root node. Address:2.0.0.0"},
      {0,
       0,
       {1, 0, 0, 0},
       3,
       {15, 15, 15, 15},
       "\tNo hdmi specific downstream EDID available. Setting SPA to f.f.f.f"},
      {0,
       0,
       {0, 0, 0, 0},
       3,
       {15, 15, 15, 15},
       "\tNo hdmi specific downstream EDID available. Setting SPA to f.f.f.f"},
      {0,
       1,
       {0, 0, 0, 0},
       3,
       {15, 15, 15, 15},
       "\tInvalid downstream EDID SPA starts with 0. Recieved:0.0.0.0"},
      {0,
       1,
       {0, 1, 0, 0},
       3,
       {15, 15, 15, 15},
       "\tInvalid downstream EDID SPA starts with 0. Recieved:0.1.0.0"},
      {0, 1, {1, 0, 0, 0}, 3, {1, 3, 0, 0}, "\tSetting address.b with port:3 Address:1.3.0.0"},
      {0, 1, {1, 0, 2, 0}, 3, {1, 3, 0, 0}, "\tSetting address.b with port:3 Address:1.3.0.0"},
      {0, 1, {1, 2, 0, 0}, 3, {1, 2, 3, 0}, "\tSetting address.c with port:3 Address:1.2.3.0"},
      {0, 1, {1, 2, 3, 0}, 3, {1, 2, 3, 3}, "\tSetting address.d with port:3 Address:1.2.3.3"},
      {0,
       1,
       {1, 2, 3, 4},
       3,
       {15, 15, 15, 15},
       "\tInvalid downstream EDID SPA starts with no room. Recieved: 1.2.3.4"},
      {0, 1, {4, 0, 0, 0}, 15, {4, 15, 0, 0}, "\tSetting address.b with port:15 Address:4.15.0.0"},
  };
  for (const auto &c : cases) {
    SCOPED_TRACE(c.trace);
    Population p;
    p.platform.values.is_tv = c.is_tv;
    p.sink.edid.hdmi_vsdb_present = c.vsdb;
    p.sink.edid.address = {c.sink[0], c.sink[1], c.sink[2], c.sink[3]};
    p.port = c.port;
    const physical_address_t a = p.Run(true).address;
    EXPECT_EQ((Address{a.a, a.b, a.c, a.d}), c.address);
    EXPECT_THAT(p.lines, Contains(Trace("_populate_new_edid", c.trace)));
  }
}

TEST(Population, ThirtyBitDeepColourBringsThirtySixWithAWarning) {
  const std::string warning =
      "The HDMI standard requires 36bit Deep Color to be supported when 30bit or 48bit is "
      "supported. Please correct this in your platform configuration file. DC_30bit:true "
      "DC_36bit:false DC_48bit:false Setting 36bit support to true.";
  const struct {
    int32_t dc_30bit, dc_36bit;
    uint8_t out_30bit, out_36bit;
    bool warned;
  } cases[] = {{0, 0, 0, 0, false},
               {1, 0, 1, 1, true},
               {7, 0, 1, 1, true},
               {0, 1, 0, 1, false},
               {1, 1, 1, 1, false}};
  for (const auto &c : cases) {
    Population p;
    p.platform.values.dc_30bit = c.dc_30bit;
    p.platform.values.dc_36bit = c.dc_36bit;
    edid_t &e = p.Run();
    EXPECT_EQ(std::vector<int>({e.dc_30bit, e.dc_36bit, e.dc_48bit, e.dc_y444, e.dvi_dual}),
              std::vector<int>({c.out_30bit, c.out_36bit, 0, c.out_36bit, 0}))
        << c.dc_30bit << " " << c.dc_36bit;
    EXPECT_EQ(std::count(p.lines.begin(), p.lines.end(), Warning("_populate_new_edid", warning)),
              c.warned ? 1 : 0);
  }
}

TEST(Population, TmdsClockIsOverriddenOrComputedWithAMarginAndCapped) {
  const struct {
    const char *modes;
    int32_t dc_30bit, dc_36bit, tmds_override;
    uint8_t hdmi_vic_len;
    uint32_t mhz;
  } cases[] = {
      {"16 4 1", 0, 0, 0, 0, 0},    // 148.5 MHz, no deep colour, no 4Kx2K: nothing claimed
      {"16", 0, 1, 0, 0, 225},      // 222.75 MHz
      {"16", 1, 0, 0, 0, 225},      // 30 bits brings 36 bits
      {"16", 0, 0, 0, 1, 300},      // 4Kx2K needs 297 MHz
      {"16", 0, 1, 0, 1, 300},      //
      {"63", 0, 1, 0, 1, 450},      // 445.5 MHz; 445 is a multiple of 5 and still gains 5
      {"16/01", 0, 0, 0, 0, 300},   // frame packing: 297 MHz, above 165
      {"35/01", 0, 0, 0, 0, 220},   // 216 MHz
      {"35", 0, 1, 0, 0, 165},      // 162 MHz
      {"16", 0, 0, 300, 0, 300},    // overrides
      {"16", 0, 1, 25, 1, 25},      //
      {"16", 0, 0, 24, 0, 150},     // not an override, but the computation runs
      {"1", 0, 0, 1, 0, 30},        // 25.18 MHz
      {"16", 0, 0, 1275, 0, 1275},  //
      {"16", 0, 0, 2000, 0, 1275},  // a caller's override is capped too
      {"64/81", 0, 1, 0, 0, 1275},  // 3564 MHz, in 64-bit arithmetic, capped
      {"", 0, 0, 0, 0, 0},          // no modes: a clock of 0 (before the padding)
      {"", 0, 1, 0, 0, 5},          //
      {"", 0, 0, 0, 1, 300},
  };
  for (const auto &c : cases) {
    Population p(c.modes);
    p.platform.values.dc_30bit = c.dc_30bit;
    p.platform.values.dc_36bit = c.dc_36bit;
    p.platform.values.tmds_override = c.tmds_override;
    p.composed.edid.hdmi_vic_len = c.hdmi_vic_len;
    EXPECT_EQ(p.Run().max_tmds_clock, c.mhz)
        << c.modes << " dc " << c.dc_30bit << c.dc_36bit << " override " << c.tmds_override
        << " 4k " << int{c.hdmi_vic_len};
  }
}

TEST(Population, LatenciesAddUpWhileEachIsAtMost500) {
  using Four = std::array<uint32_t, 4>;  // video, audio, interlaced video, interlaced audio
  const struct {
    Four device, sink, composed;
  } cases[] = {{{20, 400, 20, 600}, {480, 400, 501, 0}, {500, 800, 65535, 65535}},
               {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}},
               {{10, 20, 30, 40}, {0, 0, 0, 0}, {10, 20, 30, 40}},
               {{500, 500, 0, 0}, {500, 0, 65535, 0}, {1000, 500, 65535, 0}}};
  for (const auto &c : cases) {
    Population p;
    p.latency = c.device;
    p.sink.edid.video_latency = c.sink[0];
    p.sink.edid.audio_latency = c.sink[1];
    p.sink.edid.interlaced_video_latency = c.sink[2];
    p.sink.edid.interlaced_audio_latency = c.sink[3];
    edid_t &e = p.Run();
    EXPECT_EQ((Four{e.video_latency, e.audio_latency, e.interlaced_video_latency,
                    e.interlaced_audio_latency}),
              c.composed)
        << c.device[0] << " + " << c.sink[0];
  }
  Population p;  // no latencies: the identity is copied first, then the call fails
  p.platform.values.product_id = 7;
  p.lines = Lines([&] {
    p.result = _populate_new_edid(&p.composed.edid, &p.selected, &p.sink.edid, 1, 0, nullptr,
                                  &p.platform.values);
  });
  EXPECT_EQ(p.result, 0);
  EXPECT_EQ(p.lines,
            std::vector<std::string>{Error("_populate_new_edid", "Empty edid_latency pointer.")});
  EXPECT_EQ(p.composed.edid.product_id, 7u);
  EXPECT_EQ(p.composed.edid.version, 0);
}

TEST(Population, ThreeDIsOffAsTheTelevisionOrOn) {
  const struct {
    int32_t setting;
    uint8_t sink_3d, hdmi_vic_len, present_3d, hdmi_video_present;
  } cases[] = {{0, 1, 0, 0, 0}, {1, 1, 0, 1, 1}, {1, 0, 0, 0, 0}, {1, 0, 1, 0, 1},
               {2, 0, 0, 1, 1}, {3, 1, 0, 0, 0}, {-1, 1, 2, 0, 1}};
  for (const auto &c : cases) {
    Population p;
    p.setting_3d = c.setting;
    p.sink.edid.present_3d = c.sink_3d;
    p.composed.edid.hdmi_vic_len = c.hdmi_vic_len;
    edid_t &e = p.Run();
    EXPECT_EQ(std::vector<int>({e.present_3d, e.image_size, e.hdmi_video_present}),
              std::vector<int>({c.present_3d, c.present_3d, c.hdmi_video_present}))
        << "setting " << c.setting << " sink " << int{c.sink_3d} << " 4k " << int{c.hdmi_vic_len};
  }
}

TEST(Population, TriStatesAreOffOnOrTheTelevisions) {
  const std::pair<const char *, std::function<void(platform_values_t &, int32_t)>> fields[] = {
      {"supports_ai", [](platform_values_t &v, int32_t x) { v.supports_ai = x; }},
      {"cnc0", [](platform_values_t &v, int32_t x) { v.cnc0 = x; }},
      {"cnc1", [](platform_values_t &v, int32_t x) { v.cnc1 = x; }},
      {"cnc2", [](platform_values_t &v, int32_t x) { v.cnc2 = x; }},
      {"cnc3", [](platform_values_t &v, int32_t x) { v.cnc3 = x; }},
      {"xvycc601", [](platform_values_t &v, int32_t x) { v.xvycc601 = x; }},
      {"xvycc709", [](platform_values_t &v, int32_t x) { v.xvycc709 = x; }}};
  for (const auto &[name, set] : fields)
    for (int32_t setting : {0, 1, 2})
      for (int sink : {0, 1}) {
        Population p;
        set(p.platform.values, setting);
        ApplyRecordLine(std::string(name) + " " + std::to_string(sink), &p.sink.edid);
        p.Run();
        const int expected = setting == 2 ? sink : setting;
        EXPECT_THAT(RecordLines(&p.composed.edid),
                    Contains(std::string(name) + " " + std::to_string(expected)))
            << name << " setting " << setting << " television " << sink;
      }
}

TEST(Population, FewerThanFourModesArePaddedWithVic1AndTheFirstTwoBecomeTimings) {
  const struct {
    const char *selected;
    int reports;
    const char *video, *timings;
  } cases[] = {{"", 4, "1 1 1 1", "1 1"},
               {"16*", 3, "16 1 1 1", "16 1"},
               {"16/05 4/05 5/02 32/05 34", 0, "16/05 4/05 5/02 32/05 34", "16 4"},
               {"5 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 "
                "16 16 16 16 16 16 16 16",
                0,
                "5 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 16 "
                "16 16 16 16 16 16 16 16",
                "5 16"}};  // 35 modes, not cut here
  for (const auto &c : cases) {
    SCOPED_TRACE(c.selected);
    Population p(c.selected);
    edid_t &e = p.Run();
    EXPECT_EQ(Modes(&e.video_list), c.video);
    PreparedEdid expected;
    AddTimings(&expected.edid, c.timings);
    EXPECT_EQ(TimingLines(&e), TimingLines(&expected.edid));
    EXPECT_EQ(std::count_if(p.lines.begin(), p.lines.end(),
                            [](auto &l) { return l.find("Padding until 4 is reached") != l.npos; }),
              c.reports);
  }
  Population p("100 16 1 1");
  p.lines = Lines([&] {
    p.result = _populate_new_edid(&p.composed.edid, &p.selected, &p.sink.edid, 1, 0,
                                  p.latency.data(), &p.platform.values);
  });
  EXPECT_EQ(p.result, 0);
  EXPECT_THAT(p.lines, Contains(Error("_populate_new_edid",
                                      "Error converting vic to dtd. Vic:100:Unknown Value")));
}

// ---------------------------------------------------------------------------
// The entry points

// The sample configuration of examples/, loaded for the object's lifetime.
struct SampleConfig {
  SampleConfig() { EXPECT_EQ(config_store_load_file(EDC_EXAMPLES_DIR "/platform.toml"), 0); }
  ~SampleConfig() { config_store_clear(); }
};

composer_cfg_t Settings() {
  composer_cfg_t cfg{};
  cfg.hdmi_current_mode = {1920, 1080, 0, 60};
  cfg.audio_mask = 0xFFFFFFFF;
  cfg.hdmi_port = 1;  // the second input: port 2
  return cfg;
}

Bytes Corpus(const std::string &name) {
  return ReadFile(CorpusDir() + "/edid/" + name);
}

// Decodes a composed EDID; both checksums must hold.
void DecodeComposed(const Bytes &out, edid_t *edid) {
  ASSERT_EQ(out.size(), 256u);
  for (size_t block : {0, 128})
    EXPECT_EQ(std::accumulate(out.begin() + block, out.begin() + block + 128, 0) % 256, 0);
  CaptureStdout([&] {
    EXPECT_TRUE(decode_edid_block_0(out.data(), edid));
    EXPECT_TRUE(decode_edid_extensions(out.data() + 128, 128, edid));
  });
}

std::string AddressText(const physical_address_t &a) {
  return Format("%d.%d.%d.%d", a.a, a.b, a.c, a.d);
}

TEST(Compose, RefusesUnusableOutputArgumentsBeforeReadingAnything) {
  SampleConfig config;
  const Bytes tv = Corpus("hdmi3d-000ee288edb2.bin");
  composer_cfg_t cfg = Settings();
  Bytes out(300);
  const std::string size_error =
      "New EDID size is not an valid value. Unable to proceed. edid_bytes=%d Expected=256";
  const struct {
    uint8_t *out;
    uint32_t size;
    composer_cfg_t *cfg;
    std::string error;
  } cases[] = {
      {nullptr, 127, nullptr,
       Format("\"new_edid_block\" memory block parameter is NULL. Unable to proceed. "
              "new_edid_block:%p",
              nullptr)},
      {out.data(), 127, nullptr, Format(size_error.c_str(), 127)},
      {out.data(), 257, &cfg, Format(size_error.c_str(), 257)},
      {out.data(), 0, &cfg, Format(size_error.c_str(), 0)},
      {out.data(), 256, nullptr, Format("cfg is NULL. Unable to proceed. cfg : %p.", nullptr)}};
  for (const auto &c : cases) {
    g_host_calls = 0;
    bool result = true;
    const auto lines = Lines([&] { result = compose_edid(tv.data(), 256, c.out, c.size, c.cfg); });
    EXPECT_FALSE(result) << c.error;
    EXPECT_EQ(lines, std::vector<std::string>{Error("compose_edid_internal", c.error)});
    EXPECT_EQ(g_host_calls, 0) << c.error;
  }
  EXPECT_EQ(out, Bytes(300));
  bool result = true;  // 128 passes the checks; the encoder writes 256 bytes only
  EXPECT_THAT(Lines([&] { result = compose_edid(tv.data(), 256, out.data(), 128, &cfg); }),
              Contains(Error("compose_edid_internal", "Failed encoding the new edid.")));
  EXPECT_FALSE(result);
}

TEST(Compose, GoesOnWithoutTheTelevisionsEdidWhenItIsMissingShortOrBroken) {
  SampleConfig config;
  const Bytes tv = Corpus("hdmi3d-000ee288edb2.bin"), three = Corpus("multi-070277a3592b.bin");
  Bytes bad_sum = tv, base_only(tv.begin(), tv.begin() + 128);  // announces an extension
  bad_sum[127] ^= 1;
  const struct {
    const uint8_t *edid;
    int32_t bytes;
    std::string line, address;  // a line printed (debug on); the new address
  } cases[] = {
      {nullptr, 256,
       Trace("compose_edid_internal",
             Format("\"edid_block\" memory block parameter is NULL. Skipping edid reading and "
                    "proceeding with creation. edid_block:%p",
                    nullptr)),
       "15.15.15.15"},
      {tv.data(), 100,
       Trace("compose_edid_internal",
             "Edid is not an valid value. edid_bytes=100 Range=(128-256) Skipping edid reading "
             "and proceeding with creation."),
       "15.15.15.15"},
      {tv.data(), 0,
       Trace("compose_edid_internal",
             "Edid is not an valid value. edid_bytes=0 Range=(128-256) Skipping edid reading and "
             "proceeding with creation."),
       "15.15.15.15"},
      {bad_sum.data(), 256,
       Error("compose_edid_internal", "Failed decoding the edid block 0. Continuing."),
       "15.15.15.15"},
      {base_only.data(), 128, Trace("compose_edid_internal", "Decode EDID Block 0"), "15.15.15.15"},
      {tv.data(), 256, Trace("compose_edid_internal", "Decode EDID Block 1"), "1.3.2.0"},
      {three.data(), 384, Trace("compose_edid_internal", "Decode EDID Block 1"), "2.2.0.0"},
      {three.data(), 256, Trace("compose_edid_internal", "Decode EDID Block 1"), "2.2.0.0"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.line);
    composer_cfg_t cfg = Settings();
    uint8_t spa_offset = 0;
    cfg.spa_offset = &spa_offset;
    Bytes out(256);
    bool result = false;
    std::vector<std::string> lines;
    {
      DebugOn debug;
      lines = Lines([&] { result = compose_edid(c.edid, c.bytes, out.data(), 256, &cfg); });
    }
    EXPECT_TRUE(result);
    EXPECT_THAT(lines, Contains(c.line));
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
  for (int32_t value : Elements<int32_t>(&v->audio_list)) text += "|" + std::to_string(value);
  for (const auto &t : Elements<std_timing_t>(&v->std_timings))
    text += Format("|%u %u %u", t.h_active, t.aspect_ratio, t.refresh_rate);
  return text;
}

TEST(Compose, ACallersPlatformRecordIsUsedAsItIsAndNoKeyIsRead) {
  SampleConfig config;  // there, and not to be read
  const Bytes tv = Corpus("hdmi3d-000ee288edb2.bin");
  composer_cfg_t cfg = Settings();
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
  const int32_t pcm = 0x070709;
  ll_entry_t *entry = nullptr;
  void *data = nullptr;
  ASSERT_TRUE(ll_create_entry(4, &entry, &data, "int"));
  memcpy(data, &pcm, 4);
  ASSERT_TRUE(ll_add_entry_to_back(&v.audio_list, entry));
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

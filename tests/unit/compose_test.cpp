// The composer through its own functions, on records built by hand, every
// expected value worked out from the rules (tests/data/compose_*): the video
// modes, the height, pixel clock and 4Kx2K limits, the audio formats; the new
// record as _populate_new_edid fills it; the entry points' arguments, and a
// caller's own platform record.
#include "edc_test.h"
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
#define EDC_COUNTED(name, params, args) \
  int32_t __real_##name params; int32_t __wrap_##name params { ++g_host_calls; return __real_##name args; }
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

TEST(VideoModes, SelectedByNativeRatePriorityGeometryAndCurrentMode) {
  const auto cases = ReadCases("compose_video_modes.txt");
  ASSERT_EQ(cases.size(), 25u);
  DebugOn debug;  // the traces are part of what is checked
  for (const auto &c : cases) {
    SCOPED_TRACE(c.title);
    PreparedEdid sink;
    PreparedPlatform platform;
    platform_values_t &p = platform.values;
    for (const Line &l : c.lines) {
      ApplyRecordLine(l.text, &p);  // the lines that are the platform's
      if (l[0] == "dtds") Add(&sink.edid.dtd_list, l[1]);
      if (l[0] == "svds") Add(&sink.edid.video_list, l[1]);
      EXPECT_TRUE(l[0] != "sink" || ApplyRecordLine(l[1], &sink.edid)) << l[1];
    }
    hdmi_mode_t current{};
    std::istringstream(c.Value("current")) >> current.width >> current.height >>
        current.interlaced >> current.refresh_rate;

    int32_t rate = 0;
    Capture([&] { rate = _determine_tv_native_refresh_rate(&sink.edid, &p); });
    EXPECT_EQ(std::to_string(rate), c.Value("rate"));
    ll_list_t selected{};
    ASSERT_TRUE(ll_init(&selected, "short_video_desc_t"));
    uint32_t result = 0;
    const auto lines =
        Lines([&] { result = _filter_video_modes(&sink.edid, &current, &selected, &p); });
    EXPECT_EQ(result, 1u);
    EXPECT_EQ(Text(&selected), c.Value("expect"));
    EXPECT_EQ(FirstMissing(lines, c.Expected("says")), "");
    ll_delete_list(&selected);
  }
}

TEST(VideoModes, CurrentModeIsPlausibleWithinInclusiveBounds) {
  for (const Line &row : ReadTable("compose_limits.txt", "a plausible current mode")) {
    hdmi_mode_t mode{};
    std::istringstream(row.text) >> mode.width >> mode.height >> mode.interlaced >>
        mode.refresh_rate;
    EXPECT_EQ(std::to_string(_valid_current_mode(&mode)), row[4]) << row.text;
  }
  EXPECT_EQ(_valid_current_mode(nullptr), 0);
}

TEST(VideoModes, CombineAppendsCopiesWithoutNativeFlagsAndNamesTheTargetInRefusals) {
  ll_list_t target{}, extra{}, stale{};
  ll_init(&target, "short_video_desc_t");
  ll_init(&extra, "short_video_desc_t");
  Add(&target, "16");
  Add(&extra, "16* 4/05");
  EXPECT_EQ(_combine_lists(&target, &extra), 1);
  EXPECT_EQ(Text(&target), "16 16 4/05");
  Transcript t;  // the refusals, which leave the target as it is
  t.Name(&target, "target");
  t.Name(&stale, "stale");
  t.Call("_combine_lists(NULL, extra)", [&] { return _combine_lists(nullptr, &extra); });
  t.Call("_combine_lists(stale, extra)", [&] { return _combine_lists(&stale, &extra); });
  t.Call("_combine_lists(target, NULL)", [&] { return _combine_lists(&target, nullptr); });
  t.Call("_combine_lists(target, stale)", [&] { return _combine_lists(&target, &stale); });
  ExpectGolden("combine_lists.txt", t.Text());
  EXPECT_EQ(Text(&target), "16 16 4/05");
  ll_delete_list(&target);
  ll_delete_list(&extra);
}

// A list of modes, the lines printed while fn ran on it, and the list after.
std::vector<std::string> OnModes(const std::string &modes,
                                 const std::function<void(ll_list_t *)> &fn,
                                 std::string *after = nullptr) {
  ll_list_t list{};
  ll_init(&list, "short_video_desc_t");
  Add(&list, modes);
  const auto lines = Lines([&] { fn(&list); });
  if (after != nullptr) *after = Text(&list);
  ll_delete_list(&list);
  return lines;
}

// How often function reported that VIC 100, which the table lacks, has no timing.
long UnknownVicReports(const std::vector<std::string> &lines, const std::string &function) {
  return std::count(lines.begin(), lines.end(),
                    ExpectedLine("BUG " + function + " \\tFailed converting VIC:100 to a DTD."));
}

TEST(Limits, HeightIsTheFrameHeightAndOnlyTallerModesGo) {
  for (const Line &row :
       ReadTable("compose_limits.txt",
                 "the largest frame height, and the modes that a height limit keeps")) {
    int32_t largest = -1;
    const auto lines =
        OnModes(row[0], [&](ll_list_t *list) { largest = _find_largest_height(list); });
    EXPECT_EQ(std::to_string(largest), row[1]) << row[0];
    std::string kept;
    OnModes(
        row[0], [&](ll_list_t *list) { _remove_larger_height_modes(std::stoul(row[2]), list); },
        &kept);
    EXPECT_EQ(kept, row[3]) << row[0];
    EXPECT_EQ(UnknownVicReports(lines, "_find_largest_height"), row[0].starts_with("100"));
  }
}

TEST(Limits, PixelClockDoublesForMostStereoAndQuadruplesForDepthWithGraphics) {
  for (const Line &row : ReadTable("compose_limits.txt", "the largest pixel clock")) {
    uint32_t clock = 0;
    const auto lines =
        OnModes(row[0], [&](ll_list_t *list) { clock = _maximum_pixel_clock(list); });
    EXPECT_EQ(std::to_string(clock), row[1]) << row[0];
    EXPECT_EQ(UnknownVicReports(lines, "_maximum_pixel_clock"), row[0].starts_with("100"));
  }
}

TEST(Limits, FourKModesFollowThePriorityListWithinTheTelevisionsAndTheAdditions) {
  for (const Line &row : ReadTable("compose_limits.txt", "4Kx2K modes")) {
    PreparedEdid sink, composed;
    PreparedPlatform platform;
    sink.edid.hdmi_vic_len = static_cast<uint8_t>(std::stoul(row[0]));
    std::array<uint32_t, 7> vics[4] = {};  // the television's, addition, priority, offered
    size_t count[4] = {};
    for (int i = 0; i < 4; ++i)
      for (std::istringstream in(row[i + 1]); count[i] < 7 && in >> vics[i][count[i]];) ++count[i];
    memcpy(sink.edid.hdmi_vic, vics[0].data(), sizeof sink.edid.hdmi_vic);
    memcpy(platform.values.addition_4k_x_2k, vics[1].data(), sizeof vics[1]);
    memcpy(platform.values.priority_4k_x_2k, vics[2].data(), sizeof vics[2]);
    composed.edid.hdmi_vic_len = 5;
    for (uint32_t &vic : composed.edid.hdmi_vic) vic = 9;  // cleared first
    uint8_t result = 0;
    Capture([&] { result = _filter_4k_modes(&sink.edid, &composed.edid, &platform.values); });
    EXPECT_EQ(result, 1);
    EXPECT_EQ(composed.edid.hdmi_vic_len, count[3]) << row.text;
    EXPECT_EQ(std::to_array(composed.edid.hdmi_vic), vics[3]) << row.text;
  }
}

TEST(Audio, MaskBitsAndTheirWords) {
  std::string out = "# _audio_type_to_audio_mask(code) for the codes 0 to 19 and 0xFFFFFFFF\n";
  for (uint32_t code = 0; code <= 20; ++code) {
    const uint32_t c = code < 20 ? code : 0xFFFFFFFF;
    out += Format("%u -> 0x%X\n", c, _audio_type_to_audio_mask(c));
  }
  out += "# print_edid_audio_mask(mask)\n";
  for (uint32_t mask : {0u, 0xFFFFFFFFu, 0x201u, 0x203u, 0x1FFFFu, 0xFFFE0000u})
    out += Normalize(Capture([&] { print_edid_audio_mask(mask); }));
  ExpectGolden("audio_masks.txt", out);

  ll_list_t list{};
  ll_init(&list, "short_audio_desc_t");
  EXPECT_EQ(_create_audio_mask(&list), 0u);
  Add(&list, "1 2 7 7, 2 6 7 0 640, 15 2 7, 18 2 7, 0 2 7");
  EXPECT_EQ(_create_audio_mask(&list), 0x10003u);
  ll_delete_list(&list);
}

TEST(Audio, FormatsByPassThroughModeSinkFilterAndMaskWithBasicAudioFirst) {
  const auto cases = ReadCases("compose_audio.txt");
  ASSERT_EQ(cases.size(), 34u);
  DebugOn debug;
  for (const auto &c : cases) {
    SCOPED_TRACE(c.title);
    PreparedEdid sink, composed;
    PreparedPlatform platform;
    Add(&sink.edid.audio_list, c.Value("sink"));
    Add(&composed.edid.audio_list, c.Value("list"));
    short_audio_desc_t format = AudioDesc(c.Value("format"));
    const uint32_t mask = std::stoul(c.Value("mask"), nullptr, 0);
    for (const Line &l : c.lines) ApplyRecordLine(l.text, &platform.values);  // audio_list, ...
    std::string result;
    const auto lines = Lines([&] {
      if (c.Value("call") == "in_list")
        result = _audio_format_in_list(&composed.edid.audio_list, &format) ? "true" : "false";
      if (c.Value("call") == "in_sink") {
        result = _audio_format_in_downstream_sink(&sink.edid, &format) ? "true " : "false ";
        result += AudioText(format);
      }
      if (c.Value("call") == "mask") _filter_audio_list_with_mask(&composed.edid.audio_list, mask);
      if (c.Value("call") == "filter" &&
          !_filter_audio_formats(&sink.edid, mask, c.Value("filter") == "1",
                                 &composed.edid.audio_list, &platform.values))
        result = "failed";
    });
    EXPECT_EQ(result.empty() ? Text(&composed.edid.audio_list) : result, c.Value("expect"));
    EXPECT_EQ(FirstMissing(lines, c.Expected("says")), "");
  }
}

// The new record ----------------------------------------------------------------------------------

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
    for (const Line &l : c.lines) {
      EXPECT_TRUE(l[0] != "platform" || ApplyRecordLine(l[1], &platform.values)) << l[1];
      EXPECT_TRUE(l[0] != "sink" || ApplyRecordLine(l[1], &sink.edid)) << l[1];
      EXPECT_TRUE(l[0] != "composed" || ApplyRecordLine(l[1], &composed.edid)) << l[1];
    }
    const auto sink_before = RecordLines(&sink.edid);
    uint8_t result = 2;
    const auto lines = Lines(
        [&] {
          result = _populate_new_edid(
              &composed.edid, &selected, &sink.edid,
              static_cast<uint8_t>(std::stoi(c.Value("port"))), std::stoi(c.Value("3d")),
              c.Value("latency") == "null" ? nullptr : latency.data(), &platform.values);
        },
        true);
    EXPECT_EQ(std::to_string(result), c.Has("result") ? c.Value("result") : "1");
    EXPECT_EQ(RecordLines(&sink.edid), sink_before);  // read only
    for (const auto &line : c.Values("expect"))
      EXPECT_THAT(RecordLines(&composed.edid), Contains(line));
    const auto record = c.Values("record");
    EXPECT_EQ(record.empty() ? record : RecordLines(&composed.edid, true), record);
    const auto optional = [&](const std::string &key, const std::string &actual) {
      EXPECT_EQ(c.Has(key) ? actual : "", c.Value(key)) << key;
    };
    optional("video", Text(&composed.edid.video_list));
    optional("selected", Text(&selected));
    PreparedEdid expected;
    Add(&expected.edid.dtd_list, c.Value("timings"));
    optional("timings", Text(&composed.edid.dtd_list) == Text(&expected.edid.dtd_list)
                            ? c.Value("timings")
                            : "other timings");
    EXPECT_EQ(FirstMissing(lines, c.Expected("says", &selected)), "");
    for (const auto &line : c.Expected("never", &selected))
      EXPECT_THAT(lines, testing::Not(Contains(line)));
    ll_delete_list(&selected);
  }
}

// The entry points --------------------------------------------------------------------------------

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
    const auto lines = Lines(
        [&] {
          result = compose_edid(row[0] == "NULL" ? nullptr : edids[row[0]].data(),
                                std::stoi(row[1]), row[2] == "NULL" ? nullptr : out.data(), size,
                                row[4] == "NULL" ? nullptr : &cfg);
        },
        true);
    EXPECT_EQ(result, composes);
    EXPECT_THAT(lines, Contains(ExpectedLine(row[5])));
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
  Capture([&] { result = compose_edid_internal(tv.data(), 256, out.data(), 256, &cfg, &v); });
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
  Capture([&] { result = compose_edid(tv.data(), 256, out.data(), 256, &cfg); });
  EXPECT_TRUE(result);
  EXPECT_GT(g_host_calls, 26);

  platform_values_t stale{};  // a record never initialised is refused
  g_host_calls = 0;
  EXPECT_THAT(
      Lines([&] { result = compose_edid_internal(tv.data(), 256, out.data(), 256, &cfg, &stale); }),
      Contains(ExpectedLine(
          "ERROR compose_edid_internal The passed in platform_values has not been initialized.")));
  EXPECT_FALSE(result);
  EXPECT_EQ(g_host_calls, 0);
}

}  // namespace

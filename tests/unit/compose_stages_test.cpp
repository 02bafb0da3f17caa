// The composer's selection stages through their own functions, with records
// built by hand: video modes (cases in tests/data/compose_video_modes.txt),
// the height, pixel clock and 4Kx2K limits, and the audio formats (cases in
// tests/data/compose_audio.txt). Every expected value is worked out from the
// rules, not taken from a run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <sstream>

#include "capture.h"
#include "compose_records.h"
#include "edid_builder.h"
#include "edid_composer_internal.h"

using namespace edc_test;  // NOLINT: record and line helpers throughout
using testing::Contains;

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
    std::vector<std::string> says;
    for (const auto &[key, value] : c.lines) {
      if (key == "dtds") AddTimings(&sink.edid, value);
      if (key == "svds") AddModes(&sink.edid.video_list, value);
      EXPECT_TRUE(key != "sink" || ApplyRecordLine(value, &sink.edid)) << value;
      if (key == "says") says.push_back(ExpectedLine(value));
    }
    AddModes(&p.video_60_priority, c.Get("60_priority"));
    AddModes(&p.video_60_additional, c.Get("60_addition"));
    AddModes(&p.video_50_priority, c.Get("50_priority"));
    AddModes(&p.video_50_additional, c.Get("50_addition"));
    p.native_refresh_rate = std::stoi(c.Get("native_refresh_rate"));
    p.current_mode_set_to_priority = std::stoi(c.Get("current_mode_set_to_priority"));
    p.geometry_limit = c.Get("geometry_limit") == "1";
    hdmi_mode_t current{};
    std::istringstream(c.Get("current")) >> current.width >> current.height >> current.interlaced >>
        current.refresh_rate;

    int32_t rate = 0;
    CaptureStdout([&] { rate = _determine_tv_native_refresh_rate(&sink.edid, &p); });
    EXPECT_EQ(std::to_string(rate), c.Get("rate"));
    ll_list_t selected{};
    ASSERT_TRUE(ll_init(&selected, "short_video_desc_t"));
    uint32_t result = 0;
    const auto lines =
        Lines([&] { result = _filter_video_modes(&sink.edid, &current, &selected, &p); });
    EXPECT_EQ(result, 1u);
    EXPECT_EQ(Modes(&selected), c.Get("expect"));
    EXPECT_EQ(FirstMissing(lines, says), "");
    ll_delete_list(&selected);
  }
}

TEST(VideoModes, CurrentModeIsPlausibleWithinInclusiveBounds) {
  const struct {
    hdmi_mode_t mode;  // width, height, interlaced, refresh
    uint8_t plausible;
  } cases[] = {{{400, 100, 0, 20}, 1},    {{16000, 8000, 1, 1000}, 1}, {{399, 100, 0, 20}, 0},
               {{16001, 8000, 0, 60}, 0}, {{1920, 99, 0, 60}, 0},      {{1920, 8001, 0, 60}, 0},
               {{1920, 1080, 0, 19}, 0},  {{1920, 1080, 0, 1001}, 0},  {{1920, 1080, 2, 60}, 0}};
  for (auto c : cases)
    EXPECT_EQ(_valid_current_mode(&c.mode), c.plausible)
        << c.mode.width << "x" << c.mode.height << " " << c.mode.interlaced << " "
        << c.mode.refresh_rate;
  EXPECT_EQ(_valid_current_mode(nullptr), 0);
}

TEST(VideoModes, CombineAppendsCopiesWithoutNativeFlagsAndNamesTheTargetInRefusals) {
  ll_list_t target{}, extra{}, stale{};
  ll_init(&target, "short_video_desc_t");
  ll_init(&extra, "short_video_desc_t");
  AddModes(&target, "16");
  AddModes(&extra, "16* 4/05");
  EXPECT_EQ(_combine_lists(&target, &extra), 1);
  EXPECT_EQ(Modes(&target), "16 16 4/05");
  const struct {
    ll_list_t *vic_list, *extra_list;
    std::string line;
  } refusals[] = {
      {nullptr, &extra, Error("_combine_lists", Format("vic_list is NULL. ptr=%p", nullptr))},
      {&stale, &extra,
       Error("_combine_lists", Format("vic_list has not been initialized. ptr=%p", &stale))},
      {&target, nullptr, Warning("_combine_lists", Format("extra_list is NULL. ptr=%p", &target))},
      {&target, &stale,
       Error("_combine_lists", Format("extra_list has not been initialized. ptr=%p", &target))}};
  for (const auto &r : refusals) {
    uint8_t result = 1;
    EXPECT_THAT(Lines([&] { result = _combine_lists(r.vic_list, r.extra_list); }),
                Contains(r.line));
    EXPECT_EQ(result, 0) << r.line;
  }
  EXPECT_EQ(Modes(&target), "16 16 4/05");
  ll_delete_list(&target);
  ll_delete_list(&extra);
}

// A list of modes, the lines printed while fn ran on it, and the list after.
std::vector<std::string> OnModes(const std::string &modes,
                                 const std::function<void(ll_list_t *)> &fn,
                                 std::string *after = nullptr) {
  ll_list_t list{};
  ll_init(&list, "short_video_desc_t");
  AddModes(&list, modes);
  const auto lines = Lines([&] { fn(&list); });
  if (after != nullptr) *after = Modes(&list);
  ll_delete_list(&list);
  return lines;
}

TEST(Limits, HeightIsTheFrameHeightAndOnlyTallerModesGo) {
  const struct {
    const char *modes;
    int32_t largest;
    uint32_t limit;
    const char *kept;
  } cases[] = {{"", 0, 0, ""},
               {"5 4", 1080, 720, "4"},                   // 1080i is 540 lines a field
               {"4 6", 720, 480, "6"},                    // 480i: 240 lines a field
               {"6 21 1", 576, 480, "6 1"},               // 576i goes
               {"16 5 20 39", 1080, 1080, "16 5 20 39"},  // as tall as the limit: stays
               {"100 4 1", 720, 0, "100"}};               // no timing: reported and kept
  for (const auto &c : cases) {
    int32_t largest = -1;
    const auto lines =
        OnModes(c.modes, [&](ll_list_t *list) { largest = _find_largest_height(list); });
    EXPECT_EQ(largest, c.largest) << c.modes;
    std::string kept;
    OnModes(
        c.modes, [&](ll_list_t *list) { _remove_larger_height_modes(c.limit, list); }, &kept);
    EXPECT_EQ(kept, c.kept) << c.modes;
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         Bug("_find_largest_height", "\tFailed converting VIC:100 to a DTD.")),
              c.modes[0] == '1' && c.modes[1] == '0');
  }
}

TEST(Limits, PixelClockDoublesForMostStereoAndQuadruplesForDepthWithGraphics) {
  // clang-format off
  const struct {
    const char *modes;
    uint32_t clock;
  } cases[] = {{"16", 148500000}, {"16/01", 297000000}, {"16/08", 297000000}, {"16/10", 297000000},
               {"16/20", 297000000}, {"16/40", 297000000}, {"16/06", 148500000},
               {"16/80", 594000000}, {"16/81", 1188000000}, {"1 4/02 16 19/04", 148500000},
               {"16/81 64/81", 2376000000u},  // unsigned throughout
               {"100 1", 25180000}};
  // clang-format on
  for (const auto &c : cases) {
    uint32_t clock = 0;
    const auto lines =
        OnModes(c.modes, [&](ll_list_t *list) { clock = _maximum_pixel_clock(list); });
    EXPECT_EQ(clock, c.clock) << c.modes;
    if (std::string(c.modes).starts_with("100")) {
      EXPECT_THAT(lines,
                  Contains(Bug("_maximum_pixel_clock", "\tFailed converting VIC:100 to a DTD.")));
    }
  }
}

TEST(Limits, FourKModesFollowThePriorityListWithinTheTelevisionsAndTheAdditions) {
  using Vics = std::array<uint32_t, 7>;
  const struct {
    uint8_t sink_len;
    Vics sink, addition, priority;
    std::vector<uint32_t> offered;
  } cases[] = {
      {2, {1, 3}, {4}, {4, 2, 1}, {4, 1}},
      {4, {1, 2, 3, 4}, {}, {}, {}},    // no priority list, nothing offered
      {1, {1}, {}, {1, 1}, {1, 1}},     // twice in the priority list: twice
      {0, {}, {2}, {1}, {}},            // an addition outside the priority list
      {2, {1, 2}, {}, {1, 0, 2}, {1}},  // the first 0 ends a list
      {0, {}, {0, 2}, {2}, {}},
      {9, {1, 1, 1, 1, 1, 1, 2}, {}, {2, 3}, {2}},  // a count above 7 is capped
      {4, {1, 2, 3, 4}, {}, {4, 3, 2, 1, 4, 3, 2}, {4, 3, 2, 1, 4, 3, 2}},
  };
  for (const auto &c : cases) {
    PreparedEdid sink, composed;
    PreparedPlatform platform;
    sink.edid.hdmi_vic_len = c.sink_len;
    memcpy(sink.edid.hdmi_vic, c.sink.data(), sizeof sink.edid.hdmi_vic);
    memcpy(platform.values.addition_4k_x_2k, c.addition.data(), sizeof c.addition);
    memcpy(platform.values.priority_4k_x_2k, c.priority.data(), sizeof c.priority);
    composed.edid.hdmi_vic_len = 5;
    for (uint32_t &vic : composed.edid.hdmi_vic) vic = 9;  // cleared first
    uint8_t result = 0;
    CaptureStdout([&] { result = _filter_4k_modes(&sink.edid, &composed.edid, &platform.values); });
    EXPECT_EQ(result, 1);
    Vics expected{};
    std::copy(c.offered.begin(), c.offered.end(), expected.begin());
    EXPECT_EQ(composed.edid.hdmi_vic_len, c.offered.size()) << c.priority[0];
    EXPECT_EQ(std::to_array(composed.edid.hdmi_vic), expected) << c.priority[0];
  }
}

TEST(Audio, MaskBitsAndTheirWords) {
  const uint32_t bits[] = {0,      0x1,  0x2,    0x4,    0x8,     0x10,  0x20,
                           0x40,   0x80, 0x100,  0x200,  0x400,   0x800, 0x1000,
                           0x2000, 0,    0x4000, 0x8000, 0x10000, 0};  // codes 0 to 19
  for (uint32_t code = 0; code < std::size(bits); ++code)
    EXPECT_EQ(_audio_type_to_audio_mask(code), bits[code]) << code;
  EXPECT_EQ(_audio_type_to_audio_mask(0xFFFFFFFF), 0u);

  const std::pair<uint32_t, std::string> masks[] = {
      {0, "No audio formats"},
      {0xFFFFFFFF, "All audio formats supported"},
      {0x201, "pcm ac3 "},
      {0x203, "pcm ac3 ac3 "},
      {0x1FFFF,
       "pcm ac3 mpeg1 mp3 mpeg2 aac dts atrac dsd ac3 dts_hd mlp dst wma_pro he_aac he_aac2 "
       "mpeg_surround "},
      {0xFFFE0000, ""}};
  for (const auto &m : masks)
    EXPECT_EQ(Lines([&] { print_edid_audio_mask(m.first); }),
              std::vector<std::string>{Format("EDID: Audio mask: 0x%08X => ", m.first) + m.second});

  ll_list_t list{};
  ll_init(&list, "short_audio_desc_t");
  EXPECT_EQ(_create_audio_mask(&list), 0u);
  AddAudio(&list, "1 2 7 7, 2 6 7 0 640, 15 2 7, 18 2 7, 0 2 7");
  EXPECT_EQ(_create_audio_mask(&list), 0x10003u);
  ll_delete_list(&list);
}

TEST(Audio, FormatsByPassThroughModeSinkFilterAndMaskWithBasicAudioFirst) {
  const auto cases = ReadCases("compose_audio.txt");
  ASSERT_EQ(cases.size(), 34u);
  DebugOn debug;
  for (const auto &c : cases) {
    SCOPED_TRACE(c.title);
    const auto value = [&](const std::string &key) { return c.Get(key) == "-" ? "" : c.Get(key); };
    PreparedEdid sink, composed;
    PreparedPlatform platform;
    AddAudio(&sink.edid.audio_list, value("sink"));
    AddAudio(&composed.edid.audio_list, value("list"));
    AddNumbers(&platform.values.audio_list, value("platform"));
    platform.values.audio_pass_through = std::stoi(c.Get("pass_through"));
    short_audio_desc_t format = AudioDesc(value("format"));
    const uint32_t mask = std::stoul(c.Get("mask"), nullptr, 0);
    std::vector<std::string> says;
    for (const auto &[key, text] : c.lines)
      if (key == "says") says.push_back(ExpectedLine(text));
    std::string result;
    const auto lines = Lines([&] {
      if (c.Get("call") == "in_list")
        result = _audio_format_in_list(&composed.edid.audio_list, &format) ? "true" : "false";
      if (c.Get("call") == "in_sink") {
        result = _audio_format_in_downstream_sink(&sink.edid, &format) ? "true " : "false ";
        result += AudioText(format);
      }
      if (c.Get("call") == "mask") _filter_audio_list_with_mask(&composed.edid.audio_list, mask);
      if (c.Get("call") == "filter" &&
          !_filter_audio_formats(&sink.edid, mask, c.Get("filter") == "1",
                                 &composed.edid.audio_list, &platform.values))
        result = "failed";
    });
    EXPECT_EQ(result.empty() ? Audio(&composed.edid.audio_list) : result, value("expect"));
    EXPECT_EQ(FirstMissing(lines, says), "");
  }
}

}  // namespace

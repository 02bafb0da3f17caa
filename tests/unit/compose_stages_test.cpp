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
#include <functional>
#include <sstream>

#include "capture.h"
#include "edid_composer_internal.h"
#include "golden.h"
#include "records.h"
#include "scenario.h"

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
    for (const Line &l : c.lines) {
      ApplyRecordLine(l.text, &p);  // the lines that are the platform's
      if (l[0] == "dtds") Add(&sink.edid.dtd_list, l[1]);
      if (l[0] == "svds") Add(&sink.edid.video_list, l[1]);
      EXPECT_TRUE(l[0] != "sink" || ApplyRecordLine(l[1], &sink.edid)) << l[1];
      if (l[0] == "says") says.push_back(ExpectedLine(l[1]));
    }
    hdmi_mode_t current{};
    std::istringstream(c.Value("current")) >> current.width >> current.height >>
        current.interlaced >> current.refresh_rate;

    int32_t rate = 0;
    CaptureStdout([&] { rate = _determine_tv_native_refresh_rate(&sink.edid, &p); });
    EXPECT_EQ(std::to_string(rate), c.Value("rate"));
    ll_list_t selected{};
    ASSERT_TRUE(ll_init(&selected, "short_video_desc_t"));
    uint32_t result = 0;
    const auto lines =
        Lines([&] { result = _filter_video_modes(&sink.edid, &current, &selected, &p); });
    EXPECT_EQ(result, 1u);
    EXPECT_EQ(Text(&selected), c.Value("expect"));
    EXPECT_EQ(FirstMissing(lines, says), "");
    ll_delete_list(&selected);
  }
}

std::vector<Line> Limits(const std::string &title) {
  return ReadTable("compose_limits.txt", title);
}

TEST(VideoModes, CurrentModeIsPlausibleWithinInclusiveBounds) {
  for (const Line &row : Limits("a plausible current mode")) {
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

TEST(Limits, HeightIsTheFrameHeightAndOnlyTallerModesGo) {
  for (const Line &row :
       Limits("the largest frame height, and the modes that a height limit keeps")) {
    int32_t largest = -1;
    const auto lines =
        OnModes(row[0], [&](ll_list_t *list) { largest = _find_largest_height(list); });
    EXPECT_EQ(std::to_string(largest), row[1]) << row[0];
    std::string kept;
    OnModes(
        row[0], [&](ll_list_t *list) { _remove_larger_height_modes(std::stoul(row[2]), list); },
        &kept);
    EXPECT_EQ(kept, row[3]) << row[0];
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         Bug("_find_largest_height", "\tFailed converting VIC:100 to a DTD.")),
              row[0].starts_with("100"));
  }
}

TEST(Limits, PixelClockDoublesForMostStereoAndQuadruplesForDepthWithGraphics) {
  for (const Line &row : Limits("the largest pixel clock")) {
    uint32_t clock = 0;
    const auto lines =
        OnModes(row[0], [&](ll_list_t *list) { clock = _maximum_pixel_clock(list); });
    EXPECT_EQ(std::to_string(clock), row[1]) << row[0];
    EXPECT_EQ(std::count(lines.begin(), lines.end(),
                         Bug("_maximum_pixel_clock", "\tFailed converting VIC:100 to a DTD.")),
              row[0].starts_with("100"));
  }
}

TEST(Limits, FourKModesFollowThePriorityListWithinTheTelevisionsAndTheAdditions) {
  for (const Line &row : Limits("4Kx2K modes")) {
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
    CaptureStdout([&] { result = _filter_4k_modes(&sink.edid, &composed.edid, &platform.values); });
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
    out += Normalize(CaptureStdout([&] { print_edid_audio_mask(mask); }));
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
    std::vector<std::string> says;
    for (const Line &l : c.lines) {
      ApplyRecordLine(l.text, &platform.values);  // audio_list, audio_pass_through
      if (l[0] == "says") says.push_back(ExpectedLine(l[1]));
    }
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
    EXPECT_EQ(FirstMissing(lines, says), "");
  }
}

}  // namespace

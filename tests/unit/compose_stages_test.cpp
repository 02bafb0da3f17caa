// The composer's selection stages through their own functions, with records
// built by hand: video modes (cases in tests/data/compose_video_modes.txt),
// the height, pixel clock and 4Kx2K limits, and the audio formats. Every
// expected value is worked out from the rules, not taken from a run.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <sstream>

#include "capture.h"
#include "compose_records.h"
#include "edid_builder.h"
#include "edid_composer_internal.h"
#include "golden.h"

using namespace edc_test;  // NOLINT: record and line helpers throughout
using testing::Contains;

namespace {

std::string Unescape(const std::string &text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const bool tab = text.compare(i, 2, "\\t") == 0;
    out += tab ? '\t' : text[i];
    i += tab;
  }
  return out;
}

// "says ERROR func text" as the normalized line.
std::string SaidLine(const std::string &says) {
  std::istringstream in(says);
  std::string kind, func, text;
  in >> kind >> func;
  std::getline(in >> std::ws, text);
  text = Unescape(text);
  if (kind == "ERROR") return Error(func, text);
  if (kind == "WARNING") return Warning(func, text);
  if (kind == "BUG") return Bug(func, text);
  return Trace(func, text);
}

struct VideoCase {
  std::string title;
  std::map<std::string, std::string> settings;  // key -> value, defaults first
  std::vector<std::string> sink, says;          // "dtds ...", "svds ...", "sink ..." in order
};

std::vector<VideoCase> ReadVideoCases() {
  std::vector<VideoCase> cases;
  std::map<std::string, std::string> defaults;
  for (const auto &row : ReadTable("compose_video_modes.txt")) {
    const std::string &line = row[0];
    const size_t blank = line.find(' ');
    const std::string key = line.substr(0, blank),
                      value = blank == std::string::npos ? "" : line.substr(blank + 1);
    if (key == "==") {
      cases.push_back({value, defaults, {}, {}});
    } else if (cases.empty()) {
      defaults[key] = value;
    } else if (key == "sink" || key == "dtds" || key == "svds") {
      cases.back().sink.push_back(line);
    } else if (key == "says") {
      cases.back().says.push_back(SaidLine(value));
    } else {
      cases.back().settings[key] = value;
    }
  }
  return cases;
}

TEST(VideoModes, SelectedByNativeRatePriorityGeometryAndCurrentMode) {
  const auto cases = ReadVideoCases();
  ASSERT_EQ(cases.size(), 25u);
  DebugOn debug;  // the traces are part of what is checked
  for (const auto &c : cases) {
    SCOPED_TRACE(c.title);
    PreparedEdid sink;
    for (const auto &line : c.sink) {
      const std::string rest = line.substr(5);
      if (line.starts_with("dtds")) AddTimings(&sink.edid, rest);
      if (line.starts_with("svds")) AddModes(&sink.edid.video_list, rest);
      if (line.starts_with("sink")) {
        EXPECT_TRUE(ApplyRecordLine(rest, &sink.edid)) << rest;
      }
    }
    PreparedPlatform platform;
    platform_values_t &p = platform.values;
    const auto setting = [&](const std::string &key) { return c.settings.at(key); };
    AddModes(&p.video_60_priority, setting("60_priority"));
    AddModes(&p.video_60_additional, setting("60_addition"));
    AddModes(&p.video_50_priority, setting("50_priority"));
    AddModes(&p.video_50_additional, setting("50_addition"));
    p.native_refresh_rate = std::stoi(setting("native_refresh_rate"));
    p.current_mode_set_to_priority = std::stoi(setting("current_mode_set_to_priority"));
    p.geometry_limit = c.settings.contains("geometry_limit") ? 1 : 0;
    hdmi_mode_t current{};
    if (c.settings.contains("current"))
      std::istringstream(setting("current")) >> current.width >> current.height >>
          current.interlaced >> current.refresh_rate;

    int32_t rate = 0;
    CaptureStdout([&] { rate = _determine_tv_native_refresh_rate(&sink.edid, &p); });
    EXPECT_EQ(std::to_string(rate), setting("rate"));
    ll_list_t selected{};
    ASSERT_TRUE(ll_init(&selected, "short_video_desc_t"));
    uint32_t result = 0;
    const auto lines =
        Lines([&] { result = _filter_video_modes(&sink.edid, &current, &selected, &p); });
    EXPECT_EQ(result, 1u);
    EXPECT_EQ(Modes(&selected), setting("expect"));
    size_t said = 0;  // the expected lines, in order, among those printed
    for (const auto &line : lines) said += said < c.says.size() && line == c.says[said];
    EXPECT_EQ(said, c.says.size()) << "not printed: " << c.says[std::min(said, c.says.size() - 1)];
    if (std::none_of(c.says.begin(), c.says.end(),
                     [](auto &s) { return s.find(" BUG: ") != s.npos; })) {
      EXPECT_THAT(lines, testing::Not(Contains(testing::HasSubstr(" BUG: "))));
    }
    ll_delete_list(&selected);
  }
}

TEST(VideoModes, NullTelevisionMeansThePlatformRate) {
  PreparedPlatform platform;
  platform.values.native_refresh_rate = 50;
  int32_t rate = 0;
  const auto lines =
      Lines([&] { rate = _determine_tv_native_refresh_rate(nullptr, &platform.values); });
  EXPECT_EQ(rate, 50);
  EXPECT_EQ(lines.at(0), Error("_determine_tv_native_refresh_rate",
                               Format("edid pointer is NULL. ptr=%p", nullptr)));
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
  const std::string no_timing =
      Bug("_find_largest_height", "\tFailed converting VIC:100 to a DTD.");
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
    SCOPED_TRACE(c.modes);
    int32_t largest = -1;
    const auto found =
        OnModes(c.modes, [&](ll_list_t *list) { largest = _find_largest_height(list); });
    EXPECT_EQ(largest, c.largest);
    std::string kept;
    const auto removed = OnModes(
        c.modes, [&](ll_list_t *list) { _remove_larger_height_modes(c.limit, list); }, &kept);
    EXPECT_EQ(kept, c.kept);
    const bool unknown = std::string(c.modes).starts_with("100");
    EXPECT_EQ(std::count(found.begin(), found.end(), no_timing), unknown ? 1 : 0);
    EXPECT_EQ(
        std::count(removed.begin(), removed.end(),
                   Bug("_remove_larger_height_modes", "\tFailed converting VIC:100 to a DTD.")),
        unknown ? 1 : 0);
  }
}

TEST(Limits, PixelClockDoublesForMostStereoAndQuadruplesForDepthWithGraphics) {
  const struct {
    const char *modes;
    uint32_t clock;
  } cases[] = {{"16", 148500000},
               {"16/01", 297000000},
               {"16/08", 297000000},
               {"16/10", 297000000},
               {"16/20", 297000000},
               {"16/40", 297000000},
               {"16/06", 148500000},
               {"16/80", 594000000},
               {"16/81", 1188000000},
               {"1 4/02 16 19/04", 148500000},
               {"16/81 64/81", 2376000000u},  // unsigned throughout
               {"100 1", 25180000}};
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
  ll_list_t empty{};
  ll_init(&empty, "short_video_desc_t");
  uint32_t clock = 1;
  EXPECT_THAT(Lines([&] { clock = _maximum_pixel_clock(&empty); }),
              Contains(Bug("_maximum_pixel_clock",
                           Format("\tReceived a list that contains no entries. List:%p", &empty))));
  EXPECT_EQ(clock, 0u);
  ll_delete_list(&empty);
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
  for (const auto &[mask, words] : masks)
    EXPECT_EQ(Lines([&] { print_edid_audio_mask(mask); }),
              std::vector<std::string>{Format("EDID: Audio mask: 0x%08X => ", mask) + words});

  ll_list_t list{};
  ll_init(&list, "short_audio_desc_t");
  EXPECT_EQ(_create_audio_mask(&list), 0u);
  AddAudio(&list, "1 2 7 7, 2 6 7 0 640, 15 2 7, 18 2 7, 0 2 7");
  EXPECT_EQ(_create_audio_mask(&list), 0x10003u);
  ll_delete_list(&list);
}

TEST(Audio, MaskFilterNeverExaminesTheFirstEntry) {
  const struct {
    const char *list;
    uint32_t mask;
    const char *kept;
  } cases[] = {{"2 6 7 0 640, 1 2 7 7, 7 6 6 0 1536, 2 2 7 0 640", 0x1, "2 6 7 0 640, 1 2 7 7"},
               {"2 6 7 0 640, 1 2 7 7, 7 6 6 0 1536", 0, "2 6 7 0 640"},
               {"2 6 7 0 640, 1 2 7 7, 7 6 6 0 1536", 0x41, "2 6 7 0 640, 1 2 7 7, 7 6 6 0 1536"},
               {"7 6 6 0 1536", 0, "7 6 6 0 1536"},
               {"", 0, ""}};
  for (const auto &c : cases) {
    ll_list_t list{};
    ll_init(&list, "short_audio_desc_t");
    AddAudio(&list, c.list);
    CaptureStdout([&] { _filter_audio_list_with_mask(&list, c.mask); });
    EXPECT_EQ(Audio(&list), c.kept) << c.list << " mask " << c.mask;
    ll_delete_list(&list);
  }
}

TEST(Audio, AFormatIsInAListWhenEqualOrAPcmWithAsManyChannels) {
  const struct {
    const char *list, *format;
    bool found;
  } cases[] = {{"1 8 127 7", "1 2 7 7", true},        {"1 2 7 7", "1 8 127 7", false},
               {"1 2 7 7, 1 8 7 7", "1 6 7 7", true}, {"2 2 1 0 64", "2 6 7 0 640", true},
               {"1 8 127 7", "2 2 7 0 640", false},   {"", "1 2 7 7", false}};
  for (const auto &c : cases) {
    ll_list_t list{};
    ll_init(&list, "short_audio_desc_t");
    AddAudio(&list, c.list);
    short_audio_desc_t d = AudioDesc(c.format);
    EXPECT_EQ(_audio_format_in_list(&list, &d), c.found) << c.list << " / " << c.format;
    ll_delete_list(&list);
  }
}

TEST(Audio, AFormatInTheSinkIsNarrowedToWhatTheSinkTakes) {
  const struct {
    const char *sink, *format;
    bool found;
    const char *narrowed;
  } cases[] = {
      {"2 6 4 0 448", "2 8 7 0 640", true, "2 6 4 0 448"},
      {"2 6 24 0 448", "2 6 7 0 640", false, "2 6 7 0 640"},  // no common rate
      {"7 6 7 0 1536", "2 6 7 0 640", false, "2 6 7 0 640"},  // another format
      {"1 2 7 1", "1 2 7 7", true, "1 2 7 1"},
      {"1 8 127 7", "1 2 7 7", false, "1 2 7 7"},  // stereo is not multichannel
      {"1 8 127 7", "1 6 7 5", true, "1 6 7 5"},
      {"1 1 7 7", "1 1 7 7", false, "1 1 7 7"},          // mono never matches
      {"1 2 7 2, 1 2 4 1", "1 2 7 5", true, "1 2 4 1"},  // the first without common depths passes
      {"9 2 7 0 0 3", "9 6 7 0 0 5", true, "9 2 7 0 0 3"},
      {"14 2 7 0 0 0 1", "14 8 1 0 0 0 5", true, "14 2 1 0 0 0 1"}};
  for (const auto &c : cases) {
    PreparedEdid sink;
    AddAudio(&sink.edid.audio_list, c.sink);
    short_audio_desc_t d = AudioDesc(c.format);
    EXPECT_EQ(_audio_format_in_downstream_sink(&sink.edid, &d), c.found)
        << c.sink << " / " << c.format;
    EXPECT_EQ(AudioText(d), c.narrowed) << c.sink << " / " << c.format;
  }
}

TEST(Audio, FormatsByPassThroughModeSinkFilterAndMaskWithBasicAudioFirst) {
  // Platform entries: PCM 2 ch 0x070709, PCM 8 ch 0x077F0F, AC-3 0x500715,
  // DTS 0xC0063D (6 ch, 44.1/48 kHz, 1536), PCM 2 ch at 88.2/96 kHz 0x071809.
  const struct {
    const char *title;
    int32_t mode;
    bool filter;
    uint32_t mask;
    std::vector<int32_t> platform;
    const char *sink, *offered;
  } cases[] = {
      {"mode 0, nothing configured: basic audio only", 0, false, ~0u, {}, "1 2 7 7", "1 2 7 5"},
      {"mode 2: the sink's list as it is, twins too",
       2,
       false,
       ~0u,
       {0x070709},
       "2 6 7 0 640, 2 6 7 0 640",
       "1 2 7 5, 2 6 7 0 640, 2 6 7 0 640"},
      {"mode 1: 8-channel PCM covers the sink's 2-channel PCM",
       1,
       false,
       ~0u,
       {0x077F0F},
       "1 2 7 7",
       "1 2 7 5, 1 8 127 7"},
      {"mode 1: 2-channel PCM does not cover 8",
       1,
       false,
       ~0u,
       {0x070709},
       "1 8 127 7",
       "1 2 7 7, 1 8 127 7"},
      {"mode 1: the sink's twins are duplicates",
       1,
       false,
       ~0u,
       {0x070709},
       "2 6 7 0 640, 2 6 7 0 640",
       "1 2 7 7, 2 6 7 0 640"},
      {"sink filter narrows",
       0,
       true,
       ~0u,
       {0x070709, 0x500715},
       "1 2 7 1, 2 6 4 0 448",
       "1 2 7 1, 2 6 4 0 448"},
      {"sink filter drops what the sink lacks",
       0,
       true,
       ~0u,
       {0x077F0F, 0xC0063D},
       "1 2 7 7",
       "1 2 7 5"},
      {"mask 0: the first entry stays",
       0,
       false,
       0,
       {0x500715, 0x070709, 0xC0063D},
       "",
       "1 2 7 5, 2 6 7 0 640"},
      {"mask keeps DTS",
       0,
       false,
       0x40,
       {0x500715, 0x070709, 0xC0063D},
       "",
       "1 2 7 5, 2 6 7 0 640, 7 6 6 0 1536"},
      {"mode 2 with a mask: the sink's DTS goes",
       2,
       true,
       0x1,
       {},
       "2 6 7 0 640, 1 2 7 7, 7 6 6 0 1536",
       "2 6 7 0 640, 1 2 7 7"},
      {"an undecodable entry is skipped", 0, false, ~0u, {0x070701, 0x070709}, "", "1 2 7 7"},
      {"basic audio needs 32, 44.1 or 48 kHz", 0, false, ~0u, {0x071809}, "", "1 2 7 5, 1 2 24 7"}};
  for (const auto &c : cases) {
    SCOPED_TRACE(c.title);
    PreparedEdid sink, composed;
    PreparedPlatform platform;
    AddAudio(&sink.edid.audio_list, c.sink);
    platform.values.audio_pass_through = c.mode;
    for (int32_t value : c.platform) {
      ll_entry_t *entry = nullptr;
      void *data = nullptr;
      ASSERT_TRUE(ll_create_entry(4, &entry, &data, "int"));
      memcpy(data, &value, 4);
      ASSERT_TRUE(ll_add_entry_to_back(&platform.values.audio_list, entry));
    }
    bool result = false;
    const auto lines = Lines([&] {
      result = _filter_audio_formats(&sink.edid, c.mask, c.filter, &composed.edid.audio_list,
                                     &platform.values);
    });
    EXPECT_TRUE(result);
    EXPECT_EQ(Audio(&composed.edid.audio_list), c.offered);
    if (c.platform.size() == 2 && c.platform[0] == 0x070701) {
      EXPECT_THAT(lines, Contains(Warning("_filter_audio_formats",
                                          "Failed decoding audio format. Val:0x070701")));
    }
  }
}

}  // namespace

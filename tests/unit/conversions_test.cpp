// Conversions between aspect geometries, VICs, detailed timings, standard
// timings and display modes, with their traces and argument reports.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "capture.h"
#include "utility.h"

using edc_test::DebugOn;
using edc_test::Error;
using edc_test::Lines;
using edc_test::Trace;
using edc_test::Warning;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

constexpr uint32_t kNone = 0;  // expected VIC where nothing matches

detailed_timing_t Raster(uint32_t clock, uint8_t progressive, uint32_t h_active,
                         uint32_t h_blanking, uint32_t v_active, uint32_t v_blanking, uint32_t h_mm,
                         uint32_t v_mm) {
  detailed_timing_t t{};
  t.valid = 1;
  t.pixel_clock = clock;
  t.progressive = progressive;
  t.h_active = h_active;
  t.h_blanking = h_blanking;
  t.v_active = v_active;
  t.v_blanking = v_blanking;
  t.h_image_size = h_mm;
  t.v_image_size = v_mm;
  return t;
}

// 720x480p at 27 MHz: the raster of VIC 2 (4:3) and VIC 3 (16:9).
detailed_timing_t Sd480p(uint32_t h_mm, uint32_t v_mm) {
  return Raster(27000000, 1, 720, 138, 480, 45, h_mm, v_mm);
}

edid_t Monitor(uint8_t h_cm, uint8_t v_cm) {
  edid_t edid{};
  edid.h_size_cm = h_cm;
  edid.v_size_cm = v_cm;
  return edid;
}

TEST(RefreshRate, DividesByTheLineTotalThenTheFrameTotalWithoutRounding) {
  EXPECT_EQ(calculate_refresh_rate(27000000, 720, 138, 480, 45), 59u);  // 59.94
  // Two divisions, not one by the product (70000 x 70000 overflows 32 bits).
  EXPECT_EQ(calculate_refresh_rate(4000000000u, 70000, 0, 70000, 0), 0u);
  EXPECT_EQ(calculate_refresh_rate(74250000, 0, 0, 720, 30), 0u);  // zero totals stay defined
  EXPECT_EQ(calculate_refresh_rate(74250000, 1280, 370, 0, 0), 0u);
}

TEST(GeoToRatio, FirstExactRatioAfterTruncationWins) {
  struct Case {
    uint32_t width, height;
    uint8_t ok;
    uint32_t ratio;
  } cases[] = {
      {1920, 1080, 1, 3}, {1280, 1024, 1, 2}, {1024, 768, 1, 1}, {100, 100, 1, 0},
      {0, 0, 1, 0},       {708, 398, 1, 3},   {531, 398, 1, 1},  {160, 90, 1, 3},
      {709, 398, 1, 3},   {707, 398, 0, 99},  {710, 398, 0, 99}, {1920, 1200, 0, 99},
  };  // 709 x 9 / 16 = 398.8 truncates to 398: 16:9
  for (const Case &c : cases) {
    uint32_t ratio = 99;
    EXPECT_EQ(convert_geo_to_ratio(c.width, c.height, &ratio), c.ok) << c.width << "x" << c.height;
    EXPECT_EQ(ratio, c.ratio) << c.width << "x" << c.height;
  }
  DebugOn debug;
  uint32_t ratio = 0;
  EXPECT_THAT(Lines([&] { convert_geo_to_ratio(1920, 1200, &ratio); }),
              ElementsAre(Trace("convert_geo_to_ratio",
                                "Got a set of values that didn't match an aspect ratio. "
                                "width=1920 height=1200")));
  EXPECT_THAT(
      Lines([&] { EXPECT_EQ(convert_geo_to_ratio(16, 9, nullptr), 0); }),
      ElementsAre(Error("convert_geo_to_ratio", "\"ratio\" parameter is NULL. ratio=(nil)")));
}

TEST(VicToDtd, RefusesVicsOutsideOneToSixtyFourAndLeavesTheTimingAlone) {
  detailed_timing_t untouched;
  memset(&untouched, 0xA5, sizeof untouched);
  for (uint32_t vic : {0u, 65u, 0xFFFFFFFFu}) {
    detailed_timing_t t = untouched;
    EXPECT_THAT(
        Lines([&] { EXPECT_EQ(convert_vic_to_dtd(vic, &t), 0); }),
        ElementsAre(Warning("convert_vic_to_dtd",
                            "Invalid vic requested for conversion to a DTD. Requested VIC:" +
                                std::to_string(static_cast<int32_t>(vic)) + " Range:0-64")));
    EXPECT_EQ(memcmp(&t, &untouched, sizeof t), 0);
  }
  EXPECT_THAT(
      Lines([] { EXPECT_EQ(convert_vic_to_dtd(1, nullptr), 0); }),
      ElementsAre(Error("convert_vic_to_dtd", "\"timing\" parameter is NULL. timing:(nil)")));
}

TEST(DtdToVic, MatchesTheRasterThenTellsFourThreeFromSixteenNineByImageSize) {
  struct Case {
    const char *what;
    detailed_timing_t timing;
    edid_t edid;
    uint32_t vic;
  } cases[] = {
      {"16:9 image", Sd480p(160, 90), Monitor(0, 0), 3},
      {"4:3 image", Sd480p(400, 300), Monitor(0, 0), 2},
      {"709 x 398 truncates to 16:9", Sd480p(709, 398), Monitor(0, 0), 3},
      {"timing size wins over monitor", Sd480p(400, 300), Monitor(16, 9), 2},
      {"zero image, 16:9 monitor", Sd480p(0, 0), Monitor(16, 9), 3},
      {"half-zero image uses monitor", Sd480p(160, 0), Monitor(4, 3), 2},
      {"1:1 matches no row", Sd480p(0, 0), Monitor(40, 40), kNone},
      {"sync and V blanking not compared", Raster(27000000, 1, 720, 138, 480, 99, 16, 9),
       Monitor(0, 0), 3},
      {"scan compared", Raster(27000000, 0, 720, 138, 480, 45, 16, 9), Monitor(0, 0), kNone},
      {"240p", Raster(27000000, 1, 1440, 276, 240, 22, 4, 3), Monitor(0, 0), 8},
      {"1250-line 1080i50 is VIC 20", Raster(72000000, 0, 1920, 384, 540, 85, 708, 398),
       Monitor(0, 0), 20},
      {"1250-line 1080i50 has no 4:3 row", Raster(72000000, 0, 1920, 384, 540, 85, 4, 3),
       Monitor(0, 0), kNone},
  };
  for (Case &c : cases) {
    uint32_t vic = 77;
    EXPECT_EQ(convert_dtd_to_vic(&c.edid, &c.timing, &vic), c.vic != kNone ? 1 : 0) << c.what;
    EXPECT_EQ(vic, c.vic) << c.what;
  }
}

// Rows 2 and 3 share the raster, so each undecided step is traced twice
// before the description of the timing.
TEST(DtdToVic, TracesEachCandidateRowThatCannotDecide) {
  DebugOn debug;
  const std::string zeroed = Trace(
      "convert_dtd_to_vic",
      "Timings image size is zeroed as is the EDID monitor size. Unable to match to a timing.");
  const auto no_ratio = [](int w, int h) {
    return Trace("convert_geo_to_ratio",
                 "Got a set of values that didn't match an aspect ratio. width=" +
                     std::to_string(w) + " height=" + std::to_string(h));
  };
  struct Case {
    detailed_timing_t timing;
    edid_t edid;
    std::vector<std::string> per_row;
  } cases[] = {
      {Sd480p(0, 0), Monitor(0, 0), {zeroed}},
      {Sd480p(0, 0), Monitor(16, 0), {zeroed}},
      {Sd480p(707, 398),
       Monitor(16, 9),
       {no_ratio(707, 398),
        Trace("convert_dtd_to_vic",
              "Unable to match timing size to an aspect ratio. H pixels:707 V pixels:398")}},
      {Sd480p(0, 0),
       Monitor(50, 29),
       {no_ratio(50, 29), Trace("convert_dtd_to_vic",
                                "Unable to match image size to an aspect ratio. H pixels:50 V "
                                "pixels:29")}},
  };
  for (Case &c : cases) {
    uint32_t vic = 0;
    std::vector<std::string> lines = Lines([&] { convert_dtd_to_vic(&c.edid, &c.timing, &vic); });
    std::vector<std::string> expected = c.per_row;
    expected.insert(expected.end(), c.per_row.begin(), c.per_row.end());
    expected.push_back(Trace("convert_dtd_to_vic", "Unable to match Detailed Timing Description."));
    lines.resize(expected.size());
    EXPECT_THAT(lines, ElementsAreArray(expected));
  }
  detailed_timing_t t = Sd480p(16, 9);  // a decided match traces nothing
  edid_t edid = Monitor(0, 0);
  uint32_t vic = 0;
  EXPECT_THAT(Lines([&] { convert_dtd_to_vic(&edid, &t, &vic); }), IsEmpty());
}

TEST(DtdToVic, UnmatchedTimingIsDescribedFieldByField) {
  DebugOn debug;
  detailed_timing_t t = Raster(65000000, 1, 1024, 320, 768, 38, 300, 225);
  t.h_sync_offset = 24;
  t.h_sync_width = 136;
  t.v_sync_offset = 3;
  t.v_sync_width = 6;
  t.h_border = 1;
  t.v_border = 2;
  t.stereo = 1;
  t.v_sync_positive = 1;
  edid_t edid = Monitor(0, 0);
  uint32_t vic = 0;
  const auto trace = [](const std::string &text) { return Trace("convert_dtd_to_vic", text); };
  EXPECT_THAT(Lines([&] { EXPECT_EQ(convert_dtd_to_vic(&edid, &t, &vic), 0); }),
              ElementsAre(trace("Unable to match Detailed Timing Description."),
                          trace("\tPixel Clock:     65000000"), trace("\tRefresh Rate:    60"),
                          trace("\tH Active:        1024"), trace("\tH Blanking:      320"),
                          trace("\tV Active:        768"), trace("\tV Blanking:      38"),
                          trace("\tH sync offset:   24"), trace("\tH sync width:    136"),
                          trace("\tV sync offset:   3"), trace("\tV sync width:    6"),
                          trace("\tH image size:    300 mm (11 in)"),
                          trace("\tV image size:    225 mm (8 in)"), trace("\tH Border:        1"),
                          trace("\tV Border:        2"), trace("\tScan:            Progressive"),
                          trace("\tStereo:          Yes"), trace("\tH sync:          Negative"),
                          trace("\tV sync:          Positive")));
}

// Both check vic, clear it, then check edid and timing.
template <typename Timing>
void ExpectArgumentChecks(uint8_t (*convert)(edid_t *, Timing *, uint32_t *), const char *name) {
  Timing timing{};
  edid_t edid{};
  uint32_t vic = 77;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(convert(nullptr, nullptr, nullptr), 0); }),
              ElementsAre(Error(name, "\"vic\" parameter is NULL. vic:(nil)")));
  EXPECT_THAT(Lines([&] { EXPECT_EQ(convert(nullptr, &timing, &vic), 0); }),
              ElementsAre(Error(name, "\"edid\" parameter is NULL. edid:(nil)")));
  EXPECT_EQ(vic, 0u);
  vic = 77;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(convert(&edid, nullptr, &vic), 0); }),
              ElementsAre(Error(name, "\"timing\" parameter is NULL. timing:(nil)")));
  EXPECT_EQ(vic, 0u);
}

TEST(TimingToVic, ChecksVicThenClearsItThenChecksEdidAndTiming) {
  ExpectArgumentChecks(convert_dtd_to_vic, "convert_dtd_to_vic");
  ExpectArgumentChecks(convert_std_to_vic, "convert_std_to_vic");
}

TEST(ModeToVic, FirstRowWithScanFrameHeightWidthOrHalfWidthAndTruncatedRate) {
  struct Case {
    uint32_t width, height, interlaced, refresh, vic;
  } cases[] = {
      {1920, 1080, 1, 60, 5},    {1920, 1080, 1, 50, 20},
      {1920, 1080, 0, 24, 32},   {1920, 1080, 0, 100, 64},
      {720, 480, 0, 60, kNone},  // rows 2 and 3 run at 59
      {720, 480, 0, 59, 2},      {720, 576, 0, 50, 17},
      {1440, 576, 0, 50, 29},    {720, 480, 1, 60, 6},
      {720, 240, 0, 60, 8},      {1280, 720, 2, 60, 4},  // 1 is interlaced
      {1280, 720, 1, 60, kNone}, {3840, 2160, 0, 30, kNone},
  };
  for (const Case &c : cases) {
    hdmi_mode_t mode{c.width, c.height, c.interlaced, c.refresh};
    uint32_t vic = 77;
    EXPECT_EQ(mode_to_vic(&mode, &vic), c.vic != kNone ? 1 : 0)
        << c.width << "x" << c.height << " " << c.interlaced << " " << c.refresh;
    EXPECT_EQ(vic, c.vic != kNone ? c.vic : 77u) << c.width << "x" << c.height;
  }
}

TEST(ModeToVic, TracesTheModeOnceAndReportsNullArguments) {
  DebugOn debug;
  uint32_t vic = 0;
  const auto attempt = [&](hdmi_mode_t mode) { return Lines([&] { mode_to_vic(&mode, &vic); }); };
  const auto trace = [](const std::string &mode) {
    return Trace("mode_to_vic", "\tMode is " + mode + ". Attempting to find a match.");
  };
  EXPECT_THAT(attempt({1920, 1080, 1, 60}), ElementsAre(trace("1920x1080i60")));
  EXPECT_THAT(attempt({1280, 720, 7, 60}), ElementsAre(trace("1280x720p60")));
  // Width and height print signed, the refresh rate unsigned.
  EXPECT_THAT(attempt({0xFFFFFFFFu, 1080, 0, 0xFFFFFFFFu}),
              ElementsAre(trace("-1x1080p4294967295")));
  hdmi_mode_t mode{1920, 1080, 0, 60};
  EXPECT_THAT(Lines([&] { EXPECT_EQ(mode_to_vic(nullptr, nullptr), 0); }),
              ElementsAre(Error("mode_to_vic", "Parameter \"mode\" is NULL. mode:(nil)")));
  EXPECT_THAT(Lines([&] { EXPECT_EQ(mode_to_vic(&mode, nullptr), 0); }),
              ElementsAre(Error("mode_to_vic", "Parameter \"vic\" is NULL. vic:(nil)")));
}

// The height is width x numerator / denominator (1280 at 16:9 asks for 2275
// lines), so only a pixel-repeated width finds a row: 360 at 4:3 is 360x480.
TEST(StdToVic, AsksModeToVicForWidthTimesTheAspectFraction) {
  struct Case {
    std_timing_t timing;
    uint32_t vic;
  } cases[] = {
      {{360, 1, 59}, 2},      {{360, 1, 119}, 48},    {{360, 1, 60}, kNone},
      {{1280, 3, 60}, kNone}, {{1920, 3, 60}, kNone}, {{1280, 0, 60}, kNone},
  };
  edid_t edid{};
  for (Case &c : cases) {
    uint32_t vic = 77;
    EXPECT_EQ(convert_std_to_vic(&edid, &c.timing, &vic), c.vic != kNone ? 1 : 0)
        << c.timing.h_active << " code " << c.timing.aspect_ratio << " " << c.timing.refresh_rate;
    EXPECT_EQ(vic, c.vic) << c.timing.h_active;
  }
}

TEST(StdToVic, ExplainsEveryFailureInTraces) {
  DebugOn debug;
  edid_t edid{};
  uint32_t vic = 0;
  const auto attempt = [&](std_timing_t timing) {
    return Lines([&] { convert_std_to_vic(&edid, &timing, &vic); });
  };
  const auto trace = [](const std::string &text) { return Trace("convert_std_to_vic", text); };
  const auto unmatched = [&](const std::string &aspect, int refresh) {
    return trace("Unable to match Standard Timing. Hactive:1280 Aspect Ratio:" + aspect +
                 " Refresh Rate:" + std::to_string(refresh));
  };
  EXPECT_THAT(
      attempt({1280, 3, 60}),
      ElementsAre(Trace("mode_to_vic", "\tMode is 1280x2275p60. Attempting to find a match."),
                  trace("Failed converting mode to vic. WxH=(1280,2275) Refresh:60"),
                  unmatched("16:9", 60)));
  EXPECT_THAT(attempt({1280, 2, 75}),
              ElementsAre(trace("Aspect ratio of the standard timing is not a short video mode "
                                "supported ratio. ratio:5:4"),
                          unmatched("5:4", 75)));
  EXPECT_THAT(attempt({1280, 4, 60}), ElementsAre(unmatched("InvalidRatio", 60)));
}

}  // namespace

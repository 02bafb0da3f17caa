// The VIC timing table row by row (tests/data/vic_table.tsv), the conversions
// between geometries, VICs, detailed timings, standard timings and display
// modes (tests/data/conversions.tsv), and their traces and argument reports
// (tests/golden/conversion_traces.txt).
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>

#include "capture.h"
#include "golden.h"
#include "utility.h"
#include "utility_internal.h"

using edc_test::Lines;

namespace {

TEST(VicTable, EveryRowHoldsItsFormatsTimingAndFindsItselfAgain) {
  const auto rows = edc_test::ReadTable("vic_table.tsv");
  ASSERT_EQ(rows.size(), g_vic_dtd_size);
  for (const auto &r : rows) {
    const uint32_t row = std::stoul(r[0]);
    detailed_timing_t t;
    memset(&t, 0xA5, sizeof t);
    ASSERT_EQ(convert_vic_to_dtd(row, &t), 1);
    std::ostringstream got;
    got << g_vic_dtd[row - 1].vic << " " << t.pixel_clock << " " << t.h_active << " "
        << t.h_blanking << " " << t.h_sync_offset << " " << t.h_sync_width << " " << t.v_active
        << " " << t.v_blanking << " " << t.v_sync_offset << " " << t.v_sync_width << " "
        << t.h_image_size << "x" << t.v_image_size << " " << (t.progressive ? "P" : "I") << " "
        << (t.h_sync_positive ? "+" : "-") << " " << (t.v_sync_positive ? "+" : "-") << " "
        << calculate_refresh_rate(t.pixel_clock, t.h_active, t.h_blanking, t.v_active,
                                  t.v_blanking);
    std::string want = r[1];
    for (size_t i = 2; i < r.size(); ++i) want += " " + r[i];
    EXPECT_EQ(got.str(), want) << "row " << row;
    EXPECT_EQ(t.valid + t.h_border + t.v_border + t.stereo, 1) << "row " << row;
    // No row shadows a later one: the row's own timing finds its VIC.
    edid_t edid{};
    uint32_t vic = 0;
    EXPECT_EQ(convert_dtd_to_vic(&edid, &t, &vic), 1) << "row " << row;
    EXPECT_EQ(vic, std::stoul(r[1])) << "row " << row;
  }
}

detailed_timing_t Raster(std::istream &in, edid_t &edid) {
  detailed_timing_t t{};
  std::string scan;
  char x;
  uint32_t h_cm = 0, v_cm = 0;
  in >> t.pixel_clock >> scan >> t.h_active >> t.h_blanking >> t.v_active >> t.v_blanking >>
      t.h_image_size >> x >> t.v_image_size >> h_cm >> x >> v_cm;
  t.valid = 1;
  t.progressive = scan == "P";
  edid.h_size_cm = static_cast<uint8_t>(h_cm);
  edid.v_size_cm = static_cast<uint8_t>(v_cm);
  return t;
}

TEST(Conversions, EachCaseGivesItsResultAndOutput) {
  const auto rows = edc_test::ReadTable("conversions.tsv");
  ASSERT_GT(rows.size(), 40u);
  for (const auto &row : rows) {
    std::istringstream in(row[1]);
    uint32_t a = 0, b = 0, c = 0, d = 0, e = 0, out = 77, result = 0;
    edid_t edid{};
    if (row[0] == "refresh") {
      in >> a >> b >> c >> d >> e;
      EXPECT_EQ(std::to_string(calculate_refresh_rate(a, b, c, d, e)), row[2]) << row[1];
      continue;
    }
    if (row[0] == "geo") {
      in >> a >> b;
      result = convert_geo_to_ratio(a, b, &out);
    } else if (row[0] == "mode") {
      hdmi_mode_t mode{};
      in >> mode.width >> mode.height >> mode.interlaced >> mode.refresh_rate;
      result = mode_to_vic(&mode, &out);
    } else if (row[0] == "dtd") {
      detailed_timing_t timing = Raster(in, edid);
      result = convert_dtd_to_vic(&edid, &timing, &out);
    } else {
      std_timing_t timing{};
      in >> timing.h_active >> timing.aspect_ratio >> timing.refresh_rate;
      result = convert_std_to_vic(&edid, &timing, &out);
    }
    EXPECT_EQ(std::to_string(result) + " " + std::to_string(out), row[2])
        << row[0] << " " << row[1];
  }
}

// Each call's trace and report lines, then "-> result value".
TEST(Conversions, FailuresAreExplainedInTracesAndBadArgumentsReported) {
  std::string out = "# == call, then its lines (debug on), then -> result and output value\n";
  const auto call = [&](const std::string &what, const std::function<uint32_t()> &fn,
                        uint32_t &value, size_t keep = 99) {
    uint32_t result = 0;
    auto lines = Lines([&] { result = fn(); });
    if (lines.size() > keep) lines.resize(keep);
    out += "== " + what + "\n";
    for (const auto &line : lines) out += line + "\n";
    out += "-> " + std::to_string(result) + " " + std::to_string(value) + "\n";
  };
  edc_test::DebugOn debug;
  uint32_t value = 77;
  call(
      "geo 1920 1200", [&] { return convert_geo_to_ratio(1920, 1200, &value); }, value);
  call(
      "geo NULL", [&] { return convert_geo_to_ratio(16, 9, nullptr); }, value);

  detailed_timing_t untouched;
  memset(&untouched, 0xA5, sizeof untouched);
  for (uint32_t vic : {0u, 65u, 0xFFFFFFFFu}) {
    detailed_timing_t t = untouched;
    call(
        "vic " + std::to_string(vic), [&] { return convert_vic_to_dtd(vic, &t); }, value);
    EXPECT_EQ(memcmp(&t, &untouched, sizeof t), 0);
  }
  call(
      "vic NULL", [&] { return convert_vic_to_dtd(1, nullptr); }, value);

  // An undecided aspect is traced for each of the two rows with the raster.
  const char *undecided[] = {"0x0 0x0", "0x0 16x0", "707x398 16x9", "0x0 50x29"};
  for (const char *sizes : undecided) {
    std::istringstream in(std::string("27000000 P 720 138 480 45 ") + sizes);
    edid_t edid{};
    detailed_timing_t t = Raster(in, edid);
    value = 77;
    call(
        std::string("dtd 720x480p ") + sizes, [&] { return convert_dtd_to_vic(&edid, &t, &value); },
        value, 5);
  }
  std::istringstream in("65000000 P 1024 320 768 38 300x225 0x0");
  edid_t edid{};
  detailed_timing_t t = Raster(in, edid);
  t.h_sync_offset = 24;
  t.h_sync_width = 136;
  t.v_sync_offset = 3;
  t.v_sync_width = 6;
  t.h_border = 1;
  t.v_border = 2;
  t.stereo = 1;
  t.v_sync_positive = 1;
  call(
      "dtd 1024x768p, described in full", [&] { return convert_dtd_to_vic(&edid, &t, &value); },
      value);

  const std_timing_t std_cases[] = {{1280, 3, 60}, {1280, 2, 75}, {1280, 4, 60}, {360, 1, 59}};
  for (std_timing_t s : std_cases) {
    call(
        "std " + std::to_string(s.h_active) + " " + std::to_string(s.aspect_ratio) + " " +
            std::to_string(s.refresh_rate),
        [&] { return convert_std_to_vic(&edid, &s, &value); }, value);
  }
  const hdmi_mode_t modes[] = {{1920, 1080, 1, 60}, {1280, 720, 7, 60}, {0xFFFFFFFF, 1080, 0, ~0u}};
  for (hdmi_mode_t m : modes) {
    value = 77;
    call(
        "mode " + std::to_string(m.width) + " " + std::to_string(m.height) + " " +
            std::to_string(m.interlaced) + " " + std::to_string(m.refresh_rate),
        [&] { return mode_to_vic(&m, &value); }, value);
  }
  hdmi_mode_t mode{1920, 1080, 0, 60};
  call(
      "mode NULL NULL", [&] { return mode_to_vic(nullptr, nullptr); }, value);
  call(
      "mode, vic NULL", [&] { return mode_to_vic(&mode, nullptr); }, value);

  // Both check vic, clear it, then check edid and timing.
  std_timing_t s{};
  for (const bool is_dtd : {true, false}) {
    const auto convert = [&](edid_t *e, bool timing, uint32_t *vic) {
      return is_dtd ? convert_dtd_to_vic(e, timing ? &t : nullptr, vic)
                    : convert_std_to_vic(e, timing ? &s : nullptr, vic);
    };
    const std::string name = is_dtd ? "dtd" : "std";
    value = 77;
    call(
        name + " vic NULL", [&] { return convert(nullptr, false, nullptr); }, value);
    value = 77;
    call(
        name + " edid NULL", [&] { return convert(nullptr, true, &value); }, value);
    value = 77;
    call(
        name + " timing NULL", [&] { return convert(&edid, false, &value); }, value);
  }
  edc_test::ExpectGolden("conversion_traces.txt", out);
}

}  // namespace

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

// "== what", the lines printed (an unmatched timing's description only up to
// its first line, unless whole), then "-> result" and the output parameter's value.
std::string Call(const std::string &what, const std::function<uint32_t()> &fn,
                 const uint32_t *output, bool whole = false) {
  std::string out = "== " + what + "\n";
  uint32_t result = 0;
  for (const auto &line : Lines([&] { result = fn(); })) {
    out += line + "\n";
    if (!whole && line.find("Unable to match Detailed Timing Description.") == 0) break;
  }
  return out + "-> " + std::to_string(result) +
         (output != nullptr ? " " + std::to_string(*output) : "") + "\n";
}

TEST(Conversions, EachCaseGivesItsResultAndExplainsAFailureInTraces) {
  const auto rows = edc_test::ReadTable("conversions.tsv");
  ASSERT_EQ(rows.size(), 54u);
  edc_test::DebugOn debug;
  std::string out = "# == case, its lines (debug on), -> result and output value\n";
  for (const auto &row : rows) {
    uint32_t a = 0, b = 0, c = 0, d = 0, e = 0, value = 77;
    const std::string call = Call(
        row[0] + " " + row[1],
        [&]() -> uint32_t {
          std::istringstream in(row[1]);
          edid_t edid{};
          if (row[0] == "refresh") {
            in >> a >> b >> c >> d >> e;
            return calculate_refresh_rate(a, b, c, d, e);
          }
          if (row[0] == "geo") {
            in >> a >> b;
            return convert_geo_to_ratio(a, b, &value);
          }
          if (row[0] == "mode") {
            hdmi_mode_t mode{};
            in >> mode.width >> mode.height >> mode.interlaced >> mode.refresh_rate;
            return mode_to_vic(&mode, &value);
          }
          if (row[0] == "dtd") {
            detailed_timing_t timing = Raster(in, edid);
            return convert_dtd_to_vic(&edid, &timing, &value);
          }
          std_timing_t timing{};
          in >> timing.h_active >> timing.aspect_ratio >> timing.refresh_rate;
          return convert_std_to_vic(&edid, &timing, &value);
        },
        row[0] == "refresh" ? nullptr : &value);
    EXPECT_EQ(call.substr(call.rfind("-> ") + 3), row[2] + "\n") << row[0] << " " << row[1];
    out += call;
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
  uint32_t value = 77;
  out += Call(
      "dtd 1024x768p described in full", [&] { return convert_dtd_to_vic(&edid, &t, &value); },
      &value, true);
  detailed_timing_t untouched;
  memset(&untouched, 0xA5, sizeof untouched);
  for (uint32_t vic : {0u, 65u, 0xFFFFFFFFu}) {
    detailed_timing_t timing = untouched;
    out += Call(
        "vic " + std::to_string(vic), [&] { return convert_vic_to_dtd(vic, &timing); }, nullptr);
    EXPECT_EQ(memcmp(&timing, &untouched, sizeof timing), 0);
  }
  // Arguments are checked in order; the two timing conversions clear vic first.
  hdmi_mode_t mode{1920, 1080, 0, 60};
  std_timing_t s{};
  const std::pair<const char *, std::function<uint32_t()>> calls[] = {
      {"geo NULL", [&] { return convert_geo_to_ratio(16, 9, nullptr); }},
      {"vic NULL", [&] { return convert_vic_to_dtd(1, nullptr); }},
      {"mode NULL NULL", [&] { return mode_to_vic(nullptr, nullptr); }},
      {"mode, vic NULL", [&] { return mode_to_vic(&mode, nullptr); }},
      {"dtd vic NULL", [&] { return convert_dtd_to_vic(nullptr, nullptr, nullptr); }},
      {"dtd edid NULL", [&] { return convert_dtd_to_vic(nullptr, &t, &value); }},
      {"dtd timing NULL", [&] { return convert_dtd_to_vic(&edid, nullptr, &value); }},
      {"std vic NULL", [&] { return convert_std_to_vic(nullptr, nullptr, nullptr); }},
      {"std edid NULL", [&] { return convert_std_to_vic(nullptr, &s, &value); }},
      {"std timing NULL", [&] { return convert_std_to_vic(&edid, nullptr, &value); }}};
  for (const auto &[what, fn] : calls) {
    value = 77;
    out += Call(what, fn, &value);
  }
  edc_test::ExpectGolden("conversions.txt", out);
}

}  // namespace

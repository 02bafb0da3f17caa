#include "mode_choice.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <tuple>
#include <vector>

#include "cta_video_formats.h"

namespace edc_tool {

namespace {

// The library's table holds CTA-861 VICs 1 to 64, one row each.
constexpr uint32_t kTableVics = 64;
constexpr size_t kNearest = 3;

struct Row {
  uint32_t vic;
  detailed_timing_t timing;
  uint32_t library_rate;  // as the library computes it: cut to whole hertz
  double rate;            // exact, in Hz (the field rate for interlaced rows)
};

std::vector<Row> Rows() {
  std::vector<Row> rows;
  for (uint32_t vic = 1; vic <= kTableVics; ++vic) {
    Row row{vic, {}, 0, 0};
    if (!convert_vic_to_dtd(vic, &row.timing)) continue;
    const detailed_timing_t &t = row.timing;
    row.library_rate =
        calculate_refresh_rate(t.pixel_clock, t.h_active, t.h_blanking, t.v_active, t.v_blanking);
    // The exact rate is the standard's figure, which the format table holds.
    if (const cta_video_format_t *format = cta_video_format_find(vic))
      row.rate = format->field_rate_mhz / 1000.0;
    rows.push_back(row);
  }
  return rows;
}

uint32_t FrameLines(const detailed_timing_t &t) {
  return t.progressive ? t.v_active : 2 * t.v_active;
}

bool SameFrame(const Row &row, const hdmi_mode_t &mode) {
  const detailed_timing_t &t = row.timing;
  return (t.progressive == 0) == (mode.interlaced == 1) && FrameLines(t) == mode.height &&
         (t.h_active == mode.width || t.h_active / 2 == mode.width);
}

// The whole-hertz names of a row's rate.
bool RateNames(const Row &row, uint32_t rate) {
  for (const double r : {row.rate, row.rate * 1000 / 1001, row.rate * 1001 / 1000})
    if (rate == static_cast<uint32_t>(std::lround(r)) || rate == static_cast<uint32_t>(r))
      return true;
  return rate == row.library_rate;
}

std::string RowText(const Row &row) {
  char text[80];
  snprintf(text, sizeof text, "VIC %u, %ux%u%c at %.2f Hz", row.vic, row.timing.h_active,
           FrameLines(row.timing), row.timing.progressive ? 'p' : 'i', row.rate);
  return text;
}

std::string ModeText(const hdmi_mode_t &mode) {
  return std::to_string(mode.width) + "x" + std::to_string(mode.height) +
         (mode.interlaced == 1 ? "i" : "p") + std::to_string(mode.refresh_rate);
}

}  // namespace

bool ChooseModeRow(hdmi_mode_t &mode, std::string &chosen, std::string &problem) {
  const std::vector<Row> rows = Rows();
  // The library's own match as it is, then the rates as people write them.
  for (const Row &row : rows)
    if (SameFrame(row, mode) && row.library_rate == mode.refresh_rate) return true;
  const Row *found = nullptr;
  for (const Row &row : rows)
    if (!found && SameFrame(row, mode) && RateNames(row, mode.refresh_rate)) found = &row;
  if (found != nullptr) {
    chosen = "--mode " + ModeText(mode) + ": " + RowText(*found);
    mode.refresh_rate = found->library_rate;
    return true;
  }
  // Nearest: the same scan first, then the frame height, width and rate.
  const auto distance = [&](const Row &row) {
    const detailed_timing_t &t = row.timing;
    return std::make_tuple((t.progressive == 0) != (mode.interlaced == 1),
                           std::abs(static_cast<double>(FrameLines(t)) - mode.height),
                           std::abs(static_cast<double>(t.h_active) - mode.width),
                           std::abs(row.rate - mode.refresh_rate));
  };
  std::vector<const Row *> nearest;
  for (const Row &row : rows) nearest.push_back(&row);
  std::stable_sort(nearest.begin(), nearest.end(),
                   [&](const Row *a, const Row *b) { return distance(*a) < distance(*b); });
  problem = '"';
  problem += ModeText(mode);
  problem += "\" is no row of the CTA-861 table; the nearest are ";
  for (size_t i = 0; i < kNearest && i < nearest.size(); ++i)
    problem += (i == 0 ? "" : "; ") + RowText(*nearest[i]);
  return false;
}

}  // namespace edc_tool

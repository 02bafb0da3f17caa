// The lines that describe one detailed timing, field by field, as the text
// dump prints them and as the trace of an unmatched timing shows them.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>

#include "edid_decode_encode.h"
#include "utility.h"

namespace edc {

constexpr size_t kTimingLineCount = 18;
constexpr size_t kTimingLineSize = 64;  // the longest line with two 11-character numbers fits
using TimingLines = std::array<std::array<char, kTimingLineSize>, kTimingLineCount>;

// Fills lines with "\tPixel Clock:     ..." to "\tV sync:          ..." (no line
// ends). Image sizes are also given in inches (mm x 5 / 127, truncated).
inline void describe_timing(const detailed_timing_t &t, TimingLines &lines) {
  const auto d = [](uint32_t value) { return static_cast<int32_t>(value); };
  const auto inches = [](uint32_t mm) { return static_cast<int32_t>(mm * 5 / 127); };
  const uint32_t refresh =
      calculate_refresh_rate(t.pixel_clock, t.h_active, t.h_blanking, t.v_active, t.v_blanking);
  size_t n = 0;
  const auto line = [&](const char *format, auto... values) {
    snprintf(lines[n++].data(), kTimingLineSize, format, values...);
  };
  line("\tPixel Clock:     %d", d(t.pixel_clock));
  line("\tRefresh Rate:    %d", d(refresh));
  line("\tH Active:        %d", d(t.h_active));
  line("\tH Blanking:      %d", d(t.h_blanking));
  line("\tV Active:        %d", d(t.v_active));
  line("\tV Blanking:      %d", d(t.v_blanking));
  line("\tH sync offset:   %d", d(t.h_sync_offset));
  line("\tH sync width:    %d", d(t.h_sync_width));
  line("\tV sync offset:   %d", d(t.v_sync_offset));
  line("\tV sync width:    %d", d(t.v_sync_width));
  line("\tH image size:    %d mm (%d in)", d(t.h_image_size), inches(t.h_image_size));
  line("\tV image size:    %d mm (%d in)", d(t.v_image_size), inches(t.v_image_size));
  line("\tH Border:        %d", d(t.h_border));
  line("\tV Border:        %d", d(t.v_border));
  line("\tScan:            %s", t.progressive ? "Progressive" : "Interlaced");
  line("\tStereo:          %s", t.stereo ? "Yes" : "No");
  line("\tH sync:          %s", t.h_sync_positive ? "Positive" : "Negative");
  line("\tV sync:          %s", t.v_sync_positive ? "Positive" : "Negative");
}

}  // namespace edc

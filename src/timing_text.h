// The lines that describe one detailed timing, field by field, as the text
// dump prints them and as the trace of an unmatched timing shows them.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "diagnostics.h"
#include "edid_decode_encode.h"

namespace edc {

constexpr size_t kTimingLineCount = 18;
constexpr size_t kTimingLineSize = 64;  // the longest line with two 11-character numbers fits
using timing_lines = std::array<std::array<char, kTimingLineSize>, kTimingLineCount>;

// Fills lines with "\tPixel Clock:     ..." to "\tV sync:          ..." (no line
// ends); refresh is the timing's refresh rate as calculate_refresh_rate gives
// it. Image sizes are also given in inches (mm x 5 / 127, truncated).
inline void describe_timing(const detailed_timing_t &t, uint32_t refresh, timing_lines &lines) {
  const auto inches = [](uint32_t mm) { return as_int(mm * 5 / 127); };
  size_t n = 0;
  const auto line = [&](const char *format, auto... values) {
    snprintf(lines[n++].data(), kTimingLineSize, format, values...);
  };
  line("\tPixel Clock:     %d", as_int(t.pixel_clock));
  line("\tRefresh Rate:    %d", as_int(refresh));
  line("\tH Active:        %d", as_int(t.h_active));
  line("\tH Blanking:      %d", as_int(t.h_blanking));
  line("\tV Active:        %d", as_int(t.v_active));
  line("\tV Blanking:      %d", as_int(t.v_blanking));
  line("\tH sync offset:   %d", as_int(t.h_sync_offset));
  line("\tH sync width:    %d", as_int(t.h_sync_width));
  line("\tV sync offset:   %d", as_int(t.v_sync_offset));
  line("\tV sync width:    %d", as_int(t.v_sync_width));
  line("\tH image size:    %d mm (%d in)", as_int(t.h_image_size), inches(t.h_image_size));
  line("\tV image size:    %d mm (%d in)", as_int(t.v_image_size), inches(t.v_image_size));
  line("\tH Border:        %d", as_int(t.h_border));
  line("\tV Border:        %d", as_int(t.v_border));
  line("\tScan:            %s", t.progressive ? "Progressive" : "Interlaced");
  line("\tStereo:          %s", t.stereo ? "Yes" : "No");
  line("\tH sync:          %s", t.h_sync_positive ? "Positive" : "Negative");
  line("\tV sync:          %s", t.v_sync_positive ? "Positive" : "Negative");
}

}  // namespace edc

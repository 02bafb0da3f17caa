// The typed platform configuration readers, the VIC timing table and its
// conversions, the names and printers of EDID codes, and the platform values
// record.
#include "utility.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <span>
#include <string_view>
#include <type_traits>

#include "bits.h"
#include "config_root.h"
#include "diagnostics.h"
#include "edid_layout.h"
#include "platform_config.h"
#include "timing_text.h"
#include "typed_list.h"
#include "utility_internal.h"

using namespace edc::layout;  // NOLINT: audio format and aspect codes
using edc::as_int;

namespace {

// Full configuration paths are built in buffers of this size (a longer path
// is cut silently).
constexpr size_t kPathSize = 256;

}  // namespace

extern "C" {

bool get_pc_str(const char *key, char *buffer, uint32_t size, const char *default_val,
                bool verbose) {
  char path[kPathSize];
  edc::config_path(path, key);
  if (buffer == nullptr) return false;
  if (config_get_str(0, path, buffer, size) == 0) return true;
  if (default_val == nullptr) default_val = "";
  if (verbose)
    LOG_WARNING("Error trying to read \"%s\" from the platform config. Using:%s", path,
                default_val);
  // No terminator is written: callers hand in zeroed storage.
  const size_t length = strlen(default_val);
  memcpy(buffer, default_val, length < size ? length : size);
  return false;
}

}  // extern "C"

namespace {

// One reader for both integer types: T decides the comparisons; every number
// in the messages is printed with %d, the "Invalid values" line excepted.
template <typename T>
T read_number(const char *func, const char *key, T min, T max, T default_val, bool verbose) {
  static_assert(std::is_same_v<T, int32_t> || std::is_same_v<T, uint32_t>);
  if (min > default_val || default_val > max) {
    // A fault in the library's own table of constants, not in the
    // configuration: stop in every build type.
    if constexpr (std::is_signed_v<T>)
      printf("Invalid values for %s: min:%d def:%d max:%d\n", key, min, default_val, max);
    else
      printf("Invalid values for %s: min:%u def:%u max:%u\n", key, min, default_val, max);
    fflush(stdout);
    fprintf(stderr, "%s:%d: %s: Assertion `%s' failed.\n", __FILE_NAME__, __LINE__, func,
            "min <= default_val && default_val <= max");
    fflush(stderr);
    abort();
  }
  char path[kPathSize];
  edc::config_path(path, key);
  int32_t raw = 0;
  T value;
  if (config_get_int(0, path, &raw) != 0) {
    if (verbose)
      LOG_WARNING_AS(func, "Unable to find the platform path:%s Defaulting to:%d", path,
                     as_int(default_val));
    value = default_val;
  } else {
    value = static_cast<T>(raw);  // an unsigned read takes the 32-bit pattern
  }
  if (value < min) {
    if (verbose)
      LOG_WARNING_AS(func,
                     "The value for platform path:%s is smaller than the minimum value. Setting "
                     "to minimum. Min:%d Val:%d Max:%d",
                     path, as_int(min), as_int(value), as_int(max));
    value = min;
  } else if (value > max) {
    if (verbose)
      LOG_WARNING_AS(func,
                     "The value for platform path:%s is larger than the maximum value. Setting "
                     "to maximum. Min:%d Val:%d Max:%d",
                     path, as_int(min), as_int(value), as_int(max));
    value = max;
  }
  LOG_TRACE_AS(func, "Platform config read. Path:%s val:%d", path, as_int(value));
  return value;
}

}  // namespace

extern "C" {

uint32_t get_pc_uint(const char *key, uint32_t min, uint32_t max, uint32_t default_val,
                     bool verbose) {
  return read_number<uint32_t>(__func__, key, min, max, default_val, verbose);
}

int32_t get_pc_int(const char *key, int32_t min, int32_t max, int32_t default_val, bool verbose) {
  return read_number<int32_t>(__func__, key, min, max, default_val, verbose);
}

}  // extern "C"

// ===========================================================================
// VIC timing table and conversions
// ===========================================================================

namespace {

// Building blocks of the table rows below.
enum scan_mode : uint8_t { I = 0, P = 1 };          // interlaced rows hold one field's lines
enum sync_polarity : uint8_t { Neg = 0, Pos = 1 };  // sync polarity

// The table has no aspect field: a row's image size carries its aspect, and
// convert_geo_to_ratio reads 4:3 or 16:9 back from it.
struct image_size {
  uint32_t h_mm, v_mm;
};
constexpr image_size A4x3{531, 398};
constexpr image_size A16x9{708, 398};

constexpr vic_dtd_t row(uint32_t vic, uint32_t pixel_clock, uint32_t h_active, uint32_t h_blanking,
                        uint32_t h_sync_offset, uint32_t h_sync_width, uint32_t v_active,
                        uint32_t v_blanking, uint32_t v_sync_offset, uint32_t v_sync_width,
                        image_size size, scan_mode scan, sync_polarity h_sync,
                        sync_polarity v_sync) {
  vic_dtd_t entry{};
  entry.vic = vic;
  detailed_timing_t &t = entry.timing;
  t.valid = 1;
  t.pixel_clock = pixel_clock;
  t.h_active = h_active;
  t.h_blanking = h_blanking;
  t.h_sync_offset = h_sync_offset;
  t.h_sync_width = h_sync_width;
  t.v_active = v_active;
  t.v_blanking = v_blanking;
  t.v_sync_offset = v_sync_offset;
  t.v_sync_width = v_sync_width;
  t.h_image_size = size.h_mm;
  t.v_image_size = size.v_mm;
  t.progressive = scan;
  t.h_sync_positive = h_sync;
  t.v_sync_positive = v_sync;
  return entry;  // no borders, no stereo
}

}  // namespace

extern "C" {

// CTA-861 video formats 1 to 64. Kept as they stand: VIC 1 at 25.18 MHz, the
// 59.94 Hz rows whose refresh truncates to 59 (119, 239), the 240p/288p rows
// beside their 480i/576i rasters, and row 39 (1080i50 with 1250 total lines,
// 72 MHz), which reports VIC 20 so that such a timing counts as plain 1080i50.
// clang-format off
constexpr vic_dtd_t g_vic_dtd[g_vic_dtd_size] = {
    // VIC, pixel clock (Hz); H active, blanking, sync offset, sync width;
    // V active, blanking, sync offset, sync width; image size; scan; H and V sync
    row( 1,  25180000,  640,  160,   16,  96,  480, 45, 10, 2, A4x3,  P, Neg, Neg),
    row( 2,  27000000,  720,  138,   16,  62,  480, 45,  9, 6, A4x3,  P, Neg, Neg),
    row( 3,  27000000,  720,  138,   16,  62,  480, 45,  9, 6, A16x9, P, Neg, Neg),
    row( 4,  74250000, 1280,  370,  110,  40,  720, 30,  5, 5, A16x9, P, Pos, Pos),
    row( 5,  74250000, 1920,  280,   88,  44,  540, 22,  2, 5, A16x9, I, Pos, Pos),
    row( 6,  27000000, 1440,  276,   38, 124,  240, 22,  4, 3, A4x3,  I, Neg, Neg),
    row( 7,  27000000, 1440,  276,   38, 124,  240, 22,  4, 3, A16x9, I, Neg, Neg),
    row( 8,  27000000, 1440,  276,   38, 124,  240, 22,  4, 3, A4x3,  P, Neg, Neg),
    row( 9,  27000000, 1440,  276,   38, 124,  240, 22,  4, 3, A16x9, P, Neg, Neg),
    row(10,  54000000, 2880,  552,   76, 248,  240, 22,  4, 3, A4x3,  I, Neg, Neg),
    row(11,  54000000, 2880,  552,   76, 248,  240, 22,  4, 3, A16x9, I, Neg, Neg),
    row(12,  54000000, 2880,  552,   76, 248,  240, 22,  4, 3, A4x3,  P, Neg, Neg),
    row(13,  54000000, 2880,  552,   76, 248,  240, 22,  4, 3, A16x9, P, Neg, Neg),
    row(14,  54000000, 1440,  276,   32, 124,  480, 45,  9, 6, A4x3,  P, Neg, Neg),
    row(15,  54000000, 1440,  276,   32, 124,  480, 45,  9, 6, A16x9, P, Neg, Neg),
    row(16, 148500000, 1920,  280,   88,  44, 1080, 45,  4, 5, A16x9, P, Pos, Pos),
    row(17,  27000000,  720,  144,   12,  64,  576, 49,  5, 5, A4x3,  P, Neg, Neg),
    row(18,  27000000,  720,  144,   12,  64,  576, 49,  5, 5, A16x9, P, Neg, Neg),
    row(19,  74250000, 1280,  700,  440,  40,  720, 30,  5, 5, A16x9, P, Pos, Pos),
    row(20,  74250000, 1920,  720,  528,  44,  540, 22,  2, 5, A16x9, I, Pos, Pos),
    row(21,  27000000, 1440,  288,   24, 126,  288, 24,  2, 3, A4x3,  I, Neg, Neg),
    row(22,  27000000, 1440,  288,   24, 126,  288, 24,  2, 3, A16x9, I, Neg, Neg),
    row(23,  27000000, 1440,  288,   24, 126,  288, 24,  2, 3, A4x3,  P, Neg, Neg),
    row(24,  27000000, 1440,  288,   24, 126,  288, 24,  2, 3, A16x9, P, Neg, Neg),
    row(25,  54000000, 2880,  576,   48, 252,  288, 24,  2, 3, A4x3,  I, Neg, Neg),
    row(26,  54000000, 2880,  576,   48, 252,  288, 24,  2, 3, A16x9, I, Neg, Neg),
    row(27,  54000000, 2880,  576,   48, 252,  288, 24,  2, 3, A4x3,  P, Neg, Neg),
    row(28,  54000000, 2880,  576,   48, 252,  288, 24,  2, 3, A16x9, P, Neg, Neg),
    row(29,  54000000, 1440,  288,   24, 128,  576, 49,  5, 5, A4x3,  P, Neg, Neg),
    row(30,  54000000, 1440,  288,   24, 128,  576, 49,  5, 5, A16x9, P, Neg, Neg),
    row(31, 148500000, 1920,  720,  528,  44, 1080, 45,  4, 5, A16x9, P, Pos, Pos),
    row(32,  74250000, 1920,  830,  638,  44, 1080, 45,  4, 5, A16x9, P, Pos, Pos),
    row(33,  74250000, 1920,  720,  528,  44, 1080, 45,  4, 5, A16x9, P, Pos, Pos),
    row(34,  74250000, 1920,  280,   88,  44, 1080, 45,  4, 5, A16x9, P, Pos, Pos),
    row(35, 108000000, 2880,  552,   64, 248,  480, 45,  9, 6, A4x3,  P, Neg, Neg),
    row(36, 108000000, 2880,  552,   64, 248,  480, 45,  9, 6, A16x9, P, Neg, Neg),
    row(37, 108000000, 2880,  576,   48, 256,  576, 49,  5, 5, A4x3,  P, Neg, Neg),
    row(38, 108000000, 2880,  576,   48, 256,  576, 49,  5, 5, A16x9, P, Neg, Neg),
    row(20,  72000000, 1920,  384,   32, 168,  540, 85, 23, 5, A16x9, I, Pos, Neg),  // row 39
    row(40, 148500000, 1920,  720,  528,  44,  540, 22,  2, 5, A16x9, I, Pos, Pos),
    row(41, 148500000, 1280,  700,  440,  40,  720, 30,  5, 5, A16x9, P, Pos, Pos),
    row(42,  54000000,  720,  144,   12,  64,  576, 49,  5, 5, A4x3,  P, Neg, Neg),
    row(43,  54000000,  720,  144,   12,  64,  576, 49,  5, 5, A16x9, P, Neg, Neg),
    row(44,  54000000, 1440,  288,   24, 126,  288, 24,  2, 3, A4x3,  I, Neg, Neg),
    row(45,  54000000, 1440,  288,   24, 126,  288, 24,  2, 3, A16x9, I, Neg, Neg),
    row(46, 148500000, 1920,  280,   88,  44,  540, 22,  2, 5, A16x9, I, Pos, Pos),
    row(47, 148500000, 1280,  370,  110,  40,  720, 30,  5, 5, A16x9, P, Pos, Pos),
    row(48,  54000000,  720,  138,   16,  62,  480, 45,  9, 6, A4x3,  P, Neg, Neg),
    row(49,  54000000,  720,  138,   16,  62,  480, 45,  9, 6, A16x9, P, Neg, Neg),
    row(50,  54000000, 1440,  276,   38, 124,  240, 22,  4, 3, A4x3,  I, Neg, Neg),
    row(51,  54000000, 1440,  276,   38, 124,  240, 22,  4, 3, A16x9, I, Neg, Neg),
    row(52, 108000000,  720,  144,   12,  64,  576, 49,  5, 5, A4x3,  P, Neg, Neg),
    row(53, 108000000,  720,  144,   12,  64,  576, 49,  5, 5, A16x9, P, Neg, Neg),
    row(54, 108000000, 1440,  288,   24, 126,  288, 24,  2, 3, A4x3,  I, Neg, Neg),
    row(55, 108000000, 1440,  288,   24, 126,  288, 24,  2, 3, A16x9, I, Neg, Neg),
    row(56, 108000000,  720,  138,   16,  62,  480, 45,  9, 6, A4x3,  P, Neg, Neg),
    row(57, 108000000,  720,  138,   16,  62,  480, 45,  9, 6, A16x9, P, Neg, Neg),
    row(58, 108000000, 1440,  276,   38, 124,  240, 22,  4, 3, A4x3,  I, Neg, Neg),
    row(59, 108000000, 1440,  276,   38, 124,  240, 22,  4, 3, A16x9, I, Neg, Neg),
    row(60,  59400000, 1280, 2020, 1760,  40,  720, 30,  5, 5, A16x9, P, Pos, Pos),
    row(61,  74250000, 1280, 2680, 2420,  40,  720, 30,  5, 5, A16x9, P, Pos, Pos),
    row(62,  74250000, 1280, 2020, 1760,  40,  720, 30,  5, 5, A16x9, P, Pos, Pos),
    row(63, 297000000, 1920,  280,   88,  44, 1080, 45,  4, 5, A16x9, P, Pos, Pos),
    row(64, 297000000, 1920,  720,  528,  44, 1080, 45,  4, 5, A16x9, P, Pos, Pos),
};
// clang-format on

}  // extern "C"

extern "C" {

// Truncating integer arithmetic throughout: 59.94 Hz gives 59. For an
// interlaced timing (vertical values per field) this is the field rate.
uint32_t calculate_refresh_rate(uint32_t pixel_clock, uint32_t h_active, uint32_t h_blanking,
                                uint32_t v_active, uint32_t v_blanking) {
  const uint32_t h_total = h_active + h_blanking;
  const uint32_t v_total = v_active + v_blanking;
  if (h_total == 0 || v_total == 0) return 0;  // callers pass real timings; stay defined anyway
  return pixel_clock / h_total / v_total;
}

// Aspect code of a geometry in any unit: exact equality after truncation, in
// the order 1:1, 4:3, 5:4, 16:9 (708 x 398 and 160 x 90 are 16:9).
uint8_t convert_geo_to_ratio(uint32_t width, uint32_t height, uint32_t *ratio) {
  if (ratio == nullptr) {
    LOG_ERROR("\"ratio\" parameter is NULL. ratio=%p", static_cast<void *>(ratio));
    return 0;
  }
  for (uint32_t code = 0; code < std::size(kAspectHeightPerWidth); ++code) {
    const aspect_fraction &f = kAspectHeightPerWidth[code];
    if (width * f.numerator / f.denominator == height) {
      *ratio = code;
      return 1;
    }
  }
  LOG_TRACE("Got a set of values that didn't match an aspect ratio. width=%d height=%d",
            as_int(width), as_int(height));
  return 0;
}

}  // extern "C"

namespace {

// A timing has a table row's raster when the pixel clock, the scan and the
// horizontal active, horizontal blanking and vertical active agree. Sync
// offsets, widths and polarities, vertical blanking and borders may differ.
bool same_raster(const detailed_timing_t &row, const detailed_timing_t &timing) {
  return row.pixel_clock == timing.pixel_clock && row.progressive == timing.progressive &&
         row.h_active == timing.h_active && row.h_blanking == timing.h_blanking &&
         row.v_active == timing.v_active;
}

// Aspect code of a timing from its own image size (mm) or, where that is
// zeroed, from the monitor's image size in the base block (cm). Traces on
// behalf of func and gives false when neither decides.
bool timing_aspect(const char *func, const edid_t &edid, const detailed_timing_t &timing,
                   uint32_t &aspect) {
  if (timing.h_image_size != 0 && timing.v_image_size != 0) {
    if (convert_geo_to_ratio(timing.h_image_size, timing.v_image_size, &aspect)) return true;
    LOG_TRACE_AS(func, "Unable to match timing size to an aspect ratio. H pixels:%d V pixels:%d",
                 as_int(timing.h_image_size), as_int(timing.v_image_size));
    return false;
  }
  if (edid.h_size_cm == 0 || edid.v_size_cm == 0) {
    LOG_TRACE_AS(func,
                 "Timings image size is zeroed as is the EDID monitor size. Unable to match to a "
                 "timing.");
    return false;
  }
  if (convert_geo_to_ratio(edid.h_size_cm, edid.v_size_cm, &aspect)) return true;
  LOG_TRACE_AS(func, "Unable to match image size to an aspect ratio. H pixels:%d V pixels:%d",
               as_int(edid.h_size_cm), as_int(edid.v_size_cm));
  return false;
}

// The trace block that describes a timing no row matched.
void trace_unmatched_timing(const char *func, const detailed_timing_t &t) {
  if (!debug_enabled()) return;
  LOG_TRACE_AS(func, "Unable to match Detailed Timing Description.");
  edc::timing_lines lines;
  edc::describe_timing(
      t, calculate_refresh_rate(t.pixel_clock, t.h_active, t.h_blanking, t.v_active, t.v_blanking),
      lines);
  for (const auto &line : lines) LOG_TRACE_AS(func, "%s", line.data());
}

// The argument checks of the two conversions to a VIC, in their order: the
// VIC first (which then receives 0), the record, the timing.
bool conversion_arguments_present(const char *func, const edid_t *edid, const void *timing,
                                  uint32_t *vic) {
  if (vic == nullptr) {
    LOG_ERROR_AS(func, "\"vic\" parameter is NULL. vic:%p", static_cast<void *>(vic));
    return false;
  }
  *vic = 0;
  if (edid == nullptr) {
    LOG_ERROR_AS(func, "\"edid\" parameter is NULL. edid:%p", static_cast<const void *>(edid));
    return false;
  }
  if (timing == nullptr) {
    LOG_ERROR_AS(func, "\"timing\" parameter is NULL. timing:%p", timing);
    return false;
  }
  return true;
}

}  // namespace

extern "C" {

uint8_t convert_vic_to_dtd(uint32_t vic, detailed_timing_t *timing) {
  if (timing == nullptr) {
    LOG_ERROR("\"timing\" parameter is NULL. timing:%p", static_cast<void *>(timing));
    return 0;
  }
  if (vic == 0 || vic > g_vic_dtd_size) {
    LOG_WARNING("Invalid vic requested for conversion to a DTD. Requested VIC:%d Range:%d-%d",
                as_int(vic), 0, as_int(g_vic_dtd_size));
    return 0;
  }
  *timing = g_vic_dtd[vic - 1].timing;
  return 1;
}

// The first row with the timing's raster and aspect wins; the aspect is what
// tells the 4:3 and 16:9 rows of one raster apart.
uint8_t convert_dtd_to_vic(edid_t *edid, detailed_timing_t *timing, uint32_t *vic) {
  if (!conversion_arguments_present(__func__, edid, timing, vic)) return 0;
  for (uint32_t index = 0; index < g_vic_dtd_size; ++index) {
    const detailed_timing_t &row = g_vic_dtd[index].timing;
    if (!same_raster(row, *timing)) continue;
    if (row.h_image_size == 0 || row.v_image_size == 0) {
      LOG_BUG(
          "DTD table timing has a zeroed vertical/horizontal image size. index:%d "
          "h_image_size:%d v_image_size:%d",
          as_int(index), as_int(row.h_image_size), as_int(row.v_image_size));
      continue;
    }
    uint32_t row_aspect = 0;
    if (!convert_geo_to_ratio(row.h_image_size, row.v_image_size, &row_aspect)) {
      LOG_BUG(
          "DTD table timing failed aspect ratio calculation. index:%d h_image_size:%d "
          "v_image_size:%d",
          as_int(index), as_int(row.h_image_size), as_int(row.v_image_size));
      continue;
    }
    uint32_t aspect = 0;
    if (!timing_aspect(__func__, *edid, *timing, aspect)) continue;
    if (aspect == row_aspect) {
      *vic = g_vic_dtd[index].vic;
      return 1;
    }
  }
  trace_unmatched_timing(__func__, *timing);
  return 0;
}

// The standard timing becomes a progressive mode whose height is the width
// times the aspect fraction turned over, width per height (so 1280 at 16:9
// asks for 1280 x 2275); mode_to_vic then looks it up. CEA short video
// formats come in 4:3 and 16:9 only.
uint8_t convert_std_to_vic(edid_t *edid, std_timing_t *timing, uint32_t *vic) {
  if (!conversion_arguments_present(__func__, edid, timing, vic)) return 0;
  const uint32_t code = timing->aspect_ratio;
  const char *aspect_name = std_aspect_string(static_cast<int32_t>(code));
  if (code < std::size(kAspectHeightPerWidth)) {
    if (code != kAspect4x3 && code != kAspect16x9) {
      LOG_TRACE(
          "Aspect ratio of the standard timing is not a short video mode supported ratio. "
          "ratio:%s",
          aspect_name);
    } else {
      hdmi_mode_t mode{};
      mode.width = timing->h_active;
      const aspect_fraction &f = kAspectHeightPerWidth[code];
      mode.height = timing->h_active * f.denominator / f.numerator;
      mode.interlaced = 0;
      mode.refresh_rate = timing->refresh_rate;
      if (mode_to_vic(&mode, vic)) return 1;
      LOG_TRACE("Failed converting mode to vic. WxH=(%d,%d) Refresh:%d", as_int(mode.width),
                as_int(mode.height), as_int(mode.refresh_rate));
    }
  }
  LOG_TRACE("Unable to match Standard Timing. Hactive:%d Aspect Ratio:%s Refresh Rate:%d",
            as_int(timing->h_active), aspect_name, as_int(timing->refresh_rate));
  return 0;
}

// First row with the mode's scan, frame height, width (or half the row's
// width, for the pixel-repeated rows) and truncated refresh rate.
uint8_t mode_to_vic(hdmi_mode_t *mode, uint32_t *vic) {
  if (mode == nullptr) {
    LOG_ERROR("Parameter \"mode\" is NULL. mode:%p", static_cast<void *>(mode));
    return 0;
  }
  if (vic == nullptr) {
    LOG_ERROR("Parameter \"vic\" is NULL. vic:%p", static_cast<void *>(vic));
    return 0;
  }
  const bool interlaced = mode->interlaced == 1;
  LOG_TRACE("\tMode is %dx%d%s%u. Attempting to find a match.", as_int(mode->width),
            as_int(mode->height), interlaced ? "i" : "p", mode->refresh_rate);
  for (const vic_dtd_t &row : g_vic_dtd) {
    const detailed_timing_t &t = row.timing;
    if ((t.progressive == 0) != interlaced) continue;
    const uint32_t frame_lines = interlaced ? 2 * t.v_active : t.v_active;
    if (frame_lines != mode->height) continue;
    if (t.h_active != mode->width && t.h_active / 2 != mode->width) continue;
    if (calculate_refresh_rate(t.pixel_clock, t.h_active, t.h_blanking, t.v_active, t.v_blanking) !=
        mode->refresh_rate)
      continue;
    *vic = row.vic;
    return 1;
  }
  return 0;
}

}  // extern "C"

// ===========================================================================
// Names and printers
// ===========================================================================

namespace {

constexpr const char *kUnknownValue = "Unknown Value";

// Name of code in a table that names the codes first, first + 1, ... in turn.
template <size_t N>
const char *name_in(const std::array<const char *, N> &names, int64_t first, int64_t code,
                    const char *unknown) {
  const int64_t index = code - first;
  return index >= 0 && index < static_cast<int64_t>(N) ? names[static_cast<size_t>(index)]
                                                       : unknown;
}

// A name for one bit of a mask.
struct named_bit {
  uint32_t bit;
  const char *name;
};

// Name of a single-bit value, "Unknown Value" for anything else.
const char *bit_name(std::span<const named_bit> names, int32_t value) {
  for (const named_bit &entry : names)
    if (static_cast<int64_t>(entry.bit) == value) return entry.name;
  return kUnknownValue;
}

// Appends the names of the bits set in mask, in table order, to the
// NUL-terminated text in buffer (size bytes; cut when full).
void append_bit_names(std::span<const named_bit> names, uint32_t mask, char *buffer, size_t size) {
  for (const named_bit &entry : names) {
    if ((mask & entry.bit) == 0) continue;
    const size_t used = strlen(buffer);
    snprintf(buffer + used, size - used, "%s", entry.name);
  }
}

constexpr size_t joined_length(std::span<const named_bit> names) {
  size_t length = 0;
  for (const named_bit &entry : names) length += std::string_view(entry.name).size();
  return length;
}

constexpr std::array<const char *, std::size(kAspectHeightPerWidth)> kStdAspectNames = {
    "1:1", "4:3", "5:4", "16:9"};

// CTA-861 audio format codes 0 to 15; 16 to 18 are this library's numbers for
// the extension types (byte 3, bits 7..3 of an extended descriptor).
// clang-format off
constexpr std::array<const char *, kAudioLastExtensionType + 1> kAudioFormatNames = {
    "AUDIO_TYPE_INVALID",   "PCM",      "AC3",        "MPEG1", "MP3",
    "MPEG2",                "AAC",      "DTS",        "ATRAC", "DSD",
    "EAC3/DD+",             "DTS HD",   "MLP/TrueHD", "DST",   "WMA pro",
    "AUDIO_TYPE_EXTENSION", "HE AAC",   "HE AACv2",   "MPEG SURROUND"};
// clang-format on

// Short audio descriptor byte 2: supported sample rates, bit 0 up.
constexpr named_bit kSampleRateNames[] = {
    {0x01, "32kHz "}, {0x02, "44.1kHz "},  {0x04, "48kHz "}, {0x08, "88.2kHz "},
    {0x10, "96kHz "}, {0x20, "176.4kHz "}, {0x40, "192kHz "}};

// Short audio descriptor byte 3 of LPCM: sample sizes, bit 0 up.
constexpr named_bit kPcmBitNames[] = {{0x01, "16bits "}, {0x02, "20bits "}, {0x04, "24bits "}};

// Speaker allocation data block payload byte 1 (bits 0-7) and byte 2 (bits 0-2).
constexpr named_bit kSpeakerNames1[] = {{0x01, "FL/FR"},    {0x02, " LFE"},    {0x04, " FC"},
                                        {0x08, " RL/RR"},   {0x10, " RC"},     {0x20, " FLC/FRC"},
                                        {0x40, " RLC/RRC"}, {0x80, " FLW/FRW"}};
constexpr named_bit kSpeakerNames2[] = {{0x01, " FLH/FRH"}, {0x02, " TC"}, {0x04, " FCH"}};

// The stereo mask of a short video descriptor (one bit per HDMI 3D_Structure).
constexpr named_bit kStereoNames[] = {{EDID_STEREO_FP, "FP"},   {EDID_STEREO_SSH, "SSH"},
                                      {EDID_STEREO_TBH, "TBH"}, {EDID_STEREO_FA, "FA"},
                                      {EDID_STEREO_LA, "LA"},   {EDID_STEREO_SSF, "SSF"},
                                      {EDID_STEREO_LD, "LD"},   {EDID_STEREO_LDG, "LD+G"}};

// HDMI VSDB HDMI_VIC codes 1 to 4.
constexpr std::array<const char *, 4> kHdmiVicNames = {"3840x2160p30Hz", "3840x2160p25Hz",
                                                       "3840x2160p24Hz", "4096x2160p24Hz"};

// Base block bytes 0x23 (established timings I), 0x24 (II) and 0x25
// (manufacturer's timings: bit 7 1152x870 at 75 Hz), bit 7 first.
constexpr named_bit kEstablished1Names[] = {
    {0x80, "720x400p70"}, {0x40, "720x400p88"}, {0x20, "640x480p60"}, {0x10, "640x480p67"},
    {0x08, "640x480p72"}, {0x04, "640x480p75"}, {0x02, "800x600p56"}, {0x01, "800x600p60"}};
constexpr named_bit kEstablished2Names[] = {
    {0x80, "800x600p72"},  {0x40, "800x600p75"},  {0x20, "832x624p75"},  {0x10, "1024x768p87"},
    {0x08, "1024x768p60"}, {0x04, "1024x768p70"}, {0x02, "1024x768p75"}, {0x01, "1280x1024p75"}};
constexpr named_bit kManufacturerNames[] = {{0x80, "1152x870p75"}};

// CTA-861 VICs 1 to 64, in VIC order.
constexpr std::array<const char *, g_vic_dtd_size> kVicNames = {
    "640x480p60Hz4x3",         "720x480p60Hz4x3",         "720x480p60Hz16x9",
    "1280x720p60Hz16x9",       "1920x1080i60Hz16x9",      "720(1440)x480i60Hz4x3",
    "720(1440)x480i60Hz16x9",  "720(1440)x240p60Hz4x3",   "720(1440)x240p60Hz16x9",
    "2880x480i60Hz4x3",        "2880x480i60Hz16x9",       "2880x240p60Hz4x3",
    "2880x240p60Hz16x9",       "1440x480p60Hz4x3",        "1440x480p60Hz16x9",
    "1920x1080p60Hz16x9",      "720x576p50Hz4x3",         "720x576p50Hz16x9",
    "1280x720p50Hz16x9",       "1920x1080i50Hz16x9",      "720(1440)x576i50Hz4x3",
    "720(1440)x576i50Hz16x9",  "720(1440)x288p50Hz4x3",   "720(1440)x288p50Hz16x9",
    "2880x576i50Hz4x3",        "2880x576i50Hz16x9",       "2880x288p50Hz4x3",
    "2880x288p50Hz16x9",       "1440x576p50Hz4x3",        "1440x576p50Hz16x9",
    "1920x1080p50Hz16x9",      "1920x1080p24Hz16x9",      "1920x1080p25Hz16x9",
    "1920x1080p30Hz16x9",      "2880x480p60Hz4x3",        "2880x480p60Hz16x9",
    "2880x576p50Hz4x3",        "2880x576p50Hz16x9",       "1920x10801250i50Hz16x9",
    "1920x1080i100Hz16x9",     "1280x720p100Hz16x9",      "720x576p100Hz4x3",
    "720x576p100Hz16x9",       "720(1440)x576i100Hz4x3",  "720(1440)x576i100Hz16x9",
    "1920x1080i120Hz16x9",     "1280x720p120Hz16x9",      "720x480p120Hz4x3",
    "720x480p120Hz16x9",       "720(1440)x480i120Hz4x3",  "720(1440)x480i120Hz16x9",
    "720x576p200Hz4x3",        "720x576p200Hz16x9",       "720(1440)x576i200Hz4x3",
    "720(1440)x576i200Hz16x9", "720x480p240Hz4x3",        "720x480p240Hz16x9",
    "720(1440)x480i240Hz4x3",  "720(1440)x480i240Hz16x9", "1280x720p24Hz16x9",
    "1280x720p25Hz16x9",       "1280x720p30Hz16x9",       "1920x1080p120Hz16x9",
    "1920x1080p100Hz16x9"};

// Texts built from a mask need a buffer of at least this many bytes: the
// longest text for an empty mask (" NoFreqSpecified") and its terminator.
constexpr uint32_t kMinMaskTextSize = 17;

// Room for every name of a mask run together, so that only the caller's
// buffer ever cuts the text.
constexpr size_t kJoinedSize = 64;
static_assert(joined_length(kSampleRateNames) < kJoinedSize &&
              joined_length(kPcmBitNames) < kJoinedSize);

// Every name of the bits set in mask run together (or none_text for an empty
// mask), cut to the caller's buffer; returns what snprintf asked for.
int32_t mask_text(std::span<const named_bit> names, uint32_t mask, const char *none_text,
                  char *string, uint32_t string_len) {
  if (mask == 0) return snprintf(string, string_len, "%s", none_text);
  char joined[kJoinedSize] = {};
  append_bit_names(names, mask, joined, sizeof joined);
  return snprintf(string, string_len, "%s", joined);
}

// The buffer contract of the mask texts: a NULL buffer is refused; otherwise
// the whole buffer is cleared first and one shorter than the minimum refused.
int32_t checked_mask_text(const char *func, std::span<const named_bit> names, uint32_t mask,
                          const char *none_text, char *string, uint32_t string_len) {
  if (string == nullptr) {
    LOG_ERROR_AS(func, "\"string\" parameter is NULL. string:%p", static_cast<void *>(string));
    return 0;
  }
  memset(string, 0, string_len);
  if (string_len < kMinMaskTextSize) {
    LOG_ERROR_AS(func, "\"string_len\" invalid. string_len:%d minimum:%d", as_int(string_len),
                 as_int(kMinMaskTextSize));
    return 0;
  }
  return mask_text(names, mask, none_text, string, string_len);
}

}  // namespace

extern "C" {

const char *std_aspect_string(int32_t ratio) {
  return name_in(kStdAspectNames, 0, ratio, "InvalidRatio");
}

const char *short_audio_string(uint32_t code) {
  return name_in(kAudioFormatNames, 0, code, "AUDIO_TYPE_UNKNOWN");
}

int32_t audio_freq_string(uint32_t freq, char *string, uint32_t string_len) {
  return checked_mask_text(__func__, kSampleRateNames, freq, " NoFreqSpecified", string,
                           string_len);
}

int32_t audio_pcm_bits_string(uint32_t bits, char *string, uint32_t string_len) {
  return checked_mask_text(__func__, kPcmBitNames, bits, " NoBitsSpecified", string, string_len);
}

// The third payload byte (top speakers of later CTA-861 revisions) is not shown.
int32_t print_speaker(uint8_t byte1, uint8_t byte2, uint8_t byte3) {
  (void)byte3;
  char text[200] = {};
  append_bit_names(kSpeakerNames1, byte1, text, sizeof text);
  append_bit_names(kSpeakerNames2, byte2, text, sizeof text);
  return printf("%s\n", text);
}

int32_t print_audio_structure(short_audio_desc_t *audio) {
  if (audio == nullptr) {
    LOG_ERROR("\"audio\" parameter is NULL. str:%p", static_cast<void *>(audio));
    return 0;
  }
  const uint32_t format = audio->format;
  const int32_t code = as_int(format);
  const char *name = short_audio_string(format);
  const int32_t channels = as_int(audio->channels);
  char freq[100];
  audio_freq_string(audio->sample_rates, freq, sizeof freq);
  char line[200];
  if (format == kAudioLpcm) {
    char bits[30];
    audio_pcm_bits_string(audio->bit_depths, bits, sizeof bits);
    snprintf(line, sizeof line, "Code:% 2d:%s Channels:%d Freq:%s Bits:%s", code, name, channels,
             freq, bits);
  } else if (format >= kAudioFirstBitRate && format <= kAudioLastBitRate) {
    snprintf(line, sizeof line, "Code:% 2d:%s Channels:%d Freq:%s Max Rate:%dkHz", code, name,
             channels, freq, as_int(audio->max_bitrate));
  } else if (format >= kAudioFirstValue && format <= kAudioLastValue) {
    snprintf(line, sizeof line, "Code:% 2d:%s Channels:%d Freq:%s val:%d", code, name, channels,
             freq, as_int(audio->format_value));
  } else if (format == kAudioWmaPro) {
    snprintf(line, sizeof line, "Code:% 2d:%s Channels:%d Freq:%s Max Profile:%d", code, name,
             channels, freq, as_int(audio->profile));
  } else if (format >= kAudioFirstExtensionType && format <= kAudioLastExtensionType) {
    snprintf(line, sizeof line, "Code:% 2d:%s Channels:%d Freq:%s", code, name, channels, freq);
  } else {
    snprintf(line, sizeof line, "Code:%d Unrecognized audio code.", code);
  }
  return printf("%s\n", line);
}

void print_stereo_type(uint32_t stereo) {
  if (stereo == 0) {
    printf(" ");
    return;
  }
  for (const named_bit &entry : kStereoNames)
    if ((stereo & entry.bit) != 0) printf("%s ", entry.name);
}

const char *hdmi_vic_string(int32_t vic) {
  return name_in(kHdmiVicNames, 1, vic, kUnknownValue);
}

void print_est_man_type(int32_t mask, const char *(*string_func)(int32_t), const char *title) {
  if (string_func == nullptr) {
    LOG_BUG("string_func is:%p", reinterpret_cast<void *>(string_func));
    return;
  }
  if (title == nullptr || title[0] == '\0') {
    LOG_BUG("str ptr is NULL or 0 length:%p", static_cast<const void *>(title));
    return;
  }
  if (mask == 0) return;
  printf("\n%s: 0x%04X\n", title, static_cast<uint32_t>(mask));
  for (int bit = 7; bit >= 0; --bit)
    if (edc::has_bit(static_cast<uint32_t>(mask), static_cast<unsigned>(bit)))
      printf("\t%s\n", string_func(1 << bit));
}

const char *est_timing_1_string(int32_t value) {
  return bit_name(kEstablished1Names, value);
}

const char *est_timing_2_string(int32_t value) {
  return bit_name(kEstablished2Names, value);
}

const char *man_timing_string(int32_t value) {
  return bit_name(kManufacturerNames, value);
}

const char *short_video_timing_string(uint32_t vic) {
  return name_in(kVicNames, 1, vic, kUnknownValue);
}

}  // extern "C"

// ===========================================================================
// Platform values record lifecycle
// ===========================================================================

namespace {

// The record's lists in the order they are initialised and removed, with the
// element type each holds and the bug reported when it fails.
struct platform_list {
  ll_list_t platform_values_t::*list;
  edc::list_type type;
  const char *init_failure;
  const char *removal_failure;
};
constexpr platform_list kPlatformLists[] = {
    {&platform_values_t::audio_list, edc::list_type_of<int32_t>,
     "Failed to initialize the platform values audio_list", "Failed removing platform audio_list"},
    {&platform_values_t::video_50_priority, edc::list_type_of<short_video_desc_t>,
     "Failed to initialize the platform values video_50_priority",
     "Failed removing platform video_50_priority"},
    {&platform_values_t::video_50_additional, edc::list_type_of<short_video_desc_t>,
     "Failed to initialize the platform values video_50_additional",
     "Failed removing platform video_50_additional"},
    {&platform_values_t::video_60_priority, edc::list_type_of<short_video_desc_t>,
     "Failed to initialize the platform values video_60_priority",
     "Failed removing platform video_60_priority"},
    {&platform_values_t::video_60_additional, edc::list_type_of<short_video_desc_t>,
     "Failed to initialize the platform values video_60_additional",
     "Failed removing platform video_60_additional"},
    {&platform_values_t::std_timings, edc::list_type_of<std_timing_t>,
     "Failed to initialize the platform values standard timings",
     "Failed removing platform values standard timings"},
};

}  // namespace

extern "C" {

bool platform_values_init(platform_values_t *platform_values) {
  if (!edc::argument_present(platform_values, "platform_values", EDC_HERE)) return false;
  memset(platform_values, 0, sizeof *platform_values);
  for (const platform_list &entry : kPlatformLists) {
    if (!edc::init_list(&(platform_values->*entry.list), entry.type)) {
      LOG_BUG("%s", entry.init_failure);
      return false;
    }
  }
  return true;
}

// Only the lists own heap storage; everything else lives in the record.
bool platform_values_destroy(platform_values_t *platform_values) {
  if (!edc::argument_present(platform_values, "platform_values", EDC_HERE)) return false;
  for (const platform_list &entry : kPlatformLists) {
    if (!ll_delete_list(&(platform_values->*entry.list))) {
      LOG_BUG("%s", entry.removal_failure);
      return false;
    }
  }
  return true;
}

}  // extern "C"

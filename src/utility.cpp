// Diagnostics, the debug flag and the typed platform configuration readers.
#include "utility.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>

#include "config_root.h"
#include "diagnostics.h"
#include "platform_config.h"

namespace {

// Process-wide; written only by debug_enable. A plain byte that the host sets
// before it calls the library.
uint8_t g_debug_enabled = 0;

// Full configuration paths are built in buffers of this size (a longer path
// is cut silently).
constexpr size_t kPathSize = 256;

void full_path(char (&path)[kPathSize], const char *key) {
  snprintf(path, sizeof path, "%s%s", edc::kConfigRoot, key != nullptr ? key : "");
  path[kPathSize - 1] = '\0';
}

}  // namespace

extern "C" {

void diag_line(const char *severity, const char *file, int line, const char *func, const char *fmt,
               ...) {
  printf("%s:%d:%s() %s: ", file, line, func, severity);
  va_list args;
  va_start(args, fmt);
  vprintf(fmt, args);
  va_end(args);
  printf("\n");
}

void diag_trace(const char *func, int line, const char *fmt, ...) {
  va_list args;
  va_start(args, fmt);
  vprintf(fmt, args);
  va_end(args);
  printf(" \t\t\t%s():%d\n", func, line);
}

void debug_enable(bool enable) { g_debug_enabled = enable ? 1 : 0; }

bool debug_enabled(void) { return g_debug_enabled != 0; }

bool get_pc_str(const char *key, char *buffer, uint32_t size, const char *default_val,
                bool verbose) {
  char path[kPathSize];
  full_path(path, key);
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
  full_path(path, key);
  int32_t raw = 0;
  T value;
  if (config_get_int(0, path, &raw) != 0) {
    if (verbose)
      LOG_WARNING_AS(func, "Unable to find the platform path:%s Defaulting to:%d", path,
                     static_cast<int32_t>(default_val));
    value = default_val;
  } else {
    value = static_cast<T>(raw);  // an unsigned read takes the 32-bit pattern
  }
  if (value < min) {
    if (verbose)
      LOG_WARNING_AS(func,
                     "The value for platform path:%s is smaller than the minimum value. Setting "
                     "to minimum. Min:%d Val:%d Max:%d",
                     path, static_cast<int32_t>(min), static_cast<int32_t>(value),
                     static_cast<int32_t>(max));
    value = min;
  } else if (value > max) {
    if (verbose)
      LOG_WARNING_AS(func,
                     "The value for platform path:%s is larger than the maximum value. Setting "
                     "to maximum. Min:%d Val:%d Max:%d",
                     path, static_cast<int32_t>(min), static_cast<int32_t>(value),
                     static_cast<int32_t>(max));
    value = max;
  }
  LOG_TRACE_AS(func, "Platform config read. Path:%s val:%d", path, static_cast<int32_t>(value));
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
  struct Rule {
    uint32_t numerator, denominator, code;
  };
  static constexpr Rule kRules[] = {{1, 1, 0}, {3, 4, 1}, {4, 5, 2}, {9, 16, 3}};
  for (const Rule &rule : kRules) {
    if (width * rule.numerator / rule.denominator == height) {
      *ratio = rule.code;
      return 1;
    }
  }
  LOG_TRACE("Got a set of values that didn't match an aspect ratio. width=%d height=%d",
            static_cast<int32_t>(width), static_cast<int32_t>(height));
  return 0;
}

}  // extern "C"



// ===========================================================================
// Names and printers
// ===========================================================================



// ===========================================================================
// Platform values record lifecycle
// ===========================================================================

namespace {

// The record's lists in the order they are initialised and removed, with the
// element type each holds and the bug reported when it fails.
struct PlatformList {
  ll_list_t platform_values_t::*list;
  const char *type;
  const char *init_failure;
  const char *removal_failure;
};
constexpr PlatformList kPlatformLists[] = {
    {&platform_values_t::audio_list, "int", "Failed to initialize the platform values audio_list",
     "Failed removing platform audio_list"},
    {&platform_values_t::video_50_priority, "short_video_desc_t",
     "Failed to initialize the platform values video_50_priority",
     "Failed removing platform video_50_priority"},
    {&platform_values_t::video_50_additional, "short_video_desc_t",
     "Failed to initialize the platform values video_50_additional",
     "Failed removing platform video_50_additional"},
    {&platform_values_t::video_60_priority, "short_video_desc_t",
     "Failed to initialize the platform values video_60_priority",
     "Failed removing platform video_60_priority"},
    {&platform_values_t::video_60_additional, "short_video_desc_t",
     "Failed to initialize the platform values video_60_additional",
     "Failed removing platform video_60_additional"},
    {&platform_values_t::std_timings, "std_timing_t",
     "Failed to initialize the platform values standard timings",
     "Failed removing platform values standard timings"},
};

}  // namespace

extern "C" {

bool platform_values_init(platform_values_t *platform_values) {
  if (platform_values == nullptr) {
    LOG_ERROR("\"platform_values\" parameter is NULL. platform_values:%p",
              static_cast<void *>(platform_values));
    return false;
  }
  memset(platform_values, 0, sizeof *platform_values);
  for (const PlatformList &entry : kPlatformLists) {
    if (!ll_init(&(platform_values->*entry.list), entry.type)) {
      LOG_BUG("%s", entry.init_failure);
      return false;
    }
  }
  return true;
}

// Only the lists own heap storage; everything else lives in the record.
bool platform_values_destroy(platform_values_t *platform_values) {
  if (platform_values == nullptr) {
    LOG_ERROR("\"platform_values\" parameter is NULL. platform_values:%p",
              static_cast<void *>(platform_values));
    return false;
  }
  for (const PlatformList &entry : kPlatformLists) {
    if (!ll_delete_list(&(platform_values->*entry.list))) {
      LOG_BUG("%s", entry.removal_failure);
      return false;
    }
  }
  return true;
}

}  // extern "C"



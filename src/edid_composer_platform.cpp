// Reading the platform configuration: the mode, timing and 4Kx2K lists with
// their entry grammars, and the whole platform values record.
#include <strings.h>

#include <array>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>

#include "config_root.h"
#include "diagnostics.h"
#include "edid_composer.h"
#include "edid_composer_internal.h"
#include "edid_layout.h"
#include "linked_list.h"
#include "platform_config.h"
#include "typed_list.h"
#include "utility.h"
#include "utility_internal.h"

// ===========================================================================
// Platform mode lists
// ===========================================================================

// Lists in the platform configuration are nodes whose children are the
// entries: one walker visits the children in the platform's order and hands
// each value to a callback with the grammar of its kind of list.

using edc::as_int;

namespace {

// Buffers of the list walker.
constexpr size_t kListPathSize = 128;   // root + list name
constexpr size_t kNodeNameSize = 256;   // a child's name
constexpr size_t kValueSize = 30;       // a child's string value ...
constexpr uint32_t kValueRequest = 29;  // ... of which the platform is asked for at most this

// The four video mode lists, by the type number of _get_platform_list.
struct video_list_kind {
  const char *name;
  int32_t rate;      // Hz, for the trace
  bool is_priority;  // priority list or additional list
};
constexpr std::array<video_list_kind, 4> kVideoLists = {{
    {"50_hz_priority_list", 50, true},
    {"60_hz_priority_list", 60, true},
    {"50_hz_addition_list", 50, false},
    {"60_hz_addition_list", 60, false},
}};

// The 3D words of a video mode entry and the HDMI 3D_Structure bits they set.
struct stereo_word {
  const char *word;
  uint32_t bit;
};
constexpr stereo_word kstereo_words[] = {
    {"FP", EDID_STEREO_FP},     // frame packing
    {"SBSH", EDID_STEREO_SSH},  // side-by-side (half)
    {"TBH", EDID_STEREO_TBH},   // top-and-bottom
};

// Bit of a 3D word (any case); 0 for a word that is none of them.
uint32_t stereo_bit(const char *word) {
  for (const stereo_word &known : kstereo_words)
    if (strcasecmp(word, known.word) == 0) return known.bit;
  return 0;
}

// Video mode identification codes of CEA-861 that a mode list may name: the
// rows of the VIC timing table.
constexpr int32_t kMinVic = 1;
constexpr int32_t kMaxVic = static_cast<int32_t>(g_vic_dtd_size);

// Where a 4Kx2K list is stored: the target array and how many modes it holds.
struct hdmi_vic_cursor {
  uint32_t *modes;
  int32_t count;
};
// HDMI VICs of the 4Kx2K formats (HDMI 1.4b, HDMI_VIC 1..4).
constexpr int32_t kMax4kHdmiVic = 4;
constexpr int32_t k4kSlots = static_cast<int32_t>(edc::kMaxHdmiVics);
static_assert(sizeof(platform_values_t::priority_4k_x_2k) == edc::kMaxHdmiVics * sizeof(uint32_t));
static_assert(sizeof(platform_values_t::addition_4k_x_2k) == edc::kMaxHdmiVics * sizeof(uint32_t));

// Bits of the established and manufacturer timing bytes (VESA E-EDID 1.3,
// bytes 0x23..0x25): bit numbers 0..7.
constexpr int32_t kMaxTimingBit = 7;

// Standard timings store the width in units of 8 pixels and the field rate
// as 60..123 Hz in six bits.
constexpr uint32_t kStdMinRate = edc::kStandardTimingRefreshBias;
constexpr uint32_t kStdMaxRate = edc::kStandardTimingRefreshBias + 63;

// Reads the run of decimal digits at text[pos] (an empty run reads 0; a run
// too long for 32 bits reads as the largest value) and steps past the run and
// one separator character. Never steps beyond the text.
uint32_t take_number(std::span<const char> text, size_t &pos) {
  uint32_t number = 0;
  while (pos < text.size() && text[pos] >= '0' && text[pos] <= '9') {
    const uint32_t digit = static_cast<uint32_t>(text[pos] - '0');
    number = number > (UINT32_MAX - digit) / 10 ? UINT32_MAX : number * 10 + digit;
    ++pos;
  }
  if (pos < text.size()) ++pos;
  return number;
}

// The leading decimal number of a video mode entry, read as scanf's "%d"
// reads it (blanks, sign, digits; the value cut to 32 bits as glibc does),
// but without the undefined behaviour of a "%d" that overflows. Returns
// false when there is no number; rest is set to what follows it.
bool take_leading_int(const char *text, int32_t &value, const char *&rest) {
  char *end = nullptr;
  const long long number = strtoll(text, &end, 10);
  if (end == text) return false;
  value = static_cast<int32_t>(static_cast<uint32_t>(static_cast<unsigned long long>(number)));
  rest = end;
  return true;
}

// The 3D words after a video mode's VIC, read as scanf's "%9s" reads words:
// blanks separate them, and a run of more than nine other characters is
// read as several words. At most three are read.
constexpr size_t kWordSize = 10;  // nine characters and a NUL
using mode_words = char[3][kWordSize];

int take_words(const char *text, mode_words &words) {
  const auto blank = [](char c) { return isspace(static_cast<unsigned char>(c)) != 0; };
  int count = 0;
  for (const char *p = text; count < 3; ++count) {
    while (*p != '\0' && blank(*p)) ++p;
    if (*p == '\0') break;
    size_t length = 0;
    while (*p != '\0' && !blank(*p) && length < kWordSize - 1) words[count][length++] = *p++;
    words[count][length] = '\0';
  }
  return count;
}

}  // namespace

extern "C" {

void print_platform_node(uint32_t node, const char *label) {
  if (!debug_enabled()) return;
  if (label == nullptr) label = "(null)";
  char name[kNodeNameSize] = {};
  if (config_node_get_name(node, name, sizeof name) == 0)
    LOG_TRACE("%s:Name of node is:%s", label, name);
  else
    LOG_TRACE("%s:Failed trying to get name", label);
}

bool _get_generic_platform_list(const char *list_name, bool is_int, void *user_ptr,
                                platform_list_callback_t callback) {
  if (list_name == nullptr || list_name[0] == '\0') {
    LOG_BUG("Timing List name is NULL.");
    return true;
  }
  if (callback == nullptr) {
    LOG_BUG("Callback function pointer is NULL. list_name:%s", list_name);
    return true;
  }
  // A missing list or bad entries are reported, never a failure: the caller
  // goes on with what could be read.
  constexpr int32_t kNoSuchNode = 2;
  constexpr int32_t kNoChildren = 2;
  char path[kListPathSize];
  edc::config_path(path, list_name);
  uint32_t node = 0;
  if (config_node_find(0, path, &node) == kNoSuchNode) {
    LOG_ERROR("Unabled to find the platform node:%s.\n", path);
    return true;
  }
  print_platform_node(node, "\tRoot Node");
  uint32_t child = 0;
  if (config_node_first_child(node, &child) == kNoChildren) return true;

  char name[kNodeNameSize] = {};
  char value[kValueSize] = {};
  int32_t number = -1;
  print_platform_node(child, "\tFirst Child Node");
  do {
    print_platform_node(child, "\tNext Node");
    config_node_get_name(child, name, sizeof name);
    // A fresh buffer for each child: no characters of a longer earlier value
    // may follow a shorter one.
    memset(value, 0, sizeof value);
    if (is_int) {
      if (config_node_get_int(child, &number) != 0) {
        LOG_ERROR("Invalid platform configuration entry. Expected an integer. Entry name:%s", name);
        continue;
      }
    } else if (config_node_get_str(child, value, kValueRequest) != 0) {
      LOG_ERROR("Invalid platform configuration entry. Expected a string. Entry name:%s\n", name);
      continue;
    }
    callback(name, list_name, number, value, sizeof value, user_ptr);
  } while (config_node_next_sibling(child, &child) == 0);
  return true;
}

// Video mode entry: "<vic> [3D word [3D word [3D word]]]", the words FP, SBSH
// and TBH in any case; further words are not read.
bool _get_vic_list_callback(const char *child_name, const char *list_name, int32_t value,
                            char *string_value, uint32_t string_size, void *user_ptr) {
  (void)value;
  (void)string_size;
  if (user_ptr == nullptr) {
    LOG_BUG("user_ptr is NULL\n");
    return false;
  }
  ll_list_t *target = *static_cast<ll_list_t **>(user_ptr);
  const char *text = string_value != nullptr ? string_value : "";
  LOG_TRACE("Reading from list:%s Node:%s => %s", list_name, child_name, text);

  mode_words words = {};
  int32_t vic = 0;
  const char *rest = nullptr;
  int scanned = 0;
  if (take_leading_int(text, vic, rest)) scanned = 1 + take_words(rest, words);
  if (scanned <= 0) {
    LOG_WARNING("Invalid string \"%s\" in %s", text, list_name);
    return false;
  }
  if (vic < kMinVic || vic > kMaxVic) {
    LOG_WARNING(
        "Read a vic value from the platform config file that has an unexpected "
        "value:%d. Range:(%d-%d) Ignoring and continuing.",
        vic, kMinVic, kMaxVic);
    return false;
  }
  uint32_t stereo = 0;
  for (int i = scanned - 2; i >= 0; --i) {  // from the last word back to the first
    const uint32_t bit = stereo_bit(words[i]);
    if (bit == 0) {
      LOG_WARNING("Invalid 3D flag \"%s\" in %s", words[i], list_name);
      LOG_WARNING("Invalid string \"%s\" in %s", text, list_name);
      return false;
    }
    stereo |= bit;
  }
  const short_video_desc_t mode = {0, static_cast<uint32_t>(vic), stereo};
  if (edc::append_copy(target, mode, EDC_HERE) == nullptr) return false;
  LOG_TRACE("\tFound list entry: %s = \"%d %s %s %s\"", child_name, vic, words[0], words[1],
            words[2]);
  return true;
}

// 4Kx2K entry: an HDMI VIC 1..4, stored in the next free slot of seven; an
// eighth and later accepted mode is dropped.
bool _get_4k_x_2k_mode_callback(const char *child_name, const char *list_name, int32_t value,
                                char *string_value, uint32_t string_size, void *user_ptr) {
  (void)list_name;
  (void)string_value;
  (void)string_size;
  auto *cursor = static_cast<hdmi_vic_cursor *>(user_ptr);
  if (cursor == nullptr || cursor->modes == nullptr) {
    LOG_BUG("user_ptr is NULL\n");
    return false;
  }
  if (value < 1 || value > kMax4kHdmiVic) {
    LOG_WARNING("Detected a 4k x 2k mode that is not supported. Max:%d Received:%d Node:%s",
                kMax4kHdmiVic, value, child_name);
    return false;
  }
  if (cursor->count < 0 || cursor->count >= k4kSlots) return false;
  cursor->modes[cursor->count++] = static_cast<uint32_t>(value);
  LOG_TRACE("Read 4k x 2k mode:%d", value);
  return true;
}

// Established / manufacturer timing entry: a bit number 0..7 of the timing byte.
bool _get_est_timing_callback(const char *child_name, const char *list_name, int32_t value,
                              char *string_value, uint32_t string_size, void *user_ptr) {
  (void)string_value;
  (void)string_size;
  auto *mask = static_cast<uint32_t *>(user_ptr);
  if (mask == nullptr) {
    LOG_BUG("user_ptr is NULL\n");
    return false;
  }
  if (value < 0 || value > kMaxTimingBit) {
    LOG_WARNING("Mode value is not 0 to 7. Val:%d Node:%s", value, child_name);
    return false;
  }
  *mask |= 1u << value;
  LOG_TRACE("Added timing val:%d for list:%s", value, list_name);
  return true;
}

// Standard timing entry: four decimal numbers, each followed by one separator
// character of any kind: width, height, rate and rate fraction
// ("1920x1080@60", "1280x720@59.94", "1024/768/75").
bool _get_std_timing_callback(const char *child_name, const char *list_name, int32_t value,
                              char *string_value, uint32_t string_size, void *user_ptr) {
  (void)list_name;
  (void)value;
  if (user_ptr == nullptr) {
    LOG_BUG("user_ptr is NULL\n");
    return false;
  }
  ll_list_t *target = *static_cast<ll_list_t **>(user_ptr);
  std::array<char, kValueSize> entry = {};
  if (string_value != nullptr && string_size > 0) {
    const size_t length = string_size < entry.size() ? string_size : entry.size();
    string_value[length - 1] = '\0';
    memcpy(entry.data(), string_value, length);
  }
  const char *text = entry.data();
  size_t pos = 0;
  const uint32_t width = take_number(entry, pos);
  const uint32_t height = take_number(entry, pos);
  uint32_t rate = take_number(entry, pos);
  const uint32_t fraction = take_number(entry, pos);

  if (width % edc::kStandardTimingWidthUnit != 0) {
    LOG_WARNING("Standard timing width(%d) must be a factor of 8. Entry:%s = \"%s\"", as_int(width),
                child_name, text);
    return false;
  }
  uint32_t ratio = 0;
  if (!convert_geo_to_ratio(width, height, &ratio)) {
    // The 5:4 and 16:9 suggestions are width * 5/4 and width * 16/9, as this
    // message has always shown them.
    LOG_WARNING(
        "Height(%d) is not in a proper ratio to width(%d). Accepted heights 1:1=>%d "
        "4:3=>%d 5:4=>%d 16:9=>%d Entry:%s\n",
        as_int(height), as_int(width), as_int(width), as_int(width * 3 / 4), as_int(width * 5 / 4),
        as_int(width * 16 / 9), text);
    return false;
  }
  if (fraction != 0) {
    LOG_WARNING(
        "Only whole refresh rates(%d.%d) are supported, ie 60 not 59.94. Incrementing "
        "refresh rate and continuing. Entry:%s\n",
        as_int(rate), as_int(fraction), text);
    rate += 1;
  }
  if (rate < kStdMinRate || rate > kStdMaxRate) {
    LOG_WARNING("Invalid Refresh rate(%d). Must be 60 to 123. Entry:%s\n", as_int(rate), text);
    return false;
  }
  const std_timing_t timing = {width, ratio, rate};
  return edc::append_copy(target, timing, EDC_HERE) != nullptr;
}

bool _get_platform_list(uint32_t type, ll_list_t *target) {
  if (type >= kVideoLists.size()) {
    LOG_ERROR("\"type\" parameter is an invalid value. type:%d range:(%d-%d)", as_int(type), 0,
              as_int(kVideoLists.size() - 1));
    return false;
  }
  const video_list_kind &kind = kVideoLists[type];
  if (kind.is_priority)
    LOG_TRACE("Reading %dHz priority list from platform config.", kind.rate);
  else
    LOG_TRACE("Reading %dHz additional list from platform config.", kind.rate);
  if (!_get_generic_platform_list(kind.name, false, &target, _get_vic_list_callback)) {
    LOG_WARNING("Failed reading platform list for domain:%s", kind.name);
    return false;
  }
  if (target != nullptr && ll_size(target) == 0) {
    LOG_ERROR(
        "A mode list (%d) is empty. Please verify that all of the video mode lists are "
        "properly populated with 3D mode formated strings.\n",
        as_int(type));
    return false;
  }
  return true;
}

void _get_4k_x_2k_modes(const char *list_name, uint32_t *target) {
  hdmi_vic_cursor cursor = {target, 0};
  _get_generic_platform_list(list_name, true, &cursor, _get_4k_x_2k_mode_callback);
}

void _get_est_timing_list(const char *list_name, uint32_t *target) {
  _get_generic_platform_list(list_name, true, target, _get_est_timing_callback);
}

void _get_std_timing_list(ll_list_t *target) {
  _get_generic_platform_list("standard_timings", false, &target, _get_std_timing_callback);
}

}  // extern "C"

// ===========================================================================
// Platform values
// ===========================================================================

// The platform's whole configuration vocabulary for the composed EDID: every
// key with its range and default, read once per composition.

namespace {

// A number key read with get_pc_int or get_pc_uint into a field of the record.
template <typename T>
struct number_key {
  const char *key;
  T min, max, default_val;
  T platform_values_t::*field;
};

// Keys 2..14, read with get_pc_int after native_refresh_rate. Flags are 0/1;
// tri-states 0 clear, 1 set, 2 as the television declares.
constexpr number_key<int32_t> kSignedKeys[] = {
    {"current_mode_set_to_priority", 0, 1, 0, &platform_values_t::current_mode_set_to_priority},
    {"audio.pass_through", 0, 2, 0, &platform_values_t::audio_pass_through},
    {"underscan", 0, 1, 0, &platform_values_t::underscan},
    {"is_tv", 0, 1, 0, &platform_values_t::is_tv},
    {"geometry_limit", 0, 1, 0, &platform_values_t::geometry_limit},
    {"dc_30bit", 0, 1, 0, &platform_values_t::dc_30bit},
    {"dc_36bit", 0, 1, 0, &platform_values_t::dc_36bit},
    // HDMI VSDB Max_TMDS_Clock is stored in units of 5 MHz: 255 * 5.
    {"tmds_override", 0, 1275, 0, &platform_values_t::tmds_override},
    {"supports_ai", 0, 2, 0, &platform_values_t::supports_ai},
    // Speaker allocation payload bytes 1..3 in bits 0..23 (CTA-861).
    {"speaker_entry", 1, 2047, 1, &platform_values_t::speaker_entry},
    {"xvYCC601", 0, 2, 0, &platform_values_t::xvycc601},
    {"xvYCC709", 0, 2, 0, &platform_values_t::xvycc709},
    {"native_bit", 0, 1, 1, &platform_values_t::native_bit},
};

// Keys 15..22, read with get_pc_uint.
constexpr number_key<uint32_t> kUnsignedKeys[] = {
    // Base block bytes 0x0A..0x11: product code, serial number, week and year
    // of manufacture (VESA E-EDID 1.3).
    {"product_id", 0, 65535, 0, &platform_values_t::product_id},
    {"serial", 0, 4294967295u, 0, &platform_values_t::serial},
    {"week", 0, 255, 1, &platform_values_t::week},
    {"year", 1990, 2100, 2012, &platform_values_t::year},
    // HDMI VSDB CNC0..CNC3 content types.
    {"CNC0", 0, 2, 0, &platform_values_t::cnc0},
    {"CNC1", 0, 2, 0, &platform_values_t::cnc1},
    {"CNC2", 0, 2, 0, &platform_values_t::cnc2},
    {"CNC3", 0, 2, 0, &platform_values_t::cnc3},
};

void read_number_keys(platform_values_t *values, std::span<const number_key<int32_t>> keys) {
  for (const auto &k : keys)
    values->*k.field = get_pc_int(k.key, k.min, k.max, k.default_val, true);
}

void read_number_keys(platform_values_t *values, std::span<const number_key<uint32_t>> keys) {
  for (const auto &k : keys)
    values->*k.field = get_pc_uint(k.key, k.min, k.max, k.default_val, true);
}

// The frame rate families a television's native rate can belong to.
constexpr int32_t kRate50 = 50;
constexpr int32_t kRate60 = 60;

// Week of manufacture (VESA E-EDID 1.3, byte 0x10): 1..53, or 255 to mark the
// year as a model year.
constexpr uint32_t kLastWeek = 53;
constexpr uint32_t kModelYearWeek = 255;

// Audio entries audio.entry_a .. audio.entry_z, each one encoded short audio
// descriptor, in letter order.
constexpr size_t kAudioPathSize = 128;

constexpr const char kReadPlatformValues[] = "_read_platform_values";

// Reads the audio entries into the record's list; false when one could not be stored.
bool read_audio_entries(platform_values_t *values) {
  for (char letter = 'a'; letter <= 'z'; ++letter) {
    char key[] = "audio.entry_?";
    key[sizeof key - 2] = letter;
    char path[kAudioPathSize];
    edc::config_path(path, key);
    int32_t descriptor = 0;
    if (config_get_int(0, path, &descriptor) != 0) continue;  // letters may be left out
    if (edc::append_copy(&values->audio_list, descriptor, EDC_HERE_AS(kReadPlatformValues)) ==
        nullptr)
      return false;
  }
  return true;
}

}  // namespace

extern "C" {

bool _read_platform_values(platform_values_t *platform_values) {
  if (!edc::argument_present(platform_values, "platform_values", EDC_HERE)) return false;
  platform_values_t *values = platform_values;

  // Clamped into 50..60 by the reader; a rate in between is neither family.
  constexpr char kNativeRateKey[] = "native_refresh_rate";
  values->native_refresh_rate = get_pc_int(kNativeRateKey, kRate50, kRate60, kRate60, true);
  if (values->native_refresh_rate != kRate50 && values->native_refresh_rate != kRate60) {
    LOG_WARNING(
        "Value in the platform config file for the domain \"%s%s\" is an unrecognized "
        "value:%d. Valid values: 50,60. Using:%d",
        edc::kConfigRoot, kNativeRateKey, values->native_refresh_rate, kRate60);
    values->native_refresh_rate = kRate60;
  }
  read_number_keys(values, kSignedKeys);
  read_number_keys(values, kUnsignedKeys);
  if (values->week > kLastWeek && values->week != kModelYearWeek) values->week = kLastWeek;

  if (!read_audio_entries(values)) return false;

  // Video mode lists, by the type numbers of _get_platform_list. An empty or
  // missing list is reported there; composition goes on without it.
  _get_platform_list(0, &values->video_50_priority);
  _get_platform_list(2, &values->video_50_additional);
  _get_platform_list(1, &values->video_60_priority);
  _get_platform_list(3, &values->video_60_additional);

  _get_4k_x_2k_modes("4k_x_2k_priority_list", values->priority_4k_x_2k);
  _get_4k_x_2k_modes("4k_x_2k_addition_list", values->addition_4k_x_2k);

  // The record is zeroed, so a default shorter than the field stays terminated.
  get_pc_str("manufacturer_id", values->manufacturer_id, sizeof values->manufacturer_id, "YYY",
             true);
  get_pc_str("monitor_name", values->monitor_name, sizeof values->monitor_name, "", true);
  get_pc_str("monitor_serial", values->monitor_serial, sizeof values->monitor_serial, "", true);

  _get_est_timing_list("established_timings_1", &values->established_timings_1);
  _get_est_timing_list("established_timings_2", &values->established_timings_2);
  _get_est_timing_list("manufacturer_timings", &values->manufacturer_timings);

  _get_std_timing_list(&values->std_timings);
  return true;
}

}  // extern "C"

// The modern profile's keys of the platform configuration (modern.*).
//
// Every key is optional and a missing one takes its default in silence: a
// device that knows nothing of the profile reads as one with the profile
// off. A number out of its range is clamped, a list entry that cannot be
// used is skipped, each with a warning.
#include <strings.h>

#include <cstddef>
#include <cstdint>
#include <span>

#include "compose_profile.h"
#include "config_root.h"
#include "cta_reader.h"
#include "cta_video_formats.h"
#include "diagnostics.h"
#include "platform_config.h"

namespace {

constexpr size_t kPathSize = 128;  // root + the longest modern.* key
constexpr size_t kWordSize = 32;   // a list word; longer text is cut and matches no word

// The helpers below report on behalf of the exported reader.
constexpr const char kComposeProfileRead[] = "compose_profile_read";

// A number key, clamped into min..max.
int32_t read_number(const char *key, int32_t min, int32_t max, int32_t default_val) {
  char path[kPathSize];
  edc::config_path(path, key);
  int32_t value = 0;
  if (config_get_int(0, path, &value) != 0) return default_val;
  if (value < min || value > max) {
    const int32_t clamped = value < min ? min : max;
    LOG_WARNING_AS(kComposeProfileRead,
                   "The value for platform path:%s is out of range. Min:%d Val:%d Max:%d Using:%d",
                   path, min, value, max, clamped);
    return clamped;
  }
  return value;
}

bool read_flag(const char *key, bool default_val) {
  return read_number(key, 0, 1, default_val ? 1 : 0) != 0;
}

// Writes the full path of a list key into path and calls visit(child) for
// each of its entries in the platform's order (a missing list has none).
template <typename Visit>
void for_each_entry(const char *key, char (&path)[kPathSize], Visit visit) {
  edc::config_path(path, key);
  uint32_t node = 0;
  if (config_node_find(0, path, &node) != 0) return;
  uint32_t child = 0;
  if (config_node_first_child(node, &child) != 0) return;
  do {
    visit(child);
  } while (config_node_next_sibling(child, &child) == 0);
}

// modern.vic_priority_list: VICs above 64 that the format table defines, each
// once, at most COMPOSE_PROFILE_MAX_VICS.
void read_vics(compose_profile_t *profile) {
  constexpr int32_t kLastLibraryVic = 64;  // the composer's own lists end here
  char path[kPathSize];
  uint32_t dropped = 0;
  int32_t first_dropped = 0;
  for_each_entry("modern.vic_priority_list", path, [&](uint32_t child) {
    int32_t vic = 0;
    if (config_node_get_int(child, &vic) != 0) {
      LOG_WARNING_AS(kComposeProfileRead, "Invalid entry in %s. Expected an integer. Skipping it.",
                     path);
      return;
    }
    if (vic <= kLastLibraryVic || cta_video_format_find(static_cast<uint32_t>(vic)) == nullptr) {
      LOG_WARNING_AS(kComposeProfileRead,
                     "VIC %d in %s is not a CTA-861 VIC from 65 to 219. Skipping it.", vic, path);
      return;
    }
    const std::span<const uint8_t> kept(profile->vics, profile->vic_count);
    for (const uint8_t earlier : kept) {
      if (earlier == vic) {
        LOG_WARNING_AS(kComposeProfileRead, "VIC %d is listed twice in %s. Skipping the repeat.",
                       vic, path);
        return;
      }
    }
    if (profile->vic_count == COMPOSE_PROFILE_MAX_VICS) {
      if (dropped++ == 0) first_dropped = vic;
      return;
    }
    profile->vics[profile->vic_count++] = static_cast<uint8_t>(vic);
  });
  if (dropped != 0)
    LOG_WARNING_AS(kComposeProfileRead,
                   "%s holds more than %d VICs. Dropping the %d from VIC %d on.", path,
                   COMPOSE_PROFILE_MAX_VICS, edc::as_int(dropped), first_dropped);
}

struct word_bit {
  const char *word;
  uint16_t bit;
};

// The HDR transfer functions (CTA-861-H HDR static metadata block).
constexpr word_bit kEotfWords[] = {
    {"SDR", CTA_EOTF_SDR},
    {"PQ", CTA_EOTF_PQ},
    {"HLG", CTA_EOTF_HLG},
};

// The colorimetry block's flags (CTA-861-H).
constexpr word_bit kColorimetryWords[] = {
    {"xvYCC601", CTA_COLORIMETRY_XVYCC601},   {"xvYCC709", CTA_COLORIMETRY_XVYCC709},
    {"sYCC601", CTA_COLORIMETRY_SYCC601},     {"opYCC601", CTA_COLORIMETRY_OPYCC601},
    {"opRGB", CTA_COLORIMETRY_OPRGB},         {"BT2020cYCC", CTA_COLORIMETRY_BT2020CYCC},
    {"BT2020YCC", CTA_COLORIMETRY_BT2020YCC}, {"BT2020RGB", CTA_COLORIMETRY_BT2020RGB},
    {"ICtCp", CTA_COLORIMETRY_ICTCP},         {"ST2113RGB", CTA_COLORIMETRY_ST2113RGB},
};

// A list of words (any case): the bits of the words it holds.
uint16_t read_words(const char *key, std::span<const word_bit> words) {
  char path[kPathSize];
  uint16_t bits = 0;
  for_each_entry(key, path, [&](uint32_t child) {
    char word[kWordSize] = {};
    if (config_node_get_str(child, word, sizeof word) != 0) {
      LOG_WARNING_AS(kComposeProfileRead, "Invalid entry in %s. Expected a string. Skipping it.",
                     path);
      return;
    }
    for (const word_bit &known : words) {
      if (strcasecmp(word, known.word) == 0) {
        bits |= known.bit;
        return;
      }
    }
    LOG_WARNING_AS(kComposeProfileRead, "Unknown word \"%s\" in %s. Skipping it.", word, path);
  });
  return bits;
}

}  // namespace

extern "C" void compose_profile_defaults(compose_profile_t *profile) {
  if (profile == nullptr) return;
  *profile = compose_profile_t{};
  profile->max_tmds_rate_mhz = 340;
  profile->rgb_quantization_selectable = true;
}

extern "C" bool compose_profile_read(compose_profile_t *profile) {
  if (!edc::argument_present(profile, "profile", EDC_HERE)) return false;
  compose_profile_defaults(profile);
  compose_profile_t &p = *profile;
  // HDMI 2.0 carries TMDS character rates up to 600 MHz.
  constexpr int32_t kMaxTmdsRate = 600;
  p.enabled = read_flag("modern.enabled", p.enabled);
  p.max_tmds_rate_mhz = static_cast<uint16_t>(
      read_number("modern.max_tmds_rate", 0, kMaxTmdsRate, p.max_tmds_rate_mhz));
  p.scdc = read_flag("modern.scdc", p.scdc);
  p.ycbcr420 = read_flag("modern.ycbcr420", p.ycbcr420);
  p.dc_30bit_420 = read_flag("modern.dc_30bit_420", p.dc_30bit_420);
  p.dc_36bit_420 = read_flag("modern.dc_36bit_420", p.dc_36bit_420);
  p.dc_48bit_420 = read_flag("modern.dc_48bit_420", p.dc_48bit_420);
  read_vics(profile);
  p.eotfs = static_cast<uint8_t>(read_words("modern.hdr_eotfs", kEotfWords));
  p.static_metadata_type1 = read_flag("modern.hdr_static_metadata_type1", p.static_metadata_type1);
  p.colorimetry = read_words("modern.colorimetry", kColorimetryWords);
  p.vendor_hdr = read_flag("modern.vendor_hdr", p.vendor_hdr);
  p.rgb_quantization_selectable =
      read_flag("modern.rgb_quantization_selectable", p.rgb_quantization_selectable);
  LOG_TRACE(
      "Modern profile: enabled:%d max_tmds_rate:%d scdc:%d ycbcr420:%d dc_420:%d/%d/%d vics:%d "
      "eotfs:0x%x type1:%d colorimetry:0x%x vendor_hdr:%d qs:%d",
      p.enabled, edc::as_int(p.max_tmds_rate_mhz), p.scdc, p.ycbcr420, p.dc_30bit_420,
      p.dc_36bit_420, p.dc_48bit_420, edc::as_int(p.vic_count), edc::as_int(p.eotfs),
      p.static_metadata_type1, edc::as_int(p.colorimetry), p.vendor_hdr,
      p.rgb_quantization_selectable);
  return true;
}

// The EDID composer: the selection stages, the population of the new record,
// the composition entry points, and the raw EDID dump driver.
#include "edid_composer.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>

#include "diagnostics.h"
#include "edid_composer_internal.h"
#include "edid_layout.h"
#include "linked_list.h"
#include "scope_guard.h"
#include "typed_list.h"
#include "utility.h"

using edc::as_int;

// ===========================================================================
// Raw EDID dump
// ===========================================================================

namespace {

// The base block and each extension are 128 bytes; a composed EDID is one
// of each.
constexpr uint32_t kBlockSize = edc::kBlockSize;
constexpr uint32_t kTwoBlocks = 2 * kBlockSize;

constexpr const char kPrintEdid[] = "print_edid";

}  // namespace

extern "C" {

// Decodes edid_bytes of raw EDID into a temporary record and prints it. Only
// a size that is not a whole number of blocks is refused; bytes that were
// not given (a size of 0) read as 0, so the header check refuses them.
void print_edid(const uint8_t *edid_block, uint32_t edid_bytes, uint8_t summary,
                const char *title) {
  if (edid_block == nullptr) {
    LOG_ERROR("\"edid_block\" memory block parameter is NULL. Exiting. edid_block:%p",
              static_cast<const void *>(edid_block));
    return;
  }
  if (edid_bytes % kBlockSize != 0) {
    LOG_ERROR("Edid size is not an valid value. edid_bytes=%d Range=(%d-%d)", as_int(edid_bytes),
              as_int(kBlockSize), as_int(kTwoBlocks));
    return;
  }
  edid_t edid;
  if (!edid_prepare(&edid)) {
    LOG_ERROR("Failed preparing edid.");
    return;
  }
  const edc::scope_exit release_edid([&edid]() noexcept {
    if (!edid_destroy(&edid)) LOG_ERROR_AS(kPrintEdid, "Failed cleaning up edid.");
  });
  std::array<uint8_t, kBlockSize> base{};
  memcpy(base.data(), edid_block, edid_bytes < kBlockSize ? edid_bytes : kBlockSize);
  if (!decode_edid_block_0(base.data(), &edid)) {
    LOG_ERROR("Failed decoding EDID block 0.");
  } else if (edid_bytes >= kTwoBlocks &&
             !decode_edid_extensions(edid_block + kBlockSize, edid_bytes - kBlockSize, &edid)) {
    LOG_ERROR("Failed decoding EDID block 1.");
  } else if (!print_edid_struct(&edid, summary, title)) {
    LOG_WARNING("Failed printing edid.");
  }
}

}  // extern "C"

// ===========================================================================
// Composition (selection stages, population, entry points)
// ===========================================================================

namespace {

// The functions that shared code reports on behalf of.
constexpr const char kCombineLists[] = "_combine_lists";
constexpr const char kComposeEdidInternal[] = "compose_edid_internal";
constexpr const char kDetermineNativeRate[] = "_determine_tv_native_refresh_rate";
constexpr const char kFilter4kModes[] = "_filter_4k_modes";
constexpr const char kFilterAudioFormats[] = "_filter_audio_formats";
constexpr const char kFilterVideoModes[] = "_filter_video_modes";
constexpr const char kPopulateNewEdid[] = "_populate_new_edid";

// One line of a traced video mode list: VIC, its name, its 3D structures and
// the native mark (or the filler given for a mode that is not native).
void print_mode_line(const short_video_desc_t &mode, const char *not_native) {
  printf("\t\tVIC:%d %s ", as_int(mode.vic), short_video_timing_string(mode.vic));
  print_stereo_type(mode.stereo);
  printf(" %s\n", mode.native ? "Native" : not_native);
}

// A VIC's frame height: the lines of its timing, doubled for an interlaced
// timing (whose vertical values count one field). False when the VIC has no
// timing; the caller reports it.
bool frame_height(uint32_t vic, uint32_t &height) {
  detailed_timing_t timing;
  if (!convert_vic_to_dtd(vic, &timing)) return false;
  height = timing.progressive ? timing.v_active : 2 * timing.v_active;
  return true;
}

}  // namespace

// ===========================================================================
// Size and 4Kx2K limits
// ===========================================================================

namespace {

// Stereo structures that need more than one frame's clock (HDMI 1.4b 3D
// formats): frame packing, field and line alternative, side-by-side (full)
// and L + depth send two pictures a frame; L + depth + graphics +
// graphics-depth sends four. Side-by-side (half) and top-and-bottom fit in
// one frame.
constexpr uint32_t kDoubleClockStereo =
    EDID_STEREO_FP | EDID_STEREO_FA | EDID_STEREO_LA | EDID_STEREO_SSF | EDID_STEREO_LD;
constexpr uint32_t kQuadrupleClockStereo = EDID_STEREO_LDG;
static_assert(kDoubleClockStereo == 0x79 && kQuadrupleClockStereo == 0x80);

// HDMI VICs held by a record (HDMI_VIC_LEN is 3 bits) and by each platform
// 4Kx2K list.
constexpr uint32_t k4kSlots = edc::kMaxHdmiVics;
static_assert(k4kSlots == sizeof(edid_t::hdmi_vic) / sizeof(edid_t::hdmi_vic[0]) &&
              k4kSlots == sizeof(platform_values_t::priority_4k_x_2k) / sizeof(uint32_t));

// The entries of a platform 4Kx2K list: up to its first 0.
uint32_t listed_4k_modes(const uint32_t (&modes)[k4kSlots]) {
  uint32_t count = 0;
  while (count < k4kSlots && modes[count] != 0) ++count;
  return count;
}

void trace_4k_modes(const char *title, const uint32_t *modes, uint32_t count) {
  LOG_TRACE_AS(kFilter4kModes, "%s", title);
  for (uint32_t i = 0; i < count; ++i)
    LOG_TRACE_AS(kFilter4kModes, "\t%d\t%s", as_int(modes[i]), hdmi_vic_string(as_int(modes[i])));
}

}  // namespace

extern "C" {

int32_t _find_largest_height(ll_list_t *list) {
  uint32_t largest = 0;
  for (const short_video_desc_t *mode :
       edc::checked_elements<short_video_desc_t>(list, "video_list", EDC_HERE)) {
    uint32_t height = 0;
    if (!frame_height(mode->vic, height)) {
      LOG_BUG("\tFailed converting VIC:%d to a DTD.", as_int(mode->vic));
      continue;
    }
    if (height > largest) largest = height;
  }
  LOG_TRACE("Largest Height:%d\n", as_int(largest));
  return as_int(largest);
}

// Walks backwards, so that the indices still to visit stay valid.
void _remove_larger_height_modes(uint32_t limit, ll_list_t *list) {
  const int32_t size = edc::checked_elements<short_video_desc_t>(list, "vic_list", EDC_HERE).size();
  for (int32_t i = size - 1; i >= 0; --i) {
    const short_video_desc_t *mode = edc::element_at<short_video_desc_t>(list, i);
    if (mode == nullptr) continue;
    uint32_t height = 0;
    if (!frame_height(mode->vic, height)) {
      LOG_BUG("\tFailed converting VIC:%d to a DTD.", as_int(mode->vic));
      continue;
    }
    if (height > limit) ll_delete_entry_at(list, static_cast<uint32_t>(i));
  }
}

uint32_t _maximum_pixel_clock(ll_list_t *list) {
  const auto modes = edc::checked_elements<short_video_desc_t>(list, "video_list", EDC_HERE);
  if (modes.size() == 0) {
    LOG_BUG("\tReceived a list that contains no entries. List:%p", static_cast<void *>(list));
    return 0;
  }
  uint32_t largest = 0;
  for (const short_video_desc_t *mode : modes) {
    detailed_timing_t timing;
    if (!convert_vic_to_dtd(mode->vic, &timing)) {
      LOG_BUG("\tFailed converting VIC:%d to a DTD.", as_int(mode->vic));
      continue;
    }
    uint32_t clock = timing.pixel_clock;
    if ((mode->stereo & kDoubleClockStereo) != 0) clock *= 2;
    if ((mode->stereo & kQuadrupleClockStereo) != 0) clock *= 4;
    if (clock > largest) largest = clock;
  }
  return largest;
}

// The priority list's modes that the television declares or the platform
// adds, in the priority list's order.
uint8_t _filter_4k_modes(edid_t *edid, edid_t *new_edid, platform_values_t *platform_values) {
  if (!edc::argument_present(edid, "edid", EDC_HERE) ||
      !edc::argument_present(new_edid, "new_edid", EDC_HERE) ||
      !edc::argument_present(platform_values, "platform_values", EDC_HERE))
    return 0;
  memset(new_edid->hdmi_vic, 0, sizeof new_edid->hdmi_vic);
  new_edid->hdmi_vic_len = 0;

  const uint32_t downstream = edid->hdmi_vic_len < k4kSlots ? edid->hdmi_vic_len : k4kSlots;
  const uint32_t additions = listed_4k_modes(platform_values->addition_4k_x_2k);
  std::array<uint32_t, 2 * k4kSlots> allowed{};
  std::copy_n(edid->hdmi_vic, downstream, allowed.begin());
  std::copy_n(platform_values->addition_4k_x_2k, additions, allowed.begin() + downstream);
  const auto allowed_end = allowed.begin() + downstream + additions;

  const uint32_t priorities = listed_4k_modes(platform_values->priority_4k_x_2k);
  if (debug_enabled()) {
    trace_4k_modes("Downstream 4k x 2k:", edid->hdmi_vic, downstream);
    trace_4k_modes("Additional 4k x 2k:", platform_values->addition_4k_x_2k, additions);
    trace_4k_modes("Priority 4k x 2k:", platform_values->priority_4k_x_2k, priorities);
  }
  for (uint32_t i = 0; i < priorities; ++i) {
    const uint32_t mode = platform_values->priority_4k_x_2k[i];
    if (std::find(allowed.begin(), allowed_end, mode) == allowed_end) continue;
    new_edid->hdmi_vic[new_edid->hdmi_vic_len++] = mode;
    LOG_TRACE("\tAdding 4k x 2k mode:%d:%s", as_int(mode), hdmi_vic_string(as_int(mode)));
  }
  return 1;
}

}  // extern "C"

// ===========================================================================
// Video mode selection
// ===========================================================================

namespace {

// Refresh rates that reveal the television's frame rate family: 60 Hz
// (59.94 and the 30/29.97 Hz film cadences) or 50 Hz (and 25 Hz).
int32_t rate_family(uint32_t refresh_rate) {
  switch (refresh_rate) {
    case 60:
    case 59:
    case 30:
    case 29:
      return 60;
    case 50:
    case 25:
      return 50;
    default:
      return 0;
  }
}

// The rate family a detailed timing reveals, with its trace; 0 for none.
int32_t timing_rate_family(const detailed_timing_t &t, int32_t index) {
  const uint32_t refresh =
      calculate_refresh_rate(t.pixel_clock, t.h_active, t.h_blanking, t.v_active, t.v_blanking);
  const int32_t family = rate_family(refresh);
  if (family == 60)
    LOG_TRACE_AS(kDetermineNativeRate,
                 "Found DTD number: index #%d had a %d Hz refresh rate. Using %dHz as native rate.",
                 index, as_int(refresh), family);
  else if (family == 50)
    LOG_TRACE_AS(kDetermineNativeRate,
                 "Found DTD number: index #%d had a %d Hz refresh rate. Using %d as native rate.",
                 index, as_int(refresh), family);
  return family;
}

// The television's own modes, in the order that decides: detailed timings,
// then standard timings (which reveal 60 Hz only), then video descriptors.
int32_t sink_rate_family(edid_t *edid) {
  int32_t index = 0;
  for (const detailed_timing_t *timing : edc::checked_elements<detailed_timing_t>(
           &edid->dtd_list, "&edid->dtd_list", EDC_HERE_AS(kDetermineNativeRate))) {
    if (const int32_t family = timing_rate_family(*timing, index++)) return family;
  }
  index = 0;
  for (const std_timing_t *timing : edc::checked_elements<std_timing_t>(
           &edid->std_timings, "&edid->std_timings", EDC_HERE_AS(kDetermineNativeRate))) {
    if (timing->refresh_rate == 60 || timing->refresh_rate == 59) {
      LOG_TRACE_AS(kDetermineNativeRate,
                   "Found a standard timing number: index #%d had a %dHz refresh rate. Using %d as "
                   "native rate.",
                   index, as_int(timing->refresh_rate), 60);
      return 60;
    }
    ++index;
  }
  index = 0;
  for (const short_video_desc_t *mode : edc::checked_elements<short_video_desc_t>(
           &edid->video_list, "&edid->video_list", EDC_HERE_AS(kDetermineNativeRate))) {
    detailed_timing_t timing;
    const int32_t at = index++;
    if (!convert_vic_to_dtd(mode->vic, &timing)) continue;
    if (const int32_t family = timing_rate_family(timing, at)) return family;
  }
  return 0;
}

// _combine_lists' check of one of its lists: present (a missing one is
// reported with the given severity) and initialised.
bool combinable(ll_list_t *list, const char *name, const char *missing, const ll_list_t *vic_list) {
  const edc::report_site site = EDC_HERE_AS(kCombineLists);
  const void *address = vic_list;
  if (list == nullptr) {
    edc::report(site, missing, "%s is NULL. ptr=%p", name, address);
    return false;
  }
  if (!ll_is_initialized(list)) {
    edc::report(site, "ERROR", "%s has not been initialized. ptr=%p", name, address);
    return false;
  }
  return true;
}

// The platform's priority and additional lists for a rate family.
ll_list_t *priority_list(platform_values_t *values, int32_t rate) {
  if (rate == 60) return &values->video_60_priority;
  if (rate == 50) return &values->video_50_priority;
  return nullptr;
}

// Appends to valid the VIC of each of the television's timings that is a
// CEA format, without 3D.
template <typename Timing>
bool gather_vics(edid_t *edid, ll_list_t *timings, const char *name,
                 uint8_t (*convert)(edid_t *, Timing *, uint32_t *), ll_list_t *valid) {
  for (Timing *timing :
       edc::checked_elements<Timing>(timings, name, EDC_HERE_AS(kFilterVideoModes))) {
    uint32_t vic = 0;
    if (convert(edid, timing, &vic) && edc::append_copy(valid, short_video_desc_t{0, vic, 0},
                                                        EDC_HERE_AS(kFilterVideoModes)) == nullptr)
      return false;
  }
  return true;
}

// Steps 2-12 of _filter_video_modes over the valid-modes list it owns.
bool select_video_modes(edid_t *edid, hdmi_mode_t *current_mode, ll_list_t *valid,
                        ll_list_t *ret_modes, platform_values_t *values) {
  // Every mode the television declares, as VICs; a timing that is no CEA
  // format is left out.
  if (!gather_vics(edid, &edid->dtd_list, "&edid->dtd_list", convert_dtd_to_vic, valid) ||
      !gather_vics(edid, &edid->std_timings, "&edid->std_timings", convert_std_to_vic, valid))
    return false;
  if (!_combine_lists(valid, &edid->video_list)) {
    LOG_ERROR_AS(kFilterVideoModes, "Failed combining short video lists.");
    return false;
  }

  // The platform's additions for the native rate, offered whether or not the
  // television declares them.
  const int32_t rate = _determine_tv_native_refresh_rate(edid, values);
  if (rate == 60) {
    LOG_TRACE_AS(kFilterVideoModes, "Combining 60Hz lists:");
    if (!_combine_lists(valid, &values->video_60_additional)) {
      LOG_ERROR_AS(kFilterVideoModes, "Failed combining 60Hz lists.");
      return false;
    }
  } else {
    LOG_TRACE_AS(kFilterVideoModes, "Combining 50Hz lists:");
    if (!_combine_lists(valid, &values->video_50_additional)) {
      LOG_ERROR_AS(kFilterVideoModes, "Failed combining 50Hz lists.");
      return false;
    }
  }
  // The height limit is the television's tallest video descriptor; it
  // applies to the platform's additions too.
  if (values->geometry_limit != 0)
    _remove_larger_height_modes(static_cast<uint32_t>(_find_largest_height(&edid->video_list)),
                                valid);

  ll_list_t *master = priority_list(values, rate);
  if (master == nullptr) {
    LOG_BUG_AS(kFilterVideoModes, "Unable to obtain a %dHz Platform list.", rate);
    return false;
  }
  if (debug_enabled()) {
    LOG_TRACE_AS(kFilterVideoModes, "\tPrioritization List:");
    for (const short_video_desc_t *mode :
         edc::checked_elements<short_video_desc_t>(master, "list", EDC_HERE_AS(kFilterVideoModes)))
      print_mode_line(*mode, "      ");
  }
  LOG_TRACE_AS(kFilterVideoModes,
               "Prioritize the list of valid modes and remove duplicates. Modes:%d MasterList:%d",
               ll_size(valid), ll_size(master));

  // The priority list's order; every valid mode of a priority VIC adds the
  // 3D structures both sides support. Native flags are not carried over.
  for (const short_video_desc_t *wanted :
       edc::checked_elements<short_video_desc_t>(master, "list", EDC_HERE_AS(kFilterVideoModes))) {
    short_video_desc_t selected = {0, 0, 0};
    bool found = false;
    for (const short_video_desc_t *offered : edc::checked_elements<short_video_desc_t>(
             valid, "vic_list", EDC_HERE_AS(kFilterVideoModes))) {
      if (offered->vic != wanted->vic) continue;
      selected.vic = wanted->vic;
      selected.stereo |= wanted->stereo & offered->stereo;
      found = true;
    }
    if (found && edc::append_copy(ret_modes, selected, EDC_HERE_AS(kFilterVideoModes)) == nullptr)
      return false;
  }

  // The caller's current output mode goes first, without 3D.
  if (values->current_mode_set_to_priority != 0 && _valid_current_mode(current_mode)) {
    uint32_t vic = 0;
    if (!mode_to_vic(current_mode, &vic)) {
      LOG_ERROR_AS(kFilterVideoModes, "Could not obtain a valid hdmi mode. Continuing.");
    } else {
      int32_t index = 0;
      for (const short_video_desc_t *mode : edc::elements<short_video_desc_t>(ret_modes)) {
        if (mode->vic == vic) break;
        ++index;
      }
      if (index < ll_size(ret_modes) &&
          !ll_delete_entry_at(ret_modes, static_cast<uint32_t>(index))) {
        LOG_ERROR_AS(kFilterVideoModes, "Failed deleting entry index:%d.", index);
        return false;
      }
      LOG_TRACE_AS(kFilterVideoModes, "\tAdding hdmi output mode as the priority mode:%s",
                   short_video_timing_string(vic));
      static constexpr edc::insertion_messages kFrontMessages = {
          "Failed creating entry.", "Failed adding entry to the back of the list.",
          "Failed deleting unused entry."};
      if (edc::insert_copy(ret_modes, short_video_desc_t{0, vic, 0}, edc::list_end::front,
                           EDC_HERE_AS(kFilterVideoModes), kFrontMessages) == nullptr)
        return false;
    }
  } else {
    LOG_TRACE_AS(kFilterVideoModes, "\tIgnoring hdmi_current_mode.");
  }

  if (debug_enabled()) {
    LOG_TRACE_AS(kFilterVideoModes, "\tNew EDID List of VICs:");
    for (const short_video_desc_t *mode : edc::checked_elements<short_video_desc_t>(
             ret_modes, "ret_modes", EDC_HERE_AS(kFilterVideoModes)))
      print_mode_line(*mode, "      ");
  }
  return true;
}

}  // namespace

extern "C" {

uint32_t _filter_video_modes(edid_t *edid, hdmi_mode_t *hdmi_current_mode, ll_list_t *ret_modes,
                             platform_values_t *platform_values) {
  if (!edc::argument_present(edid, "edid", EDC_HERE) ||
      !edc::argument_present(ret_modes, "ret_modes", EDC_HERE) ||
      !edc::argument_present(platform_values, "platform_values", EDC_HERE))
    return 0;
  ll_list_t valid{};
  if (!edc::init_list_of<short_video_desc_t>(&valid)) {
    LOG_ERROR("Failed initializing the linked list.");
    return 0;
  }
  // The result depends on releasing the list, so it is released here, after
  // the selection, rather than by a guard.
  const bool selected =
      select_video_modes(edid, hdmi_current_mode, &valid, ret_modes, platform_values);
  if (!ll_delete_list(&valid)) {
    LOG_ERROR("Failed deleting list.");
    return 0;
  }
  return selected ? 1 : 0;
}

int32_t _determine_tv_native_refresh_rate(edid_t *edid, platform_values_t *platform_values) {
  int32_t rate = 0;
  if (edid == nullptr)
    LOG_ERROR("edid pointer is NULL. ptr=%p", static_cast<void *>(edid));
  else
    rate = sink_rate_family(edid);
  if (rate == 0) {
    LOG_TRACE(
        "Unable to find a video mode that indicates the native refresh rate of the television. "
        "Reading the platform config file for native refresh rate.");
    rate = platform_values != nullptr ? platform_values->native_refresh_rate : 60;
    LOG_TRACE("Using %dHz as native rate.", rate);
  }
  if (rate != 50 && rate != 60) {
    LOG_BUG("Expected to return only 50 or 60 here. Forcing value to 60. Val:%d", rate);
    return 60;
  }
  return rate;
}

uint8_t _combine_lists(ll_list_t *vic_list, ll_list_t *extra_list) {
  // Every report names vic_list's address, those about extra_list too.
  if (!combinable(vic_list, "vic_list", "ERROR", vic_list) ||
      !combinable(extra_list, "extra_list", "WARNING", vic_list))
    return 0;
  LOG_TRACE("Combine Lists:");
  // Duplicates are kept: the priority walk merges them.
  for (const short_video_desc_t *mode :
       edc::checked_elements<short_video_desc_t>(extra_list, "extra_list", EDC_HERE)) {
    if (edc::append_copy(vic_list, short_video_desc_t{0, mode->vic, mode->stereo}, EDC_HERE) ==
        nullptr)
      return 0;
    LOG_TRACE("\tAdding video format:%d %s stereo:0x%03X", as_int(mode->vic),
              short_video_timing_string(mode->vic), mode->stereo);
  }
  if (debug_enabled()) {
    LOG_TRACE("\tList after combining:");
    for (const short_video_desc_t *mode :
         edc::checked_elements<short_video_desc_t>(vic_list, "vic_list", EDC_HERE))
      print_mode_line(*mode, "");
  }
  return 1;
}

// Bounds of a plausible output mode, inclusive.
uint8_t _valid_current_mode(hdmi_mode_t *mode) {
  if (mode == nullptr) return 0;
  const bool plausible = mode->height >= 100 && mode->height <= 8000 && mode->width >= 400 &&
                         mode->width <= 16000 && mode->refresh_rate >= 20 &&
                         mode->refresh_rate <= 1000 && mode->interlaced <= 1;
  return plausible ? 1 : 0;
}

}  // extern "C"

// ===========================================================================
// Audio format selection
// ===========================================================================

namespace {

// The audio mask: one bit per audio format code, with the word that
// print_edid_audio_mask prints for it. E-AC-3 shares AC-3's word.
struct audio_mask_bit {
  uint32_t format;
  uint32_t bit;
  const char *word;
};
constexpr audio_mask_bit kAudioMaskBits[] = {
    {1, 0x1, "pcm "},
    {2, 0x2, "ac3 "},
    {3, 0x4, "mpeg1 "},
    {4, 0x8, "mp3 "},
    {5, 0x10, "mpeg2 "},
    {6, 0x20, "aac "},
    {7, 0x40, "dts "},
    {8, 0x80, "atrac "},
    {9, 0x100, "dsd "},
    {10, 0x200, "ac3 "},
    {11, 0x400, "dts_hd "},
    {12, 0x800, "mlp "},
    {13, 0x1000, "dst "},
    {14, 0x2000, "wma_pro "},
    {16, 0x4000, "he_aac "},
    {17, 0x8000, "he_aac2 "},
    {18, 0x10000, "mpeg_surround "},
};
constexpr uint32_t kAllAudioFormats = 0xFFFFFFFF;

constexpr uint32_t kAudioPcm = edc::kAudioLpcm;

// The basic audio every HDMI sink must take: two-channel PCM at 32, 44.1 or
// 48 kHz (CTA-861); the entry added when none is offered has all three
// rates and 16 and 24 bits.
constexpr uint32_t kBasicAudioRates = 0x07;
constexpr short_audio_desc_t kBasicAudio = {kAudioPcm, 2, kBasicAudioRates, 0x05, 0, 0, 0};

int32_t smaller(uint32_t a, uint32_t b) {
  return static_cast<int32_t>(a) < static_cast<int32_t>(b) ? static_cast<int32_t>(a)
                                                           : static_cast<int32_t>(b);
}

// The sink's entry e takes descriptor d: the same format at a common sample
// rate, and for PCM a common bit depth at a comparable channel count (two,
// or three and more; a one-channel PCM never matches).
bool sink_takes(const short_audio_desc_t &e, const short_audio_desc_t &d) {
  if (e.format != d.format || (e.sample_rates & d.sample_rates) == 0) return false;
  if (d.format != kAudioPcm) return true;
  const bool stereo = e.channels == 2 && d.channels == 2;
  const auto ec = static_cast<int32_t>(e.channels), dc = static_cast<int32_t>(d.channels);
  const bool multichannel = ec >= 3 && dc >= 3;
  return (stereo || multichannel) && (e.bit_depths & d.bit_depths) != 0;
}

// The platform's own formats (pass-through 0 and 1), each narrowed to what
// the sink takes when the sink filter is on.
bool add_platform_formats(edid_t *sink, bool sink_filter, ll_list_t *ret_list,
                          platform_values_t *values) {
  LOG_TRACE_AS(kFilterAudioFormats, "\tReading the platform audio modes:");
  for (const int32_t *entry : edc::checked_elements<int32_t>(
           &values->audio_list, "&platform_values->audio_list", EDC_HERE_AS(kFilterAudioFormats))) {
    // Bits 0-7 hold descriptor byte 1, bits 8-15 byte 2, bits 16-23 byte 3.
    const auto value = static_cast<uint32_t>(*entry);
    short_audio_desc_t audio;
    if (!decode_edid_short_audio(static_cast<uint8_t>(value),
                                 static_cast<int32_t>((value >> 8) & 0xFF),
                                 static_cast<uint8_t>(value >> 16), &audio)) {
      LOG_WARNING_AS(kFilterAudioFormats, "Failed decoding audio format. Val:0x%06X", value);
      continue;
    }
    if (sink_filter && !_audio_format_in_downstream_sink(sink, &audio)) {
      LOG_TRACE_AS(kFilterAudioFormats, "\t\tFormat not in downstream as requested. Ignoring");
      continue;
    }
    if (_audio_format_in_list(ret_list, &audio)) {
      LOG_TRACE_AS(kFilterAudioFormats, "\t\tFormat is a duplicate. Ignoring.");
      continue;
    }
    if (edc::append_copy(ret_list, audio, EDC_HERE_AS(kFilterAudioFormats)) == nullptr)
      return false;
  }
  return true;
}

// The sink's formats as they are (pass-through 1 and 2); in mode 1 only
// those the platform's formats do not cover already.
bool add_sink_formats(edid_t *sink, int32_t pass_through, ll_list_t *ret_list) {
  LOG_TRACE_AS(kFilterAudioFormats, "\tExamining downstream audio formats:");
  for (short_audio_desc_t *audio : edc::checked_elements<short_audio_desc_t>(
           &sink->audio_list, "&edid->audio_list", EDC_HERE_AS(kFilterAudioFormats))) {
    if (pass_through == 1 && _audio_format_in_list(ret_list, audio)) {
      LOG_TRACE_AS(kFilterAudioFormats, "\t\t -->Format is a duplicate. Ignoring.");
      continue;
    }
    LOG_TRACE_AS(kFilterAudioFormats, "\t\t -->Adding mode.\n");
    if (edc::append_copy(ret_list, *audio, EDC_HERE_AS(kFilterAudioFormats)) == nullptr)
      return false;
  }
  return true;
}

// HDMI requires basic audio: keep the first two-channel PCM entry at 32,
// 44.1 or 48 kHz, or put one in front.
bool ensure_basic_audio(ll_list_t *ret_list) {
  int32_t index = 0;
  for (const short_audio_desc_t *audio : edc::checked_elements<short_audio_desc_t>(
           ret_list, "ret_list", EDC_HERE_AS(kFilterAudioFormats))) {
    LOG_TRACE_AS(kFilterAudioFormats, "\tEntry:%d Channels:%d", index++, as_int(audio->channels));
    if (audio->format == kAudioPcm && audio->channels == 2 &&
        (audio->sample_rates & kBasicAudioRates) != 0) {
      LOG_TRACE_AS(kFilterAudioFormats, "\tFound a \"basic audio\" PCM 2-chan entry.");
      return true;
    }
  }
  LOG_TRACE_AS(kFilterAudioFormats, "\tNo \"basic audio\" PCM 2-chan entry found. Adding one.");
  return edc::insert_copy(ret_list, kBasicAudio, edc::list_end::front,
                          EDC_HERE_AS(kFilterAudioFormats)) != nullptr;
}

}  // namespace

extern "C" {

uint32_t _audio_type_to_audio_mask(uint32_t format) {
  for (const audio_mask_bit &entry : kAudioMaskBits)
    if (entry.format == format) return entry.bit;
  return 0;
}

void print_edid_audio_mask(uint32_t mask) {
  printf("EDID: Audio mask: 0x%08X => ", mask);
  if (mask == kAllAudioFormats) {
    printf("All audio formats supported");
  } else if (mask == 0) {
    printf("No audio formats");
  } else {
    for (const audio_mask_bit &entry : kAudioMaskBits)
      if ((mask & entry.bit) != 0) printf("%s", entry.word);
  }
  printf("\n");
}

uint32_t _create_audio_mask(ll_list_t *list) {
  uint32_t mask = 0;
  for (const short_audio_desc_t *audio :
       edc::checked_elements<short_audio_desc_t>(list, "list", EDC_HERE))
    mask |= _audio_type_to_audio_mask(audio->format);
  return mask;
}

// From the back down to the second entry: the first entry always survives
// the mask.
void _filter_audio_list_with_mask(ll_list_t *list, uint32_t mask) {
  LOG_TRACE("\tMask:0x%08X", mask);
  LOG_TRACE("%s() - Printing reverse formats\n", __func__);
  const int32_t size = edc::checked_elements<short_audio_desc_t>(list, "list", EDC_HERE).size();
  for (int32_t i = size - 1; i > 0; --i) {
    short_audio_desc_t *audio = edc::element_at<short_audio_desc_t>(list, i);
    if (audio == nullptr) {
      LOG_BUG("Failed trying to retrieve index:%d\n", i);
      return;
    }
    if (debug_enabled()) {
      printf("\t\tFormat:");
      print_audio_structure(audio);
    }
    if ((_audio_type_to_audio_mask(audio->format) & mask) != 0) continue;
    if (!ll_delete_entry_at(list, static_cast<uint32_t>(i))) {
      LOG_BUG("Failed trying to delete entry");
      return;
    }
  }
}

// Two PCM entries match when the list's has at least the channels; other
// formats when the codes are equal.
bool _audio_format_in_list(ll_list_t *list, short_audio_desc_t *audio) {
  if (!edc::argument_present(audio, "audio", EDC_HERE)) return false;
  for (const short_audio_desc_t *entry :
       edc::checked_elements<short_audio_desc_t>(list, "list", EDC_HERE)) {
    const bool both_pcm = entry->format == kAudioPcm && audio->format == kAudioPcm;
    if (both_pcm ? static_cast<int32_t>(entry->channels) >= static_cast<int32_t>(audio->channels)
                 : entry->format == audio->format)
      return true;
  }
  return false;
}

// On a match, audio is narrowed to what the sink's entry takes.
bool _audio_format_in_downstream_sink(edid_t *edid, short_audio_desc_t *audio) {
  if (!edc::argument_present(edid, "edid", EDC_HERE) ||
      !edc::argument_present(audio, "audio", EDC_HERE))
    return false;
  for (const short_audio_desc_t *entry : edc::checked_elements<short_audio_desc_t>(
           &edid->audio_list, "&edid->audio_list", EDC_HERE)) {
    if (!sink_takes(*entry, *audio)) continue;
    if (audio->format == kAudioPcm) audio->bit_depths &= entry->bit_depths;
    audio->sample_rates &= entry->sample_rates;
    audio->channels = static_cast<uint32_t>(smaller(audio->channels, entry->channels));
    audio->max_bitrate = static_cast<uint32_t>(smaller(audio->max_bitrate, entry->max_bitrate));
    audio->format_value = static_cast<uint32_t>(smaller(audio->format_value, entry->format_value));
    audio->profile = static_cast<uint32_t>(smaller(audio->profile, entry->profile));
    return true;
  }
  return false;
}

bool _filter_audio_formats(edid_t *edid, uint32_t audio_mask, bool sink_filter, ll_list_t *ret_list,
                           platform_values_t *platform_values) {
  if (!edc::argument_present(edid, "edid", EDC_HERE) ||
      !edc::argument_present(ret_list, "ret_list", EDC_HERE) ||
      !edc::argument_present(platform_values, "platform_values", EDC_HERE))
    return false;
  const int32_t pass_through = platform_values->audio_pass_through;
  LOG_TRACE("Create Audio mode list:");
  LOG_TRACE("\tExamining platform audio formats:");
  LOG_TRACE("\tSink Filter is turned %s", sink_filter ? "ON" : "OFF");
  LOG_TRACE("\tPassThrough Mode:%d", pass_through);
  if (pass_through < 2 && !add_platform_formats(edid, sink_filter, ret_list, platform_values))
    return false;
  if (pass_through > 0 && !add_sink_formats(edid, pass_through, ret_list)) return false;
  if (sink_filter) audio_mask &= _create_audio_mask(&edid->audio_list);
  _filter_audio_list_with_mask(ret_list, audio_mask);
  return ensure_basic_audio(ret_list);
}

}  // extern "C"

// ===========================================================================
// Population of the new record
// ===========================================================================

namespace {

// Copies a text field, cut so that it stays terminated.
template <size_t N, size_t M>
void copy_text(char (&to)[N], const char (&from)[M]) {
  static_assert(N == M);
  const size_t length = strnlen(from, N - 1);
  memcpy(to, from, length);
  to[length] = '\0';
}

// A platform tri-state: 1 on, 2 as the television declares, anything else off.
uint8_t tri_state(uint32_t setting, uint8_t downstream) {
  if (setting == 1) return 1;
  if (setting == 2) return downstream != 0 ? 1 : 0;
  return 0;
}

void set_identity(edid_t *fresh, const platform_values_t &values) {
  LOG_TRACE_AS(kPopulateNewEdid, "Setting up the new EDID:");
  fresh->product_id = values.product_id;
  fresh->serial = values.serial;
  fresh->week = static_cast<uint8_t>(values.week);
  fresh->year = values.year;
  copy_text(fresh->manufacturer_id, values.manufacturer_id);
  copy_text(fresh->monitor_name, values.monitor_name);
  copy_text(fresh->monitor_serial, values.monitor_serial);
  LOG_TRACE_AS(kPopulateNewEdid, "\tProduct Code    = 0x%X", fresh->product_id);
  LOG_TRACE_AS(kPopulateNewEdid, "\tSerial Number   = 0x%X", fresh->serial);
  LOG_TRACE_AS(kPopulateNewEdid, "\tweek            = %d", fresh->week);
  LOG_TRACE_AS(kPopulateNewEdid, "\tyear            = %d", as_int(fresh->year));
  LOG_TRACE_AS(kPopulateNewEdid, "\tManufacturer ID = %s", fresh->manufacturer_id);
  LOG_TRACE_AS(kPopulateNewEdid, "\tMonitor Name    = %s", fresh->monitor_name);
}

// The device's own latency plus the television's; a value above 500 ms on
// either side claims none (65535).
constexpr uint16_t kMaxLatencyMs = edc::kMaxLatencyMs;
constexpr uint16_t kNoLatency = 65535;
uint16_t total_latency(uint32_t own, uint16_t downstream) {
  const auto device = static_cast<uint16_t>(own & 0xFFFF);
  if (device > kMaxLatencyMs || downstream > kMaxLatencyMs) return kNoLatency;
  return static_cast<uint16_t>(device + downstream);
}

void set_latencies(edid_t *fresh, const uint32_t *own, const edid_t &sink) {
  fresh->video_latency = total_latency(own[0], sink.video_latency);
  fresh->audio_latency = total_latency(own[1], sink.audio_latency);
  fresh->interlaced_video_latency = total_latency(own[2], sink.interlaced_video_latency);
  fresh->interlaced_audio_latency = total_latency(own[3], sink.interlaced_audio_latency);
}

// The caller's 3D setting: 0 none, 1 as the television, 2 3D present.
void set_3d(edid_t *fresh, int32_t setting_3d, const edid_t &sink) {
  fresh->present_3d = setting_3d == 2 ? 1 : setting_3d == 1 && sink.present_3d ? 1 : 0;
  if (fresh->present_3d) fresh->image_size = 1;
}

// Base block values the device always claims: EDID 1.3, a digital 160 x 90
// cm screen with gamma 2.20, sRGB, the first detailed timing preferred, and
// range limits of 49-61 Hz, 15-70 kHz and 150 MHz.
void set_fixed_values(edid_t *fresh) {
  fresh->version = 1;
  fresh->revision = 3;
  fresh->digital = 1;
  fresh->h_size_cm = 160;
  fresh->v_size_cm = 90;
  fresh->gamma = 120;
  fresh->standby = fresh->suspend = fresh->active_off = 0;
  fresh->standard_colorspace = 1;
  fresh->preferred_timing = 1;
  fresh->gtf = 0;
  fresh->min_v_rate = 49;
  fresh->max_v_rate = 61;
  fresh->min_h_rate = 15;
  fresh->max_h_rate = 70;
  fresh->max_pixel_clock = 150;
}

// The television's chromaticity when it has a base block, else these (in
// units of 1/1024).
void set_chromaticity(edid_t *fresh, const edid_t &sink) {
  if (sink.valid) {
    fresh->red_x = sink.red_x, fresh->red_y = sink.red_y;
    fresh->green_x = sink.green_x, fresh->green_y = sink.green_y;
    fresh->blue_x = sink.blue_x, fresh->blue_y = sink.blue_y;
    fresh->white_x = sink.white_x, fresh->white_y = sink.white_y;
    return;
  }
  fresh->red_x = 640, fresh->red_y = 348;
  fresh->green_x = 287, fresh->green_y = 609;
  fresh->blue_x = 159, fresh->blue_y = 72;
  fresh->white_x = 290, fresh->white_y = 305;
}

// Established timings I bit 5: 640x480 at 60 Hz, which every sink takes.
constexpr uint32_t kEstablished640x480p60 = 0x20;

void set_timings(edid_t *fresh, platform_values_t *values) {
  fresh->established_timings_1 = values->established_timings_1 | kEstablished640x480p60;
  fresh->established_timings_2 = values->established_timings_2;
  fresh->manufacturer_timings = values->manufacturer_timings;
  ll_copy_list(&values->std_timings, &fresh->std_timings, sizeof(std_timing_t));
}

// The device's source physical address below the television's: the first
// zero nibble of the television's address takes the port; the device is
// the root when it is a television itself. 15.15.15.15 is no address.
constexpr physical_address_t kNoAddress = {15, 15, 15, 15};

struct address_slot {
  uint8_t physical_address_t::*nibble;
  const char *trace;
};
constexpr address_slot kAddressSlots[] = {
    {&physical_address_t::b, "\tSetting address.b with port:%d Address:%d.%d.%d.%d"},
    {&physical_address_t::c, "\tSetting address.c with port:%d Address:%d.%d.%d.%d"},
    {&physical_address_t::d, "\tSetting address.d with port:%d Address:%d.%d.%d.%d"},
};

physical_address_t source_address(const edid_t &sink, uint8_t port, bool is_tv) {
  if (is_tv) {
    const physical_address_t root = {port, 0, 0, 0};
    LOG_TRACE_AS(kPopulateNewEdid, "\tIs a TV. Using root node. Address:%d.%d.%d.%d", root.a,
                 root.b, root.c, root.d);
    return root;
  }
  if (sink.hdmi_vsdb_present != 1) {
    LOG_TRACE_AS(kPopulateNewEdid,
                 "\tNo hdmi specific downstream EDID available. Setting SPA to f.f.f.f");
    return kNoAddress;
  }
  const physical_address_t &tv = sink.address;
  if (tv.a == 0) {
    LOG_TRACE_AS(kPopulateNewEdid,
                 "\tInvalid downstream EDID SPA starts with 0. Recieved:%d.%d.%d.%d", tv.a, tv.b,
                 tv.c, tv.d);
    return kNoAddress;
  }
  // The port takes the first zero nibble; the nibbles after it are 0.
  physical_address_t address = {tv.a, 0, 0, 0};
  for (const address_slot &slot : kAddressSlots) {
    if (tv.*slot.nibble != 0) {
      address.*slot.nibble = tv.*slot.nibble;
      continue;
    }
    address.*slot.nibble = port;
    LOG_TRACE_AS(kPopulateNewEdid, slot.trace, port, address.a, address.b, address.c, address.d);
    return address;
  }
  LOG_TRACE_AS(kPopulateNewEdid,
               "\tInvalid downstream EDID SPA starts with no room. Recieved: %d.%d.%d.%d", tv.a,
               tv.b, tv.c, tv.d);
  return kNoAddress;
}

// HDMI 1.4b asks for 36-bit deep colour wherever 30 or 48 bits are offered.
void set_deep_colour(edid_t *fresh, const platform_values_t &values) {
  fresh->supports_ai = 0;
  fresh->dc_48bit = 0;  // no setting offers 48 bits
  fresh->dc_30bit = values.dc_30bit != 0 ? 1 : 0;
  fresh->dc_36bit = values.dc_36bit != 0 ? 1 : 0;
  LOG_TRACE_AS(kPopulateNewEdid, "\tdc_30bit = %d", fresh->dc_30bit);
  LOG_TRACE_AS(kPopulateNewEdid, "\tdc_36bit = %d", fresh->dc_36bit);
  if ((fresh->dc_30bit || fresh->dc_48bit) && !fresh->dc_36bit) {
    const auto flag = [](uint8_t set) { return set ? "true" : "false"; };
    LOG_WARNING_AS(kPopulateNewEdid,
                   "The HDMI standard requires 36bit Deep Color to be supported when 30bit or "
                   "48bit is supported. Please correct this in your platform configuration file. "
                   "DC_30bit:%s DC_36bit:%s DC_48bit:%s Setting 36bit support to true.",
                   flag(fresh->dc_30bit), flag(fresh->dc_36bit), flag(fresh->dc_48bit));
    fresh->dc_36bit = 1;
  }
  fresh->dc_y444 = fresh->dc_48bit || fresh->dc_36bit || fresh->dc_30bit ? 1 : 0;
  fresh->dvi_dual = 0;
}

// The TMDS clock a deep colour depth needs, in percent of the pixel clock.
struct deep_colour_factor {
  uint8_t edid_t::*flag;
  int64_t percent;
};
constexpr deep_colour_factor kDeepColourFactors[] = {
    {&edid_t::dc_48bit, 200}, {&edid_t::dc_36bit, 150}, {&edid_t::dc_30bit, 125}};
constexpr int64_t kNoDeepColour = 100;

// An override below this many MHz is no override.
constexpr int32_t kMinTmdsOverride = 25;
// Single-link TMDS needs no Max_TMDS_Clock below 165 MHz; the 4Kx2K formats
// run at 297 MHz; the field holds at most 255 x 5 MHz.
constexpr int64_t kSingleLinkClockHz = 165000000;
constexpr int64_t k4kClockHz = 297000000;
constexpr int64_t kMaxTmdsClockMhz = 1275;
constexpr int64_t kTmdsStepMhz = 5;

// Max_TMDS_Clock in MHz: the override, or the clock the selected modes need
// at the deepest colour offered, rounded up to the next multiple of 5 MHz
// (a multiple of 5 goes up by 5 too, keeping a margin), or 0 when a single
// link carries everything.
uint32_t max_tmds_clock(const edid_t &fresh, ll_list_t *modes, const platform_values_t &values) {
  int64_t mhz = values.tmds_override;
  if (values.tmds_override < kMinTmdsOverride) {
    int64_t percent = kNoDeepColour;
    for (const deep_colour_factor &factor : kDeepColourFactors) {
      if (fresh.*factor.flag) {
        percent = factor.percent;
        break;
      }
    }
    const int64_t largest = _maximum_pixel_clock(modes);
    if (percent == kNoDeepColour && largest < kSingleLinkClockHz && fresh.hdmi_vic_len == 0 &&
        values.tmds_override == 0)
      return 0;
    int64_t hz = percent * largest / 100;
    if (fresh.hdmi_vic_len != 0 && hz < k4kClockHz) hz = k4kClockHz;
    mhz = hz / 1000000;
    mhz += kTmdsStepMhz - mhz % kTmdsStepMhz;
  }
  return static_cast<uint32_t>(mhz > kMaxTmdsClockMhz ? kMaxTmdsClockMhz : mhz);
}

void set_speakers(edid_t *fresh, int32_t speaker_entry) {
  const auto entry = static_cast<uint32_t>(speaker_entry);
  fresh->speaker[0] = static_cast<uint8_t>(entry);
  fresh->speaker[1] = static_cast<uint8_t>(entry >> 8);
  fresh->speaker[2] = static_cast<uint8_t>(entry >> 16);
  LOG_TRACE_AS(kPopulateNewEdid, "\tspeaker = 3:0x%02X 2:0x%02X 1:0x%02X", fresh->speaker[2],
               fresh->speaker[1], fresh->speaker[0]);
}

// A video data block of fewer than four formats is padded with 640x480p60
// (VIC 1), which every sink takes.
constexpr int32_t kMinVideoFormats = 4;
constexpr uint32_t kPaddingVic = 1;

bool pad_video_modes(ll_list_t *modes) {
  for (int32_t size = ll_size(modes); size < kMinVideoFormats; size = ll_size(modes)) {
    LOG_ERROR_AS(kPopulateNewEdid,
                 "The number of video formats to be encoded is less than 4! Padding until 4 is "
                 "reached. Check the platform configuration file is correct. Number in the video "
                 "list:%d",
                 size);
    if (edc::append_copy(modes, short_video_desc_t{0, kPaddingVic, 0},
                         EDC_HERE_AS(kPopulateNewEdid)) == nullptr)
      return false;
  }
  return true;
}

void trace_selected_modes(ll_list_t *modes) {
  if (!debug_enabled()) return;
  LOG_TRACE_AS(kPopulateNewEdid, "\tNew EDID List of VICs:");
  for (const short_video_desc_t *mode : edc::checked_elements<short_video_desc_t>(
           modes, "video_list", EDC_HERE_AS(kPopulateNewEdid))) {
    const auto structure = [&](uint32_t bit, const char *label) {
      return (mode->stereo & bit) != 0 ? label : "";
    };
    printf("\t\tVIC:%d %s %s %s %s %s\n", as_int(mode->vic), short_video_timing_string(mode->vic),
           structure(EDID_STEREO_FP, "FP"), structure(EDID_STEREO_SSH, "SBSH"),
           structure(EDID_STEREO_TBH, "TBH"), mode->native ? "Native" : "      ");
  }
}

// Outcome of a population step that can end the stage early.
enum class step_result { next, failed, done };

// The first two selected modes become the base block's detailed timings;
// the first is the preferred timing.
step_result set_detailed_timings(edid_t *fresh, ll_list_t *modes) {
  LOG_TRACE_AS(kPopulateNewEdid, "\tCreating the first 2 DTDs.");
  for (int32_t index = 0; index < 2; ++index) {
    const short_video_desc_t *mode = edc::element_at<short_video_desc_t>(modes, index);
    if (mode == nullptr) {
      // Not reached after the padding; the stage still ends as a success.
      LOG_ERROR_AS(kPopulateNewEdid, "Failed reading from an linked list. index:%d ptr:%p", index,
                   static_cast<void *>(modes));
      return step_result::done;
    }
    LOG_TRACE_AS(kPopulateNewEdid, "\t\tVIC:%d %s", as_int(mode->vic),
                 short_video_timing_string(mode->vic));
    detailed_timing_t timing;
    if (!convert_vic_to_dtd(mode->vic, &timing)) {
      LOG_ERROR_AS(kPopulateNewEdid, "Error converting vic to dtd. Vic:%d:%s", as_int(mode->vic),
                   short_video_timing_string(mode->vic));
      return step_result::failed;
    }
    if (edc::append_copy(&fresh->dtd_list, timing, EDC_HERE_AS(kPopulateNewEdid)) == nullptr)
      return step_result::failed;
  }
  return step_result::next;
}

// Every selected mode becomes a video descriptor; the encoder keeps the
// first 32.
bool set_video_descriptors(edid_t *fresh, ll_list_t *modes) {
  LOG_TRACE_AS(kPopulateNewEdid, "\tEncoding the VIC list up to 31 modes. Total:%d",
               ll_size(modes));
  for (const short_video_desc_t *mode : edc::elements<short_video_desc_t>(modes)) {
    if (edc::append_copy(&fresh->video_list, short_video_desc_t{0, mode->vic, mode->stereo},
                         EDC_HERE_AS(kPopulateNewEdid)) == nullptr)
      return false;
  }
  return true;
}

}  // namespace

extern "C" {

uint8_t _populate_new_edid(edid_t *new_edid, ll_list_t *modes, edid_t *edid, uint8_t port,
                           int32_t setting_3d, uint32_t *edid_latency,
                           platform_values_t *platform_values) {
  if (!edc::argument_present(new_edid, "new_edid", EDC_HERE) ||
      !edc::argument_present(modes, "modes", EDC_HERE) ||
      !edc::argument_present(edid, "edid", EDC_HERE) ||
      !edc::argument_present(platform_values, "platform_values", EDC_HERE))
    return 0;
  edid_t *fresh = new_edid;
  const edid_t &sink = *edid;
  const platform_values_t &values = *platform_values;
  set_identity(fresh, values);
  if (edid_latency == nullptr) {
    LOG_ERROR("Empty edid_latency pointer.");
    return 0;
  }
  set_latencies(fresh, edid_latency, sink);
  set_3d(fresh, setting_3d, sink);
  set_fixed_values(fresh);
  set_chromaticity(fresh, sink);
  set_timings(fresh, platform_values);

  fresh->underscan = values.underscan != 0 ? 1 : 0;
  fresh->basic_audio = fresh->ycbcr444 = fresh->ycbcr422 = 1;
  fresh->hdmi_vsdb_present = 1;
  fresh->address = source_address(sink, port, values.is_tv != 0);
  set_deep_colour(fresh, values);
  fresh->max_tmds_clock = max_tmds_clock(*fresh, modes, values);
  fresh->supports_ai = tri_state(static_cast<uint32_t>(values.supports_ai), sink.supports_ai);
  fresh->cnc0 = tri_state(values.cnc0, sink.cnc0);
  fresh->cnc1 = tri_state(values.cnc1, sink.cnc1);
  fresh->cnc2 = tri_state(values.cnc2, sink.cnc2);
  fresh->cnc3 = tri_state(values.cnc3, sink.cnc3);
  set_speakers(fresh, values.speaker_entry);

  if (!pad_video_modes(modes)) return 0;
  trace_selected_modes(modes);
  LOG_TRACE("\tEncoding the video timings: Num:%d", ll_size(modes));
  const step_result timings = set_detailed_timings(fresh, modes);
  if (timings != step_result::next) return timings == step_result::done ? 1 : 0;
  if (!set_video_descriptors(fresh, modes)) return 0;

  fresh->hdmi_video_present = fresh->present_3d || fresh->hdmi_vic_len != 0 ? 1 : 0;
  fresh->xvycc601 = tri_state(static_cast<uint32_t>(values.xvycc601), sink.xvycc601);
  fresh->xvycc709 = tri_state(static_cast<uint32_t>(values.xvycc709), sink.xvycc709);
  return 1;
}

}  // extern "C"

// ===========================================================================
// Composition entry points
// ===========================================================================

namespace {

// The records of one composition, released together, in this order, on
// every path: the television's decoded record, the new record, the mode
// list and the platform values read for this call. Only what was made
// ready is released; a caller's platform values are never released here.
struct composition {
  edid_t sink;
  edid_t fresh;
  ll_list_t modes{};
  platform_values_t local_values;
  bool sink_ready = false, fresh_ready = false, modes_ready = false, local_values_ready = false;

  void release() noexcept {
    if (sink_ready && !edid_destroy(&sink))
      LOG_ERROR_AS(kComposeEdidInternal, "Failed cleaning up edid.");
    if (fresh_ready && !edid_destroy(&fresh))
      LOG_ERROR_AS(kComposeEdidInternal, "Failed cleaning up new_edid.");
    if (modes_ready && !ll_delete_list(&modes))
      LOG_ERROR_AS(kComposeEdidInternal, "Failed cleaning up video list.");
    if (local_values_ready) platform_values_destroy(&local_values);
  }
};

// Decodes the television's EDID, as far as the bytes given go; a failure is
// reported and composing goes on with what was decoded.
void decode_sink(const uint8_t *edid_block, int32_t edid_bytes, edid_t *sink) {
  const auto size = static_cast<uint32_t>(edid_bytes);
  LOG_TRACE_AS(kComposeEdidInternal, "Decode EDID Block %d", 0);
  _dump_raw_edid_block(edid_block, 1);
  if (!decode_edid_block_0(edid_block, sink)) {
    LOG_ERROR_AS(kComposeEdidInternal, "Failed decoding the edid block 0. Continuing.");
    return;
  }
  if (sink->num_extensions == 0) return;
  LOG_TRACE_AS(kComposeEdidInternal, "Decode EDID Block 1");
  // Bytes the caller did not give are shown, and decoded, as zeros.
  std::array<uint8_t, kBlockSize> extension{};
  const uint32_t given = size - kBlockSize;
  memcpy(extension.data(), edid_block + kBlockSize, given < kBlockSize ? given : kBlockSize);
  _dump_raw_edid_block(extension.data(), 1);
  if (!decode_edid_extensions(edid_block + kBlockSize, given, sink))
    LOG_ERROR_AS(kComposeEdidInternal, "Failed decoding the extension. Continuing.");
}

// With debug on: the new bytes, and a decode of them as a check that only
// warns.
void check_new_edid(const uint8_t *new_edid_block) {
  if (!debug_enabled()) return;
  LOG_TRACE_AS(kComposeEdidInternal, "New EDID...");
  _dump_raw_edid_block(new_edid_block, 2);
  edid_t check;
  if (!edid_prepare(&check)) {
    LOG_WARNING_AS(kComposeEdidInternal, "edid_prepare failed.");
    return;
  }
  const edc::scope_exit release_check([&check]() noexcept {
    if (!edid_destroy(&check))
      LOG_WARNING_AS(kComposeEdidInternal, "Failed to destroy the debug edid.");
  });
  if (!decode_edid_block_0(new_edid_block, &check))
    LOG_WARNING_AS(kComposeEdidInternal, "Failed decoding the new edid block 0.");
  else if (!decode_edid_extensions(new_edid_block + kBlockSize, kBlockSize, &check))
    LOG_WARNING_AS(kComposeEdidInternal, "Failed decoding the new edid extension.");
}

// The stages, in the order the data flows; false at the first that fails.
bool compose(composition &c, composer_cfg_t *cfg, platform_values_t *values,
             uint8_t *new_edid_block, uint32_t new_size) {
  if (!_filter_video_modes(&c.sink, &cfg->hdmi_current_mode, &c.modes, values)) {
    LOG_ERROR_AS(kComposeEdidInternal, "Failed filtering the video modes.");
    return false;
  }
  if (_filter_4k_modes(&c.sink, &c.fresh, values) != 1) {
    LOG_ERROR_AS(kComposeEdidInternal, "Failed filtering the 4k x 2k video modes.");
    return false;
  }
  if (!_filter_audio_formats(&c.sink, cfg->audio_mask, cfg->sink_filter == 1, &c.fresh.audio_list,
                             values)) {
    LOG_ERROR_AS(kComposeEdidInternal, "Failed filtering the audio formats.");
    return false;
  }
  const auto port = static_cast<uint8_t>(cfg->hdmi_port + 1);  // the first input is port 1
  if (!_populate_new_edid(&c.fresh, &c.modes, &c.sink, port, cfg->setting_3d, cfg->edid_latency,
                          values)) {
    LOG_ERROR_AS(kComposeEdidInternal, "Failed populating the new edid.");
    return false;
  }
  if (!encode_edid(new_edid_block, static_cast<int32_t>(new_size), &c.fresh, cfg->spa_offset,
                   values)) {
    LOG_ERROR_AS(kComposeEdidInternal, "Failed encoding the new edid.");
    return false;
  }
  return true;
}

}  // namespace

extern "C" {

bool compose_edid(const uint8_t *edid_block, int32_t edid_bytes, uint8_t *new_edid_block,
                  uint32_t new_size, composer_cfg_t *cfg) {
  return compose_edid_internal(edid_block, edid_bytes, new_edid_block, new_size, cfg, nullptr);
}

bool compose_edid_internal(const uint8_t *edid_block, int32_t edid_bytes, uint8_t *new_edid_block,
                           uint32_t new_size, composer_cfg_t *cfg,
                           platform_values_t *platform_values) {
  // An unusable television EDID only means composing without it.
  bool read_sink = true;
  if (edid_block == nullptr) {
    LOG_TRACE(
        "\"edid_block\" memory block parameter is NULL. Skipping edid reading and proceeding with "
        "creation. edid_block:%p",
        static_cast<const void *>(edid_block));
    read_sink = false;
  } else if (edid_bytes <= 0 || edid_bytes % static_cast<int32_t>(kBlockSize) != 0) {
    LOG_TRACE(
        "Edid is not an valid value. edid_bytes=%d Range=(%d-%d) Skipping edid reading and "
        "proceeding with creation.",
        edid_bytes, as_int(kBlockSize), as_int(kTwoBlocks));
    read_sink = false;
  }
  if (new_edid_block == nullptr) {
    LOG_ERROR(
        "\"new_edid_block\" memory block parameter is NULL. Unable to proceed. new_edid_block:%p",
        static_cast<void *>(new_edid_block));
    return false;
  }
  if (new_size < kBlockSize || new_size > kTwoBlocks) {
    LOG_ERROR("New EDID size is not an valid value. Unable to proceed. edid_bytes=%d Expected=%d",
              as_int(new_size), as_int(kTwoBlocks));
    return false;
  }
  if (cfg == nullptr) {
    LOG_ERROR("cfg is NULL. Unable to proceed. cfg : %p.", static_cast<void *>(cfg));
    return false;
  }

  composition c;
  if (!platform_values_init(&c.local_values)) {
    LOG_ERROR("Failed initializing platfrom values.");
    return false;
  }
  if (platform_values != nullptr && !ll_is_initialized(&platform_values->audio_list)) {
    LOG_ERROR("The passed in platform_values has not been initialized.");
    return false;
  }
  c.local_values_ready = true;
  const edc::scope_exit release([&c]() noexcept { c.release(); });

  // The records are made ready before the configuration is read, so that
  // the release never meets a record that was not.
  c.sink_ready = edid_prepare(&c.sink) != 0;
  if (!c.sink_ready) {
    LOG_ERROR("Failed preparing edid.");
    return false;
  }
  c.modes_ready = edc::init_list_of<short_video_desc_t>(&c.modes) != 0;
  if (!c.modes_ready) {
    LOG_ERROR("Failed initializing modes.");
    return false;
  }
  c.fresh_ready = edid_prepare(&c.fresh) != 0;
  if (!c.fresh_ready) {
    LOG_ERROR("Failed preparing new edid.");
    return false;
  }
  platform_values_t *values = platform_values;
  if (values == nullptr) {
    values = &c.local_values;
    if (!_read_platform_values(values)) {
      LOG_ERROR("Failed trying to read the platform config file.");
      return false;
    }
  }

  if (read_sink) {
    decode_sink(edid_block, edid_bytes, &c.sink);
  } else {
    LOG_TRACE(
        "Valid edid not available. Continuing composing edid. Passed in edid:%p size:%d bytes",
        static_cast<const void *>(edid_block), edid_bytes);
  }
  if (!compose(c, cfg, values, new_edid_block, new_size)) return false;
  check_new_edid(new_edid_block);
  return true;
}

// Eight lines of sixteen bytes per block, an empty line between blocks.
void _dump_raw_edid_block(const uint8_t *blocks, int32_t count) {
  if (!debug_enabled() || blocks == nullptr) return;
  constexpr size_t kBytesPerLine = 16;
  for (int32_t block = 0; block < count; ++block) {
    const uint8_t *bytes = blocks + static_cast<size_t>(block) * kBlockSize;
    for (size_t i = 0; i < kBlockSize; ++i)
      printf("%02X %s", bytes[i], i % kBytesPerLine == kBytesPerLine - 1 ? "\n" : "");
    if (block + 1 < count) printf("\n");
  }
}

}  // extern "C"

// The words of the compose command's options and their values in
// composer_cfg_t, kept apart from the command so that each mapping can be
// checked on its own.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "compose_profile.h"
#include "edid_composer.h"
#include "edid_output.h"

namespace edc_tool {

// The option values as typed; the defaults are those "compose --help" shows.
struct ComposeSettingsText {
  std::string mode = "1920x1080p60";
  std::string port = "0";
  std::string setting_3d = "sink";
  std::string latency = "0,0,0,0";
  std::string audio_mask = "all";
  bool sink_filter = false;
  std::string format = "bin";
  // The modern profile: --modern, and the values that replace the
  // configuration's modern.max_tmds_rate and modern.hdr_eotfs (none: the
  // configuration's).
  bool modern = false;
  std::optional<std::string> max_tmds_rate;
  std::optional<std::string> hdr;
};

struct ComposeSettings {
  composer_cfg_t cfg{};  // spa_offset left NULL
  OutputFormat format = OutputFormat::kBinary;
  bool modern = false;
  std::optional<uint16_t> max_tmds_rate_mhz;
  std::optional<uint8_t> eotfs;  // CTA_EOTF_* bits
};

// The settings, or nullopt with option naming the first unusable option
// ("--mode") and problem saying why ("\"1920x1080\" is not WxH{p|i}RATE
// (such as 1920x1080p60)").
std::optional<ComposeSettings> ParseComposeSettings(const ComposeSettingsText &text,
                                                    std::string &option, std::string &problem);

// The modern profile that the configuration already loaded in the store
// describes (compose_profile_read), with the options applied: --modern turns
// it on, --max-tmds-rate and --hdr replace its rate and transfer functions.
// The library's lines go to library_lines. False, with option and problem
// set, for --max-tmds-rate or --hdr while the profile is off.
bool ReadProfile(const ComposeSettings &settings, bool debug, compose_profile_t &profile,
                 std::string &library_lines, std::string &option, std::string &problem);

// The size of a composed EDID: block 0 and one CTA-861 extension.
constexpr uint32_t kComposedSize = 256;

// Composes from the television's EDID (empty: from the configuration
// alone) and the configuration already loaded in the store, through
// compose_edid_profile with profile (NULL: the configuration's). The
// library's lines, traces included when debug is set, are added to
// library_lines; composed receives kComposedSize bytes and spa_offset where
// the physical address lies.
bool ComposeEdid(const std::vector<uint8_t> &sink, composer_cfg_t cfg,
                 const compose_profile_t *profile, bool debug, std::vector<uint8_t> &composed,
                 uint8_t &spa_offset, std::string &library_lines);

// The audio format words, each with its bit of the audio mask: "pcm 0x1,
// ac3 0x2, ..." for the help text.
std::string AudioMaskWords();

}  // namespace edc_tool

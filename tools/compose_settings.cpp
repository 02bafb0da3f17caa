#include "compose_settings.h"

#include <charconv>
#include <string_view>
#include <vector>

#include "cta_reader.h"
#include "decoded_edid.h"

namespace edc_tool {

namespace {

// One bit per CTA-861 audio format code: codes 1 to 14 are bits 0 to 13; the
// extension types HE-AAC, HE-AACv2 and MPEG Surround follow at bits 14 to 16.
struct AudioWord {
  const char *word;
  uint32_t bit;
};
constexpr AudioWord kAudioWords[] = {{"pcm", 0x1},
                                     {"ac3", 0x2},
                                     {"mpeg1", 0x4},
                                     {"mp3", 0x8},
                                     {"mpeg2", 0x10},
                                     {"aac", 0x20},
                                     {"dts", 0x40},
                                     {"atrac", 0x80},
                                     {"dsd", 0x100},
                                     {"eac3", 0x200},
                                     {"dtshd", 0x400},
                                     {"truehd", 0x800},
                                     {"dst", 0x1000},
                                     {"wmapro", 0x2000},
                                     {"heaac", 0x4000},
                                     {"heaacv2", 0x8000},
                                     {"mpegsurround", 0x10000}};
constexpr uint32_t kAllAudio = 0xFFFFFFFF;

struct Setting3d {
  const char *word;
  int32_t value;
};
constexpr Setting3d k3dWords[] = {{"off", 0}, {"sink", 1}, {"on", 2}};

struct FormatWord {
  const char *word;
  OutputFormat format;
};
constexpr FormatWord kFormatWords[] = {
    {"bin", OutputFormat::kBinary}, {"hex", OutputFormat::kHex}, {"carray", OutputFormat::kCArray}};

// The HDR transfer functions of --hdr (CTA-861-H HDR static metadata block).
struct EotfWord {
  const char *word;
  uint8_t bit;
};
constexpr EotfWord kEotfWords[] = {
    {"sdr", CTA_EOTF_SDR}, {"pq", CTA_EOTF_PQ}, {"hlg", CTA_EOTF_HLG}};

// HDMI 2.0's highest TMDS character rate, in MHz.
constexpr uint32_t kMaxTmdsRate = 600;

// The largest port whose number (port + 1) fits the nibble of a physical address.
constexpr uint32_t kMaxPort = 14;
// HDMI 1.4b latency fields carry 0 to 500 ms.
constexpr uint32_t kMaxLatency = 500;

// Built piece by piece: GCC 12 at -O3 warns falsely (-Wrestrict) on
// "\"" + std::string(text).
std::string Quoted(std::string_view text) {
  std::string quoted(1, '"');
  quoted.append(text);
  quoted += '"';
  return quoted;
}

// A whole decimal (or, with base 16, hex digits) number; false on anything else.
bool ParseNumber(std::string_view text, uint32_t &value, int base = 10) {
  if (text.empty()) return false;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, base);
  return error == std::errc() && end == text.data() + text.size();
}

std::vector<std::string_view> Split(std::string_view text, char separator) {
  std::vector<std::string_view> parts;
  for (size_t start = 0;;) {
    const size_t end = text.find(separator, start);
    parts.push_back(text.substr(start, end == std::string_view::npos ? end : end - start));
    if (end == std::string_view::npos) return parts;
    start = end + 1;
  }
}

// "1920x1080p60", "1920x1080i50": frame width, frame height, scan, refresh.
bool ParseMode(std::string_view text, hdmi_mode_t &mode) {
  const size_t x = text.find('x');
  if (x == std::string_view::npos) return false;
  const size_t scan = text.find_first_of("pi", x);
  if (scan == std::string_view::npos) return false;
  mode.interlaced = text[scan] == 'i' ? 1 : 0;
  return ParseNumber(text.substr(0, x), mode.width) &&
         ParseNumber(text.substr(x + 1, scan - x - 1), mode.height) &&
         ParseNumber(text.substr(scan + 1), mode.refresh_rate) && mode.width != 0 &&
         mode.height != 0 && mode.refresh_rate != 0;
}

bool ParseLatency(std::string_view text, uint32_t (&latency)[4]) {
  const auto parts = Split(text, ',');
  if (parts.size() != 4) return false;
  for (size_t i = 0; i < 4; ++i)
    if (!ParseNumber(parts[i], latency[i]) || latency[i] > kMaxLatency) return false;
  return true;
}

bool ParseAudioMask(std::string_view text, uint32_t &mask, std::string &problem) {
  if (text == "all") {
    mask = kAllAudio;
    return true;
  }
  if (text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    if (ParseNumber(text.substr(2), mask, 16)) return true;
    problem = Quoted(text) + (text.size() == 2 ? " has no hexadecimal digits after 0x"
                                               : " is not a 32-bit hexadecimal mask");
    return false;
  }
  mask = 0;
  for (std::string_view word : Split(text, ',')) {
    const AudioWord *found = nullptr;
    for (const AudioWord &entry : kAudioWords)
      if (word == entry.word) found = &entry;
    if (found == nullptr) {
      problem =
          Quoted(word) + " is not an audio format; use " + AudioMaskWords() + ", all or 0xHEX";
      return false;
    }
    mask |= found->bit;
  }
  return true;
}

template <typename Entry, size_t N>
const Entry *FindWord(const Entry (&table)[N], std::string_view word) {
  for (const Entry &entry : table)
    if (word == entry.word) return &entry;
  return nullptr;
}

// "off", or comma-separated transfer function words.
bool ParseEotfs(std::string_view text, uint8_t &eotfs, std::string &problem) {
  eotfs = 0;
  if (text == "off") return true;
  for (std::string_view word : Split(text, ',')) {
    const EotfWord *found = FindWord(kEotfWords, word);
    if (found == nullptr) {
      problem = Quoted(word) + " is not an HDR transfer function; use sdr, pq, hlg or off";
      return false;
    }
    eotfs |= found->bit;
  }
  return true;
}

}  // namespace

std::string AudioMaskWords() {
  std::string words;
  for (const AudioWord &entry : kAudioWords)
    words += (words.empty() ? "" : ", ") + std::string(entry.word);
  return words;
}

std::optional<ComposeSettings> ParseComposeSettings(const ComposeSettingsText &text,
                                                    std::string &option, std::string &problem) {
  ComposeSettings settings;
  composer_cfg_t &cfg = settings.cfg;
  const auto refuse = [&](const char *name, const std::string &why) {
    option = name;
    problem = why;
    return std::nullopt;
  };
  if (!ParseMode(text.mode, cfg.hdmi_current_mode))
    return refuse("--mode", Quoted(text.mode) + " is not WxH{p|i}RATE (such as 1920x1080p60)");
  if (!ParseNumber(text.port, cfg.hdmi_port) || cfg.hdmi_port > kMaxPort)
    return refuse("--port", Quoted(text.port) + " is not a port number from 0 to 14");
  const Setting3d *setting_3d = FindWord(k3dWords, text.setting_3d);
  if (setting_3d == nullptr)
    return refuse("--3d", Quoted(text.setting_3d) + " is not off, sink or on");
  cfg.setting_3d = setting_3d->value;
  if (!ParseLatency(text.latency, cfg.edid_latency))
    return refuse("--latency",
                  Quoted(text.latency) + " is not four latencies V,A,IV,IA from 0 to 500 ms");
  std::string why;
  if (!ParseAudioMask(text.audio_mask, cfg.audio_mask, why)) return refuse("--audio-mask", why);
  cfg.sink_filter = text.sink_filter ? 1 : 0;
  const FormatWord *format = FindWord(kFormatWords, text.format);
  if (format == nullptr)
    return refuse("--format", Quoted(text.format) + " is not bin, hex or carray");
  settings.format = format->format;
  settings.modern = text.modern;
  if (text.max_tmds_rate) {
    uint32_t rate = 0;
    if (!ParseNumber(*text.max_tmds_rate, rate) || rate > kMaxTmdsRate)
      return refuse("--max-tmds-rate", Quoted(*text.max_tmds_rate) +
                                           " is not a TMDS character rate from 0 to 600 MHz");
    settings.max_tmds_rate_mhz = static_cast<uint16_t>(rate);
  }
  if (text.hdr) {
    uint8_t eotfs = 0;
    if (!ParseEotfs(*text.hdr, eotfs, why)) return refuse("--hdr", why);
    settings.eotfs = eotfs;
  }
  return settings;
}

bool ReadProfile(const ComposeSettings &settings, bool debug, compose_profile_t &profile,
                 std::string &library_lines, std::string &option, std::string &problem) {
  debug_enable(debug);
  library_lines = CaptureStdout([&] { compose_profile_read(&profile); });
  debug_enable(false);
  if (settings.modern) profile.enabled = true;
  const char *profile_option = settings.max_tmds_rate_mhz ? "--max-tmds-rate"
                               : settings.eotfs           ? "--hdr"
                                                          : nullptr;
  if (profile_option != nullptr && !profile.enabled) {
    option = profile_option;
    problem = "the modern profile is off; add --modern or set modern.enabled = 1";
    return false;
  }
  if (settings.max_tmds_rate_mhz) {
    // HDMI 2.0 requires SCDC above 340 MHz: a device that takes more has it.
    constexpr uint16_t kHdmi14RateMhz = 340;
    profile.max_tmds_rate_mhz = *settings.max_tmds_rate_mhz;
    if (profile.max_tmds_rate_mhz > kHdmi14RateMhz) profile.scdc = true;
  }
  if (settings.eotfs) profile.eotfs = *settings.eotfs;
  return true;
}

bool ComposeEdid(const std::vector<uint8_t> &sink, composer_cfg_t cfg,
                 const compose_profile_t *profile, bool debug, std::vector<uint8_t> &composed,
                 uint8_t &spa_offset, std::string &library_lines) {
  debug_enable(debug);
  composed.assign(kComposedSize, 0);
  spa_offset = 0;
  cfg.spa_offset = &spa_offset;
  bool ok = false;
  library_lines += CaptureStdout([&] {
    ok = compose_edid_profile(sink.empty() ? nullptr : sink.data(),
                              static_cast<int32_t>(sink.size()), composed.data(), kComposedSize,
                              &cfg, profile);
  });
  debug_enable(false);
  return ok;
}

}  // namespace edc_tool

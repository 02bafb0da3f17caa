#include "decoded_edid.h"

#include <cstdio>

#include "cta_video_formats.h"
#include "edid_composer.h"
#include "utility.h"

namespace edc_tool {

namespace {

constexpr size_t kBlockSize = 128;

// The highest VIC whose SVD byte may carry the native flag (CTA-861 7.5.1).
constexpr uint32_t kLastNativeVic = 64;
constexpr uint32_t kSvdNativeBit = 0x80;

struct BitName {
  uint32_t bit;
  const char *name;
};

// CTA-861 speaker allocation data block, payload bytes 1 and 2.
constexpr BitName kSpeakers1[] = {{0x01, "FL/FR"},   {0x02, "LFE"},    {0x04, "FC"},
                                  {0x08, "RL/RR"},   {0x10, "RC"},     {0x20, "FLC/FRC"},
                                  {0x40, "RLC/RRC"}, {0x80, "FLW/FRW"}};
constexpr BitName kSpeakers2[] = {{0x01, "FLH/FRH"}, {0x02, "TC"}, {0x04, "FCH"}};

// HDMI 1.4b 3D_Structure bits as the record holds them.
constexpr BitName kStereo[] = {{EDID_STEREO_FP, "FP"},   {EDID_STEREO_SSH, "SSH"},
                               {EDID_STEREO_TBH, "TBH"}, {EDID_STEREO_FA, "FA"},
                               {EDID_STEREO_LA, "LA"},   {EDID_STEREO_SSF, "SSF"},
                               {EDID_STEREO_LD, "LD"},   {EDID_STEREO_LDG, "LD+G"}};

// CTA-861 short audio descriptor byte 2: sample rates, bit 0 up.
constexpr double kSampleRatesKhz[] = {32, 44.1, 48, 88.2, 96, 176.4, 192};

// Byte 3 of an LPCM descriptor: sample sizes, bit 0 up.
constexpr uint32_t kPcmBits[] = {16, 20, 24};

template <size_t N>
std::vector<std::string> Names(const BitName (&table)[N], uint32_t mask) {
  std::vector<std::string> names;
  for (const BitName &entry : table)
    if ((mask & entry.bit) != 0) names.emplace_back(entry.name);
  return names;
}

template <typename T>
constexpr const char *kTypeName = nullptr;
template <>
constexpr const char *kTypeName<short_video_desc_t> = "short_video_desc_t";
template <>
constexpr const char *kTypeName<short_audio_desc_t> = "short_audio_desc_t";
template <>
constexpr const char *kTypeName<std_timing_t> = "std_timing_t";
template <>
constexpr const char *kTypeName<detailed_timing_t> = "detailed_timing_t";

}  // namespace

DecodedEdid::DecodedEdid() : edid_{}, prepared_(edid_prepare(&edid_) != 0) {}

DecodedEdid::~DecodedEdid() {
  if (prepared_) edid_destroy(&edid_);
}

bool DecodedEdid::Decode(const std::vector<uint8_t> &bytes, std::string &diagnostics) {
  bool decoded = prepared_ && bytes.size() >= kBlockSize;
  diagnostics = CaptureStdout([&] {
    if (!decoded) return;
    decoded = decode_edid_block_0(bytes.data(), &edid_) != 0;
    if (decoded && bytes.size() > kBlockSize)
      decoded =
          decode_edid_extensions(bytes.data() + kBlockSize,
                                 static_cast<uint32_t>(bytes.size() - kBlockSize), &edid_) != 0;
  });
  return decoded;
}

std::string DumpText(DecodedEdid &edid, bool decoded, const std::string &diagnostics,
                     const std::vector<uint8_t> &bytes, bool summary, const std::string &title) {
  if (decoded)
    return diagnostics + CaptureStdout([&] {
             print_edid_struct(&edid.record(), summary ? 1 : 0, title.c_str());
           });
  // print_edid decodes again and says, in its own lines, which block failed.
  return CaptureStdout([&] {
    print_edid(bytes.data(), static_cast<uint32_t>(bytes.size()), summary ? 1 : 0, title.c_str());
  });
}

template <typename T>
std::vector<T> Elements(const ll_list_t &list) {
  auto *mutable_list = const_cast<ll_list_t *>(&list);
  std::vector<T> elements;
  if (!ll_is_initialized(mutable_list) || !ll_verify_list_type(mutable_list, kTypeName<T>))
    return elements;
  for (const ll_entry_t *entry = list.head; entry != nullptr; entry = entry->next)
    elements.push_back(*static_cast<const T *>(entry->data));
  return elements;
}
template std::vector<short_video_desc_t> Elements(const ll_list_t &);
template std::vector<short_audio_desc_t> Elements(const ll_list_t &);
template std::vector<std_timing_t> Elements(const ll_list_t &);
template std::vector<detailed_timing_t> Elements(const ll_list_t &);

uint32_t RefreshRate(const detailed_timing_t &timing) {
  return calculate_refresh_rate(timing.pixel_clock, timing.h_active, timing.h_blanking,
                                timing.v_active, timing.v_blanking);
}

std::string TimingName(const detailed_timing_t &timing) {
  // v_active counts one field's lines in an interlaced timing.
  const uint32_t frame_lines = timing.progressive ? timing.v_active : timing.v_active * 2;
  return std::to_string(timing.h_active) + "x" + std::to_string(frame_lines) +
         (timing.progressive ? "p" : "i") + std::to_string(RefreshRate(timing));
}

uint32_t SvdVic(const short_video_desc_t &svd) {
  return svd.native && svd.vic > kLastNativeVic ? svd.vic | kSvdNativeBit : svd.vic;
}

bool SvdNative(const short_video_desc_t &svd) {
  return svd.native && svd.vic <= kLastNativeVic;
}

std::string VicName(uint32_t vic) {
  if (vic <= kLastNativeVic) return short_video_timing_string(vic);
  char name[CTA_VIDEO_FORMAT_NAME_SIZE];
  if (cta_video_format_name(vic, name, sizeof name) == 0) return short_video_timing_string(vic);
  return name;
}

std::vector<std::string> StereoNames(uint32_t stereo) {
  return Names(kStereo, stereo);
}

std::vector<std::string> SpeakerNames(const uint8_t speaker[3]) {
  std::vector<std::string> names = Names(kSpeakers1, speaker[0]);
  for (auto &name : Names(kSpeakers2, speaker[1])) names.push_back(name);
  return names;
}

std::vector<std::string> EstablishedTimingNames(const edid_t &edid) {
  struct Byte {
    uint32_t mask;
    const char *(*name)(int32_t);
  };
  const Byte bytes[] = {{edid.established_timings_1, est_timing_1_string},
                        {edid.established_timings_2, est_timing_2_string},
                        {edid.manufacturer_timings, man_timing_string}};
  std::vector<std::string> names;
  for (const Byte &byte : bytes)
    for (int bit = 7; bit >= 0; --bit)
      if ((byte.mask & (1u << bit)) != 0) names.emplace_back(byte.name(1 << bit));
  return names;
}

std::vector<double> SampleRatesKhz(uint32_t sample_rates) {
  std::vector<double> rates;
  for (size_t bit = 0; bit < std::size(kSampleRatesKhz); ++bit)
    if ((sample_rates & (1u << bit)) != 0) rates.push_back(kSampleRatesKhz[bit]);
  return rates;
}

std::vector<uint32_t> BitDepths(uint32_t bit_depths) {
  std::vector<uint32_t> depths;
  for (size_t bit = 0; bit < std::size(kPcmBits); ++bit)
    if ((bit_depths & (1u << bit)) != 0) depths.push_back(kPcmBits[bit]);
  return depths;
}

std::vector<uint32_t> HdmiVics(const edid_t &edid) {
  const size_t count = std::min<size_t>(edid.hdmi_vic_len, std::size(edid.hdmi_vic));
  return std::vector<uint32_t>(edid.hdmi_vic, edid.hdmi_vic + count);
}

std::string AddressText(const physical_address_t &address) {
  char text[16];
  snprintf(text, sizeof text, "%x.%x.%x.%x", unsigned{address.a}, unsigned{address.b},
           unsigned{address.c}, unsigned{address.d});
  return text;
}

}  // namespace edc_tool

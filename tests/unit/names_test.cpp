// Names of EDID codes, the mask texts built into a caller's buffer (their
// buffer contract at its edges) and the printers' exact output.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <string>
#include <utility>

#include "capture.h"
#include "utility.h"

using edc_test::Bug;
using edc_test::CaptureStdout;
using edc_test::Error;
using edc_test::Lines;
using testing::ElementsAre;

namespace {

constexpr const char *kUnknown = "Unknown Value";

TEST(Names, AspectCodes) {
  const std::pair<int32_t, const char *> cases[] = {
      {0, "1:1"}, {1, "4:3"}, {2, "5:4"}, {3, "16:9"}, {4, "InvalidRatio"}, {-1, "InvalidRatio"}};
  for (const auto &[code, name] : cases) EXPECT_STREQ(std_aspect_string(code), name) << code;
}

TEST(Names, EveryAudioFormatCode) {
  // clang-format off
  const std::pair<uint32_t, const char *> cases[] = {
      {0, "AUDIO_TYPE_INVALID"}, {1, "PCM"},       {2, "AC3"},           {3, "MPEG1"},
      {4, "MP3"},                {5, "MPEG2"},     {6, "AAC"},           {7, "DTS"},
      {8, "ATRAC"},              {9, "DSD"},       {10, "EAC3/DD+"},     {11, "DTS HD"},
      {12, "MLP/TrueHD"},        {13, "DST"},      {14, "WMA pro"},      {15, "AUDIO_TYPE_EXTENSION"},
      {16, "HE AAC"},            {17, "HE AACv2"}, {18, "MPEG SURROUND"}};
  // clang-format on
  for (const auto &[code, name] : cases) EXPECT_STREQ(short_audio_string(code), name) << code;
  EXPECT_STREQ(short_audio_string(19), "AUDIO_TYPE_UNKNOWN");
  EXPECT_STREQ(short_audio_string(0xFFFFFFFFu), "AUDIO_TYPE_UNKNOWN");
}

TEST(Names, HdmiVics) {
  const std::pair<int32_t, const char *> cases[] = {
      {1, "3840x2160p30Hz"}, {2, "3840x2160p25Hz"}, {3, "3840x2160p24Hz"}, {4, "4096x2160p24Hz"},
      {0, kUnknown},         {5, kUnknown},         {-1, kUnknown}};
  for (const auto &[vic, name] : cases) EXPECT_STREQ(hdmi_vic_string(vic), name) << vic;
}

TEST(Names, EstablishedAndManufacturerTimingsBySingleBit) {
  struct Case {
    int32_t bit;
    const char *est1, *est2, *man;
  } cases[] = {
      {0x80, "720x400p70", "800x600p72", "1152x870p75"},
      {0x40, "720x400p88", "800x600p75", kUnknown},
      {0x20, "640x480p60", "832x624p75", kUnknown},
      {0x10, "640x480p67", "1024x768p87", kUnknown},
      {0x08, "640x480p72", "1024x768p60", kUnknown},
      {0x04, "640x480p75", "1024x768p70", kUnknown},
      {0x02, "800x600p56", "1024x768p75", kUnknown},
      {0x01, "800x600p60", "1280x1024p75", kUnknown},
      // Anything but one of the eight bits.
      {0, kUnknown, kUnknown, kUnknown},
      {0x03, kUnknown, kUnknown, kUnknown},
      {0x100, kUnknown, kUnknown, kUnknown},
      {-128, kUnknown, kUnknown, kUnknown},
  };
  for (const Case &c : cases) {
    EXPECT_STREQ(est_timing_1_string(c.bit), c.est1) << c.bit;
    EXPECT_STREQ(est_timing_2_string(c.bit), c.est2) << c.bit;
    EXPECT_STREQ(man_timing_string(c.bit), c.man) << c.bit;
  }
}

TEST(Names, EveryVic) {
  const char *names[] = {
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
  ASSERT_EQ(std::size(names), 64u);
  for (uint32_t vic = 1; vic <= 64; ++vic)
    EXPECT_STREQ(short_video_timing_string(vic), names[vic - 1]) << vic;
  for (uint32_t vic : {0u, 65u, 0xFFFFFFFFu})
    EXPECT_STREQ(short_video_timing_string(vic), kUnknown);
}

using MaskTextFn = int32_t (*)(uint32_t, char *, uint32_t);

// The text builders clear all string_len bytes, write at most string_len - 1
// characters and a NUL, and return the length the full text would have.
TEST(MaskText, FillsClearsAndCutsTheCallersBufferExactly) {
  struct Case {
    MaskTextFn fn;
    uint32_t mask, string_len;
    std::string text;
    int32_t result;
  } cases[] = {
      {audio_freq_string, 0x7F, 100, "32kHz 44.1kHz 48kHz 88.2kHz 96kHz 176.4kHz 192kHz ", 50},
      {audio_freq_string, 0x7F, 17, "32kHz 44.1kHz 48", 50},
      {audio_freq_string, 0x00, 17, " NoFreqSpecified", 16},
      {audio_freq_string, 0x05, 17, "32kHz 48kHz ", 12},
      {audio_freq_string, 0x80, 17, "", 0},  // bit 7 names no rate
      {audio_pcm_bits_string, 0x07, 30, "16bits 20bits 24bits ", 21},
      {audio_pcm_bits_string, 0x07, 17, "16bits 20bits 24", 21},
      {audio_pcm_bits_string, 0x00, 17, " NoBitsSpecified", 16},
      {audio_pcm_bits_string, 0x02, 17, "20bits ", 7},
  };
  for (const Case &c : cases) {
    char buffer[128];
    memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(c.fn(c.mask, buffer, c.string_len), c.result) << c.text;
    std::string expected = c.text + std::string(c.string_len - c.text.size(), '\0') +
                           std::string(sizeof buffer - c.string_len, 'x');
    EXPECT_EQ(std::string(buffer, sizeof buffer), expected) << c.text;
  }
}

TEST(MaskText, RefusesNullAndShortBuffersAfterClearingThem) {
  const std::pair<MaskTextFn, const char *> fns[] = {
      {audio_freq_string, "audio_freq_string"}, {audio_pcm_bits_string, "audio_pcm_bits_string"}};
  for (const auto &entry : fns) {
    const MaskTextFn fn = entry.first;
    const std::string name = entry.second;
    char buffer[20];
    memset(buffer, 'x', sizeof buffer);
    EXPECT_THAT(Lines([&] { fn(0x7F, buffer, 16); }),
                ElementsAre(Error(name, "\"string_len\" invalid. string_len:16 minimum:17")));
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string(16, '\0') + "xxxx");
    EXPECT_THAT(Lines([&] { fn(0x7F, nullptr, 100); }),
                ElementsAre(Error(name, "\"string\" parameter is NULL. string:(nil)")));
  }
}

TEST(Printers, SpeakersRunTogetherOnOneLine) {
  struct Case {
    uint8_t byte1, byte2, byte3;
    std::string text;
  } cases[] = {
      {0x0F, 0x00, 0xFF, "FL/FR LFE FC RL/RR"},
      {0x02, 0x00, 0x00, " LFE"},
      {0x00, 0x00, 0x00, ""},
      {0xFF, 0x07, 0x00, "FL/FR LFE FC RL/RR RC FLC/FRC RLC/RRC FLW/FRW FLH/FRH TC FCH"},
      {0x00, 0xFA, 0xFF, " TC"},  // byte 2 above bit 2 and byte 3 are not shown
  };
  for (const Case &c : cases) {
    int32_t count = -1;
    EXPECT_EQ(CaptureStdout([&] { count = print_speaker(c.byte1, c.byte2, c.byte3); }),
              c.text + "\n");
    EXPECT_EQ(count, static_cast<int32_t>(c.text.size() + 1));
  }
}

short_audio_desc_t Audio(uint32_t format, uint32_t channels, uint32_t rates, uint32_t extra) {
  // extra goes to every format-specific field; only the format's own is shown.
  return {format, channels, rates, extra, extra, extra, extra};
}

TEST(Printers, AudioDescriptorLineDependsOnTheFormat) {
  const std::pair<short_audio_desc_t, std::string> cases[] = {
      {Audio(1, 2, 0x07, 0x05),
       "Code: 1:PCM Channels:2 Freq:32kHz 44.1kHz 48kHz  Bits:16bits 24bits "},
      {Audio(1, 8, 0x00, 0x00),
       "Code: 1:PCM Channels:8 Freq: NoFreqSpecified Bits: NoBitsSpecified"},
      {Audio(2, 6, 0x04, 640), "Code: 2:AC3 Channels:6 Freq:48kHz  Max Rate:640kHz"},
      {Audio(9, 2, 0x01, 3), "Code: 9:DSD Channels:2 Freq:32kHz  val:3"},
      {Audio(10, 8, 0x06, 1), "Code: 10:EAC3/DD+ Channels:8 Freq:44.1kHz 48kHz  val:1"},
      {Audio(14, 2, 0x04, 3), "Code: 14:WMA pro Channels:2 Freq:48kHz  Max Profile:3"},
      {Audio(16, 2, 0x04, 9), "Code: 16:HE AAC Channels:2 Freq:48kHz "},
      {Audio(18, 6, 0x40, 9), "Code: 18:MPEG SURROUND Channels:6 Freq:192kHz "},
      {Audio(0, 2, 0x04, 9), "Code:0 Unrecognized audio code."},
      {Audio(15, 2, 0x04, 9), "Code:15 Unrecognized audio code."},
  };
  for (const auto &c : cases) {
    short_audio_desc_t audio = c.first;
    const std::string &line = c.second;
    int32_t count = -1;
    EXPECT_EQ(CaptureStdout([&] { count = print_audio_structure(&audio); }), line + "\n");
    EXPECT_EQ(count, static_cast<int32_t>(line.size() + 1));
  }
  EXPECT_THAT(
      Lines([] { print_audio_structure(nullptr); }),
      ElementsAre(Error("print_audio_structure", "\"audio\" parameter is NULL. str:(nil)")));
}

TEST(Printers, StereoStructuresEachFollowedByABlank) {
  const std::pair<uint32_t, std::string> cases[] = {
      {0x00, " "}, {0x81, "FP LD+G "}, {0xFF, "FP SSH TBH FA LA SSF LD LD+G "}, {0x100, ""}};
  for (const auto &c : cases)
    EXPECT_EQ(CaptureStdout([&] { print_stereo_type(c.first); }), c.second) << c.first;
}

TEST(Printers, TitledBitListNamesBitsSevenDownToZero) {
  struct Case {
    int32_t mask;
    const char *(*fn)(int32_t);
    const char *title;
    std::string out;
  } cases[] = {
      {0xA5, est_timing_1_string, "Established Timings 1",
       "\nEstablished Timings 1: 0x00A5\n\t720x400p70\n\t640x480p60\n\t640x480p75\n\t800x600p60\n"},
      {0x80, man_timing_string, "Manufacturer Timings",
       "\nManufacturer Timings: 0x0080\n\t1152x870p75\n"},
      {0x0100, est_timing_1_string, "Established Timings 1", "\nEstablished Timings 1: 0x0100\n"},
      {0x0000, est_timing_1_string, "Established Timings 1", ""},
  };
  for (const Case &c : cases)
    EXPECT_EQ(CaptureStdout([&] { print_est_man_type(c.mask, c.fn, c.title); }), c.out) << c.mask;
}

TEST(Printers, TitledBitListReportsAMissingFunctionOrTitle) {
  const char *empty = "";
  char empty_ptr[32];
  snprintf(empty_ptr, sizeof empty_ptr, "%p", static_cast<const void *>(empty));
  EXPECT_THAT(Lines([] { print_est_man_type(0x80, nullptr, "Manufacturer Timings"); }),
              ElementsAre(Bug("print_est_man_type", "string_func is:(nil)")));
  EXPECT_THAT(Lines([] { print_est_man_type(0x80, man_timing_string, nullptr); }),
              ElementsAre(Bug("print_est_man_type", "str ptr is NULL or 0 length:(nil)")));
  EXPECT_THAT(Lines([&] { print_est_man_type(0x80, man_timing_string, empty); }),
              ElementsAre(Bug("print_est_man_type",
                              std::string("str ptr is NULL or 0 length:") + empty_ptr)));
}

}  // namespace

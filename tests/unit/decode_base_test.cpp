// Base block decoding: the field layout, the order of the checks and what
// each failure leaves in the record, standard timings, detailed timings and
// display descriptors.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"

using namespace edc_test;  // NOLINT: builders and line helpers throughout
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char kBase[] = "decode_edid_block_0";
const char kDtd[] = "_decode_edid_dtd";

std::string Hex(uint8_t value) {
  char text[8];
  snprintf(text, sizeof text, "0x%02X", value);
  return text;
}

TEST(DecodeBaseBlock, PlacesEveryFieldByTheByteLayout) {
  BaseFields f;
  f.manufacturer = "GSM";
  f.product = 0x5B7F;
  f.serial = 0x01020304;
  f.features = 0xE7;  // stand-by, suspend, active-off, sRGB, preferred timing, GTF
  // Low bits: red x 11, red y 10, green x 01, green y 00; blue and white the reverse.
  f.chromaticity = {0xE4, 0x1B, 0xA0, 0x54, 0x4C, 0x9A, 0x26, 0x0F, 0x50, 0x54};
  f.established_1 = 0x21;
  f.established_2 = 0x08;
  f.manufacturer_timings = 0x80;
  f.descriptors[1] = RangeLimits(48, 62, 15, 70, 30);
  f.extensions = 3;
  const Bytes block = BaseBlock(f);
  PreparedEdid r;
  const edid_t &e = r.edid;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 1); }), IsEmpty());
  EXPECT_STREQ(e.manufacturer_id, "GSM");
  EXPECT_EQ(std::tuple(e.product_id, e.serial, e.week, e.year, e.version, e.revision),
            std::tuple(0x5B7Fu, 0x01020304u, 12, 2012u, 1, 3));
  EXPECT_EQ(std::tuple(e.digital, e.h_size_cm, e.v_size_cm, e.gamma), std::tuple(1, 160, 90, 120u));
  EXPECT_EQ(std::tuple(e.standby, e.suspend, e.active_off, e.standard_colorspace,
                       e.preferred_timing, e.gtf),
            std::tuple(1, 1, 1, 1, 1, 1));
  EXPECT_EQ(std::vector<uint32_t>(
                {e.red_x, e.red_y, e.green_x, e.green_y, e.blue_x, e.blue_y, e.white_x, e.white_y}),
            std::vector<uint32_t>({0x283, 0x152, 0x131, 0x268, 0x098, 0x03D, 0x142, 0x153}));
  EXPECT_EQ(std::tuple(e.established_timings_1, e.established_timings_2, e.manufacturer_timings),
            std::tuple(0x21u, 0x08u, 0x80u));
  EXPECT_EQ(std::tuple(e.min_v_rate, e.max_v_rate, e.min_h_rate, e.max_h_rate, e.max_pixel_clock),
            std::tuple(48, 62, 15, 70, 300u));
  EXPECT_EQ(std::tuple(e.num_extensions, e.checksum, e.valid), std::tuple(3, block[127], 1));
}

TEST(DecodeBaseBlock, StopsAtTheFirstFailedCheckKeepingWhatWasFilled) {
  const Bytes good = BaseBlock();
  const struct {
    std::vector<std::pair<int, uint8_t>> patch;
    bool fix_checksum;
    std::string message;
    uint8_t valid;
    const char *manufacturer;  // decoded before the version check
  } cases[] = {
      {{{7, 1}},
       true,
       "Failed verifying the header. Expected:  ffffffffffff00 Received: 1ffffffffffff00",
       0,
       ""},
      {{{127, good[127] ^ 0x10}},
       false,
       "Edid failed the checksum. Calculated:" + Hex(good[127]) +
           " Received:" + Hex(good[127] ^ 0x10),
       1,
       ""},
      {{{19, 2}}, true, "Failed EDID Version/Revision check. Expected:1.3 Recieved:1.2", 1, "SAM"},
      {{{18, 2}, {19, 0}},
       true,
       "Failed EDID Version/Revision check. Expected:1.3 Recieved:2.0",
       1,
       "SAM"},
  };
  for (const auto &c : cases) {
    Bytes block = good;
    for (const auto &[at, value] : c.patch) block[at] = value;
    if (c.fix_checksum) FixChecksum(block);
    PreparedEdid r;
    EXPECT_THAT(Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 0); }),
                ElementsAre(Error(kBase, c.message)));
    EXPECT_EQ(std::tuple(r.edid.valid, r.edid.checksum, r.edid.h_size_cm),
              std::tuple(c.valid, c.valid ? block[127] : 0, 0));
    EXPECT_STREQ(r.edid.manufacturer_id, c.manufacturer);
  }
}

TEST(DecodeBaseBlock, RefusesNullArgumentsAndUnpreparedLists) {
  const Bytes block = BaseBlock();
  EXPECT_THAT(Lines([&] { decode_edid_block_0(nullptr, nullptr); }),
              ElementsAre(Error(kBase, "Function called with edid_block set to NULL.")));
  EXPECT_THAT(Lines([&] { decode_edid_block_0(block.data(), nullptr); }),
              ElementsAre(Error(kBase, "Function called with edid set to NULL.")));
  const std::pair<ll_list_t edid_t::*, const char *> lists[] = {
      {&edid_t::std_timings, "standard_timing_list"},
      {&edid_t::dtd_list, "detailed_timing_list"},
      {&edid_t::video_list, "short_video_description_list"},
      {&edid_t::audio_list, "short_audio_description_list"}};
  for (const auto &[list, name] : lists) {
    PreparedEdid r;
    const ll_list_t saved = r.edid.*list;
    (r.edid.*list).magic = 0;
    EXPECT_THAT(Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 0); }),
                ElementsAre(Error(kBase, std::string(name) + ": List not initialized.")));
    EXPECT_EQ(r.edid.valid, 0);
    r.edid.*list = saved;
  }
}

TEST(DecodeBaseBlock, AnalogInputOnlyWarnsAndDecodingTwiceDoublesTheLists) {
  BaseFields f;
  f.video_input = 0x00;
  f.standard_timings[3] = {0xD1, 0xC0};
  f.descriptors[0] = Dtd({});
  const Bytes block = BaseBlock(f);
  PreparedEdid r;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 1); }),
              ElementsAre(Warning(kBase, "EDID inappropriately set to analog. Continuing.")));
  EXPECT_EQ(r.edid.h_size_cm, 160);
  Lines([&] { decode_edid_block_0(block.data(), &r.edid); });
  EXPECT_EQ(std::tuple(ll_size(&r.edid.std_timings), ll_size(&r.edid.dtd_list)), std::tuple(2, 2));
}

TEST(StandardTiming, WidthAspectAndRateFromTheTwoBytesAndOnlyOneOneIsSkipped) {
  const Bytes pairs = {0xD1, 0xC0, 0x01, 0x01, 0x81, 0x80, 0x61, 0x4F,
                       0x00, 0x00, 0x01, 0x00, 0xFF, 0x3F, 0x01, 0x01};
  BaseFields f;
  for (size_t i = 0; i < 8; ++i) f.standard_timings[i] = {pairs[2 * i], pairs[2 * i + 1]};
  const Bytes block = BaseBlock(f);
  PreparedEdid r;
  ASSERT_EQ(decode_edid_block_0(block.data(), &r.edid), 1);
  std::vector<std::tuple<uint32_t, uint32_t, uint32_t>> got;
  for (const auto &t : Elements<std_timing_t>(&r.edid.std_timings))
    got.emplace_back(t.h_active, t.aspect_ratio, t.refresh_rate);
  EXPECT_THAT(
      got, ElementsAre(std::tuple(1920, 3, 60), std::tuple(1280, 2, 60), std::tuple(1024, 1, 75),
                       std::tuple(248, 0, 60), std::tuple(256, 0, 60), std::tuple(2288, 0, 123)));
}

TEST(DetailedTiming, DecodesEveryFieldIncludingTheHighBits) {
  // clock, h active/blank, v active/blank, h/v sync offset and width, image
  // size, borders, interlaced, polarities, stereo
  const Bytes dtd = Dtd(
      {297000000, 3840, 560, 2160, 90, 1000, 600, 40, 50, 1872, 1053, 3, 2, true, true, false, 2});
  PreparedEdid r;
  ASSERT_EQ(_decode_edid_dtd(dtd.data(), &r.edid), 1);
  const auto t = Elements<detailed_timing_t>(&r.edid.dtd_list).at(0);
  EXPECT_EQ(std::tuple(t.valid, t.pixel_clock, t.h_active, t.h_blanking, t.v_active, t.v_blanking),
            std::tuple(1, 297000000u, 3840u, 560u, 2160u, 90u));
  EXPECT_EQ(std::tuple(t.h_sync_offset, t.h_sync_width, t.v_sync_offset, t.v_sync_width),
            std::tuple(1000u, 600u, 40u, 50u));
  EXPECT_EQ(std::tuple(t.h_image_size, t.v_image_size, t.h_border, t.v_border),
            std::tuple(1872u, 1053u, 3, 2));
  EXPECT_EQ(std::tuple(t.progressive, t.stereo, t.h_sync_positive, t.v_sync_positive),
            std::tuple(0, 1, 1, 0));
}

TEST(DetailedTiming, TracesNonDigitalSyncAndEachAddedTiming) {
  const Bytes digital = Dtd({});
  const Bytes analog = Dtd({.interlaced = true, .sync_type = 1});
  PreparedEdid r;
  DebugOn debug;
  EXPECT_THAT(Lines([&] {
                _decode_edid_dtd(digital.data(), &r.edid);
                _decode_edid_dtd(analog.data(), &r.edid);
              }),
              ElementsAre(Trace(kDtd, "Added DTD: WxH=1920x1080p pixel:148500000"),
                          Trace(kDtd, "Detailed timing is not set to digital. Val:0x1 Continuing."),
                          Trace(kDtd, "Added DTD: WxH=1920x1080i pixel:148500000")));
}

TEST(DisplayDescriptor, FillsTextAndWarnsOnTheTagsItIgnores) {
  const std::pair<Bytes, std::string> cases[] = {
      {TextDescriptor(0xFC, "TV1"), ""},
      {TextDescriptor(0xFF, "1234567890ABC"), ""},
      {TextDescriptor(0xFE, "a\nb"), ""},
      {DisplayDescriptor(0xFB), "Additional monitor color point specified. Ignoring."},
      {DisplayDescriptor(0xFA), "Additional standard timings specified. Ignoring."},
      {DisplayDescriptor(0xF7), "Unknown data tag within DTD timing. Ignoring. tag=0xf7"},
      {DisplayDescriptor(0x10), ""},
      {DisplayDescriptor(0x00), ""},
  };
  PreparedEdid r;
  for (const auto &[descriptor, warning] : cases) {
    const uint8_t *bytes = descriptor.data();  // clang 14 cannot capture a structured binding
    EXPECT_EQ(Lines([&] { EXPECT_EQ(_decode_edid_dtd(bytes, &r.edid), 1); }),
              warning.empty() ? std::vector<std::string>{}
                              : std::vector<std::string>{Warning(kDtd, warning)});
  }
  EXPECT_STREQ(r.edid.monitor_name, "TV1");
  EXPECT_EQ(r.edid.monitor_name[4], ' ');  // the padding after the end stays
  EXPECT_STREQ(r.edid.monitor_serial, "1234567890ABC");
  EXPECT_STREQ(r.edid.monitor_data, "a");
  EXPECT_EQ(ll_size(&r.edid.dtd_list), 0);
  EXPECT_THAT(Lines([] { _replace_all_chars(nullptr, 3, 'a', 'b'); }),
              ElementsAre(Error("_replace_all_chars", "String parameter is NULL.")));
}

TEST(DisplayDescriptor, NonZeroByteTwoOrFourFailsTheBlockNumberedFromZero) {
  BaseFields f;
  f.descriptors[0] = Dtd({});
  f.descriptors[1] = TextDescriptor(0xFC, "TV");
  f.descriptors[2] = TextDescriptor(0xFC, "X");
  f.descriptors[2][4] = 0x0A;
  const Bytes block = BaseBlock(f);
  PreparedEdid r;
  EXPECT_THAT(
      Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 0); }),
      ElementsAre(Error(kDtd,
                        "Malformed DTD: The DTD's pixel clock is 0 indicating that the byte "
                        "0x2 and byte 0x4 should be zero, but they are not. Byte2:0x00 "
                        "Byte4:0x0A"),
                  Error(kBase,
                        "Failed decoding #2 DTD. 0x0 0x0 0x0 0xfc 0xa 0x58 0xa 0x20 0x20 "
                        "0x20 0x20 0x20 0x20 0x20 0x20 0x20 0x20 0x20")));
  EXPECT_STREQ(r.edid.monitor_name, "TV");
  EXPECT_EQ(std::tuple(ll_size(&r.edid.dtd_list), r.edid.num_extensions), std::tuple(1, 0));
}

}  // namespace

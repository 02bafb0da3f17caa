// Base block decoding: field layout, the order of the checks and what each
// failure leaves in the record, standard timings and the 18-byte descriptors.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"

using edc_test::BaseBlock;
using edc_test::BaseFields;
using edc_test::Bytes;
using edc_test::Elements;
using edc_test::Error;
using edc_test::Lines;
using edc_test::PreparedEdid;
using edc_test::Trace;
using edc_test::Warning;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(DecodeBaseBlock, PlacesEveryFieldByTheByteLayout) {
  BaseFields f;
  f.manufacturer = "GSM";
  f.product = 0x5B7F;
  f.serial = 0x01020304;
  f.features = 0xE7;  // stand-by, suspend, active-off, sRGB, preferred, GTF
  // red x low bits 11, red y 10, green x 01, green y 00; blue/white the reverse
  f.chromaticity = {0xE4, 0x1B, 0xA0, 0x54, 0x4C, 0x9A, 0x26, 0x0F, 0x50, 0x54};
  f.established_1 = 0x21;
  f.established_2 = 0x08;
  f.manufacturer_timings = 0x80;
  f.descriptors[1] = edc_test::RangeLimits(48, 62, 15, 70, 30);
  f.extensions = 3;
  const Bytes block = BaseBlock(f);
  PreparedEdid r;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 1); }), IsEmpty());
  const edid_t &e = r.edid;
  EXPECT_STREQ(e.manufacturer_id, "GSM");
  EXPECT_EQ(e.product_id, 0x5B7Fu);
  EXPECT_EQ(e.serial, 0x01020304u);
  EXPECT_EQ(std::tuple(e.week, e.year, e.version, e.revision), std::tuple(12, 2012u, 1, 3));
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
  struct Case {
    const char *what;
    std::function<void(Bytes &)> change;
    std::string message;
    uint8_t valid;
    const char *manufacturer;
  } cases[] = {
      {"header",
       [](Bytes &b) {
         b[7] = 1;
         edc_test::FixChecksum(b);
       },
       "Failed verifying the header. Expected:  ffffffffffff00 Received: 1ffffffffffff00", 0, ""},
      {"checksum", [](Bytes &b) { b[127] ^= 0x10; }, "", 1, ""},  // the message is filled in below
      {"1.2",
       [](Bytes &b) {
         b[19] = 2;
         edc_test::FixChecksum(b);
       },
       "Failed EDID Version/Revision check. Expected:1.3 Recieved:1.2", 1, "SAM"},
      {"2.0",
       [](Bytes &b) {
         b[18] = 2;
         b[19] = 0;
         edc_test::FixChecksum(b);
       },
       "Failed EDID Version/Revision check. Expected:1.3 Recieved:2.0", 1, "SAM"},
  };
  char checksum[64];
  snprintf(checksum, sizeof checksum, "Edid failed the checksum. Calculated:0x%02X Received:0x%02X",
           good[127], good[127] ^ 0x10);
  cases[1].message = checksum;
  for (const auto &c : cases) {
    Bytes block = good;
    c.change(block);
    PreparedEdid r;
    EXPECT_THAT(Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 0); }),
                ElementsAre(Error("decode_edid_block_0", c.message)))
        << c.what;
    EXPECT_EQ(r.edid.valid, c.valid) << c.what;
    EXPECT_EQ(r.edid.checksum, c.valid ? block[127] : 0) << c.what;
    EXPECT_STREQ(r.edid.manufacturer_id, c.manufacturer) << c.what;
    EXPECT_EQ(r.edid.h_size_cm, 0) << c.what;
  }
}

TEST(DecodeBaseBlock, RefusesNullArgumentsAndUnpreparedLists) {
  const Bytes block = BaseBlock();
  EXPECT_THAT(
      Lines([&] { decode_edid_block_0(nullptr, nullptr); }),
      ElementsAre(Error("decode_edid_block_0", "Function called with edid_block set to NULL.")));
  EXPECT_THAT(Lines([&] { decode_edid_block_0(block.data(), nullptr); }),
              ElementsAre(Error("decode_edid_block_0", "Function called with edid set to NULL.")));
  const std::pair<ll_list_t edid_t::*, const char *> lists[] = {
      {&edid_t::std_timings, "standard_timing_list"},
      {&edid_t::dtd_list, "detailed_timing_list"},
      {&edid_t::video_list, "short_video_description_list"},
      {&edid_t::audio_list, "short_audio_description_list"}};
  for (const auto &[list, name] : lists) {
    PreparedEdid r;
    const ll_list_t saved = r.edid.*list;
    (r.edid.*list).magic = 0;
    EXPECT_THAT(
        Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 0); }),
        ElementsAre(Error("decode_edid_block_0", std::string(name) + ": List not initialized.")));
    EXPECT_EQ(r.edid.valid, 0);
    r.edid.*list = saved;
  }
}

TEST(DecodeBaseBlock, AnalogInputOnlyWarnsAndDecodingTwiceDoublesTheLists) {
  BaseFields f;
  f.video_input = 0x00;
  f.standard_timings[3] = {0xD1, 0xC0};
  f.descriptors[0] = edc_test::Dtd({});
  const Bytes block = BaseBlock(f);
  PreparedEdid r;
  EXPECT_THAT(Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 1); }),
              ElementsAre(Warning("decode_edid_block_0",
                                  "EDID inappropriately set to analog. Continuing.")));
  EXPECT_EQ(r.edid.h_size_cm, 160);
  Lines([&] { decode_edid_block_0(block.data(), &r.edid); });
  EXPECT_EQ(ll_size(&r.edid.std_timings), 2);
  EXPECT_EQ(ll_size(&r.edid.dtd_list), 2);
}

TEST(StandardTiming, WidthAspectAndRateFromTheTwoBytesAndOnlyOneOneIsSkipped) {
  BaseFields f;
  f.standard_timings = {{{0xD1, 0xC0},
                         {0x01, 0x01},
                         {0x81, 0x80},
                         {0x61, 0x4F},
                         {0x00, 0x00},
                         {0x01, 0x00},
                         {0xFF, 0x3F},
                         {0x01, 0x01}}};
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
  const Bytes dtd = edc_test::Dtd({.pixel_clock_hz = 297000000,
                                   .h_active = 3840,
                                   .h_blanking = 560,
                                   .v_active = 2160,
                                   .v_blanking = 90,
                                   .h_sync_offset = 1000,
                                   .h_sync_width = 600,
                                   .v_sync_offset = 40,
                                   .v_sync_width = 50,
                                   .h_image_mm = 1872,
                                   .v_image_mm = 1053,
                                   .h_border = 3,
                                   .v_border = 2,
                                   .interlaced = true,
                                   .h_sync_positive = true,
                                   .v_sync_positive = false,
                                   .stereo = 2});
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
  const Bytes digital = edc_test::Dtd({});
  const Bytes analog = edc_test::Dtd({.interlaced = true, .sync_type = 1});
  PreparedEdid r;
  edc_test::DebugOn debug;
  EXPECT_THAT(Lines([&] {
                _decode_edid_dtd(digital.data(), &r.edid);
                _decode_edid_dtd(analog.data(), &r.edid);
              }),
              ElementsAre(Trace("_decode_edid_dtd", "Added DTD: WxH=1920x1080p pixel:148500000"),
                          Trace("_decode_edid_dtd",
                                "Detailed timing is not set to digital. Val:0x1 Continuing."),
                          Trace("_decode_edid_dtd", "Added DTD: WxH=1920x1080i pixel:148500000")));
}

TEST(DisplayDescriptor, FillsTextAndWarnsOnTheTagsItIgnores) {
  struct Case {
    Bytes descriptor;
    std::vector<std::string> lines;
  } cases[] = {
      {edc_test::TextDescriptor(0xFC, "TV1"), {}},
      {edc_test::TextDescriptor(0xFF, "1234567890ABC"), {}},
      {edc_test::TextDescriptor(0xFE, "a\nb"), {}},
      {edc_test::DisplayDescriptor(0xFB),
       {Warning("_decode_edid_dtd", "Additional monitor color point specified. Ignoring.")}},
      {edc_test::DisplayDescriptor(0xFA),
       {Warning("_decode_edid_dtd", "Additional standard timings specified. Ignoring.")}},
      {edc_test::DisplayDescriptor(0xF7),
       {Warning("_decode_edid_dtd", "Unknown data tag within DTD timing. Ignoring. tag=0xf7")}},
      {edc_test::DisplayDescriptor(0x10), {}},
      {edc_test::DisplayDescriptor(0x00), {}},
  };
  PreparedEdid r;
  for (const auto &c : cases)
    EXPECT_EQ(Lines([&] { EXPECT_EQ(_decode_edid_dtd(c.descriptor.data(), &r.edid), 1); }),
              c.lines);
  EXPECT_STREQ(r.edid.monitor_name, "TV1");
  EXPECT_EQ(r.edid.monitor_name[4], ' ');  // the padding after the end stays
  EXPECT_STREQ(r.edid.monitor_serial, "1234567890ABC");
  EXPECT_STREQ(r.edid.monitor_data, "a");
  EXPECT_EQ(ll_size(&r.edid.dtd_list), 0);
}

TEST(DisplayDescriptor, NonZeroByteTwoOrFourFailsTheBlockNumberedFromZero) {
  BaseFields f;
  f.descriptors[0] = edc_test::Dtd({});
  f.descriptors[1] = edc_test::TextDescriptor(0xFC, "TV");
  f.descriptors[2] = edc_test::TextDescriptor(0xFC, "X");
  f.descriptors[2][4] = 0x0A;
  const Bytes block = BaseBlock(f);
  PreparedEdid r;
  EXPECT_THAT(
      Lines([&] { EXPECT_EQ(decode_edid_block_0(block.data(), &r.edid), 0); }),
      ElementsAre(
          Error(
              "_decode_edid_dtd",
              "Malformed DTD: The DTD's pixel clock is 0 indicating that the byte 0x2 and byte 0x4 "
              "should be zero, but they are not. Byte2:0x00 Byte4:0x0A"),
          Error("decode_edid_block_0",
                "Failed decoding #2 DTD. 0x0 0x0 0x0 0xfc 0xa 0x58 0xa 0x20 0x20 0x20 0x20 "
                "0x20 0x20 0x20 0x20 0x20 0x20 0x20")));
  EXPECT_STREQ(r.edid.monitor_name, "TV");
  EXPECT_EQ(ll_size(&r.edid.dtd_list), 1);
  EXPECT_EQ(r.edid.num_extensions, 0);
}

TEST(ReplaceAllChars, ReplacesWithinTheLengthAndRefusesNull) {
  char text[] = "a-b-c-d";
  _replace_all_chars(text, 4, '-', '+');
  EXPECT_STREQ(text, "a+b+c-d");
  EXPECT_THAT(Lines([] { _replace_all_chars(nullptr, 3, 'a', 'b'); }),
              ElementsAre(Error("_replace_all_chars", "String parameter is NULL.")));
}

}  // namespace

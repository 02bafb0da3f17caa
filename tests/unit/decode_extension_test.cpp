// CEA-861 extension decoding: the header checks, the detailed-timing loop,
// the data block walk and each kind of block, the HDMI vendor block with its
// latencies, HDMI VICs and 3D fields, and reads that must stay in bounds.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"

using edc_test::Bytes;
using edc_test::Cat;
using edc_test::CeaExtension;
using edc_test::CeaFields;
using edc_test::DataBlock;
using edc_test::Elements;
using edc_test::Error;
using edc_test::HdmiVsdb;
using edc_test::HdmiVsdbFields;
using edc_test::Lines;
using edc_test::PreparedEdid;
using edc_test::ShortAudio;
using edc_test::Trace;
using edc_test::Warning;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char kExt[] = "decode_edid_extensions";
const char kVsdb[] = "_decode_edid_vendor_block";

std::vector<std::string> Decode(const Bytes &bytes, edid_t *edid, uint8_t expected = 1,
                                std::optional<uint32_t> size = {}) {
  return Lines([&] {
    EXPECT_EQ(decode_edid_extensions(bytes.data(), size.value_or(bytes.size()), edid), expected);
  });
}

// Payload bytes of a video data block with n formats, VIC 1 upwards.
Bytes Svds(int n) {
  Bytes svds;
  for (int i = 1; i <= n; ++i) svds.push_back(static_cast<uint8_t>(i));
  return svds;
}

std::vector<uint32_t> Stereo(edid_t *edid) {
  std::vector<uint32_t> out;
  for (const auto &svd : Elements<short_video_desc_t>(&edid->video_list)) out.push_back(svd.stereo);
  return out;
}

TEST(DecodeExtension, HeaderChecksFailInOrderBeforeAnyFieldIsSet) {
  const Bytes good = CeaExtension({.support = 0xF0});
  struct Case {
    std::function<void(Bytes &)> change;
    std::vector<std::string> lines;
    uint32_t size = 128;
  } cases[] = {
      {[](Bytes &b) { b[0] = 0x70; },
       {Error(kExt, "The extension is not a CEA extension. Expected=0x2 Received=0x70")}},
      {[](Bytes &) {},
       {Error(kExt, "The extension is not a CEA extension. Expected=0x2 Received=0x0")},
       0},
      {[](Bytes &b) { b[1] = 1; },
       {Error(kExt, "Extension is the wrong version. Expected=0x3 Received=0x1")}},
      {[](Bytes &b) { b[5] = 1; },
       {Error(kExt, "Edid failed the checksum. Calculated:0x06 Received:0x07")}},
      {[](Bytes &b) {
         b[2] = 111;
         edc_test::FixChecksum(b);
       },
       {Error(kExt, "EDID DTD offset value is larger than the block. Offset:111"), ""}},
  };
  for (auto &c : cases) {
    Bytes block = good;
    c.change(block);
    PreparedEdid r;
    EXPECT_EQ(Decode(block, &r.edid, 0, c.size), c.lines);
    EXPECT_EQ(r.edid.underscan + r.edid.basic_audio + r.edid.ycbcr444 + r.edid.ycbcr422, 0);
  }
  PreparedEdid r;
  EXPECT_THAT(Decode(good, &r.edid), IsEmpty());
  EXPECT_EQ(std::tuple(r.edid.underscan, r.edid.basic_audio, r.edid.ycbcr444, r.edid.ycbcr422),
            std::tuple(1, 1, 1, 1));
  EXPECT_THAT(Lines([] { decode_edid_extensions(nullptr, 128, nullptr); }),
              ElementsAre(Error(kExt, "Function called with edid_extension set to NULL.")));
  EXPECT_THAT(Lines([&] { decode_edid_extensions(good.data(), 128, nullptr); }),
              ElementsAre(Error(kExt, "Function called with edid set to NULL.")));
}

TEST(DecodeExtension, ShortExtensionsReadOnlyTheBytesGiven) {
  const Bytes full = CeaExtension({.data_blocks = {DataBlock(2, {16})}});
  for (size_t size : {1u, 2u, 3u, 64u, 127u}) {
    // An allocation of exactly the given size, so that AddressSanitizer sees any overread.
    auto bytes = std::make_unique<uint8_t[]>(size);
    memcpy(bytes.get(), full.data(), size);
    PreparedEdid r;
    const auto lines =
        Lines([&] { EXPECT_EQ(decode_edid_extensions(bytes.get(), size, &r.edid), 0); });
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_THAT(lines[0],
                testing::StartsWith(Error(kExt, size == 1 ? "Extension is the wrong version"
                                                          : "Edid failed the checksum")));
  }
}

TEST(DecodeExtension, TimingsComeFromOffsetOnwardOverTheByteCountGiven) {
  const Bytes dtd = edc_test::Dtd({});
  struct Case {
    Bytes bytes;
    int timings;
  } cases[] = {
      {CeaExtension({.dtds = {dtd, dtd}}), 2},               // d = 4
      {CeaExtension({.dtd_offset = 91, .dtds = {dtd}}), 1},  // last slot 91..108
      {CeaExtension({.dtd_offset = 110}), 0},                // 110 + 18 is not below 128
      {Cat({CeaExtension({.dtd_offset = 110}), dtd, Bytes(110, 0)}),
       1},  // reads on into the next block
  };
  for (const auto &c : cases) {
    PreparedEdid r;
    EXPECT_THAT(Decode(c.bytes, &r.edid), IsEmpty());
    EXPECT_EQ(ll_size(&r.edid.dtd_list), c.timings);
  }
}

TEST(DecodeExtension, DataBlocksMustEndBeforeTheTimingOffset) {
  const Bytes video = DataBlock(2, {0x90, 4, 0x83});
  PreparedEdid fits;
  EXPECT_THAT(Decode(CeaExtension({.data_blocks = {video}, .dtd_offset = 8}), &fits.edid),
              IsEmpty());
  EXPECT_EQ(ll_size(&fits.edid.video_list), 3);
  PreparedEdid overrun;
  EXPECT_THAT(Decode(CeaExtension({.data_blocks = {DataBlock(2, {1}), video}, .dtd_offset = 9}),
                     &overrun.edid, 0),
              ElementsAre(Error(
                  kExt,
                  "Malformed EDID: The CEA extension data block specifies a tag with a length "
                  "whose total bytes exceeds the length of the CEA extension's data block. "
                  "Tag:2 Len:3 Current Byte:2 Data Block Len:5")));
  EXPECT_EQ(ll_size(&overrun.edid.video_list), 1);
  for (uint8_t d : {0, 1, 3}) {  // no collection at all below byte 4
    PreparedEdid r;
    Bytes block = CeaExtension({.data_blocks = {video}, .dtd_offset = d});
    EXPECT_EQ(Decode(block, &r.edid).size(), 0u);
    EXPECT_EQ(ll_size(&r.edid.video_list), 0);
  }
}

TEST(DecodeExtension, EachBlockKindIsDecodedOrTraced) {
  const Bytes ext = CeaExtension(
      {.data_blocks = {DataBlock(0, {1}), DataBlock(2, {0x90, 0x04}),
                       DataBlock(1, Cat({ShortAudio(1, 2, 0x07, 0x07), ShortAudio(0, 2, 7, 0),
                                         ShortAudio(2, 6, 0x07, 80)})),
                       DataBlock(4, {0x4F, 0x01, 0x02}), DataBlock(3, {0xD8, 0x5D, 0xC4, 0x01}),
                       DataBlock(5, {}), DataBlock(6, {9}),
                       edc_test::ExtendedBlock(5, {0x03, 0x00}), edc_test::ExtendedBlock(0, {0x40}),
                       DataBlock(4, {1, 2})}});
  PreparedEdid r;
  edc_test::DebugOn debug;
  EXPECT_THAT(
      Decode(ext, &r.edid),
      ElementsAre(
          Trace(kExt, "Reserved code. Len=1"), Trace(kExt, "Video Data Block. Len=2"),
          Trace(kExt, "Audio Data Block. Len=9"),
          Error("decode_edid_short_audio",
                "Unrecognized audio type found in audio format. Expected:1-15 Received:0"),
          Warning(kExt, "Failed to decode audio format. Index:3 byte3:0x01 byte2:0x07 byte1:0x00"),
          Trace(kExt, "Speaker Allocation Data Block. Len=3"),
          Trace(kExt, "Vendor Specific Data Block. Len=4"),
          Trace(kVsdb, "Unrecognized vendor block. Ignoring. Vendor=0xC45DD8"),
          Trace(kExt, "VESA DTC Data Block. Ignoring. Len=0"),
          Trace(kExt, "Reserved Code:6. Ignoring. Len=1"),
          Trace(kExt, "Extended Data block. Ignoring. ExtTag:0x0 Len=2"),
          Trace(kExt, "Speaker Allocation Data Block. Len=2"),
          Warning(kExt,
                  "Speaker allocation block is longer than expected. Expected=3 Actual=2 "
                  "Continuing...")));
  const auto svds = Elements<short_video_desc_t>(&r.edid.video_list);
  ASSERT_EQ(svds.size(), 2u);
  EXPECT_EQ(std::tuple(svds[0].native, svds[0].vic, svds[1].native, svds[1].vic),
            std::tuple(1, 16u, 0, 4u));
  const auto sads = Elements<short_audio_desc_t>(&r.edid.audio_list);
  ASSERT_EQ(sads.size(), 2u);
  EXPECT_EQ(std::tuple(sads[0].format, sads[0].channels, sads[0].bit_depths, sads[1].format,
                       sads[1].max_bitrate),
            std::tuple(1u, 2u, 7u, 2u, 640u));
  EXPECT_EQ(std::vector<uint8_t>(r.edid.speaker, r.edid.speaker + 3), Bytes({0x4F, 0x01, 0x02}));
  EXPECT_EQ(std::tuple(r.edid.xvycc601, r.edid.xvycc709), std::tuple(1, 1));
}

TEST(DecodeExtension, ShortBlocksReadOnIntoTheFollowingBytes) {
  // An audio block of 4 bytes takes its second descriptor's last two bytes
  // from the next block; an empty extended tag block takes its code and
  // flags from the bytes after it.
  const Bytes ext =
      CeaExtension({.data_blocks = {DataBlock(1, Cat({ShortAudio(1, 2, 7, 1), {0x11}})),
                                    DataBlock(7, {}), DataBlock(0, {0x02, 0, 0, 0, 0})}});
  PreparedEdid r;
  EXPECT_THAT(Decode(ext, &r.edid), IsEmpty());
  const auto sads = Elements<short_audio_desc_t>(&r.edid.audio_list);
  ASSERT_EQ(sads.size(), 2u);
  EXPECT_EQ(std::tuple(sads[1].format, sads[1].channels, sads[1].sample_rates, sads[1].max_bitrate),
            std::tuple(2u, 2u, 0x60u, 40u));
  EXPECT_EQ(std::tuple(r.edid.xvycc601, r.edid.xvycc709), std::tuple(0, 1));
}

TEST(ShortAudio, FillsOnlyTheFieldOfItsFormat) {
  struct Case {
    uint8_t b1, b3;
    short_audio_desc_t expected;
    uint8_t result;
  } cases[] = {
      {0x0D, 0xFF, {1, 6, 0x7F, 7, 0, 0, 0}, 1},     {0x15, 0x50, {2, 6, 0x7F, 0, 640, 0, 0}, 1},
      {0x47, 0x50, {8, 8, 0x7F, 0, 640, 0, 0}, 1},   {0x48, 0xAB, {9, 1, 0x7F, 0, 0, 0xAB, 0}, 1},
      {0x69, 0xAB, {13, 2, 0x7F, 0, 0, 0xAB, 0}, 1}, {0x71, 0xFD, {14, 2, 0x7F, 0, 0, 0, 5}, 1},
      {0x79, 0x08, {16, 2, 0x7F, 0, 0, 0, 0}, 1},    {0x79, 0x17, {17, 2, 0x7F, 0, 0, 0, 0}, 1},
      {0x79, 0x18, {18, 2, 0x7F, 0, 0, 0, 0}, 1},    {0x79, 0x20, {0, 2, 0x7F, 0, 0, 0, 0}, 1},
      {0x01, 0x07, {0, 2, 0x7F, 0, 0, 0, 0}, 0},
  };
  for (const auto &c : cases) {
    short_audio_desc_t audio;
    memset(&audio, 0xEE, sizeof audio);
    const auto lines =
        Lines([&] { EXPECT_EQ(decode_edid_short_audio(c.b1, 0xFF, c.b3, &audio), c.result); });
    EXPECT_EQ(memcmp(&audio, &c.expected, sizeof audio), 0) << int(c.b1) << " " << int(c.b3);
    EXPECT_EQ(lines.size(), c.result ? 0u : 1u);
  }
  EXPECT_THAT(
      Lines([] { decode_edid_short_audio(0x01, 0, 0, nullptr); }),
      ElementsAre(Error("decode_edid_short_audio",
                        "Function called with \"audio\" parameter set to NULL. audio=(nil)")));
  EXPECT_THAT(Lines([] {
                short_audio_desc_t a;
                decode_edid_short_audio(0x81, 0, 0, &a);
              }),
              ElementsAre(Error(
                  "decode_edid_short_audio",
                  "Unrecognized audio type found in audio format. Expected:1-15 Received:0")));
}

// The vendor block through its own entry point: only its 1 + L bytes exist.
std::vector<std::string> DecodeVsdb(const Bytes &block, edid_t *edid) {
  auto bytes = std::make_unique<uint8_t[]>(block.size());
  memcpy(bytes.get(), block.data(), block.size());
  return Lines([&] { _decode_edid_vendor_block(bytes.get(), edid); });
}

TEST(VendorBlock, LengthDecidesWhichFieldsAreRead) {
  struct Case {
    Bytes block;
    std::vector<std::string> lines;
    uint8_t present, ai, tmds_set;
  } cases[] = {
      {DataBlock(2, {3, 12, 0}),
       {Error(kVsdb,
              "Failed decoding the vendor block. Tag is not correct. Expected=0x3 Received=0x2")},
       0,
       0,
       0},
      {DataBlock(3, {3, 12}),
       {Error(kVsdb,
              "Failed decoding the vendor block. Length not long enough to contain the vendor's "
              "id. Length=2")},
       0,
       0,
       0},
      {DataBlock(3, {3, 12, 0, 0x10}),
       {Error(kVsdb,
              "Failed decoding the hdmi block. The length is required to be at least 5 bytes long. "
              "Length=4")},
       0,
       0,
       0},
      {DataBlock(3, {3, 12, 0, 0x12, 0x34}), {}, 1, 0, 0},
      {DataBlock(3, {3, 12, 0, 0x12, 0x34, 0x80}), {}, 1, 1, 0},
      {DataBlock(3, {3, 12, 0, 0x12, 0x34, 0xF9, 60}), {}, 1, 1, 1},
  };
  for (const auto &c : cases) {
    PreparedEdid r;
    EXPECT_EQ(DecodeVsdb(c.block, &r.edid), c.lines);
    EXPECT_EQ(r.edid.hdmi_vsdb_present, c.present);
    EXPECT_EQ(r.edid.supports_ai, c.ai);
    EXPECT_EQ(r.edid.max_tmds_clock, c.tmds_set ? 300u : 0u);
    if (c.present) {
      EXPECT_EQ(std::tuple(r.edid.address.a, r.edid.address.b, r.edid.address.c, r.edid.address.d),
                std::tuple(1, 2, 3, 4));
    }
    if (c.tmds_set) {
      EXPECT_EQ(std::tuple(r.edid.dc_48bit, r.edid.dc_36bit, r.edid.dc_30bit, r.edid.dc_y444,
                           r.edid.dvi_dual),
                std::tuple(1, 1, 1, 1, 1));
    }
  }
}

TEST(VendorBlock, LatenciesAreReadOnlyWhenFlaggedAndConverted) {
  struct Case {
    HdmiVsdbFields fields;
    std::array<uint16_t, 4> latencies;
    uint8_t image_size;
  } cases[] = {
      {{.latency = std::pair(255, 1)}, {508, 0, 508, 0}, 0},
      {{.latency = std::pair(0, 21), .interlaced_latency = std::pair(41, 255)},
       {0, 40, 80, 508},
       0},
      {{.latency = std::pair(11, 6), .hdmi_video = true, .image_size = 2}, {20, 10, 20, 10}, 2},
  };
  for (const auto &c : cases) {
    PreparedEdid r;
    EXPECT_THAT(DecodeVsdb(HdmiVsdb(c.fields), &r.edid), IsEmpty());
    EXPECT_EQ(
        (std::array<uint16_t, 4>{r.edid.video_latency, r.edid.audio_latency,
                                 r.edid.interlaced_video_latency, r.edid.interlaced_audio_latency}),
        c.latencies);
    EXPECT_EQ(r.edid.image_size, c.image_size);
  }
  // Interlaced flag without the progressive one: nothing read, and the HDMI
  // video byte is byte 9.
  Bytes block = HdmiVsdb({.hdmi_video = true, .image_size = 3});
  block[8] |= 0x40;
  PreparedEdid r;
  EXPECT_THAT(DecodeVsdb(block, &r.edid), IsEmpty());
  EXPECT_EQ(std::tuple(r.edid.video_latency, r.edid.interlaced_video_latency, r.edid.image_size,
                       r.edid.cnc0),
            std::tuple(0, 0, 3, 0));
}

TEST(VendorBlock, HdmiVicsAndThreeDStructuresReachTheVideoFormats) {
  PreparedEdid r;
  const Bytes ext = CeaExtension(
      {.data_blocks = {
           DataBlock(2, Svds(17)),
           HdmiVsdb(
               {.hdmi_video = true,
                .present_3d = true,
                .multi_3d = 2,
                .hdmi_vics = {1, 0x83},
                .fields_3d = {0x80, 0x41, 0x00, 0x05,  // ALL: SSH(15), TBH(6), FP(0); MASK: 0, 2
                              0x18, 0x00,              // format 1, side-by-side half + detail byte
                              0x34,                    // format 3, L + depth
                              0x27,                    // format 2, reserved structure 7
                              0xF1,                    // format 15, field alternative
                              0x11}})}});              // format 1, field alternative
  edc_test::DebugOn debug;
  EXPECT_THAT(
      Decode(ext, &r.edid),
      ElementsAre(Trace(kExt, "Video Data Block. Len=17"),
                  Trace(kExt, "Vendor Specific Data Block. Len=22"),
                  Trace(kVsdb, " start parsing 3D and 4Kx2K stuff true"),
                  Trace(kVsdb, " 3D_present 1"), Trace(kVsdb, " 3D_multi_present 2"),
                  Trace(kVsdb, " image_size 0"), Trace(kVsdb, " 3D_len 10"),
                  Trace(kVsdb, " 4k_2k_vic_len 2"), Error(kVsdb, "It should not arrive here.")));
  EXPECT_EQ(r.edid.hdmi_vic_len, 2);
  EXPECT_EQ(std::tuple(r.edid.hdmi_vic[0], r.edid.hdmi_vic[1]), std::tuple(1u, 3u));
  std::vector<uint32_t> expected(17, 0);
  expected[0] = expected[2] = 0x01 | 0x04 | 0x02;
  expected[1] |= 0x02 | 0x08;
  expected[3] |= 0x40;
  expected[15] |= 0x08;
  EXPECT_EQ(Stereo(&r.edid), expected);
}

TEST(VendorBlock, ThreeDStructureAllCoversAtMostSixteenFormats) {
  PreparedEdid r;
  const Bytes ext = CeaExtension(
      {.data_blocks = {DataBlock(2, Svds(17)), HdmiVsdb({.hdmi_video = true,
                                                         .present_3d = true,
                                                         .multi_3d = 1,
                                                         .fields_3d = {0x00, 0x01}})}});
  EXPECT_THAT(Decode(ext, &r.edid), IsEmpty());
  std::vector<uint32_t> expected(17, EDID_STEREO_FP);
  expected[16] = 0;
  EXPECT_EQ(Stereo(&r.edid), expected);
}

TEST(VendorBlock, ThreeDEntriesBeyondTheVideoFormatsAreReported) {
  PreparedEdid r;
  // Three formats: order 3 names the one after the last, order 5 lies beyond it.
  const Bytes ext = CeaExtension(
      {.data_blocks = {DataBlock(2, Svds(3)), HdmiVsdb({.hdmi_video = true,
                                                        .present_3d = true,
                                                        .fields_3d = {0x38, 0x58, 0x00, 0x26}})}});
  EXPECT_THAT(
      Decode(ext, &r.edid),
      ElementsAre(
          Error("ll_entry_at",
                "Index Out of Range: Requesting a value outside the range of the list. Index:3 "
                "Size:3"),
          Error(kVsdb,
                "The Vendor Specific Data Block (VSDB) 3D description references an index (3) "
                "that doesn't exist. Continuing. List len:3"),
          // skipped as one byte; 0x58 is the next entry, and its detail byte is skipped
          Warning(kVsdb, "Index out of range. index:5 Len:3")));
  EXPECT_EQ(Stereo(&r.edid), (std::vector<uint32_t>{0, 0, 0x04}));
}

TEST(VendorBlock, FieldsBeyondTheBlockGivenAloneReadAsZero) {
  // HDMI_VIC_LEN 7 and HDMI_3D_LEN 31 with no bytes behind them.
  Bytes block = HdmiVsdb({.hdmi_video = true, .present_3d = true, .multi_3d = 2});
  block[10] = 0xFF;
  PreparedEdid r;
  EXPECT_THAT(DecodeVsdb(block, &r.edid), IsEmpty());
  EXPECT_EQ(r.edid.hdmi_vic_len, 7);
  EXPECT_EQ(r.edid.hdmi_vic[6], 0u);
  EXPECT_THAT(Lines([] { _decode_edid_vendor_block(nullptr, nullptr); }),
              ElementsAre(Error(kVsdb, "Function called with vendor_block set to NULL.")));
  EXPECT_THAT(Lines([&] { _decode_edid_vendor_block(block.data(), nullptr); }),
              ElementsAre(Error(kVsdb, "Function called with edid set to NULL.")));
}

}  // namespace

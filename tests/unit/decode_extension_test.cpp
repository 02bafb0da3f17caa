// CEA-861 extension decoding: header checks, the timing loop, the data block
// walk, each kind of block, the HDMI vendor block, and reads that must stay
// inside the bytes given.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"

using namespace edc_test;  // NOLINT: builders and line helpers throughout
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const char kExt[] = "decode_edid_extensions";
const char kVsdb[] = "_decode_edid_vendor_block";

// A heap copy of exactly the bytes given, so that AddressSanitizer sees any overread.
std::unique_ptr<uint8_t[]> Exact(const Bytes &bytes, size_t size) {
  auto copy = std::make_unique<uint8_t[]>(size + (size == 0));
  memcpy(copy.get(), bytes.data(), size);
  return copy;
}

std::vector<std::string> Decode(const Bytes &bytes, edid_t *edid, uint8_t result = 1,
                                size_t size = 128) {
  const auto copy = Exact(bytes, size);
  return Lines([&] { EXPECT_EQ(decode_edid_extensions(copy.get(), size, edid), result); });
}

std::vector<std::string> DecodeVsdb(const Bytes &block, edid_t *edid) {
  const auto copy = Exact(block, block.size());
  return Lines([&] { _decode_edid_vendor_block(copy.get(), edid); });
}

Bytes Svds(int n) {  // VIC 1 upwards
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
  const Bytes good = CeaExtension({.support = 0xF0});  // bytes 0-3 sum to 0xF9: checksum 0x07
  const struct {
    std::function<void(Bytes &)> change;
    std::vector<std::string> lines;
    size_t size = 128;
  } cases[] = {
      {[](Bytes &b) { b[0] = 0x70; },
       {Error(kExt, "The extension is not a CEA extension. Expected=0x2 Received=0x70")}},
      {[](Bytes &) {},
       {Error(kExt, "The extension is not a CEA extension. Expected=0x2 Received=0x0")},
       0},
      {[](Bytes &) {},
       {Error(kExt, "Extension is the wrong version. Expected=0x3 Received=0x0")},
       1},
      {[](Bytes &b) { b[1] = 1; },
       {Error(kExt, "Extension is the wrong version. Expected=0x3 Received=0x1")}},
      {[](Bytes &b) { b[5] = 1; },
       {Error(kExt, "Edid failed the checksum. Calculated:0x06 Received:0x07")}},
      {[](Bytes &) {},
       {Error(kExt, "Edid failed the checksum. Calculated:0x07 Received:0x00")},
       127},
      {[](Bytes &b) {
         b[2] = 111;
         FixChecksum(b);
       },
       {Error(kExt, "EDID DTD offset value is larger than the block. Offset:111"), ""}},
  };
  for (const auto &c : cases) {
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

TEST(DecodeExtension, TimingsComeFromTheOffsetOnwardOverTheByteCountGiven) {
  const Bytes dtd = Dtd({});
  const struct {
    Bytes bytes;
    int timings;
  } cases[] = {
      {CeaExtension({.dtds = {dtd, dtd}}), 2},                         // d = 4
      {CeaExtension({.dtd_offset = 91, .dtds = {dtd}}), 1},            // the last slot, 91 to 108
      {CeaExtension({.dtd_offset = 110}), 0},                          // 110 + 18 is not below 128
      {Cat({CeaExtension({.dtd_offset = 110}), dtd, Bytes(110)}), 1},  // on into the next block
  };
  for (const auto &c : cases) {
    PreparedEdid r;
    EXPECT_THAT(Decode(c.bytes, &r.edid, 1, c.bytes.size()), IsEmpty());
    EXPECT_EQ(ll_size(&r.edid.dtd_list), c.timings);
  }
}

TEST(DecodeExtension, DataBlocksMustEndBeforeTheTimingOffset) {
  const Bytes video = DataBlock(2, {0x90, 4, 0x83});
  PreparedEdid fits, overrun;
  EXPECT_THAT(Decode(CeaExtension({.data_blocks = {video}, .dtd_offset = 8}), &fits.edid),
              IsEmpty());
  EXPECT_EQ(ll_size(&fits.edid.video_list), 3);
  EXPECT_THAT(Decode(CeaExtension({.data_blocks = {DataBlock(2, {1}), video}, .dtd_offset = 9}),
                     &overrun.edid, 0),
              ElementsAre(Error(
                  kExt,
                  "Malformed EDID: The CEA extension data block specifies a tag with a length "
                  "whose total bytes exceeds the length of the CEA extension's data block. "
                  "Tag:2 Len:3 Current Byte:2 Data Block Len:5")));
  EXPECT_EQ(ll_size(&overrun.edid.video_list), 1);  // kept
  for (uint8_t d : {0, 1, 3}) {  // no collection below byte 4; the slots start in the header
    PreparedEdid r;
    EXPECT_THAT(Decode(CeaExtension({.data_blocks = {video}, .dtd_offset = d}), &r.edid),
                IsEmpty());
    EXPECT_EQ(ll_size(&r.edid.video_list), 0);
  }
}

TEST(DecodeExtension, EachBlockKindIsDecodedOrTraced) {
  const Bytes audio =
      Cat({ShortAudio(1, 2, 7, 7), ShortAudio(0, 2, 7, 0), ShortAudio(2, 6, 7, 80)});
  const Bytes ext = CeaExtension(
      {.data_blocks = {DataBlock(0, {1}), DataBlock(2, {0x90, 0x04}), DataBlock(1, audio),
                       DataBlock(4, {0x4F, 1, 2}), DataBlock(3, {0xD8, 0x5D, 0xC4, 1}),
                       DataBlock(5, {}), DataBlock(6, {9}), ExtendedBlock(5, {0x03, 0}),
                       ExtendedBlock(0, {0x40}), DataBlock(4, {1, 2})}});
  PreparedEdid r;
  DebugOn debug;
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
  EXPECT_EQ(std::tuple(sads[0].format, sads[1].format, sads[1].max_bitrate),
            std::tuple(1u, 2u, 640u));
  EXPECT_EQ(Bytes(r.edid.speaker, r.edid.speaker + 3),
            Bytes({0x4F, 1, 2}));  // the second is ignored
  EXPECT_EQ(std::tuple(r.edid.xvycc601, r.edid.xvycc709), std::tuple(1, 1));
}

TEST(DecodeExtension, ShortBlocksReadOnIntoTheFollowingBytes) {
  // A 4-byte audio block takes its second descriptor's bytes 2 and 3 from the
  // next two headers; the empty extended block takes its code (5) and flags
  // (0x02) from the block after it.
  const Bytes ext =
      CeaExtension({.data_blocks = {DataBlock(1, Cat({ShortAudio(1, 2, 7, 1), {0x11}})),
                                    DataBlock(7, {}), DataBlock(0, {0x02, 0, 0, 0, 0})}});
  PreparedEdid r;
  EXPECT_THAT(Decode(ext, &r.edid), IsEmpty());
  const auto sads = Elements<short_audio_desc_t>(&r.edid.audio_list);
  ASSERT_EQ(sads.size(), 2u);
  EXPECT_EQ(std::tuple(sads[1].format, sads[1].sample_rates, sads[1].max_bitrate),
            std::tuple(2u, 0x60u, 40u));
  EXPECT_EQ(std::tuple(r.edid.xvycc601, r.edid.xvycc709), std::tuple(0, 1));
}

TEST(ShortAudio, FillsOnlyTheFieldOfItsFormat) {
  const struct {
    uint8_t b1, b3;
    short_audio_desc_t expected;  // format, channels, rates, depths, bit rate, value, profile
  } cases[] = {
      {0x0D, 0xFF, {1, 6, 0x7F, 7, 0, 0, 0}},     {0x15, 0x50, {2, 6, 0x7F, 0, 640, 0, 0}},
      {0x47, 0x50, {8, 8, 0x7F, 0, 640, 0, 0}},   {0x48, 0xAB, {9, 1, 0x7F, 0, 0, 0xAB, 0}},
      {0x69, 0xAB, {13, 2, 0x7F, 0, 0, 0xAB, 0}}, {0x71, 0xFD, {14, 2, 0x7F, 0, 0, 0, 5}},
      {0x79, 0x08, {16, 2, 0x7F, 0, 0, 0, 0}},    {0x79, 0x17, {17, 2, 0x7F, 0, 0, 0, 0}},
      {0x79, 0x18, {18, 2, 0x7F, 0, 0, 0, 0}},    {0x79, 0x20, {0, 2, 0x7F, 0, 0, 0, 0}},
      {0x01, 0x07, {0, 2, 0x7F, 0, 0, 0, 0}},  // format 0: refused, the fields set so far stay
  };
  for (const auto &c : cases) {
    short_audio_desc_t audio;
    memset(&audio, 0xEE, sizeof audio);
    const auto lines = Lines([&] { decode_edid_short_audio(c.b1, 0xFF, c.b3, &audio); });
    EXPECT_EQ(memcmp(&audio, &c.expected, sizeof audio), 0) << int(c.b1) << " " << int(c.b3);
    EXPECT_EQ(
        lines,
        c.b1 != 0x01
            ? std::vector<std::string>{}
            : std::vector<std::string>{Error(
                  "decode_edid_short_audio",
                  "Unrecognized audio type found in audio format. Expected:1-15 Received:0")});
  }
  EXPECT_THAT(
      Lines([] { decode_edid_short_audio(0x09, 0, 0, nullptr); }),
      ElementsAre(Error("decode_edid_short_audio",
                        "Function called with \"audio\" parameter set to NULL. audio=(nil)")));
}

TEST(VendorBlock, LengthDecidesWhichFieldsAreRead) {
  const struct {
    Bytes block;
    std::string error;
    uint8_t present = 0, ai = 0, dc_tmds = 0;
  } cases[] = {
      {DataBlock(2, {3, 12, 0}),
       "Failed decoding the vendor block. Tag is not correct. Expected=0x3 Received=0x2"},
      {DataBlock(3, {3, 12}),
       "Failed decoding the vendor block. Length not long enough to contain the vendor's id. "
       "Length=2"},
      {DataBlock(3, {3, 12, 0, 0x12}),
       "Failed decoding the hdmi block. The length is required to be at least 5 bytes long. "
       "Length=4"},
      {DataBlock(3, {3, 12, 0, 0x12, 0x34}), "", 1, 0, 0},
      {DataBlock(3, {3, 12, 0, 0x12, 0x34, 0x80}), "", 1, 1, 0},
      {DataBlock(3, {3, 12, 0, 0x12, 0x34, 0xF9, 60}), "", 1, 1, 1},
  };
  for (const auto &c : cases) {
    PreparedEdid r;
    const edid_t &e = r.edid;
    EXPECT_EQ(DecodeVsdb(c.block, &r.edid), c.error.empty()
                                                ? std::vector<std::string>{}
                                                : std::vector<std::string>{Error(kVsdb, c.error)});
    EXPECT_EQ(std::tuple(e.hdmi_vsdb_present, e.address.a, e.address.b, e.address.c, e.address.d),
              c.present ? std::tuple(1, 1, 2, 3, 4) : std::tuple(0, 0, 0, 0, 0));
    EXPECT_EQ(e.supports_ai, c.ai);
    EXPECT_EQ(
        std::tuple(e.dc_48bit, e.dc_36bit, e.dc_30bit, e.dc_y444, e.dvi_dual, e.max_tmds_clock),
        c.dc_tmds ? std::tuple(1, 1, 1, 1, 1, 300u) : std::tuple(0, 0, 0, 0, 0, 0u));
  }
  EXPECT_THAT(Lines([] { _decode_edid_vendor_block(nullptr, nullptr); }),
              ElementsAre(Error(kVsdb, "Function called with vendor_block set to NULL.")));
  EXPECT_THAT(Lines([] {
                uint8_t b = 0x60;
                _decode_edid_vendor_block(&b, nullptr);
              }),
              ElementsAre(Error(kVsdb, "Function called with edid set to NULL.")));
}

TEST(VendorBlock, LatenciesAreReadOnlyWhenFlaggedAndConverted) {
  Bytes interlaced_only = HdmiVsdb({.hdmi_video = true, .image_size = 3});
  interlaced_only[8] |= 0x40;  // without bit 7 nothing is read: the video byte is byte 9
  const struct {
    Bytes block;
    std::array<uint16_t, 4> latencies;  // video, audio, interlaced video, interlaced audio
    uint8_t image_size;
  } cases[] = {
      {HdmiVsdb({.latency = std::pair(255, 1)}), {508, 0, 508, 0}, 0},
      {HdmiVsdb({.latency = std::pair(0, 21), .interlaced_latency = std::pair(41, 255)}),
       {0, 40, 80, 508},
       0},
      {HdmiVsdb({.latency = std::pair(11, 6), .hdmi_video = true, .image_size = 2}),
       {20, 10, 20, 10},
       2},
      {interlaced_only, {0, 0, 0, 0}, 3},
  };
  for (const auto &c : cases) {
    PreparedEdid r;
    const edid_t &e = r.edid;
    EXPECT_THAT(DecodeVsdb(c.block, &r.edid), IsEmpty());
    EXPECT_EQ((std::array<uint16_t, 4>{e.video_latency, e.audio_latency, e.interlaced_video_latency,
                                       e.interlaced_audio_latency}),
              c.latencies);
    EXPECT_EQ(e.image_size, c.image_size);
  }
}

TEST(VendorBlock, StructureAllReachesTheFirstSixteenFormatsAndEntriesOneEach) {
  const Bytes ext = CeaExtension(
      {.data_blocks = {
           DataBlock(2, Svds(17)),
           HdmiVsdb({.hdmi_video = true,
                     .present_3d = true,
                     .multi_3d = 1,
                     .hdmi_vics = {1, 0x83},
                     .fields_3d = {0x80,
                                   0x41,  // 3D_Structure_ALL: side-by-side (bit 15), TB (6), FP (0)
                                   0x38, 0x14,  // format 3, side-by-side half, and its detail byte
                                   0xF1}})}});  // format 15, field alternative
  PreparedEdid r;
  DebugOn debug;
  EXPECT_THAT(Decode(ext, &r.edid),
              ElementsAre(Trace(kExt, "Video Data Block. Len=17"),
                          Trace(kExt, "Vendor Specific Data Block. Len=17"),
                          Trace(kVsdb, " start parsing 3D and 4Kx2K stuff true"),
                          Trace(kVsdb, " 3D_present 1"), Trace(kVsdb, " 3D_multi_present 1"),
                          Trace(kVsdb, " image_size 0"), Trace(kVsdb, " 3D_len 5"),
                          Trace(kVsdb, " 4k_2k_vic_len 2")));
  EXPECT_EQ(std::tuple(r.edid.hdmi_vic_len, r.edid.hdmi_vic[0], r.edid.hdmi_vic[1]),
            std::tuple(2, 1u, 3u));
  std::vector<uint32_t> expected(16, EDID_STEREO_FP | EDID_STEREO_TBH | EDID_STEREO_SSH);
  expected[15] |= EDID_STEREO_FA;
  expected.push_back(0);  // the 17th is beyond 3D_MASK's reach
  EXPECT_EQ(Stereo(&r.edid), expected);
}

TEST(VendorBlock, MaskSelectsFormatsAndBadEntriesAreReported) {
  const Bytes ext = CeaExtension(
      {.data_blocks = {DataBlock(2, Svds(3)),
                       HdmiVsdb({.hdmi_video = true,
                                 .present_3d = true,
                                 .multi_3d = 2,
                                 .fields_3d = {0x00, 0x01, 0x00, 0x05,  // FP for formats 0 and 2
                                               0x38,  // format 3 of 3: does not exist, one byte
                                               0x58, 0x24,  // format 5: out of range, two bytes
                                               0x27,        // reserved structure 7
                                               0x11}})}});  // format 1, field alternative
  PreparedEdid r;
  EXPECT_THAT(
      Decode(ext, &r.edid),
      ElementsAre(
          Error("ll_entry_at",
                "Index Out of Range: Requesting a value outside the range of the list. Index:3 "
                "Size:3"),
          Error(kVsdb,
                "The Vendor Specific Data Block (VSDB) 3D description references an index (3) "
                "that doesn't exist. Continuing. List len:3"),
          Warning(kVsdb, "Index out of range. index:5 Len:3"),
          Error(kVsdb, "It should not arrive here.")));
  EXPECT_EQ(Stereo(&r.edid),
            (std::vector<uint32_t>{EDID_STEREO_FP, EDID_STEREO_FA, EDID_STEREO_FP}));
}

TEST(VendorBlock, FieldsBeyondABlockGivenAloneReadAsZero) {
  Bytes block = HdmiVsdb({.hdmi_video = true, .present_3d = true, .multi_3d = 2});
  block.back() = 0xFF;  // HDMI_VIC_LEN 7 and HDMI_3D_LEN 31, with no bytes behind them
  PreparedEdid r;
  EXPECT_THAT(DecodeVsdb(block, &r.edid), IsEmpty());
  EXPECT_EQ(std::tuple(r.edid.hdmi_vic_len, r.edid.hdmi_vic[6]), std::tuple(7, 0u));
}

}  // namespace

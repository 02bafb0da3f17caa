// The modern composition profile (compose_profile.h) on hand-worked cases:
// every expected byte below is worked out from the profile's twelve steps
// (the header's comment), CTA-861-H, HDMI 2.0b and VESA E-EDID 1.3, not taken
// from a run of the profile. What compose_edid writes is the profile's input:
// each case first pins those composed blocks, so a change of the composer
// shows as such and not as a fault of the profile.
//
// Every expected EDID goes through Debian's edid-decode --check as well, so a
// derivation that breaks a standard fails here before any comparison; then
// so does every EDID the profile writes.
//
// The televisions are built by hand (an sRGB base block and the data blocks
// each case needs) or are examples/sony-4k-hdr-tv.bin, a real 4K60 HDR set.
// The device's configuration is kConfig below; the profile record is filled
// directly.
#include "compose_profile.h"

#include "cta_reader.h"
#include "edc_test.h"

using namespace edc_test;  // NOLINT: record and command helpers throughout
using testing::Contains;

namespace {

// Bytes and text ----------------------------------------------------------------------------------

// "67 D8 5D" -> the bytes.
Bytes Hex(const std::string &text) {
  Bytes bytes;
  std::istringstream in(text);
  for (std::string word; in >> word;)
    bytes.push_back(static_cast<uint8_t>(std::stoul(word, nullptr, 16)));
  return bytes;
}

std::string HexText(const Bytes &bytes, size_t from = 0, size_t count = std::string::npos) {
  std::string text;
  for (size_t i = from; i < bytes.size() && i - from < count; ++i) {
    if (i != from) text += ' ';
    text += Format("%02X", bytes[i]);
  }
  return text;
}

// An EDID as lines of 16 bytes with their offset: a difference shows as a line.
std::string Dump(const Bytes &edid) {
  std::string text;
  for (size_t at = 0; at < edid.size(); at += 16) {
    text += Format("%02X:  ", static_cast<unsigned>(at));
    text += HexText(edid, at, 16);
    text += '\n';
  }
  return text;
}

// Sets the checksum of the 128-byte block at offset block.
void Sum(Bytes &edid, size_t block) {
  uint8_t sum = 0;
  for (size_t i = block; i < block + 127; ++i) sum = static_cast<uint8_t>(sum + edid[i]);
  edid[block + 127] = static_cast<uint8_t>(0x100 - sum);
}

// The data blocks of a CTA extension (at offset 128), each as hex, up to the
// detailed-timing offset; "cut" for a block that runs past it.
std::vector<std::string> DataBlocks(const Bytes &edid) {
  std::vector<std::string> blocks;
  const size_t end = 128 + edid[130];
  for (size_t at = 132; at < end && end <= 255;) {
    const size_t size = 1 + (edid[at] & 0x1F);
    if (at + size > end) return blocks.push_back("cut"), blocks;
    blocks.push_back(HexText(edid, at, size));
    at += size;
  }
  return blocks;
}

// The television's EDID: a base block with sRGB chromaticity (and sRGB
// claimed), 640x480@60, a 1080p60 detailed timing, name and range limits;
// a CTA extension with these data blocks and no detailed timing.
Bytes Television(const std::vector<std::string> &blocks) {
  Bytes edid = Hex(
      "00 FF FF FF FF FF FF 00 04 43 01 00 00 00 00 00 01 1E 01 03 80 50 2D 78 0E "
      "EE 91 A3 54 4C 99 26 0F 50 54 20 00 00 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 01 "
      "02 3A 80 18 71 38 2D 40 58 2C 45 00 20 C2 31 00 00 1E "
      "00 00 00 FC 00 54 56 0A 20 20 20 20 20 20 20 20 20 20 "
      "00 00 00 FD 00 18 3D 0F 87 3C 00 0A 20 20 20 20 20 20 "
      "00 00 00 10 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 00");
  edid.resize(256);
  size_t at = 132;
  for (const auto &block : blocks)
    for (uint8_t byte : Hex(block)) edid[at++] = byte;
  edid[128] = 0x02, edid[129] = 0x03, edid[130] = static_cast<uint8_t>(at - 128), edid[131] = 0xF0;
  Sum(edid, 0);
  Sum(edid, 128);
  return edid;
}

// The extension the profile writes: its support byte, the data blocks, then
// the descriptors; zeros to the checksum.
Bytes Extension(uint8_t support, const std::vector<std::string> &blocks,
                const std::vector<std::string> &descriptors) {
  Bytes ext = {0x02, 0x03, 0x00, support};
  for (const auto &block : blocks)
    for (uint8_t byte : Hex(block)) ext.push_back(byte);
  ext[2] = static_cast<uint8_t>(ext.size());
  for (const auto &descriptor : descriptors)
    for (uint8_t byte : Hex(descriptor)) ext.push_back(byte);
  EXPECT_LE(ext.size(), 127u) << "the expected extension itself overflows";
  ext.resize(128);
  return ext;
}

// Where the range limits descriptor is in a base block (0 when it has none).
size_t RangeLimits(const Bytes &edid) {
  for (size_t at = 0x36; at < 0x7E; at += 18)
    if (edid[at] == 0 && edid[at + 1] == 0 && edid[at + 3] == 0xFD) return at;
  return 0;
}

// The base block the profile makes of a composed one (step 11): the range
// limits descriptor's bytes 5-9 as given ("min-V max-V min-H max-H clock/10"),
// every detailed timing's image size the screen's 160 x 90 cm (1600 = 0x640,
// 900 = 0x384 mm: bytes 12-14 40 84 63), sRGB claimed or not. Then the
// extension, and both checksums.
Bytes Expected(const Bytes &composed, const std::string &limits, bool srgb, const Bytes &ext) {
  Bytes edid(composed.begin(), composed.begin() + 128);
  for (size_t at = 0x36; at < 0x7E; at += 18)
    if (edid[at] != 0 || edid[at + 1] != 0)
      edid[at + 12] = 0x40, edid[at + 13] = 0x84, edid[at + 14] = 0x63;
  const size_t at = RangeLimits(edid);
  EXPECT_NE(at, 0u) << "the composed base block has no range limits";
  const Bytes values = Hex(limits);
  if (at != 0) std::copy(values.begin(), values.end(), edid.begin() + at + 5);
  edid[0x18] = static_cast<uint8_t>((edid[0x18] & ~0x04) | (srgb ? 0x04 : 0));
  edid.insert(edid.end(), ext.begin(), ext.end());
  Sum(edid, 0);
  Sum(edid, 128);
  return edid;
}

// The extension's 640x480 timing as compose_edid writes it (25.18 MHz), with
// the screen's image size; the serial number descriptor of kConfig.
const char kDtd640[] = "D6 09 80 A0 20 E0 2D 10 10 60 A2 00 40 84 63 00 00 18";
const char kSerial[] = "00 00 00 FF 00 53 4E 2D 31 0A 20 20 20 20 20 20 20 20";
// CTA byte 3 under the profile: underscan (kConfig), basic audio, YCbCr
// 4:4:4 and 4:2:2 as composed, one native detailed timing (the first).
constexpr uint8_t kSupport = 0xF1;

// What edid-decode --check says of an EDID: "" when it finds it conforming,
// else its whole report.
std::string CheckReport(const Bytes &edid) {
  static int serial = 0;
  const std::string path = testing::TempDir() + "edc_profile_" + std::to_string(getpid()) + "_" +
                           std::to_string(serial++) + ".bin";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char *>(edid.data()), static_cast<std::streamsize>(edid.size()));
  const std::string report = RunCommand("edid-decode --check '" + path + "' 2>&1");
  std::remove(path.c_str());
  return report.find("EDID conformity: PASS") != std::string::npos ? "" : report;
}

// The device --------------------------------------------------------------------------------------

// The platform configuration of every case: 1080p/720p/480p/640x480 at 60 Hz,
// the four 4Kx2K modes, no extra base-block timing, xvYCC as the television,
// 5.1 speakers, two-channel PCM plus the television's audio, a 4-character
// serial number (a 13-character one spills a line feed, which is not the
// profile's business).
const char kConfig[] = R"([platform.software.drivers.avcap.edid]
manufacturer_id = "EDC"
product_id = 1
serial = 0
week = 1
year = 2024
monitor_name = "EDC Set-top"
monitor_serial = "SN-1"
native_refresh_rate = 60
current_mode_set_to_priority = 0
geometry_limit = 0
native_bit = 1
60_hz_priority_list = ["16", "4", "5", "3", "1"]
60_hz_addition_list = ["4", "3", "1"]
50_hz_priority_list = ["31", "19", "20", "18", "1"]
50_hz_addition_list = ["19", "18", "1"]
4k_x_2k_priority_list = [1, 2, 3, 4]
4k_x_2k_addition_list = []
established_timings_1 = []
established_timings_2 = []
manufacturer_timings = []
standard_timings = []
underscan = 1
is_tv = 0
dc_30bit = 0
dc_36bit = 0
tmds_override = 0
supports_ai = 0
xvYCC601 = 2
xvYCC709 = 2
CNC0 = 0
CNC1 = 0
CNC2 = 0
CNC3 = 0
audio.pass_through = 1
speaker_entry = 0x0F
audio.entry_a = 0x070709
)";

// kConfig with one line replaced.
std::string ConfigWith(const std::string &key, const std::string &line) {
  std::string config = kConfig;
  const size_t at = config.find("\n" + key + " = ");
  EXPECT_NE(at, std::string::npos) << key;
  const size_t end = config.find('\n', at + 1);
  return config.replace(at + 1, end - at - 1, line);
}

// The device of the cases: HDMI 2.0 at rate MHz, SCDC and 4:2:0 as given,
// 10- and 12-bit 4:2:0, SDR/PQ/HLG with static metadata type 1, BT.2020 RGB
// and YCbCr, the vendor HDR blocks passed, RGB quantization selectable.
compose_profile_t Device(uint16_t rate, bool scdc, bool ycbcr420, std::vector<uint8_t> vics) {
  compose_profile_t p;
  compose_profile_defaults(&p);
  p.enabled = true;
  p.max_tmds_rate_mhz = rate;
  p.scdc = scdc;
  p.ycbcr420 = ycbcr420;
  p.dc_30bit_420 = p.dc_36bit_420 = true;
  p.vic_count = static_cast<uint8_t>(vics.size());
  std::copy(vics.begin(), vics.end(), p.vics);
  p.eotfs = CTA_EOTF_SDR | CTA_EOTF_PQ | CTA_EOTF_HLG;
  p.static_metadata_type1 = true;
  p.colorimetry = CTA_COLORIMETRY_BT2020RGB | CTA_COLORIMETRY_BT2020YCC;
  p.vendor_hdr = true;
  return p;
}

// The caller's settings: 1080p60 output (or mode), every audio format, sink
// filter on, 3D as the television, no latency, the second input (port 1).
composer_cfg_t Settings(hdmi_mode_t mode = {1920, 1080, 0, 60}) {
  return {mode, 0xFFFFFFFF, 1, 1, {0, 0, 0, 0}, nullptr, 1};
}

struct Composed {
  bool ok = false;
  Bytes bytes = Bytes(256);
  uint8_t spa_offset = 0;
};

// compose_edid_profile (profile given) or compose_edid (none) on a television.
Composed Compose(const Bytes &tv, const compose_profile_t *profile, bool plain,
                 composer_cfg_t cfg = Settings()) {
  Composed c;
  cfg.spa_offset = &c.spa_offset;
  Capture([&] {
    c.ok = plain ? compose_edid(tv.data(), static_cast<int32_t>(tv.size()), c.bytes.data(), 256,
                                &cfg)
                 : compose_edid_profile(tv.data(), static_cast<int32_t>(tv.size()),
                                        c.bytes.data(), 256, &cfg, profile);
  });
  return c;
}

// One case: the composed input pinned, then the profile's EDID compared with
// the expected one and both checked by edid-decode.
void ExpectProfile(const Bytes &tv, const compose_profile_t &device,
                   const std::vector<std::string> &composed_blocks, const std::string &limits,
                   bool srgb, const Bytes &ext, uint8_t spa_offset,
                   composer_cfg_t cfg = Settings(),
                   const std::function<void(Bytes &)> &base_changes = nullptr) {
  const Composed plain = Compose(tv, nullptr, true, cfg);
  ASSERT_TRUE(plain.ok);
  ASSERT_EQ(DataBlocks(plain.bytes), composed_blocks) << "compose_edid's output changed";
  Bytes expected = Expected(plain.bytes, limits, srgb, ext);
  if (base_changes) {
    base_changes(expected);
    Sum(expected, 0);
  }
  EXPECT_EQ(CheckReport(expected), "") << "the expected EDID itself fails";

  const Composed result = Compose(tv, &device, false, cfg);
  ASSERT_TRUE(result.ok);
  // The range limits: limits are the tightest cover of every timing offered
  // (each bound the composed one or beyond it). The rules do not fix the
  // rounding, so a bound may lie one unit further out (23.976 Hz as 22, 135
  // kHz as 136); the pixel clock is the next 10 MHz. Within that, the
  // profile's bytes are taken for the comparison below.
  const size_t at = RangeLimits(result.bytes);
  ASSERT_NE(at, 0u);
  const Bytes tight = Hex(limits);
  const int slack[5] = {-1, 1, -1, 1, 0};
  bool within = true;
  for (int i = 0; i < 5; ++i) {
    const int actual = result.bytes[at + 5 + i], wanted = tight[i];
    within &= slack[i] < 0 ? actual <= wanted && actual >= wanted - 1
                           : actual >= wanted && actual <= wanted + slack[i];
  }
  EXPECT_TRUE(within) << "range limits " << HexText(result.bytes, at + 5, 5) << ", covering "
                      << limits;
  if (within) {
    std::copy(result.bytes.begin() + at + 5, result.bytes.begin() + at + 10,
              expected.begin() + at + 5);
    Sum(expected, 0);
  }
  EXPECT_EQ(Dump(result.bytes), Dump(expected));
  EXPECT_EQ(DataBlocks(result.bytes), DataBlocks(expected));
  EXPECT_EQ(result.spa_offset, spa_offset);
  EXPECT_EQ(HexText(result.bytes, spa_offset, 2), HexText(plain.bytes, plain.spa_offset, 2))
      << "the physical address moves with the HDMI VSDB";
  EXPECT_EQ(CheckReport(result.bytes), "");
}

Bytes SonyHdrTv() { return ReadFile(EDC_EXAMPLES_DIR "/sony-4k-hdr-tv.bin"); }

// What compose_edid writes for the Sony with kConfig: 5.1 speakers; 1080p60
// (native), 720p60, 1080i60, 480p, 640x480; its PCM, AC-3, DTS, E-AC-3 (JOC)
// and MAT; the HDMI VSDB at 4.2.0.0, 300 MHz, HDMI VICs 1-4; xvYCC601/709 with MD0.
const std::vector<std::string> kSonyComposed = {
    "83 0F 00 00", "45 90 04 05 03 01",
    "32 09 07 05 0D 7F 07 15 07 50 3D 07 BC 57 06 01 67 04 03",
    "6E 03 0C 00 42 00 00 3C 20 00 80 01 02 03 04", "E3 05 03 01"};

// The Sony's blocks that the profile passes through or rebuilds.
const char kSonySpeaker[] = "83 0F 00 00";
const char kSonyAudio[] = "32 09 07 05 0D 7F 07 15 07 50 3D 07 BC 57 06 01 67 04 03";
const char kSonyHdmi[] = "6E 03 0C 00 42 00 00 3C 20 00 80 01 02 03 04";
const char kSonyDolby[] = "EB 01 46 D0 00 44 03 88 88 62 76 97";
// Under a device doing 4:2:0 at 600 MHz: 97 96 101 102 at indices 5-8 of the video block.
const char kSonyMap[] = "E3 0F E0 01";

// Profile off -------------------------------------------------------------------------------------

TEST(ComposeProfileOff, WritesExactlyWhatComposeEdidWrites) {
  SampleConfig config;  // no modern.* key: a NULL profile reads as off
  std::vector<std::pair<std::string, Bytes>> tvs;
  for (const char *file : {"sony-4k-hdr-tv.bin", "uhd-tv-4k.bin", "samsung-tv-3d.bin",
                           "sony-tv.bin"})
    tvs.emplace_back(file, ReadFile(std::string(EDC_EXAMPLES_DIR "/") + file));
  for (const CorpusEdid &c : Corpus())
    if (c.file.starts_with("tv-") && tvs.size() < 10) tvs.emplace_back(c.file, c.bytes);
  tvs.emplace_back("no television", Bytes{});
  compose_profile_t off = Device(600, true, true, {97, 96, 101, 102});
  off.enabled = false;  // every capability on, the profile off
  for (const auto &[name, tv] : tvs) {
    SCOPED_TRACE(name);
    composer_cfg_t cfg = CorpusSettings();
    const Composed plain = Compose(tv, nullptr, true, cfg);
    ASSERT_TRUE(plain.ok);
    const compose_profile_t *const profiles[] = {&off, nullptr};  // NULL: read, and off
    for (const compose_profile_t *profile : profiles) {
      const Composed result = Compose(tv, profile, false, cfg);
      EXPECT_TRUE(result.ok);
      EXPECT_EQ(Dump(result.bytes), Dump(plain.bytes));
      EXPECT_EQ(result.spa_offset, plain.spa_offset);
    }
  }
}

// (a) to (d): one television each ------------------------------------------------------------------

// (a) The Sony (4K60/50 in 3840 and 4096 wide, 4:2:0 map for those four, HF-VSDB
// 600 MHz with SCDC and 10/12-bit 4:2:0, HDR SDR/PQ/HLG type 1 without
// luminance, BT.2020, Dolby Vision) through a 600 MHz device with SCDC.
TEST(ComposeProfile, Hdr4k60TelevisionThroughA600MhzDevice) {
  ScopedConfig config(kConfig);
  const compose_profile_t device = Device(600, true, true, {97, 96, 101, 102});
  // 1. R = min(600, the television's 600) = 600.
  // 2. 16 4 5 3 1 as composed, then 97 96 101 102, each declared and
  //    594 MHz <= 600: the full route; the Sony maps all four to 4:2:0, has an
  //    HDMI Forum block, the device does 4:2:0, 594 >= 590: a map bit each, at
  //    indices 5 6 7 8 of the final video block (E0 01). Then the HDMI VICs
  //    1 2 3 4 as 95 94 93 98. Horizontal rates at most 135 kHz.
  // 3. TMDS 300 MHz stays. 4. 120 x 5 MHz, SCDC (bit 7), UHD_VIC (bit 3); 4:2:0
  //    offered: DC_36/30_420 03 AND the device's 03. 5. xvYCC 601/709 composed
  //    + (DF AND C0) = C3, MD0 gone. 6. 0D AND 0D, type 1, no luminance bytes.
  //    7. QS, and the Sony's CB: QY, S_IT 10 (agrees with the underscan bit),
  //    S_CE 11. 9. Dolby Vision copied. 10. E-AC-3 and MAT already carry the
  //    television's third byte. 11. No native bit in the video descriptors
  //    (1080p60 is the one native detailed timing). 12. 4 + 87 + 36 = 127
  //    bytes: just fits.
  const Bytes ext = Extension(kSupport,
                              {kSonySpeaker, "4D 10 04 05 03 01 61 60 65 66 5F 5E 5D 62", kSonyAudio,
                               kSonyHdmi, "67 D8 5D C4 01 78 80 0B", "E3 05 C3 00", "E3 06 0D 01",
                               "E2 00 CB", kSonyMap, kSonyDolby},
                              {kDtd640, kSerial});
  // 11. Timings 23.976 Hz (93 and 98 at 24/1.001) to 60 Hz, 31.5 to 135 kHz, up to
  // 594 MHz: the composed 49-61 Hz, 15-70 kHz, 150 MHz widen to 23-61, 15-135, 600. The
  // Sony's chromaticity is not sRGB's. The HDMI VSDB's address at 128 + 4 +
  // 4 + 14 + 19 + 4 = 173.
  ExpectProfile(SonyHdrTv(), device, kSonyComposed, "17 3D 0F 87 3C", false, ext, 173);
}

// (b) The same television through a device of 300 MHz without SCDC but with
// 4:2:0, and through one of 600 MHz without SCDC (limited to 340): both the same.
TEST(ComposeProfile, Hdr4k60TelevisionThroughADeviceWithoutScdcGets4k60As420Only) {
  ScopedConfig config(kConfig);
  // 1. R = 300 (or 340). 2. 97 96 101 102 need 594 MHz > R; both sides do
  //    them as 4:2:0 and 297 <= R: 4:2:0 only, in a YCbCr 4:2:0 video block,
  //    not in the video block. The HDMI VICs bring 95 94 93 98.
  // 4. R <= 340: rate 0, no SCDC; UHD_VIC; DC_30/36_420 both sides: 0B.
  // 8. No format in the video block does 4:2:0: no map.
  std::vector<std::string> blocks = {
      kSonySpeaker,         "49 10 04 05 03 01 5F 5E 5D 62", kSonyAudio, kSonyHdmi,
      "67 D8 5D C4 01 00 00 0B", "E3 05 C3 00", "E3 06 0D 01", "E2 00 CB", "E5 0E 61 60 65 66",
      kSonyDolby};
  const Bytes ext = Extension(kSupport, blocks, {kDtd640, kSerial});
  // 11. The 4:2:0 formats still have their 594 MHz pixel clock.
  for (const compose_profile_t &device :
       {Device(300, false, true, {97, 96, 101, 102}), Device(600, false, true, {97, 96, 101, 102})}) {
    SCOPED_TRACE(device.max_tmds_rate_mhz);
    ExpectProfile(SonyHdrTv(), device, kSonyComposed, "17 3D 0F 87 3C", false, ext, 169);
  }
  // 4. The DC_420 bits are both sides': a device without 12-bit 4:2:0 leaves
  // DC_30bit_420 alone (03 AND 01).
  compose_profile_t no12bit = Device(300, false, true, {97, 96, 101, 102});
  no12bit.dc_36bit_420 = false;
  blocks[4] = "67 D8 5D C4 01 00 00 09";
  ExpectProfile(SonyHdrTv(), no12bit, kSonyComposed, "17 3D 0F 87 3C", false,
                Extension(kSupport, blocks, {kDtd640, kSerial}), 169);
  // A television whose HDMI Forum block gives rate 0 (340 MHz or less) limits
  // a 600 MHz device with SCDC alike: R = 340.
  Bytes rate0 = SonyHdrTv();
  ASSERT_EQ(HexText(rate0, 0xC0, 8), "67 D8 5D C4 01 78 80 03");
  rate0[0xC5] = 0;
  Sum(rate0, 128);
  ExpectProfile(rate0, Device(600, true, true, {97, 96, 101, 102}), kSonyComposed,
                "17 3D 0F 87 3C", false, ext, 169);
  // Without 4:2:0 on the device there is no route for them at all.
  const Bytes no420 = Extension(kSupport,
                                {kSonySpeaker, "49 10 04 05 03 01 5F 5E 5D 62", kSonyAudio, kSonyHdmi,
                                 "67 D8 5D C4 01 00 00 08", "E3 05 C3 00", "E3 06 0D 01", "E2 00 CB",
                                 kSonyDolby},
                                {kDtd640, kSerial});
  // 23-61 Hz, 15-70 kHz stays, 297 MHz -> 300.
  ExpectProfile(SonyHdrTv(), Device(300, false, false, {97, 96, 101, 102}), kSonyComposed,
                "17 3D 0F 46 1E", false, no420, 169);
}

// The HDR part of (a) as the device's capabilities change: the transfer
// functions and type 1 are the television's AND the device's; without PQ
// neither the HDR block's PQ nor Dolby Vision; vendor_hdr off keeps Dolby out.
TEST(ComposeProfile, HdrBlocksFollowBothSidesCapabilities) {
  ScopedConfig config(kConfig);
  struct Case {
    const char *title;
    uint8_t eotfs;
    bool type1, vendor_hdr;
    std::vector<std::string> hdr;  // the HDR static and vendor blocks expected
  } const cases[] = {
      {"PQ only, no type 1", CTA_EOTF_PQ, false, true, {"E3 06 04 00", kSonyDolby}},
      {"HLG only: no PQ, no Dolby Vision", CTA_EOTF_HLG, true, true, {"E3 06 08 01"}},
      {"SDR only: no HDR block", CTA_EOTF_SDR, true, true, {}},
      {"vendor blocks off", CTA_EOTF_SDR | CTA_EOTF_PQ, true, false, {"E3 06 05 01"}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.title);
    compose_profile_t device = Device(600, true, true, {97, 96, 101, 102});
    device.eotfs = c.eotfs;
    device.static_metadata_type1 = c.type1;
    device.vendor_hdr = c.vendor_hdr;
    std::vector<std::string> blocks = {kSonySpeaker, "4D 10 04 05 03 01 61 60 65 66 5F 5E 5D 62",
                                       kSonyAudio,   kSonyHdmi,
                                       "67 D8 5D C4 01 78 80 0B", "E3 05 C3 00"};
    if (!c.hdr.empty() && c.hdr[0].starts_with("E3 06")) blocks.push_back(c.hdr[0]);
    blocks.push_back("E2 00 CB");
    blocks.push_back(kSonyMap);
    if (c.hdr.size() > 1) blocks.push_back(c.hdr[1]);
    ExpectProfile(SonyHdrTv(), device, kSonyComposed, "17 3D 0F 87 3C", false,
                  Extension(kSupport, blocks, {kDtd640, kSerial}), 173);
  }
}

// Step 10: the device offers E-AC-3 and MAT of its own with a third byte of 0;
// the Sony has E-AC-3 with Joint Object Coding (01) and MAT with TrueHD and
// object audio (03): those bytes are the television's, nothing else moves.
TEST(ComposeProfile, AudioThirdByteIsTheTelevisionsForTheSameFormat) {
  ScopedConfig config(ConfigWith("audio.entry_a", "audio.entry_a = 0x070709\n"
                                                  "audio.entry_b = 0x000657\n"
                                                  "audio.entry_c = 0x000467"));
  const compose_profile_t device = Device(600, true, true, {97, 96, 101, 102});
  std::vector<std::string> composed = kSonyComposed;
  composed[2] = "32 09 07 05 57 06 00 67 04 00 0D 7F 07 15 07 50 3D 07 BC";
  const Bytes ext = Extension(kSupport,
                              {kSonySpeaker, "4D 10 04 05 03 01 61 60 65 66 5F 5E 5D 62",
                               "32 09 07 05 57 06 01 67 04 03 0D 7F 07 15 07 50 3D 07 BC",
                               kSonyHdmi, "67 D8 5D C4 01 78 80 0B", "E3 05 C3 00", "E3 06 0D 01",
                               "E2 00 CB", kSonyMap, kSonyDolby},
                              {kDtd640, kSerial});
  ExpectProfile(SonyHdrTv(), device, composed, "17 3D 0F 87 3C", false, ext, 173);
}

// Step 7: the television's S_IT (10 always underscanned, 01 always
// overscanned) is kept unless it contradicts the device's underscan flag
// (CTA byte 3 bit 7, from the configuration), which stays as it is; then it
// becomes 11 (both). The result passes edid-decode --check either way.
TEST(ComposeProfile, ScanBehaviourThatContradictsTheUnderscanFlagBecomesBoth) {
  const Bytes overscanning = Television({"83 01 00 00", "44 61 60 10 04", "23 09 07 07",
                                         "68 03 0C 00 10 00 00 44 00",
                                         "67 D8 5D C4 01 78 80 00", "E2 00 47"});
  struct Case {
    const char *underscan;
    Bytes tv;
    const char *vcdb;  // QS from the device, the television's other bits
  } const cases[] = {
      {"underscan = 0", SonyHdrTv(), "E2 00 CF"},     // CB: S_IT 10 contradicts: 11
      {"underscan = 1", SonyHdrTv(), "E2 00 CB"},     // agrees
      {"underscan = 1", overscanning, "E2 00 4F"},    // 47: S_IT 01 contradicts: 11
      {"underscan = 0", overscanning, "E2 00 47"},    // agrees
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(std::string(c.underscan) + " " + c.vcdb);
    ScopedConfig config(ConfigWith("underscan", c.underscan));
    const compose_profile_t device = Device(600, true, true, {97, 96, 101, 102});
    const Composed plain = Compose(c.tv, nullptr, true);
    const Composed result = Compose(c.tv, &device, false);
    ASSERT_TRUE(result.ok);
    EXPECT_THAT(DataBlocks(result.bytes), Contains(std::string(c.vcdb)));
    EXPECT_EQ(result.bytes[131] & 0x80, plain.bytes[131] & 0x80);
    EXPECT_EQ(CheckReport(result.bytes), "");
  }
}

// A television whose HDMI Forum block is 600 MHz with 12-bit 4:2:0: 4K60/50
// (97 96), 4K30 (95), 1080p60 and 720p60, with 4:2:0 capability for the first
// four of them; a 4:2:0 video block of 4K100 (117) and 4K120 (118); HDR
// SDR/PQ with luminance; no colorimetry and no video capability block.
const std::vector<std::string> kTv420 = {
    "83 01 00 00", "45 61 60 5F 10 04", "23 09 07 07", "68 03 0C 00 10 00 00 44 00",
    "67 D8 5D C4 01 78 80 02", "E3 0E 75 76", "E3 0F 0F 00", "E6 06 05 01 78 5A 10"};

// A 600 MHz device on formats the television takes in 4:2:0, and on formats
// it maps to 4:2:0 below 590 MHz.
TEST(ComposeProfile, FourTwoZeroWithinTheRangeLimitsFieldAndOnlyFor4k50And60) {
  ScopedConfig config(kConfig);
  const compose_profile_t device = Device(600, true, true, {118, 117, 97, 96, 95});
  // 2. 118 (3840x2160@120: 4400 x 2250 at 1188 MHz, 270 kHz) exceeds 255 kHz:
  //    not offered. 117 (@100: 5280 x 2250, 225 kHz) is not in the television's
  //    video block and 1188 > 600; both sides do 4:2:0 for it, 594 <= 600:
  //    the 4:2:0 video block. 97 96 95 the full route; 97 and 96 (594 MHz)
  //    with a map bit, at indices 4 and 5 of the final video block (30); 95
  //    without: 297 MHz is below 590, where HDMI 2.0 has no 4:2:0.
  // 4. 600 MHz, SCDC; no HDMI VIC; 4:2:0 offered: 02 AND 03 = 02.
  // 5. No television colorimetry, nothing composed: no block.
  // 6. 05 AND 0D = 05, type 1, luminance 78 5A 10 as given.
  // 7. QS; no television VCDB: QY 0, S_PT 0, S_IT and S_CE "not supported"
  //    become 11: 4F.
  const Bytes ext =
      Extension(kSupport,
                {"83 0F 00 00", "47 10 04 03 01 61 60 5F", "23 09 07 07",
                 "68 03 0C 00 12 00 00 00 00", "67 D8 5D C4 01 78 80 02", "E6 06 05 01 78 5A 10",
                 "E2 00 4F", "E2 0E 75", "E2 0F 30"},
                {kDtd640, kSerial});
  // 11. From 29.97 Hz (95) up to 100 Hz, 225 kHz (E1), 1188 MHz -> 119 x 10
  // (77). The television's chromaticity is sRGB's: sRGB stays claimed.
  ExpectProfile(Television(kTv420), device,
                {"83 0F 00 00", "44 90 04 03 01", "23 09 07 07", "68 03 0C 00 12 00 00 00 00"},
                "1D 64 0F E1 77", true, ext, 152);
}

// (c) An HDMI 1.4 television: HDMI VSDB at 340 MHz with HDMI VICs 1-3, 4K30/25/24
// as 95 94 93 in its video block (and 16 twice), xvYCC601, no HDMI Forum block,
// no HDR, no VCDB.
const std::vector<std::string> kTvHdmi14 = {
    "83 01 00 00", "48 10 04 1F 13 5F 5E 5D 10", "23 09 07 07",
    "6D 03 0C 00 10 00 00 44 20 00 60 01 02 03", "E3 05 01 00"};

TEST(ComposeProfile, Hdmi14TelevisionGetsConformityOnly) {
  // The device advertises 400 MHz in its HDMI VSDB (tmds_override).
  ScopedConfig config(ConfigWith("tmds_override", "tmds_override = 400"));
  const compose_profile_t device = Device(600, true, true, {97, 96, 101, 102});
  // 1. No HDMI Forum block: R = 340. 2. None of 97 96 101 102 is declared, no
  //    4:2:0 either: nothing from the list; the HDMI VICs 1 2 3 bring 95 94 93.
  // 3. 400 MHz (50) capped at 340 (44). 4. No HF-VSDB. 5. xvYCC601 as composed,
  //    01 AND C0 adds nothing, MD0 gone. 6. No HDR. 7. QS, S_IT and S_CE 11
  //    (no television VCDB). 11. No native bit in the video block.
  const Bytes ext = Extension(kSupport,
                              {"83 0F 00 00", "47 10 04 03 01 5F 5E 5D", "23 09 07 07",
                               "6D 03 0C 00 12 00 00 44 20 00 60 01 02 03", "E3 05 01 00",
                               "E2 00 4F"},
                              {kDtd640, kSerial});
  // 11. 23.976 Hz (93), 67.5 kHz stays within 70, 297 MHz -> 30; sRGB stays.
  ExpectProfile(Television(kTvHdmi14), device,
                {"83 0F 00 00", "44 90 04 03 01", "23 09 07 07",
                 "6D 03 0C 00 12 00 00 50 20 00 60 01 02 03", "E3 05 01 01"},
                "17 3D 0F 46 1E", true, ext, 152);
}

// (d) A television with an HDMI Forum block (600 MHz, SCDC, no 4:2:0) and 4K60/50,
// BT.2020, a VCDB and a Dolby Vision block, but no HDR static metadata block.
const std::vector<std::string> kTvNoHdr = {
    "83 0F 00 00", "44 61 60 10 04", "23 09 07 07", "68 03 0C 00 10 00 00 44 00",
    "67 D8 5D C4 01 78 80 00", "E3 05 C1 00", "E2 00 4B", kSonyDolby};

TEST(ComposeProfile, TelevisionWithoutHdrGetsNoHdrBlockAndNoVendorHdr) {
  ScopedConfig config(kConfig);
  const compose_profile_t device = Device(600, true, true, {97, 96, 101, 102});
  // 2. 97 96 full route; 101 102 not declared. 4. 600, SCDC, no HDMI VIC, no
  // 4:2:0. 5. xvYCC601 composed + C1 AND C0. 6. No HDR block: PQ is not offered,
  // so 9. the Dolby Vision block is not copied either.
  const Bytes ext =
      Extension(kSupport,
                {"83 0F 00 00", "46 10 04 03 01 61 60", "23 09 07 07",
                 "68 03 0C 00 12 00 00 00 00", "67 D8 5D C4 01 78 80 00", "E3 05 C1 00",
                 "E2 00 4B"},
                {kDtd640, kSerial});
  // 11. 50-60 Hz within 49-61, up to 135 kHz and 594 MHz.
  ExpectProfile(Television(kTvNoHdr), device,
                {"83 0F 00 00", "44 90 04 03 01", "23 09 07 07", "68 03 0C 00 12 00 00 00 00",
                 "E3 05 01 01"},
                "31 3D 0F 87 3C", true, ext, 151);
}

// Step 11: sRGB stays claimed only with sRGB's chromaticity codes exactly; one
// code off (red x 654 instead of 655) and it goes.
TEST(ComposeProfile, SrgbOnlyWithItsExactChromaticity) {
  ScopedConfig config(kConfig);
  Bytes tv = Television(kTvHdmi14);
  for (uint8_t low : {0xEE, 0xAE}) {  // red x low bits 11 (655) or 10 (654)
    SCOPED_TRACE(low);
    tv[0x19] = low;
    Sum(tv, 0);
    const compose_profile_t device = Device(600, true, true, {});
    const Composed plain = Compose(tv, nullptr, true), result = Compose(tv, &device, false);
    ASSERT_TRUE(plain.ok && result.ok);
    EXPECT_EQ(plain.bytes[0x18] & 0x04, 0x04);  // compose_edid always claims it
    EXPECT_EQ(result.bytes[0x18] & 0x04, low == 0xEE ? 0x04 : 0);
    EXPECT_EQ(HexText(result.bytes, 0x19, 10), HexText(tv, 0x19, 10));
    EXPECT_EQ(CheckReport(result.bytes), "");
  }
}

// No television EDID: nothing to take beyond conformity. compose_edid pads
// its three formats to four by repeating VIC 1 (and offers its default PCM
// under the sink filter); the profile lists VIC 1 once.
TEST(ComposeProfile, NoTelevisionGetsConformityOnly) {
  ScopedConfig config(kConfig);
  // 1. No HDMI Forum block: R <= 340, no HF-VSDB; the television declares no
  // VIC; no HDMI VIC. 5. Nothing composed, nothing from a television: no
  // colorimetry. 7. QS, S_IT and S_CE 11. 11. 59.94-60 Hz, 31.5-45 kHz, 74.25 MHz lie
  // within the composed limits; the default chromaticity is not sRGB's.
  const Bytes ext = Extension(kSupport,
                              {"83 0F 00 00", "43 04 03 01", "23 09 07 05",
                               "68 03 0C 00 FF FF 00 00 00", "E2 00 4F"},
                              {kDtd640, kSerial});
  ExpectProfile(Bytes{}, Device(600, true, true, {97, 96, 101, 102}),
                {"83 0F 00 00", "44 84 03 01 01", "23 09 07 05", "68 03 0C 00 FF FF 00 00 00"},
                "31 3D 0F 46 0F", false, ext, 148);
}

// Step 11 on a configuration without monitor_name: compose_edid writes the
// range limits in the third descriptor slot, leaves the fourth without a
// descriptor and puts the extension count just after the limits (0x6C). The
// profile puts a product name descriptor of the manufacturer ID there and
// the extension count at 0x7E.
TEST(ComposeProfile, ProductNameAndExtensionCountWithoutMonitorName) {
  ScopedConfig config(ConfigWith("monitor_name", "monitor_name = \"\""));
  const Bytes tv = Television(kTvHdmi14);
  const Composed plain = Compose(tv, nullptr, true);
  ASSERT_TRUE(plain.ok);
  ASSERT_EQ(HexText(plain.bytes, 0x5A, 5), "00 00 00 FD 00");
  ASSERT_EQ(plain.bytes[0x6C], 1);
  ASSERT_EQ(plain.bytes[0x7E], 0);
  // The rest as for the HDMI 1.4 television, at 300 MHz as composed.
  const Bytes ext = Extension(kSupport,
                              {"83 0F 00 00", "47 10 04 03 01 5F 5E 5D", "23 09 07 07",
                               "6D 03 0C 00 12 00 00 3C 20 00 60 01 02 03", "E3 05 01 00",
                               "E2 00 4F"},
                              {kDtd640, kSerial});
  ExpectProfile(tv, Device(600, true, true, {97, 96, 101, 102}),
                {"83 0F 00 00", "44 90 04 03 01", "23 09 07 07",
                 "6D 03 0C 00 12 00 00 3C 20 00 60 01 02 03", "E3 05 01 01"},
                "17 3D 0F 46 1E", true, ext, 152, Settings(), [](Bytes &edid) {
                  // "EDC", a line feed, blanks to 13 characters
                  const Bytes name = Hex("00 00 00 FC 00 45 44 43 0A 20 20 20 20 20 20 20 20 20");
                  std::copy(name.begin(), name.end(), edid.begin() + 0x6C);
                  edid[0x7E] = 1;
                });
}

// Each VIC once: the composed block repeats 16 and 4 (the current mode first,
// the priority list naming them twice), the device's list names 95 twice and
// 95 94 also come as HDMI VIC equivalents; the television lists 16 twice.
TEST(ComposeProfile, EachVicOnceWhateverListsRepeatIt) {
  std::string toml = ConfigWith("60_hz_priority_list",
                                R"(60_hz_priority_list = ["16", "4", "16", "3", "1", "4"])");
  toml.replace(toml.find("current_mode_set_to_priority = 0"), 32,
               "current_mode_set_to_priority = 1");
  ScopedConfig config(toml);
  const compose_profile_t device = Device(600, true, true, {95, 97, 95, 94});
  // Composed 4* 16 16 3 1 4 (720p60 output first). 2. 4 16 3 1 (first kept;
  // 11. no native bit); 95 (declared, 297 <= 340) appended, 97 not
  // declared, 95 again and 94 appended; the HDMI VICs add only 93.
  const Bytes ext = Extension(kSupport,
                              {"83 0F 00 00", "47 04 10 03 01 5F 5E 5D", "23 09 07 07",
                               "6D 03 0C 00 12 00 00 3C 20 00 60 01 02 03", "E3 05 01 00",
                               "E2 00 4F"},
                              {kDtd640, kSerial});
  ExpectProfile(Television(kTvHdmi14), device,
                {"83 0F 00 00", "46 84 10 10 03 01 04", "23 09 07 07",
                 "6D 03 0C 00 12 00 00 3C 20 00 60 01 02 03", "E3 05 01 01"},
                "17 3D 0F 46 1E", true, ext, 152, Settings({1280, 720, 0, 60}));
}

// (e) Room ----------------------------------------------------------------------------------------

// The television of the room cases: 16 4 3 1 and 97 96 101 102 95 94 93 98, a
// 4:2:0 map for 97 96, a 4:2:0 video block of 117 and 218 (4096x2160@100),
// HF-VSDB 600 MHz with 12-bit 4:2:0, BT.2020, HDR with luminance, VCDB, Dolby
// Vision and HDR10+.
const std::vector<std::string> kTvFull = {
    "83 01 00 00", "4C 10 04 03 01 61 60 65 66 5F 5E 5D 62", "23 09 07 07",
    "68 03 0C 00 10 00 00 44 00", "67 D8 5D C4 01 78 80 02", "E3 05 C3 00",
    "E6 06 0D 01 78 5A 10", "E2 00 CB", "E3 0E 75 DA", "E3 0F 30 00", kSonyDolby,
    "E5 01 8B 84 90 01"};

// VICs 1..64 for the composed video block, 16 first.
constexpr uint8_t kComposedVics[] = {16, 4,  3,  1,  2,  5,  17, 18, 19, 20, 31, 32, 33, 34, 6,
                                     7,  21, 22, 60, 61, 62, 63, 64, 14, 15, 29, 30, 35, 36};
// Ten audio formats, PCM first: AC-3, MPEG-1, MP3, MPEG-2, AAC, DTS, ATRAC, DSD, E-AC-3.
const char *const kSads[] = {"09 07 07", "15 07 50", "19 07 28", "21 07 28", "29 07 28",
                             "31 07 28", "3D 07 C0", "41 07 28", "49 07 00", "57 06 00"};

// A 256-byte EDID laid out as compose_edid lays it out, on base (a base
// block compose_edid wrote): these data blocks, the 640x480 timing (with the
// VIC table's image size, as compose_edid writes it) and the serial number.
Bytes ComposedFrom(const Bytes &base, const std::vector<std::string> &blocks) {
  Bytes edid(base.begin(), base.begin() + 128);
  const Bytes ext = Extension(0xF3, blocks, {kDtd640, kSerial});
  edid.insert(edid.end(), ext.begin(), ext.end());
  const size_t dtd = 128 + edid[130];
  edid[dtd + 12] = 0x13, edid[dtd + 13] = 0x8E, edid[dtd + 14] = 0x21;
  Sum(edid, 128);
  return edid;
}

// The profile's steps alone on a composed EDID.
Bytes Apply(const Bytes &tv, const Bytes &composed, const compose_profile_t &device,
            uint8_t *spa_offset = nullptr) {
  Bytes result = composed;
  bool ok = false;
  Capture([&] {
    ok = compose_profile_apply(tv.data(), static_cast<uint32_t>(tv.size()), result.data(), &device,
                               spa_offset);
  });
  EXPECT_TRUE(ok);
  return result;
}

// ComposedFrom with speaker; n video formats (the first native); k
// audio formats; the HDMI VSDB at 1.2.0.0, 300 MHz, latencies, 3D present
// with m top-and-bottom entries (one byte each); no colorimetry; the
// 640x480 timing and the serial number. Its extension holds 59 + n + 3k + m bytes.
Bytes ComposedByHand(const Bytes &base, int n, int k, int m) {
  std::vector<std::string> blocks = {"83 0F 00 00"};
  std::string video = Format("%02X", 0x40 | n);
  for (int i = 0; i < n; ++i) video += Format(" %02X", kComposedVics[i] | (i == 0 ? 0x80 : 0));
  blocks.push_back(video);
  std::string audio = Format("%02X", 0x20 | 3 * k);
  for (int i = 0; i < k; ++i) audio += std::string(" ") + kSads[i];
  blocks.push_back(audio);
  // OUI, address, no flags, 300 MHz, latencies + HDMI video present, 11 and 21
  // (20 and 40 ms), 3D_present, HDMI_VIC_LEN 0 and HDMI_3D_LEN m.
  std::string hdmi = Format("%02X 03 0C 00 12 00 00 3C A0 0B 15 80 %02X", 0x60 | (12 + m), m);
  for (int i = 0; i < m; ++i) hdmi += Format(" %X6", i);
  blocks.push_back(hdmi);
  return ComposedFrom(base, blocks);
}

// The profile's steps on a composed EDID whose blocks fill the extension more
// and more: what goes, in the order of step 12, and that what stays is whole
// (the extension compared byte for byte; the base block is left to
// edid-decode, which checks its range limits against every format).
TEST(ComposeProfileRoom, DropsInOrderUntilTheBlocksFitAndCutsNone) {
  ScopedConfig config(kConfig);
  const Bytes tv = Television(kTvFull);
  const Composed plain = Compose(tv, nullptr, true);
  ASSERT_TRUE(plain.ok);
  const compose_profile_t device = Device(600, true, true, {97, 96, 101, 102, 117, 218});
  // The profile's extension before any drop: the composed blocks (59 + n + 3k
  // + m bytes with the 36 of the descriptors); 97 96 101 102 appended (full
  // route, 594 <= 600), 97 and 96 with a map bit (the television maps them,
  // has an HDMI Forum block, 594 >= 590) at indices n and n + 1; HF-VSDB 8;
  // colorimetry 4 (C3 AND C0, nothing composed); HDR 7; VCDB 3 (CB agrees
  // with the underscan bit); the 4:2:0 video block 117 218 (half of 1188 MHz,
  // 225 kHz each) 4; the map, 2 + (n + 1) / 8 + 1; Dolby Vision 12; HDR10+ 6.
  // Step 12 then frees, in order: the 640x480 timing 18; the appended VICs
  // by lowest priority, 218 1, 117 1 and its block 2, 102 1, 101 1, 96 1 (and
  // a map byte when n + 1 is a multiple of 8), 97 1 and the map; HDR10+ 6;
  // Dolby Vision 12; HDR 7. Colorimetry and the serial number could go only
  // with more than a composed EDID can hold. Each row is the first or the
  // last n, k, m (in bytes) for which these go.
  struct Case {
    int n, k, m, length, before;  // composed bytes; the profile's before drops
    std::vector<std::string> gone;
  } const cases[] = {
      {4, 4, 1, 76, 127, {}},
      {14, 1, 0, 76, 128, {"dtd"}},
      {4, 10, 1, 94, 145, {"dtd"}},
      {27, 1, 3, 92, 146, {"dtd", "218"}},
      {5, 10, 4, 98, 149, {"dtd", "218", "117"}},
      {27, 1, 7, 96, 150, {"dtd", "218", "117", "102"}},
      {6, 10, 5, 100, 151, {"dtd", "218", "117", "102", "101"}},
      {7, 10, 5, 101, 153, {"dtd", "218", "117", "102", "101", "96"}},  // the map shrinks
      {23, 7, 2, 105, 159, {"dtd", "218", "117", "102", "101", "96", "97"}},
      {14, 7, 12, 106, 158, {"dtd", "218", "117", "102", "101", "96", "97", "hdr10+"}},
      {23, 10, 11, 123, 177, {"dtd", "218", "117", "102", "101", "96", "97", "hdr10+", "dv"}},
      {22, 9, 16, 124, 177,
       {"dtd", "218", "117", "102", "101", "96", "97", "hdr10+", "dv", "hdr"}},
      {23, 10, 15, 127, 181,
       {"dtd", "218", "117", "102", "101", "96", "97", "hdr10+", "dv", "hdr"}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(Format("n %d k %d m %d", c.n, c.k, c.m));
    const Bytes composed = ComposedByHand(plain.bytes, c.n, c.k, c.m);
    ASSERT_EQ(composed[130] + 36, c.length);
    ASSERT_EQ(c.length + 48 + 2 + (c.n + 1) / 8 + 1, c.before);

    const auto gone = [&](const char *item) {
      return std::find(c.gone.begin(), c.gone.end(), item) != c.gone.end();
    };
    std::vector<std::string> blocks = DataBlocks(composed);
    blocks.pop_back();  // the HDMI VSDB stays last of the composed ones
    std::string video = blocks[1].substr(3);
    ASSERT_EQ(video.substr(0, 2), "90");
    video.replace(0, 2, "10");  // no native bit in the video descriptors
    int appended = 0;
    uint32_t map = 0;  // the bits of the capability map, from the final order
    for (const char *vic : {"97", "96", "101", "102"}) {
      if (gone(vic)) continue;
      video += Format(" %02X", std::stoi(vic));
      if (std::string(vic) == "97" || std::string(vic) == "96") map |= 1u << (c.n + appended);
      ++appended;
    }
    blocks[1] = Format("%02X ", 0x40 | (c.n + appended)) + video;
    blocks.push_back(DataBlocks(composed).back());
    const bool any420 = map != 0 || !gone("117") || !gone("218");
    blocks.push_back(any420 ? "67 D8 5D C4 01 78 80 02" : "67 D8 5D C4 01 78 80 00");
    blocks.push_back("E3 05 C0 00");
    if (!gone("hdr")) blocks.push_back("E6 06 0D 01 78 5A 10");
    blocks.push_back("E2 00 CB");
    if (!gone("218")) blocks.push_back("E3 0E 75 DA");
    else if (!gone("117")) blocks.push_back("E2 0E 75");
    if (map != 0) {
      std::string bytes;
      int count = 0;
      for (uint32_t rest = map; rest != 0; rest >>= 8, ++count) bytes += Format(" %02X", rest & 0xFF);
      blocks.push_back(Format("%02X 0F", 0xE1 + count) + bytes);
    }
    if (!gone("dv")) blocks.push_back(kSonyDolby);
    if (!gone("hdr10+")) blocks.push_back("E5 01 8B 84 90 01");
    std::vector<std::string> descriptors = {kSerial};
    if (!gone("dtd")) descriptors.insert(descriptors.begin(), kDtd640);
    const Bytes ext = Extension(kSupport, blocks, descriptors);
    // The expected extension passes edid-decode behind range limits wide
    // enough for every format of these cases (24-120 Hz, 15-225 kHz, 1190 MHz).
    EXPECT_EQ(CheckReport(Expected(composed, "18 78 0F E1 77", true, ext)), "");

    Bytes result = composed;
    uint8_t spa_offset = 0;
    bool ok = false;
    Capture([&] {
      ok = compose_profile_apply(tv.data(), static_cast<uint32_t>(tv.size()), result.data(),
                                 &device, &spa_offset);
    });
    EXPECT_TRUE(ok);
    if (!ok) continue;
    EXPECT_EQ(spa_offset, 128 + 4 + 4 + 1 + c.n + appended + 1 + 3 * c.k + 4);
    Bytes want = composed;
    std::copy(ext.begin(), ext.end(), want.begin() + 128);
    Sum(want, 128);
    EXPECT_EQ(Dump(Bytes(result.begin() + 128, result.end())),
              Dump(Bytes(want.begin() + 128, want.end())));
    EXPECT_EQ(DataBlocks(result), DataBlocks(want));
    EXPECT_EQ(CheckReport(result), "");
  }
}

// Step 2's limit of 31 formats: a composed block of 29, the Sony's 97 96 101
// 102 appended and its HDMI VICs 1-4 as 95 94 93 98 make 37. The appended
// ones go first, lowest priority first (all four); 29 + 95 94 is 31, so HDMI
// VICs 3 and 4, whose equivalents cannot be listed, leave the HDMI VSDB.
TEST(ComposeProfileRoom, VideoBlockOf31DropsAppendedFormatsThenHdmiVics) {
  ScopedConfig config(kConfig);
  const Bytes tv = SonyHdrTv();
  const Composed plain = Compose(tv, nullptr, true);
  ASSERT_TRUE(plain.ok);
  std::string video = "5D";
  for (int i = 0; i < 29; ++i) video += Format(" %02X", kComposedVics[i] | (i == 0 ? 0x80 : 0));
  const Bytes composed = ComposedFrom(
      plain.bytes, {"83 0F 00 00", video, "23 09 07 07", kSonyHdmi});
  uint8_t spa_offset = 0;
  const Bytes result =
      Apply(tv, composed, Device(600, true, true, {97, 96, 101, 102}), &spa_offset);
  // HDMI_VIC_LEN 2 (40), VICs 1 2; UHD_VIC; no 4:2:0 format left: no DC_420
  // bit, no map; BT.2020 only (nothing composed); the Sony's HDR, VCDB, Dolby.
  const Bytes ext = Extension(
      kSupport,
      {"83 0F 00 00", video.replace(0, 5, "5F 10") + " 5F 5E", "23 09 07 07",
       "6C 03 0C 00 42 00 00 3C 20 00 40 01 02", "67 D8 5D C4 01 78 80 08", "E3 05 C0 00",
       "E3 06 0D 01", "E2 00 CB", kSonyDolby},
      {kDtd640, kSerial});
  const Bytes expected = Expected(composed, "17 78 0F 87 3C", false, ext);
  EXPECT_EQ(CheckReport(expected), "") << "the expected EDID itself fails";
  EXPECT_EQ(DataBlocks(result), DataBlocks(expected));
  EXPECT_EQ(HexText(result, 128, 128), HexText(expected, 128, 128));
  EXPECT_EQ(spa_offset, 128 + 4 + 4 + 32 + 4 + 4);
  EXPECT_EQ(CheckReport(result), "");
}

// Step 2: the 3D entries of the HDMI VSDB follow their formats when a
// repeated VIC leaves the video block. Composed 16* 4 16 3 1 with top-and-
// bottom for order 1 (VIC 4) and order 3 (VIC 3); once the second 16 is gone
// VIC 3 stands at order 2.
TEST(ComposeProfileRoom, ThreeDEntriesFollowTheirFormats) {
  ScopedConfig config(kConfig);
  const Bytes tv = Television(kTvHdmi14);
  const Composed plain = Compose(tv, nullptr, true);
  ASSERT_TRUE(plain.ok);
  const Bytes composed =
      ComposedFrom(plain.bytes, {"83 0F 00 00", "45 90 04 10 03 01", "23 09 07 07",
                                 "6C 03 0C 00 12 00 00 3C 20 80 02 16 36", "E3 05 01 01"});
  const Bytes result = Apply(tv, composed, Device(600, true, true, {}));
  // No HDMI VIC, no HDMI Forum block (R = 340), xvYCC601 without MD0, VCDB 4F
  // (QS, no television VCDB), no native bit.
  const Bytes ext = Extension(kSupport,
                              {"83 0F 00 00", "44 10 04 03 01", "23 09 07 07",
                               "6C 03 0C 00 12 00 00 3C 20 80 02 16 26", "E3 05 01 00",
                               "E2 00 4F"},
                              {kDtd640, kSerial});
  const Bytes expected = Expected(composed, "31 3D 0F 46 0F", true, ext);
  EXPECT_EQ(CheckReport(expected), "") << "the expected EDID itself fails";
  EXPECT_EQ(DataBlocks(result), DataBlocks(expected));
  EXPECT_EQ(HexText(result, 128, 128), HexText(expected, 128, 128));
  EXPECT_EQ(CheckReport(result), "");
}

}  // namespace

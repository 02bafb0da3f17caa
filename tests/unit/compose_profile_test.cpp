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

// The base block the profile makes of a composed one (step 11): the range
// limits descriptor's bytes 5-9 as given ("min-V max-V min-H max-H clock/10"),
// every detailed timing's image size the screen's 160 x 90 cm (1600 = 0x640,
// 900 = 0x384 mm: bytes 12-14 40 84 63), sRGB claimed or not. Then the
// extension, and both checksums.
Bytes Expected(const Bytes &composed, const std::string &limits, bool srgb, const Bytes &ext) {
  Bytes edid(composed.begin(), composed.begin() + 128);
  bool has_limits = false;
  for (size_t at = 0x36; at < 0x7E; at += 18) {
    if (edid[at] != 0 || edid[at + 1] != 0) {
      edid[at + 12] = 0x40, edid[at + 13] = 0x84, edid[at + 14] = 0x63;
    } else if (edid[at + 3] == 0xFD) {
      const Bytes values = Hex(limits);
      std::copy(values.begin(), values.end(), edid.begin() + at + 5);
      has_limits = true;
    }
  }
  EXPECT_TRUE(has_limits) << "the composed base block has no range limits";
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
                   composer_cfg_t cfg = Settings()) {
  const Composed plain = Compose(tv, nullptr, true, cfg);
  ASSERT_TRUE(plain.ok);
  ASSERT_EQ(DataBlocks(plain.bytes), composed_blocks) << "compose_edid's output changed";
  const Bytes expected = Expected(plain.bytes, limits, srgb, ext);
  EXPECT_EQ(CheckReport(expected), "") << "the expected EDID itself fails";

  const Composed result = Compose(tv, &device, false, cfg);
  ASSERT_TRUE(result.ok);
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
  // 2. 16 4 5 3 1 as composed (16 native), then 97 96 101 102, each declared and
  //    594 MHz <= 600: the full route, no 4:2:0 (so no map). Then the HDMI VICs
  //    1 2 3 4 as 95 94 93 98. Horizontal rates at most 135 kHz.
  // 3. TMDS 300 MHz stays. 4. 120 x 5 MHz, SCDC (bit 7), UHD_VIC (bit 3); no 4:2:0
  //    format, so no DC_420 bit. 5. xvYCC 601/709 composed + (DF & C0) = C3, MD0
  //    gone. 6. 0D & 0D, type 1, no luminance bytes. 7. QS, the television's CB
  //    gives S_IT 10 S_CE 11: 4B. 9. Dolby Vision copied. 10. E-AC-3 and MAT
  //    already carry the television's third byte.
  const Bytes ext = Extension(kSupport,
                              {kSonySpeaker, "4D 90 04 05 03 01 61 60 65 66 5F 5E 5D 62", kSonyAudio,
                               kSonyHdmi, "67 D8 5D C4 01 78 80 08", "E3 05 C3 00", "E3 06 0D 01",
                               "E2 00 4B", kSonyDolby},
                              {kDtd640, kSerial});
  // 11. Timings 24 Hz (93, 98) to 60 Hz, 31.5 to 135 kHz, up to 594 MHz: the
  // composed 49-61 Hz, 15-70 kHz, 150 MHz widen to 24-61, 15-135, 600. The
  // Sony's chromaticity is not sRGB's. The HDMI VSDB's address at 128 + 4 +
  // 4 + 14 + 19 + 4 = 173.
  ExpectProfile(SonyHdrTv(), device, kSonyComposed, "18 3D 0F 87 3C", false, ext, 173);
}

// (b) The same television through a device of 300 MHz without SCDC but with
// 4:2:0, and through one of 600 MHz without SCDC (limited to 340): both the same.
TEST(ComposeProfile, Hdr4k60TelevisionThroughADeviceWithoutScdcGets4k60As420Only) {
  ScopedConfig config(kConfig);
  // 1. R = 300 (or 340). 2. 97 96 101 102 need 594 MHz > R; the television
  //    maps all four to 4:2:0, the device does it, 297 <= R: offered as 4:2:0,
  //    appended with a map bit (listed in the television's video block). They
  //    stand at indices 5 6 7 8 of the final video block: map E0 01.
  // 4. R <= 340: rate 0, no SCDC; UHD_VIC; DC_30/36_420 both sides: 0B.
  // 12. 4 + 87 bytes of blocks + 36 of descriptors = 127: just fits.
  const Bytes ext = Extension(kSupport,
                              {kSonySpeaker, "4D 90 04 05 03 01 61 60 65 66 5F 5E 5D 62", kSonyAudio,
                               kSonyHdmi, "67 D8 5D C4 01 00 00 0B", "E3 05 C3 00", "E3 06 0D 01",
                               "E2 00 4B", "E3 0F E0 01", kSonyDolby},
                              {kDtd640, kSerial});
  // 11. The 4:2:0 formats still have their 594 MHz pixel clock.
  for (const compose_profile_t &device :
       {Device(300, false, true, {97, 96, 101, 102}), Device(600, false, true, {97, 96, 101, 102})}) {
    SCOPED_TRACE(device.max_tmds_rate_mhz);
    ExpectProfile(SonyHdrTv(), device, kSonyComposed, "18 3D 0F 87 3C", false, ext, 173);
  }
  // A television whose HDMI Forum block gives rate 0 (340 MHz or less) limits
  // a 600 MHz device with SCDC alike: R = 340.
  Bytes rate0 = SonyHdrTv();
  ASSERT_EQ(HexText(rate0, 0xC0, 8), "67 D8 5D C4 01 78 80 03");
  rate0[0xC5] = 0;
  Sum(rate0, 128);
  ExpectProfile(rate0, Device(600, true, true, {97, 96, 101, 102}), kSonyComposed,
                "18 3D 0F 87 3C", false, ext, 173);
  // Without 4:2:0 on the device there is no route for them at all.
  const Bytes no420 = Extension(kSupport,
                                {kSonySpeaker, "49 90 04 05 03 01 5F 5E 5D 62", kSonyAudio, kSonyHdmi,
                                 "67 D8 5D C4 01 00 00 08", "E3 05 C3 00", "E3 06 0D 01", "E2 00 4B",
                                 kSonyDolby},
                                {kDtd640, kSerial});
  // 24-61 Hz, 15-70 kHz stays, 297 MHz -> 300.
  ExpectProfile(SonyHdrTv(), Device(300, false, false, {97, 96, 101, 102}), kSonyComposed,
                "18 3D 0F 46 1E", false, no420, 169);
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
    std::vector<std::string> blocks = {kSonySpeaker, "4D 90 04 05 03 01 61 60 65 66 5F 5E 5D 62",
                                       kSonyAudio,   kSonyHdmi,
                                       "67 D8 5D C4 01 78 80 08", "E3 05 C3 00"};
    if (!c.hdr.empty() && c.hdr[0].starts_with("E3 06")) blocks.push_back(c.hdr[0]);
    blocks.push_back("E2 00 4B");
    if (c.hdr.size() > 1) blocks.push_back(c.hdr[1]);
    ExpectProfile(SonyHdrTv(), device, kSonyComposed, "18 3D 0F 87 3C", false,
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
                              {kSonySpeaker, "4D 90 04 05 03 01 61 60 65 66 5F 5E 5D 62",
                               "32 09 07 05 57 06 01 67 04 03 0D 7F 07 15 07 50 3D 07 BC",
                               kSonyHdmi, "67 D8 5D C4 01 78 80 08", "E3 05 C3 00", "E3 06 0D 01",
                               "E2 00 4B", kSonyDolby},
                              {kDtd640, kSerial});
  ExpectProfile(SonyHdrTv(), device, composed, "18 3D 0F 87 3C", false, ext, 173);
}

// The television's S_IT (always underscanned, 10, or always overscanned, 01)
// and the device's underscan flag (CTA byte 3 bit 7) can disagree; the
// profile's promise is an EDID that edid-decode --check accepts, whichever
// of the two it changes.
TEST(ComposeProfile, ScanBehaviourAndUnderscanFlagAgree) {
  struct Case {
    const char *underscan;
    Bytes tv;
  } const cases[] = {
      {"underscan = 0", SonyHdrTv()},  // the Sony's VCDB: S_IT 10
      {"underscan = 1", Television({"83 01 00 00", "44 61 60 10 04", "23 09 07 07",
                                    "68 03 0C 00 10 00 00 44 00", "67 D8 5D C4 01 78 80 00",
                                    "E2 00 47"})},  // S_IT 01
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.underscan);
    ScopedConfig config(ConfigWith("underscan", c.underscan));
    const compose_profile_t device = Device(600, true, true, {97, 96, 101, 102});
    const Composed result = Compose(c.tv, &device, false);
    ASSERT_TRUE(result.ok);
    EXPECT_EQ(CheckReport(result.bytes), "");
  }
}

// A television whose HDMI Forum block is 600 MHz with 12-bit 4:2:0, with a
// 4:2:0 video block of 4K100 (117) and 4K120 (118), HDR SDR/PQ with luminance,
// no colorimetry and no video capability block.
const std::vector<std::string> kTv420 = {
    "83 01 00 00", "44 61 60 10 04", "23 09 07 07", "68 03 0C 00 10 00 00 44 00",
    "67 D8 5D C4 01 78 80 02", "E3 0E 75 76", "E6 06 05 01 78 5A 10"};

// A 600 MHz device on formats the television takes in 4:2:0 only.
TEST(ComposeProfile, FourTwoZeroOnlyFormatsGoInA420VideoBlockWithinTheRangeLimitsField) {
  ScopedConfig config(kConfig);
  const compose_profile_t device = Device(600, true, true, {118, 117, 97, 96});
  // 2. 118 (3840x2160@120: 4400 x 2250 at 1188 MHz, 270 kHz) exceeds 255 kHz:
  //    not offered. 117 (@100: 5280 x 2250, 225 kHz) is not in the television's
  //    video block and 1188 > 600; both sides do 4:2:0 for it, 594 <= 600:
  //    a 4:2:0 video block. 97 96 the full route.
  // 4. 600 MHz, SCDC; no HDMI VIC; 4:2:0 offered: 02 AND 03 = 02.
  // 5. No television colorimetry, nothing composed: no block.
  // 6. 05 AND 0D = 05, type 1, luminance 78 5A 10 as given.
  // 7. QS only (no television VCDB).
  const Bytes ext =
      Extension(kSupport,
                {"83 0F 00 00", "46 90 04 03 01 61 60", "23 09 07 07",
                 "68 03 0C 00 12 00 00 00 00", "67 D8 5D C4 01 78 80 02", "E6 06 05 01 78 5A 10",
                 "E2 00 40", "E2 0E 75"},
                {kDtd640, kSerial});
  // 11. Up to 100 Hz, 225 kHz (E1), 1188 MHz -> 119 x 10 (77); 50 Hz does not
  // lower 49. The television's chromaticity is sRGB's: sRGB stays claimed.
  ExpectProfile(Television(kTv420), device,
                {"83 0F 00 00", "44 90 04 03 01", "23 09 07 07", "68 03 0C 00 12 00 00 00 00"},
                "31 64 0F E1 77", true, ext, 151);
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
  //    01 AND C0 adds nothing, MD0 gone. 6. No HDR. 7. QS, no S_ bits.
  const Bytes ext = Extension(kSupport,
                              {"83 0F 00 00", "47 90 04 03 01 5F 5E 5D", "23 09 07 07",
                               "6D 03 0C 00 12 00 00 44 20 00 60 01 02 03", "E3 05 01 00",
                               "E2 00 40"},
                              {kDtd640, kSerial});
  // 11. 24 Hz (93), 67.5 kHz stays within 70, 297 MHz -> 30; sRGB stays.
  ExpectProfile(Television(kTvHdmi14), device,
                {"83 0F 00 00", "44 90 04 03 01", "23 09 07 07",
                 "6D 03 0C 00 12 00 00 50 20 00 60 01 02 03", "E3 05 01 01"},
                "18 3D 0F 46 1E", true, ext, 152);
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
                {"83 0F 00 00", "46 90 04 03 01 61 60", "23 09 07 07",
                 "68 03 0C 00 12 00 00 00 00", "67 D8 5D C4 01 78 80 00", "E3 05 C1 00",
                 "E2 00 4B"},
                {kDtd640, kSerial});
  // 11. 50-60 Hz within 49-61, up to 135 kHz and 594 MHz.
  ExpectProfile(Television(kTvNoHdr), device,
                {"83 0F 00 00", "44 90 04 03 01", "23 09 07 07", "68 03 0C 00 12 00 00 00 00",
                 "E3 05 01 01"},
                "31 3D 0F 87 3C", true, ext, 151);
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
  // Composed 4* 16 16 3 1 4 (720p60 output first). 2. 4 16 3 1 (first kept,
  // its native bit with it); 95 (declared, 297 <= 340) appended, 97 not
  // declared, 95 again and 94 appended; the HDMI VICs add only 93.
  const Bytes ext = Extension(kSupport,
                              {"83 0F 00 00", "47 84 10 03 01 5F 5E 5D", "23 09 07 07",
                               "6D 03 0C 00 12 00 00 3C 20 00 60 01 02 03", "E3 05 01 00",
                               "E2 00 40"},
                              {kDtd640, kSerial});
  ExpectProfile(Television(kTvHdmi14), device,
                {"83 0F 00 00", "46 84 10 10 03 01 04", "23 09 07 07",
                 "6D 03 0C 00 12 00 00 3C 20 00 60 01 02 03", "E3 05 01 01"},
                "18 3D 0F 46 1E", true, ext, 152, Settings({1280, 720, 0, 60}));
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
constexpr uint8_t kComposedVics[] = {16, 4,  3,  1,  2,  5,  17, 18, 19, 20, 31, 32, 33, 34,
                                     6,  7,  21, 22, 60, 61, 62, 63, 64, 14, 15, 29, 30};
// Ten audio formats, PCM first: AC-3, MPEG-1, MP3, MPEG-2, AAC, DTS, ATRAC, DSD, E-AC-3.
const char *const kSads[] = {"09 07 07", "15 07 50", "19 07 28", "21 07 28", "29 07 28",
                             "31 07 28", "3D 07 C0", "41 07 28", "49 07 00", "57 06 00"};

// A 256-byte EDID laid out as compose_edid lays it out, on base (a base
// block compose_edid wrote): speaker; n video formats (the first native); k
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
  Bytes edid(base.begin(), base.begin() + 128);
  const Bytes ext = Extension(0xF3, blocks, {kDtd640, kSerial});
  edid.insert(edid.end(), ext.begin(), ext.end());
  // compose_edid writes the image size of the VIC table for the 640x480 timing
  edid[128 + edid[130] + 12] = 0x13, edid[128 + edid[130] + 13] = 0x8E,
                           edid[128 + edid[130] + 14] = 0x21;
  Sum(edid, 128);
  return edid;
}

// The profile's steps on a composed EDID whose blocks fill the extension more
// and more: what goes, in the order of step 12, and that what stays is whole.
TEST(ComposeProfileRoom, DropsInOrderUntilTheBlocksFitAndCutsNone) {
  ScopedConfig config(kConfig);
  const Bytes tv = Television(kTvFull);
  const Composed plain = Compose(tv, nullptr, true);
  ASSERT_TRUE(plain.ok);
  const compose_profile_t device = Device(600, true, true, {97, 96, 101, 102, 117, 218});
  // The profile's extension before any drop: the composed part (59 + n + 3k + m
  // bytes less the 36 of descriptors), 97 96 101 102 appended (full route,
  // 594 <= 600), HF-VSDB 8, colorimetry 4 (C3 AND C0, nothing composed), HDR 7,
  // VCDB 3, the 4:2:0 video block 117 218 4 (half of 1188 MHz, 225 kHz each),
  // no map (97 96 went the full route), Dolby Vision 12, HDR10+ 6, and the two
  // descriptors: 48 bytes more than composed. So a composed extension of L
  // bytes overflows by L - 79, and step 12 frees, cumulatively: the 640x480
  // timing 18; 102 101 96 97 19..22; HDR10+ 28; Dolby Vision 40; 218 41; 117
  // with its block 44; HDR 51. Colorimetry and the serial number could only go
  // with more than compose_edid can compose.
  struct Case {
    int n, k, m, length;
    std::vector<std::string> gone;
  } const cases[] = {
      {10, 2, 4, 79, {}},
      {11, 2, 4, 80, {"dtd"}},
      {20, 4, 6, 97, {"dtd"}},
      {20, 4, 7, 98, {"dtd", "102"}},
      {22, 4, 8, 101, {"dtd", "102", "101", "96", "97"}},
      {22, 5, 6, 102, {"dtd", "102", "101", "96", "97", "hdr10+"}},
      {24, 5, 9, 107, {"dtd", "102", "101", "96", "97", "hdr10+"}},
      {24, 6, 7, 108, {"dtd", "102", "101", "96", "97", "hdr10+", "dv"}},
      {26, 8, 10, 119, {"dtd", "102", "101", "96", "97", "hdr10+", "dv"}},
      {26, 8, 11, 120, {"dtd", "102", "101", "96", "97", "hdr10+", "dv", "218"}},
      {27, 8, 11, 121, {"dtd", "102", "101", "96", "97", "hdr10+", "dv", "218", "117"}},
      {27, 9, 10, 123, {"dtd", "102", "101", "96", "97", "hdr10+", "dv", "218", "117"}},
      {27, 9, 11, 124, {"dtd", "102", "101", "96", "97", "hdr10+", "dv", "218", "117", "hdr"}},
      {27, 10, 11, 127, {"dtd", "102", "101", "96", "97", "hdr10+", "dv", "218", "117", "hdr"}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(Format("n %d k %d m %d", c.n, c.k, c.m));
    const Bytes composed = ComposedByHand(plain.bytes, c.n, c.k, c.m);
    const size_t used = composed[130] + 36u;
    ASSERT_EQ(used, static_cast<size_t>(c.length));

    const auto gone = [&](const char *item) {
      return std::find(c.gone.begin(), c.gone.end(), item) != c.gone.end();
    };
    std::vector<std::string> blocks = DataBlocks(composed);
    blocks.pop_back();  // the HDMI VSDB stays last of the composed ones
    std::string video = blocks[1].substr(3);
    int appended = 0;
    for (const char *vic : {"97", "96", "101", "102"}) {
      if (gone(vic)) continue;
      video += Format(" %02X", std::stoi(vic));
      ++appended;
    }
    blocks[1] = Format("%02X ", 0x40 | (c.n + appended)) + video;
    blocks.push_back(DataBlocks(composed).back());
    const bool any420 = !gone("117") || !gone("218");
    blocks.push_back(any420 ? "67 D8 5D C4 01 78 80 02" : "67 D8 5D C4 01 78 80 00");
    blocks.push_back("E3 05 C0 00");
    if (!gone("hdr")) blocks.push_back("E6 06 0D 01 78 5A 10");
    blocks.push_back("E2 00 4B");
    if (!gone("218")) blocks.push_back("E3 0E 75 DA");
    else if (!gone("117")) blocks.push_back("E2 0E 75");
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

}  // namespace

// The modern CTA-861 reader (cta_reader.h): hand-built blocks for the corner
// cases, every corpus EDID (whole, cut short and mangled) for memory safety
// under the sanitizers and valgrind, and the interop check: over every corpus
// EDID with these blocks, the reader's fields agree with what Debian's
// edid-decode prints. Deliberate differences are listed in PeerView.
#include "cta_reader.h"

#include <cmath>

#include "edc_test.h"

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#endif

using namespace edc_test;  // NOLINT: corpus and command helpers

namespace {

// A two-block EDID whose CTA extension holds the given data blocks, d just after them.
Bytes EdidWithBlocks(const Bytes &blocks) {
  Bytes edid(256, 0);
  edid[0x7E] = 1;
  edid[128] = 0x02;
  edid[129] = 0x03;
  edid[130] = static_cast<uint8_t>(4 + blocks.size());
  std::copy(blocks.begin(), blocks.end(), edid.begin() + 132);
  return edid;
}

cta_info_t Read(const Bytes &edid) {
  cta_info_t info;
  EXPECT_EQ(cta_read_edid(edid.data(), static_cast<uint32_t>(edid.size()), &info), 1);
  return info;
}

TEST(CtaReader, ReadsTheHdmiForumBlockWithItsHdmi21Fields) {
  // HF-VSDB: version 1, 600 MHz, SCDC + RR + LTE_340, FRL 6 (code 6) + DC_36,
  // ALLM + FVA + M_delta, VRR 48..120, DSC 1.2 all bpp 12 bpc, slices 7, FRL 3, 15 chunks
  const Bytes edid = EdidWithBlocks(
      {0x6D, 0xD8, 0x5D, 0xC4, 0x01, 0x78, 0xC8, 0x62, 0x26, 0x30, 0x78, 0x8A, 0x37, 0x0F});
  const cta_hf_vsdb_t hf = Read(edid).hf_vsdb;
  ASSERT_TRUE(hf.present);
  EXPECT_FALSE(hf.from_scdb);
  EXPECT_EQ(hf.version, 1);
  EXPECT_EQ(hf.max_tmds_character_rate_mhz, 600);
  EXPECT_TRUE(hf.scdc_present && hf.rr_capable && hf.lte_340mcsc_scramble);
  EXPECT_FALSE(hf.independent_view || hf.dual_view || hf.osd_disparity_3d || hf.ccbpci);
  EXPECT_EQ(hf.max_frl_rate, 6);
  EXPECT_TRUE(hf.dc_36bit_420 && !hf.dc_48bit_420 && !hf.dc_30bit_420 && !hf.uhd_vic);
  EXPECT_TRUE(hf.m_delta && hf.fva && hf.allm && !hf.cinema_vrr && !hf.cnm_vrr);
  EXPECT_EQ(hf.vrr_min, 48);
  EXPECT_EQ(hf.vrr_max, 120);
  EXPECT_TRUE(hf.dsc_1p2 && hf.dsc_all_bpp && hf.dsc_12bpc && !hf.dsc_10bpc && !hf.dsc_16bpc);
  EXPECT_EQ(hf.dsc_max_frl_rate, 3);
  EXPECT_EQ(hf.dsc_max_slices, 7);
  EXPECT_EQ(hf.dsc_total_chunk_kbytes, 15);

  // The same fields from an HF-SCDB (extended tag 0x79, two reserved bytes)
  const cta_hf_vsdb_t scdb =
      Read(EdidWithBlocks({0xE6, 0x79, 0x00, 0x00, 0x01, 0x78, 0x80})).hf_vsdb;
  EXPECT_TRUE(scdb.present && scdb.from_scdb && scdb.scdc_present);
  EXPECT_EQ(scdb.max_tmds_character_rate_mhz, 600);
  EXPECT_FALSE(scdb.has_byte8);
}

TEST(CtaReader, ComputesHdrLuminanceFromTheCodeValues) {
  struct Case {
    Bytes block;
    bool max, average, min;
    double max_cd, average_cd, min_cd;
  } const cases[] = {
      // 50 * 2^(96/32) = 400; min 400 * (64/255)^2 / 100
      {{0xE6, 0x06, 0x0D, 0x01, 0x60, 0x60, 0x40},
       true,
       true,
       true,
       400,
       400,
       400 * std::pow(64 / 255.0, 2) / 100},
      {{0xE4, 0x06, 0x05, 0x01, 0x00}, true, false, false, 50, 0, 0},
      {{0xE3, 0x06, 0x0F, 0x01}, false, false, false, 0, 0, 0},
  };
  for (const Case &c : cases) {
    const cta_hdr_static_t h = Read(EdidWithBlocks(c.block)).hdr_static;
    SCOPED_TRACE(testing::PrintToString(c.block));
    ASSERT_TRUE(h.present);
    EXPECT_EQ(h.eotfs, c.block[2]);
    EXPECT_EQ(h.has_max_luminance, c.max);
    EXPECT_EQ(h.has_max_frame_average, c.average);
    EXPECT_EQ(h.has_min_luminance, c.min);
    EXPECT_NEAR(h.max_luminance, c.max_cd, 1e-9);
    EXPECT_NEAR(h.max_frame_average, c.average_cd, 1e-9);
    EXPECT_NEAR(h.min_luminance, c.min_cd, 1e-9);
  }
}

TEST(CtaReader, ResolvesThe420MapThroughEverySvdOfTheExtension) {
  // the map before the video blocks it indexes: SVDs 16 97 | 96
  const Bytes blocks = {0xE2, 0x0F, 0x06,              // map: SVDs 1 and 2
                        0x42, 0x10, 0x61, 0x41, 0x60,  // video: 16 97 | video: 96
                        0xE3, 0x0E, 0x76, 0x90};       // 4:2:0 only: 118, 16 (native)
  const cta_info_t info = Read(EdidWithBlocks(blocks));
  ASSERT_EQ(info.svd_count, 3u);
  ASSERT_TRUE(info.has_ycbcr420_map);
  ASSERT_EQ(info.ycbcr420_map_count, 2u);
  EXPECT_EQ(info.ycbcr420_map_vics[0], 97);
  EXPECT_EQ(info.ycbcr420_map_vics[1], 96);
  ASSERT_EQ(info.ycbcr420_count, 2u);
  EXPECT_EQ(info.ycbcr420_vics[0], 118);
  EXPECT_EQ(info.ycbcr420_vics[1], 16);
  // an empty map marks every SVD
  const cta_info_t all = Read(EdidWithBlocks({0x42, 0x10, 0x61, 0xE1, 0x0F}));
  EXPECT_EQ(all.ycbcr420_map_count, 2u);
}

TEST(CtaReader, DecodesTheThirdAudioByteByFormat) {
  struct Case {
    uint8_t b1, b2, b3;
    uint8_t format, extension, channels, depths;
    uint16_t bit_rate;
    bool joc, mat, dtsx, frame_1024, mps_l;
  } const cases[] = {
      {0x09, 0x07, 0x07, 1, 0, 2, 7, 0, false, false, false, false, false},    // LPCM 16/20/24
      {0x15, 0x07, 0x50, 2, 0, 6, 0, 640, false, false, false, false, false},  // AC-3 640 kHz
      {0x57, 0x06, 0x03, 10, 0, 8, 0, 0, true, false, false, false, false},    // E-AC-3 JOC
      {0x67, 0x04, 0x01, 12, 0, 8, 0, 0, false, true, false, false, false},    // MAT
      {0x5F, 0x7E, 0x02, 11, 0, 8, 0, 0, false, false, true, false, false},    // DTS-HD, DTS:X
      {0x7F, 0x07, 0x45, 15, 8, 8, 0, 0, false, false, false, true, true},     // HE AAC + MPS
      {0xFF, 0x07, 0x6A, 15, 13, 16, 2, 0, false, false, false, false,
       false},  // LPCM 3D 16 ch 20 bit
  };
  for (const Case &c : cases) {
    const cta_info_t info = Read(EdidWithBlocks({0x23, c.b1, c.b2, c.b3}));
    SCOPED_TRACE(testing::Message() << "format " << int(c.format));
    ASSERT_EQ(info.sad_count, 1u);
    const cta_sad_t &s = info.sads[0];
    EXPECT_EQ(s.format, c.format);
    EXPECT_EQ(s.extension_type, c.extension);
    EXPECT_EQ(s.channels, c.channels);
    EXPECT_EQ(s.bit_depths, c.depths);
    EXPECT_EQ(s.max_bit_rate_khz, c.bit_rate);
    EXPECT_EQ(s.joc, c.joc);
    EXPECT_EQ(s.mat_atmos, c.mat);
    EXPECT_EQ(s.dtsx, c.dtsx);
    EXPECT_EQ(s.frame_1024, c.frame_1024);
    EXPECT_EQ(s.mps_l, c.mps_l);
    EXPECT_EQ(s.byte3, c.b3);
  }
}

TEST(CtaReader, RecordsEveryBlockAndStopsAtTheDetailedTimingOffset) {
  // Dolby vendor video block, then an HDMI VSDB running past d: recorded, truncated, not read
  Bytes edid = EdidWithBlocks({0xE5, 0x01, 0x46, 0xD0, 0x00, 0x44, 0x68, 0x03, 0x0C, 0x00, 0x10});
  edid[130] = 4 + 6 + 3;  // d cuts the second block after its OUI
  const cta_info_t info = Read(edid);
  ASSERT_EQ(info.block_count, 2u);
  EXPECT_EQ(info.blocks[0].offset, 4);
  EXPECT_TRUE(info.blocks[0].has_oui);
  EXPECT_EQ(info.blocks[0].oui, CTA_OUI_DOLBY);
  EXPECT_EQ(info.blocks[0].extended_tag, CTA_EXT_VENDOR_VIDEO);
  EXPECT_EQ(info.blocks[1].offset, 10);
  EXPECT_TRUE(info.blocks[1].truncated);
  EXPECT_EQ(info.blocks[1].length, 8);
  EXPECT_EQ(info.blocks[1].payload_size, 2);
  EXPECT_FALSE(info.blocks[1].has_oui);
  // d outside 4..127 leaves no data blocks; the EDID still counts as read
  for (uint8_t d : {0, 3, 128, 255}) {
    edid[130] = d;
    EXPECT_EQ(Read(edid).block_count, 0u) << int(d);
  }
  // d at 127: blocks up to the checksum
  edid[130] = 127;
  EXPECT_GE(Read(edid).block_count, 2u);
  // no CTA extension, or too few bytes
  cta_info_t info2;
  edid[128] = 0x70;
  EXPECT_EQ(cta_read_edid(edid.data(), 256, &info2), 0);
  EXPECT_EQ(cta_read_edid(edid.data(), 255, &info2), 0);
  EXPECT_EQ(cta_read_edid(nullptr, 256, &info2), 0);
}

// Whole, cut at every 37th byte, and with bytes of the extension flipped:
// run under AddressSanitizer and valgrind, a read past the bytes given fails.
TEST(CtaReaderCorpus, ReadsEveryCorpusEdidWholeCutAndMangled) {
  const size_t stride = RUNNING_ON_VALGRIND ? 7 : 1;
  int read = 0;
  for (size_t i = 0; i < Corpus().size(); i += stride) {
    const Bytes &bytes = Corpus()[i].bytes;
    cta_info_t info;
    for (size_t size = 0; size <= bytes.size();
         size += (size + 37 > bytes.size() && size != bytes.size() ? bytes.size() - size : 37)) {
      const auto copy = std::make_unique<uint8_t[]>(size + 1);
      std::copy(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size), copy.get());
      read += cta_read_edid(copy.get(), static_cast<uint32_t>(size), &info);
      if (size == bytes.size()) break;
    }
    Bytes mangled = bytes;
    for (size_t at = 128; at < mangled.size(); at += 5)
      mangled[at] = static_cast<uint8_t>(~mangled[at]);
    cta_read_edid(mangled.data(), static_cast<uint32_t>(mangled.size()), &info);
  }
  EXPECT_GT(read, 0);
}

// ---------------------------------------------------------------------------
// Interop with edid-decode: each side as sorted "field=value" lines.

using Lines = std::vector<std::string>;

struct PeerView {
  Lines lines;
  bool empty_map = false;  // "Empty Capability Map": the peer lists no VIC, we list every SVD
};

// edid-decode's lines, section by section (a section is a line at indent 2
// inside a CTA-861 extension block), turned into our field names.
PeerView ParsePeer(const std::string &text) {
  static const std::vector<std::pair<std::string, std::regex>> hf = {
      {"hf.version=$1", std::regex(R"(    Version: (\d+))")},
      {"hf.tmds=$1", std::regex(R"(    Maximum TMDS Character Rate: (\d+) MHz)")},
      {"hf.SCDC_Present", std::regex(R"(    SCDC Present)")},
      {"hf.RR_Capable", std::regex(R"(    SCDC Read Request Capable)")},
      {"hf.LTE_340Mcsc_Scramble", std::regex(R"(    Supports scrambling for <= 340 Mcsc)")},
      {"hf.Independent_view", std::regex(R"(    Supports 3D Independent View signaling)")},
      {"hf.Dual_View", std::regex(R"(    Supports 3D Dual View signaling)")},
      {"hf.3D_OSD_Disparity", std::regex(R"(    Supports 3D OSD Disparity Indication)")},
      {"hf.DC_48bit_420",
       std::regex(R"(    Supports 16-bits/component Deep Color 4:2:0 Pixel Encoding)")},
      {"hf.DC_36bit_420",
       std::regex(R"(    Supports 12-bits/component Deep Color 4:2:0 Pixel Encoding)")},
      {"hf.DC_30bit_420",
       std::regex(R"(    Supports 10-bits/component Deep Color 4:2:0 Pixel Encoding)")},
      {"hf.UHD_VIC", std::regex(R"(    Supports UHD VIC)")},
      {"hf.ALLM", std::regex(R"(    Supports Auto Low-Latency Mode)")},
      {"hf.FVA", std::regex(R"(    Supports Fast Vactive)")},
      {"hf.CNMVRR", std::regex(R"(    Supports negative Mvrr values)")},
      {"hf.CinemaVRR", std::regex(R"(    Supports media rates below VRRmin \(CinemaVRR\))")},
      {"hf.vrrmin=$1", std::regex(R"(    VRRmin: (\d+) Hz)")},
      {"hf.vrrmax=$1", std::regex(R"(    VRRmax: (\d+) Hz)")},
      {"hf.DSC_1p2", std::regex(R"(    Supports VESA DSC 1.2a compression)")},
      {"hf.DSC_Native_420",
       std::regex(R"(    Supports Compressed Video Transport for 4:2:0 Pixel Encoding)")},
      {"hf.DSC_$1bpc", std::regex(R"(    Supports (\d+) bpc Compressed Video Transport)")},
      {"hf.dsc_chunk=$1", std::regex(R"(    Maximum number of bytes in a line of chunks: (\d+))")},
  };
  static const std::vector<std::pair<std::string, std::regex>> other = {
      {"eotf=SDR", std::regex(R"(      Traditional gamma - SDR luminance range)")},
      {"eotf=HDR", std::regex(R"(      Traditional gamma - HDR luminance range)")},
      {"eotf=PQ", std::regex(R"(      SMPTE ST2084)")},
      {"eotf=HLG", std::regex(R"(      Hybrid Log-Gamma)")},
      {"smd=$1", std::regex(R"(      Static metadata type (\d+))")},
      {"lum.max=$1 $2",
       std::regex(R"(    Desired content max luminance: (\d+) \(([0-9.]+) cd/m\^2\))")},
      {"lum.avg=$1 $2",
       std::regex(
           R"(    Desired content max frame-average luminance: (\d+) \(([0-9.]+) cd/m\^2\))")},
      {"lum.min=$1 $2",
       std::regex(R"(    Desired content min luminance: (\d+) \(([0-9.]+) cd/m\^2\))")},
      {"md=$1", std::regex(R"(    Reserved MD(\d))")},
      {"colorimetry=$1", std::regex(R"(    ([A-Za-z0-9-]+))")},
      {"qy=Selectable", std::regex(R"(    YCbCr quantization: Selectable \(via AVI YQ\))")},
      {"qs=Selectable", std::regex(R"(    RGB quantization: Selectable \(via AVI Q\))")},
      {"$1=$2", std::regex(R"(    (PT|IT|CE) scan behavior: (.*))")},
      {"y420=$1", std::regex(R"(    VIC +(\d+):.*)")},
      {"y420=$1", std::regex(R"(    Unknown \(VIC (\d+)\))")},
      {"speaker=$1", std::regex(R"(    (\S+) - .*)")},
  };
  PeerView view;
  std::istringstream in(text);
  bool cta = false;
  std::string section;
  std::smatch m;
  static const std::regex oui(R"(  Vendor-Specific .*OUI ([0-9A-F-]+):)");
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("Block ")) cta = line.find("CTA-861 Extension Block") != std::string::npos;
    if (!cta || line.size() < 3) continue;
    if (line[2] != ' ') {
      section = line;
      if (std::regex_match(line, m, oui)) view.lines.push_back("oui=" + m[1].str());
      continue;
    }
    if (line == "    Empty Capability Map") view.empty_map = true;
    const bool is_hf = section.find("HDMI Forum") != std::string::npos &&
                       section.find("Override") == std::string::npos;
    const auto in_section = [&](const char *name) {
      return section.find(name) != std::string::npos;
    };
    const auto &patterns = is_hf ? hf : other;
    for (const auto &[format, pattern] : patterns) {
      if (!std::regex_match(line, m, pattern)) continue;
      const std::string field = format.substr(0, format.find_first_of("=."));
      const bool belongs =
          is_hf ||
          (field == "eotf" || field == "smd" || field == "lum" ? in_section("HDR Static Metadata")
           : field == "md" || field == "colorimetry" ? in_section("Colorimetry Data Block")
           : field == "y420"                         ? in_section("YCbCr 4:2:0")
           : field == "speaker"                      ? in_section("Speaker Allocation")
                                                     : in_section("Video Capability"));
      if (!belongs) continue;
      std::string value = m.format(format);
      if (field == "y420" && in_section("Capability Map")) value = "map" + value;
      view.lines.push_back(value);
      break;
    }
  }
  // A repeated block: the peer prints each, the reader keeps one record.
  std::sort(view.lines.begin(), view.lines.end());
  view.lines.erase(std::unique(view.lines.begin(), view.lines.end()), view.lines.end());
  return view;
}

std::string Oui(uint32_t oui) {
  char text[16];
  snprintf(text, sizeof text, "%02X-%02X-%02X", oui >> 16, (oui >> 8) & 0xFF, oui & 0xFF);
  return text;
}

// A vendor block shorter than its OUI has no OUI for the reader; the peer
// prints one made of the bytes that follow the block. Where the reader saw
// such a block, the peer's other OUIs (peer_ouis) are taken as they are.
Lines OurLines(const cta_info_t &info, bool empty_map, const Lines &peer_ouis) {
  Lines lines;
  const auto add = [&](bool on, const std::string &line) {
    if (on) lines.push_back(line);
  };
  const cta_hf_vsdb_t &hf = info.hf_vsdb;
  if (hf.present) {
    add(true, "hf.version=" + std::to_string(hf.version));
    add(hf.max_tmds_character_rate_mhz != 0,
        "hf.tmds=" + std::to_string(hf.max_tmds_character_rate_mhz));
    add(hf.scdc_present, "hf.SCDC_Present");
    add(hf.rr_capable, "hf.RR_Capable");
    add(hf.lte_340mcsc_scramble, "hf.LTE_340Mcsc_Scramble");
    add(hf.independent_view, "hf.Independent_view");
    add(hf.dual_view, "hf.Dual_View");
    add(hf.osd_disparity_3d, "hf.3D_OSD_Disparity");
    add(hf.dc_48bit_420, "hf.DC_48bit_420");
    add(hf.dc_36bit_420, "hf.DC_36bit_420");
    add(hf.dc_30bit_420, "hf.DC_30bit_420");
    add(hf.uhd_vic, "hf.UHD_VIC");
    add(hf.allm, "hf.ALLM");
    add(hf.fva, "hf.FVA");
    add(hf.cnm_vrr, "hf.CNMVRR");
    add(hf.cinema_vrr, "hf.CinemaVRR");
    add(hf.has_vrr && hf.vrr_min != 0, "hf.vrrmin=" + std::to_string(hf.vrr_min));
    add(hf.has_vrr && hf.vrr_max != 0, "hf.vrrmax=" + std::to_string(hf.vrr_max));
    add(hf.dsc_1p2, "hf.DSC_1p2");
    add(hf.dsc_native_420, "hf.DSC_Native_420");
    add(hf.dsc_10bpc, "hf.DSC_10bpc");
    add(hf.dsc_12bpc, "hf.DSC_12bpc");
    add(hf.dsc_16bpc, "hf.DSC_16bpc");
    // the peer gives the chunk size in bytes: 1024 x (code + 1)
    add(hf.dsc_1p2 && hf.has_dsc_chunk,
        "hf.dsc_chunk=" + std::to_string(1024 * (hf.dsc_total_chunk_kbytes + 1)));
  }
  const cta_hdr_static_t &h = info.hdr_static;
  if (h.present) {
    const char *const eotfs[] = {"SDR", "HDR", "PQ", "HLG"};
    for (unsigned bit = 0; bit < 4; ++bit)
      add((h.eotfs >> bit & 1) != 0, std::string("eotf=") + eotfs[bit]);
    for (unsigned bit = 0; bit < 8; ++bit)
      add((h.descriptors >> bit & 1) != 0, "smd=" + std::to_string(bit + 1));
    char text[64];
    const auto lum = [&](bool has, const char *name, uint8_t cv, double cd) {
      snprintf(text, sizeof text, "lum.%s=%u %.3f", name, cv, cd);
      add(has, text);
    };
    lum(h.has_max_luminance, "max", h.max_luminance_cv, h.max_luminance);
    lum(h.has_max_frame_average, "avg", h.max_frame_average_cv, h.max_frame_average);
    lum(h.has_min_luminance, "min", h.min_luminance_cv, h.min_luminance);
  }
  if (info.colorimetry.present) {
    const std::pair<uint32_t, const char *> names[] = {
        {CTA_COLORIMETRY_XVYCC601, "xvYCC601"},   {CTA_COLORIMETRY_XVYCC709, "xvYCC709"},
        {CTA_COLORIMETRY_SYCC601, "sYCC601"},     {CTA_COLORIMETRY_OPYCC601, "opYCC601"},
        {CTA_COLORIMETRY_OPRGB, "opRGB"},         {CTA_COLORIMETRY_BT2020CYCC, "BT2020cYCC"},
        {CTA_COLORIMETRY_BT2020YCC, "BT2020YCC"}, {CTA_COLORIMETRY_BT2020RGB, "BT2020RGB"},
        {CTA_COLORIMETRY_ICTCP, "ICtCp"},         {CTA_COLORIMETRY_ST2113RGB, "ST2113RGB"}};
    for (const auto &[mask, name] : names)
      add((info.colorimetry.flags & mask) != 0, std::string("colorimetry=") + name);
    for (unsigned bit = 0; bit < 4; ++bit)
      add((info.colorimetry.metadata >> bit & 1) != 0, "md=" + std::to_string(bit));
  }
  const cta_video_capability_t &v = info.video_capability;
  if (v.present) {
    add(v.qy, "qy=Selectable");
    add(v.qs, "qs=Selectable");
    const char *const scan[] = {"", "Always Overscanned", "Always Underscanned",
                                "Supports both over- and underscan"};
    add(true, std::string("PT=") + (v.s_pt ? scan[v.s_pt] : "No Data"));
    add(true, std::string("IT=") + (v.s_it ? scan[v.s_it] : "IT video formats not supported"));
    add(true, std::string("CE=") + (v.s_ce ? scan[v.s_ce] : "CE video formats not supported"));
  }
  for (uint32_t i = 0; i < info.ycbcr420_count; ++i)
    add(true, "y420=" + std::to_string(info.ycbcr420_vics[i]));
  for (uint32_t i = 0; i < info.ycbcr420_map_count && !empty_map; ++i)
    add(true, "mapy420=" + std::to_string(info.ycbcr420_map_vics[i]));
  if (info.speaker.present) {
    const char *const names[] = {
        "FL/FR",   "LFE1",        "FC",        "BL/BR", "BC",        "FLc/FRc",   "RLC/RRC",
        "FLw/FRw", "TpFL/TpFR",   "TpC",       "TpFC",  "LS/RS",     "LFE2",      "TpBC",
        "SiL/SiR", "TpSiL/TpSiR", "TpBL/TpBR", "BtFC",  "BtFL/BtFR", "TpLS/TpRS", "LSd/RSd"};
    for (unsigned bit = 0; bit < std::size(names); ++bit)
      add((info.speaker.speakers >> bit & 1) != 0, std::string("speaker=") + names[bit]);
  }
  for (uint32_t i = 0; i < std::min<uint32_t>(info.block_count, CTA_MAX_BLOCKS); ++i)
    add(info.blocks[i].has_oui, "oui=" + Oui(info.blocks[i].oui));
  const auto ours_end = lines.end();
  for (uint32_t i = 0; i < std::min<uint32_t>(info.block_count, CTA_MAX_BLOCKS); ++i)
    if (info.blocks[i].tag == CTA_TAG_VENDOR && info.blocks[i].payload_size < 3)
      for (const std::string &line : peer_ouis)
        if (std::find(lines.begin(), ours_end, line) == ours_end) lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
  return lines;
}

std::string Join(const Lines &lines) {
  std::string text;
  for (const auto &line : lines) text += line + "\n";
  return text;
}

TEST(CtaReaderCorpus, AgreesWithEdidDecodeOnEveryEdidWithModernBlocks) {
  if (RUNNING_ON_VALGRIND)
    GTEST_SKIP() << "one edid-decode process per EDID: too slow under valgrind";
  int compared = 0;
  for (const CorpusEdid &edid : Corpus()) {
    cta_info_t info;
    if (!cta_read_edid(edid.bytes.data(), static_cast<uint32_t>(edid.bytes.size()), &info))
      continue;
    // A detailed-timing offset above 127 points past the block: the reader
    // reads no data block there, the peer reads up to the checksum.
    if (std::any_of(info.dtd_offset, info.dtd_offset + info.extensions_read,
                    [](uint8_t d) { return d > 127; }))
      continue;
    const std::string text = RunCommand("edid-decode '" + edid.path + "' 2>/dev/null");
    if (text.empty()) continue;  // edid-decode crashes on a few corpus EDIDs
    const PeerView peer = ParsePeer(text);
    Lines peer_ouis;
    for (const std::string &line : peer.lines)
      if (line.starts_with("oui=")) peer_ouis.push_back(line);
    const Lines ours = OurLines(info, peer.empty_map, peer_ouis);
    if (ours.empty() && peer.lines.empty()) continue;
    ++compared;
    EXPECT_EQ(Join(ours), Join(peer.lines)) << edid.file;
  }
  printf("compared with edid-decode: %d EDIDs\n", compared);
  EXPECT_GT(compared, 100);
}

}  // namespace

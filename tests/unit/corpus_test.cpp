// Every EDID of the real corpus through both decoders, debug traces on: no
// crash, leak or bug report; each decoder succeeds exactly when the manifest
// says its part is well formed; and the fields that Debian's edid-decode
// defines the same way agree with it, both sides turned into "name=value"
// lines (the deliberate differences are noted where the lines are made).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <regex>
#include <sstream>

#include "capture.h"
#include "edid_builder.h"
#include "golden.h"

namespace {

struct View {
  std::vector<std::string> base, extension, base_dtds, extension_dtds;
};

std::string RunCommand(const std::string &command) {
  std::string out;
  FILE *pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return out;
  char chunk[4096];
  for (size_t got; (got = fread(chunk, 1, sizeof chunk, pipe)) > 0;) out.append(chunk, got);
  pclose(pipe);
  return out;
}

std::string Dtd(uint32_t w, uint32_t h, bool interlaced, uint32_t khz, uint32_t hfront,
                uint32_t hsync, uint32_t hblank, uint32_t vfront, uint32_t vsync, uint32_t vblank) {
  char text[128];
  snprintf(text, sizeof text, "dtd=%ux%u%s %ukHz h:%u,%u,%u v:%u,%u,%u", w, h,
           interlaced ? "i" : "", khz, hfront, hsync, hblank, vfront, vsync, vblank);
  return text;
}

// edid-decode's text, blocks 0 and 1 only (only the first extension is ours to decode).
View ParsePeer(const std::string &text) {
  static std::map<std::string, int> audio_codes;
  if (audio_codes.empty())
    for (const auto &row : edc_test::ReadTable("peer_audio_formats.tsv"))
      audio_codes[row[1]] = std::stoi(row[0]);
  static const std::regex dtd(R"(^    DTD +\d+: +(\d+)x(\d+)(i?) .* ([0-9.]+) MHz)");
  static const std::regex porch(R"(^ +[HV]front +(\d+) [HV]sync +(\d+) [HV]back +(-?\d+))");
  static const std::regex vic(R"(^    (?:VIC +(\d+):.*?( \(native\))?$|Unknown \(VIC (\d+)\)))");
  static const std::regex border(R"([HV]border (\d+))");
  static const std::regex hdmi_vic(R"(^ +(?:HDMI VIC (\d+):|Unknown \(HDMI VIC (\d+)\)))");
  View v;
  int block = -1;
  std::string section;
  bool audio_extension = false, in_audio = false;
  const auto starts = [](const std::string &line, const char *prefix) {
    return line.rfind(prefix, 0) == 0;
  };
  std::smatch m;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (starts(line, "Block ")) block = std::stoi(line.substr(6));
    if (block < 0 || block > 1) continue;
    auto &out = block == 0 ? v.base : v.extension;
    if (starts(line, "  EDID Structure Version & Revision: ")) {
      out.push_back("version=" + line.substr(37));
    } else if (line.size() > 2 && line[2] != ' ') {
      section = line.substr(2);
      continue;
    }
    if (std::regex_search(line, m, dtd)) {
      const bool interlaced = m[3] == "i";
      const auto khz = static_cast<uint32_t>(std::lround(std::stod(m[4]) * 1000));
      std::string h, vl;
      std::getline(in, h);
      std::getline(in, vl);
      std::smatch hm, vm, hb, vb;
      std::regex_search(h, hm, porch);
      std::regex_search(vl, vm, porch);
      // The peer's back porch leaves out the borders on both sides.
      const int h_border = std::regex_search(h, hb, border) ? std::stoi(hb[1]) : 0;
      const int v_border = std::regex_search(vl, vb, border) ? std::stoi(vb[1]) : 0;
      auto n = [](const std::ssub_match &s) { return static_cast<uint32_t>(std::stoi(s)); };
      (block == 0 ? v.base_dtds : v.extension_dtds)
          .push_back(Dtd(n(m[1]), n(m[2]) / (interlaced ? 2 : 1), interlaced, khz, n(hm[1]),
                         n(hm[2]), n(hm[1]) + n(hm[2]) + n(hm[3]) + 2 * h_border, n(vm[1]),
                         n(vm[2]), n(vm[1]) + n(vm[2]) + n(vm[3]) + 2 * v_border));
    } else if (starts(line, "    Manufacturer: ")) {
      out.push_back("manufacturer=" + line.substr(18));
    } else if (starts(line, "    Model: ")) {
      out.push_back("product=" + line.substr(11));
    } else if (starts(line, "    Serial Number: ")) {
      out.push_back("serial=" + line.substr(19));
    } else if (section == "Video Data Block:" && std::regex_search(line, m, vic)) {
      // VIC 193 and up (CTA-861-F) come from bytes that this library reads
      // as bit 7 native and the VIC in bits 6-0, as CEA-861-D defines them.
      const int code = std::stoi(m[1].matched ? m[1] : m[3]);
      const bool native = m[2].matched || code >= 193;
      out.push_back("svd=" + std::to_string(code >= 193 ? code - 128 : code) +
                    (native ? " native" : ""));
    } else if (section == "Audio Data Block:" && line.size() > 5 && line[4] != ' ') {
      const std::string name = line.substr(4, line.size() - 4 - (line.back() == ':'));
      in_audio = name != "Reserved (0x00)";  // format code 0 is not kept: see ListOurs
      if (!in_audio) continue;
      // Any other extension type is kept as format 0.
      const int format = audio_codes.count(name) ? audio_codes[name] : 0;
      audio_extension = format == 0 || format > 14;
      out.push_back("sad=" + std::to_string(format));
    } else if (section == "Audio Data Block:" && in_audio && !audio_extension) {
      if (starts(line, "      Max channels: ")) out.push_back("channels=" + line.substr(20));
      if (starts(line, "      Supported sample rates (kHz): ")) {
        uint32_t mask = 0;
        const std::map<std::string, int> bit = {{"32", 0}, {"44.1", 1},  {"48", 2}, {"88.2", 3},
                                                {"96", 4}, {"176.4", 5}, {"192", 6}};
        std::istringstream rates(line.substr(36));
        for (std::string r; rates >> r;) mask |= 1u << bit.at(r);
        out.push_back("rates=" + std::to_string(mask));
      }
    } else if (starts(section, "Vendor-Specific Data Block (HDMI)")) {
      if (starts(line, "    Source physical address: "))
        out.push_back("address=" + line.substr(29));
      if (starts(line, "    DC_")) out.push_back("dc=" + line.substr(7));
      // A clock byte of 0 means none given; the record holds 0 and prints nothing.
      if (starts(line, "    Maximum TMDS clock: ") && line != "    Maximum TMDS clock: 0 MHz")
        out.push_back("tmds=" + std::to_string(std::stoi(line.substr(24))));
      if (std::regex_search(line, m, hdmi_vic))
        out.push_back("hdmi_vic=" + std::string(m[1].matched ? m[1] : m[2]));
    }
  }
  return v;
}

// The same lines from our record; base_dtds is the number of timings that
// the base block gave.
View ListOurs(edid_t &e, int32_t base_dtds) {
  View v;
  v.base = {"version=" + std::to_string(e.version) + "." + std::to_string(e.revision),
            std::string("manufacturer=") + e.manufacturer_id,
            "product=" + std::to_string(e.product_id)};
  if (e.serial != 0) v.base.push_back("serial=" + std::to_string(e.serial));
  int32_t index = 0;
  for (const auto &t : edc_test::Elements<detailed_timing_t>(&e.dtd_list))
    (index++ < base_dtds ? v.base_dtds : v.extension_dtds)
        .push_back(Dtd(t.h_active, t.v_active, !t.progressive, t.pixel_clock / 1000,
                       t.h_sync_offset, t.h_sync_width, t.h_blanking, t.v_sync_offset,
                       t.v_sync_width, t.v_blanking));
  auto &x = v.extension;
  // Byte 0 is reserved: the peer prints nothing for it, this library keeps
  // an entry with VIC 0 (for which the composer finds no timing).
  for (const auto &svd : edc_test::Elements<short_video_desc_t>(&e.video_list))
    if (svd.vic != 0 || svd.native)
      x.push_back("svd=" + std::to_string(svd.vic) + (svd.native ? " native" : ""));
  for (const auto &a : edc_test::Elements<short_audio_desc_t>(&e.audio_list)) {
    x.push_back("sad=" + std::to_string(a.format));
    if (a.format == 0 || a.format > 14) continue;  // extension types: the format only
    x.push_back("channels=" + std::to_string(a.channels));
    if (a.sample_rates != 0) x.push_back("rates=" + std::to_string(a.sample_rates));
  }
  if (e.hdmi_vsdb_present) {
    char address[32];
    snprintf(address, sizeof address, "address=%u.%u.%u.%u", e.address.a, e.address.b, e.address.c,
             e.address.d);
    x.push_back(address);
    const std::pair<uint8_t, const char *> dc[] = {
        {e.dc_48bit, "48bit"}, {e.dc_36bit, "36bit"}, {e.dc_30bit, "30bit"}, {e.dc_y444, "Y444"}};
    for (const auto &[flag, name] : dc)
      if (flag) x.push_back(std::string("dc=") + name);
    if (e.max_tmds_clock) x.push_back("tmds=" + std::to_string(e.max_tmds_clock));
    for (int i = 0; i < e.hdmi_vic_len; ++i)
      x.push_back("hdmi_vic=" + std::to_string(e.hdmi_vic[i]));
  }
  return v;
}

// The lines of one field (those starting with one of the prefixes), in order.
std::vector<std::string> Field(const std::vector<std::string> &lines,
                               const std::vector<const char *> &prefixes) {
  std::vector<std::string> out;
  for (const auto &line : lines)
    for (const char *p : prefixes)
      if (line.rfind(std::string(p) + "=", 0) == 0) out.push_back(line);
  return out;
}

// Extension fields compared, each with the manifest reasons that exempt an EDID.
const std::pair<std::vector<const char *>, std::vector<const char *>> kFields[] = {
    {{"svd"}, {}},
    // A block whose length is not a multiple of 3 takes its last descriptor from the next bytes.
    {{"sad", "channels", "rates"}, {"audio_len_not_3n"}},
    // A second HDMI block overwrites only the fields it carries; a short one is refused.
    {{"address", "dc", "tmds"}, {"hdmi_vsdb_twice", "hdmi_vsdb_short"}},
    // HDMI VICs are read as far as HDMI_VIC_LEN says, past the block's length.
    {{"hdmi_vic"}, {"hdmi_vsdb_twice", "hdmi_vsdb_fields_overrun"}},
};

TEST(Corpus, EveryEdidDecodesAsItsManifestPredictsAndAsEdidDecodeReadsIt) {
  int compared = 0;
  for (const auto &entry : edc_test::ReadCorpusManifest()) {
    const std::string path = edc_test::CorpusDir() + "/edid/" + entry.file;
    const auto bytes = edc_test::ReadFile(path);
    ASSERT_EQ(bytes.size(), 128u * entry.blocks) << entry.file;
    edc_test::PreparedEdid record;
    uint8_t base = 0, extension = 0;
    int32_t base_dtds = 0;
    auto debug = std::make_unique<edc_test::DebugOn>();
    const std::string out = edc_test::CaptureStdout([&] {
      base = decode_edid_block_0(bytes.data(), &record.edid);
      base_dtds = ll_size(&record.edid.dtd_list);
      if (entry.blocks > 1)
        extension = decode_edid_extensions(bytes.data() + 128,
                                           static_cast<uint32_t>(bytes.size() - 128), &record.edid);
    });
    debug.reset();
    const auto odd = [&](const std::vector<const char *> &reasons) {
      return std::any_of(reasons.begin(), reasons.end(), [&](auto r) { return entry.IsOdd(r); });
    };
    // The manifest reasons that make each decoder give up.
    EXPECT_EQ(base, !odd({"version", "base_descriptor_byte2_4_set"})) << entry.file;
    EXPECT_EQ(extension,
              entry.blocks > 1 && !odd({"block_map_first", "first_ext_not_cea", "cea_revision",
                                        "ext_checksum", "dtd_offset_gt110", "dbc_overrun"}))
        << entry.file;
    EXPECT_EQ(out.find(" BUG: "), std::string::npos) << entry.file;

    const View peer = ParsePeer(RunCommand("edid-decode '" + path + "' 2>/dev/null"));
    if (peer.base.empty() || !base) continue;  // the peer crashed, or nothing after ours failed
    ++compared;
    const View ours = ListOurs(record.edid, base_dtds);
    EXPECT_EQ(ours.base, peer.base) << entry.file;
    EXPECT_EQ(ours.base_dtds, peer.base_dtds) << entry.file;
    if (!extension) continue;
    // Extension timings: the peer stops at the first slot that holds no
    // timing; this library takes every slot from d while it ends before the
    // byte count given (so past padding, and with more blocks into the next
    // one). Its list must begin with the peer's and hold one timing for
    // every slot with a pixel clock.
    size_t slots_with_clock = 0;
    for (size_t at = 128 + bytes[128 + 2]; at + 18 < bytes.size(); at += 18)
      slots_with_clock += (bytes[at] | bytes[at + 1]) != 0;
    EXPECT_EQ(ours.extension_dtds.size(), slots_with_clock) << entry.file;
    if (!entry.IsOdd("dtd_offset_lt4")) {  // below 4 the slots start inside the header
      std::vector<std::string> dtds = ours.extension_dtds;
      dtds.resize(std::min(dtds.size(), peer.extension_dtds.size()));
      EXPECT_EQ(dtds, peer.extension_dtds) << entry.file;
    }
    for (const auto &[prefixes, exceptions] : kFields) {
      if (odd(exceptions)) continue;
      EXPECT_EQ(Field(ours.extension, prefixes), Field(peer.extension, prefixes))
          << entry.file << " " << prefixes[0];
    }
  }
  EXPECT_GT(compared, 1100);
}

}  // namespace

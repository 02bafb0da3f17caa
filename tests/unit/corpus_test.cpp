// The real EDIDs of tests/corpus/, each check a test of its own over the
// whole corpus (read, decoded and run through edid-decode once per process):
// decoding (traces on) as the manifest predicts; Debian's edid-decode reading
// them as this library does; the televisions through the encoder and back; the
// tool reading each in every input form alike; and composition with the sample
// configuration (examples/platform.toml), whose result both decoders read and
// in which edid-decode --check finds nothing but what the fixed shape of a
// composed EDID always gives (tests/data/check_failures.txt). The televisions'
// results are summarised in tests/golden/compose_televisions.txt.
#include <cmath>
#include <deque>
#include <tuple>

#include "edc_test.h"
#include "edid_composer.h"
#include "edid_input.h"
#include "typed_list.h"
#include "utility.h"

#if __has_include(<valgrind/valgrind.h>)
#include <valgrind/valgrind.h>
#else
#define RUNNING_ON_VALGRIND 0
#endif

using namespace edc_test;  // NOLINT: corpus, record and line helpers throughout

namespace {

// The manifest reasons that make each decoder give up.
const char *const kBaseRefusals = "version base_descriptor_byte2_4_set";
const char *const kExtensionRefusals =
    "block_map_first first_ext_not_cea cea_revision ext_checksum dtd_offset_gt110 dbc_overrun";

// A corpus EDID decoded: block 0, then the extensions when it has any.
struct Decoded {
  PreparedEdid record;
  uint8_t base = 0, extension = 0;
  int32_t base_dtds = 0;  // the detailed timings that block 0 gave
  std::string printed;
};

// Every corpus EDID decoded with traces on (they too must not fail on real
// data), in the corpus's order.
std::deque<Decoded> &Decodings() {
  static std::deque<Decoded> all;
  DebugOn debug;
  for (size_t i = all.size(); i < Corpus().size(); ++i) {
    const Bytes &bytes = Corpus()[i].bytes;
    Decoded &d = all.emplace_back();
    if (bytes.size() < 128 || bytes.size() % 128 != 0) continue;
    d.printed = Capture([&] {
      d.base = decode_edid_block_0(bytes.data(), &d.record.edid);
      d.base_dtds = ll_size(&d.record.edid.dtd_list);
      if (bytes.size() > 128)
        d.extension = decode_edid_extensions(&bytes[128], static_cast<uint32_t>(bytes.size() - 128),
                                             &d.record.edid);
    });
  }
  return all;
}

// Cross-check with Debian's edid-decode, blocks 0 and 1 (only the first
// extension is ours to decode): each side as "name=value" lines, the
// deliberate differences explained where the lines are made.
using View = std::array<std::vector<std::string>, 2>;

// A detailed timing: size, clock in kHz, front porch, sync and blanking, H and V.
constexpr const char *kTiming = "dtd=%ux%u%s %ukHz h:%u,%u,%u v:%u,%u,%u";

const std::vector<Line> &PeerRows() {  // tests/data/peer.tsv
  static const auto rows = ReadRows("peer.tsv");
  return rows;
}

// The peer's name for an audio format or speaker code, or the code of a
// name ("audio", "Linear PCM", true -> "1").
std::string PeerName(const std::string &kind, const std::string &key, bool code = false) {
  for (const auto &row : PeerRows())
    if (row[0] == kind && row[code ? 2 : 1] == key) return row[code ? 1 : 2];
  return "unknown";
}

// The names of the bits set in mask, highest first, as the peer lists rates and sizes.
std::string BitNames(uint32_t mask, const std::vector<const char *> &names) {
  std::string text;
  for (size_t bit = names.size(); bit-- > 0;)
    if (mask >> bit & 1) text += (text.empty() ? "" : " ") + std::string(names[bit]);
  return text;
}

View ParsePeer(const std::string &text) {
  // A timing's three lines joined with '|': size, clock, porches, borders.
  static const std::regex dtd(
      R"(    DTD +\d+: +(\d+)x(\d+)(i?) [^|]* ([0-9.]+) MHz[^|]*)"
      R"(\| +Hfront +(\d+) Hsync +(\d+) Hback +(-?\d+)(?:[^|]*Hborder (\d+))?[^|]*)"
      R"(\| +Vfront +(\d+) Vsync +(\d+) Vback +(-?\d+)(?:[^|]*Vborder (\d+))?.*)");
  static const auto lines = [] {  // field, section, pattern
    std::vector<std::tuple<std::string, std::string, std::regex>> f;
    for (const auto &row : PeerRows())
      if (row[0] == "line") f.emplace_back(row[1], row[2], std::regex(row[3]));
    return f;
  }();
  const std::string audio = "Audio Data Block:";
  View v;
  int block = -1;
  std::string section;
  bool audio_fields = false;  // those of the current audio format are compared
  std::smatch m;
  std::istringstream in(text);
  for (std::string line, h, vl; std::getline(in, line);) {
    if (line.starts_with("Block ")) block = std::stoi(line.substr(6));
    if (block < 0 || block > 1) continue;
    if (line.size() > 2 && line[2] != ' ') section = line.substr(2);
    for (const auto &[name, in_section, pattern] : lines)
      if (section.starts_with(in_section) && (in_section != audio || audio_fields) &&
          std::regex_match(line, m, pattern))
        v[block].push_back(name + "=" + m[1].str() + m[2].str() + m[3].str());
    if (line.starts_with("    DTD ") && std::getline(in, h) && std::getline(in, vl)) {
      EXPECT_TRUE(std::regex_match(line += "|" + h + "|" + vl, m, dtd)) << line;
      const auto n = [&](int i) {
        return m[i].matched ? static_cast<uint32_t>(std::stoi(m[i])) : 0;
      };
      // The peer's back porch leaves out the borders on both sides.
      const bool interlaced = m[3] == "i";
      v[block].push_back(Format(kTiming, n(1), n(2) / (interlaced ? 2 : 1), interlaced ? "i" : "",
                                static_cast<uint32_t>(std::lround(std::stod(m[4]) * 1000)), n(5),
                                n(6), n(5) + n(6) + n(7) + 2 * n(8), n(9), n(10),
                                n(9) + n(10) + n(11) + 2 * n(12)));
    } else if (section == audio && line.starts_with("    ") && line[4] != ' ') {
      const std::string name = line.substr(4, line.size() - 4 - line.ends_with(":"));
      const std::string code = PeerName("audio", name, true);
      // Format code 0 is refused, so not kept; an extension type other than
      // 1-3 is kept as format 0. Extension types show the format only.
      audio_fields = code != "unknown" && std::stoi(code) <= 14;
      if (name != "Reserved (0x00)") v[block].push_back("sad=" + (code != "unknown" ? name : code));
    }
  }
  return v;
}

// The same lines from our record; base_dtds is the number of timings that
// the base block gave.
View ListOurs(edid_t &e, int32_t base_dtds) {
  View v;
  const auto add = [&](const char *name, const std::string &value, int block = 1) {
    v[block].push_back(name + ("=" + value));
  };
  add("version", std::to_string(e.version) + "." + std::to_string(e.revision), 0);
  add("manufacturer", e.manufacturer_id, 0);
  add("product", std::to_string(e.product_id), 0);
  if (e.serial != 0) add("serial", std::to_string(e.serial), 0);
  int32_t index = 0;
  for (const auto *t : edc::elements<detailed_timing_t>(&e.dtd_list))
    v[index++ < base_dtds ? 0 : 1].push_back(
        Format(kTiming, t->h_active, t->v_active, t->progressive ? "" : "i", t->pixel_clock / 1000,
               t->h_sync_offset, t->h_sync_width, t->h_blanking, t->v_sync_offset, t->v_sync_width,
               t->v_blanking));
  // Byte 0 is reserved: the peer prints nothing for it, this library keeps
  // an entry with VIC 0 (for which the composer finds no timing). VIC 193 and
  // up (CTA-861-F) come from bytes that this library reads as bit 7 native
  // and the VIC in bits 6-0, as CEA-861-D defines them.
  for (const auto *svd : edc::elements<short_video_desc_t>(&e.video_list))
    if (svd->vic != 0 || svd->native)
      add("svd", svd->native && svd->vic >= 65
                     ? std::to_string(svd->vic + 128)
                     : std::to_string(svd->vic) + (svd->native ? " (native)" : ""));
  for (const auto *sad : edc::elements<short_audio_desc_t>(&e.audio_list)) {
    const short_audio_desc_t &a = *sad;
    add("sad", PeerName("audio", std::to_string(a.format)));
    if (a.format == 0 || a.format > 14) continue;
    add("channels", std::to_string(a.channels));
    if (a.sample_rates != 0)
      add("rates", BitNames(a.sample_rates, {"32", "44.1", "48", "88.2", "96", "176.4", "192"}));
    if (a.format == 1 && a.bit_depths != 0)
      add("sizes", BitNames(a.bit_depths, {"16", "20", "24"}));
    if (a.format >= 2 && a.format <= 8) add("bitrate", std::to_string(a.max_bitrate) + " kb/s");
    // Formats 10 (E-AC-3) and 12 (MAT) keep the byte; the peer prints its bits' meanings.
    if (a.format == 9 || a.format == 11 || a.format == 13)
      add("value", Format("0x%02x", a.format_value));
    if (a.format == 14) add("profile", std::to_string(a.profile));
  }
  // Bits 7-5 of the third speaker byte are reserved; the peer names none of them.
  for (int bit = 0; bit < 21; ++bit)
    if (e.speaker[bit / 8] >> bit % 8 & 1) add("speaker", PeerName("speaker", std::to_string(bit)));
  if (!e.hdmi_vsdb_present) return v;
  const physical_address_t &p = e.address;
  add("address", Format("%u.%u.%u.%u", p.a, p.b, p.c, p.d));
  const std::pair<uint8_t, const char *> dc[] = {
      {e.dc_48bit, "48bit"}, {e.dc_36bit, "36bit"}, {e.dc_30bit, "30bit"}, {e.dc_y444, "Y444"}};
  for (const auto &[flag, name] : dc)
    if (flag) add("dc", name);
  if (e.max_tmds_clock) add("tmds", std::to_string(e.max_tmds_clock) + " MHz");
  for (int i = 0; i < e.hdmi_vic_len; ++i) add("hdmi_vic", std::to_string(e.hdmi_vic[i]));
  return v;
}

// The lines of the fields named ("sad channels"), in order.
std::vector<std::string> Field(const std::vector<std::string> &lines, const std::string &names) {
  std::vector<std::string> out;
  for (const auto &line : lines)
    if ((" " + names + " ").find(" " + line.substr(0, line.find('=')) + " ") != std::string::npos)
      out.push_back(line);
  return out;
}

// What the encoder copies, as record lines: every field but those it writes
// by its own rules, the first two timings but their stereo flags, which are
// not written, the standard timings, the VICs of the first 32 video formats
// and the first 10 audio formats.
std::string Copied(edid_t &e) {
  const std::string own_rules =
      " digital h_size_cm v_size_cm checksum num_extensions basic_audio ycbcr444 ycbcr422"
      " monitor_name monitor_serial monitor_data min_v_rate max_v_rate min_h_rate max_h_rate"
      " max_pixel_clock video_latency audio_latency interlaced_video_latency"
      " interlaced_audio_latency ";
  static const std::regex stereo(R"( \d+( \d+ \d+)$)");
  std::map<std::string, int> count;
  const std::map<std::string, int> kMax = {{"dtd", 2}, {"svd", 32}, {"sad", 10}};
  std::string text;
  for (auto line : RecordLines(&e)) {
    std::istringstream in(line);
    std::string key, native, vic;
    in >> key >> native >> vic;
    if (own_rules.find(" " + key + " ") != std::string::npos ||
        (kMax.count(key) && count[key]++ >= kMax.at(key)))
      continue;
    if (key == "dtd") line = std::regex_replace(line, stereo, " -$1");
    text += (key == "svd" ? "svd " + vic : line) + "\n";
  }
  return text;
}

// A decoded television through encode and decode: what the encoder copies
// comes back (what it writes by rules of its own codec_test.cpp checks byte
// by byte), and edid-decode reads both blocks with valid checksums.
void ExpectRoundTrip(edid_t &decoded, bool native_bit) {
  // Two timings, as the composer gives them; no format 0 (an unknown
  // extension type), which the encoder refuses. Without formats it writes
  // VIC 1 and LPCM 2 channels 32-48 kHz 16 and 24 bits.
  PreparedEdid given, back;
  int dtds = 0;
  for (const auto &line : RecordLines(&decoded))
    if ((!line.starts_with("dtd ") || ++dtds <= 2) && !line.starts_with("sad 0 "))
      ApplyRecordLine(line, &given.edid);
  if (ll_size(&given.edid.video_list) == 0) ApplyRecordLine("svd 0 1 0", &given.edid);
  if (ll_size(&given.edid.audio_list) == 0) ApplyRecordLine("sad 1 2 7 5 0 0 0", &given.edid);
  const std::string copied = Copied(given.edid);  // before the encoder rewrites parts of it
  platform_values_t platform{};
  platform.native_bit = native_bit;
  std::vector<uint8_t> out(256);
  uint8_t result = 0;
  const std::string printed =
      Capture([&] { result = encode_edid(out.data(), 256, &given.edid, nullptr, &platform); });
  ASSERT_EQ(result, 1) << printed;
  DecodeComposed(out, &back.edid);
  EXPECT_EQ(Copied(back.edid), copied);
  std::string octal;  // the bytes as printf(1) escapes
  for (uint8_t byte : out) octal += Format("\\%03o", byte);
  const std::string peer = RunCommand("printf '" + octal + "' | edid-decode -c -s --skip-sha 2>&1");
  EXPECT_THAT(peer, testing::HasSubstr("Block 1, CTA-861 Extension Block:"));
  EXPECT_THAT(peer, testing::Not(testing::ContainsRegex("Invalid checksum|[(]should be")));
}

TEST(Corpus, EveryEdidDecodesAsTheManifestSays) {
  for (size_t i = 0; i < Corpus().size(); ++i) {
    const CorpusEdid &c = Corpus()[i];
    const Decoded &d = Decodings()[i];
    SCOPED_TRACE(c.file);
    ASSERT_EQ(c.bytes.size(), 128u * c.blocks);
    EXPECT_EQ(d.base, c.FirstOdd(kBaseRefusals).empty());
    EXPECT_EQ(d.extension, c.blocks > 1 && c.FirstOdd(kExtensionRefusals).empty());
    EXPECT_EQ(d.printed.find(" BUG: "), std::string::npos);
  }
}

TEST(Corpus, EveryEdidReadsAsEdidDecodeReadsIt) {
  std::map<std::string, int> skipped;
  int compared = 0;
  for (size_t i = 0; i < Corpus().size(); ++i) {
    const CorpusEdid &c = Corpus()[i];
    Decoded &d = Decodings()[i];
    SCOPED_TRACE(c.file);
    const std::string &text = EdidDecodeTexts()[i];
    if (text.empty() || !d.base) {
      ++skipped[text.empty() ? "nothing compared: edid-decode crashes on it"
                             : "nothing compared, block 0 refused: " + c.FirstOdd(kBaseRefusals)];
      continue;
    }
    const View peer = ParsePeer(text), ours = ListOurs(d.record.edid, d.base_dtds);
    ++compared;
    EXPECT_EQ(ours[0], peer[0]);
    if (!d.extension) {
      ++skipped["block 1 not compared: " +
                (c.blocks == 1 ? "none" : c.FirstOdd(kExtensionRefusals))];
      continue;
    }
    // Extension timings: the peer stops at the first slot that holds no
    // timing; this library takes every slot from d while it ends before the
    // byte count given (so past padding, and with more blocks into the next
    // one). Its list must begin with the peer's and hold one timing for
    // every slot with a pixel clock; below offset 4 the slots start in the header.
    size_t slots_with_clock = 0;
    for (size_t at = 128 + c.bytes[128 + 2]; at + 18 < c.bytes.size(); at += 18)
      slots_with_clock += (c.bytes[at] | c.bytes[at + 1]) != 0;
    std::vector<std::string> dtds = Field(ours[1], "dtd"), peer_dtds = Field(peer[1], "dtd");
    EXPECT_EQ(dtds.size(), slots_with_clock);
    dtds.resize(std::min(dtds.size(), peer_dtds.size()));
    if (!c.FirstOdd("dtd_offset_lt4").empty()) peer_dtds = dtds;
    EXPECT_EQ(dtds, peer_dtds);
    // Block 1's other fields, in groups, each left out for an EDID that the
    // manifest gives one of the reasons that the table explains.
    for (const auto &row : PeerRows()) {
      if (row[0] != "compare") continue;
      const std::string reason = c.FirstOdd(row[2]);
      if (!reason.empty())
        ++skipped[row[1] + " not compared: " + reason];
      else
        EXPECT_EQ(Field(ours[1], row[1]), Field(peer[1], row[1])) << row[1];
    }
  }
  for (const auto &[reason, count] : skipped) printf("%4d EDIDs: %s\n", count, reason.c_str());
  printf("compared with edid-decode: %d EDIDs\n", compared);
  EXPECT_GT(compared, 1100);
}

TEST(Corpus, EveryTelevisionRoundTripsThroughTheEncoder) {
  DebugOn debug;  // the traces too must not fail on real data
  int televisions = 0;
  for (size_t i = 0; i < Corpus().size(); ++i) {
    edid_t &e = Decodings()[i].record.edid;
    SCOPED_TRACE(Corpus()[i].file);
    if (Decodings()[i].extension && e.hdmi_vsdb_present && ll_size(&e.dtd_list) >= 2)
      ExpectRoundTrip(e, ++televisions % 2);
  }
  printf("round trips: %d\n", televisions);
  EXPECT_GT(televisions, 600);
}

// Binary, xxd -p's hex and edid-decode's text (its hex dump, then the decoded text).
TEST(Corpus, TheToolReadsEveryEdidAlikeInEveryInputForm) {
  for (size_t i = 0; i < Corpus().size(); ++i) {
    const CorpusEdid &c = Corpus()[i];
    SCOPED_TRACE(c.file);
    const std::string xxd = XxdText(c.bytes), &peer = EdidDecodeTexts()[i];
    EXPECT_EQ(edc_tool::ParseEdid(c.bytes).bytes, c.bytes);
    EXPECT_EQ(edc_tool::ParseEdid({xxd.begin(), xxd.end()}).bytes, c.bytes);
    if (peer.empty()) continue;  // edid-decode crashes on it
    EXPECT_EQ(edc_tool::ParseEdid({peer.begin(), peer.end()}).bytes, c.bytes);
  }
}

// Composition -------------------------------------------------------------------------------------

// The kinds of failure that edid-decode --check reports (its failure lines,
// not their indented details).
std::set<std::string> CheckFailures(const std::string &report) {
  std::set<std::string> kinds;
  bool failures = false;
  for (const auto &line : SplitLines(report)) {
    if (line.starts_with("Failures:") || line.starts_with("EDID conformity"))
      failures = line.starts_with("Failures:");
    else if (failures && line.starts_with("  ") && !line.starts_with("    "))
      kinds.insert(std::regex_replace(line.substr(2), std::regex("[0-9]+(\\.[0-9]+)?"), "N"));
  }
  return kinds;
}

// One television's composed EDID, as decoded here, in two lines.
std::string Summary(const std::string &file, edid_t &e) {
  std::string vics;
  for (int i = 0; i < e.hdmi_vic_len && i < 7; ++i) vics += " " + std::to_string(e.hdmi_vic[i]);
  return Format("%-24s v %s |", file.c_str(), Text(&e.video_list).c_str()) + " 4k" +
         (vics.empty() ? " -" : vics) +
         Format(
             " | pa %d.%d.%d.%d tmds %u lat %u %u %u %u 3d %d dc %d%d%d ai %d cnc %d%d%d%d xv "
             "%d%d\n",
             e.address.a, e.address.b, e.address.c, e.address.d, e.max_tmds_clock, e.video_latency,
             e.audio_latency, e.interlaced_video_latency, e.interlaced_audio_latency, e.present_3d,
             e.dc_30bit, e.dc_36bit, e.dc_y444, e.supports_ai, e.cnc0, e.cnc1, e.cnc2, e.cnc3,
             e.xvycc601, e.xvycc709) +
         "    a " + Text(&e.audio_list) + "\n";
}

TEST(ComposeCorpus, EveryEdidComposesIntoOneThatBothDecodersReadAndEdidDecodeAccepts) {
  SampleConfig config;
  const size_t stride = RUNNING_ON_VALGRIND ? 15 : 1;  // valgrind: a sample
  const std::string folder = testing::TempDir() + "edc_composed_" + std::to_string(getpid());
  ASSERT_EQ(RunCommand("mkdir -p '" + folder + "' && echo ok"), "ok\n");
  std::string summaries =
      "# file, the selected video modes, 4Kx2K modes, address, TMDS clock, "
      "latencies, 3D, deep colour 30/36/y444, AI, content types, xvYCC\n"
      "# 601/709; then the audio formats (format channels rates depths "
      "rate value profile)\n";
  std::vector<const CorpusEdid *> composed;
  for (size_t n = 0; n < Corpus().size(); n += stride) {
    const CorpusEdid &entry = Corpus()[n];
    SCOPED_TRACE(entry.file);
    composer_cfg_t cfg = CorpusSettings();
    Bytes out(256);
    bool result = false;
    debug_enable(n % 10 == 0);  // the traces and the check decode, on a tenth
    const std::string printed = Capture([&] {
      result = compose_edid(entry.bytes.data(), static_cast<int32_t>(entry.bytes.size()),
                            out.data(), 256, &cfg);
    });
    debug_enable(false);
    ASSERT_TRUE(result) << printed;
    EXPECT_FALSE(std::regex_search(printed, std::regex(" BUG: |the new edid"))) << printed;
    PreparedEdid back;
    DecodeComposed(out, &back.edid);
    if (entry.file.starts_with("tv-") || entry.file.starts_with("hdmi3d-") ||
        entry.file.starts_with("multi-"))
      summaries += Summary(entry.file.substr(0, entry.file.size() - 4), back.edid);
    std::ofstream(folder + "/" + std::to_string(composed.size()) + ".bin", std::ios::binary)
        .write(reinterpret_cast<const char *>(out.data()), 256);
    composed.push_back(&entry);
  }

  std::map<std::string, int> failures;
  std::set<std::string> expected;  // tests/data/check_failures.txt
  for (const Line &line : ReadRows("check_failures.txt")) expected.insert(line.text);
  ASSERT_EQ(expected.size(), 7u);
  std::vector<std::string> files;  // one shell runs edid-decode --check on each
  for (size_t i = 0; i < composed.size(); ++i) files.push_back(std::to_string(i) + ".bin");
  const auto reports = RunForEach(folder, files, "edid-decode --check \"$f\" 2>/dev/null");
  for (size_t i = 0; i < composed.size(); ++i) {
    SCOPED_TRACE(composed[i]->file);
    const std::string &report = reports[i];
    EXPECT_NE(report.find("Block 1, CTA-861 Extension Block:"), std::string::npos) << report;
    EXPECT_FALSE(std::regex_search(report, std::regex("Invalid checksum|[(]should be"))) << report;
    for (const auto &kind : CheckFailures(report)) {
      ++failures[kind];
      EXPECT_TRUE(expected.contains(kind)) << "edid-decode --check: " << kind;
    }
  }
  RunCommand("rm -rf '" + folder + "'");
  printf("composed %zu EDIDs; EDIDs per kind of edid-decode --check failure:\n", composed.size());
  for (const auto &[kind, count] : failures) printf("%5d %s\n", count, kind.c_str());
  if (stride == 1) ExpectGolden("compose_televisions.txt", summaries);
}

}  // namespace

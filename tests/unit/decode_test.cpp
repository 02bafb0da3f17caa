// Decoding: the record's lifecycle; hand-built base blocks and CEA
// extensions for the corners that real displays rarely show
// (tests/data/decode_*.txt, their transcripts in tests/golden/decode_*.txt);
// short audio descriptors (tests/data/short_audio.tsv); and every EDID of the
// real corpus, debug traces on: no crash, leak or bug report, each decoder
// succeeding exactly when the manifest says its part is well formed, and
// every field that Debian's edid-decode defines the same way agreeing with
// it (both sides as "name=value" lines; the deliberate differences are noted
// where the lines are made, the EDIDs left out counted with their reason).
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <regex>
#include <sstream>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"
#include "edid_input.h"
#include "golden.h"
#include "tool_runner.h"

using namespace edc_test;  // NOLINT: record and line helpers throughout

namespace {

ll_list_t edid_t::*const kLists[] = {&edid_t::std_timings, &edid_t::dtd_list, &edid_t::video_list,
                                     &edid_t::audio_list};
const char *const kListTypes[] = {"std_timing_t", "detailed_timing_t", "short_video_desc_t",
                                  "short_audio_desc_t"};

// "== what", the lines printed, "-> result", then the record's fields that
// are not zero and its elements.
std::string Scene(const std::string &what, edid_t &edid, const std::function<int()> &fn) {
  int result = 0;
  std::string out = "== " + what + "\n";
  for (const auto &line : Lines([&] { result = fn(); })) out += line + "\n";
  out += "-> " + std::to_string(result) + "\n";
  for (const auto &line : RecordLines(&edid, true)) out += line + "\n";
  return out;
}

struct Scenario {  // see tests/data/decode_base.txt
  std::string title, decoder;
  Bytes bytes;
  size_t size = SIZE_MAX;
  bool null_block = false, null_record = false, twice = false, debug = false;
  int unprepared = -1;
};
struct Scenarios {
  std::map<std::string, Bytes> defined;
  std::vector<Scenario> all;
};

Scenarios ReadScenarios(const std::string &name) {
  Scenarios s;
  Bytes *bytes = nullptr;  // those of the block being defined or of the scenario
  for (const auto &row : ReadTable(name)) {
    std::istringstream in(row[0]);
    std::string key, arg;
    in >> key;
    if (key.back() == ':') {
      size_t at = std::stoul(key, nullptr, 16);
      for (std::string hex; in >> hex && hex[0] != '#'; ++at) {
        bytes->resize(std::max(bytes->size(), at + 1));
        (*bytes)[at] = static_cast<uint8_t>(std::stoul(hex, nullptr, 16));
      }
      continue;
    }
    in >> arg;
    if (key == "define") {
      bytes = &s.defined[arg];
    } else if (key == "==") {
      s.all.emplace_back().title = row[0].substr(3);
      bytes = &s.all.back().bytes;
    } else if (key == "from") {
      *bytes = s.defined.at(arg);
    } else if (key == "sum") {
      FixChecksum(*bytes, std::stoul(arg, nullptr, 16));
    } else if (key == "size") {
      s.all.back().size = std::stoul(arg);
    } else if (key == "unprepared") {
      s.all.back().unprepared = std::stoi(arg);
    } else if (key == "null" || key == "twice" || key == "debug") {
      Scenario &c = s.all.back();
      (key == "twice"   ? c.twice
       : key == "debug" ? c.debug
       : arg == "block" ? c.null_block
                        : c.null_record) = true;
    } else {
      EXPECT_TRUE(key == "base" || key == "extension" || key == "vendor") << row[0];
      s.all.back().decoder = key;
    }
  }
  return s;
}

std::string RunScenario(const Scenario &s) {
  PreparedEdid r;
  std::optional<DebugOn> debug;
  if (s.debug) debug.emplace();
  const size_t size = std::min(s.size, s.bytes.size());
  auto copy = std::make_unique<uint8_t[]>(size + 1);
  memcpy(copy.get(), s.bytes.data(), size);
  const uint8_t *block = s.null_block ? nullptr : copy.get();
  edid_t *edid = s.null_record ? nullptr : &r.edid;
  ll_list_t saved{};
  if (s.unprepared >= 0) std::swap(saved, r.edid.*kLists[s.unprepared]);
  std::string out = Scene(s.title, r.edid, [&] {
    int result = 0;
    for (int n = s.twice ? 2 : 1; n > 0; --n)
      result += s.decoder == "base"        ? decode_edid_block_0(block, edid)
                : s.decoder == "extension" ? decode_edid_extensions(block, size, edid)
                                           : _decode_edid_vendor_block(block, edid);
    return result;
  });
  if (s.unprepared >= 0) std::swap(saved, r.edid.*kLists[s.unprepared]);
  return out;
}

TEST(Decode, HandBuiltBlocksGiveTheirTranscripts) {
  for (const std::string name : {"decode_base.txt", "decode_extension.txt"}) {
    std::string out = "# tests/data/" + name + ": == scenario, lines, -> result, the record\n";
    const Scenarios scenarios = ReadScenarios(name);
    EXPECT_GT(scenarios.all.size(), 15u);
    for (const Scenario &s : scenarios.all) out += RunScenario(s);
    ExpectGolden(name, out);
  }
}

TEST(EdidRecord, PrepareZeroesAndDestroyRefusesAtTheFirstUninitialisedList) {
  edid_t edid, zero;
  memset(&edid, 0xA5, sizeof edid);
  memset(&zero, 0, sizeof zero);
  ASSERT_EQ(edid_prepare(&edid), 1);
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(ll_verify_list_type(&(edid.*kLists[i]), kListTypes[i]), 1) << kListTypes[i];
    zero.*kLists[i] = edid.*kLists[i];  // the heads are all that is set
  }
  EXPECT_EQ(memcmp(&zero, &edid, sizeof edid), 0);
  std::string out = "# == which list is broken, what edid_destroy printed, -> result, the record\n";
  for (int broken = 0; broken < 4; ++broken) {
    (edid.*kLists[broken]).magic = 0;
    out += Scene(kListTypes[broken], edid, [&] { return edid_destroy(&edid); });
    for (int i = 0; i < 4; ++i) EXPECT_EQ(ll_is_initialized(&(edid.*kLists[i])), i != broken);
    ll_init(&(edid.*kLists[broken]), kListTypes[broken]);
  }
  const Bytes block = ReadScenarios("decode_base.txt").defined.at("base");
  ASSERT_EQ(decode_edid_block_0(block.data(), &edid), 1);
  out += Scene("decoded, destroyed", edid, [&] { return edid_destroy(&edid); });
  out += Scene("destroyed again", edid, [&] { return edid_destroy(&edid); });
  ASSERT_EQ(edid_prepare(&edid), 1);
  out += Scene("prepared, decoded and destroyed again", edid,
               [&] { return decode_edid_block_0(block.data(), &edid) + edid_destroy(&edid); });
  ExpectGolden("decode_record.txt", out);
}

TEST(ShortAudio, FillsOnlyTheFieldOfItsFormat) {
  for (const auto &row : ReadTable("short_audio.tsv")) {
    short_audio_desc_t a;
    memset(&a, 0xEE, sizeof a);
    const bool null = row[0] == "NULL";
    uint8_t result = 9;
    const auto lines = Lines([&] {
      result =
          decode_edid_short_audio(null ? 9 : std::stoul(row[0], nullptr, 16), 0xFF,
                                  null ? 0 : std::stoul(row[1], nullptr, 16), null ? nullptr : &a);
    });
    std::ostringstream got;
    got << +result;
    if (!null)
      got << " " << a.format << " " << a.channels << " " << a.sample_rates << " " << a.bit_depths
          << " " << a.max_bitrate << " " << a.format_value << " " << a.profile;
    EXPECT_EQ(got.str(), row[2]) << row[0] << " " << row[1];
    EXPECT_EQ(lines, std::vector<std::string>(row.begin() + 3, row.end())) << row[0];
  }
}

// ---------------------------------------------------------------------------
// Cross-check with Debian's edid-decode, blocks 0 and 1 (only the first
// extension is ours to decode), each side as "name=value" lines.
using View = std::array<std::vector<std::string>, 2>;

std::string TimingLine(uint32_t w, uint32_t h, bool interlaced, uint32_t khz, uint32_t hfront,
                       uint32_t hsync, uint32_t hblank, uint32_t vfront, uint32_t vsync,
                       uint32_t vblank) {
  char text[128];
  snprintf(text, sizeof text, "dtd=%ux%u%s %ukHz h:%u,%u,%u v:%u,%u,%u", w, h,
           interlaced ? "i" : "", khz, hfront, hsync, hblank, vfront, vsync, vblank);
  return text;
}

// The peer's names for audio formats and speakers (tests/data/peer_names.tsv),
// both ways: "audio 1" -> "Linear PCM" and "audio Linear PCM" -> "1".
std::string PeerName(const std::string &key) {
  static const auto names = [] {
    std::map<std::string, std::string> m;
    for (const auto &row : ReadTable("peer_names.tsv"))
      m[row[0] + " " + row[1]] = row[2], m[row[0] + " " + row[2]] = row[1];
    return m;
  }();
  const auto it = names.find(key);
  return it == names.end() ? "unknown" : it->second;
}

// The names of the bits set in mask, highest first, as the peer lists rates and sizes.
std::string BitNames(uint32_t mask, const std::vector<const char *> &names) {
  std::string text;
  for (size_t bit = names.size(); bit-- > 0;)
    if (mask >> bit & 1) text += (text.empty() ? "" : " ") + std::string(names[bit]);
  return text;
}

View ParsePeer(const std::string &text) {
  static const std::regex dtd(R"(^    DTD +\d+: +(\d+)x(\d+)(i?) .* ([0-9.]+) MHz)");
  static const std::regex porch(R"(^ +[HV]front +(\d+) [HV]sync +(\d+) [HV]back +(-?\d+))");
  static const std::regex border(R"([HV]border (\d+))");
  static const std::regex vic(R"(    (?:VIC +(\d+):.*?( \(native\))?|Unknown \(VIC (\d+)\).*))");
  const char *const kIdentity = "Vendor & Product Identification:", *kAudio = "Audio Data Block:",
                    *kHdmi = "Vendor-Specific Data Block (HDMI)";
  static const struct {
    const char *section, *name;
    std::regex value;  // the whole line; the value is its first group
  } kFields[] = {
      {kIdentity, "manufacturer", std::regex("    Manufacturer: (.*)")},
      {kIdentity, "product", std::regex("    Model: (.*)")},
      {kIdentity, "serial", std::regex("    Serial Number: (.*)")},
      {kAudio, "channels", std::regex("      Max channels: (.*)")},
      {kAudio, "rates", std::regex(R"(      Supported sample rates \(kHz\): (.+))")},
      {kAudio, "sizes", std::regex(R"(      Supported sample sizes \(bits\): (.+))")},
      {kAudio, "bitrate", std::regex("      Maximum bit rate: (.*)")},
      {kAudio, "value", std::regex("      Audio Format Code dependent value: (.*)")},
      {kAudio, "profile", std::regex("      Profile: (.*)")},
      {"Speaker Allocation Data Block:", "speaker", std::regex(R"(    (\S+) - .*)")},
      {kHdmi, "address", std::regex("    Source physical address: (.*)")},
      {kHdmi, "dc", std::regex("    DC_(.*)")},
      // A clock byte of 0 means none given; the record holds 0.
      {kHdmi, "tmds", std::regex("    Maximum TMDS clock: ([1-9].*)")},
      {kHdmi, "hdmi_vic", std::regex(R"( +(?:HDMI VIC |Unknown \(HDMI VIC )(\d+).*)")},
  };
  View v;
  int block = -1;
  std::string section;
  bool audio_fields = false;  // those of the current audio format are compared
  std::smatch m;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line.starts_with("Block ")) block = std::stoi(line.substr(6));
    if (block < 0 || block > 1) continue;
    auto &out = v[block];
    if (line.starts_with("  EDID Structure Version & Revision: ")) {
      out.push_back("version=" + line.substr(37));
    } else if (line.size() > 2 && line[2] != ' ') {
      section = line.substr(2);
    } else if (std::regex_search(line, m, dtd)) {
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
      out.push_back(TimingLine(n(m[1]), n(m[2]) / (interlaced ? 2 : 1), interlaced, khz, n(hm[1]),
                               n(hm[2]), n(hm[1]) + n(hm[2]) + n(hm[3]) + 2 * h_border, n(vm[1]),
                               n(vm[2]), n(vm[1]) + n(vm[2]) + n(vm[3]) + 2 * v_border));
    } else if (section == "Video Data Block:" && std::regex_match(line, m, vic)) {
      // VIC 193 and up (CTA-861-F) come from bytes that this library reads
      // as bit 7 native and the VIC in bits 6-0, as CEA-861-D defines them.
      const int code = std::stoi(m[1].matched ? m[1] : m[3]);
      const bool native = m[2].matched || code >= 193;
      out.push_back("svd=" + std::to_string(code >= 193 ? code - 128 : code) +
                    (native ? " native" : ""));
    } else if (section == kAudio && line.size() > 4 && line[4] != ' ') {
      const std::string name = line.substr(4, line.size() - 4 - line.ends_with(":"));
      const std::string code = PeerName("audio " + name);
      // Format code 0 is refused, so not kept; any extension type other than
      // 1-3 is kept as format 0, with no fields (as are 1-3).
      audio_fields = code != "unknown" && std::stoi(code) <= 14;
      if (name != "Reserved (0x00)") out.push_back("sad=" + (code != "unknown" ? name : code));
    } else {
      for (const auto &f : kFields)
        if (section.starts_with(f.section) && (f.section != kAudio || audio_fields) &&
            std::regex_match(line, m, f.value))
          out.push_back(std::string(f.name) + "=" + m[1].str());
    }
  }
  return v;
}

// The same lines from our record; base_dtds is the number of timings that
// the base block gave.
View ListOurs(edid_t &e, int32_t base_dtds) {
  View v;
  v[0] = {"version=" + std::to_string(e.version) + "." + std::to_string(e.revision),
          std::string("manufacturer=") + e.manufacturer_id,
          "product=" + std::to_string(e.product_id)};
  if (e.serial != 0) v[0].push_back("serial=" + std::to_string(e.serial));
  int32_t index = 0;
  for (const auto &t : Elements<detailed_timing_t>(&e.dtd_list))
    v[index++ < base_dtds ? 0 : 1].push_back(
        TimingLine(t.h_active, t.v_active, !t.progressive, t.pixel_clock / 1000, t.h_sync_offset,
                   t.h_sync_width, t.h_blanking, t.v_sync_offset, t.v_sync_width, t.v_blanking));
  auto &x = v[1];
  // Byte 0 is reserved: the peer prints nothing for it, this library keeps
  // an entry with VIC 0 (for which the composer finds no timing).
  for (const auto &svd : Elements<short_video_desc_t>(&e.video_list))
    if (svd.vic != 0 || svd.native)
      x.push_back("svd=" + std::to_string(svd.vic) + (svd.native ? " native" : ""));
  for (const auto &a : Elements<short_audio_desc_t>(&e.audio_list)) {
    x.push_back("sad=" + PeerName("audio " + std::to_string(a.format)));
    if (a.format == 0 || a.format > 14) continue;  // extension types: the format only
    x.push_back("channels=" + std::to_string(a.channels));
    if (a.sample_rates != 0)
      x.push_back("rates=" +
                  BitNames(a.sample_rates, {"32", "44.1", "48", "88.2", "96", "176.4", "192"}));
    if (a.format == 1 && a.bit_depths != 0)
      x.push_back("sizes=" + BitNames(a.bit_depths, {"16", "20", "24"}));
    if (a.format >= 2 && a.format <= 8)
      x.push_back("bitrate=" + std::to_string(a.max_bitrate) + " kb/s");
    // Formats 10 (E-AC-3) and 12 (MAT) keep the byte; the peer prints its bits' meanings.
    char value[8];
    snprintf(value, sizeof value, "0x%02x", a.format_value);
    if (a.format == 9 || a.format == 11 || a.format == 13)
      x.push_back(std::string("value=") + value);
    if (a.format == 14) x.push_back("profile=" + std::to_string(a.profile));
  }
  // Bits 7-5 of the third speaker byte are reserved; the peer names none of them.
  for (int bit = 0; bit < 21; ++bit)
    if (e.speaker[bit / 8] >> bit % 8 & 1)
      x.push_back("speaker=" + PeerName("speaker " + std::to_string(bit)));
  if (e.hdmi_vsdb_present) {
    const physical_address_t &p = e.address;
    x.push_back("address=" + std::to_string(p.a) + "." + std::to_string(p.b) + "." +
                std::to_string(p.c) + "." + std::to_string(p.d));
    const std::pair<uint8_t, const char *> dc[] = {
        {e.dc_48bit, "48bit"}, {e.dc_36bit, "36bit"}, {e.dc_30bit, "30bit"}, {e.dc_y444, "Y444"}};
    for (const auto &[flag, name] : dc)
      if (flag) x.push_back(std::string("dc=") + name);
    if (e.max_tmds_clock) x.push_back("tmds=" + std::to_string(e.max_tmds_clock) + " MHz");
    for (int i = 0; i < e.hdmi_vic_len; ++i)
      x.push_back("hdmi_vic=" + std::to_string(e.hdmi_vic[i]));
  }
  return v;
}

// The lines of the fields named, in order.
std::vector<std::string> Field(const std::vector<std::string> &lines,
                               const std::vector<const char *> &names) {
  std::vector<std::string> out;
  for (const auto &line : lines)
    for (const char *name : names)
      if (line.starts_with(std::string(name) + "=")) out.push_back(line);
  return out;
}

TEST(Corpus, EveryEdidDecodesAsItsManifestPredictsAndAsEdidDecodeReadsIt) {
  DebugOn debug;  // the traces too must not fail on real data
  std::map<std::string, int> skipped;
  int compared = 0;
  for (const auto &entry : ReadCorpusManifest()) {
    SCOPED_TRACE(entry.file);
    const std::string path = CorpusDir() + "/edid/" + entry.file;
    const auto bytes = ReadFile(path);
    ASSERT_EQ(bytes.size(), 128u * entry.blocks);
    PreparedEdid record;
    uint8_t base = 0, extension = 0;
    int32_t base_dtds = 0;
    const std::string out = CaptureStdout([&] {
      base = decode_edid_block_0(bytes.data(), &record.edid);
      base_dtds = ll_size(&record.edid.dtd_list);
      if (entry.blocks > 1)
        extension = decode_edid_extensions(bytes.data() + 128,
                                           static_cast<uint32_t>(bytes.size() - 128), &record.edid);
    });
    const auto odd = [&](const std::vector<const char *> &reasons) {
      return std::any_of(reasons.begin(), reasons.end(), [&](auto r) { return entry.IsOdd(r); });
    };
    // The manifest reasons that make each decoder give up.
    EXPECT_EQ(base, !odd({"version", "base_descriptor_byte2_4_set"}));
    EXPECT_EQ(extension,
              entry.blocks > 1 && !odd({"block_map_first", "first_ext_not_cea", "cea_revision",
                                        "ext_checksum", "dtd_offset_gt110", "dbc_overrun"}));
    EXPECT_EQ(out.find(" BUG: "), std::string::npos);

    const std::string text = RunCommand("edid-decode '" + path + "' 2>/dev/null");
    const View peer = ParsePeer(text);
    if (peer[0].empty()) {
      ++skipped["edid-decode printed nothing (it crashes on this EDID)"];
      continue;
    }
    // The tool reads edid-decode's hex dump back (the rest is its decoded text).
    EXPECT_EQ(edc_tool::ParseEdid({text.begin(), text.end()}).bytes, bytes);
    if (!base) {
      ++skipped["base block refused (version or malformed descriptor): nothing is ours"];
      continue;
    }
    ++compared;
    const View ours = ListOurs(record.edid, base_dtds);
    EXPECT_EQ(ours[0], peer[0]);
    if (!extension) {
      ++skipped[entry.blocks > 1 ? "extension refused: base block compared only"
                                 : "(base block only)"];
      continue;
    }
    // Extension timings: the peer stops at the first slot that holds no
    // timing; this library takes every slot from d while it ends before the
    // byte count given (so past padding, and with more blocks into the next
    // one). Its list must begin with the peer's and hold one timing for
    // every slot with a pixel clock.
    size_t slots_with_clock = 0;
    for (size_t at = 128 + bytes[128 + 2]; at + 18 < bytes.size(); at += 18)
      slots_with_clock += (bytes[at] | bytes[at + 1]) != 0;
    std::vector<std::string> dtds = Field(ours[1], {"dtd"});
    const std::vector<std::string> peer_dtds = Field(peer[1], {"dtd"});
    EXPECT_EQ(dtds.size(), slots_with_clock);
    dtds.resize(std::min(dtds.size(), peer_dtds.size()));
    if (!entry.IsOdd("dtd_offset_lt4")) {  // below 4 the slots start in the header
      EXPECT_EQ(dtds, peer_dtds);
    }
    const std::pair<std::vector<const char *>, std::vector<const char *>> fields[] = {
        {{"svd"}, {}},
        // A length that is not a multiple of 3 takes the last descriptor's
        // missing bytes from what follows the block.
        {{"sad", "channels", "rates", "sizes", "bitrate", "value", "profile"},
         {"audio_len_not_3n"}},
        // Only a speaker block of exactly three bytes is kept.
        {{"speaker"}, {"speaker_len_not_3"}},
        // A second HDMI block overwrites only the fields it carries; a short one is refused.
        {{"address", "dc", "tmds"}, {"hdmi_vsdb_twice", "hdmi_vsdb_short"}},
        // HDMI VICs are read as far as HDMI_VIC_LEN says, past the block's length.
        {{"hdmi_vic"}, {"hdmi_vsdb_twice", "hdmi_vsdb_fields_overrun"}},
    };
    for (const auto &[names, exceptions] : fields) {
      const auto exception = std::find_if(exceptions.begin(), exceptions.end(),
                                          [&](const char *reason) { return entry.IsOdd(reason); });
      if (exception != exceptions.end())
        ++skipped[std::string(names[0]) + " not compared: " + *exception];
      else
        EXPECT_EQ(Field(ours[1], names), Field(peer[1], names)) << names[0];
    }
  }
  for (const auto &[reason, count] : skipped) printf("skipped %4d: %s\n", count, reason.c_str());
  printf("compared %d EDIDs with edid-decode\n", compared);
  EXPECT_GT(compared, 1100);
}

}  // namespace

// Decoding: the EDID record's lifecycle; hand-built base blocks and CEA
// extensions for the corners that real displays rarely show, each scenario's
// lines and resulting record compared with tests/golden/decode_*.txt; short
// audio descriptors (tests/data/short_audio.tsv); and every EDID of the real
// corpus, debug traces on: no crash, leak or bug report, each decoder
// succeeding exactly when the manifest says its part is well formed, and the
// fields that Debian's edid-decode defines the same way agreeing with it (both
// sides turned into "name=value" lines: the base block's identity, the
// timings and the video formats; the deliberate differences are noted where
// the lines are made).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <regex>
#include <sstream>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"
#include "golden.h"

using namespace edc_test;  // NOLINT: builders and line helpers throughout

namespace {

// "== what", the lines printed, "-> result", then the record.
std::string Scene(const std::string &what, edid_t &edid, const std::function<int()> &fn) {
  int result = 0;
  std::string out = "== " + what + "\n";
  for (const auto &line : Lines([&] { result = fn(); })) out += line + "\n";
  out += "-> " + std::to_string(result) + "\n";
  for (const auto &line : RecordLines(&edid, true)) out += line + "\n";
  return out;
}

// A decoder run on a fresh record and a heap copy of exactly size bytes (all
// of them by default), so that AddressSanitizer sees any overread.
enum Decoder { kBase, kExt, kVsdb };
std::string Decoded(const std::string &what, const Bytes &bytes, Decoder decoder,
                    size_t size = SIZE_MAX) {
  size = std::min(size, bytes.size());
  PreparedEdid r;
  auto copy = std::make_unique<uint8_t[]>(size + 1);
  memcpy(copy.get(), bytes.data(), size);
  return Scene(what, r.edid, [&] {
    return decoder == kBase  ? decode_edid_block_0(copy.get(), &r.edid)
           : decoder == kExt ? decode_edid_extensions(copy.get(), size, &r.edid)
                             : _decode_edid_vendor_block(copy.get(), &r.edid);
  });
}

ll_list_t edid_t::*const kLists[] = {&edid_t::std_timings, &edid_t::dtd_list, &edid_t::video_list,
                                     &edid_t::audio_list};

TEST(EdidRecord, PrepareZeroesAndDestroyRefusesAtTheFirstUninitialisedList) {
  edid_t edid, zero;
  memset(&edid, 0xA5, sizeof edid);
  memset(&zero, 0, sizeof zero);
  ASSERT_EQ(edid_prepare(&edid), 1);
  const char *types[] = {"std_timing_t", "detailed_timing_t", "short_video_desc_t",
                         "short_audio_desc_t"};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(ll_verify_list_type(&(edid.*kLists[i]), types[i]), 1) << types[i];
    EXPECT_EQ(ll_size(&(edid.*kLists[i])), 0);
    zero.*kLists[i] = edid.*kLists[i];  // the heads are all that is set
  }
  EXPECT_EQ(memcmp(&zero, &edid, sizeof edid), 0);
  std::string out = "# == which list is broken, what edid_destroy printed, -> result, the record\n";
  for (int broken = 0; broken < 4; ++broken) {
    (edid.*kLists[broken]).magic = 0;
    out += Scene(types[broken], edid, [&] { return edid_destroy(&edid); });
    for (int i = 0; i < 4; ++i) EXPECT_EQ(ll_is_initialized(&(edid.*kLists[i])), i != broken);
    ll_init(&(edid.*kLists[broken]), types[broken]);
  }
  const Bytes block = BaseBlock();
  ASSERT_EQ(decode_edid_block_0(block.data(), &edid), 1);
  out += Scene("decoded, destroyed", edid, [&] { return edid_destroy(&edid); });
  out += Scene("destroyed again", edid, [&] { return edid_destroy(&edid); });
  ASSERT_EQ(edid_prepare(&edid), 1);
  out += Scene("prepared, decoded and destroyed again", edid,
               [&] { return decode_edid_block_0(block.data(), &edid) + edid_destroy(&edid); });
  ExpectGolden("decode_record.txt", out);
}

TEST(DecodeBaseBlock, FieldsChecksAndDescriptors) {
  std::string out = "# == scenario, its lines (debug on), -> result, the fields not zero\n";
  DebugOn debug;
  BaseFields f;
  f.manufacturer = "GSM";
  f.product = 0x5B7F;
  f.serial = 0x01020304;
  f.features = 0xE7;
  // Low bits: red x 11, red y 10, green x 01, green y 00; blue and white the reverse.
  f.chromaticity = {0xE4, 0x1B, 0xA0, 0x54, 0x4C, 0x9A, 0x26, 0x0F, 0x50, 0x54};
  f.established_1 = 0x21;
  f.established_2 = 0x08;
  f.manufacturer_timings = 0x80;
  f.standard_timings = {
      {{0xD1, 0xC0}, {1, 1}, {0x81, 0x80}, {0x61, 0x4F}, {0, 0}, {1, 0}, {0xFF, 0x3F}, {1, 1}}};
  // Clock, H active/blanking, V active/blanking, H/V sync offset and width
  // (each beyond 8 bits or 4 bits), image size, borders, interlaced,
  // polarities +/-, stereo.
  f.descriptors = {Dtd({297000000, 3840, 560, 2160, 90, 1000, 600, 40, 50, 1872, 1053, 3, 2, true,
                        true, false, 2}),
                   RangeLimits(48, 62, 15, 70, 30), TextDescriptor(0xFC, "TV1"),
                   TextDescriptor(0xFF, "1234567890ABC")};
  f.extensions = 3;
  out += Decoded("every field", BaseBlock(f), kBase);
  BaseFields tags;
  tags.descriptors = {Dtd({.interlaced = true, .sync_type = 1}), DisplayDescriptor(0xFB),
                      DisplayDescriptor(0xFA), DisplayDescriptor(0xF7)};
  out += Decoded("analog sync and ignored tags", BaseBlock(tags), kBase);
  tags.descriptors = {TextDescriptor(0xFE, "a\nb"), DisplayDescriptor(0x00),
                      DisplayDescriptor(0x10), Cat({{0, 0, 7}, Bytes(15, 0)})};
  out += Decoded("data string, silent tags, clock 0 with byte 2 set", BaseBlock(tags), kBase);

  const Bytes good = BaseBlock();
  const std::pair<const char *, std::vector<std::pair<int, uint8_t>>> patches[] = {
      {"header byte 7 is 1", {{7, 1}}},
      {"checksum off by 0x10", {{127, 0xA2}}},
      {"version 1.2", {{19, 2}}},
      {"version 2.0", {{18, 2}, {19, 0}}},
      {"version 2.3", {{18, 2}}},
      {"version 1.4", {{19, 4}}},
      {"analog input", {{20, 0}}},
      {"manufacturer 0x00 0x00", {{8, 0}, {9, 0}}},
      {"descriptor 2 with byte 4 set", {{94, 10}}}};
  for (const auto &[what, patch] : patches) {
    Bytes block = good;
    for (const auto &[at, value] : patch) block[at] = value;
    if (patch[0].first != 127) FixChecksum(block);
    out += Decoded(what, block, kBase);
  }
  PreparedEdid r;
  out += Scene("NULL block", r.edid, [&] { return decode_edid_block_0(nullptr, nullptr); });
  out += Scene("NULL record", r.edid, [&] { return decode_edid_block_0(good.data(), nullptr); });
  for (const auto list : kLists) {
    const ll_list_t saved = r.edid.*list;
    (r.edid.*list).magic = 0;
    out += Scene("a list not initialised", r.edid,
                 [&] { return decode_edid_block_0(good.data(), &r.edid); });
    r.edid.*list = saved;
  }
  BaseFields twice;
  twice.standard_timings[3] = {0xD1, 0xC0};
  twice.descriptors[0] = Dtd({});
  const Bytes block = BaseBlock(twice);
  PreparedEdid doubled;
  out += Scene("decoded twice into one record", doubled.edid, [&] {
    return decode_edid_block_0(block.data(), &doubled.edid) +
           decode_edid_block_0(block.data(), &doubled.edid);
  });
  out += Scene("replace in NULL", r.edid, [] {
    _replace_all_chars(nullptr, 3, 'a', 'b');
    return 0;
  });
  ExpectGolden("decode_base.txt", out);
}

TEST(ShortAudio, FillsOnlyTheFieldOfItsFormat) {
  for (const auto &row : ReadTable("short_audio.tsv")) {
    short_audio_desc_t a;
    memset(&a, 0xEE, sizeof a);
    uint8_t result = 9;
    const auto lines = Lines([&] {
      result = decode_edid_short_audio(static_cast<uint8_t>(std::stoul(row[0], nullptr, 16)), 0xFF,
                                       static_cast<uint8_t>(std::stoul(row[1], nullptr, 16)), &a);
    });
    std::ostringstream got;
    got << +result << " " << a.format << " " << a.channels << " " << a.sample_rates << " "
        << a.bit_depths << " " << a.max_bitrate << " " << a.format_value << " " << a.profile;
    EXPECT_EQ(got.str(), row[2]) << row[0] << " " << row[1];
    EXPECT_EQ(lines, std::vector<std::string>(row.begin() + 3, row.end())) << row[0];
  }
}

TEST(DecodeExtension, HeaderTimingsDataBlocksAndTheHdmiBlock) {
  std::string out = "# == scenario, its lines, -> result, then the fields that are not zero\n";
  const Bytes good = CeaExtension({.support = 0xF0});  // bytes 0-3 sum to 0xF9: checksum 0x07
  const auto patched = [&](int at, uint8_t value, bool fix) {
    Bytes b = good;
    b[at] = value;
    if (fix) FixChecksum(b);
    return b;
  };
  out += Decoded("support flags", good, kExt);
  out += Decoded("tag 0x70", patched(0, 0x70, false), kExt);
  out += Decoded("no bytes", good, kExt, 0);
  out += Decoded("one byte", good, kExt, 1);
  out += Decoded("revision 1", patched(1, 1, false), kExt);
  out += Decoded("checksum off", patched(5, 1, false), kExt);
  out += Decoded("checksum byte not given", good, kExt, 127);
  out += Decoded("offset 111", patched(2, 111, true), kExt);
  PreparedEdid r;
  out += Scene("NULL block", r.edid, [] { return decode_edid_extensions(nullptr, 128, nullptr); });
  out += Scene("NULL record", r.edid,
               [&] { return decode_edid_extensions(good.data(), 128, nullptr); });

  const Bytes dtd = Dtd({});
  out += Decoded("offset 4, two timings", CeaExtension({.dtds = {dtd, dtd}}), kExt);
  out += Decoded("offset 91, the last slot", CeaExtension({.dtd_offset = 91, .dtds = {dtd}}), kExt);
  // A clock at byte 110: that slot would end in the checksum byte, so it is never read.
  out += Decoded("offset 110", CeaExtension({.dtd_offset = 110, .dtds = {{0x01, 0x1D}}}), kExt);
  out += Decoded("offset 110, 256 bytes given",
                 Cat({CeaExtension({.dtd_offset = 110}), dtd, Bytes(110)}), kExt);
  const Bytes video = DataBlock(2, {0x90, 4, 0x83});
  out += Decoded("a block ending at byte d - 1",
                 CeaExtension({.data_blocks = {video}, .dtd_offset = 8}), kExt);
  out += Decoded("a block one byte too long",
                 CeaExtension({.data_blocks = {DataBlock(2, {1}), video}, .dtd_offset = 9}), kExt);
  for (uint8_t d : {0, 1, 3})
    out += Decoded("offset " + std::to_string(d),
                   CeaExtension({.data_blocks = {video}, .dtd_offset = d}), kExt);
  // A 4-byte audio block takes its second descriptor's bytes 2 and 3 from the
  // next two headers; the empty extended block takes its code (5) and flags
  // (0x02) from the block after it.
  out += Decoded("short blocks read on",
                 CeaExtension({.data_blocks = {DataBlock(1, Cat({ShortAudio(1, 2, 7, 1), {0x11}})),
                                               DataBlock(7, {}), DataBlock(0, {2, 0, 0, 0, 0})}}),
                 kExt);
  for (const Bytes &block :
       {DataBlock(2, {3, 12, 0}), DataBlock(3, {3, 12}), DataBlock(3, {3, 12, 0, 0x12}),
        DataBlock(3, {3, 12, 0, 0x12, 0x34}), DataBlock(3, {3, 12, 0, 0x12, 0x34, 0x80}),
        DataBlock(3, {3, 12, 0, 0x12, 0x34, 0xF9, 60})})
    out += Decoded("length " + std::to_string(block.size() - 1), block, kVsdb);
  out += Decoded("latency 255 and 1", HdmiVsdb({.latency = std::pair(255, 1)}), kVsdb);
  out += Decoded("latencies 0, 21, then 41, 255",
                 HdmiVsdb({.latency = std::pair(0, 21), .interlaced_latency = std::pair(41, 255)}),
                 kVsdb);
  out +=
      Decoded("latencies 11, 6 and image size 2",
              HdmiVsdb({.latency = std::pair(11, 6), .hdmi_video = true, .image_size = 2}), kVsdb);
  Bytes block = HdmiVsdb({.hdmi_video = true, .image_size = 3});
  block[8] |= 0x40;  // without bit 7 nothing is read: the video byte is byte 9
  out += Decoded("interlaced latency flag alone", block, kVsdb);
  block = HdmiVsdb({.hdmi_video = true, .present_3d = true, .multi_3d = 2});
  block.back() = 0xFF;  // HDMI_VIC_LEN 7 and HDMI_3D_LEN 31, with no bytes behind them
  out += Decoded("lengths beyond the block", block, kVsdb);
  out += Scene("NULL block", r.edid, [] { return _decode_edid_vendor_block(nullptr, nullptr); });
  const uint8_t header = 0x60;
  out += Scene("NULL record", r.edid, [&] { return _decode_edid_vendor_block(&header, nullptr); });
  out +=
      Scene("short audio NULL", r.edid, [] { return decode_edid_short_audio(9, 0, 0, nullptr); });
  // 3D_MASK 0x0005 with FP for all; entries: format 3 of 3 (missing), format 5
  // with a detail byte (out of range), reserved structure 7, format 1 FA.
  out += Decoded("3D_Structure_ALL, 3D_MASK and entries",
                 CeaExtension({.data_blocks = {DataBlock(2, {1, 2, 3}),
                                               HdmiVsdb({.hdmi_video = true,
                                                         .present_3d = true,
                                                         .multi_3d = 2,
                                                         .fields_3d = {0x00, 0x01, 0x00, 0x05, 0x38,
                                                                       0x58, 0x24, 0x27, 0x11}})}}),
                 kExt);
  DebugOn debug;
  const Bytes audio =
      Cat({ShortAudio(1, 2, 7, 7), ShortAudio(0, 2, 7, 0), ShortAudio(2, 6, 7, 80)});
  out +=
      Decoded("every kind of block",
              CeaExtension({.data_blocks = {DataBlock(0, {1}), DataBlock(2, {0x90, 0x04}),
                                            DataBlock(1, audio), DataBlock(4, {0x4F, 1, 2}),
                                            DataBlock(3, {0xD8, 0x5D, 0xC4, 1}), DataBlock(5, {}),
                                            DataBlock(6, {9}), ExtendedBlock(5, {0x03, 0}),
                                            ExtendedBlock(0, {0x40}), DataBlock(4, {1, 2}),
                                            DataBlock(4, {1, 2, 3, 4})}}),
              kExt);
  // 3D_Structure_ALL bits 15, 6 and 0 for 17 formats; format 3 side-by-side
  // half with its detail byte; format 15 field alternative.
  Bytes svds;
  for (uint8_t vic = 1; vic <= 17; ++vic) svds.push_back(vic);
  out += Decoded(
      "3D_Structure_ALL for every format, 17 formats",
      CeaExtension({.data_blocks = {DataBlock(2, svds),
                                    HdmiVsdb({.hdmi_video = true,
                                              .present_3d = true,
                                              .multi_3d = 1,
                                              .hdmi_vics = {1, 0x83},
                                              .fields_3d = {0x80, 0x41, 0x38, 0x14, 0xF1}})}}),
      kExt);
  ExpectGolden("decode_extension.txt", out);
}

struct View {  // "name=value" lines
  std::vector<std::string> base, base_dtds, extension_dtds, svds;
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

std::string TimingLine(uint32_t w, uint32_t h, bool interlaced, uint32_t khz, uint32_t hfront,
                       uint32_t hsync, uint32_t hblank, uint32_t vfront, uint32_t vsync,
                       uint32_t vblank) {
  char text[128];
  snprintf(text, sizeof text, "dtd=%ux%u%s %ukHz h:%u,%u,%u v:%u,%u,%u", w, h,
           interlaced ? "i" : "", khz, hfront, hsync, hblank, vfront, vsync, vblank);
  return text;
}

// edid-decode's text, blocks 0 and 1 only (only the first extension is ours to decode).
View ParsePeer(const std::string &text) {
  static const std::regex dtd(R"(^    DTD +\d+: +(\d+)x(\d+)(i?) .* ([0-9.]+) MHz)");
  static const std::regex porch(R"(^ +[HV]front +(\d+) [HV]sync +(\d+) [HV]back +(-?\d+))");
  static const std::regex vic(R"(^    (?:VIC +(\d+):.*?( \(native\))?$|Unknown \(VIC (\d+)\)))");
  static const std::regex border(R"([HV]border (\d+))");
  View v;
  int block = -1;
  std::string section;
  const auto starts = [](const std::string &line, const char *prefix) {
    return line.rfind(prefix, 0) == 0;
  };
  std::smatch m;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (starts(line, "Block ")) block = std::stoi(line.substr(6));
    if (block < 0 || block > 1) continue;
    auto &out = block == 0 ? v.base : v.svds;
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
          .push_back(TimingLine(n(m[1]), n(m[2]) / (interlaced ? 2 : 1), interlaced, khz, n(hm[1]),
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
  for (const auto &t : Elements<detailed_timing_t>(&e.dtd_list))
    (index++ < base_dtds ? v.base_dtds : v.extension_dtds)
        .push_back(TimingLine(t.h_active, t.v_active, !t.progressive, t.pixel_clock / 1000,
                              t.h_sync_offset, t.h_sync_width, t.h_blanking, t.v_sync_offset,
                              t.v_sync_width, t.v_blanking));
  // Byte 0 is reserved: the peer prints nothing for it, this library keeps
  // an entry with VIC 0 (for which the composer finds no timing).
  for (const auto &svd : Elements<short_video_desc_t>(&e.video_list))
    if (svd.vic != 0 || svd.native)
      v.svds.push_back("svd=" + std::to_string(svd.vic) + (svd.native ? " native" : ""));
  return v;
}

TEST(Corpus, EveryEdidDecodesAsItsManifestPredictsAndAsEdidDecodeReadsIt) {
  DebugOn debug;  // the traces too must not fail on real data
  int compared = 0;
  for (const auto &entry : ReadCorpusManifest()) {
    const std::string path = CorpusDir() + "/edid/" + entry.file;
    const auto bytes = ReadFile(path);
    ASSERT_EQ(bytes.size(), 128u * entry.blocks) << entry.file;
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
    EXPECT_EQ(ours.svds, peer.svds) << entry.file;
  }
  EXPECT_GT(compared, 1100);
}

}  // namespace

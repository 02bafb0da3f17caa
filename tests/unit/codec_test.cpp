// The codec on hand-built blocks and records, for the corners that real
// displays rarely show: decoding (tests/data/decode_*.txt, transcripts in
// tests/golden/decode_*.txt), the record's lifecycle, and encode_edid case by
// case (tests/data/encode_cases.txt: bytes, lines and record worked out by hand).
// The real corpus and its round trip through the encoder are in corpus_test.cpp.
#include "edc_test.h"
#include "edid_decode_encode_internal.h"
#include "utility.h"

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

std::string RunScenario(const Scenario &s) {
  PreparedEdid r;
  DebugOn debug(s.Has("debug"));
  const size_t size = s.Has("size") ? std::stoul(s.Value("size")) : s.bytes.size();
  // Exactly the bytes given, so that AddressSanitizer sees any read beyond them.
  auto copy = std::make_unique<uint8_t[]>(size + 1);
  std::copy_n(s.bytes.begin(), size, copy.get());
  const uint8_t *block = s.Value("null") == "block" ? nullptr : copy.get();
  edid_t *edid = s.Value("null") == "record" ? nullptr : &r.edid;
  ll_list_t saved{}, *unprepared = &saved;
  if (s.Has("unprepared")) unprepared = &(r.edid.*kLists[std::stoi(s.Value("unprepared"))]);
  std::swap(saved, *unprepared);
  std::string out = Scene(s.title, r.edid, [&] {
    int result = 0;
    for (int n = s.Has("twice") ? 2 : 1; n > 0; --n)
      result += s.Value("decode") == "base"        ? decode_edid_block_0(block, edid)
                : s.Value("decode") == "extension" ? decode_edid_extensions(block, size, edid)
                                                   : _decode_edid_vendor_block(block, edid);
    return result;
  });
  std::swap(saved, *unprepared);
  return out;
}

TEST(Decode, HandBuiltBlocksGiveTheirTranscripts) {
  for (const std::string name : {"decode_base.txt", "decode_extension.txt"}) {
    std::string out = "# tests/data/" + name + ": == scenario, lines, -> result, the record\n";
    for (const Scenario &s : ReadScenarios(name))
      if (s.Has("decode")) out += RunScenario(s);
    ExpectGolden(name, out);
  }
}

TEST(EdidRecord, PrepareZeroesAndDestroyRefusesAtTheFirstUninitialisedList) {
  edid_t edid, zero{};
  memset(&edid, 0xA5, sizeof edid);
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
  const Bytes block = ReadScenarios("decode_base.txt").front().bytes;  // "base"
  ASSERT_EQ(decode_edid_block_0(block.data(), &edid), 1);
  out += Scene("decoded, destroyed", edid, [&] { return edid_destroy(&edid); });
  out += Scene("destroyed again", edid, [&] { return edid_destroy(&edid); });
  ASSERT_EQ(edid_prepare(&edid), 1);
  out += Scene("prepared, decoded and destroyed again", edid,
               [&] { return decode_edid_block_0(block.data(), &edid) + edid_destroy(&edid); });
  ExpectGolden("decode_record.txt", out);
}

// The given bytes as lines "\nAT: XX XX ...", one for each run of them or 16 bytes.
std::string Shown(const Bytes &bytes, const std::vector<bool> &given) {
  std::string text;
  for (size_t at = 0; at < given.size(); ++at)
    if (given[at])
      text += (at % 16 == 0 || !given[at - 1] ? Format("\n%02x:", at) : "") +
              Format(" %02X", bytes[at]);
  return text;
}

void RunCase(const Scenario &s) {
  PreparedEdid record;
  for (const Line &line : ReadRows("encode_record.txt"))
    ASSERT_TRUE(ApplyRecordLine(line.text, &record.edid)) << line.text;
  platform_values_t platform{}, *values = &platform;
  platform.native_bit = 1;
  Bytes buffer(512, 0xA5);
  uint8_t *blocks = buffer.data(), spa = 0, *spa_out = &spa;
  edid_t *edid = &record.edid;
  int32_t size = 256, result = 1;
  DebugOn debug(s.Has("debug"));
  std::vector<std::string> printed, want, have;
  std::string lists;  // those that "after" lines name
  for (const Line &line : s.lines) {
    if (ApplyRecordLine(line.text, &record.edid)) continue;
    const std::string key = line[0], value = line[1];
    const size_t gap = value.find(' ');
    if (key == "error" || key == "warning" || key == "bug" || key == "trace")
      printed.push_back(ExpectedLine(line.text));
    if (key == "native_bit" || key == "size" || key == "result")
      (key == "size" ? size : key == "result" ? result : platform.native_bit) = std::stoi(value);
    if (key == "after") want.push_back(value), lists += " " + value.substr(0, gap) + " ";
    if (line.text == "platform null") values = nullptr;
    if (line.text == "null blocks") blocks = nullptr;
    if (line.text == "null edid") edid = nullptr;
    if (line.text == "spa null") spa_out = nullptr;
  }
  EXPECT_EQ(Lines([&] { EXPECT_EQ(encode_edid(blocks, size, edid, spa_out, values), result); }),
            printed);
  if (s.Has("spa") && s.Value("spa") != "null") {
    EXPECT_EQ(std::to_string(spa), s.Value("spa"));
  }
  EXPECT_EQ(Shown(buffer, s.given), Shown(s.bytes, s.given));
  for (size_t i = 256; i < buffer.size(); ++i) ASSERT_EQ(buffer[i], 0xA5) << "byte " << i;
  for (size_t at = 0; result == 1 && at < 256; at += 128)
    EXPECT_EQ(std::accumulate(&buffer[at], &buffer[at + 128], 0) % 256, 0) << "block at " << at;
  for (const auto &line : RecordLines(&record.edid))
    if (lists.find(" " + line.substr(0, line.find(' ')) + " ") != std::string::npos)
      have.push_back(line);
  EXPECT_EQ(have, want);
}

TEST(Encode, EveryCaseGivesTheBytesLinesAndRecordWorkedOutByHand) {
  const auto cases = ReadScenarios("encode_cases.txt");
  EXPECT_GT(cases.size(), 50u);
  for (const Scenario &s : cases) {
    SCOPED_TRACE(s.title);
    RunCase(s);
  }
}

}  // namespace

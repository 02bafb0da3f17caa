// Decoding: the record's lifecycle, and hand-built blocks for the corners
// that real displays rarely show (tests/data/decode_*.txt, transcripts in
// tests/golden/decode_*.txt). The real corpus is in corpus_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <optional>

#include "capture.h"
#include "edid_decode_encode_internal.h"
#include "golden.h"
#include "records.h"
#include "scenario.h"

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
  std::optional<DebugOn> debug;
  if (s.Has("debug")) debug.emplace();
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

}  // namespace

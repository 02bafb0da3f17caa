// encode_edid case by case: tests/data/encode_cases.txt changes the fully
// filled record of tests/data/encode_record.txt and gives the result, bytes,
// lines and record expected, worked out by hand from the byte rules; the
// whole output of the full record is tests/golden/encode_full_record.hex.
// Then every television of the corpus through decode, encode and decode
// again: what the encoder copies comes back unchanged (what it writes by
// rules of its own is checked by the cases), and edid-decode reads both
// blocks with valid checksums.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <limits>
#include <map>
#include <optional>
#include <sstream>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"
#include "golden.h"
#include "tool_runner.h"
#include "utility.h"

using namespace edc_test;  // NOLINT: record and line helpers throughout

namespace {

// Compares bytes given as hex from offset at; "cs" (a checksum) is left to
// the sum check, "#" starts a comment. Returns the number of bytes given.
size_t ExpectBytes(const std::vector<uint8_t> &buffer, size_t at, const std::string &hex) {
  std::istringstream in(hex);
  size_t count = 0;
  for (std::string token; in >> token;) {
    if (token[0] == '#') {
      in.ignore(std::numeric_limits<std::streamsize>::max(), '\n');
      continue;
    }
    if (token != "cs") {
      EXPECT_EQ(buffer.at(at + count), std::stoul(token, nullptr, 16)) << "byte " << at + count;
    }
    ++count;
  }
  return count;
}

void RunCase(const std::vector<std::string> &lines) {
  PreparedEdid record;
  for (const auto &row : ReadTable("encode_record.txt"))
    ASSERT_TRUE(ApplyRecordLine(row[0], &record.edid)) << row[0];
  platform_values_t platform{}, *values = &platform;
  platform.native_bit = 1;
  std::vector<uint8_t> buffer(512, 0xA5);
  uint8_t *blocks = buffer.data(), spa = 0, *spa_out = &spa;
  edid_t *edid = &record.edid;
  int32_t size = 256, result = 1;
  std::optional<DebugOn> debug;
  std::vector<std::string> printed, checks;
  const std::map<std::string, decltype(&Error)> kinds = {
      {"error", Error}, {"warning", Warning}, {"bug", Bug}, {"trace", Trace}};
  for (const auto &line : lines) {
    if (ApplyRecordLine(line, &record.edid)) continue;
    std::istringstream in(line);
    std::string key, word, text;
    in >> key >> word;
    std::getline(in >> std::ws, text);
    if (kinds.count(key)) printed.push_back(kinds.at(key)(word, text));
    if (key == "native_bit" || key == "size" || key == "result")
      (key == "size" ? size : key == "result" ? result : platform.native_bit) = std::stoi(word);
    if (key == "debug") debug.emplace();
    if (line == "platform null") values = nullptr;
    if (line == "null blocks") blocks = nullptr;
    if (line == "null edid") edid = nullptr;
    if (line == "spa null") spa_out = nullptr;
    if (key == "bytes" || key == "golden" || key == "after" || (key == "spa" && word != "null"))
      checks.push_back(line);
  }
  EXPECT_EQ(Lines([&] { EXPECT_EQ(encode_edid(blocks, size, edid, spa_out, values), result); }),
            printed);
  debug.reset();
  for (size_t i = 256; i < buffer.size(); ++i) ASSERT_EQ(buffer[i], 0xA5) << "byte " << i;
  for (size_t block = 0; result == 1 && block < 256; block += 128) {
    uint8_t sum = 0;
    for (size_t i = block; i < block + 128; ++i) sum = static_cast<uint8_t>(sum + buffer[i]);
    EXPECT_EQ(sum, 0) << "block at " << block;
  }
  std::map<std::string, std::vector<std::string>> after;  // by list: the lines expected
  for (const auto &line : checks) {
    const std::string key = line.substr(0, line.find(' ')), text = line.substr(key.size() + 1);
    if (key == "bytes") ExpectBytes(buffer, std::stoul(text), text.substr(text.find(':') + 1));
    if (key == "spa") {
      EXPECT_EQ(spa, std::stoi(text));
    }
    if (key == "after") after[text.substr(0, text.find(' '))].push_back(text);
    if (key == "golden") {
      const auto hex = ReadFile(std::string(EDC_TESTS_DIR) + "/golden/" + text);
      EXPECT_EQ(ExpectBytes(buffer, 0, {hex.begin(), hex.end()}), 256u);
    }
  }
  for (const auto &[name, want] : after) {
    std::vector<std::string> have;
    for (const auto &line : RecordLines(&record.edid))
      if (line.starts_with(name + " ")) have.push_back(line);
    EXPECT_EQ(have, want);
  }
}

TEST(Encode, EveryCaseGivesTheBytesLinesAndRecordWorkedOutByHand) {
  std::vector<std::vector<std::string>> cases;  // each from its "case" line
  for (const auto &row : ReadTable("encode_cases.txt")) {
    if (row[0].starts_with("case ")) cases.emplace_back();
    if (!cases.empty()) cases.back().push_back(row[0]);
  }
  EXPECT_GT(cases.size(), 50u);
  for (const auto &lines : cases) {
    SCOPED_TRACE(lines[0]);
    RunCase(lines);
  }
}

// Calls fn(element, index) for each element of a record list; deletes the
// elements for which it returns true.
template <typename T, typename Fn>
void Edit(ll_list_t *list, Fn &&fn) {
  for (int32_t i = ll_size(list) - 1; i >= 0; --i) {
    void *data = nullptr;
    if (ll_entry_at(list, i, &data) && fn(*static_cast<T *>(data), i)) ll_delete_entry_at(list, i);
  }
}

// What the encoder copies, as record lines: every field but those it writes
// by its own rules, the first two timings, the standard timings, the VICs of
// the first 32 video formats and the first 10 audio formats.
std::string Copied(edid_t &e) {
  const std::string own_rules =
      " digital h_size_cm v_size_cm checksum num_extensions basic_audio ycbcr444 ycbcr422"
      " monitor_name monitor_serial monitor_data min_v_rate max_v_rate min_h_rate max_h_rate"
      " max_pixel_clock video_latency audio_latency interlaced_video_latency"
      " interlaced_audio_latency ";
  std::map<std::string, int> count;
  const std::map<std::string, int> kMax = {{"dtd", 2}, {"svd", 32}, {"sad", 10}};
  std::string text;
  for (const auto &line : RecordLines(&e)) {
    std::istringstream in(line);
    std::string key, native, vic;
    in >> key >> native >> vic;
    if (own_rules.find(" " + key + " ") != std::string::npos ||
        (kMax.count(key) && count[key]++ >= kMax.at(key)))
      continue;
    text += (key == "svd" ? "svd " + vic : line) + "\n";
  }
  return text;
}

TEST(EncodeRoundTrip, CorpusTelevisionsKeepWhatTheEncoderCopies) {
  const std::string file = testing::TempDir() + "edc_roundtrip_" + std::to_string(getpid());
  int televisions = 0;
  for (const auto &entry : ReadCorpusManifest()) {
    SCOPED_TRACE(entry.file);
    const auto bytes = ReadFile(CorpusDir() + "/edid/" + entry.file);
    PreparedEdid given, back;
    bool decoded = false;
    CaptureStdout([&] {
      decoded = entry.blocks > 1 && decode_edid_block_0(bytes.data(), &given.edid) &&
                decode_edid_extensions(bytes.data() + 128, 128, &given.edid);
    });
    edid_t &e = given.edid;
    if (!decoded || !e.hdmi_vsdb_present || ll_size(&e.dtd_list) < 2) continue;
    ++televisions;
    // Two timings, as the composer gives them, whose stereo flags are not
    // written; format 0 (an unknown extension type) is refused. Without
    // formats the encoder writes VIC 1 and LPCM 2 channels 32-48 kHz 16 and 24 bits.
    Edit<detailed_timing_t>(&e.dtd_list,
                            [](detailed_timing_t &t, int i) { return t.stereo = 0, i >= 2; });
    Edit<short_audio_desc_t>(&e.audio_list,
                             [](short_audio_desc_t &a, int) { return a.format == 0; });
    if (ll_size(&e.video_list) == 0) ApplyRecordLine("svd 0 1 0", &e);
    if (ll_size(&e.audio_list) == 0) ApplyRecordLine("sad 1 2 7 5 0 0 0", &e);
    const std::string copied = Copied(e);  // before the encoder rewrites parts of the record

    platform_values_t platform{};
    platform.native_bit = televisions % 2;
    std::vector<uint8_t> out(256);
    uint8_t result = 0;
    const std::string printed =
        CaptureStdout([&] { result = encode_edid(out.data(), 256, &e, nullptr, &platform); });
    ASSERT_EQ(result, 1) << printed;
    CaptureStdout([&] {
      EXPECT_TRUE(decode_edid_block_0(out.data(), &back.edid));
      EXPECT_TRUE(decode_edid_extensions(out.data() + 128, 128, &back.edid));
    });
    EXPECT_EQ(Copied(back.edid), copied);

    std::ofstream(file, std::ios::binary).write(reinterpret_cast<const char *>(out.data()), 256);
    const std::string peer = RunCommand("edid-decode -c -s --skip-sha '" + file + "' 2>&1");
    EXPECT_THAT(peer, testing::HasSubstr("Block 1, CTA-861 Extension Block:"));
    EXPECT_THAT(peer, testing::Not(testing::ContainsRegex("Invalid checksum|[(]should be")));
  }
  unlink(file.c_str());
  printf("round trips: %d televisions\n", televisions);
  EXPECT_GT(televisions, 600);
}

}  // namespace

// encode_edid case by case: tests/data/encode_cases.txt changes the fully
// filled record of tests/data/encode_record.txt and gives the result, bytes
// and lines expected, worked out by hand from the byte rules; the whole
// output of the full record is tests/golden/encode_full_record.hex.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <sstream>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"
#include "utility.h"

using namespace edc_test;  // NOLINT: builders and line helpers throughout

namespace {

// The lines of a file under tests/, comments ("#" to the end) and trailing
// blanks removed; blank lines are kept as "".
std::vector<std::string> ReadLines(const std::string &name) {
  std::ifstream in(std::string(EDC_TESTS_DIR) + "/" + name);
  EXPECT_TRUE(in.good()) << name;
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) {
    line = line.substr(0, line.starts_with("#") ? 0 : line.find(" #"));
    lines.push_back(line.substr(0, line.find_last_not_of(' ') + 1));
  }
  return lines;
}

// Bytes given as hex from offset at; "cs" (a checksum) is left to the sum
// check. Returns the number of bytes given.
size_t ExpectBytes(const std::vector<uint8_t> &buffer, size_t at, const std::string &hex) {
  std::istringstream in(hex);
  size_t count = 0;
  for (std::string token; in >> token; ++count) {
    if (token == "cs") continue;
    EXPECT_EQ(buffer.at(at + count), std::stoul(token, nullptr, 16)) << "byte " << at + count;
  }
  return count;
}

void RunCase(const std::vector<std::string> &lines) {
  PreparedEdid record;
  for (const auto &line : ReadLines("data/encode_record.txt"))
    ASSERT_TRUE(line.empty() || ApplyRecordLine(line, &record.edid)) << line;
  platform_values_t platform{};
  platform.native_bit = 1;
  platform_values_t *values = &platform;
  std::vector<uint8_t> buffer(512, 0xA5);
  uint8_t *blocks = buffer.data(), spa = 0, *spa_out = &spa;
  edid_t *edid = &record.edid;
  int32_t size = 256, result = 1;
  std::optional<DebugOn> debug;
  std::vector<std::string> expected;
  for (const auto &line : lines) {
    std::istringstream in(line);
    std::string key, func, text;
    in >> key;
    std::getline(in >> std::ws, text);
    const std::map<std::string, decltype(&Error)> kinds = {
        {"error", Error}, {"warning", Warning}, {"bug", Bug}, {"trace", Trace}};
    if (kinds.count(key)) {
      std::istringstream words(text);
      words >> func;
      std::getline(words >> std::ws, text);
      expected.push_back(kinds.at(key)(func, text));
    } else if (key == "native_bit") {
      platform.native_bit = std::stoi(text);
    } else if (key == "size" || key == "result") {
      (key == "size" ? size : result) = std::stoi(text);
    } else if (key == "debug") {
      debug.emplace();
    } else if (line == "platform null" || line == "null blocks" || line == "null edid" ||
               line == "spa null") {
      values = line == "platform null" ? nullptr : values;
      blocks = line == "null blocks" ? nullptr : blocks;
      edid = line == "null edid" ? nullptr : edid;
      spa_out = line == "spa null" ? nullptr : spa_out;
    } else if (key != "bytes" && key != "golden" && key != "spa" && !key.ends_with("_after")) {
      ASSERT_TRUE(ApplyRecordLine(line, &record.edid)) << line;
    }
  }
  EXPECT_EQ(Lines([&] { EXPECT_EQ(encode_edid(blocks, size, edid, spa_out, values), result); }),
            expected);
  debug.reset();
  for (size_t i = 256; i < buffer.size(); ++i) ASSERT_EQ(buffer[i], 0xA5) << "byte " << i;
  for (size_t block = 0; result == 1 && block < 256; block += 128) {
    uint8_t sum = 0;
    for (size_t i = block; i < block + 128; ++i) sum = static_cast<uint8_t>(sum + buffer[i]);
    EXPECT_EQ(sum, 0) << "block at " << block;
  }
  for (const auto &line : lines) {
    std::istringstream in(line);
    std::string key, text;
    in >> key;
    std::getline(in >> std::ws, text);
    if (key == "bytes") ExpectBytes(buffer, std::stoul(text), text.substr(text.find(':') + 1));
    if (key == "spa" && text != "null") {
      EXPECT_EQ(spa, std::stoi(text));
    }
    if (key == "golden") {
      std::string hex;
      for (const auto &golden : ReadLines("golden/" + text)) hex += golden + " ";
      EXPECT_EQ(ExpectBytes(buffer, 0, hex), 256u);
    }
    if (key == "stereo_after" || key == "formats_after") {
      std::vector<uint32_t> after, want;
      std::istringstream values_in(text);
      for (std::string v; values_in >> v;) want.push_back(std::stoul(v, nullptr, 0));
      if (key == "stereo_after")
        for (const auto &svd : Elements<short_video_desc_t>(&record.edid.video_list))
          after.push_back(svd.stereo);
      else
        for (const auto &sad : Elements<short_audio_desc_t>(&record.edid.audio_list))
          after.push_back(sad.format);
      EXPECT_EQ(after, want);
    }
  }
}

TEST(Encode, EveryCaseGivesTheBytesAndLinesWorkedOutByHand) {
  const auto lines = ReadLines("data/encode_cases.txt");
  int cases = 0;
  for (auto begin = lines.begin(); begin != lines.end(); ++begin) {
    if (!begin->starts_with("case ")) continue;
    const auto end = std::find(begin, lines.end(), "");
    SCOPED_TRACE(*begin);
    RunCase({begin + 1, end});
    ++cases;
  }
  EXPECT_GT(cases, 50);
}

TEST(Encode, HelpersRefuseNullArgumentsAndShortText) {
  uint8_t out[19] = {};
  detailed_timing_t timing{};
  short_audio_desc_t audio{};
  EXPECT_THAT(Lines([&] {
                EXPECT_EQ(_encode_edid_dtd(nullptr, &timing), 0);
                EXPECT_EQ(_encode_edid_dtd(out, nullptr), 0);
                EXPECT_EQ(_encode_edid_short_audio(nullptr, &audio), 0);
                EXPECT_EQ(_encode_edid_short_audio(out, nullptr), 0);
                EXPECT_EQ(_encode_string(nullptr, -4, "AB"), 0);
                EXPECT_EQ(_encode_string(out, -4, nullptr), 0);
                EXPECT_EQ(_encode_string(out, -4, "A"), 0);
                EXPECT_EQ(_encode_string(out, -4, "AB"), 18);
              }),
              testing::ElementsAre(
                  Error("_encode_edid_dtd", "Function called with dtd_block set to NULL."),
                  Error("_encode_edid_dtd", "Function called with dtd_block set to NULL."),
                  Error("_encode_edid_short_audio", "Function called with cea_block set to NULL."),
                  Error("_encode_edid_short_audio", "Function called with audio set to NULL."),
                  Error("_encode_string", "Function called with block set to NULL."),
                  Error("_encode_string", "Function called with string set to NULL.")));
  EXPECT_EQ(out[3], 0xFC);
  EXPECT_EQ(out[7], 0x0A);
}

}  // namespace

// encode_edid case by case: tests/data/encode_cases.txt changes the fully
// filled record of tests/data/encode_record.txt and gives the result, bytes,
// lines and record expected, worked out by hand from the byte rules; the
// whole output of the full record is tests/golden/encode_full_record.hex.
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

// The lines of a file under tests/ without comments ("#" to the end) and
// trailing blanks; blank lines are kept as "".
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

// Compares bytes given as hex from offset at; "cs" (a checksum) is left to
// the sum check. Returns the number of bytes given.
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
      std::string hex;
      for (const auto &golden : ReadLines("golden/" + text)) hex += golden + " ";
      EXPECT_EQ(ExpectBytes(buffer, 0, hex), 256u);
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
  const auto lines = ReadLines("data/encode_cases.txt");
  int cases = 0;
  for (auto begin = lines.begin(); begin != lines.end(); ++begin) {
    if (!begin->starts_with("case ")) continue;
    SCOPED_TRACE(*begin);
    RunCase({begin + 1, std::find(begin, lines.end(), "")});
    ++cases;
  }
  EXPECT_GT(cases, 50);
}

TEST(Encode, HelpersRefuseNullArguments) {
  uint8_t out[19] = {};
  detailed_timing_t timing{};
  short_audio_desc_t audio{};
  const std::string null = "Function called with ";
  EXPECT_THAT(
      Lines([&] {
        EXPECT_EQ(_encode_edid_dtd(nullptr, &timing) + _encode_edid_dtd(out, nullptr), 0);
        EXPECT_EQ(_encode_edid_short_audio(nullptr, &audio), 0);
        EXPECT_EQ(_encode_edid_short_audio(out, nullptr), 0);
        EXPECT_EQ(_encode_string(nullptr, -4, "AB") + _encode_string(out, -4, nullptr), 0);
      }),
      testing::ElementsAre(Error("_encode_edid_dtd", null + "dtd_block set to NULL."),
                           Error("_encode_edid_dtd", null + "dtd_block set to NULL."),
                           Error("_encode_edid_short_audio", null + "cea_block set to NULL."),
                           Error("_encode_edid_short_audio", null + "audio set to NULL."),
                           Error("_encode_string", null + "block set to NULL."),
                           Error("_encode_string", null + "string set to NULL.")));
}

}  // namespace

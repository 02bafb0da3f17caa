// encode_edid case by case: tests/data/encode_cases.txt changes the fully
// filled record of tests/data/encode_record.txt and gives the result, bytes,
// lines and record expected, worked out by hand from the byte rules; the
// whole output of the full record is tests/golden/encode_full_record.hex.
// The corpus round trip is in decode_test.cpp.
#include <gtest/gtest.h>

#include <map>
#include <numeric>
#include <optional>
#include <regex>
#include <sstream>
#include <tuple>

#include "capture.h"
#include "edid_builder.h"
#include "golden.h"
#include "utility.h"

using namespace edc_test;  // NOLINT: record and line helpers throughout

namespace {

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
  std::vector<std::string> printed, want, have;
  const std::map<std::string, decltype(&Error)> kinds = {
      {"error", Error}, {"warning", Warning}, {"bug", Bug}, {"trace", Trace}};
  const auto parse = [](const std::string &line) {  // key, first word, the rest
    std::smatch m;
    static const std::regex words(R"((\S+) *(\S*) *(.*))");
    std::regex_match(line, m, words);
    return std::tuple{m.str(1), m.str(2), m.str(3)};
  };
  for (const auto &line : lines) {
    if (ApplyRecordLine(line, &record.edid)) continue;
    const auto [key, word, text] = parse(line);
    if (kinds.count(key)) printed.push_back(kinds.at(key)(word, text));
    if (key == "native_bit" || key == "size" || key == "result")
      (key == "size" ? size : key == "result" ? result : platform.native_bit) = std::stoi(word);
    if (key == "debug") debug.emplace();
    if (line == "platform null") values = nullptr;
    if (line == "null blocks") blocks = nullptr;
    if (line == "null edid") edid = nullptr;
    if (line == "spa null") spa_out = nullptr;
  }
  EXPECT_EQ(Lines([&] { EXPECT_EQ(encode_edid(blocks, size, edid, spa_out, values), result); }),
            printed);
  for (size_t i = 256; i < buffer.size(); ++i) ASSERT_EQ(buffer[i], 0xA5) << "byte " << i;
  for (size_t at = 0; result == 1 && at < 256; at += 128)
    EXPECT_EQ(std::accumulate(&buffer[at], &buffer[at + 128], 0) % 256, 0) << "block at " << at;
  std::string lists;  // those that "after" lines name
  for (const auto &line : lines) {
    const auto [key, word, text] = parse(line);
    if (key == "spa" && word != "null")
      want.push_back(line), have.push_back("spa " + std::to_string(spa));
    if (key == "after") want.push_back(line.substr(6)), lists += " " + word + " ";
    if (key != "bytes" && key != "golden") continue;
    // The bytes in hex from the offset given; "cs" (a checksum) is left to the sum check.
    const auto golden = key == "golden" ? ReadFile(std::string(EDC_TESTS_DIR) + "/golden/" + word)
                                        : std::vector<unsigned char>();
    std::istringstream in(
        key == "bytes"
            ? text
            : std::regex_replace(std::string(golden.begin(), golden.end()), std::regex("#.*"), ""));
    std::string expected, actual;
    size_t at = key == "bytes" ? std::stoul(word) : 0;
    for (std::string hex; in >> hex; ++at)
      expected += hex + " ", actual += (hex == "cs" ? hex : Format("%02X", buffer.at(at))) + " ";
    EXPECT_EQ(actual, expected) << line;
    EXPECT_TRUE(key == "bytes" || at == 256) << line;
  }
  for (const auto &line : RecordLines(&record.edid))
    if (lists.find(" " + line.substr(0, line.find(' ')) + " ") != std::string::npos)
      have.push_back(line);
  EXPECT_EQ(have, want);
}

TEST(Encode, EveryCaseGivesTheBytesLinesAndRecordWorkedOutByHand) {
  std::vector<std::vector<std::string>> cases;  // each from its "case" line
  for (const auto &row : ReadTable("encode_cases.txt"))
    (row[0].starts_with("case ") || cases.empty() ? cases.emplace_back() : cases.back())
        .push_back(row[0]);
  EXPECT_GT(cases.size(), 50u);
  for (const auto &lines : cases) {
    SCOPED_TRACE(lines[0]);
    RunCase(lines);
  }
}

}  // namespace

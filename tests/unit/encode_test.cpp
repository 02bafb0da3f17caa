// encode_edid case by case: tests/data/encode_cases.txt changes the fully
// filled record of tests/data/encode_record.txt and gives the result, bytes,
// lines and record expected, worked out by hand from the byte rules; the
// whole output of the full record is tests/golden/encode_full_record.hex.
// The corpus round trip is in decode_test.cpp.
#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <numeric>
#include <optional>
#include <sstream>
#include <tuple>

#include "capture.h"
#include "edid_builder.h"
#include "edid_decode_encode_internal.h"
#include "golden.h"
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
  std::vector<std::string> printed, want, have;
  const std::map<std::string, decltype(&Error)> kinds = {
      {"error", Error}, {"warning", Warning}, {"bug", Bug}, {"trace", Trace}};
  const auto parse = [](const std::string &line) {  // key, first word, the rest
    std::istringstream in(line);
    std::string key, word, text;
    in >> key >> word;
    std::getline(in >> std::ws, text);
    return std::tuple{key, word, text};
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
  debug.reset();
  for (size_t i = 256; i < buffer.size(); ++i) ASSERT_EQ(buffer[i], 0xA5) << "byte " << i;
  for (size_t at = 0; result == 1 && at < 256; at += 128)
    EXPECT_EQ(std::accumulate(&buffer[at], &buffer[at + 128], 0) % 256, 0) << "block at " << at;
  std::string lists;  // those that "after" lines name
  for (const auto &line : lines) {
    const auto [key, word, text] = parse(line);
    if (key == "bytes") ExpectBytes(buffer, std::stoul(word), text);
    if (key == "spa" && word != "null")
      want.push_back(line), have.push_back("spa " + std::to_string(spa));
    if (key == "after") want.push_back(line.substr(6)), lists += " " + word + " ";
    if (key != "golden") continue;
    const auto hex = ReadFile(std::string(EDC_TESTS_DIR) + "/golden/" + word);
    EXPECT_EQ(ExpectBytes(buffer, 0, {hex.begin(), hex.end()}), 256u);
  }
  for (const auto &line : RecordLines(&record.edid))
    if (lists.find(" " + line.substr(0, line.find(' ')) + " ") != std::string::npos)
      have.push_back(line);
  EXPECT_EQ(have, want);
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

}  // namespace

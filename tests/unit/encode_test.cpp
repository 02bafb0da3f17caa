// encode_edid case by case: tests/data/encode_cases.txt changes the fully
// filled record of tests/data/encode_record.txt and gives the result, bytes,
// lines and record expected, worked out by hand from the byte rules. The
// corpus round trip is in corpus_test.cpp.
#include <gtest/gtest.h>

#include <numeric>
#include <optional>

#include "capture.h"
#include "records.h"
#include "scenario.h"
#include "utility.h"

using namespace edc_test;  // NOLINT: record and line helpers throughout

namespace {

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
  std::optional<DebugOn> debug;
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
    if (key == "debug") debug.emplace();
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

// Single-value configuration readers: defaults, clamps, their warnings, the
// debug trace and the guard against inconsistent constants.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "capture.h"
#include "utility.h"

using edc_test::DebugOn;
using edc_test::Lines;
using edc_test::ScopedConfig;
using edc_test::Trace;
using edc_test::Warning;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::string kRoot = "platform.software.drivers.avcap.edid.";

ScopedConfig Edid(const std::string &body) {
  return ScopedConfig("[platform.software.drivers.avcap.edid]\n" + body);
}

TEST(IntegerReaders, MissingKeyGivesTheDefaultWithOneWarning) {
  ScopedConfig empty("");
  EXPECT_THAT(Lines([] { EXPECT_EQ(get_pc_int("native_refresh_rate", 50, 60, 60, true), 60); }),
              ElementsAre(Warning("get_pc_int", "Unable to find the platform path:" + kRoot +
                                                    "native_refresh_rate Defaulting to:60")));
  EXPECT_THAT(Lines([] { EXPECT_EQ(get_pc_uint("serial", 0, 4294967295u, 0, true), 0u); }),
              ElementsAre(Warning("get_pc_uint", "Unable to find the platform path:" + kRoot +
                                                     "serial Defaulting to:0")));
}

TEST(IntegerReaders, ValuesOutsideTheRangeAreClampedToTheNearerBound) {
  auto config = Edid("low = 49\nhigh = 61\nat_min = 50\nat_max = 60\nweek = 300\n");
  EXPECT_THAT(Lines([] { EXPECT_EQ(get_pc_int("low", 50, 60, 60, true), 50); }),
              ElementsAre(Warning("get_pc_int",
                                  "The value for platform path:" + kRoot +
                                      "low is smaller than the minimum value. Setting to minimum. "
                                      "Min:50 Val:49 Max:60")));
  EXPECT_THAT(Lines([] { EXPECT_EQ(get_pc_int("high", 50, 60, 60, true), 60); }),
              ElementsAre(Warning("get_pc_int",
                                  "The value for platform path:" + kRoot +
                                      "high is larger than the maximum value. Setting to maximum. "
                                      "Min:50 Val:61 Max:60")));
  EXPECT_THAT(Lines([] { EXPECT_EQ(get_pc_uint("week", 0, 255, 1, true), 255u); }),
              ElementsAre(Warning("get_pc_uint",
                                  "The value for platform path:" + kRoot +
                                      "week is larger than the maximum value. Setting to maximum. "
                                      "Min:0 Val:300 Max:255")));
  EXPECT_THAT(Lines([] {
                EXPECT_EQ(get_pc_int("at_min", 50, 60, 55, true), 50);
                EXPECT_EQ(get_pc_int("at_max", 50, 60, 55, true), 60);
              }),
              IsEmpty());
}

TEST(IntegerReaders, UnsignedReadsTakeThe32BitPatternAndPrintSigned) {
  auto config = Edid("minus_one = -1\nbig = 4294967295\nsmall = 5\n");
  EXPECT_THAT(Lines([] {
                EXPECT_EQ(get_pc_uint("minus_one", 0, 4294967295u, 0, true), 4294967295u);
                EXPECT_EQ(get_pc_uint("big", 0, 4294967295u, 0, true), 4294967295u);
              }),
              IsEmpty());
  // Every number of the warnings is printed with %d: 4294967295 shows as -1.
  EXPECT_THAT(Lines([] { EXPECT_EQ(get_pc_uint("small", 10, 4294967295u, 10, true), 10u); }),
              ElementsAre(Warning("get_pc_uint",
                                  "The value for platform path:" + kRoot +
                                      "small is smaller than the minimum value. Setting to "
                                      "minimum. Min:10 Val:5 Max:-1")));
  EXPECT_EQ(get_pc_int("minus_one", -5, 5, 0, true), -1);
}

TEST(IntegerReaders, QuietReadsPrintOnlyTheTrace) {
  auto config = Edid("high = 99\n");
  EXPECT_THAT(Lines([] {
                EXPECT_EQ(get_pc_int("absent", 0, 1, 1, false), 1);
                EXPECT_EQ(get_pc_uint("high", 0, 10, 0, false), 10u);
              }),
              IsEmpty());
  DebugOn debug;
  EXPECT_THAT(Lines([] { EXPECT_EQ(get_pc_uint("high", 0, 10, 0, false), 10u); }),
              ElementsAre(Trace("get_pc_uint", "Platform config read. Path:" + kRoot +
                                                   "high val:10")));
  EXPECT_THAT(Lines([] { get_pc_int("absent", 0, 1, 1, true); }),
              ElementsAre(Warning("get_pc_int", "Unable to find the platform path:" + kRoot +
                                                    "absent Defaulting to:1"),
                          Trace("get_pc_int", "Platform config read. Path:" + kRoot +
                                                  "absent val:1")));
}

TEST(IntegerReaders, StringsAreNeverReadAsIntegers) {
  auto config = Edid("name = \"12\"\n");
  EXPECT_EQ(get_pc_int("name", 0, 100, 7, false), 7);
}

TEST(IntegerReaders, OverlongPathIsCutSilently) {
  auto config = Edid("");
  const std::string key(400, 'k');
  EXPECT_THAT(Lines([&] { EXPECT_EQ(get_pc_int(key.c_str(), 0, 1, 1, true), 1); }),
              ElementsAre(Warning("get_pc_int", "Unable to find the platform path:" +
                                                    (kRoot + key).substr(0, 255) +
                                                    " Defaulting to:1")));
}

// Both outputs go to standard error so the death test can see them.
TEST(IntegerReadersDeathTest, InconsistentConstantsAbortInEveryBuild) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        get_pc_int("k", 5, 1, 3, true);
      },
      "Invalid values for k: min:5 def:3 max:1\n.*Assertion `min <= default_val && "
      "default_val <= max' failed");
  EXPECT_DEATH(
      {
        dup2(STDERR_FILENO, STDOUT_FILENO);
        get_pc_uint("u", 4294967295u, 4294967295u, 0, false);
      },
      "Invalid values for u: min:4294967295 def:0 max:4294967295\n");
}

TEST(StringReader, ReadsTheConfiguredTextAndCutsItToTheBuffer) {
  auto config = Edid("monitor_name = \"Living room TV\"\n");
  char name[14];
  memset(name, 'x', sizeof name);
  EXPECT_THAT(Lines([&] { EXPECT_TRUE(get_pc_str("monitor_name", name, 14, "", true)); }),
              IsEmpty());
  EXPECT_STREQ(name, "Living room T");
}

TEST(StringReader, MissingKeyCopiesTheDefaultWithoutATerminator) {
  ScopedConfig empty("");
  char id[4] = {'a', 'b', 'c', 'Z'};
  EXPECT_THAT(Lines([&] { EXPECT_FALSE(get_pc_str("manufacturer_id", id, 4, "YYY", true)); }),
              ElementsAre(Warning("get_pc_str", "Error trying to read \"" + kRoot +
                                                    "manufacturer_id\" from the platform config. "
                                                    "Using:YYY")));
  EXPECT_EQ(std::string(id, 4), "YYYZ");
  char small[2] = {'-', '-'};
  EXPECT_THAT(Lines([&] { EXPECT_FALSE(get_pc_str("missing", small, 2, "LONG", false)); }),
              IsEmpty());
  EXPECT_EQ(std::string(small, 2), "LO");
}

}  // namespace

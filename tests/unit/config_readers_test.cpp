// Single-value configuration readers: defaults, clamps and their warnings,
// the 32-bit pattern of unsigned reads, the debug trace, and the guard
// against inconsistent constants. The calls and what they print are the
// transcript tests/golden/config_readers.txt.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "capture.h"
#include "golden.h"
#include "transcript.h"
#include "utility.h"

namespace {

TEST(ConfigReaders, DefaultsClampsAndTheirMessages) {
  edc_test::ScopedConfig config(
      "[platform.software.drivers.avcap.edid]\n"
      "low = 49\nhigh = 61\nat_min = 50\nat_max = 60\nweek = 300\n"
      "minus_one = -1\nbig = 4294967295\nsmall = 5\ntext = \"12\"\n"
      "monitor_name = \"Living room TV\"\n");
  edc_test::Transcript t;
  t.Note("missing keys give the default");
  t.Call("get_pc_int(native_refresh_rate, 50, 60, 60)",
         [] { return get_pc_int("native_refresh_rate", 50, 60, 60, true); });
  t.Call("get_pc_uint(serial, 0, 4294967295, 0)",
         [] { return get_pc_uint("serial", 0, 4294967295u, 0, true); });
  t.Call("get_pc_int(text, 0, 100, 7): strings are not integers",
         [] { return get_pc_int("text", 0, 100, 7, true); });
  t.Note("values outside the range are clamped; the bounds themselves stay");
  t.Call("get_pc_int(low, 50, 60, 60)", [] { return get_pc_int("low", 50, 60, 60, true); });
  t.Call("get_pc_int(high, 50, 60, 60)", [] { return get_pc_int("high", 50, 60, 60, true); });
  t.Call("get_pc_uint(week, 0, 255, 1)", [] { return get_pc_uint("week", 0, 255, 1, true); });
  t.Call("get_pc_int(at_min, 50, 60, 55)", [] { return get_pc_int("at_min", 50, 60, 55, true); });
  t.Call("get_pc_int(at_max, 50, 60, 55)", [] { return get_pc_int("at_max", 50, 60, 55, true); });
  t.Note("unsigned reads take the 32-bit pattern; every number prints with %d");
  t.Call("get_pc_uint(minus_one, 0, 4294967295, 0)",
         [] { return get_pc_uint("minus_one", 0, 4294967295u, 0, true); });
  t.Call("get_pc_uint(big, 0, 4294967295, 0)",
         [] { return get_pc_uint("big", 0, 4294967295u, 0, true); });
  t.Call("get_pc_uint(small, 10, 4294967295, 10)",
         [] { return get_pc_uint("small", 10, 4294967295u, 10, true); });
  t.Call("get_pc_int(minus_one, -5, 5, 0)", [] { return get_pc_int("minus_one", -5, 5, 0, true); });
  t.Note("quiet reads print nothing but the trace");
  t.Call("get_pc_int(absent, 0, 1, 1) quiet", [] { return get_pc_int("absent", 0, 1, 1, false); });
  t.Call("get_pc_uint(high, 0, 10, 0) quiet", [] { return get_pc_uint("high", 0, 10, 0, false); });
  debug_enable(true);
  t.Call("get_pc_uint(high, 0, 10, 0) quiet, debug on",
         [] { return get_pc_uint("high", 0, 10, 0, false); });
  t.Call("get_pc_int(absent, 0, 1, 1) debug on", [] { return get_pc_int("absent", 0, 1, 1, true); });
  debug_enable(false);
  t.Note("an overlong path is cut to 255 characters");
  const std::string key(300, 'k');
  t.Call("get_pc_int(k x 300, 0, 1, 1)", [&] { return get_pc_int(key.c_str(), 0, 1, 1, true); });

  t.Note("strings: the configured text cut to the buffer; a missing one copies the default "
         "without a terminator");
  char name[14];
  memset(name, 'x', sizeof name);
  t.Call("get_pc_str(monitor_name, 14)",
         [&] { return get_pc_str("monitor_name", name, sizeof name, "", true); });
  t.Note(std::string("buffer: \"") + name + "\"");
  char id[4] = {'a', 'b', 'c', 'Z'};
  t.Call("get_pc_str(manufacturer_id, 4, YYY)",
         [&] { return get_pc_str("manufacturer_id", id, sizeof id, "YYY", true); });
  t.Note("buffer: \"" + std::string(id, 4) + "\"");
  char small[2] = {'-', '-'};
  t.Call("get_pc_str(missing, 2, LONG) quiet",
         [&] { return get_pc_str("missing", small, sizeof small, "LONG", false); });
  t.Note("buffer: \"" + std::string(small, 2) + "\"");
  edc_test::ExpectGolden("config_readers.txt", t.Text());
}

// Both outputs go to standard error so the death test can see them.
TEST(ConfigReadersDeathTest, InconsistentConstantsAbortInEveryBuild) {
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

}  // namespace

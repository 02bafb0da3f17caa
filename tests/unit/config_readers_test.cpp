// Single-value configuration readers: defaults, clamps and their warnings,
// the 32-bit pattern of unsigned reads, the debug trace, and the guard
// against inconsistent constants (the calls and what they print are the
// transcript tests/golden/config_readers.txt); and the raw form of
// diagnostic lines (file base name, line, function), the debug flag and the
// build banner.
#include "edc_test.h"
#include "linked_list.h"
#include "utility.h"
#include "version.h"

using namespace edc_test;  // NOLINT: the test helpers throughout
using testing::MatchesRegex;

namespace {

TEST(ConfigReaders, DefaultsClampsAndTheirMessages) {
  ScopedConfig config(ReadText("configurations.txt", "single values"));
  Transcript t;
  // A read, labelled "get_pc_int(key, min, max, default)" and more; quiet
  // when more says so.
  const auto read = [&](bool is_uint, const char *key, int64_t min, int64_t max, int64_t def,
                        const std::string &more = "") {
    const bool loud = !more.starts_with(" quiet");
    t.Call(
        Format("get_pc_%s(%s, %ld, %ld, %ld)", is_uint ? "uint" : "int", key, min, max, def) + more,
        [&]() -> long {
          if (is_uint) return get_pc_uint(key, min, max, def, loud);
          return get_pc_int(key, min, max, def, loud);
        });
  };
  t.Note("missing keys give the default");
  read(false, "native_refresh_rate", 50, 60, 60);
  read(true, "serial", 0, 4294967295, 0);
  read(false, "text", 0, 100, 7, ": strings are not integers");
  t.Note("values outside the range are clamped; the bounds themselves stay");
  read(false, "low", 50, 60, 60);
  read(false, "high", 50, 60, 60);
  read(true, "week", 0, 255, 1);
  read(false, "at_min", 50, 60, 55);
  read(false, "at_max", 50, 60, 55);
  t.Note("unsigned reads take the 32-bit pattern; every number prints with %d");
  read(true, "minus_one", 0, 4294967295, 0);
  read(true, "big", 0, 4294967295, 0);
  read(true, "small", 10, 4294967295, 10);
  read(false, "minus_one", -5, 5, 0);
  t.Note("quiet reads print nothing but the trace");
  read(false, "absent", 0, 1, 1, " quiet");
  read(true, "high", 0, 10, 0, " quiet");
  debug_enable(true);
  read(true, "high", 0, 10, 0, " quiet, debug on");
  read(false, "absent", 0, 1, 1, " debug on");
  debug_enable(false);
  t.Note("an overlong path is cut to 255 characters");
  const std::string key(300, 'k');
  t.Call("get_pc_int(k x 300, 0, 1, 1)", [&] { return get_pc_int(key.c_str(), 0, 1, 1, true); });

  t.Note(
      "strings: the configured text cut to the buffer; a missing one copies the default "
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
  ExpectGolden("config_readers.txt", t.Text());
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

TEST(Diagnostics, PrefixedLinesNameTheSourceBaseNameLineAndFunction) {
  const std::string out = Capture([] { ll_init(nullptr, "int"); });
  EXPECT_THAT(out, MatchesRegex("linked_list\\.cpp:[0-9]+:ll_init\\(\\) ERROR: list ptr is "
                                "NULL\\.\n"));
}

TEST(Diagnostics, TraceLinesEndWithFunctionAndLineOnlyWhileDebugIsOn) {
  ASSERT_FALSE(debug_enabled());
  EXPECT_EQ(Capture([] { get_pc_int("absent", 0, 1, 0, false); }), "");
  debug_enable(true);
  EXPECT_TRUE(debug_enabled());
  const std::string out = Capture([] { get_pc_int("absent", 0, 1, 0, false); });
  debug_enable(false);
  EXPECT_FALSE(debug_enabled());
  EXPECT_THAT(out, MatchesRegex("Platform config read\\. Path:platform\\.software\\.drivers\\."
                                "avcap\\.edid\\.absent val:0 \t\t\tget_pc_int\\(\\):[0-9]+\n"));
}

TEST(Diagnostics, VersionBannerNamesTheLibraryAndTheUtcBuildTime) {
  EXPECT_THAT(std::string(gVersion), MatchesRegex("#@# libedidcomposer\\.so Unofficial Build "
                                                  "[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 0-9][0-9] "
                                                  "[0-9][0-9]:[0-9][0-9]:[0-9][0-9] UTC [0-9]+"));
}

}  // namespace

// The raw form of diagnostic lines (file base name, line, function), the
// debug flag and the build banner.
#include "edc_test.h"
#include "linked_list.h"
#include "utility.h"
#include "version.h"

using testing::MatchesRegex;

using namespace edc_test;  // NOLINT: the test helpers throughout

namespace {

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

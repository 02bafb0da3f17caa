// Platform mode lists: the walker over a list node's children and the
// grammars of video mode, standard timing, 4Kx2K and timing-bit entries.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "capture.h"
#include "edid_composer_internal.h"

using edc_test::Bug;
using edc_test::DebugOn;
using edc_test::Error;
using edc_test::Lines;
using edc_test::ScopedConfig;
using edc_test::Trace;
using edc_test::Warning;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kRoot = "platform.software.drivers.avcap.edid.";
using Strings = std::vector<std::string>;

ScopedConfig Edid(const std::string &body) {
  return ScopedConfig("[platform.software.drivers.avcap.edid]\n" + body);
}

// Each call as "<child>=<value>|<text>|<size>".
bool Record(const char *child, const char *, int32_t value, char *text, uint32_t size, void *user) {
  static_cast<Strings *>(user)->push_back(std::string(child) + "=" + std::to_string(value) + "|" +
                                          text + "|" + std::to_string(size));
  return true;
}

// The entries of a video ("vic stereo") or standard timing ("width ratio rate") list.
Strings Entries(ll_list_t *list) {
  Strings out;
  for (int32_t i = 0; i < ll_size(list); ++i) {
    void *d = nullptr;
    ll_entry_at(list, i, &d);
    if (ll_verify_list_type(list, "std_timing_t")) {
      const auto *t = static_cast<std_timing_t *>(d);
      out.push_back(std::to_string(t->h_active) + " " + std::to_string(t->aspect_ratio) + " " +
                    std::to_string(t->refresh_rate));
    } else {
      const auto *m = static_cast<short_video_desc_t *>(d);
      out.push_back(std::to_string(m->vic) + " " + std::to_string(m->stereo + 10 * m->native));
    }
  }
  return out;
}

// Hands one value to a string-list callback, as the walker does, appending to
// a fresh list; gives the messages, then the entries.
std::pair<Strings, Strings> Feed(platform_list_callback_t callback, const std::string &value) {
  ll_list_t list{};
  ll_init(&list, callback == _get_std_timing_callback ? "std_timing_t" : "short_video_desc_t");
  ll_list_t *user = &list;
  char text[30] = {};
  memcpy(text, value.data(), value.size());
  auto lines = Lines([&] { callback("7", "list", -1, text, sizeof text, &user); });
  auto entries = Entries(&list);
  ll_delete_list(&list);
  return {lines, entries};
}

TEST(ListWalker, VisitsChildrenInFileOrderWithAFreshValueEach) {
  auto config =
      Edid("arr = [\"" + std::string(40, 'a') + "\", 31, \"4 FP\", [1]]\n" +
           "[platform.software.drivers.avcap.edid.tab]\nzeta = 3\nalpha = 1\nmid = \"x\"\n");
  Strings visits;
  EXPECT_THAT(
      Lines([&] {
        EXPECT_TRUE(_get_generic_platform_list("arr", false, &visits, Record));
        EXPECT_TRUE(_get_generic_platform_list("tab", true, &visits, Record));
      }),
      ElementsAre(Error("_get_generic_platform_list",
                        "Invalid platform configuration entry. Expected a string. Entry name:3"),
                  "",
                  Error("_get_generic_platform_list",
                        "Invalid platform configuration entry. Expected an integer. "
                        "Entry name:mid")));
  // At most 28 characters of a value are read; an integer child of a string list is its text.
  EXPECT_THAT(visits, ElementsAre("0=-1|" + std::string(28, 'a') + "|30", "1=-1|31|30",
                                  "2=-1|4 FP|30", "zeta=3||30", "alpha=1||30"));
}

TEST(ListWalker, ReportsUnusableListsButNeverFails) {
  auto config = Edid("empty = []\n");
  Strings visits;
  EXPECT_THAT(Lines([&] {
                EXPECT_TRUE(_get_generic_platform_list(nullptr, true, &visits, Record));
                EXPECT_TRUE(_get_generic_platform_list("", true, &visits, Record));
                EXPECT_TRUE(_get_generic_platform_list("empty", true, &visits, nullptr));
                EXPECT_TRUE(_get_generic_platform_list("gone", true, &visits, Record));
                EXPECT_TRUE(_get_generic_platform_list("empty", true, &visits, Record));
              }),
              ElementsAre(Bug("_get_generic_platform_list", "Timing List name is NULL."),
                          Bug("_get_generic_platform_list", "Timing List name is NULL."),
                          Bug("_get_generic_platform_list",
                              "Callback function pointer is NULL. list_name:empty"),
                          Error("_get_generic_platform_list",
                                "Unabled to find the platform node:" + kRoot + "gone."),
                          ""));
  EXPECT_THAT(visits, IsEmpty());
  for (auto callback : {_get_vic_list_callback, _get_4k_x_2k_mode_callback,
                        _get_est_timing_callback, _get_std_timing_callback}) {
    char text[30] = "16";
    EXPECT_THAT(Lines([&] { callback("0", "l", 1, text, 30, nullptr); }),
                ElementsAre(testing::EndsWith("() BUG: user_ptr is NULL"), ""));
  }
}

TEST(ListWalker, TracesEachNodeWhileDebugIsOn) {
  auto config = Edid("established_timings_1 = [0, 7]\n");
  uint32_t mask = 0;
  DebugOn debug;
  const std::string node = "print_platform_node", cb = "_get_est_timing_callback";
  EXPECT_THAT(Lines([&] { _get_est_timing_list("established_timings_1", &mask); }),
              ElementsAre(Trace(node, "\tRoot Node:Name of node is:established_timings_1"),
                          Trace(node, "\tFirst Child Node:Name of node is:0"),
                          Trace(node, "\tNext Node:Name of node is:0"),
                          Trace(cb, "Added timing val:0 for list:established_timings_1"),
                          Trace(node, "\tNext Node:Name of node is:1"),
                          Trace(cb, "Added timing val:7 for list:established_timings_1")));
  EXPECT_THAT(Lines([] { print_platform_node(0, "x"); }),
              ElementsAre(Trace(node, "x:Failed trying to get name")));
}

TEST(VideoModeEntry, GrammarAndMessages) {
  auto warn = [](const std::string &m) { return Warning("_get_vic_list_callback", m); };
  auto range = [&](const std::string &vic) {
    return Strings{
        warn("Read a vic value from the platform config file that has an unexpected "
             "value:" +
             vic + ". Range:(1-64) Ignoring and continuing.")};
  };
  auto invalid = [&](const std::string &v) {
    return Strings{warn("Invalid string \"" + v + "\" in list")};
  };
  auto bad = [&](const std::string &word, const std::string &v) {
    return Strings{warn("Invalid 3D flag \"" + word + "\" in list"), invalid(v)[0]};
  };
  const struct {
    std::string value, entry;
    Strings lines;
  } cases[] = {
      {"16", "16 0", {}},
      {"32 FP TBH", "32 5", {}},
      {"4 sbsh", "4 2", {}},
      {" +64\tTbh fp", "64 5", {}},
      {"16FP", "16 1", {}},
      {"16 FP TBH SBSH XYZ", "16 7", {}},  // a fourth word is never read
      {"4294967312", "16 0", {}},          // %d as glibc reads it: cut to 32 bits
      {"0", "", range("0")},
      {"-1 FP", "", range("-1")},
      {"65 XYZ", "", range("65")},  // the range is checked before the words
      {"", "", invalid("")},
      {"FP 16", "", invalid("FP 16")},
      {"16 ABC XYZ", "", bad("XYZ", "16 ABC XYZ")},  // words are checked from the last
      {"16 SSH", "", bad("SSH", "16 SSH")},
      {"16 FPFPFPFPFPTBH", "", bad("PTBH", "16 FPFPFPFPFPTBH")},  // nine characters a word
  };
  for (const auto &c : cases) {
    const auto [lines, entries] = Feed(_get_vic_list_callback, c.value);
    EXPECT_THAT(lines, ElementsAreArray(c.lines)) << c.value;
    EXPECT_EQ(entries, c.entry.empty() ? Strings{} : Strings{c.entry}) << c.value;
  }
}

TEST(StandardTimingEntry, GrammarAndMessages) {
  auto warn = [](const std::string &m) { return Warning("_get_std_timing_callback", m); };
  auto fraction = [&](const std::string &rate, const std::string &v) {
    return warn("Only whole refresh rates(" + rate +
                ") are supported, ie 60 not 59.94. "
                "Incrementing refresh rate and continuing. Entry:" +
                v);
  };
  auto rate = [&](const std::string &r, const std::string &v) {
    return warn("Invalid Refresh rate(" + r + "). Must be 60 to 123. Entry:" + v);
  };
  auto ratio = [&](const std::string &h, const std::string &v) {
    return warn("Height(" + h +
                ") is not in a proper ratio to width(1920). Accepted heights "
                "1:1=>1920 4:3=>1440 5:4=>2400 16:9=>3413 Entry:" +
                v);
  };
  const struct {
    std::string value, entry;
    Strings lines;
  } cases[] = {
      {"1920x1080@60", "1920 3 60", {}},
      {"1280x1024@75", "1280 2 75", {}},
      {"1024/768/75", "1024 1 75", {}},
      {"640x640@123", "640 0 123", {}},
      {"1280x720@59.94", "1280 3 60", {fraction("59.94", "1280x720@59.94"), ""}},
      {"1366x768@60",
       "",
       {warn("Standard timing width(1366) must be a factor of 8. Entry:7 = \"1366x768@60\"")}},
      {"99999999999x0@1.5",
       "",
       {warn("Standard timing width(-1) must be a factor of 8. Entry:7 = \"99999999999x0@1.5\"")}},
      {"1920x1200@59.94", "", {ratio("1200", "1920x1200@59.94"), ""}},
      {"1920 x 1080@60", "", {ratio("0", "1920 x 1080@60"), ""}},  // a blank breaks the reading
      {"1920x1080@59", "", {rate("59", "1920x1080@59"), ""}},
      {"1920x1080@123.5",
       "",
       {fraction("123.5", "1920x1080@123.5"), "", rate("124", "1920x1080@123.5"), ""}},
      {"", "", {rate("0", ""), ""}},  // 0 x 0 is 1:1
  };
  for (const auto &c : cases) {
    const auto [lines, entries] = Feed(_get_std_timing_callback, c.value);
    EXPECT_THAT(lines, ElementsAreArray(c.lines)) << c.value;
    EXPECT_EQ(entries, c.entry.empty() ? Strings{} : Strings{c.entry}) << c.value;
  }
  // A short value after a long one has no stale characters: its rate reads 0.
  auto config = Edid("standard_timings = [\"1920x1080@60\", \"640x480\"]\n");
  ll_list_t list{};
  ll_init(&list, "std_timing_t");
  EXPECT_THAT(Lines([&] { _get_std_timing_list(&list); }), ElementsAre(rate("0", "640x480"), ""));
  EXPECT_THAT(Entries(&list), ElementsAre("1920 3 60"));
  ll_delete_list(&list);
}

TEST(IntegerLists, HdmiVicsAndTimingBits) {
  auto config = Edid("k = [1, 5, 3, \"2\"]\nlong = [4, 3, 2, 1, 4, 3, 2, 1, 0]\nt = [0, 7, 8]\n");
  uint32_t modes[8] = {0, 0, 0, 0, 0, 0, 0, 0xDEAD}, mask = 0x10;
  EXPECT_THAT(
      Lines([&] { _get_4k_x_2k_modes("k", modes); }),
      ElementsAre(
          Warning("_get_4k_x_2k_mode_callback",
                  "Detected a 4k x 2k mode that is not supported. Max:4 Received:5 Node:1"),
          Error("_get_generic_platform_list",
                "Invalid platform configuration entry. Expected an integer. Entry name:3")));
  EXPECT_THAT(modes, ElementsAre(1u, 3u, 0u, 0u, 0u, 0u, 0u, 0xDEADu));
  // Each list starts at the first slot; an eighth mode is dropped silently.
  EXPECT_THAT(Lines([&] { _get_4k_x_2k_modes("long", modes); }),
              ElementsAre(testing::EndsWith("Received:0 Node:8")));
  EXPECT_THAT(modes, ElementsAre(4u, 3u, 2u, 1u, 4u, 3u, 2u, 0xDEADu));
  EXPECT_THAT(
      Lines([&] { _get_est_timing_list("t", &mask); }),
      ElementsAre(Warning("_get_est_timing_callback", "Mode value is not 0 to 7. Val:8 Node:2")));
  EXPECT_EQ(mask, 0x91u);
}

TEST(VideoModeList, AnEmptyListAndAnUnknownTypeAreErrors) {
  auto config = Edid("60_hz_addition_list = []\n");
  ll_list_t list{};
  ll_init(&list, "short_video_desc_t");
  EXPECT_THAT(
      Lines([&] {
        EXPECT_FALSE(_get_platform_list(3, &list));
        EXPECT_FALSE(_get_platform_list(4, &list));
      }),
      ElementsAre(Error("_get_platform_list",
                        "A mode list (3) is empty. Please verify that all of the video mode "
                        "lists are properly populated with 3D mode formated strings."),
                  "",
                  Error("_get_platform_list",
                        "\"type\" parameter is an invalid value. type:4 range:(0-3)")));
  DebugOn debug;
  EXPECT_THAT(Lines([&] { _get_platform_list(3, &list); }),
              testing::Contains(Trace("_get_platform_list",
                                      "Reading 60Hz additional list from platform config.")));
  ll_delete_list(&list);
}

}  // namespace

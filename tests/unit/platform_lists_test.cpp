// Platform mode lists: the walker over a list node's children, the grammars
// of video mode, 4Kx2K, established timing and standard timing entries, and
// their exact messages.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "capture.h"
#include "edid_composer.h"
#include "edid_composer_internal.h"
#include "linked_list.h"
#include "platform_config.h"

using edc_test::Bug;
using edc_test::DebugOn;
using edc_test::Error;
using edc_test::Lines;
using edc_test::ScopedConfig;
using edc_test::Trace;
using edc_test::Warning;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

namespace {

const std::string kRoot = "platform.software.drivers.avcap.edid.";

ScopedConfig Edid(const std::string &body) {
  return ScopedConfig("[platform.software.drivers.avcap.edid]\n" + body);
}

// A list head of the given element type, deleted with its entries at the end.
struct List {
  explicit List(const char *type) {
    memset(&head, 0, sizeof head);
    EXPECT_EQ(ll_init(&head, type), 1);
  }
  ~List() {
    if (ll_is_initialized(&head)) ll_delete_list(&head);
  }
  template <typename T>
  std::vector<T> Elements() {
    std::vector<T> out;
    for (int32_t i = 0; i < ll_size(&head); ++i) {
      void *data = nullptr;
      EXPECT_EQ(ll_entry_at(&head, i, &data), 1);
      out.push_back(*static_cast<T *>(data));
    }
    return out;
  }
  // (vic, stereo) of each video mode; the native flag is checked to be 0.
  std::vector<std::pair<uint32_t, uint32_t>> Modes() {
    std::vector<std::pair<uint32_t, uint32_t>> out;
    for (const auto &mode : Elements<short_video_desc_t>()) {
      EXPECT_EQ(mode.native, 0);
      out.emplace_back(mode.vic, mode.stereo);
    }
    return out;
  }
  std::vector<std::tuple<uint32_t, uint32_t, uint32_t>> Timings() {
    std::vector<std::tuple<uint32_t, uint32_t, uint32_t>> out;
    for (const auto &t : Elements<std_timing_t>())
      out.emplace_back(t.h_active, t.aspect_ratio, t.refresh_rate);
    return out;
  }
  ll_list_t head;
};

// What the walker handed to a callback, one record per call.
struct Visit {
  std::string child, list;
  int32_t value;
  std::string buffer;  // all string_size bytes
  uint32_t size;
};

bool Record(const char *child, const char *list, int32_t value, char *text, uint32_t size,
            void *user) {
  static_cast<std::vector<Visit> *>(user)->push_back(
      {child, list, value, std::string(text, size), size});
  return true;
}

std::string Padded(const std::string &text) {
  return text + std::string(30 - text.size(), '\0');
}

TEST(ListWalker, UnusableArgumentsAndMissingNodesAreReportedButNeverFail) {
  ScopedConfig empty("");
  std::vector<Visit> visits;
  EXPECT_THAT(
      Lines([&] { EXPECT_TRUE(_get_generic_platform_list(nullptr, false, &visits, Record)); }),
      ElementsAre(Bug("_get_generic_platform_list", "Timing List name is NULL.")));
  EXPECT_THAT(Lines([&] { EXPECT_TRUE(_get_generic_platform_list("", true, &visits, Record)); }),
              ElementsAre(Bug("_get_generic_platform_list", "Timing List name is NULL.")));
  EXPECT_THAT(
      Lines([&] { EXPECT_TRUE(_get_generic_platform_list("x_list", true, &visits, nullptr)); }),
      ElementsAre(Bug("_get_generic_platform_list",
                      "Callback function pointer is NULL. list_name:x_list")));
  EXPECT_THAT(
      Lines([&] { EXPECT_TRUE(_get_generic_platform_list("x_list", true, &visits, Record)); }),
      ElementsAre(Error("_get_generic_platform_list",
                        "Unabled to find the platform node:" + kRoot + "x_list."),
                  ""));
  EXPECT_THAT(visits, IsEmpty());
}

TEST(ListWalker, VisitsChildrenInFileOrderNamedByIndexOrKey) {
  auto config = Edid(
      "arr = [\"16\", 31, \"4 FP\"]\n"
      "empty = []\n"
      "leaf = \"16\"\n"
      "[platform.software.drivers.avcap.edid.tab]\n"
      "zeta = 3\nalpha = 1\nmid = 2\n");
  std::vector<Visit> visits;
  EXPECT_THAT(Lines([&] {
                _get_generic_platform_list("arr", false, &visits, Record);
                _get_generic_platform_list("tab", true, &visits, Record);
                // No children: an empty list, silently.
                _get_generic_platform_list("empty", true, &visits, Record);
                _get_generic_platform_list("leaf", false, &visits, Record);
              }),
              IsEmpty());
  ASSERT_EQ(visits.size(), 6u);
  const std::pair<std::string, std::string> names[] = {
      {"0", "arr"}, {"1", "arr"}, {"2", "arr"}, {"zeta", "tab"}, {"alpha", "tab"}, {"mid", "tab"}};
  for (size_t i = 0; i < visits.size(); ++i) {
    EXPECT_EQ(visits[i].child, names[i].first) << i;
    EXPECT_EQ(visits[i].list, names[i].second) << i;
    EXPECT_EQ(visits[i].size, 30u) << i;
  }
  // String lists: value -1 and the text (an integer child reads as its text).
  EXPECT_EQ(visits[0].value, -1);
  EXPECT_EQ(visits[0].buffer, Padded("16"));
  EXPECT_EQ(visits[1].buffer, Padded("31"));
  EXPECT_EQ(visits[2].buffer, Padded("4 FP"));
  // Integer lists: the value and an empty buffer.
  EXPECT_EQ(visits[3].value, 3);
  EXPECT_EQ(visits[4].value, 1);
  EXPECT_EQ(visits[5].value, 2);
  EXPECT_EQ(visits[5].buffer, std::string(30, '\0'));
}

TEST(ListWalker, ChildrenOfTheWrongKindAreSkippedWithAnError) {
  auto config = Edid("ints = [1, \"2\", 3]\nstrs = [\"a\", [1], 2.5, \"b\"]\n");
  std::vector<Visit> visits;
  EXPECT_THAT(Lines([&] { _get_generic_platform_list("ints", true, &visits, Record); }),
              ElementsAre(Error("_get_generic_platform_list",
                                "Invalid platform configuration entry. Expected an integer. "
                                "Entry name:1")));
  EXPECT_THAT(Lines([&] { _get_generic_platform_list("strs", false, &visits, Record); }),
              ElementsAre(Error("_get_generic_platform_list",
                                "Invalid platform configuration entry. Expected a string. "
                                "Entry name:1"),
                          "",
                          Error("_get_generic_platform_list",
                                "Invalid platform configuration entry. Expected a string. "
                                "Entry name:2"),
                          ""));
  ASSERT_EQ(visits.size(), 4u);
  EXPECT_EQ(visits[1].value, 3);
  EXPECT_EQ(visits[3].child, "3");
}

TEST(ListWalker, ValuesAreCutTo28CharactersAndClearedForEachChild) {
  auto config = Edid("list = [\"" + std::string(40, 'a') + "\", \"bb\"]\n");
  std::vector<Visit> visits;
  _get_generic_platform_list("list", false, &visits, Record);
  ASSERT_EQ(visits.size(), 2u);
  EXPECT_EQ(visits[0].buffer, Padded(std::string(28, 'a')));
  EXPECT_EQ(visits[1].buffer, Padded("bb"));
}

TEST(ListWalker, TracesEveryNodeWhileDebugIsOn) {
  auto config = Edid("established_timings_1 = [0, 7]\n");
  uint32_t mask = 0;
  DebugOn debug;
  EXPECT_THAT(
      Lines([&] { _get_est_timing_list("established_timings_1", &mask); }),
      ElementsAre(
          Trace("print_platform_node", "\tRoot Node:Name of node is:established_timings_1"),
          Trace("print_platform_node", "\tFirst Child Node:Name of node is:0"),
          Trace("print_platform_node", "\tNext Node:Name of node is:0"),
          Trace("_get_est_timing_callback", "Added timing val:0 for list:established_timings_1"),
          Trace("print_platform_node", "\tNext Node:Name of node is:1"),
          Trace("_get_est_timing_callback", "Added timing val:7 for list:established_timings_1")));
  EXPECT_EQ(mask, 0x81u);
  EXPECT_THAT(Lines([] { print_platform_node(0, "label"); }),
              ElementsAre(Trace("print_platform_node", "label:Failed trying to get name")));
}

TEST(ListWalker, PrintPlatformNodeIsSilentWithoutDebug) {
  auto config = Edid("x = 1\n");
  uint32_t node = 0;
  ASSERT_EQ(config_node_find(0, (kRoot + "x").c_str(), &node), 0);
  EXPECT_THAT(Lines([&] { print_platform_node(node, "label"); }), IsEmpty());
}

TEST(ListCallbacks, NullUserPointerIsABug) {
  const std::pair<const char *, platform_list_callback_t> callbacks[] = {
      {"_get_vic_list_callback", _get_vic_list_callback},
      {"_get_4k_x_2k_mode_callback", _get_4k_x_2k_mode_callback},
      {"_get_est_timing_callback", _get_est_timing_callback},
      {"_get_std_timing_callback", _get_std_timing_callback},
  };
  for (const auto &[name, callback] : callbacks) {
    const platform_list_callback_t fn = callback;
    char value[30] = "16";
    EXPECT_THAT(Lines([&] { fn("0", "list", 1, value, sizeof value, nullptr); }),
                ElementsAre(Bug(name, "user_ptr is NULL"), ""))
        << name;
  }
  // A 4Kx2K cursor without its array is no better.
  auto config = Edid("l = [1]\n");
  EXPECT_THAT(Lines([] { _get_4k_x_2k_modes("l", nullptr); }),
              ElementsAre(Bug("_get_4k_x_2k_mode_callback", "user_ptr is NULL"), ""));
}

// Video mode entries, given straight to the callback.
TEST(VideoModeEntry, GrammarAndMessages) {
  const std::string list = "60_hz_priority_list";
  auto invalid = [&](const std::string &value) {
    return Warning("_get_vic_list_callback", "Invalid string \"" + value + "\" in " + list);
  };
  auto bad_word = [&](const std::string &word) {
    return Warning("_get_vic_list_callback", "Invalid 3D flag \"" + word + "\" in " + list);
  };
  auto range = [](const std::string &vic) {
    return Warning("_get_vic_list_callback",
                   "Read a vic value from the platform config file that has an unexpected value:" +
                       vic + ". Range:(1-64) Ignoring and continuing.");
  };
  struct Case {
    std::string value;
    std::vector<std::pair<uint32_t, uint32_t>> modes;
    std::vector<std::string> lines;
  } cases[] = {
      {"16", {{16, 0x00}}, {}},
      {"32 FP TBH", {{32, 0x05}}, {}},
      {"4 sbsh", {{4, 0x02}}, {}},
      {"1 Fp fP tbh", {{1, 0x05}}, {}},
      {"  64\tSBSH  ", {{64, 0x02}}, {}},
      {"+5 TBH", {{5, 0x04}}, {}},
      {"16FP", {{16, 0x01}}, {}},  // the number ends where the digits end
      // Words after the third are never read.
      {"16 FP TBH SBSH XYZ", {{16, 0x07}}, {}},
      // As scanf's %d reads it on this platform: cut to 32 bits.
      {"4294967312", {{16, 0x00}}, {}},
      {"0", {}, {range("0")}},
      {"65", {}, {range("65")}},
      {"-1 FP", {}, {range("-1")}},
      {"65 XYZ", {}, {range("65")}},  // the range is checked before the words
      {"", {}, {invalid("")}},
      {"FP 16", {}, {invalid("FP 16")}},
      {"- 16", {}, {invalid("- 16")}},
      {"16 XYZ", {}, {bad_word("XYZ"), invalid("16 XYZ")}},
      // Words are examined from the last one back: the last bad one is named.
      {"16 ABC XYZ", {}, {bad_word("XYZ"), invalid("16 ABC XYZ")}},
      {"16 XYZ FP", {}, {bad_word("XYZ"), invalid("16 XYZ FP")}},
      {"16 SSH", {}, {bad_word("SSH"), invalid("16 SSH")}},
      // A word is read as at most nine characters; the rest is the next word.
      {"16 TBHTBHTBHFP", {}, {bad_word("TBHTBHTBH"), invalid("16 TBHTBHTBHFP")}},
      {"16 FPFPFPFPFPTBH", {}, {bad_word("PTBH"), invalid("16 FPFPFPFPFPTBH")}},
  };
  for (const auto &c : cases) {
    List target("short_video_desc_t");
    ll_list_t *user = &target.head;
    char value[30] = {};
    ASSERT_LT(c.value.size(), 29u);
    memcpy(value, c.value.data(), c.value.size());
    EXPECT_THAT(
        Lines([&] { _get_vic_list_callback("0", list.c_str(), -1, value, sizeof value, &user); }),
        ElementsAreArray(c.lines))
        << c.value;
    EXPECT_EQ(target.Modes(), c.modes) << c.value;
  }
}

TEST(VideoModeEntry, TracesTheEntryWhileDebugIsOn) {
  List target("short_video_desc_t");
  ll_list_t *user = &target.head;
  char value[30] = "32 fp TBH";
  DebugOn debug;
  EXPECT_THAT(
      Lines([&] { _get_vic_list_callback("3", "l", -1, value, 30, &user); }),
      ElementsAre(Trace("_get_vic_list_callback", "Reading from list:l Node:3 => 32 fp TBH"),
                  Trace("_get_vic_list_callback", "\tFound list entry: 3 = \"32 fp TBH \"")));
}

TEST(VideoModeEntry, AnEntryTheListRefusesIsDeletedAgain) {
  List ints("int");
  ll_list_t *user = &ints.head;
  char value[30] = "16";
  EXPECT_THAT(
      Lines([&] { _get_vic_list_callback("0", "l", -1, value, 30, &user); }),
      Contains(Error("_get_vic_list_callback", "Failed adding entry to the back of the list.")));
  EXPECT_EQ(ll_size(&ints.head), 0);
}

TEST(VideoModeList, TypesNameTheListsAndEmptyListsAreErrors) {
  auto config = Edid(
      "50_hz_priority_list = [\"31\", \"19 FP\"]\n"
      "60_hz_priority_list = [\"16\"]\n"
      "50_hz_addition_list = []\n"
      "60_hz_addition_list = [\"99\", \"x\"]\n");
  auto empty = [](int type) {
    return Error("_get_platform_list",
                 "A mode list (" + std::to_string(type) +
                     ") is empty. Please verify that all of the video mode lists are properly "
                     "populated with 3D mode formated strings.");
  };
  {
    List l("short_video_desc_t");
    EXPECT_THAT(Lines([&] { EXPECT_TRUE(_get_platform_list(0, &l.head)); }), IsEmpty());
    EXPECT_EQ(l.Modes(), (std::vector<std::pair<uint32_t, uint32_t>>{{31, 0}, {19, 1}}));
  }
  {
    List l("short_video_desc_t");
    EXPECT_TRUE(_get_platform_list(1, &l.head));
    EXPECT_EQ(l.Modes(), (std::vector<std::pair<uint32_t, uint32_t>>{{16, 0}}));
  }
  {
    List l("short_video_desc_t");
    EXPECT_THAT(Lines([&] { EXPECT_FALSE(_get_platform_list(2, &l.head)); }),
                ElementsAre(empty(2), ""));
  }
  {
    // Only bad entries: each is reported, then the list is empty.
    List l("short_video_desc_t");
    EXPECT_THAT(Lines([&] { EXPECT_FALSE(_get_platform_list(3, &l.head)); }),
                ElementsAre(Warning("_get_vic_list_callback",
                                    "Read a vic value from the platform config file that has an "
                                    "unexpected value:99. Range:(1-64) Ignoring and continuing."),
                            Warning("_get_vic_list_callback",
                                    "Invalid string \"x\" in 60_hz_addition_list"),
                            empty(3), ""));
  }
  ScopedConfig none("");
  List l("short_video_desc_t");
  EXPECT_THAT(Lines([&] { EXPECT_FALSE(_get_platform_list(1, &l.head)); }),
              ElementsAre(Error("_get_generic_platform_list", "Unabled to find the platform node:" +
                                                                  kRoot + "60_hz_priority_list."),
                          "", empty(1), ""));
  EXPECT_THAT(Lines([&] { EXPECT_FALSE(_get_platform_list(4, &l.head)); }),
              ElementsAre(Error("_get_platform_list",
                                "\"type\" parameter is an invalid value. type:4 range:(0-3)")));
}

TEST(VideoModeList, TracesWhichListItReads) {
  auto config = Edid(
      "50_hz_priority_list = []\n60_hz_priority_list = []\n"
      "50_hz_addition_list = []\n60_hz_addition_list = []\n");
  const std::string expected[] = {
      "Reading 50Hz priority list from platform config.",
      "Reading 60Hz priority list from platform config.",
      "Reading 50Hz additional list from platform config.",
      "Reading 60Hz additional list from platform config.",
  };
  DebugOn debug;
  for (uint32_t type = 0; type < 4; ++type) {
    List l("short_video_desc_t");
    const auto lines = Lines([&] { _get_platform_list(type, &l.head); });
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines[0], Trace("_get_platform_list", expected[type])) << type;
  }
}

TEST(HdmiVicList, KeepsModes1To4InOrderAndAtMostSeven) {
  auto config = Edid(
      "a = [1, 5, 3, 0, -1]\n"
      "b = [4, 3, 2, 1, 4, 3, 2, 1, 9, 2]\n");
  uint32_t modes[8] = {0, 0, 0, 0, 0, 0, 0, 0};
  auto unsupported = [](const std::string &value, const std::string &node) {
    return Warning(
        "_get_4k_x_2k_mode_callback",
        "Detected a 4k x 2k mode that is not supported. Max:4 Received:" + value + " Node:" + node);
  };
  EXPECT_THAT(Lines([&] { _get_4k_x_2k_modes("a", modes); }),
              ElementsAre(unsupported("5", "1"), unsupported("0", "3"), unsupported("-1", "4")));
  EXPECT_THAT(modes, ElementsAre(1u, 3u, 0u, 0u, 0u, 0u, 0u, 0u));

  // Each list starts at the first slot; the eighth and later modes are
  // dropped silently, a bad value among them is still reported.
  modes[7] = 0xDEAD;
  EXPECT_THAT(Lines([&] { _get_4k_x_2k_modes("b", modes); }), ElementsAre(unsupported("9", "8")));
  EXPECT_THAT(modes, ElementsAre(4u, 3u, 2u, 1u, 4u, 3u, 2u, 0xDEADu));

  DebugOn debug;
  uint32_t one[7] = {};
  auto lines = Lines([&] { _get_4k_x_2k_modes("a", one); });
  EXPECT_THAT(lines, Contains(Trace("_get_4k_x_2k_mode_callback", "Read 4k x 2k mode:3")));
}

TEST(EstablishedTimingList, SetsBitsZeroToSevenIntoTheMask) {
  auto config = Edid("t = [0, 7, 8, -1, 3, 3]\n");
  uint32_t mask = 0x10;
  EXPECT_THAT(
      Lines([&] { _get_est_timing_list("t", &mask); }),
      ElementsAre(Warning("_get_est_timing_callback", "Mode value is not 0 to 7. Val:8 Node:2"),
                  Warning("_get_est_timing_callback", "Mode value is not 0 to 7. Val:-1 Node:3")));
  EXPECT_EQ(mask, 0x99u);
}

// Standard timing entries, given straight to the callback.
TEST(StandardTimingEntry, GrammarAndMessages) {
  const std::string cb = "_get_std_timing_callback";
  auto width = [&](const std::string &w, const std::string &value) {
    return Warning(
        cb, "Standard timing width(" + w + ") must be a factor of 8. Entry:7 = \"" + value + "\"");
  };
  auto fraction = [&](const std::string &rate, const std::string &value) {
    return Warning(cb, "Only whole refresh rates(" + rate +
                           ") are supported, ie 60 not 59.94. Incrementing refresh rate and "
                           "continuing. Entry:" +
                           value);
  };
  auto rate = [&](const std::string &r, const std::string &value) {
    return Warning(cb, "Invalid Refresh rate(" + r + "). Must be 60 to 123. Entry:" + value);
  };
  using Timing = std::tuple<uint32_t, uint32_t, uint32_t>;
  struct Case {
    std::string value;
    std::vector<Timing> timings;
    std::vector<std::string> lines;
  } cases[] = {
      {"1920x1080@60", {{1920, 3, 60}}, {}},
      {"1280x1024@75", {{1280, 2, 75}}, {}},
      {"1024/768/75", {{1024, 1, 75}}, {}},
      {"640x640@60", {{640, 0, 60}}, {}},
      {"1920x1080@123", {{1920, 3, 123}}, {}},
      {"1280x720@59.94", {{1280, 3, 60}}, {fraction("59.94", "1280x720@59.94"), ""}},
      {"1920x1080@122.5", {{1920, 3, 123}}, {fraction("122.5", "1920x1080@122.5"), ""}},
      {"1366x768@60", {}, {width("1366", "1366x768@60")}},
      {"1920x1080@59", {}, {rate("59", "1920x1080@59"), ""}},
      {"1920x1080@124", {}, {rate("124", "1920x1080@124"), ""}},
      {"1920x1080", {}, {rate("0", "1920x1080"), ""}},
      {"", {}, {rate("0", ""), ""}},  // 0 x 0 is 1:1
      {"1920x1080@123.5",
       {},
       {fraction("123.5", "1920x1080@123.5"), "", rate("124", "1920x1080@123.5"), ""}},
      {"1280x720@50.5",
       {},
       {fraction("50.5", "1280x720@50.5"), "", rate("51", "1280x720@50.5"), ""}},
      // The first failing check ends the entry.
      {"1366x700@59.94", {}, {width("1366", "1366x700@59.94")}},
      // A number too long for 32 bits reads as the largest value.
      {"99999999999x1080@60", {}, {width("-1", "99999999999x1080@60")}},
  };
  for (const auto &c : cases) {
    List target("std_timing_t");
    ll_list_t *user = &target.head;
    char value[30] = {};
    memcpy(value, c.value.data(), c.value.size());
    EXPECT_THAT(
        Lines([&] { _get_std_timing_callback("7", "standard_timings", -1, value, 30, &user); }),
        ElementsAreArray(c.lines))
        << c.value;
    EXPECT_EQ(target.Timings(), c.timings) << c.value;
  }
}

TEST(StandardTimingEntry, HeightsOutOfRatioSuggestTheAcceptedOnes) {
  List target("std_timing_t");
  ll_list_t *user = &target.head;
  // A blank beside a separator breaks the reading: the height reads as 0.
  const std::pair<std::string, std::string> cases[] = {
      {"1920x1200@60",
       "Height(1200) is not in a proper ratio to width(1920). Accepted heights "
       "1:1=>1920 4:3=>1440 5:4=>2400 16:9=>3413 Entry:1920x1200@60"},
      {"1920 x 1080@60",
       "Height(0) is not in a proper ratio to width(1920). Accepted heights "
       "1:1=>1920 4:3=>1440 5:4=>2400 16:9=>3413 Entry:1920 x 1080@60"},
  };
  for (const auto &[text, message] : cases) {
    char value[30] = {};
    memcpy(value, text.data(), text.size());
    EXPECT_THAT(
        Lines([&] { _get_std_timing_callback("0", "standard_timings", -1, value, 30, &user); }),
        ElementsAre(Warning("_get_std_timing_callback", message), ""));
  }
  EXPECT_EQ(ll_size(&target.head), 0);
}

TEST(StandardTimingEntry, ReadsAtMost29BytesOfAnUnterminatedValue) {
  List target("std_timing_t");
  ll_list_t *user = &target.head;
  char value[30];
  memset(value, '9', sizeof value);
  memcpy(value, "1366x768@60:", 12);
  EXPECT_THAT(Lines([&] { _get_std_timing_callback("7", "s", -1, value, 30, &user); }),
              ElementsAre(Warning("_get_std_timing_callback",
                                  "Standard timing width(1366) must be a factor of 8. Entry:7 = "
                                  "\"1366x768@60:" +
                                      std::string(17, '9') + "\"")));
  EXPECT_EQ(value[29], '\0');
}

TEST(StandardTimingList, ReadsEntriesInOrderWithAFreshBufferForEach) {
  auto config = Edid("standard_timings = [\"1920x1080@60\", \"640x480\", \"1280x1024@75\"]\n");
  List target("std_timing_t");
  // "640x480" after a longer value: no stale characters, so the rate reads 0.
  EXPECT_THAT(Lines([&] { _get_std_timing_list(&target.head); }),
              ElementsAre(Warning("_get_std_timing_callback",
                                  "Invalid Refresh rate(0). Must be 60 to 123. Entry:640x480"),
                          ""));
  EXPECT_EQ(target.Timings(),
            (std::vector<std::tuple<uint32_t, uint32_t, uint32_t>>{{1920, 3, 60}, {1280, 2, 75}}));

  List ints("int");
  EXPECT_THAT(
      Lines([&] { _get_std_timing_list(&ints.head); }),
      Contains(Error("_get_std_timing_callback", "Failed adding entry to the back of the list.")));
  EXPECT_EQ(ll_size(&ints.head), 0);

  ScopedConfig none("");
  EXPECT_THAT(Lines([&] { _get_std_timing_list(&target.head); }),
              ElementsAre(Error("_get_generic_platform_list",
                                "Unabled to find the platform node:" + kRoot + "standard_timings."),
                          ""));
}

}  // namespace

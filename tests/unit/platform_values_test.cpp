// Platform values: the record's lifecycle, the 36 keys with their defaults,
// ranges and corrections, the audio entries and the messages of an empty
// configuration.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "capture.h"
#include "edid_composer_internal.h"
#include "linked_list.h"
#include "utility.h"

using edc_test::Bug;
using edc_test::Error;
using edc_test::Lines;
using edc_test::ScopedConfig;
using edc_test::Warning;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;

namespace {

const std::string kRoot = "platform.software.drivers.avcap.edid.";

// A platform values record, initialised and destroyed around a test.
struct Values {
  Values() { EXPECT_TRUE(platform_values_init(&v)); }
  ~Values() {
    if (ll_is_initialized(&v.audio_list)) platform_values_destroy(&v);
  }
  std::vector<int32_t> Audio() {
    std::vector<int32_t> out;
    for (int32_t i = 0; i < ll_size(&v.audio_list); ++i) {
      void *data = nullptr;
      EXPECT_EQ(ll_entry_at(&v.audio_list, i, &data), 1);
      out.push_back(*static_cast<int32_t *>(data));
    }
    return out;
  }
  platform_values_t v;
};

std::vector<uint32_t> Vics(ll_list_t *list) {
  std::vector<uint32_t> out;
  for (int32_t i = 0; i < ll_size(list); ++i) {
    void *data = nullptr;
    EXPECT_EQ(ll_entry_at(list, i, &data), 1);
    out.push_back(static_cast<short_video_desc_t *>(data)->vic);
  }
  return out;
}

// Every key, set to a valid value that differs from its default where the
// range allows. Lists are TOML arrays.
const std::vector<std::pair<std::string, std::string>> kEveryKey = {
    {"native_refresh_rate", "50"},
    {"current_mode_set_to_priority", "1"},
    {"audio.pass_through", "2"},
    {"underscan", "1"},
    {"is_tv", "1"},
    {"geometry_limit", "1"},
    {"dc_30bit", "1"},
    {"dc_36bit", "1"},
    {"tmds_override", "300"},
    {"supports_ai", "2"},
    {"speaker_entry", "0x40F"},
    {"xvYCC601", "1"},
    {"xvYCC709", "2"},
    {"native_bit", "0"},
    {"product_id", "0xBEEF"},
    {"serial", "3000000000"},
    {"week", "42"},
    {"year", "2031"},
    {"CNC0", "1"},
    {"CNC1", "2"},
    {"CNC2", "1"},
    {"CNC3", "2"},
    {"audio.entry_a", "0x070709"},
    {"50_hz_priority_list", "[\"31\", \"19 FP\"]"},
    {"50_hz_addition_list", "[\"20\"]"},
    {"60_hz_priority_list", "[\"16\", 4]"},
    {"60_hz_addition_list", "[\"5\"]"},
    {"4k_x_2k_priority_list", "[1, 2]"},
    {"4k_x_2k_addition_list", "[3]"},
    {"manufacturer_id", "\"ABC\""},
    {"monitor_name", "\"Name\""},
    {"monitor_serial", "\"Serial\""},
    {"established_timings_1", "[0]"},
    {"established_timings_2", "[1, 2]"},
    {"manufacturer_timings", "[7]"},
    {"standard_timings", "[\"1920x1080@60\", \"1280x1024@75\"]"},
};

// kEveryKey with some values replaced (nullopt: left out), then extra text.
std::string Config(const std::map<std::string, std::optional<std::string>> &changes = {},
                   const std::string &extra = "") {
  std::string text = "[platform.software.drivers.avcap.edid]\n";
  for (const auto &[key, value] : kEveryKey) {
    const auto change = changes.find(key);
    if (change == changes.end())
      text += key + " = " + value + "\n";
    else if (change->second)
      text += key + " = " + *change->second + "\n";
  }
  return text + extra;
}

TEST(PlatformValuesRecord, InitZeroesTheRecordAndPreparesSixTypedLists) {
  platform_values_t v;
  memset(&v, 0xA5, sizeof v);
  EXPECT_THAT(Lines([&] { EXPECT_TRUE(platform_values_init(&v)); }), IsEmpty());
  const std::pair<ll_list_t *, const char *> lists[] = {
      {&v.audio_list, "int"},
      {&v.video_50_priority, "short_video_desc_t"},
      {&v.video_50_additional, "short_video_desc_t"},
      {&v.video_60_priority, "short_video_desc_t"},
      {&v.video_60_additional, "short_video_desc_t"},
      {&v.std_timings, "std_timing_t"},
  };
  for (const auto &[list, type] : lists) {
    EXPECT_EQ(ll_is_initialized(list), 1) << type;
    EXPECT_EQ(ll_verify_list_type(list, type), 1) << type;
    EXPECT_EQ(ll_size(list), 0) << type;
  }
  // Everything between the video lists and std_timings is zero.
  const auto *first = reinterpret_cast<const unsigned char *>(&v.priority_4k_x_2k);
  const auto *last = reinterpret_cast<const unsigned char *>(&v.std_timings);
  EXPECT_EQ(std::count(first, last, 0), last - first);
  EXPECT_TRUE(platform_values_destroy(&v));
}

TEST(PlatformValuesRecord, DestroyStopsAtTheFirstListItCannotRemove) {
  const std::pair<ll_list_t platform_values_t::*, std::string> lists[] = {
      {&platform_values_t::audio_list, "Failed removing platform audio_list"},
      {&platform_values_t::video_50_priority, "Failed removing platform video_50_priority"},
      {&platform_values_t::video_50_additional, "Failed removing platform video_50_additional"},
      {&platform_values_t::video_60_priority, "Failed removing platform video_60_priority"},
      {&platform_values_t::video_60_additional, "Failed removing platform video_60_additional"},
      {&platform_values_t::std_timings, "Failed removing platform values standard timings"},
  };
  for (const auto &[broken, message] : lists) {
    platform_values_t v;
    ASSERT_TRUE(platform_values_init(&v));
    ASSERT_EQ(ll_delete_list(&(v.*broken)), 1);
    bool result = true;
    const auto lines = Lines([&] { result = platform_values_destroy(&v); });
    EXPECT_FALSE(result) << message;
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back(), Bug("platform_values_destroy", message));
    // The lists after the broken one are left as they were.
    for (const auto &[later, unused] : lists) {
      if (&(v.*later) > &(v.*broken)) {
        EXPECT_EQ(ll_is_initialized(&(v.*later)), 1) << message;
        ll_delete_list(&(v.*later));
      }
    }
  }
}

TEST(PlatformValuesRecord, NullRecordIsReported) {
  EXPECT_THAT(Lines([] {
                EXPECT_FALSE(platform_values_init(nullptr));
                EXPECT_FALSE(platform_values_destroy(nullptr));
                EXPECT_FALSE(_read_platform_values(nullptr));
              }),
              ElementsAre(Error("platform_values_init",
                                "\"platform_values\" parameter is NULL. platform_values:(nil)"),
                          Error("platform_values_destroy",
                                "\"platform_values\" parameter is NULL. platform_values:(nil)"),
                          Error("_read_platform_values",
                                "\"platform_values\" parameter is NULL. platform_values:(nil)")));
}

TEST(PlatformValues, EmptyConfigurationGivesEveryDefaultAndReportsEachKey) {
  ScopedConfig empty("");
  Values values;
  std::vector<std::string> expected;
  auto missing = [&](const char *reader, const std::string &key, int def) {
    expected.push_back(Warning(reader, "Unable to find the platform path:" + kRoot + key +
                                           " Defaulting to:" + std::to_string(def)));
  };
  auto no_node = [&](const std::string &list) {
    expected.push_back(Error("_get_generic_platform_list",
                             "Unabled to find the platform node:" + kRoot + list + "."));
    expected.push_back("");
  };
  auto empty_modes = [&](int type) {
    expected.push_back(Error("_get_platform_list",
                             "A mode list (" + std::to_string(type) +
                                 ") is empty. Please verify that all of the video mode lists are "
                                 "properly populated with 3D mode formated strings."));
    expected.push_back("");
  };
  auto no_string = [&](const std::string &key, const std::string &def) {
    expected.push_back(Warning("get_pc_str", "Error trying to read \"" + kRoot + key +
                                                 "\" from the platform config. Using:" + def));
  };
  missing("get_pc_int", "native_refresh_rate", 60);
  missing("get_pc_int", "current_mode_set_to_priority", 0);
  missing("get_pc_int", "audio.pass_through", 0);
  missing("get_pc_int", "underscan", 0);
  missing("get_pc_int", "is_tv", 0);
  missing("get_pc_int", "geometry_limit", 0);
  missing("get_pc_int", "dc_30bit", 0);
  missing("get_pc_int", "dc_36bit", 0);
  missing("get_pc_int", "tmds_override", 0);
  missing("get_pc_int", "supports_ai", 0);
  missing("get_pc_int", "speaker_entry", 1);
  missing("get_pc_int", "xvYCC601", 0);
  missing("get_pc_int", "xvYCC709", 0);
  missing("get_pc_int", "native_bit", 1);
  missing("get_pc_uint", "product_id", 0);
  missing("get_pc_uint", "serial", 0);
  missing("get_pc_uint", "week", 1);
  missing("get_pc_uint", "year", 2012);
  missing("get_pc_uint", "CNC0", 0);
  missing("get_pc_uint", "CNC1", 0);
  missing("get_pc_uint", "CNC2", 0);
  missing("get_pc_uint", "CNC3", 0);
  no_node("50_hz_priority_list");
  empty_modes(0);
  no_node("50_hz_addition_list");
  empty_modes(2);
  no_node("60_hz_priority_list");
  empty_modes(1);
  no_node("60_hz_addition_list");
  empty_modes(3);
  no_node("4k_x_2k_priority_list");
  no_node("4k_x_2k_addition_list");
  no_string("manufacturer_id", "YYY");
  no_string("monitor_name", "");
  no_string("monitor_serial", "");
  no_node("established_timings_1");
  no_node("established_timings_2");
  no_node("manufacturer_timings");
  no_node("standard_timings");

  EXPECT_THAT(Lines([&] { EXPECT_TRUE(_read_platform_values(&values.v)); }),
              ElementsAreArray(expected));
  const platform_values_t &v = values.v;
  EXPECT_EQ(v.native_refresh_rate, 60);
  EXPECT_EQ(v.current_mode_set_to_priority, 0);
  EXPECT_EQ(v.geometry_limit, 0);
  EXPECT_EQ(v.audio_pass_through, 0);
  EXPECT_EQ(v.underscan, 0);
  EXPECT_EQ(v.is_tv, 0);
  EXPECT_EQ(v.dc_30bit, 0);
  EXPECT_EQ(v.dc_36bit, 0);
  EXPECT_EQ(v.tmds_override, 0);
  EXPECT_EQ(v.supports_ai, 0);
  EXPECT_EQ(v.speaker_entry, 1);
  EXPECT_EQ(v.xvycc601, 0);
  EXPECT_EQ(v.xvycc709, 0);
  EXPECT_EQ(v.native_bit, 1);
  EXPECT_EQ(v.product_id, 0u);
  EXPECT_EQ(v.serial, 0u);
  EXPECT_EQ(v.week, 1u);
  EXPECT_EQ(v.year, 2012u);
  EXPECT_EQ(v.cnc0 | v.cnc1 | v.cnc2 | v.cnc3, 0u);
  EXPECT_STREQ(v.manufacturer_id, "YYY");
  EXPECT_STREQ(v.monitor_name, "");
  EXPECT_STREQ(v.monitor_serial, "");
  EXPECT_EQ(v.established_timings_1 | v.established_timings_2 | v.manufacturer_timings, 0u);
  EXPECT_THAT(v.priority_4k_x_2k, ElementsAre(0u, 0u, 0u, 0u, 0u, 0u, 0u));
  EXPECT_THAT(v.addition_4k_x_2k, ElementsAre(0u, 0u, 0u, 0u, 0u, 0u, 0u));
  for (const ll_list_t *list : {&v.audio_list, &v.video_50_priority, &v.video_50_additional,
                                &v.video_60_priority, &v.video_60_additional, &v.std_timings})
    EXPECT_EQ(list->size, 0);
}

TEST(PlatformValues, ReadsEveryKeyIntoItsField) {
  ScopedConfig config(Config());
  Values values;
  EXPECT_THAT(Lines([&] { EXPECT_TRUE(_read_platform_values(&values.v)); }), IsEmpty());
  const platform_values_t &v = values.v;
  EXPECT_EQ(v.native_refresh_rate, 50);
  EXPECT_EQ(v.current_mode_set_to_priority, 1);
  EXPECT_EQ(v.audio_pass_through, 2);
  EXPECT_EQ(v.underscan, 1);
  EXPECT_EQ(v.is_tv, 1);
  EXPECT_EQ(v.geometry_limit, 1);
  EXPECT_EQ(v.dc_30bit, 1);
  EXPECT_EQ(v.dc_36bit, 1);
  EXPECT_EQ(v.tmds_override, 300);
  EXPECT_EQ(v.supports_ai, 2);
  EXPECT_EQ(v.speaker_entry, 0x40F);
  EXPECT_EQ(v.xvycc601, 1);
  EXPECT_EQ(v.xvycc709, 2);
  EXPECT_EQ(v.native_bit, 0);
  EXPECT_EQ(v.product_id, 0xBEEFu);
  EXPECT_EQ(v.serial, 3000000000u);
  EXPECT_EQ(v.week, 42u);
  EXPECT_EQ(v.year, 2031u);
  EXPECT_EQ(v.cnc0, 1u);
  EXPECT_EQ(v.cnc1, 2u);
  EXPECT_EQ(v.cnc2, 1u);
  EXPECT_EQ(v.cnc3, 2u);
  EXPECT_THAT(values.Audio(), ElementsAre(0x070709));
  EXPECT_THAT(Vics(&values.v.video_50_priority), ElementsAre(31u, 19u));
  EXPECT_THAT(Vics(&values.v.video_50_additional), ElementsAre(20u));
  EXPECT_THAT(Vics(&values.v.video_60_priority), ElementsAre(16u, 4u));
  EXPECT_THAT(Vics(&values.v.video_60_additional), ElementsAre(5u));
  EXPECT_THAT(v.priority_4k_x_2k, ElementsAre(1u, 2u, 0u, 0u, 0u, 0u, 0u));
  EXPECT_THAT(v.addition_4k_x_2k, ElementsAre(3u, 0u, 0u, 0u, 0u, 0u, 0u));
  EXPECT_STREQ(v.manufacturer_id, "ABC");
  EXPECT_STREQ(v.monitor_name, "Name");
  EXPECT_STREQ(v.monitor_serial, "Serial");
  EXPECT_EQ(v.established_timings_1, 0x01u);
  EXPECT_EQ(v.established_timings_2, 0x06u);
  EXPECT_EQ(v.manufacturer_timings, 0x80u);
  EXPECT_EQ(v.std_timings.size, 2);
}

// Each range class at and beyond its edges, and the two corrections.
TEST(PlatformValues, NumbersAreClampedAndCorrectedAtTheEdgesOfTheirRanges) {
  using Field = std::function<int64_t(const platform_values_t &)>;
  const Field native = [](const auto &v) { return v.native_refresh_rate; };
  const Field flag = [](const auto &v) { return v.underscan; };
  const Field tri = [](const auto &v) { return v.supports_ai; };
  const Field cnc = [](const auto &v) { return v.cnc3; };
  const Field tmds = [](const auto &v) { return v.tmds_override; };
  const Field speaker = [](const auto &v) { return v.speaker_entry; };
  const Field product = [](const auto &v) { return v.product_id; };
  const Field serial = [](const auto &v) { return v.serial; };
  const Field week = [](const auto &v) { return v.week; };
  const Field year = [](const auto &v) { return v.year; };
  auto clamp = [](const char *reader, const std::string &key, const char *side, int min,
                  const std::string &value, int max) {
    const std::string what = std::string(side) == "smaller"
                                 ? " is smaller than the minimum value. Setting to minimum."
                                 : " is larger than the maximum value. Setting to maximum.";
    return Warning(reader, "The value for platform path:" + kRoot + key + what +
                               " Min:" + std::to_string(min) + " Val:" + value +
                               " Max:" + std::to_string(max));
  };
  auto unrecognized = [](const std::string &value) {
    return Warning("_read_platform_values",
                   "Value in the platform config file for the domain \"" + kRoot +
                       "native_refresh_rate\" is an unrecognized value:" + value +
                       ". Valid values: 50,60. Using:60");
  };
  struct Case {
    std::string key, value;
    Field field;
    int64_t expected;
    std::vector<std::string> lines;
  } cases[] = {
      {"native_refresh_rate", "50", native, 50, {}},
      {"native_refresh_rate", "60", native, 60, {}},
      {"native_refresh_rate", "55", native, 60, {unrecognized("55")}},
      {"native_refresh_rate", "51", native, 60, {unrecognized("51")}},
      {"native_refresh_rate",
       "49",
       native,
       50,
       {clamp("get_pc_int", "native_refresh_rate", "smaller", 50, "49", 60)}},
      {"native_refresh_rate",
       "70",
       native,
       60,
       {clamp("get_pc_int", "native_refresh_rate", "larger", 50, "70", 60)}},
      {"underscan", "0", flag, 0, {}},
      {"underscan", "true", flag, 1, {}},
      {"underscan", "2", flag, 1, {clamp("get_pc_int", "underscan", "larger", 0, "2", 1)}},
      {"underscan", "-1", flag, 0, {clamp("get_pc_int", "underscan", "smaller", 0, "-1", 1)}},
      {"supports_ai", "0", tri, 0, {}},
      {"supports_ai", "3", tri, 2, {clamp("get_pc_int", "supports_ai", "larger", 0, "3", 2)}},
      {"supports_ai", "-1", tri, 0, {clamp("get_pc_int", "supports_ai", "smaller", 0, "-1", 2)}},
      {"CNC3", "0", cnc, 0, {}},
      {"CNC3", "3", cnc, 2, {clamp("get_pc_uint", "CNC3", "larger", 0, "3", 2)}},
      // Unsigned keys read -1 as 4294967295, printed as -1.
      {"CNC3", "-1", cnc, 2, {clamp("get_pc_uint", "CNC3", "larger", 0, "-1", 2)}},
      {"tmds_override", "0", tmds, 0, {}},
      {"tmds_override", "1275", tmds, 1275, {}},
      {"tmds_override",
       "1276",
       tmds,
       1275,
       {clamp("get_pc_int", "tmds_override", "larger", 0, "1276", 1275)}},
      {"speaker_entry", "1", speaker, 1, {}},
      {"speaker_entry", "2047", speaker, 2047, {}},
      {"speaker_entry",
       "0",
       speaker,
       1,
       {clamp("get_pc_int", "speaker_entry", "smaller", 1, "0", 2047)}},
      {"speaker_entry",
       "2048",
       speaker,
       2047,
       {clamp("get_pc_int", "speaker_entry", "larger", 1, "2048", 2047)}},
      {"product_id", "0", product, 0, {}},
      {"product_id", "65535", product, 65535, {}},
      {"product_id",
       "65536",
       product,
       65535,
       {clamp("get_pc_uint", "product_id", "larger", 0, "65536", 65535)}},
      {"serial", "0", serial, 0, {}},
      {"serial", "-1", serial, 4294967295, {}},
      {"serial", "4294967295", serial, 4294967295, {}},
      {"week", "0", week, 0, {}},
      {"week", "53", week, 53, {}},
      {"week", "54", week, 53, {}},
      {"week", "254", week, 53, {}},
      {"week", "255", week, 255, {}},
      {"week", "256", week, 255, {clamp("get_pc_uint", "week", "larger", 0, "256", 255)}},
      {"week", "300", week, 255, {clamp("get_pc_uint", "week", "larger", 0, "300", 255)}},
      {"year", "1990", year, 1990, {}},
      {"year", "2100", year, 2100, {}},
      {"year", "1989", year, 1990, {clamp("get_pc_uint", "year", "smaller", 1990, "1989", 2100)}},
      {"year", "2101", year, 2100, {clamp("get_pc_uint", "year", "larger", 1990, "2101", 2100)}},
  };
  for (const auto &c : cases) {
    ScopedConfig config(Config({{c.key, c.value}}));
    Values values;
    EXPECT_THAT(Lines([&] { _read_platform_values(&values.v); }), ElementsAreArray(c.lines))
        << c.key << " = " << c.value;
    EXPECT_EQ(c.field(values.v), c.expected) << c.key << " = " << c.value;
  }
}

TEST(PlatformValues, KeysAreCaseSensitive) {
  ScopedConfig config(Config({{"xvYCC601", std::nullopt}}, "xvycc601 = 1\n"));
  Values values;
  EXPECT_THAT(Lines([&] { _read_platform_values(&values.v); }),
              ElementsAre(Warning("get_pc_int", "Unable to find the platform path:" + kRoot +
                                                    "xvYCC601 Defaulting to:0")));
  EXPECT_EQ(values.v.xvycc601, 0);
}

TEST(PlatformValues, AudioEntriesAreTakenInLetterOrderAsTheyStand) {
  // File order z, c, b, a; b holds text, which is no entry; no range applies.
  ScopedConfig config(Config({{"audio.entry_a", std::nullopt}},
                             "audio.entry_z = 0xFFFFFFFF\n"
                             "audio.entry_c = 0x500715\n"
                             "audio.entry_b = \"0x070709\"\n"
                             "audio.entry_a = -5\n"
                             "audio.entry_ = 1\n"
                             "audio.entry_aa = 2\n"));
  Values values;
  EXPECT_THAT(Lines([&] { EXPECT_TRUE(_read_platform_values(&values.v)); }), IsEmpty());
  EXPECT_THAT(values.Audio(), ElementsAre(-5, 0x500715, -1));
}

TEST(PlatformValues, AnAudioEntryThatCannotBeStoredEndsTheReading) {
  ScopedConfig config(Config());
  platform_values_t v;
  memset(&v, 0, sizeof v);  // lists never initialised: the audio list refuses the entry
  bool result = true;
  const auto lines = Lines([&] { result = _read_platform_values(&v); });
  EXPECT_FALSE(result);
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.back(),
            Error("_read_platform_values", "Failed adding entry to the back of the list."));
  EXPECT_THAT(lines, Not(Contains(testing::HasSubstr("_get_"))));
  // The keys before the audio entries were read; those after were not.
  EXPECT_EQ(v.year, 2031u);
  EXPECT_STREQ(v.manufacturer_id, "");
  EXPECT_EQ(v.priority_4k_x_2k[0], 0u);
  EXPECT_EQ(v.established_timings_1, 0u);
}

TEST(PlatformValues, TextsAreCutToTheirFields) {
  ScopedConfig config(Config({{"manufacturer_id", "\"ABCDEF\""},
                              {"monitor_name", "\"A name of twenty chars\""},
                              {"monitor_serial", "1234"}}));
  Values values;
  EXPECT_THAT(Lines([&] { _read_platform_values(&values.v); }), IsEmpty());
  EXPECT_STREQ(values.v.manufacturer_id, "ABC");
  EXPECT_STREQ(values.v.monitor_name, "A name of twe");
  EXPECT_STREQ(values.v.monitor_serial, "1234");
}

}  // namespace
